#include "orvcore/analysis/shiftedjpeg.h"

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/decodedblocks.h"
#include "orvcore/filters/filterlist.h"
#include "zorbase/text.h"

namespace {

class DoubleJpegShiftedFilter : public OrvFilterImage {
  public:
    DoubleJpegShiftedFilter() : OrvFilterImage("Double JPEG Shifted", "double-jpeg-shifted") {
        Describe(
            "Compression",
            "Was this picture compressed before on another grid of blocks, as after cropping or moving it? On the grid of an earlier save the "
            "means of blocks gather at the multiples of that save's step. The table of grids shows how much they gather on each of the 64; "
            "one that stands out tells where the earlier grid began, and the step its quality. The map shows which blocks of that "
            "grid carry the earlier save (above 0) and which do not (below 0): a part that differs from the rest has another history. A "
            "picture that was cropped and saved again is no forgery by itself. It cannot see: a last save much coarser than the first, "
            "grids moved by 8 pixels in one direction (they share their rows or columns with the last one), a change of size, a small "
            "part in a large picture. After Bianchi and Piva 2012 (IEEE TIFS 7, both papers).");
        SetParameters(
            {}, {},
            {Parameter::Output(ParameterType::TableString, "numbers", "Earlier Grid"),
             Parameter::Output(ParameterType::TableString, "grids", "Gathering On Each Grid (row, column)")});
    }
    int GetVersion() const override { return 2; }
    bool GivesVerdict() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        const std::string small = WhyNotSmallerThan(file, 64);
        return small.empty() ? WhyNotReducedLuminance(file) : small;
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const cv::Mat picture = GetSamples(file, job);
        job.SetProgress(0.0, "Counting the means of blocks on 64 grids");
        const ShiftedJpegResult found = ComputeShiftedJpeg(picture, job.Part());
        const AnalysisDecision decision = JudgeShiftedJpeg(found);
        JudgeBy(decision, {.quantity = "strongest grid over the second"}, result);
        if (found.isTooSmall) return;
        TableString table{{"", "0", "1", "2", "3", "4", "5", "6", "7"}};
        for (int y = 0; y < 8; ++y) {
            table.push_back({ToString(y)});
            for (int x = 0; x < 8; ++x) table.back().push_back(FixedText(found.grids.at<float>(y, x), 3));
        }
        result.Set("grids", table);
        const bool isFound = decision.finding == Finding::StrongSign;
        result.AddNumber("Strongest grid begins at",
                         ToString(found.origin.x) + ", " + ToString(found.origin.y));
        result.AddNumber("Strongest over the second", FixedText(found.ratio, 2));
        result.AddNumber("Gathering (0 to 1)", FixedText(found.peak, 3));
        result.AddNumber("Step of the mean", isFound ? ToString(found.largestStep) : std::string("none"));
        if (!isFound || found.map.values.empty()) {
            // Nothing to draw: the picture as it is.
            result.outputImage = Image(GetEightBits(file, job));
            return;
        }
        OrvMap map = ToOrvMap(found.map, "Log Likelihood Of The Earlier Save", "", {-5.0, 5.0});
        map.scale = OrvMapScale::Diverging;
        result.AddMap(std::move(map));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeDoubleJpegShiftedFilter() {
    return std::make_unique<DoubleJpegShiftedFilter>();
}
