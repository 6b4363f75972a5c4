#include "orvcore/analysis/levels.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/filterlist.h"

namespace {

// Every neighbourhood with its own contrast raised.
class LocalContrastFilter : public OrvFilterImage {
  public:
    LocalContrastFilter() : OrvFilterImage("Local Contrast", "local-contrast") {
        Describe(
            "Looking",
            "The contrast of every neighbourhood is raised on its own, so that faint structure in shadows, skies and walls "
            "becomes visible: retouched spots, halos around what was pasted, compression blocks, reflections. Noise is "
            "raised with it. Only how the picture is shown changes; nothing is judged here. Contrast limited adaptive "
            "histogram equalisation (Zuiderveld 1994) of the luminance.");
        SetParameters({Parameter::Double("limit", "Contrast Limit", 4.0, 1.0, 100.0),
                       Parameter::Slider("tiles", "Tiles Per Side", 8, 1, 64)},
                      {}, {});
    }
    int GetVersion() const override { return 2; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        result.outputImage = Image(RaiseLocalContrast(GetSamples(file, job), input.Get<double>("limit"),
                                                      input.Get<int>("tiles"), job.Part()));
        result.inputImage = file.GetDecoded(job)->image;
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeLocalContrastFilter() {
    return std::make_unique<LocalContrastFilter>();
}
