#include "orvcore/analysis/copymovekeypoints.h"

#include "orvcore/filters/copymovetables.h"
#include "orvcore/filters/filterlist.h"

namespace {

class CopyMoveKeypointsFilter : public OrvCopyMoveFilter {
  public:
    CopyMoveKeypointsFilter() : OrvCopyMoveFilter("Copy-Move (Keypoints)", "copy-move-keypoints") {
        Describe(
            "Copies",
            "Looks for parts of the picture that occur a second time in it, also turned and scaled: corners and spots that look alike "
            "and agree in one rotation, scale and offset. Each agreement is checked pixel by pixel; pairs get a colour of their own "
            "and a line between them, the table tells what was done. Blind in smooth parts, which have no such points (grey "
            "in the map; their share is given), for mirrored copies and for copies below about 50 x 50 pixels: use the search by blocks "
            "too. Bricks, facades and lettering are alike by nature: said, and not taken as a sign. After Amerini et al. 2011 and "
            "Christlein et al. 2012. Needs about 180 MB of memory per processor beside 5 bytes per pixel.");
        SetCopyParameters({Parameter::Double("ratio", "Nearest Against Next (ratio)", 0.6, 0.3, 0.95),
                           Parameter::Slider("distance", "Least Distance (pixels)", 30, 16, 512),
                           Parameter::Slider("inliers", "Least Matches Of A Pair", 8, 4, 200)});
    }

  protected:
    CopyMoveResult Find(const cv::Mat& samples, const VecParameter& input, const OrvJob& job) const override {
        CopyMoveKeypointsSettings settings;
        settings.ratio = input.Get<double>("ratio");
        settings.leastDistance = input.Get<int>("distance");
        settings.leastInliers = input.Get<int>("inliers");
        return FindCopiedKeypoints(samples, settings, job.Part());
    }
    CopyMoveVerdict JudgeFound(const CopyMoveResult& copies) const override {
        return JudgeCopiedKeypoints(copies);
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeCopyMoveKeypointsFilter() {
    return std::make_unique<CopyMoveKeypointsFilter>();
}
