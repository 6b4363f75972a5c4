#include "orvcore/analysis/medianfilter.h"

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/filterlist.h"

namespace {

class MedianFilterTraceFilter : public OrvFilterImage {
  public:
    MedianFilterTraceFilter() : OrvFilterImage("Median Filtering", "median-filtering") {
        Describe(
            "Sampling",
            "A median filter removes scratches, noise and the traces of other changes; it repeats values, so that neighbouring pixels are "
            "equal more often than in any photograph. The map is the ratio of equal neighbours to neighbours one level apart, in blocks of "
            "64 x 64 pixels; only textured pixels count, smooth and saturated blocks are left out (grey). A part with a far higher "
            "ratio than the rest was filtered on its own. Any compression afterwards erases the trace: nothing found says nothing "
            "about a JPEG file. A curve that joins levels repeats values too (see Contrast Changes). Smoothing of another kind is not seen; "
            "early compact cameras come close to the threshold. After Kirchner and Fridrich 2010; Cao, Zhao, Ni and Yu 2010.");
        SetParameters({}, {}, {Parameter::Output(ParameterType::TableString, "numbers", "Numbers")});
    }
    int GetVersion() const override { return 2; }
    bool GivesVerdict() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return WhyNotSmallerThan(file, 16);
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                 OrvSlotResult& result) const override {
        job.SetProgress(0.0, "Counting equal neighbours");
        constexpr int kGreen = 2;
        const MedianFilterResult found =
            ComputeMedianFilterTrace(PlaneOf(GetEightBits(file, job), kGreen), job.Part());
        result.AddNumber("Median ratio of textured blocks", FixedText(found.medianRatio, 2));
        result.AddNumber("Ratio of all textured pixels", FixedText(found.ratio, 2));
        result.AddNumber("Equal neighbours among textured pixels (%)", FixedText(100.0 * found.zeroShare, 1));
        result.AddNumber("Textured blocks", std::to_string(found.knownCells));
        OrvMap map = ToOrvMap(found.map, "Equal Neighbours", "times", {0.0, 2.0});
        map.threshold = kMedianRatioThreshold;
        map.thresholdSide = OrvMapSide::Above;
        result.AddMap(std::move(map));
        JudgeBy(DecideMedianFilter(found), {"median ratio", 0.0, 0.0, 2, "", {}}, result);
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeMedianFilterFilter() {
    return std::make_unique<MedianFilterTraceFilter>();
}
