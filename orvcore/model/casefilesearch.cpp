#include "orvcore/model/casefilesearch.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include "zorbase/files.h"
#include "zorbase/hash.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kMaxNames = 20000;
constexpr int kMaxDepth = 3;

// Paths of files of one size in a folder and below it, in an order that does not change.
std::vector<std::string> FilesOfSize(const std::string& folder, std::uint64_t size, const OrvJob& job) {
    namespace fs = std::filesystem;
    std::vector<std::string> found;
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, error);
    for (int i = 0; !error && entry != fs::recursive_directory_iterator() && i < kMaxNames;
         entry.increment(error), ++i) {
        job.CheckAbort();
        if (entry.depth() >= kMaxDepth) entry.disable_recursion_pending();
        std::error_code unknown;
        if (entry->is_regular_file(unknown) && entry->file_size(unknown) == size && !unknown)
            found.push_back(entry->path().string());
    }
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace

OrvCaseFile CaseFileOf(const OrvFilePtr& file) {
    if (!file) return {};
    return {file->GetPath(), {}, file->GetBytes().size(), file->GetSha256()};
}

std::string HashOfFile(const std::string& path, const OrvJob& job) {
    try {
        // Anything else might never end.
        if (!FileExists(path)) return {};
        Sha256Stream hash;
        Bytes buffer;
        ReadFileInto(path, buffer, UINT64_MAX, [&](std::span<const std::uint8_t> piece) {
            job.CheckAbort();
            hash.Add(piece);
        });
        return hash.Finish();
    } catch (const ZorException& exception) {
        if (exception.GetKind() == ZorException::Kind::Aborted) throw;
        return {};
    }
}

std::string FindMovedFile(const OrvCaseFile& file, const std::string& projectFolder, const OrvJob& job) {
    if (file.sha256.empty() || projectFolder.empty()) return {};
    const auto isIt = [&](const std::string& path) {
        const auto facts = GetFileFacts(path);
        if (!facts || facts->isFolder || (file.size != 0 && facts->size != file.size)) return false;
        return HashOfFile(path, job) == file.sha256;
    };
    std::vector<std::string> likely;
    if (!file.relativePath.empty())
        likely.push_back(
            (std::filesystem::path(projectFolder) / file.relativePath).lexically_normal().string());
    likely.push_back(PathJoin(projectFolder, PathName(file.path)));
    for (const std::string& path : likely)
        if (isIt(path)) return path;
    // Without a size every file of the folder would have to be read.
    if (file.size == 0) return {};
    for (const std::string& path : FilesOfSize(projectFolder, file.size, job))
        if (isIt(path)) return path;
    return {};
}
