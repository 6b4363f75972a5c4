#include "orvcore/model/project.h"

#include <algorithm>
#include <filesystem>

#include "zorbase/files.h"
#include "zorbase/text.h"

wxString OrvProject::GetFilename() const {
    return PathToWx(m_path);
}

bool OrvProject::HasUnsavedWork() const {
    if (m_saved) return false;
    return !m_path.empty() || !m_bookmarks.empty() || !m_annotations.empty() || !m_caseData.IsEmpty();
}

template <typename Call>
void OrvProject::ForEachFile(const Call& call) {
    for (OrvCaseFile& file : m_file) call(file);
    for (OrvBookmark& bookmark : m_bookmarks)
        for (OrvCaseFile& file : bookmark.file) call(file);
    for (OrvExhibit& exhibit : m_caseData.exhibits) call(exhibit.file);
}

std::vector<OrvCaseFile> OrvProject::GetAllFiles() const {
    std::vector<OrvCaseFile> all;
    OrvProject copy = *this;
    copy.ForEachFile([&all](const OrvCaseFile& file) {
        const bool isKnown = std::any_of(all.begin(), all.end(), [&file](const OrvCaseFile& other) {
            return other.path == file.path && other.sha256 == file.sha256;
        });
        if (!file.IsEmpty() && !isKnown) all.push_back(file);
    });
    return all;
}

void OrvProject::FollowMovedFiles() {
    const std::vector<OrvCaseFile> open(std::begin(m_file), std::end(m_file));
    ForEachFile([&open](OrvCaseFile& file) {
        if (file.sha256.empty() || FileExists(file.path)) return;
        for (const OrvCaseFile& other : open)
            if (other.sha256 == file.sha256) file.path = other.path;
    });
}

void OrvProject::SetRelativePaths(const std::string& folder) {
    ForEachFile([&folder](OrvCaseFile& file) {
        if (file.IsEmpty()) return;
        const std::filesystem::path relative = std::filesystem::path(file.path).lexically_relative(folder);
        file.relativePath = relative.string();  // "" where there is no way from one to the other
    });
}
