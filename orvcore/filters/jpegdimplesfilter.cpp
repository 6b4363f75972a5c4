#include "orvcore/analysis/jpegdimples.h"

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/filterlist.h"
#include "zorbase/text.h"

namespace {

class JpegDimplesFilter : public OrvFilterImage {
  public:
    JpegDimplesFilter() : OrvFilterImage("JPEG Dimples", "jpeg-dimples") {
        Describe(
            "Compression",
            "Some encoders, those of many cameras among them, round every coefficient the same way; then the first pixel of each block is darker or "
            "brighter than it should be, by the strength d in levels. Cameras of one model share their strength, and a part of another "
            "origin lacks the dimples or has them in another place: the map, averaged over a window, falls to 0 there. A strength is told "
            "only when it is at least 0.15 levels, far from chance (z) and has the shape of one pixel. It survives another save on the same grid. It "
            "cannot see: encoders that round to the nearest (most programs, many cameras), where the filter says nothing; "
            "saturated parts; parts smaller than the window; pictures that were reduced; after a crop the dimple is elsewhere in the block, see its place. "
            "After Agarwal and Farid 2017 (WIFS).");
        SetParameters({Parameter::Slider("window", "Window (blocks)", 32, 8, 64)}, {},
                      {Parameter::Output(ParameterType::TableString, "numbers", "Dimples"),
                       Parameter::Output(ParameterType::TableString, "block", "Mean Block (levels)")});
    }
    bool GivesVerdict() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return WhyNotSmallerThan(file, 24);
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const cv::Mat picture = GetSamples(file, job);
        job.SetProgress(0.0, "Averaging the blocks");
        const DimpleResult found = ComputeDimples(picture, {8 * input.Get<int>("window")}, job.Part());
        JudgeBy(JudgeDimples(found), {.quantity = "least of the map over its median"}, result);
        result.AddNumber("Blocks that could be used", ToString(found.blocks));
        if (found.blocks == 0) return;
        result.AddNumber("Strength d (levels)", FixedText(found.strength, 2));
        result.AddNumber("d over its standard error (z)", FixedText(found.significance, 0));
        result.AddNumber("Shape of one pixel", FixedText(found.shape, 1));
        result.AddNumber("Strongest place in the block",
                         ToString(found.place.x) + ", " + ToString(found.place.y));
        TableString block{{"", "0", "1", "2", "3", "4", "5", "6", "7"}};
        for (int y = 0; y < 8; ++y) {
            block.push_back({ToString(y)});
            for (int x = 0; x < 8; ++x) block.back().push_back(FixedText(found.meanBlock.at<float>(y, x), 2));
        }
        result.Set("block", block);
        // Without dimples the map is noise, and would be looked at: the picture as it is.
        if (!found.HasDimples() || found.map.values.empty()) {
            result.outputImage = Image(GetEightBits(file, job));
            return;
        }
        OrvMap map = ToOrvMap(found.map, "Dimples", "", {-0.05, 0.2});
        map.threshold = 0.25 * found.median;
        map.thresholdSide = OrvMapSide::Below;
        result.AddMap(std::move(map));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeJpegDimplesFilter() {
    return std::make_unique<JpegDimplesFilter>();
}
