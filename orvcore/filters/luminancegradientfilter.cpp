#include "orvcore/analysis/gradient.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/filterlist.h"

namespace {

// Which way the light falls, as colour.
class LuminanceGradientFilter : public OrvFilterImage {
  public:
    LuminanceGradientFilter() : OrvFilterImage("Luminance Gradient", "luminance-gradient") {
        Describe(
            "Looking",
            "How the luminance changes from pixel to pixel: red for change to the right, green for change downwards, blue for "
            "its strength; an even slope is one flat colour. Edges that are too smooth or too hard for their surroundings, "
            "light that falls from another side and painted areas without noise stand out. Strong compression, sharpening "
            "in the camera and depth of field do so too. Nothing is judged here. Sobel's operator.");
        SetParameters({Parameter::Slider("gain", "Gain", 8, 1, 64)}, {},
                      {Parameter::Output(ParameterType::TableString, "numbers", "Numbers")});
    }
    int GetVersion() const override { return 2; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const LuminanceGradient gradient = ComputeGradient(GetSamples(file, job), job.Part(0.0, 0.6));
        result.AddNumber("Mean strength (levels per pixel)", FixedText(gradient.meanMagnitude, 3));
        result.AddNumber("Largest (levels per pixel)", FixedText(gradient.maxMagnitude, 2));
        result.outputImage = Image(DrawGradient(gradient.map, input.Get<int>("gain"), job.Part(0.6, 1.0)));
        result.inputImage = file.GetDecoded(job)->image;
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeLuminanceGradientFilter() {
    return std::make_unique<LuminanceGradientFilter>();
}
