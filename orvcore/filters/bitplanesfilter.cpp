#include <algorithm>

#include "orvcore/analysis/channels.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/filterlist.h"

namespace {

// One bit of one channel.
class BitPlanesFilter : public OrvFilterImage {
  public:
    BitPlanesFilter() : OrvFilterImage("Bit Planes", "bit-planes") {
        Describe(
            "Looking",
            "One bit of one channel, white where it is set. The lowest bits of a photograph look like noise wherever it was "
            "lit normally; areas in which they show shapes, stripes or flat patches were painted, smoothed, enlarged or "
            "hold hidden data. Agreement is the share of pixels whose right neighbour has the same bit: about 0.5 for "
            "noise. Saturated and very smooth parts show shapes by nature, and after strong JPEG compression the "
            "lowest bits show its blocks. Nothing is judged here.");
        SetParameters({Parameter::Choice("channel", "Channel", 0, {"Luminance", "Red", "Green", "Blue"}),
                       Parameter::Slider("bit", "Bit (0: lowest)", 0, 0, 15)},
                      {}, {Parameter::Output(ParameterType::TableString, "numbers", "Numbers")});
    }
    int GetVersion() const override { return 2; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const cv::Mat picture = GetSamples(file, job);
        const int bits = picture.depth() == CV_16U ? 16 : 8;
        const int bit = std::min(input.Get<int>("bit"), bits - 1);
        const BitPlane plane =
            ExtractBitPlane(picture, static_cast<BitChannel>(input.Get<int>("channel")), bit, job.Part());
        result.AddNumber("Bit shown (of " + std::to_string(bits) + ")", std::to_string(bit));
        result.AddNumber("Set (%)", FixedText(100.0 * plane.onesShare, 2));
        result.AddNumber("Agreement with the right neighbour (0 to 1)", FixedText(plane.agreement, 4));
        OrvMap map;
        map.name = "Bit";
        map.values = plane.map;
        map.isAutomatic = false;
        map.range = {0.0, 1.0};
        result.AddMap(std::move(map));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeBitPlanesFilter() {
    return std::make_unique<BitPlanesFilter>();
}
