#include "orvcore/analysis/resampling.h"

#include <cmath>

#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/filterlist.h"

namespace {

std::string TextOf(const std::vector<ResamplingGuess>& guesses) {
    std::string text;
    for (const ResamplingGuess& guess : guesses) {
        if (!text.empty()) text += "; ";
        text += "x " + FixedText(guess.scale, 3);
        if (guess.degrees != 0.0) text += " turned by " + FixedText(guess.degrees, 1) + " degrees";
    }
    return text;
}

class ResamplingFilter : public OrvFilterImage {
  public:
    ResamplingFilter() : OrvFilterImage("Resampling", "resampling") {
        Describe(
            "Sampling",
            "Enlarging, reducing and turning compute new pixels from old ones, with a period that follows from the scale. The map tells, "
            "in windows of 256 pixels, how strong a period is on both axes; a part that was scaled before it was pasted stands out "
            "where the rest has none. The second map is the probability that a pixel follows from its neighbours; peaks of its "
            "spectrum are periods, listed with the scales and turns that can cause them (one period allows several). Blind for doubling, for reduced pictures mostly, and after compression below a quality of about 95. Peaks at "
            "multiples of 1/8 come from JPEG and do not count. Cameras and phones that reduce their pictures themselves leave the same "
            "trace as an editor, and regular patterns in the scene have peaks of their own. After Popescu and Farid 2005, Gallagher "
            "2005, Kirchner 2008. Needs 12 bytes of memory per pixel.");
        SetParameters({}, {},
                      {Parameter::Output(ParameterType::TableString, "numbers", "Numbers"),
                       Parameter::Output(ParameterType::TableString, "peaks", "Peaks")});
    }
    int GetVersion() const override { return 2; }
    bool GivesVerdict() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return WhyNotSmallerThan(file, 64);
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                 OrvSlotResult& result) const override {
        job.SetProgress(0.0, "Looking for periods of interpolation");
        const ResamplingResult found = ComputeResampling(GetLuminance(file, job), job.Part());
        const AnalysisDecision decision = DecideResampling(found);
        result.AddNumber("Strongest pair on both axes (times the median)",
                         FixedText(found.best.pairStrength, 2));
        result.AddNumber("Its frequency (cycles per pixel)", FixedText(found.best.fx, 4));
        result.AddNumber("Scales that it allows",
                         decision.finding == Finding::StrongSign ? TextOf(found.guesses) : "");
        result.AddNumber("Window (pixels)",
                         std::to_string(found.window.width) + " x " + std::to_string(found.window.height));
        TableString peaks{{"Across (cycles per pixel)", "Down (cycles per pixel)",
                           "Strength (times the median)", "JPEG's blocks", "Scales and turns"}};
        for (const ResamplingPeak& peak : found.peaks)
            peaks.push_back({FixedText(peak.fx, 4), FixedText(peak.fy, 4), FixedText(peak.strength, 1),
                             peak.isJpeg ? "multiple of 1/8" : "", TextOf(ScalesOfPeak(peak.fx, peak.fy))});
        result.Set("peaks", peaks);
        if (!found.map.values.empty())
            result.AddMap(ToOrvMap(found.map, "Period", "times the median", {1.0, 8.0}));
        OrvMap probability;
        probability.name = "Follows From Its Neighbours";
        probability.scale = OrvMapScale::Probability;
        probability.values = found.probability;
        result.AddMap(std::move(probability));
        result.plot.layerCount = 1;
        result.plot.curves.resize(1);
        const int half = found.spectrum.rows / 2;
        for (int k = 1; k < half; ++k) {
            result.plot.x.push_back(static_cast<float>(k) / static_cast<float>(found.spectrum.rows));
            result.plot.curves[0].push_back(
                std::min(found.spectrum.at<float>(half, half + k), found.spectrum.at<float>(half + k, half)));
        }
        result.plot.xLabel = "Frequency (cycles per pixel)";
        result.plot.yLabel = "Smaller of both axes (times the median)";
        JudgeBy(decision, {"peak on both axes", 0.0, 0.0, 1, "times the median", {}}, result);
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeResamplingFilter() {
    return std::make_unique<ResamplingFilter>();
}
