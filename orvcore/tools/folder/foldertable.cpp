#include "orvcore/tools/folder/foldertable.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "orvcore/formats/metadatacheck.h"
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

constexpr std::time_t kDay = 24 * 60 * 60;

// A row being made: texts, marks and the reasons for them.
class RowMaker {
  public:
    RowMaker() : m_cells(kColumns), m_marks(kColumns, CellMark::None) {}

    void Set(Column column, const std::string& text) { m_cells[column] = text; }
    // The stronger mark of two stays.
    void Mark(Column column, CellMark mark, const std::string& reason) {
        if (m_marks[column] != CellMark::StandsOut) m_marks[column] = mark;
        if (!reason.empty()) m_reasons.push_back(reason);
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

// The shape of a thumbnail is odd when it is upright and the picture is not, or the other way round, or when
// it is neither the picture's shape nor the usual 4:3 with bars beside a longer picture.
bool HasOddShape(const FileExamination& file) {
    if (file.thumbnailWidth <= 0 || file.thumbnailHeight <= 0 || file.width <= 0 || file.height <= 0)
        return false;
    const double picture = static_cast<double>(file.width) / file.height;
    const double thumbnail = static_cast<double>(file.thumbnailWidth) / file.thumbnailHeight;
    constexpr double kTolerance = 0.03;
    if (std::max(picture / thumbnail, thumbnail / picture) <= 1 + kTolerance) return false;
    if ((picture > 1) != (thumbnail > 1)) return true;
    constexpr double kUsual = 4.0 / 3.0;
    const double longPicture = std::max(picture, 1 / picture);
    const double longThumbnail = std::max(thumbnail, 1 / thumbnail);
    return longThumbnail > kUsual * (1 + kTolerance) || longThumbnail < kUsual * (1 - kTolerance) ||
           longPicture < kUsual;
}

// Present, content, signer.
std::string CredentialsText(const FileExamination& file) {
    using provenance::Answer;
    if (!file.hasCredentials) return "No";
    std::string text = "Yes, ";
    if (file.credentialSignature == Answer::No)
        text += "signature does not verify";
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
    if (file.credentialSignature == provenance::Answer::No)
        row.Mark(kCredentials, CellMark::StandsOut, "The content credentials' signature does not verify.");
    else if (file.credentialContent == provenance::Answer::No)
        row.Mark(kCredentials, CellMark::StandsOut, "The content is not what its credentials were made for.");
    const int statedWidth = file.facts.pixelXDimension;
    const int statedHeight = file.facts.pixelYDimension;
    if (statedWidth > 0 && statedHeight > 0 && file.width > 0 &&
        (statedWidth != file.width || statedHeight != file.height)) {
        row.Mark(kWidth, CellMark::Doubtful,
                 "The EXIF block states " + Size(statedWidth, statedHeight) + " pixels.");
        row.Mark(kHeight, CellMark::Doubtful, {});
    }
    if (!file.chrominanceAgrees)
        row.Mark(kQuality, CellMark::Doubtful,
                 "The chrominance table is not the one that belongs to the luminance table.");
    if (file.coding.find("rogressive") != std::string::npos && !file.facts.make.empty())
        row.Mark(kCoding, CellMark::Doubtful, "Progressive although a camera is named.");
}

void AddStructure(const FileExamination& file, RowMaker& row) {
    if (file.format == FileFormat::Jpeg && !file.isComplete) {
        row.Set(kStructure, "Not complete");
        row.Mark(kStructure, CellMark::StandsOut,
                 file.warnings.empty() ? "The file is not complete." : ToValidUtf8(file.warnings.front()));
    } else if (file.bytesAfterEnd > 0) {
        const bool isOne = file.bytesAfterEnd == 1;
        const std::string bytes =
            ToString(static_cast<std::int64_t>(file.bytesAfterEnd)) + (isOne ? " byte" : " bytes");
        row.Set(kStructure, bytes + " after the end");
        row.Mark(kStructure, CellMark::Doubtful,
                 bytes + (isOne ? " follows" : " follow") + " the end of the picture.");
    } else if (!file.warnings.empty()) {
        row.Set(kStructure, "With warnings");
        row.Mark(kStructure, CellMark::Doubtful, ToValidUtf8(file.warnings.front()));
    } else if (IsReadableFormat(file.format)) {
        row.Set(kStructure, "Complete");
    }
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
    if (IsEditingSoftware(facts.software))
        row.Mark(kSoftware, CellMark::Doubtful, "The software is a program for changing pictures.");
    // A date of XMP may be in another time zone than one of EXIF.
    const MetadataFacts exif = facts.FromExif();
    const auto taken = ParseMetadataTime(exif.dateTimeOriginal);
    const auto changed = ParseMetadataTime(exif.dateTime);
    if (taken && file.modified && *taken > *file.modified + kDay)
        row.Mark(kDateTaken, CellMark::Doubtful, "Taken after the file system's date.");
    if (taken && changed && *changed < *taken)
        row.Mark(kDateChanged, CellMark::StandsOut, "Changed before it was taken.");
    if (taken && changed && *changed > *taken)
        row.Mark(kDateChanged, CellMark::Doubtful, "Changed after it was taken.");
}

void AddThumbnail(const FileExamination& file, RowMaker& row) {
    if (file.thumbnailBytes == 0) return;
    row.Set(kThumbnailDimensions, Size(file.thumbnailWidth, file.thumbnailHeight));
    row.Set(kThumbnailQuality, JpegQualityText(file.thumbnailQuality));
    row.Set(kThumbnailSize, ToString(static_cast<std::int64_t>(file.thumbnailBytes)));
    row.Set(kThumbnailSha256, file.thumbnailSha256);
    if (HasOddShape(file))
        row.Mark(kThumbnailDimensions, CellMark::Doubtful,
                 "The thumbnail's shape is not that of the picture.");
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
        row.Mark(kNotes, CellMark::StandsOut, {});
        return row.Finish();
    }
    row.Set(kFormat, FormatName(file.format));
    if (file.hasChanged) row.Note("The file changed while it was read.");
    row.Set(kSha256, file.sha256);
    row.Set(kSha1, file.sha1);
    row.Set(kMd5, file.md5);
    if (file.format == FileFormat::Empty) {
        row.Mark(kFormat, CellMark::StandsOut, "The file is empty.");
        return row.Finish();
    }
    if (!file.nameAgrees)
        row.Mark(kFormat, CellMark::StandsOut,
                 file.format == FileFormat::Unknown || file.format == FileFormat::Text
                     ? "The name is that of a picture; the content is of no known picture format."
                     : "The content is not what the name's extension says.");
    AddPicture(file, row);
    AddMetadata(file, row);
    AddStructure(file, row);
    AddThumbnail(file, row);
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
