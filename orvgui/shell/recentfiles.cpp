#include "orvgui/shell/recentfiles.h"

#include <wx/bmpbuttn.h>
#include <wx/menu.h>
#include <wx/translation.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "orvgui/common/accessible.h"
#include "orvgui/common/icons.h"
#include "orvgui/common/visibletext.h"
#include "zorbase/files.h"
#include "zorbase/json.h"
#include "zorbase/text.h"
#include "zorbase/utf8.h"
#include "zorbase/zorexception.h"

namespace {

constexpr const char* kNames[] = {"pictures", "projects"};
constexpr std::uint64_t kLargestFile = 1024 * 1024;
constexpr std::size_t kLongestFolder = 60;  // letters
constexpr int kIcon = 16;
constexpr int kWidth = 18;  // pixels; the height is that of its neighbours
constexpr int kHeight = 24;
constexpr int kFirstId = 1;

std::vector<std::string> ReadList(const Json& json, const char* name) {
    std::vector<std::string> paths;
    const auto list = json.find(name);
    if (list == json.end() || !list->is_array()) return paths;
    for (const Json& entry : *list)
        if (entry.is_string() && paths.size() < OrvRecentFiles::kMost)
            paths.push_back(PathFromUtf8(entry.get<std::string>()));
    return paths;
}

Json ReadLists(const std::string& path) {
    try {
        const auto facts = GetFileFacts(path);
        if (!facts || facts->isFolder || facts->size > kLargestFile) return Json::object();
        Json json = JsonFromText(ReadFile(path));
        return json.is_object() ? json : Json::object();
    } catch (const ZorException&) {
        return Json::object();
    }
}

void AddOnce(std::vector<std::string>& list, const std::string& path) {
    if (list.size() < OrvRecentFiles::kMost && std::find(list.begin(), list.end(), path) == list.end())
        list.push_back(path);
}

}  // namespace

void OrvRecentFiles::Load() {
    const Json json = ReadLists(m_path);
    for (int kind = 0; kind < 2; ++kind) m_lists[kind] = ReadList(json, kNames[kind]);
}

void OrvRecentFiles::Save() {
    if (!std::exchange(m_hasChanged, false)) return;
    const Json there = ReadLists(m_path);
    Json json = Json::object();
    for (int kind = 0; kind < 2; ++kind) {
        if (!std::exchange(m_isCleared[kind], false))
            for (const std::string& path : ReadList(there, kNames[kind])) AddOnce(m_lists[kind], path);
        json[kNames[kind]] = Json::array();
        for (const std::string& path : m_lists[kind]) json[kNames[kind]].push_back(PathToUtf8(path));
    }
    try {
        WritePrivateFile(m_path, JsonToText(json, 2) + "\n");
    } catch (const ZorException&) {
        // The next start of the program does without.
    }
}

void OrvRecentFiles::Note(RecentKind kind, const std::string& path) {
    std::vector<std::string>& list = m_lists[static_cast<int>(kind)];
    if (path.empty() || (!list.empty() && list.front() == path)) return;
    list.erase(std::remove(list.begin(), list.end(), path), list.end());
    list.insert(list.begin(), path);
    if (list.size() > kMost) list.resize(kMost);
    m_hasChanged = true;
}

void OrvRecentFiles::Clear(RecentKind kind) {
    m_lists[static_cast<int>(kind)].clear();
    m_isCleared[static_cast<int>(kind)] = true;
    m_hasChanged = true;
    Save();
}

wxString RecentMenuText(const std::string& path) {
    wxString folder = VisibleText(PathFolder(path));
    if (folder.length() > kLongestFolder)
        folder = folder.Left(kLongestFolder / 3) + wxString::FromUTF8("\u2026") +
                 folder.Right(kLongestFolder * 2 / 3);
    wxString text = VisibleText(PathName(path)) + wxString::FromUTF8("  \u00b7  ") + folder;
    text.Replace("\t", " ");
    text.Replace("&", "&&");
    return text;
}

OrvRecentFiles& GetRecentFiles() {
    static std::unique_ptr<OrvRecentFiles> files;
    const std::string path = PathJoin(PathJoin(GetAppDocumentsPath(), "settings"), "recent.json");
    if (!files || files->GetPath() != path) {
        files = std::make_unique<OrvRecentFiles>(path);
        files->Load();
    }
    return *files;
}

wxBitmapButton* CreateRecentButton(wxWindow* parent, RecentKind kind,
                                   std::function<void(const std::string&)> open) {
    auto* button = new wxBitmapButton(parent, wxID_ANY, LoadIconBundle("down.png", kIcon), wxDefaultPosition,
                                      wxDefaultSize, wxBU_EXACTFIT | wxBORDER_NONE);
    button->SetMinSize(wxSize(kWidth, kHeight));
    const wxString name = kind == RecentKind::Pictures ? _("Files opened last") : _("Projects opened last");
    button->SetToolTip(name);
    SetAccessibleName(button, name);
    button->Bind(wxEVT_BUTTON, [button, kind, open = std::move(open)](wxCommandEvent&) {
        const std::vector<std::string> list = GetRecentFiles().Get(kind);
        wxMenu menu;
        int id = kFirstId;
        for (const std::string& path : list) menu.Append(id++, RecentMenuText(path));
        if (list.empty()) menu.Append(wxID_NONE, _("Nothing was opened yet"))->Enable(false);
        menu.AppendSeparator();
        const int clear = id;
        menu.Append(clear, _("Clear This List"))->Enable(!list.empty());
        const int chosen = button->GetPopupMenuSelectionFromUser(menu, 0, button->GetSize().y);
        if (chosen == clear)
            GetRecentFiles().Clear(kind);
        else if (chosen >= kFirstId && chosen < clear)
            open(list[static_cast<std::size_t>(chosen - kFirstId)]);
    });
    return button;
}
