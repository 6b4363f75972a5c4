#pragma once

#include <wx/string.h>

#include <string>
#include <vector>

#include "orvcore/model/fileid.h"
#include "zorbase/json.h"

// A remembered view: the filter with its parameters and the files it was used on.
struct OrvBookmark {
    std::string name;
    std::string note;
    std::string filterId;
    Json input = Json::object();
    Json postProcessing = Json::object();
    std::string path[kFileSlots];
};

// A case: which files are in the slots, and the bookmarks. A plain value; the core keeps the current one and
// hands out copies.
class OrvProject {
  public:
    wxString GetFilename() const;  // full path of the project file, "" when it was never saved
    const std::string& GetPath() const { return m_path; }
    bool IsSaved() const { return m_saved; }  // nothing changed since it was loaded, saved or created
    const std::vector<OrvBookmark>& GetBookmarks() const { return m_bookmarks; }
    const std::string& GetFilePath(OrvFileId slot) const { return m_filePath[slot]; }
    const std::string& GetFileSha256(OrvFileId slot) const { return m_fileSha256[slot]; }

    void SetPath(const std::string& path) { m_path = path; }
    void SetSaved(bool saved) { m_saved = saved; }
    void SetFile(OrvFileId slot, const std::string& path, const std::string& sha256);
    std::vector<OrvBookmark>& EditBookmarks() { return m_bookmarks; }

    // The project file's text (JSON with a version) and back. FromText throws ZorException (kind Format) that
    // says what is wrong; newer versions are refused.
    std::string ToText() const;
    static OrvProject FromText(const std::string& text);

  private:
    std::string m_path;
    bool m_saved = true;
    std::string m_filePath[kFileSlots];
    std::string m_fileSha256[kFileSlots];
    std::vector<OrvBookmark> m_bookmarks;
};
