#pragma once

#include <wx/string.h>

#include <string>
#include <vector>

#include "orvcore/model/bookmark.h"
#include "orvcore/model/casedata.h"
#include "orvcore/model/fileid.h"
#include "orvcore/model/logplace.h"
#include "zorbase/json.h"

// What the program was doing when the project was saved.
struct OrvProjectState {
    Json configurations;  // of all filters, as OrvFilterStore writes them; null when they were not kept
    std::string filterId;
    Json input = Json::object();
    Json postProcessing = Json::object();
    bool isReferenceEnabled = true;
    OrvViewState view;
    Json mapRanges = Json::object();  // those set by hand, by the filter's id, as OrvMapRanges writes them
    std::string programVersion;
    Json filterVersions = Json::object();  // by id
    OrvLogPlace logPlace;
};

// A case: which files are in the slots, what is known of them, the bookmarks, and how the program stood. A plain value; the
// core keeps the current one and hands out copies.
class OrvProject {
  public:
    wxString GetFilename() const;  // full path of the project file, "" when it was never saved
    const std::string& GetPath() const { return m_path; }
    bool IsSaved() const { return m_saved; }  // nothing changed since it was loaded, saved or created
    // Whether something would be lost that looking at the files again does not bring back. Files that were only opened, in a
    // project that has no name yet, are no such thing.
    bool HasUnsavedWork() const;
    const std::vector<OrvBookmark>& GetBookmarks() const { return m_bookmarks; }
    const OrvCaseFile& GetFile(OrvFileId slot) const { return m_file[slot]; }
    const std::string& GetFilePath(OrvFileId slot) const { return m_file[slot].path; }
    const std::string& GetFileSha256(OrvFileId slot) const { return m_file[slot].sha256; }
    const OrvCaseData& GetCaseData() const { return m_caseData; }
    const std::vector<OrvAnnotation>& GetAnnotations() const { return m_annotations; }
    const OrvProjectState& GetState() const { return m_state; }
    // Every file that slots, bookmarks and exhibits name, each once, in that order.
    std::vector<OrvCaseFile> GetAllFiles() const;

    void SetPath(const std::string& path) { m_path = path; }
    void SetSaved(bool saved) { m_saved = saved; }
    void SetFile(OrvFileId slot, const OrvCaseFile& file) { m_file[slot] = file; }
    void SetCaseData(const OrvCaseData& data) { m_caseData = data; }
    void SetAnnotations(std::vector<OrvAnnotation> annotations) { m_annotations = std::move(annotations); }
    void SetState(const OrvProjectState& state) { m_state = state; }
    std::vector<OrvBookmark>& EditBookmarks() { return m_bookmarks; }
    // Bookmarks and exhibits of a file that is not where it was are told where the evidence or the reference with the same bytes is.
    void FollowMovedFiles();
    // Paths of all files as seen from a project file in this folder.
    void SetRelativePaths(const std::string& folder);

    // The project file's text (JSON with a version) and back. FromText throws ZorException (kind Format) that
    // says what is wrong; newer versions are refused, and named. What is damaged in parts is refused as a whole.
    std::string ToText() const;
    static OrvProject FromText(const std::string& text);

  private:
    template <typename Call>
    void ForEachFile(const Call& call);

    std::string m_path;
    bool m_saved = true;
    OrvCaseFile m_file[kFileSlots];
    OrvCaseData m_caseData;
    std::vector<OrvBookmark> m_bookmarks;
    std::vector<OrvAnnotation> m_annotations;
    OrvProjectState m_state;
};
