#include "orvcore/analysis/profile.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/filterlist.h"

namespace {

// The levels along the selection.
class LineProfileFilter : public OrvFilterPlot {
  public:
    LineProfileFilter() : OrvFilterPlot("Line Profile", "line-profile") {
        Describe(
            "Looking",
            "The levels along the selection, each value the mean of a column (or row) of it: edges that are too hard or too soft "
            "for their distance, steps of eight pixels from JPEG's blocks, halos of sharpening, the noise of two areas side by "
            "side. A selection of one row shows that row; without one the whole picture is averaged. Nothing is judged here.");
        SetParameters({Parameter::Region("region", "Selection", Roi(), ParameterType::OrvRoi),
                       Parameter::Choice("direction", "Direction", 0, {"Along rows", "Along columns"})},
                      {Parameter::Choice("layer", "Channel", 0, {"Luminance", "Red", "Green", "Blue"})},
                      {Parameter::Output(ParameterType::TableString, "numbers", "Numbers")});
    }
    int GetVersion() const override { return 2; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const cv::Mat picture = GetSamples(file, job);
        const Roi& roi = input.Get<Roi>("region");
        const cv::Rect whole(0, 0, picture.cols, picture.rows);
        const cv::Rect part = roi.IsEmpty() ? whole : cv::Rect(roi.x, roi.y, roi.width, roi.height) & whole;
        if (part.empty()) return result.SayNothing("The selection lies outside the picture");
        const bool isRow = input.Get<int>("direction") == 0;
        const LineProfile profile = ComputeLineProfile(
            picture, part, isRow ? ProfileDirection::AlongRow : ProfileDirection::AlongColumn, job.Part());
        OrvPlotData& plot = result.plot;
        plot.layerCount = static_cast<int>(profile.values.size());
        for (std::size_t i = 0; i < profile.values[0].size(); ++i)
            plot.x.push_back(static_cast<float>(profile.first + static_cast<int>(i)));
        for (const auto& values : profile.values) plot.curves.emplace_back(values.begin(), values.end());
        plot.xLabel = isRow ? "x (pixels)" : "y (pixels)";
        plot.yLabel = "Level (0 to 255)";
        result.AddNumber("Part (x, y, width, height)",
                         ToString(Roi(part.x, part.y, part.width, part.height)));
        result.AddNumber(isRow ? "Rows averaged" : "Columns averaged", std::to_string(profile.lines));
    }
    void PostProcess(const VecParameter& post, const OrvJob&, OrvSlotResult& result) const override {
        result.plot.text = post.Find("layer")->GetValueAsString();
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeLineProfileFilter() {
    return std::make_unique<LineProfileFilter>();
}
