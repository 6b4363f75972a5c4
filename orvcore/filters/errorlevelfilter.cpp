#include "orvcore/analysis/errorlevel.h"

#include "orvcore/analysis/qualitycurve.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/filterlist.h"

namespace {

// The top of the narrowest scale: a picture that changes less than this everywhere looks dark. A choice, not yet measured on photographs.
constexpr double kCalmLevels = 12.0;
constexpr double kHighestLevel = 255.0;
constexpr int kCurveBlocks = 1024;

// How much each pixel changes when the picture is saved as JPEG once more.
class ErrorLevelFilter : public OrvFilterImage {
  public:
    ErrorLevelFilter() : OrvFilterImage("Error Level Analysis", "error-level") {
        Describe(
            "Compression",
            "The picture is saved once more as JPEG at the chosen quality; the brighter a place, the more it changes. A part "
            "that was saved fewer times than its surroundings, or at another quality, can stand out as a whole area. Compare "
            "like with like: texture, edges and saturated colours are always brighter than smooth areas. The curve shows the mean "
            "over all qualities: a dip tells of an earlier save at that quality. After several saves "
            "at the same quality, or after a reduction in size, nothing can be seen.");
        SetParameters({Parameter::Slider("quality", "JPEG Quality", 90, 1, 100),
                       Parameter::Choice("subsampling", "Subsampling", 0, {"4:4:4", "4:2:2", "4:2:0"}),
                       Parameter::Choice("channels", "Channels", 0, {"Each on its own", "Mean (grey)"})},
                      {Parameter::Slider("gain", "Brightness Gain (0: automatic)", 0, 0, 100)},
                      {Parameter::Output(ParameterType::TableString, "numbers", "Error Levels (0 to 255)")});
    }
    int GetVersion() const override { return 3; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        ErrorLevelSettings settings;
        settings.quality = input.Get<int>("quality");
        settings.subsampling = static_cast<ErrorLevelSubsampling>(input.Get<int>("subsampling"));
        settings.grey = input.Get<int>("channels") == 1;
        const cv::Mat picture = GetEightBits(file, job);
        job.SetProgress(0.0, "Saving as JPEG once more");
        OrvMap map;
        map.name = "Error Level";
        map.unit = "levels";
        map.values = ComputeErrorLevel(picture, settings, job.Part(0.0, 0.8));
        map.floor = {0.0, kCalmLevels};
        const ErrorLevelStatistics statistics = MeasureErrorLevel(map.values, Roi());
        result.AddNumber("Mean (levels)", FixedText(statistics.mean, 3));
        result.AddNumber("Largest (levels)", std::to_string(statistics.maximum));
        result.AddMap(std::move(map));
        AddCurve(ComputeErrorLevelCurve(picture, {}, kCurveBlocks, job.Part(0.8, 1.0)), settings.quality,
                 result);
    }

    // Where the curve comes near nought, the picture was saved with that quality before.
    static void AddCurve(const ErrorLevelCurve& curve, int quality, OrvSlotResult& result) {
        if (curve.blocksOutside == 0) return;
        OrvPlotData& plot = result.plot;
        for (int q = 1; q <= 100; ++q) plot.x.push_back(static_cast<float>(q));
        plot.curves.emplace_back(curve.outside.begin(), curve.outside.end());
        plot.layerCount = 1;
        plot.marks = {{static_cast<float>(quality)},
                      {static_cast<float>(curve.outside[static_cast<std::size_t>(quality - 1)])}};
        plot.xLabel = "JPEG quality";
        plot.yLabel = "Mean error level of luminance (levels)";
        plot.text = "measured on " + std::to_string(curve.blocksOutside) + " blocks";
    }

    void PostProcess(const VecParameter& postProcessing, const OrvJob&,
                     OrvSlotResult& result) const override {
        const int gain = postProcessing.Get<int>("gain");
        for (OrvMap& map : result.maps) {
            if (gain == 0) continue;
            map.isAutomatic = false;
            map.range = {0.0, kHighestLevel / gain};
        }
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeErrorLevelFilter() {
    return std::make_unique<ErrorLevelFilter>();
}
