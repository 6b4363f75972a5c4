#include "orvcore/tools/extract.h"

#include "orvcore/formats/embeddedjpegs.h"
#include "orvcore/loadedfile.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

// One folder per content: the same file gives the same folder again, two files of one name never share one.
std::string FolderFor(const std::string& path, const std::string& sha256) {
    return PathJoin(PathJoin(GetAppDocumentsPath(), "extracted"), PathName(path) + "-" + sha256.substr(0, 8));
}

}  // namespace

std::string ExtractEmbeddedJpegs(const std::string& path, std::uint64_t maximumBytes, const OrvJob& job) {
    job.SetProgress(0.0, "Searching " + ToValidUtf8(PathName(path)));
    const OrvFilePtr file = OrvLoadedFile::Load(path, maximumBytes, job);
    const std::string folder = FolderFor(path, file->GetSha256());
    const int count = DumpEmbeddedJpegs(file->GetBytes(), folder, PathName(path), job.Part());
    return count > 0 ? folder : std::string();
}

std::string ExtractPdfImages(const std::string&, const VecParameter&, const OrvJob&) {
    ZOR_THROW(Argument, "Extraction is not available in this version of the program.");
}
