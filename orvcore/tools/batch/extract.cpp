#include "orvcore/tools/batch/extract.h"

#include <unistd.h>

#include <algorithm>

#include "orvcore/formats/embeddedjpegs.h"
#include "orvcore/formats/pdfimages.h"
#include "orvcore/formats/structure/picturesinfile.h"
#include "orvcore/model/loadedfile.h"
#include "orvcore/tools/newfile.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

// Of a file's name, so that offsets, hashes and endings still fit into the 255 bytes that file systems take.
constexpr std::size_t kLongestName = 120;
constexpr const char* kWarnings = "warnings.txt";

// One folder per content: the same file gives the same folder again, two files of one name never share one.
std::string FolderFor(const OrvLoadedFile& file) {
    return PathJoin(
        PathJoin(GetAppDocumentsPath(), "extracted"),
        ShortenText(PathName(file.GetPath()), kLongestName) + "-" + file.GetSha256().substr(0, 8));
}

std::string Finish(const std::string& folder, bool isAnyFound, const std::vector<std::string>& warnings) {
    // Those of an earlier extraction with other settings count no more.
    unlink(PathJoin(folder, kWarnings).c_str());
    if (isAnyFound && !warnings.empty()) WriteFile(PathJoin(folder, kWarnings), Join(warnings, "\n") + "\n");
    if (!isAnyFound && !warnings.empty())
        ZOR_THROW(Format, "No picture was found, and there were problems:\n" + warnings.front() +
                              (warnings.size() > 1 ? "\n\u2026" : ""));
    return isAnyFound ? folder : std::string();
}

// What the work says of the bytes does not name the file that they came from.
template <typename Work>
auto NamingFile(const std::string& path, const Work& work) {
    try {
        return work();
    } catch (const ZorException& error) {
        if (error.GetKind() == ZorException::Kind::Aborted || error.GetKind() == ZorException::Kind::File)
            throw;
        throw ZorException(error.GetSourceFile(), error.GetLine(), error.GetKind(),
                           "\"" + ToValidUtf8(PathName(path)) + "\": " + error.GetMessage());
    }
}

}  // namespace

bool HasExtractionWarnings(const std::string& folder) {
    return FileExists(PathJoin(folder, kWarnings));
}

std::string ExtractEmbeddedJpegs(const std::string& path, std::uint64_t maximumBytes, const OrvJob& job) {
    job.SetProgress(0.0, "Searching " + ToValidUtf8(PathName(path)));
    const OrvFilePtr file = OrvLoadedFile::Load(path, maximumBytes, job);
    return NamingFile(path, [&] {
        const std::string folder = FolderFor(*file);
        std::vector<std::string> warnings;
        const int count = DumpEmbeddedJpegs(file->GetBytes(), folder,
                                            ShortenText(PathName(path), kLongestName), job.Part(), &warnings);
        return Finish(folder, count > 0, warnings);
    });
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
    const OrvFilePtr file = OrvLoadedFile::Load(path, maximumBytes, job);
    return NamingFile(path, [&] {
        const std::string folder = FolderFor(*file);
        const PdfDumpResult result = DumpPdfImages(
            file->GetBytes(), folder, ShortenText(PathStem(path), kLongestName), options, job.Part());
        return Finish(folder, !result.files.empty(), result.warnings);
    });
}

std::string ExtractPictureInFile(const OrvLoadedFile& file, int number, const OrvJob& job) {
    return NamingFile(file.GetPath(), [&] {
        const FileStructure structure = ReadFileStructure(file.GetBytes(), job.Part(0.0, 0.5));
        const std::vector<FilePicture> pictures = ReadPicturesInFile(file.GetBytes(), structure);
        if (number < 1 || static_cast<std::size_t>(number) > pictures.size())
            ZOR_THROW(Argument, "There is no picture number " + ToString(number) + ".");
        const FilePicture& picture = pictures[static_cast<std::size_t>(number) - 1];
        if (picture.access == FilePicture::Access::Whole)
            ZOR_THROW(Argument, "Picture number " + ToString(number) + " is the file's own.");
        const auto bytes = ExtractFilePicture(file.GetBytes(), picture);
        if (!bytes)
            ZOR_THROW(Format, "Picture number " + ToString(number) + " cannot be taken out of the file.");
        std::string kind = FilePictureKindText(picture.kind);
        std::replace(kind.begin(), kind.end(), ' ', '-');
        const std::vector<std::string>& extensions = FormatExtensions(DetectFormat(*bytes));
        // A name of dots or with a leading one would be hidden, or none.
        const std::string stem = ShortenText(PathStem(file.GetPath()), kLongestName);
        const std::string name = (stem.empty() || stem.front() == '.' ? "file" : "") + stem + "-" +
                                 ToString(number) + "-" + kind + "-at-" +
                                 ToString(static_cast<std::int64_t>(picture.offset)) + "." +
                                 (extensions.empty() ? "bin" : extensions.front());
        const std::string folder = FolderFor(file);
        MakeFolder(folder);
        const std::string path = PathJoin(folder, name);
        if (FileExists(path) && ReadFileBytes(path) == *bytes) return path;
        NewFile target(folder, name);
        target.Write(*bytes);
        return PathJoin(folder, target.Finish());
    });
}
