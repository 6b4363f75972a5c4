#include "orvcore/filters/hexviewfilter.h"

#include "orvcore/filters/filterlist.h"
#include "orvcore/formats/hexdump.h"
#include "zorbase/text.h"

HexViewFilter::HexViewFilter() : OrvFilter("Hex View", "hex-view") {
    Describe(
        "File",
        "The bytes of the file as they are, from an offset on: their place, their values in hexadecimal digits, and "
        "the same as ASCII, with a dot for what is not printable. It shows what other filters summarise and judges "
        "nothing: compressed picture data looks like noise here, whatever was done to it.");
    using enum ParameterType;
    constexpr std::int64_t kLargestOffset = std::int64_t{1} << 53;
    SetParameters({Parameter::Int64("offset", "Offset (bytes)", 0, 0, kLargestOffset),
                   Parameter::Int("length", "Length (bytes)", 4096, 16, 65536),
                   Parameter::Choice("bytesPerLine", "Bytes Per Line", 0, {"16", "32"})},
                  {},
                  {Parameter::Output(OutputString, "range", "Bytes Shown"),
                   Parameter::Output(OutputText, "hex", "Bytes")});
}

void HexViewFilter::Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob&,
                            OrvSlotResult& result) const {
    const Bytes& bytes = file.GetBytes();
    const auto offset = static_cast<std::uint64_t>(input.Get<std::int64_t>("offset"));
    const auto length = static_cast<std::uint64_t>(input.Get<int>("length"));
    const std::string size = FormatFileSize(bytes.size());
    Parameter* range = result.output.Find("range");
    Parameter* hex = result.output.Find("hex");
    if (offset >= bytes.size()) {
        range->SetValue("None of " + size);
        hex->SetValue(bytes.empty() ? std::string("The file is empty.")
                                    : "Offset " + ToString(static_cast<std::int64_t>(offset)) +
                                          " lies beyond the end of the file, which has " + size + ".");
        return;
    }
    const std::uint64_t last = offset + std::min<std::uint64_t>(length, bytes.size() - offset) - 1;
    range->SetValue(ToString(static_cast<std::int64_t>(offset)) + " to " +
                    ToString(static_cast<std::int64_t>(last)) + " of " + size);
    hex->SetValue(HexDump(bytes, offset, length, input.Get<int>("bytesPerLine") == 0 ? 16 : 32));
}

std::unique_ptr<OrvFilter> MakeHexViewFilter() {
    return std::make_unique<HexViewFilter>();
}
