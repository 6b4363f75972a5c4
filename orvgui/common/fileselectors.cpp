#include "orvgui/common/fileselectors.h"

#include <wx/app.h>
#include <wx/dirdlg.h>
#include <wx/filedlg.h>
#include <wx/filename.h>
#include <wx/translation.h>

#include <filesystem>
#include <map>
#include <system_error>

#include "orvcore/facade/interface.h"
#include "orvgui/common/messagebox.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

std::map<wxString, wxString>& LastFolders() {
    static std::map<wxString, wxString> folders;
    return folders;
}

OrvSelectorAnswer& Answer() {
    static OrvSelectorAnswer answer;
    return answer;
}

wxWindow* DialogParent() {
    wxWindow* active = wxGetActiveWindow();
    return active ? active : wxTheApp ? wxTheApp->GetTopWindow() : nullptr;
}

struct Start {
    wxString folder;
    wxString name;
};

// Where a chooser opens.
Start FindStart(const wxString& defaultPath, const wxString& filter) {
    Start start;
    if (!defaultPath.empty() && FolderExists(PathFromWx(defaultPath))) {
        start.folder = defaultPath;
        return start;
    }
    start.folder = wxPathOnly(defaultPath);
    start.name = defaultPath.AfterLast(wxFileName::GetPathSeparator());
    const auto it = LastFolders().find(filter);
    if (start.folder.empty() && it != LastFolders().end()) start.folder = it->second;
    return start;
}

wxString AskForFile(OrvSelectorKind kind, const wxString& message, const Start& start, const wxString& filter,
                    long style, int& filterIndex) {
    if (Answer()) return Answer()(kind, message, start.folder, start.name, filter);
    wxFileDialog dialog(DialogParent(), message, start.folder, start.name, filter, style);
    if (dialog.ShowModal() != wxID_OK) return wxString();
    filterIndex = dialog.GetFilterIndex();
    return dialog.GetPath();
}

bool IsLoadedFile(const wxString& path) {
    const OrvInterface* core = GetInterface();
    if (!core) return false;
    for (OrvFileId slot : {OrvEvidence, OrvReference}) {
        // A reference that is switched off has a name as well.
        const std::string loaded = PathFromWx(core->GetFilename(slot));
        std::error_code error;  // there is no such file: it is not the loaded one
        if (!loaded.empty() && std::filesystem::equivalent(PathFromWx(path), loaded, error)) return true;
    }
    return false;
}

// "*.zop" of the chosen entry of the filter; "" when that entry takes any file.
wxString ExtensionOf(const wxString& filter, int filterIndex) {
    wxArrayString descriptions, patterns;
    wxParseCommonDialogsFilter(filter, descriptions, patterns);
    if (filterIndex < 0 || filterIndex >= static_cast<int>(patterns.size())) return wxString();
    const wxString extension =
        patterns[static_cast<std::size_t>(filterIndex)].BeforeFirst(';').AfterLast('.');
    return extension.find_first_of("*?") == wxString::npos ? extension : wxString();
}

// The chosen path, with an extension; empty when the user must choose again.
wxString AcceptSavePath(const wxString& chosen, const wxString& filter, int filterIndex) {
    wxFileName name(chosen);
    const wxString extension = ExtensionOf(filter, filterIndex);
    if (!name.HasExt() && !extension.empty()) {
        name.SetExt(extension);
        // The chooser asked about the name without extension only.
        if (FileExists(PathFromWx(name.GetFullPath())) &&
            OrvMessageBox(
                wxString::Format(_("A file named \"%s\" already exists. Do you want to replace it?"),
                                 name.GetFullName()),
                _("Confirm"), wxYES_NO | wxICON_QUESTION) != wxYES) {
            return wxString();
        }
    }
    if (IsLoadedFile(name.GetFullPath())) {
        OrvMessageBox(
            _("This file is loaded as evidence or reference and is never written to. Choose another name."),
            _("Error"), wxOK | wxICON_ERROR);
        return wxString();
    }
    return name.GetFullPath();
}

}  // namespace

wxString OrvFileLoadSelector(const wxString& message, const wxString& defaultPath, const wxString& filter) {
    int filterIndex = 0;
    const wxString path = AskForFile(OrvSelectorKind::Load, message, FindStart(defaultPath, filter), filter,
                                     wxFD_OPEN | wxFD_FILE_MUST_EXIST, filterIndex);
    if (!path.empty()) LastFolders()[filter] = wxPathOnly(path);
    return path;
}

wxString OrvFileSaveSelector(const wxString& message, const wxString& defaultPath, const wxString& filter) {
    Start start = FindStart(defaultPath, filter);
    // Nothing is offered to be written beside the evidence.
    if (start.folder.empty()) start.folder = PathToWx(GetAppDocumentsPath());
    for (;;) {
        int filterIndex = 0;
        const wxString chosen = AskForFile(OrvSelectorKind::Save, message, start, filter,
                                           wxFD_SAVE | wxFD_OVERWRITE_PROMPT, filterIndex);
        if (chosen.empty()) return wxString();
        const wxString path = AcceptSavePath(chosen, filter, filterIndex);
        if (path.empty()) continue;
        LastFolders()[filter] = wxPathOnly(path);
        return path;
    }
}

wxString OrvDirSelector(const wxString& message, const wxString& defaultPath, const wxString& title) {
    const wxString caption = title.empty() ? message : title + ": " + message;
    Start start = FindStart(defaultPath, title);
    // Without a folder the chooser opens on a list of recent ones, where a typed path cannot be confirmed.
    if (start.folder.empty()) start.folder = PathToWx(GetAppDocumentsPath());
    wxString path;
    if (Answer()) {
        path = Answer()(OrvSelectorKind::Folder, message, start.folder, wxString(), title);
    } else {
        wxDirDialog dialog(DialogParent(), caption, start.folder, wxDD_DEFAULT_STYLE | wxDD_DIR_MUST_EXIST);
        if (dialog.ShowModal() == wxID_OK) path = dialog.GetPath();
    }
    if (!path.empty()) LastFolders()[title] = path;
    return path;
}

OrvSelectorAnswer SetSelectorAnswer(OrvSelectorAnswer answer) {
    std::swap(Answer(), answer);
    LastFolders().clear();
    return answer;
}
