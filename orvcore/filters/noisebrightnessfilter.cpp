#include "orvcore/analysis/noisebrightness.h"

#include <algorithm>
#include <cmath>

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/filterlist.h"

namespace {

class NoiseBrightnessFilter : public OrvFilterImage {
  public:
    NoiseBrightnessFilter() : OrvFilterImage("Noise Against Brightness", "noise-brightness") {
        Describe(
            "Noise",
            "One sensor has one law: the brighter a place, the more noise, on a line when squared. The plot shows the noise that the smoothest "
            "places have at each brightness, with that line; a camera's curve, denoising and JPEG bend it, so a bent curve is no sign. The "
            "map shows where places are quieter than the rest of the picture at the same brightness: below 0 more often than "
            "chance lets expect in one picture (the number is a power of ten). A quiet place was smoothed, or pasted from a picture with "
            "less noise; a noisier one is not seen, nor is one in a picture full of texture. A third of untouched camera pictures have a "
            "place below 0, 5 % one below -5, from where on it is worth a look; below -18 hardly any has one. Needs half a megapixel. After Colom and Buades 2013; Gardella, Muse, Morel and Colom "
            "2021 and 2024.");
        SetParameters({}, {},
                      {Parameter::Output(ParameterType::TableString, "numbers", "Numbers"),
                       Parameter::Output(ParameterType::TableString, "curve", "Noise By Brightness")});
    }
    int GetVersion() const override { return 2; }
    bool GivesVerdict() const override { return true; }
    bool IsCacheable() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return WhyNotSmallerThan(file, 64);
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const cv::Mat picture = GetEightBits(file, job);
        job.SetProgress(0.0, "Measuring noise by brightness");
        const NoiseBrightnessResult found = ComputeNoiseBrightness(picture, job.Part());
        TableString table{{"Brightness (levels)", "Noise (levels)", "Line of one sensor (levels)"}};
        const auto lineAt = [&found](double level) {
            return std::sqrt(std::max(found.slope * level + found.offset + 1.0 / 12, 0.0));
        };
        result.plot.marks.resize(2);
        for (const NoisePoint& point : found.curve) {
            table.push_back(
                {FixedText(point.level, 1), FixedText(point.sigma, 2), FixedText(lineAt(point.level), 2)});
            result.plot.marks[0].push_back(static_cast<float>(point.level));
            result.plot.marks[1].push_back(static_cast<float>(point.sigma));
        }
        if (!found.curve.empty()) {
            result.plot.layerCount = 1;
            result.plot.curves.resize(1);
            for (int level = 0; level < 256; ++level) {
                result.plot.x.push_back(static_cast<float>(level));
                result.plot.curves[0].push_back(static_cast<float>(lineAt(level)));
            }
            result.plot.xLabel = "Brightness (levels)";
            result.plot.yLabel = "Noise (levels)";
            result.AddNumber("Photon noise: variance per level", FixedText(found.slope, 4));
            result.AddNumber("Read noise: variance", FixedText(found.offset, 3));
            result.AddNumber("Mean deviation from the line (%)", FixedText(100.0 * found.fitError, 0));
        }
        result.Set("curve", table);
        result.AddNumber("Quietest place (power of ten)", FixedText(found.leastLogNfa, 1));
        if (!found.map.values.empty()) {
            OrvMap map = ToOrvMap(found.map, "Quieter Than Chance", "power of ten", {-18.0, 18.0});
            map.scale = OrvMapScale::Diverging;
            map.threshold = kQuietStrong;
            map.thresholdSide = OrvMapSide::Below;
            if (found.leastLogNfa < kQuietStrong)
                map.regions.push_back(
                    {Roi(found.quietest.x, found.quietest.y, found.quietest.width, found.quietest.height),
                     "Too quiet"});
            result.AddMap(std::move(map));
        }
        JudgeBy(DecideNoiseBrightness(found, picture.size()),
                {"quietest place as a power of ten", 0.0, 0.0, 1, "", {}}, result);
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeNoiseBrightnessFilter() {
    return std::make_unique<NoiseBrightnessFilter>();
}
