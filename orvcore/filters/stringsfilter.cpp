#include <algorithm>

#include "orvcore/filter/fileintermediates.h"
#include "orvcore/filter/filter.h"
#include "orvcore/filters/filterlist.h"
#include "orvcore/formats/printablestrings.h"
#include "zorbase/bytes.h"
#include "zorbase/text.h"

namespace {

constexpr std::size_t kMaxRows = 50000;

// A stretch of the file to look through, and the part that it is.
struct Stretch {
    std::size_t offset, length;
};

// Where to look: all of the file, or what is not coded pixels.
std::vector<Stretch> Stretches(const FileStructure& structure, std::size_t size, bool everywhere) {
    if (everywhere) return {{0, size}};
    std::vector<Stretch> stretches;
    std::size_t position = 0;
    for (const StructureRow& row : structure.rows) {
        if (row.kind != StructureRow::Kind::Data || row.offset < position) continue;
        if (row.offset > position) stretches.push_back({position, row.offset - position});
        position = row.offset + row.length;
    }
    if (position < size) stretches.push_back({position, size - position});
    return stretches;
}

// The innermost part at an offset, with the parts around it; offsets are asked for in growing order.
class PlaceFinder {
  public:
    explicit PlaceFinder(const FileStructure& structure) : m_rows(structure.rows) {}

    std::string Find(std::size_t offset) {
        while (m_next < m_rows.size() && m_rows[m_next].offset <= offset) {
            const auto depth = static_cast<std::size_t>(m_rows[m_next].depth);
            m_path.resize(std::min(m_path.size(), depth));
            m_path.push_back(m_next++);
        }
        std::string text;
        for (const std::size_t row : m_path)
            if (offset - m_rows[row].offset < m_rows[row].length)
                text += (text.empty() ? "" : " > ") + m_rows[row].name;
        return text;
    }

  private:
    const std::vector<StructureRow>& m_rows;
    std::size_t m_next = 0;
    std::vector<std::size_t> m_path;
};

class StringsFilter : public OrvFilter {
  public:
    StringsFilter();
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return file.GetBytes().empty() ? "Empty file" : "";
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
    void Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
               VecParameter& output) const override;
};

StringsFilter::StringsFilter() : OrvFilter("Strings", "strings") {
    Describe(
        "File",
        "Readable texts in the file's bytes, in one byte a character (UTF-8 too) or two (UTF-16 of either order), with offset and "
        "the part of the file that they stand in: names of programs and devices, paths, serial numbers, also where no metadata "
        "reader looks. Coded pixels are left out unless asked for: they hold readable runs by chance, one of 8 characters in about "
        "3,000 bytes. It cannot see compressed or encrypted texts.");
    using enum ParameterType;
    SetParameters({Parameter::Int("length", "Shortest Text (characters)", 6, 3, 200),
                   Parameter::Choice("where", "Look In", 0, {"All But Coded Pixels", "The Whole File"}),
                   Parameter::Choice("encoding", "Encoding", 0, {"All", "8 Bit", "UTF-16"}),
                   Parameter::String("search", "Containing", "")},
                  {},
                  {
                      Parameter::Output(OutputInt64, "count", "Texts"),
                      Parameter::Output(OutputText, "warnings", "Warnings"),
                      Parameter::Output(TableString, "table", "Texts"),
                      Parameter::Output(TableString, "rows", "Rows Of One File").SetHiddenFromGui(),
                  });
}

void StringsFilter::Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                            OrvSlotResult& result) const {
    const auto structure = GetFileStructure(file, job.Piece(0.0, 0.2, {}));
    const auto length = static_cast<std::size_t>(input.Get<int>("length"));
    const int encoding = input.Get<int>("encoding");
    const std::string search = ToLower(input.Get<std::string>("search"));
    const std::size_t size = file.GetBytes().size();
    PlaceFinder places(*structure);
    ::TableString rows;
    std::int64_t count = 0;
    bool isTruncated = false;
    for (const Stretch& stretch : Stretches(*structure, size, input.Get<int>("where") == 1)) {
        const double from = 0.2 + 0.8 * static_cast<double>(stretch.offset) / static_cast<double>(size);
        const double to =
            0.2 + 0.8 * static_cast<double>(stretch.offset + stretch.length) / static_cast<double>(size);
        const PrintableStrings found = FindPrintableStrings(
            Slice(file.GetBytes(), stretch.offset, stretch.length), length, job.Part(from, to));
        isTruncated = isTruncated || found.isTruncated;
        for (const PrintableString& text : found.strings) {
            const bool isWide = text.encoding != PrintableString::Encoding::Bytes;
            if ((encoding == 1 && isWide) || (encoding == 2 && !isWide)) continue;
            if (!search.empty() && ToLower(text.text).find(search) == std::string::npos) continue;
            ++count;
            if (rows.size() >= kMaxRows) continue;
            const std::size_t offset = stretch.offset + text.offset;
            rows.push_back({text.text + (text.isShortened ? "…" : ""),
                            ToString(static_cast<std::int64_t>(offset)),
                            ToString(static_cast<std::int64_t>(text.size)), StringEncodingText(text.encoding),
                            places.Find(offset)});
        }
    }
    result.SetCount("count", count);
    result.Set("rows", rows);
    std::string warning = isTruncated ? "There are more texts than are looked at." : "";
    if (static_cast<std::size_t>(count) > rows.size())
        warning = "Only the first " + ToString(static_cast<std::int64_t>(kMaxRows)) + " texts are listed.";
    result.Set("warnings", warning.empty() ? std::string("None") : warning);
}

void StringsFilter::Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
                          VecParameter& output) const {
    OrvFilter::Merge(evidence, reference, output);
    MergeRows(output, evidence, reference,
              {{"Text", "Offset", "Bytes", "Encoding", "Part Of The File"}, 1, {1, 2}});
}

}  // namespace

std::unique_ptr<OrvFilter> MakeStringsFilter() {
    return std::make_unique<StringsFilter>();
}
