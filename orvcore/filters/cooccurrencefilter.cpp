#include "orvcore/analysis/cooccurrence.h"

#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/filterlist.h"

namespace {

class CooccurrenceFilter : public OrvFilterImage {
  public:
    CooccurrenceFilter() : OrvFilterImage("Co-Occurrence Outliers", "cooccurrence") {
        Describe(
            "Noise",
            "Every camera model has a way of its own to make a picture, which leaves a structure in the finest detail. How often short series "
            "of differences occur is counted in blocks of 128 pixels, and the blocks are divided into two classes: the first map is high "
            "where a block belongs to the rarer one. Which class is the pasted one is a guess that fails in about one of four pictures: "
            "\"Exchange The Classes\" turns the map over. The second map shows blocks far from what is usual; it finds small parts, a "
            "large one becomes usual itself. Learnt from this picture alone, so blocks of another texture look like another camera: a "
            "map to look at, never a verdict. Blind for parts from the same model with the same settings and for parts under about 128 "
            "pixels. After Cozzolino, Poggi and Verdoliva 2015.");
        SetParameters({Parameter::Bool("exchange", "Exchange The Classes", false)}, {},
                      {Parameter::Output(ParameterType::TableString, "numbers", "Numbers")});
    }
    bool IsCacheable() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return WhyNotSmallerThan(file, 256);
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        job.SetProgress(0.0, "Learning what is usual in this picture");
        const CooccurrenceResult found = ComputeCooccurrence(GetLuminance(file, job), job.Part());
        if (found.map.values.empty()) return result.SayNothing("Too few blocks that are not saturated");
        OrvMap map = ToOrvMap(found.map, "Other Class", "log of the ratio", {-1.0, 1.0});
        map.scale = OrvMapScale::Diverging;
        if (input.Get<bool>("exchange")) map.values = -map.values;
        result.AddMap(std::move(map));
        result.AddMap(ToOrvMap(found.outliers, "Unusual", "times the median", {0.0, 3.0}));
        result.AddNumber("Blocks in the rarer class (%)", FixedText(100.0 * found.otherShare, 0));
        result.AddNumber("Most unusual 1 % (times the median)", FixedText(found.outlierPercentile, 1));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeCooccurrenceFilter() {
    return std::make_unique<CooccurrenceFilter>();
}
