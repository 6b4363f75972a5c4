#pragma once

#include <wx/string.h>

#include <functional>
#include <string>
#include <vector>

class wxBitmapButton;
class wxWindow;

enum class RecentKind { Pictures, Projects };

// The pictures and projects that were opened last, newest first, each once, kept in settings/recent.json. Other running copies of the
// program keep theirs in the same file: saving adds to what is there. A file that cannot be read counts as absent, one that cannot be
// written costs the list and nothing else. Paths are bytes. GUI thread.
class OrvRecentFiles {
  public:
    static constexpr std::size_t kMost = 12;

    explicit OrvRecentFiles(const std::string& path) : m_path(path) {}

    const std::string& GetPath() const { return m_path; }
    void Load();
    void Save();  // only what has changed
    void Note(RecentKind kind, const std::string& path);
    void Clear(RecentKind kind);
    const std::vector<std::string>& Get(RecentKind kind) const { return m_lists[static_cast<int>(kind)]; }

  private:
    std::string m_path;
    std::vector<std::string> m_lists[2];
    bool m_hasChanged = false;
    bool m_isCleared[2] = {false, false};  // what others have kept goes, too
};

// How an entry reads in a menu: its name and folder, shortened in the middle, with nothing that a menu takes for a sign.
wxString RecentMenuText(const std::string& path);

// Those of this program, read from the documents folder when first asked for, and again where that is another one.
OrvRecentFiles& GetRecentFiles();

// A small button that opens the list as a menu. open gets the chosen path.
wxBitmapButton* CreateRecentButton(wxWindow* parent, RecentKind kind,
                                   std::function<void(const std::string&)> open);
