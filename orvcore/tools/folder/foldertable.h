#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orvcore/model/job.h"
#include "orvcore/model/loadedfile.h"
#include "orvcore/tools/folder/fileexamination.h"
#include "zorbase/parameter.h"
#include "zorimage/image.h"

// A folder of a case in one table: one row per file, in natural order of the paths; what deserves a look is
// marked ("?" orange, "!" red, see orvcore/tablemarkup.h) and said in words in the column "Notes". A mark is
// a reason to look, not a finding. The rules:
//
// | Column               | Mark | When                                                                        |
// |----------------------|------|-----------------------------------------------------------------------------|
// | Notes                | !    | the file could not be read                                                  |
// | Format               | !    | the file is empty, or the name's extension belongs to another format        |
// | Width, Height        | ?    | the EXIF block states another size                                          |
// | Date Taken           | ?    | more than a day after the file system's date                                |
// | Date Changed         | !    | before the date taken                                                       |
// | Date Changed         | ?    | after the date taken                                                        |
// | Software             | ?    | names a program for changing pictures                                       |
// | Quality              | ?    | luminance table standard, chrominance table not the one that belongs to it  |
// | Coding               | ?    | progressive although a camera is named: cameras write baseline              |
// | Structure            | !    | a JPEG that is cut or has holes                                             |
// | Structure            | ?    | bytes after the end that no index names; other formats: warnings            |
// | Thumbnail Dimensions | ?    | another orientation or shape than the picture (bars above and below allowed)|
// | Same Content As      | ?    | an earlier row has the same SHA-256                                         |

struct FolderScanOptions {
    bool includesSubfolders = false;         // links to folders are not followed
    bool makesThumbnails = true;             // decoding the pictures costs several times all the rest
    int thumbnailSide = 96;                  // pixels, of the longer side; smaller in large folders
    std::size_t maximumThumbnails = 100000;  // of the files behind, the table says that they have none
    bool allHashes = false;                  // MD5 and SHA-1 as well: takes three to four times as long
    int threads = 2;
    std::uint64_t maximumBytes = std::uint64_t{2} << 30;  // larger files are rows that say so
};

// How long the side of each of so many thumbnails may be, so that they take 280 MB at most together: the wanted one up to
// 10,000 (of 96 pixels), never less than 30.
int FolderThumbnailSide(std::size_t thumbnails, int wanted);

struct FolderTable {
    TableString table;
    std::vector<Image> thumbnails;  // of the cells "*IMG*"
};

// Reads every regular file of the folder, read-only, on worker threads of its own; the calling thread tells
// the progress ("File 3 of 27: name, 12 s left") and stops everything within 0.1 s when the job is aborted.
// Memory beside the rows: one file per thread. A file that cannot be read, has vanished or is empty is a row
// that says so. Throws ZorException when the folder itself cannot be read or holds no files, and Aborted.
FolderTable ScanFolder(const std::string& folder, const FolderScanOptions& options, const OrvJob& job);

// The same table against the evidence. The evidence's row comes first, then the files by growing number of
// differences, which is the first column. Only columns that tell of the origin are compared: Format, Width,
// Height, Make, Model, Software, Coding, Quality, Subsampling, Tables Hash, Segments, Structure, Pictures, Depth,
// Channels, Colour Profile, Content Credentials, GPS and the thumbnail's Dimensions and Quality. There, a cell equal to the evidence's is plain, a different one "?", and
// a contradictory one "!": different although the file names the same camera (make and model), in a column
// where one camera writes all its pictures alike (Format, Coding, Subsampling, Segments, Depth, Channels, Thumbnail
// Dimensions). The other columns carry no marks. Files that could not be read come last.
FolderTable CompareFolder(const std::string& folder, const OrvLoadedFile& evidence,
                          const FolderScanOptions& options, const OrvJob& job);

// The regular files of a folder, also those that links lead to, in the table's order. Subfolders that cannot be
// read are told in problems; throws when the folder itself cannot be read.
std::vector<std::string> ListFolderFiles(const std::string& folder, bool includesSubfolders,
                                         std::vector<std::string>& problems, const OrvJob& job);

// --- the pieces, without files ---

// The labels of all columns, those of every hash among them.
std::vector<std::string> FolderTableLabels();
// Takes the columns MD5 and SHA-1 out of a table.
void DropExtraHashes(TableString& table);
// One row; its first cell, the thumbnail's, is empty.
std::vector<std::string> FolderTableRow(const FileExamination& file);
// Says in a picture's row that it would have a thumbnail if there were not too many.
void NoteMissingThumbnail(std::vector<std::string>& row);
// Marks rows whose content an earlier one has.
void MarkSameContent(TableString& table);
// Turns a table into one against the row `evidence`, as told above.
TableString CompareWithEvidence(const TableString& table, const std::vector<std::string>& evidence);
