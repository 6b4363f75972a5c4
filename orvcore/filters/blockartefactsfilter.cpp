#include "orvcore/analysis/blockartefacts.h"

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/decodedblocks.h"
#include "orvcore/filters/filterlist.h"

namespace {

class BlockArtefactsFilter : public OrvFilterImage {
  public:
    BlockArtefactsFilter() : OrvFilterImage("Block Artefacts", "block-artefacts") {
        Describe(
            "Compression",
            "Where do the faint edges of the 8 x 8 blocks not lie on the picture's own grid? Below 0 the edges of a block are where they should "
            "be; above 0 there are stronger edges inside it, as in a part that was put in from a compressed picture without regard to "
            "the grid, or was moved within this one. Read the map as a whole: single bright places and bright texture mean nothing, an area "
            "with the outline of an object does. Untouched pictures reach the same values in places, so this is never more than worth a look; "
            "Grid Votes tells the same with a measure of chance. It cannot see: pictures above a quality of about 95, strong texture, "
            "saturated parts, parts that lie on the same grid. After Li, Yuan and Yu 2009.");
        SetParameters({}, {}, {Parameter::Output(ParameterType::TableString, "numbers", "Block Artefacts")});
    }
    int GetVersion() const override { return 2; }
    bool GivesVerdict() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        const std::string small = WhyNotSmallerThan(file, 24);
        return small.empty() ? WhyNotReducedLuminance(file) : small;
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const cv::Mat picture = GetSamples(file, job);
        job.SetProgress(0.0, "Extracting the edges of blocks");
        const BlockArtefactResult found = ComputeBlockArtefacts(picture, job.Part());
        JudgeBy(JudgeBlockArtefacts(found),
                {.quantity = "largest mean over 128 x 128 pixels", .digits = 1, .unit = "levels"}, result);
        if (found.map.values.empty()) return;
        result.AddNumber("Median (levels)", FixedText(found.median, 1));
        result.AddNumber("Largest mean over 128 x 128 pixels (levels)", FixedText(found.highest, 1));
        OrvMap map = ToOrvMap(found.map, "Edges Off The Grid", "levels", {-30.0, 30.0});
        map.scale = OrvMapScale::Diverging;
        result.AddMap(std::move(map));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeBlockArtefactsFilter() {
    return std::make_unique<BlockArtefactsFilter>();
}
