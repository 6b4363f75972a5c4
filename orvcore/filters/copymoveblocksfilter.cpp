#include "orvcore/analysis/copymoveblocks.h"

#include "orvcore/filters/copymovetables.h"
#include "orvcore/filters/filterlist.h"

namespace {

class CopyMoveBlocksFilter : public OrvCopyMoveFilter {
  public:
    CopyMoveBlocksFilter() : OrvCopyMoveFilter("Copy-Move (Blocks)", "copy-move-blocks") {
        Describe(
            "Copies",
            "Looks for parts of the picture that occur a second time in it: every small window is compared with every other. Pairs "
            "get a colour of their own and a line between them; the table tells offset, area and how sure it is. "
            "Distinctness tells a copy from an edge, which fits as well a few pixels along itself (1); similarity of the finest "
            "detail tells it from things that merely look alike. Blind in smooth, dark and bright parts (grey in the "
            "map; their share is given), for parts below about 28 x 28 pixels, after strong compression, and for turned or scaled "
            "copies unless \"Rotation And Scale\" is chosen, which takes longer and works at no more than 2 megapixels. Bricks, "
            "facades and lettering are alike by nature: said, and not taken as a sign. After Fridrich, Soukal and "
            "Lukas 2003; with rotation Cozzolino, Poggi and Verdoliva 2015. Needs 12 bytes of memory per pixel.");
        SetCopyParameters({Parameter::Bool("rotation", "Rotation And Scale", false),
                           Parameter::Slider("distance", "Least Distance (pixels)", 24, 16, 512),
                           Parameter::Int("area", "Least Area (pixels)", 800, 256, 1000000)});
    }

  protected:
    CopyMoveResult Find(const cv::Mat& samples, const VecParameter& input, const OrvJob& job) const override {
        CopyMoveBlocksSettings settings;
        settings.rotationAndScale = input.Get<bool>("rotation");
        settings.leastDistance = input.Get<int>("distance");
        settings.leastArea = input.Get<int>("area");
        return FindCopiedBlocks(samples, settings, job.Part());
    }
    CopyMoveVerdict JudgeFound(const CopyMoveResult& copies) const override {
        return JudgeCopiedBlocks(copies);
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeCopyMoveBlocksFilter() {
    return std::make_unique<CopyMoveBlocksFilter>();
}
