#include "orvcore/formats/provenance/marks.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "orvcore/formats/provenance/jumbf.h"
#include "zorbase/text.h"

namespace provenance {

const MarkRow kMarkRows[] = {
#include "markrows.inc"
};
const std::size_t kMarkRowCount = std::size(kMarkRows);

namespace {

constexpr std::size_t kMaxTextBytes = std::size_t{4} << 20;
constexpr std::size_t kMaxTexts = 200;
constexpr std::size_t kMaxAllTextBytes = std::size_t{16} << 20;
constexpr std::size_t kMaxQuoted = 160;
constexpr std::size_t kSearchedBytes = 64;
constexpr std::size_t kLeastSearched = 6;  // fewer stand anywhere by chance

// A text of the file with the place where it stands.
struct FileText {
    std::string where;    // "PNG text \"parameters\"", "Exif.Photo.UserComment"
    std::string keyword;  // of a PNG text; "" otherwise
    std::string key;      // of metadata; "" otherwise
    std::string value;
    std::optional<FileRange> place;
};

std::string Inflate(ByteSpan packed) {
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK) return {};
    std::string text(std::min(kMaxTextBytes, packed.size() * 8 + 1024), '\0');
    stream.next_in = const_cast<Bytef*>(packed.data());
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(text.size());
    inflate(&stream, Z_SYNC_FLUSH);
    text.resize(text.size() - stream.avail_out);
    inflateEnd(&stream);
    return text;
}

// Texts of a PNG: keyword, zero, then by type of chunk.
std::vector<FileText> PngTexts(ByteSpan file) {
    static constexpr std::uint8_t kSignature[] = {0x89, 'P', 'N', 'G', 13, 10, 26, 10};
    std::vector<FileText> texts;
    if (file.size() < 8 || !std::equal(std::begin(kSignature), std::end(kSignature), file.begin()))
        return texts;
    std::size_t position = 8;
    std::size_t total = 0;
    while (file.size() - position >= 12 && texts.size() < kMaxTexts && total < kMaxAllTextBytes) {
        const std::size_t length = Big32(file, position);
        if (length > file.size() - position - 12) break;
        const std::uint32_t code = Big32(file, position + 4);
        const ByteSpan data = file.subspan(position + 8, length);
        const FileRange place{position, length + 12};
        position += length + 12;
        const bool isPlain = code == BoxCode("tEXt");
        const bool isPacked = code == BoxCode("zTXt");
        const bool isInternational = code == BoxCode("iTXt");
        if ((!isPlain && !isPacked && !isInternational) || length > kMaxTextBytes) continue;
        const auto cut = [&data](std::size_t from) {
            const auto zero =
                std::find(data.begin() + static_cast<std::ptrdiff_t>(std::min(from, data.size())), data.end(),
                          std::uint8_t{0});
            return static_cast<std::size_t>(zero - data.begin());
        };
        const std::size_t keyEnd = cut(0);
        if (keyEnd >= data.size() || keyEnd > 79) continue;
        FileText text;
        text.keyword = ToValidUtf8(TextOf(data.first(keyEnd)));
        text.where = "PNG text \"" + text.keyword + "\"";
        text.place = place;
        const std::size_t start = keyEnd + 1;
        if (isPlain) {
            text.value = TextOf(Slice(data, start, data.size()));
        } else if (isPacked) {
            text.value = Inflate(Slice(data, start + 1, data.size()));
        } else {
            const bool packed = ByteAt(data, start) == 1;
            const std::size_t valueAt = cut(cut(start + 2) + 1) + 1;
            const ByteSpan value = Slice(data, valueAt, data.size());
            text.value = packed ? Inflate(value) : TextOf(value);
        }
        total += text.value.size();
        texts.push_back(std::move(text));
    }
    return texts;
}

// Where a text of the metadata stands in the file, when it stands there as it is.
std::optional<FileRange> PlaceOfText(ByteSpan file, const std::string& text) {
    const std::string_view part = std::string_view(text).substr(0, kSearchedBytes);
    if (part.size() < kLeastSearched) return {};
    const void* found = memmem(file.data(), file.size(), part.data(), part.size());
    if (found == nullptr) return {};
    return FileRange{static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - file.data()),
                     text.size()};
}

bool HasAllParts(const std::string& text, const std::string& mark) {
    for (const std::string& part : StringToVecString(mark, " … "))
        if (text.find(part) == std::string::npos) return false;
    return true;
}

bool EndsWithAny(const std::string& key, std::initializer_list<const char*> endings) {
    return std::any_of(endings.begin(), endings.end(),
                       [&key](const char* end) { return key.ends_with(end); });
}

bool Fits(const MarkRow& row, const FileText& text) {
    const std::string where = row.where;
    if (where == "keyword") return text.keyword == row.mark;
    if (where == "key") return !text.key.empty() && text.key.find(row.mark) != std::string::npos;
    if (where == "text") return HasAllParts(text.value, row.mark);
    const bool isSoftware =
        text.keyword == "Software" ||
        EndsWithAny(text.key, {".Software", ".ProcessingSoftware", ".CreatorTool", ".Program"});
    const bool isCredit = EndsWithAny(text.key, {".Credit"});
    return (where == "software" ? isSoftware : isCredit) &&
           ToLower(text.value).find(ToLower(row.mark)) != std::string::npos;
}

std::string Quote(const std::string& text) {
    std::string line = Trim(ToValidUtf8(text));
    std::replace(line.begin(), line.end(), '\n', ' ');
    return ShortenText(line, kMaxQuoted);
}

}  // namespace

std::vector<Mark> FindMarks(ByteSpan file, const MetadataSet& metadata) {
    std::vector<FileText> texts = PngTexts(file);
    for (const MetadataEntry& entry : metadata.entries)
        if (entry.kind != MetadataKind::MakerNote && entry.kind != MetadataKind::Gps)
            texts.push_back({entry.key.empty() ? entry.label : entry.key,
                             "",
                             entry.key.empty() ? "Comment" : entry.key,
                             entry.raw.empty() ? entry.value : entry.raw,
                             {}});
    std::vector<Mark> marks;
    std::set<std::string> told;
    for (FileText& text : texts) {
        std::string writer;
        std::string source;
        SourceKind kind = SourceKind::Generated;
        std::string shown = Quote(text.value);
        if (text.key.ends_with("DigitalSourceType") || text.key.ends_with("digitalSourceType")) {
            kind = KindOfSource(text.value);
            if (kind != SourceKind::Generated && kind != SourceKind::PartlyGenerated) continue;
            shown = DescribeSource(text.value);
            source = "IPTC digital source type";
        } else {
            const auto row =
                std::find_if(std::begin(kMarkRows), std::end(kMarkRows),
                             [&text](const MarkRow& candidate) { return Fits(candidate, text); });
            if (row == std::end(kMarkRows)) continue;
            writer = row->writer;
            source = row->source;
        }
        // The same words may stand in several fields; each writer is told once for each field.
        if (!told.insert(text.where + "\n" + writer).second) continue;
        if (!text.place) text.place = PlaceOfText(file, text.value);
        marks.push_back({shown, text.where, writer, source, kind, false, text.place});
    }
    return marks;
}

}  // namespace provenance
