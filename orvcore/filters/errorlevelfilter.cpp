#include "orvcore/filters/errorlevelfilter.h"

#include <cmath>
#include <cstdio>

#include "orvcore/analysis/errorlevel.h"

namespace {

std::string Levels(double value) {
    if (std::isnan(value)) return {};
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", value);
    return text;
}

// The picture as JPEG takes it: 8 bits, grey or colour.
cv::Mat EightBits(const Image& image) {
    return image.GetChannels() <= 2 ? image.ToGray().GetMat() : image.ToColor().GetMat();
}

}  // namespace

ErrorLevelFilter::ErrorLevelFilter() : OrvFilterImage("Error Level Analysis", "error-level") {
    Describe(
        "Local",
        "The picture is saved once more as JPEG at the chosen quality; the brighter a place, the more it changes. A part "
        "that was saved fewer times than its surroundings, or at another quality, can stand out as a whole area. Compare "
        "like with like: texture, edges and saturated colours are always brighter than smooth areas. After several saves "
        "at the same quality, or after a reduction in size, nothing can be seen.");
    SetParameters({Parameter::Slider("quality", "JPEG Quality", 90, 1, 100),
                   Parameter::Choice("subsampling", "Subsampling", 0, {"4:4:4", "4:2:2", "4:2:0"}),
                   Parameter::Choice("channels", "Channels", 0, {"Each on its own", "Mean (grey)"}),
                   Parameter::Region("region", "Region (selection)", Roi(), ParameterType::OrvRoi)},
                  {Parameter::Slider("gain", "Brightness Gain", 20, 1, 100)},
                  {Parameter::Output(ParameterType::OutputString, "mean", "Mean Error Level (0-255)"),
                   Parameter::Output(ParameterType::OutputString, "maximum", "Largest Error Level (0-255)"),
                   Parameter::Output(ParameterType::OutputString, "inside", "Mean Inside The Region"),
                   Parameter::Output(ParameterType::OutputString, "outside", "Mean Outside The Region")});
}

void ErrorLevelFilter::Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                               OrvSlotResult& result) const {
    const auto decoded = file.GetDecoded(job);
    ErrorLevelSettings settings;
    settings.quality = input.Get<int>("quality");
    settings.subsampling = static_cast<ErrorLevelSubsampling>(input.Get<int>("subsampling"));
    settings.grey = input.Get<int>("channels") == 1;
    job.SetProgress(0.0, "Saving as JPEG once more");
    const cv::Mat levels = ComputeErrorLevel(EightBits(decoded->image), settings, job.Part());
    const Roi& region = input.Get<Roi>("region");
    const ErrorLevelStatistics statistics = MeasureErrorLevel(levels, region);
    const auto set = [&result](const char* name, const std::string& text) {
        result.output.Find(name)->SetValue(text);
    };
    set("mean", Levels(statistics.mean));
    set("maximum", std::to_string(statistics.maximum));
    if (!region.IsEmpty()) {
        set("inside", Levels(statistics.meanInside));
        set("outside", Levels(statistics.meanOutside));
    }
    result.inputImage = decoded->image;
    result.outputImage = Image(levels);
}

void ErrorLevelFilter::PostProcess(const VecParameter& postProcessing, const OrvJob&,
                                   OrvSlotResult& result) const {
    const int gain = postProcessing.Get<int>("gain");
    if (gain == 1 || !result.outputImage.IsValid()) return;
    const cv::Mat& levels = result.outputImage.GetMat();
    result.outputImage = Image(AmplifyErrorLevel(levels, gain, cv::Rect(0, 0, levels.cols, levels.rows)));
}
