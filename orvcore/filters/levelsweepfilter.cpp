#include "orvcore/analysis/levels.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/filterlist.h"

namespace {

// A narrow band of levels stretched over the whole range, to be moved through the picture.
class LevelSweepFilter : public OrvFilterImage {
  public:
    LevelSweepFilter() : OrvFilterImage("Level Sweep", "level-sweep") {
        Describe(
            "Looking",
            "A band of levels is stretched from black to white; what lies below it is black, above it white. Move it slowly "
            "from dark to bright: erased and painted areas, seams and cloned patches show as outlines at the levels at which "
            "they join. Only how the picture is shown changes; nothing is judged here.");
        SetParameters({},
                      {Parameter::Slider("centre", "Middle Of The Band (level)", 64, 0, 255),
                       Parameter::Slider("width", "Width Of The Band (levels)", 48, 1, 255)},
                      {Parameter::Output(ParameterType::TableString, "numbers", "Numbers")});
    }
    int GetVersion() const override { return 2; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                 OrvSlotResult& result) const override {
        GetSamples(file, job);
        result.inputImage = file.GetDecoded(job)->image;
    }
    void PostProcess(const VecParameter& post, const OrvJob& job, OrvSlotResult& result) const override {
        if (!result.inputImage.IsValid()) return;
        const cv::Mat& picture = result.inputImage.GetMat();
        const double centre = post.Get<int>("centre");
        const double width = post.Get<int>("width");
        result.outputImage = Image(SweepLevels(picture, centre, width, job.Part(0.0, 0.6)));
        result.AddNumber("Pixels in the band (%)",
                         FixedText(100.0 * ShareInBand(picture, centre, width, job.Part(0.6, 1.0)), 2));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeLevelSweepFilter() {
    return std::make_unique<LevelSweepFilter>();
}
