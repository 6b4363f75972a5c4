#include "orvcore/analysis/spectrum.h"

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/filterlist.h"

namespace {

constexpr double kCalmLevels = 8.0;
constexpr double kHighestLevel = 255.0;

// What is finer, or coarser, than a chosen size.
class FrequencySplitFilter : public OrvFilterImage {
  public:
    FrequencySplitFilter() : OrvFilterImage("Frequency Split", "frequency-split") {
        Describe(
            "Looking",
            "The luminance split at a frequency: the high part holds noise, texture and edges, the low part shapes and light. In "
            "the high part a smoothed, enlarged or painted area is calm where its surroundings are not; in the low part "
            "light that does not fit shows. Sky, blur and strong compression are calm by nature. Nothing is judged "
            "here. The filter is Gaussian; at the cutoff one half passes.");
        SetParameters({Parameter::Choice("show", "Shows", 0, {"High frequencies", "Low frequencies"}),
                       Parameter::Double("cutoff", "Cutoff (cycles per pixel)", 0.1, 0.001, 0.5)},
                      {}, {Parameter::Output(ParameterType::TableString, "numbers", "Numbers")});
    }
    int GetVersion() const override { return 2; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        FrequencySplit split =
            SplitFrequencies(GetSamples(file, job), input.Get<double>("cutoff"), job.Part());
        result.AddNumber("Deviation of the high part (levels)", FixedText(split.highDeviation, 3));
        result.AddNumber("Deviation of the low part (levels)", FixedText(split.lowDeviation, 3));
        const bool isHigh = input.Get<int>("show") == 0;
        OrvMap map;
        map.name = isHigh ? "High Frequencies" : "Low Frequencies";
        map.unit = "levels";
        map.values = isHigh ? split.high : split.low;
        map.scale = isHigh ? OrvMapScale::Diverging : OrvMapScale::Sequential;
        map.floor = {-kCalmLevels, kCalmLevels};
        map.isAutomatic = isHigh;
        if (!isHigh) map.range = {0.0, kHighestLevel};
        result.AddMap(std::move(map));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeFrequencySplitFilter() {
    return std::make_unique<FrequencySplitFilter>();
}
