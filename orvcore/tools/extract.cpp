#include "orvcore/tools/extract.h"

#include "orvcore/formats/embeddedjpegs.h"
#include "orvcore/formats/pdfimages.h"
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

std::string ExtractPdfImages(const std::string& path, const VecParameter& parameters,
                             std::uint64_t maximumBytes, const OrvJob& job) {
    if (parameters.size() < 7) ZOR_THROW(Argument, "The settings of the extraction are incomplete.");
    PdfDumpOptions options;
    options.firstPage = parameters[0].Get<int>();
    options.lastPage = parameters[1].Get<int>();
    options.convertJpeg2000 = parameters[2].Get<bool>();
    options.convertJbig2 = parameters[3].Get<bool>();
    options.convertCcitt = parameters[4].Get<bool>();
    options.ownerPassword = parameters[5].Get<std::string>();
    options.userPassword = parameters[6].Get<std::string>();

    job.SetProgress(0.0, "Reading " + ToValidUtf8(PathName(path)));
    const std::string folder = FolderFor(path, OrvLoadedFile::Load(path, maximumBytes, job)->GetSha256());
    const PdfDumpResult result = DumpPdfImages(path, folder, options, job.Part());
    if (!result.warnings.empty())
        WriteFile(PathJoin(folder, "warnings.txt"), Join(result.warnings, "\n") + "\n");
    return result.files.empty() ? std::string() : folder;
}
