#include "orvcore/filter/maplegend.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "orvcore/filter/mapimage.h"

namespace {

constexpr int kTicks = 5;
constexpr std::size_t kMostClasses = 64;

std::string WithUnit(const OrvMap& map, const std::string& number) {
    return map.unit.empty() ? number : number + " " + map.unit;
}

std::string RangeText(const OrvMap& map, const OrvRange& range) {
    return MapNumberText(map, range.low) + " to " + WithUnit(map, MapNumberText(map, range.high));
}

OrvMapLegend LegendOfClasses(const OrvMap& map) {
    OrvMapLegend legend;
    const std::size_t count = std::min(map.classNames.size(), kMostClasses);
    for (std::size_t i = 0; i < count; ++i) {
        legend.ticks.push_back(
            {(static_cast<double>(i) + 0.5) / static_cast<double>(count), map.classNames[i]});
        legend.classes.push_back(static_cast<int>(i));
    }
    legend.note = "Each colour is a class.";
    return legend;
}

MapColour ColourAt(const OrvMap& map, const OrvMapLegend& legend, double place) {
    const MapColours colours = ColoursOfMap(map);
    if (map.scale == OrvMapScale::Classes) {
        const auto count = static_cast<double>(std::max<std::size_t>(legend.classes.size(), 1));
        return colours[static_cast<std::size_t>(std::clamp(place * count, 0.0, count - 1.0)) & 255U];
    }
    const auto index = static_cast<std::size_t>(std::lround(255.0 * place));
    if (map.values.channels() == 3) {
        const auto grey = static_cast<std::uint8_t>(index);
        return {grey, grey, grey};
    }
    return colours[index];
}

std::string Ascii(const std::string& text) {
    std::string ascii;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 128)
            ascii += c;
        else if (byte >= 0xC0)  // the first byte of a letter stands for it
            ascii += '?';
    }
    return ascii;
}

}  // namespace

OrvMapLegend LegendOf(const OrvMap& map, bool isByHand) {
    OrvMapLegend legend;
    if (map.scale == OrvMapScale::Classes) {
        legend = LegendOfClasses(map);
    } else {
        const OrvRange range = map.scale == OrvMapScale::Probability ? OrvRange{0.0, 1.0} : map.range;
        for (int i = 0; i < kTicks; ++i) {
            const double place = i / (kTicks - 1.0);
            // Rounded to what is told anyway: 2.4999999 is 2.5.
            const double value = range.low + place * (range.high - range.low);
            legend.ticks.push_back({place, MapNumberText(map, value)});
        }
        legend.note = "Scale " + RangeText(map, range);
        if (map.scale == OrvMapScale::Probability)
            legend.note += ".";
        else if (isByHand)
            legend.note += ", set by hand.";
        else if (map.isAutomatic)
            legend.note += ", automatic (never narrower than " + RangeText(map, map.floor) + ").";
        else
            legend.note += ", fixed by the analysis.";
        if (map.values.channels() == 3) legend.note += " Each channel is drawn in its own colour.";
        if (map.thresholdSide != OrvMapSide::None) {
            legend.note += std::string(" Beyond the threshold: ") +
                           (map.thresholdSide == OrvMapSide::Above ? "above " : "below ") +
                           WithUnit(map, MapNumberText(map, map.threshold)) + ".";
            const double place = (map.threshold - range.low) / (range.high - range.low);
            if (place >= 0.0 && place <= 1.0) legend.threshold = place;
        }
    }
    legend.title = map.unit.empty() ? map.name : map.name + " (" + map.unit + ")";
    if (!map.mask.empty()) legend.note += " Grey: nothing can be said there.";
    return legend;
}

cv::Mat DrawLegend(const OrvMap& map, int width, bool isByHand) {
    constexpr int kMargin = 10;
    constexpr int kBarTop = 28;
    constexpr int kBarHeight = 14;
    constexpr int kHeight = 66;
    constexpr int kFont = cv::FONT_HERSHEY_SIMPLEX;
    constexpr double kSize = 0.4;
    const cv::Scalar black = cv::Scalar::all(20);
    const OrvMapLegend legend = LegendOf(map, isByHand);
    cv::Mat picture(kHeight, std::max(width, 200), CV_8UC3, cv::Scalar::all(255));
    const int length = picture.cols - 2 * kMargin;
    for (int x = 0; x < length; ++x) {
        const MapColour colour = ColourAt(map, legend, x / (length - 1.0));
        cv::line(picture, {kMargin + x, kBarTop}, {kMargin + x, kBarTop + kBarHeight - 1},
                 cv::Scalar(colour[0], colour[1], colour[2]));
    }
    cv::rectangle(picture, {kMargin, kBarTop, length, kBarHeight}, cv::Scalar::all(120));
    const auto placeOf = [&](double place) {
        return kMargin + static_cast<int>(std::lround(place * (length - 1)));
    };
    if (legend.threshold >= 0.0) {
        const int x = placeOf(legend.threshold);
        cv::line(picture, {x, kBarTop - 4}, {x, kBarTop + kBarHeight + 3}, cv::Scalar(0, 0, 200), 2);
    }
    const std::string title =
        Ascii(legend.title + (map.values.empty() || map.scale == OrvMapScale::Classes ? ""
                              : isByHand                                              ? ", scale set by hand"
                              : map.isAutomatic                                       ? ", automatic scale"
                                                                                      : ""));
    cv::putText(picture, title, {kMargin, 18}, kFont, kSize, black, 1, cv::LINE_AA);
    int free = 0;  // texts do not run into each other
    for (const OrvMapLegendTick& tick : legend.ticks) {
        const std::string text = Ascii(tick.text);
        const int wide = cv::getTextSize(text, kFont, kSize, 1, nullptr).width;
        const int left = std::clamp(placeOf(tick.place) - wide / 2, 2, std::max(2, picture.cols - wide - 2));
        if (left < free) continue;
        cv::putText(picture, text, {left, kBarTop + kBarHeight + 17}, kFont, kSize, black, 1, cv::LINE_AA);
        free = left + wide + 8;
    }
    return picture;
}
