#include "orvgui/common/fileselectors.h"

#include <wx/app.h>
#include <wx/dirdlg.h>
#include <wx/filedlg.h>
#include <wx/filename.h>
#include <wx/translation.h>

#include <unistd.h>

#include <algorithm>
#include <map>
#include <optional>

#include "orvgui/common/messagebox.h"
#include "zorbase/fileprotection.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageformat.h"

namespace {

constexpr const char* kProjectExtension = "zop";

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

// Whether what stands at the path could be evidence, or a case's work: a picture by name or content, or a project.
bool IsPictureOrProject(const std::string& path) {
    if (IsPictureName(path) || PathExtension(path) == kProjectExtension) return true;
    Bytes head(kFormatSniffBytes);
    const int file = OpenForReading(path);
    const ssize_t got = file < 0 ? 0 : read(file, head.data(), head.size());
    if (file >= 0) close(file);
    head.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    return IsReadableFormat(DetectFormat(head));
}

// Which files are worked on is known in one place; "" when this is none of them.
wxString WhyNeverReplaced(const std::string& path) {
    try {
        RefuseProtectedFile(path);
    } catch (const ZorException& refused) {
        return ToWx(refused.GetMessage());
    }
    return {};
}

bool AsksForProject(const wxString& filter) {
    return filter.Lower().Contains(wxString("|*.") + kProjectExtension);
}

// Names the file and its date: what is replaced cannot be brought back.
bool ConfirmsReplacing(const std::string& path) {
    const std::optional<FileFacts> facts = GetFileFacts(path);
    if (!facts) return true;
    const wxString question = wxString::Format(
        _("A file named \"%s\" already exists. It was last changed on %s and cannot be brought back. Do you want to replace it?"),
        ToWx(PathName(path)), ToWx(FormatTime(facts->modified)));
    return OrvQuestionBox(question, _("Confirm"), _("Replace"), _("Keep"), wxNO_DEFAULT | wxICON_WARNING,
                          nullptr) == wxYES;
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

// The chosen path, with an extension; empty when the user must choose again. The chooser asks itself before it answers with a file
// that exists; this is the second question, where there was none about the name that was made here, and for what may be lost least.
wxString AcceptSavePath(const wxString& chosen, const wxString& filter, int filterIndex) {
    wxFileName name(chosen);
    const wxString extension = ExtensionOf(filter, filterIndex);
    bool isMadeHere = true;
    if (AsksForProject(filter) && name.GetExt().Lower() != kProjectExtension) {
        name.SetFullName(name.GetFullName() + "." + kProjectExtension);
    } else if (!name.HasExt() && !extension.empty()) {
        name.SetExt(extension);
    } else {
        isMadeHere = false;
    }
    const std::string path = PathFromWx(name.GetFullPath());
    const wxString refusal = WhyNeverReplaced(path);
    if (!refusal.empty()) {
        OrvMessageBox(refusal, _("Error"), wxOK | wxICON_ERROR);
        return wxString();
    }
    const bool isAsked = GetFileFacts(path) && (isMadeHere || IsPictureOrProject(path));
    if (isAsked && !ConfirmsReplacing(path)) return wxString();
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
