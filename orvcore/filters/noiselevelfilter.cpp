#include "orvcore/analysis/noiselevel.h"

#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/filterlist.h"

namespace {

constexpr double kLoudRatio = 7.0;  // of 152 untouched camera pictures 13 have a louder place

class NoiseLevelFilter : public OrvFilterImage {
  public:
    NoiseLevelFilter() : OrvFilterImage("Noise Level Map", "noise-level") {
        Describe(
            "Noise",
            "How strong the noise is, in blocks of 16 x 16 pixels, measured in the finest diagonal detail. Compare smooth places of the same "
            "brightness: a part with clearly more or less noise than such places elsewhere came from another picture, or was smoothed, "
            "sharpened or resized. Texture counts as noise, and brighter places have more of it, so a busy part in a calm picture "
            "stands out by nature; that is why no verdict is given. A place more than 7 times as noisy as the median is marked; one of "
            "twelve untouched pictures has one. Saturated places are left out (grey). Compression below a quality of about 80 and the denoising of phones level the noise. After Mahdian and Saic 2009.");
        SetParameters({}, {}, {Parameter::Output(ParameterType::TableString, "numbers", "Noise Level")});
    }
    int GetVersion() const override { return 2; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return WhyNotSmallerThan(file, 16);
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                 OrvSlotResult& result) const override {
        job.SetProgress(0.0, "Measuring the noise");
        const NoiseLevelResult level = ComputeNoiseLevel(GetLuminance(file, job), job.Part());
        OrvMap map = ToOrvMap(level.map, "Noise Level", "levels", {0.0, 6.0});
        result.AddNumber("Median (levels)", FixedText(level.median, 2));
        result.AddNumber("Loudest 128 x 128 pixels to the median (times)", FixedText(level.largestRatio, 1));
        result.AddNumber("Not saturated (% of the picture)", FixedText(100.0 * level.map.KnownPart(), 0));
        if (level.largestRatio > kLoudRatio)
            map.regions.push_back(
                {Roi(level.loudest.x, level.loudest.y, level.loudest.width, level.loudest.height),
                 "Loudest"});
        if (level.map.KnownPart() <= 0.0) result.SayNothing("Everything is saturated");
        result.AddMap(std::move(map));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeNoiseLevelFilter() {
    return std::make_unique<NoiseLevelFilter>();
}
