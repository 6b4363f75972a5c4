#include "orvcore/analysis/channels.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/filterlist.h"

namespace {

constexpr int kPlanesOfSpace = 3;

// One plane of one colour space.
class ChannelsFilter : public OrvFilterImage {
  public:
    ChannelsFilter() : OrvFilterImage("Channels", "channels") {
        Describe(
            "Looking",
            "One plane of a colour space at a time: red, green, blue as the file holds them; hue, saturation, value; CIE "
            "L*a*b*; luminance and colour differences as JPEG has them. What was pasted can differ from its surroundings "
            "in a plane in which the eye does not see it: another white balance in a* and b*, another saturation, coarser "
            "colour differences after stronger compression. Hue says nothing where a pixel is grey: that is left out of "
            "the map. Nothing is judged here.");
        SetParameters({Parameter::Choice("plane", "Plane", 0,
                                         {"Red", "Green", "Blue", "Hue", "Saturation", "Value",
                                          "Lightness L*", "Green to red a*", "Blue to yellow b*",
                                          "Luminance Y", "Blue difference Cb", "Red difference Cr"})},
                      {}, {Parameter::Output(ParameterType::TableString, "numbers", "Numbers")});
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const int plane = input.Get<int>("plane");
        const auto space = static_cast<ColourSpace>(plane / kPlanesOfSpace);
        const ChannelPlane found =
            ExtractPlane(GetSamples(file, job), space, plane % kPlanesOfSpace, job.Part());
        const std::string unit = found.facts.unit.empty() ? std::string() : " (" + found.facts.unit + ")";
        result.AddNumber("Mean" + unit, FixedText(found.mean, 3));
        result.AddNumber("Standard deviation" + unit, FixedText(found.deviation, 3));
        result.AddNumber("Least" + unit, FixedText(found.minimum, 3));
        result.AddNumber("Largest" + unit, FixedText(found.maximum, 3));
        result.AddNumber("Left out: grey (%)", FixedText(100.0 * found.maskedShare, 2));
        OrvMap map;
        map.name = found.facts.name;
        map.unit = found.facts.unit;
        map.values = found.map;
        map.mask = found.mask;
        map.scale = found.facts.low < 0 ? OrvMapScale::Diverging : OrvMapScale::Sequential;
        map.isAutomatic = false;
        map.range = {found.facts.low, found.facts.high};
        // Zero in the middle; colour differences seldom reach half of what they could.
        if (found.facts.low < 0) map.range = {-64.0, 64.0};
        result.AddMap(std::move(map));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeChannelsFilter() {
    return std::make_unique<ChannelsFilter>();
}
