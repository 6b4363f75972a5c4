#include "orvcore/filters/hexviewfilter.h"

#include <algorithm>

#include "orvcore/filter/fileintermediates.h"
#include "orvcore/filters/filterlist.h"
#include "orvcore/formats/bytesearch.h"
#include "orvcore/formats/hexdump.h"
#include "zorbase/text.h"

namespace {

constexpr std::size_t kMaxPlaces = 200;
constexpr std::int64_t kLargestOffset = std::int64_t{1} << 53;
constexpr int kUsualLength = 4096;
constexpr int kLargestLength = 65536;

// Where a text (as it is and in UTF-16) or a sequence of bytes stands, one place a line with its part of the file.
std::string PlacesText(const Bytes& bytes, const FileStructure& structure, const std::string& wanted,
                       bool isDigits, const OrvJob& job) {
    std::vector<Bytes> sequences;
    if (isDigits) {
        const auto sequence = BytesOfDigits(wanted);
        if (!sequence) return "\"" + wanted + "\" is no sequence of bytes; write FF D8, for instance.";
        sequences.push_back(*sequence);
    } else {
        sequences.emplace_back(wanted.begin(), wanted.end());
        if (const auto wide = Utf16OfText(wanted)) sequences.push_back(*wide);
    }
    std::vector<std::size_t> places;
    std::size_t count = 0;
    for (std::size_t i = 0; i < sequences.size(); ++i) {
        const double share = 1.0 / static_cast<double>(sequences.size());
        const ByteSearch found =
            FindBytes(bytes, sequences[i], kMaxPlaces,
                      job.Part(share * static_cast<double>(i), share * static_cast<double>(i + 1)));
        places.insert(places.end(), found.offsets.begin(), found.offsets.end());
        count += found.count;
    }
    if (count == 0) return "Not found";
    std::sort(places.begin(), places.end());
    places.resize(std::min(places.size(), kMaxPlaces));
    std::string text;
    for (const std::size_t place : places)
        text += (text.empty() ? "" : "\n") + ToString(static_cast<std::int64_t>(place)) + "  " +
                StructurePath(structure, place);
    if (count > places.size()) text += "\n… " + ToString(static_cast<std::int64_t>(count)) + " places in all";
    return text;
}

}  // namespace

HexViewFilter::HexViewFilter() : OrvFilter("Hex View", kId) {
    Describe(
        "File",
        "The bytes of the file as they are, from an offset on: their place, their values in hexadecimal digits, and "
        "the same as ASCII, with a dot for what is not printable, and the part of the file that the first of them belongs to. "
        "Texts (also in UTF-16) and sequences of bytes are searched for in the whole file. It shows what other filters summarise and "
        "judges nothing: compressed picture data looks like noise here, whatever was done to it.");
    using enum ParameterType;
    SetParameters(
        {Parameter::Int64("offset", "Offset (bytes)", 0, 0, kLargestOffset),
         Parameter::Int("length", "Length (bytes)", kUsualLength, 1, kLargestLength),
         Parameter::Choice("bytesPerLine", "Bytes Per Line", 0, {"16", "32"}),
         Parameter::String("find", "Find", ""),
         Parameter::Choice("findAs", "Find As", 0, {"Text", "Bytes (FF D8)"})},
        {},
        {Parameter::Output(OutputString, "range", "Bytes Shown"),
         Parameter::Output(OutputString, "part", "Part Of The File"),
         Parameter::Output(OutputText, "found", "Found At"), Parameter::Output(OutputText, "hex", "Bytes")});
}

void HexViewFilter::Aim(VecParameter& input, std::uint64_t offset, std::uint64_t count) {
    const std::uint64_t length = count == 0 ? kUsualLength : std::min<std::uint64_t>(count, kLargestLength);
    input.Find("offset")->SetValue(
        static_cast<std::int64_t>(std::min<std::uint64_t>(offset, std::uint64_t{kLargestOffset})));
    input.Find("length")->SetValue(static_cast<int>(length));
}

void HexViewFilter::Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                            OrvSlotResult& result) const {
    const Bytes& bytes = file.GetBytes();
    const auto offset = static_cast<std::uint64_t>(input.Get<std::int64_t>("offset"));
    const auto length = static_cast<std::uint64_t>(input.Get<int>("length"));
    const std::string size = FormatFileSize(bytes.size());
    const auto structure = GetFileStructure(file, job.Piece(0.0, 0.3, {}));
    result.Set(
        "part",
        StructurePath(*structure, static_cast<std::size_t>(std::min<std::uint64_t>(offset, bytes.size()))));
    if (const std::string& wanted = input.Get<std::string>("find"); !wanted.empty())
        result.Set("found", PlacesText(bytes, *structure, wanted, input.Get<int>("findAs") == 1,
                                       job.Piece(0.3, 1.0, {})));
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
