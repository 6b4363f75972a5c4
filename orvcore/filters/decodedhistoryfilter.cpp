#include "orvcore/analysis/decodedhistory.h"

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/filterlist.h"
#include "zorbase/text.h"

namespace {

class DecodedHistoryFilter : public OrvFilter {
  public:
    DecodedHistoryFilter() : OrvFilter("Compression of Decoded Pixels", "decoded-history") {
        Describe(
            "Compression",
            "Were these pixels a JPEG before the file was written: was this PNG ever one, on which grid, with which steps? The strength compares "
            "differences across the corners of blocks with those in their middles (0: none, up to 2), for each possible beginning of the "
            "grid. The steps are read from the coefficients on the grid where most of them are nought, and compared with the "
            "standard's tables: many that agree with one quality leave little doubt. In a JPEG file the last save covers what was "
            "before, so only an earlier one on another grid is told. Having been a JPEG is a fact, not a forgery: worth a look at most. It cannot see: steps of 1 and "
            "2, a quality above about 97, pictures whose size was changed since. After Fan and de Queiroz 2003.");
        SetParameters(
            {}, {},
            {Parameter::Output(ParameterType::TableString, "numbers", "Earlier JPEG"),
             Parameter::Output(ParameterType::TableString, "steps",
                               "Steps (row: frequency down, column: across)"),
             Parameter::Output(ParameterType::TableString, "grids", "Strength On Each Grid (row, column)")});
    }
    bool GivesVerdict() const override { return true; }
    bool NeedsPicture() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return WhyNotSmallerThan(file, 16);
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const cv::Mat picture = GetSamples(file, job);
        job.SetProgress(0.0, "Comparing 64 grids");
        const DecodedHistoryResult found = ComputeDecodedHistory(picture, job.Part());
        JudgeBy(JudgeDecodedHistory(found, GetJpegStructure(file)->isJpeg),
                {.quantity = "steps that agree with one quality", .digits = 0}, result);
        if (found.isTooSmall) return;
        TableString steps{{"", "0", "1", "2", "3", "4", "5", "6", "7"}};
        TableString grids = steps;
        for (std::size_t y = 0; y < 8; ++y) {
            steps.push_back({ToString(static_cast<int>(y))});
            grids.push_back(steps.back());
            for (std::size_t x = 0; x < 8; ++x) {
                const int step = found.steps[8 * y + x];
                steps.back().push_back(step >= 3   ? ToString(step)
                                       : step == 1 ? std::string("1 or 2")
                                                   : std::string());
                grids.back().push_back(
                    FixedText(found.grids.at<float>(static_cast<int>(y), static_cast<int>(x)), 3));
            }
        }
        result.Set("steps", steps);
        result.Set("grids", grids);
        result.AddNumber("Grid begins at", ToString(found.origin.x) + ", " + ToString(found.origin.y));
        result.AddNumber("Strength on it (0 to 2)", FixedText(found.strength, 3));
        result.AddNumber("Steps of 3 and more that were found", ToString(found.resolved));
        result.AddNumber("Quality that they mean",
                         found.quality > 0 ? ToString(found.quality) : std::string("none"));
        result.AddNumber("Steps exactly of that quality", ToString(found.agreeing));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeDecodedHistoryFilter() {
    return std::make_unique<DecodedHistoryFilter>();
}
