#include "orvcore/tools/folder/foldertable.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "orvcore/formats/consistency/consistency.h"
#include "orvcore/tables/tablemarkup.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

enum Column : std::size_t {
    kThumbnail,
    kName,
    kNotes,
    kFormat,
    kWidth,
    kHeight,
    kMake,
    kModel,
    kSoftware,
    kDateTaken,
    kDateChanged,
    kModified,
    kCreated,
    kSize,
    kQuality,
    kSubsampling,
    kCoding,
    kTablesHash,
    kSegments,
    kStructure,
    kPictures,
    kDepth,
    kChannels,
    kProfile,
    kCredentials,
    kGps,
    kThumbnailDimensions,
    kThumbnailQuality,
    kThumbnailSize,
    kThumbnailSha256,
    kSameContent,
    kSha256,
    kSha1,
    kMd5,
    kFullPath,
    kColumns
};

enum class Weight { NotCompared, Different, OneCamera };

struct ColumnInfo {
    const char* label;
    Weight weight;
};

constexpr ColumnInfo kInfo[kColumns] = {
    {"Thumbnail", Weight::NotCompared},
    {"Name", Weight::NotCompared},
    {"Notes", Weight::NotCompared},
    {"Format", Weight::OneCamera},
    {"Width", Weight::Different},
    {"Height", Weight::Different},
    {"Make", Weight::Different},
    {"Model", Weight::Different},
    {"Software", Weight::Different},
    {"Date Taken", Weight::NotCompared},
    {"Date Changed", Weight::NotCompared},
    {"Modified", Weight::NotCompared},
    {"Created", Weight::NotCompared},
    {"Size (bytes)", Weight::NotCompared},
    {"Quality", Weight::Different},
    {"Subsampling", Weight::OneCamera},
    {"Coding", Weight::OneCamera},
    {"Tables Hash", Weight::Different},
    {"Segments", Weight::OneCamera},
    {"Structure", Weight::Different},
    {"Pictures", Weight::Different},
    {"Depth", Weight::OneCamera},
    {"Channels", Weight::OneCamera},
    {"Colour Profile", Weight::Different},
    {"Content Credentials", Weight::Different},
    {"GPS", Weight::Different},
    {"Thumbnail Dimensions", Weight::OneCamera},
    {"Thumbnail Quality", Weight::Different},
    {"Thumbnail Size (bytes)", Weight::NotCompared},
    {"Thumbnail SHA-256", Weight::NotCompared},
    {"Same Content As", Weight::NotCompared},
    {"SHA-256", Weight::NotCompared},
    {"SHA-1", Weight::NotCompared},
    {"MD5", Weight::NotCompared},
    {"Full Path", Weight::NotCompared},
};

// A row being made: texts, marks and the reasons for them.
class RowMaker {
  public:
    RowMaker() : m_cells(kColumns), m_marks(kColumns, CellMark::None) {}

    void Set(Column column, const std::string& text) { m_cells[column] = text; }
    // The stronger mark of two stays.
    void Mark(Column column, CellMark mark) {
        if (m_marks[column] != CellMark::StandsOut) m_marks[column] = mark;
    }
    void Note(const std::string& text) { m_reasons.push_back(text); }
    std::vector<std::string> Finish() {
        if (m_cells[kNotes].empty()) m_cells[kNotes] = Join(m_reasons, " ");
        for (std::size_t i = 0; i < kColumns; ++i) m_cells[i] = MarkCell(m_marks[i], m_cells[i]);
        return m_cells;
    }

  private:
    std::vector<std::string> m_cells;
    std::vector<CellMark> m_marks;
    std::vector<std::string> m_reasons;
};

std::string Size(int width, int height) {
    return width > 0 && height > 0 ? ToString(width) + " x " + ToString(height) : std::string();
}

// Where each rule's finding is marked.
struct RuleColumns {
    const char* rule;
    std::vector<Column> columns;
};
const RuleColumns kRuleColumns[] = {
    {"name-content", {kFormat}},
    {"known-content", {kFormat}},
    {"sound-file", {kStructure}},
    {"bytes-after-end", {kStructure}},
    {"taken-before-file", {kDateTaken}},
    {"chrominance-table", {kQuality}},
    {"camera-coding", {kCoding}},
    {"stated-size", {kWidth, kHeight}},
    {"taken-after-changed", {kDateChanged}},
    {"changed-after-taken", {kDateChanged}},
    {"digitized", {kDateTaken}},
    {"clock-set", {kDateTaken}},
    {"editing-program", {kSoftware}},
    {"thumbnail-turned", {kThumbnailDimensions}},
    {"thumbnail-shape", {kThumbnailDimensions}},
    {"credential-signature", {kCredentials}},
    {"credential-content", {kCredentials}},
};

// What the rules of consistency compare, as far as headers tell it.
ConsistencyInput InputOf(const FileExamination& file) {
    ConsistencyInput input;
    input.name = ToValidUtf8(PathName(file.path));
    input.format = file.format;
    input.isPictureName = IsPictureName(file.path);
    input.nameAgrees = file.nameAgrees;
    if (file.modified) input.modified = *file.modified;
    input.damage = file.warnings;
    if (input.damage.empty() && !file.isComplete) input.damage.emplace_back("It is not complete.");
    input.bytesAfterEnd = file.bytesAfterEnd;
    input.width = file.width;
    input.height = file.height;
    input.thumbnailWidth = file.thumbnailWidth;
    input.thumbnailHeight = file.thumbnailHeight;
    if (file.format == FileFormat::Jpeg) input.coding = file.coding;
    input.chrominanceAgrees = file.chrominanceAgrees;
    input.hasCredentials = file.hasCredentials;
    input.credentialSignature = file.credentialSignature;
    input.credentialContent = file.credentialContent;
    input.facts = file.facts;
    return input;
}

// Present, content, signer.
std::string CredentialsText(const FileExamination& file) {
    using provenance::Answer;
    if (!file.hasCredentials) return "No";
    std::string text = "Yes, ";
    if (file.credentialSignature == Answer::No)
        text += "no signature that verifies";
    else if (file.credentialSignature != Answer::Yes)
        text += "signature not checked";
    else
        text += file.credentialContent == Answer::Yes      ? "content matches"
                : file.credentialContent == Answer::Partly ? "content matches in part"
                : file.credentialContent == Answer::No     ? "content differs"
                                                           : "content not checked";
    return file.credentialSigner.empty() ? text : text + ", signer " + file.credentialSigner;
}

void AddPicture(const FileExamination& file, RowMaker& row) {
    row.Set(kWidth, file.width > 0 ? ToString(file.width) : "");
    row.Set(kHeight, file.height > 0 ? ToString(file.height) : "");
    row.Set(kCoding, ToValidUtf8(file.coding));
    row.Set(kQuality, JpegQualityText(file.quality));
    row.Set(kSubsampling, file.subsampling);
    row.Set(kTablesHash, file.tablesHash);
    row.Set(kSegments, file.segments);
    row.Set(kPictures, file.pictures > 0 ? ToString(file.pictures) : "");
    row.Set(kDepth, file.bitsPerSample > 0 ? ToString(file.bitsPerSample) : "");
    row.Set(kChannels, file.channels > 0 ? ToString(file.channels) : "");
    row.Set(kProfile, ToValidUtf8(file.profile));
    if (IsReadableFormat(file.format)) row.Set(kCredentials, CredentialsText(file));
}

void AddStructure(const FileExamination& file, RowMaker& row) {
    if (file.format == FileFormat::Jpeg && !file.isComplete) {
        row.Set(kStructure, "Not complete");
    } else if (file.bytesAfterEnd > 0) {
        row.Set(kStructure, ToString(static_cast<std::int64_t>(file.bytesAfterEnd)) +
                                (file.bytesAfterEnd == 1 ? " byte" : " bytes") + " after the end");
    } else if (!file.warnings.empty()) {
        row.Set(kStructure, "With warnings");
    } else if (IsReadableFormat(file.format)) {
        row.Set(kStructure, "Complete");
    }
}

// The rules of consistency say what does not fit; here is only where that is marked, and that hints alone are no finding.
void AddFindings(const FileExamination& file, RowMaker& row) {
    const std::vector<ConsistencyResult> broken = FindInconsistencies(InputOf(file));
    std::vector<std::string> hints;
    for (const ConsistencyResult& one : broken) {
        const bool isHint = one.rule->severity == RuleSeverity::Hint;
        if (isHint)
            hints.push_back(one.answer.found);
        else
            row.Note(one.answer.found);
        for (const RuleColumns& columns : kRuleColumns)
            if (std::string(columns.rule) == one.rule->id)
                for (const Column column : columns.columns)
                    row.Mark(column, isHint ? CellMark::Doubtful : CellMark::StandsOut);
    }
    if (hints.empty()) return;
    const bool isCalm = hints.size() == broken.size();
    row.Note((isCalm ? ConsistencySummary(broken) : std::string(hints.size() == 1 ? "Hint" : "Hints")) +
             ": " + Join(hints, " "));
}

void AddMetadata(const FileExamination& file, RowMaker& row) {
    const MetadataFacts& facts = file.facts;
    row.Set(kMake, facts.make);
    row.Set(kModel, facts.model);
    row.Set(kSoftware, facts.software);
    row.Set(kDateTaken, facts.dateTimeOriginal);
    row.Set(kDateChanged, facts.dateTime);
    if (file.hasPosition)
        row.Set(kGps, "Yes");
    else if (file.metadataReading == MetadataReading::NotRead)
        row.Set(kGps, "Not read");
    else if (IsReadableFormat(file.format))
        row.Set(kGps, "No");
    if (file.metadataReading != MetadataReading::Whole)
        row.Note(file.metadataReading == MetadataReading::Part
                     ? "The metadata were read in part only: " + ToValidUtf8(file.metadataProblem)
                     : "The metadata were not read: " + ToValidUtf8(file.metadataProblem));
    if (facts.fromXmp != 0) row.Note("Told by XMP only: " + facts.NamesFromXmp() + ".");
}

void AddThumbnail(const FileExamination& file, RowMaker& row) {
    if (file.thumbnailBytes == 0) return;
    row.Set(kThumbnailDimensions, Size(file.thumbnailWidth, file.thumbnailHeight));
    row.Set(kThumbnailQuality, JpegQualityText(file.thumbnailQuality));
    row.Set(kThumbnailSize, ToString(static_cast<std::int64_t>(file.thumbnailBytes)));
    row.Set(kThumbnailSha256, file.thumbnailSha256);
}

// The name by which the table control finds the file again, whatever its bytes are.
std::string PathCell(const std::string& path) {
    return FromWx(PathToWx(path));
}

std::string Text(const std::vector<std::string>& row, std::size_t column) {
    return column < row.size() ? ParseCell(row[column]).text : std::string();
}

bool WasRead(const std::vector<std::string>& row) {
    return !Text(row, kFormat).empty();
}

std::string Sentence(const char* words, const std::vector<std::string>& names) {
    return names.empty() ? std::string() : words + Join(names, ", ") + ".";
}

void AddNote(std::vector<std::string>& row, const std::string& note) {
    const ParsedCell notes = ParseCell(row[kNotes]);
    row[kNotes] = MarkCell(notes.mark, notes.text + (notes.text.empty() ? "" : " ") + note);
}

struct ComparedRow {
    std::vector<std::string> cells;
    int differences = 0;
};

ComparedRow CompareRow(const std::vector<std::string>& row, const std::vector<std::string>& evidence) {
    ComparedRow compared;
    const bool namesSameCamera = !Text(row, kMake).empty() && Text(row, kMake) == Text(evidence, kMake) &&
                                 !Text(row, kModel).empty() && Text(row, kModel) == Text(evidence, kModel);
    std::vector<std::string> different;
    std::vector<std::string> contradictory;
    compared.cells = row;
    for (std::size_t i = 0; i < kColumns; ++i) {
        if (i == kThumbnail) continue;
        const std::string text = Text(row, i);
        CellMark mark = CellMark::None;
        if (kInfo[i].weight != Weight::NotCompared && text != Text(evidence, i)) {
            const bool contradicts = namesSameCamera && kInfo[i].weight == Weight::OneCamera;
            mark = contradicts ? CellMark::StandsOut : CellMark::Doubtful;
            (contradicts ? contradictory : different).emplace_back(kInfo[i].label);
            ++compared.differences;
        }
        compared.cells[i] = MarkCell(mark, text);
    }
    std::vector<std::string> notes;
    if (Text(row, kSha256) == Text(evidence, kSha256)) notes.emplace_back("Same content as the evidence.");
    for (const std::string& note :
         {Sentence("Same camera, yet different: ", contradictory), Sentence("Different: ", different)})
        if (!note.empty()) notes.push_back(note);
    compared.cells[kNotes] = TableCell(Join(notes, " "));
    compared.cells.insert(compared.cells.begin(), ToString(compared.differences));
    return compared;
}

}  // namespace

std::vector<std::string> FolderTableLabels() {
    std::vector<std::string> labels;
    for (const ColumnInfo& info : kInfo) labels.emplace_back(info.label);
    return labels;
}

std::vector<std::string> FolderTableRow(const FileExamination& file) {
    RowMaker row;
    row.Set(kName, ToValidUtf8(PathName(file.path)));
    row.Set(kFullPath, PathCell(file.path));
    row.Set(kSize, ToString(static_cast<std::int64_t>(file.size)));
    if (file.modified) row.Set(kModified, FormatTime(*file.modified));
    if (file.created) row.Set(kCreated, FormatTime(*file.created));
    if (!file.problem.empty()) {
        row.Set(kNotes, file.problem);
        row.Mark(kNotes, CellMark::StandsOut);
        return row.Finish();
    }
    row.Set(kFormat, FormatName(file.format));
    if (file.hasChanged) row.Note("The file changed while it was read.");
    row.Set(kSha256, file.sha256);
    row.Set(kSha1, file.sha1);
    row.Set(kMd5, file.md5);
    if (file.format == FileFormat::Empty) {
        row.Mark(kFormat, CellMark::StandsOut);
        row.Note("The file is empty.");
        return row.Finish();
    }
    AddPicture(file, row);
    AddMetadata(file, row);
    AddStructure(file, row);
    AddThumbnail(file, row);
    AddFindings(file, row);
    return row.Finish();
}

int FolderThumbnailSide(std::size_t thumbnails, int wanted) {
    constexpr double kBytes = 280e6;
    constexpr int kSmallest = 30;
    if (thumbnails == 0) return wanted;
    const double side = std::sqrt(kBytes / 3 / static_cast<double>(thumbnails));
    return std::min(wanted, std::max(kSmallest, static_cast<int>(std::min(side, 1e6))));
}

void DropExtraHashes(TableString& table) {
    if (table.empty()) return;
    for (const char* label : {"SHA-1", "MD5"}) {
        const auto found = std::find(table[0].begin(), table[0].end(), label);
        if (found == table[0].end()) continue;
        const std::ptrdiff_t column = found - table[0].begin();
        for (std::vector<std::string>& row : table) row.erase(row.begin() + column);
    }
}

void NoteMissingThumbnail(std::vector<std::string>& row) {
    row[kThumbnail] = "Not made";
    AddNote(row, "No thumbnail: the folder has too many pictures.");
}

void MarkSameContent(TableString& table) {
    std::map<std::string, std::string> firstNames;
    for (std::size_t i = 1; i < table.size(); ++i) {
        std::vector<std::string>& row = table[i];
        const std::string sha256 = Text(row, kSha256);
        if (sha256.empty() || Text(row, kSize) == "0") continue;
        const auto [first, isNew] = firstNames.emplace(sha256, Text(row, kName));
        if (isNew) continue;
        row[kSameContent] = MarkCell(CellMark::Doubtful, first->second);
        AddNote(row, "Same content as \"" + first->second + "\".");
    }
}

TableString CompareWithEvidence(const TableString& table, const std::vector<std::string>& evidence) {
    std::vector<ComparedRow> rows;
    std::vector<std::vector<std::string>> unread;
    for (std::size_t i = 1; i < table.size(); ++i) {
        if (WasRead(table[i])) {
            rows.push_back(CompareRow(table[i], evidence));
        } else {
            unread.push_back(table[i]);
            unread.back().insert(unread.back().begin(), "");
        }
    }
    std::stable_sort(rows.begin(), rows.end(), [](const ComparedRow& a, const ComparedRow& b) {
        return a.differences < b.differences;
    });

    TableString result = {FolderTableLabels()};
    result[0].insert(result[0].begin(), "Differences");
    ComparedRow first = CompareRow(evidence, evidence);
    first.cells[kNotes + 1] = "The evidence.";
    result.push_back(std::move(first.cells));
    for (ComparedRow& row : rows) result.push_back(std::move(row.cells));
    for (std::vector<std::string>& row : unread) result.push_back(std::move(row));
    return result;
}
