#include "orvcore/report/resultpictures.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "orvcore/filter/mapimage.h"
#include "orvcore/filter/maplegend.h"
#include "orvcore/filter/mappictures.h"
#include "orvcore/report/plotsvg.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

constexpr const char* kSlotNames[kFileSlots] = {"evidence", "reference"};

// Letters and digits of a name in lower case, everything else as '-'.
std::string PlainName(const std::string& text) {
    std::string plain;
    for (const char c : ToLower(text)) {
        const bool isPlain = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
        if (isPlain)
            plain += c;
        else if (!plain.empty() && plain.back() != '-')
            plain += '-';
    }
    while (!plain.empty() && plain.back() == '-') plain.pop_back();
    return plain;
}

double ScaleFor(cv::Size size, int longestSide) {
    const int longest = std::max(size.width, size.height);
    return longestSide > 0 && longest > longestSide ? static_cast<double>(longestSide) / longest : 1.0;
}

cv::Mat Scaled(const cv::Mat& picture, double scale, bool mixes) {
    if (scale >= 1.0) return picture;
    cv::Mat scaled;
    const cv::Size size(std::max(1, static_cast<int>(std::lround(picture.cols * scale))),
                        std::max(1, static_cast<int>(std::lround(picture.rows * scale))));
    cv::resize(picture, scaled, size, 0, 0, mixes ? cv::INTER_AREA : cv::INTER_NEAREST);
    return scaled;
}

// Lines and boxes in two tones, so that they are seen on any ground.
void DrawMarks(const OrvMap& map, double scale, cv::Mat& picture) {
    const auto place = [scale](double x, double y) {
        return cv::Point(static_cast<int>(std::lround(x * scale)), static_cast<int>(std::lround(y * scale)));
    };
    for (const auto& [colour, width] :
         {std::pair{cv::Scalar::all(0), 3}, std::pair{cv::Scalar(80, 220, 255), 1}}) {
        for (const OrvMapLine& line : map.lines)
            cv::line(picture, place(line.from.x, line.from.y), place(line.to.x, line.to.y), colour, width);
        for (const OrvMapRegion& region : map.regions)
            cv::rectangle(picture, place(region.box.x, region.box.y),
                          place(region.box.x + region.box.width - 1, region.box.y + region.box.height - 1),
                          colour, width);
    }
}

cv::Mat Below(const cv::Mat& picture, const cv::Mat& legend) {
    cv::Mat both(picture.rows + legend.rows, std::max(picture.cols, legend.cols), CV_8UC3,
                 cv::Scalar::all(255));
    picture.copyTo(both(cv::Rect(0, 0, picture.cols, picture.rows)));
    legend.copyTo(both(cv::Rect(0, picture.rows, legend.cols, legend.rows)));
    return both;
}

// The map over its image; where there are only lines and regions, over the picture.
Image PictureOf(const OrvMap& map, bool isByHand, const OrvSlotResult& result, int longestSide) {
    const double scale = ScaleFor(map.image, longestSide);
    const bool hasValues = !map.values.empty();
    const Image ground =
        hasValues || !result.inputImage.IsValid() ? DrawMap(map) : result.inputImage.ToColor();
    if (!ground.IsValid()) return {};
    cv::Mat picture = Scaled(ground.GetMat(), scale, map.scale != OrvMapScale::Classes);
    if (!map.lines.empty() || !map.regions.empty()) {
        picture = picture.clone();
        DrawMarks(map, scale, picture);
    }
    return Image(hasValues ? Below(picture, DrawLegend(map, picture.cols, isByHand)) : picture);
}

std::string RegionsText(const OrvMap& map) {
    constexpr std::size_t kNamed = 8;
    std::string text;
    for (std::size_t i = 0; i < std::min(map.regions.size(), kNamed); ++i)
        text += (i > 0 ? "; " : "") + map.regions[i].text + " at " + ToString(map.regions[i].box);
    if (map.regions.size() > kNamed)
        text += "; and " + ToString(static_cast<int>(map.regions.size() - kNamed)) + " more";
    return text;
}

}  // namespace

void ForEachPicture(const OrvFilter& filter, const OrvFilterResult& result, int longestSide,
                    const std::function<void(const OrvResultPicture&)>& take) {
    const Parameter* layer = result.postProcessing.Find("layer");
    const int shownLayer = layer != nullptr && layer->Type() == ParameterType::Choice ? layer->Get<int>() : 0;
    for (int slot = 0; slot < kFileSlots; ++slot) {
        if (!result.slot[slot]) continue;
        const OrvSlotResult& found = *result.slot[slot];
        const std::string name = result.file[slot] ? ToValidUtf8(PathName(result.file[slot]->GetPath())) : "";
        const std::string of = " of " + (name.empty() ? std::string(kSlotNames[slot]) : name);
        const auto give = [&](const std::string& what, const std::string& more, Image image,
                              std::string svg) {
            OrvResultPicture picture;
            picture.slot = slot;
            picture.name = std::string(kSlotNames[slot]) + (what.empty() ? "" : "-" + PlainName(what));
            picture.alternative =
                (what.empty() ? filter.GetNameUtf8() : filter.GetNameUtf8() + ": " + what) + of;
            picture.caption = picture.alternative + "." + (more.empty() ? "" : " " + more);
            picture.image = std::move(image);
            picture.svg = std::move(svg);
            take(picture);
        };
        if (found.outputImage.IsValid()) {
            const Image shown = found.outputImage;
            const double scale = ScaleFor({shown.GetWidth(), shown.GetHeight()}, longestSide);
            give({}, {}, scale < 1.0 ? Image(Scaled(shown.GetMat(), scale, true)) : shown, {});
        }
        for (const OrvMap& map : result.GetMaps(slot)) {
            const bool isByHand = IsRangeByHand(result, map);
            Image image = PictureOf(map, isByHand, found, longestSide);
            if (!image.IsValid()) continue;
            const std::string regions = RegionsText(map);
            give(map.name,
                 LegendOf(map, isByHand).note + (regions.empty() ? "" : " Marked: " + regions + "."),
                 std::move(image), {});
        }
        int number = 0;
        const auto givePlot = [&](const OrvPlotData& plot) {
            ++number;
            const std::string what = plot.yLabel.empty() ? "Plot" : plot.yLabel;
            std::string svg = PlotToSvg(plot, shownLayer, filter.GetNameUtf8() + of);
            if (!svg.empty())
                give("Plot " + ToString(number),
                     what + " over " + (plot.xLabel.empty() ? std::string("their order") : plot.xLabel) + ".",
                     {}, std::move(svg));
        };
        givePlot(found.plot);
        for (const OrvPlotData& plot : found.morePlots) givePlot(plot);
    }
}

std::vector<std::string> WritePictures(const OrvFilter& filter, const OrvFilterResult& result,
                                       const std::string& folder, const std::string& stem) {
    std::vector<std::string> paths;
    ForEachPicture(filter, result, 0, [&](const OrvResultPicture& picture) {
        const std::string base = PathJoin(folder, stem + "-" + filter.GetId() + "-" + picture.name);
        const std::string extension = picture.svg.empty() ? ".png" : ".svg";
        std::string path = base + extension;
        for (int i = 2; GetFileFacts(path); ++i) path = base + "-" + ToString(i) + extension;
        if (picture.svg.empty())
            WriteFile(path, EncodeImage(picture.image, "png"));
        else
            WriteFile(path, picture.svg);
        paths.push_back(path);
    });
    return paths;
}
