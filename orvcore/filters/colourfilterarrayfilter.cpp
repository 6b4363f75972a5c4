#include "orvcore/analysis/colourfilterarray.h"

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/filterlist.h"

namespace {

class ColourFilterArrayFilter : public OrvFilterImage {
  public:
    ColourFilterArrayFilter() : OrvFilterImage("Colour Filter Array", "colour-filter-array") {
        Describe(
            "Sampling",
            "A sensor measures one colour per pixel; the other two are interpolated, which leaves a chessboard of better and worse "
            "predictable pixels. The first map tells how plain it is in blocks of 16 x 16 pixels: a part that lacks it, or has it the "
            "other way round (negative), was pasted, painted or resized after the picture was taken. The second map is the probability "
            "that a block has the trace. It is only there in pictures that were hardly compressed (quality 95 and above) and not "
            "resized; interpolation that follows edges, and denoising, leave less of it. Without it the page says so and judges "
            "nothing. Flat and saturated blocks are left out (grey). After Ferrara, Bianchi, De Rosa and Piva 2012; Gallagher and "
            "Chen 2008.");
        SetParameters({}, {}, {Parameter::Output(ParameterType::TableString, "numbers", "Numbers")});
    }
    int GetVersion() const override { return 2; }
    bool GivesVerdict() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return WhyNotSmallerThan(file, 64);
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const cv::Mat picture = GetEightBits(file, job);
        if (picture.channels() != 3) return result.SayNothing("A grey picture");
        job.SetProgress(0.0, "Looking for interpolated colours");
        const ColourFilterResult found = ComputeColourFilterArray(picture, job.Part());
        result.AddNumber("Median of the trace (log of the ratio of variances)", FixedText(found.median, 2));
        result.AddNumber("Pattern of the filter array", NameOf(found.pattern));
        result.AddNumber("Peak of the chessboard (times the median)", FixedText(found.globalPeak, 1));
        result.AddNumber("Blocks that can be judged", std::to_string(found.knownCells));
        result.AddNumber("Blocks of the largest part without trace", std::to_string(found.lackingCells));
        OrvMap map = ToOrvMap(found.map, "Trace Of Interpolation", "", {-1.0, 1.0});
        map.scale = OrvMapScale::Diverging;
        const AnalysisDecision decision = DecideColourFilterArray(found);
        if (decision.finding == Finding::StrongSign)
            map.regions.push_back(
                {Roi(found.lacking.x, found.lacking.y, found.lacking.width, found.lacking.height),
                 "No trace"});
        OrvMap probability = ToOrvMap(found.map, "Probability Of The Trace", "", {0.0, 1.0});
        probability.scale = OrvMapScale::Probability;
        probability.values = found.probability;
        result.AddMap(std::move(map));
        result.AddMap(std::move(probability));
        JudgeBy(decision, {"blocks without trace", 0.0, 0.0, 0, "", {}}, result);
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeColourFilterArrayFilter() {
    return std::make_unique<ColourFilterArrayFilter>();
}
