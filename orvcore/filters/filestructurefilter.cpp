#include <algorithm>

#include "orvcore/filter/fileintermediates.h"
#include "orvcore/filter/filter.h"
#include "orvcore/filters/filterlist.h"
#include "zorbase/bytes.h"
#include "zorbase/hash.h"
#include "zorbase/text.h"

namespace {

constexpr std::size_t kHashedBytes = std::size_t{4} << 20;  // larger rows get no hash
constexpr std::size_t kMaxFindings = 20;
constexpr int kDepths[] = {0, 1, kMaxStructureDepth};

std::string CountOf(std::size_t bytes, const char* none) {
    return bytes == 0 ? none : ToString(static_cast<std::int64_t>(bytes));
}

// Parts inside parts are indented.
std::string PartName(const StructureRow& row) {
    return std::string(static_cast<std::size_t>(row.depth) * 3, ' ') + row.name;
}

class FileStructureFilter : public OrvFilter {
  public:
    FileStructureFilter();
    int GetVersion() const override { return 2; }
    bool GivesVerdict() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return file.GetBytes().empty() ? "Empty file" : "";
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
    void Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
               VecParameter& output) const override;
};

FileStructureFilter::FileStructureFilter() : OrvFilter("File Structure", "file-structure") {
    Describe(
        "File",
        "Every part of the file in its order, with offset and length in bytes and what it says: the segments of a JPEG and the "
        "pictures behind its first one, the chunks of a PNG with their check sums, the directories of a TIFF, a RAW file or an "
        "EXIF block, the boxes of HEIF, AVIF, CR3 and JPEG 2000, the blocks of WebP, GIF and BMP. The lengths of the outermost "
        "parts add up to the size of the file: what belongs to nothing is a row of its own. Gaps, data after the end, wrong "
        "check sums and parts out of place are told; cameras that append data of their own cause some of them too, damage in "
        "transfer others. It cannot see what is wrong inside a part that keeps to the rules, nor anything of the pixels.");
    using enum ParameterType;
    SetParameters({Parameter::Choice("depth", "Parts", 1, {"Outermost", "And Their Parts", "All"}),
                   Parameter::Choice("show", "Show", 0, {"All", "With Warnings", "Gaps And Trailing Data"}),
                   Parameter::Bool("hashes", "Hash Of Each Part", false)
                       .SetToolTip("The first 16 digits of the SHA-256 of the part's bytes, up to 4 MB")},
                  {},
                  {
                      Parameter::Output(OutputString, "format", "Format"),
                      Parameter::Output(OutputInt64, "parts", "Outermost Parts"),
                      Parameter::Output(OutputInt64, "all", "Parts In All"),
                      Parameter::Output(OutputString, "gaps", "Bytes In Gaps"),
                      Parameter::Output(OutputString, "trailing", "Bytes After The End"),
                      Parameter::Output(OutputText, "warnings", "Warnings"),
                      Parameter::Output(TableString, "table", "Parts"),
                      Parameter::Output(TableString, "rows", "Rows Of One File").SetHiddenFromGui(),
                  });
}

void FileStructureFilter::Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                                  OrvSlotResult& result) const {
    const auto structure = GetFileStructure(file, job.Piece(0.0, 0.7, {}));
    const int depth = kDepths[std::clamp(input.Get<int>("depth"), 0, 2)];
    const int show = input.Get<int>("show");
    const bool wantsHashes = input.Get<bool>("hashes");
    ::TableString rows;
    std::size_t outermost = 0;
    std::vector<std::string> findings;
    for (const StructureRow& row : structure->rows) {
        if (row.depth == 0) ++outermost;
        const bool isOdd = row.kind == StructureRow::Kind::Gap || row.kind == StructureRow::Kind::Trailing;
        // Some cameras fill the file's last sectors with zeros: told in its row, but nothing that anybody could have hidden.
        const bool isPadding = row.kind == StructureRow::Kind::Trailing && row.text == "zero bytes";
        if (row.depth == 0 && !row.warning.empty() && !isPadding && findings.size() < kMaxFindings)
            findings.push_back(row.name + " at offset " + std::to_string(row.offset) + ": " + row.warning);
        if (row.depth > depth || (show == 1 && row.warning.empty()) || (show == 2 && !isOdd)) continue;
        std::string hash;
        if (wantsHashes && row.length <= kHashedBytes) {
            job.CheckAbort();
            hash = Sha256(Slice(file.GetBytes(), row.offset, row.length)).substr(0, 16);
        }
        std::vector<std::string> cells = {PartName(row), ToString(static_cast<std::int64_t>(row.offset)),
                                          ToString(static_cast<std::int64_t>(row.length)), row.text,
                                          row.warning};
        if (wantsHashes) cells.push_back(hash);
        rows.push_back(std::move(cells));
    }
    result.Set("format", structure->isRead ? FormatName(structure->format)
                                           : FormatName(structure->format) + ", its structure is not read");
    result.SetCount("parts", static_cast<std::int64_t>(outermost));
    result.SetCount("all", static_cast<std::int64_t>(structure->rows.size()));
    result.Set("gaps", CountOf(structure->gapBytes, "None"));
    result.Set("trailing", CountOf(structure->trailingBytes, "None"));
    result.Set("warnings",
               structure->warnings.empty() ? std::string("None") : Join(structure->warnings, "\n"));
    result.Set("rows", rows);
    if (!structure->isRead) return result.SayNothing("The structure of this format is not read");
    if (findings.empty()) return result.Judge(OrvVerdict::NothingFound, "Nothing found");
    const std::string text = findings.size() == 1
                                 ? "1 part to look at"
                                 : ToString(static_cast<int>(findings.size())) + " parts to look at";
    result.Judge(OrvVerdict::WorthALook, text, std::move(findings));
}

void FileStructureFilter::Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
                                VecParameter& output) const {
    OrvFilter::Merge(evidence, reference, output);
    TableComparison how{{"Part", "Offset", "Length", "Content", "Warning"}, 1, {1}, 4};
    const auto hasHashes = [](const OrvSlotResult* slot) {
        const Parameter* rows = slot != nullptr ? slot->output.Find("rows") : nullptr;
        return rows != nullptr && rows->IsSet() && !rows->Get<::TableString>().empty() &&
               rows->Get<::TableString>()[0].size() == 6;
    };
    if (hasHashes(evidence) || hasHashes(reference)) how.labels.push_back("SHA-256 (begin)");
    MergeRows(output, evidence, reference, how);
}

}  // namespace

std::unique_ptr<OrvFilter> MakeFileStructureFilter() {
    return std::make_unique<FileStructureFilter>();
}
