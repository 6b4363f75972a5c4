#include <wx/filename.h>
#include <wx/filesys.h>

#include "orvgui/common/visibletext.h"
#include "orvgui/shell/commandregistry.h"
#include "orvgui/shell/filepanel.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

bool FilePanelState::IsCommandEnabled(int commandId) const {
    if (slot == OrvReference) {
        if (commandId == OrvCmdSwitch) return hasFile || hasOtherFile;
        if (commandId == OrvCmdCopyReferenceFromEvidence) return hasOtherFile;
        if (commandId == OrvCmdReferenceOnOff) return hasFile;
        commandId -= kReferenceCommandOffset;
    }
    switch (commandId) {
        case OrvCmdBrowse:
            return true;
        case OrvCmdClear:
        case OrvCmdReprocessCurrent:
            return hasFile;
        case OrvCmdOpenFolder:
            return hasFolder;
        case OrvCmdGoFirst:
            return count > 0 && index != 0;
        case OrvCmdGoBack:
            return index > 0;
        case OrvCmdGoForward:
            return index >= 0 && index + 1 < count;
        case OrvCmdGoLast:
            return count > 0 && index != count - 1;
        case OrvCmdViewCache:
        case OrvCmdDeleteCache:
            return hasCache;
        default:
            return false;
    }
}

wxString FilePanelState::Position() const {
    if (!hasFile || index < 0 || count <= 0) return wxString();
    return wxString::Format("%d / %d", index + 1, count);
}

std::string ResolveTypedFilename(const wxString& typed, const std::string& currentPath) {
    const wxString text = wxString(typed).Trim(true).Trim(false);
    if (text.empty()) return std::string();
    if (!currentPath.empty() && text == VisibleText(PathName(currentPath)).Trim(true).Trim(false))
        return currentPath;
    if (text.StartsWith("file://")) return PathFromWx(wxFileSystem::URLToFileName(text).GetFullPath());
    if (text.StartsWith("/")) return PathFromWx(text);
    if (text.StartsWith("~/")) return PathJoin(PathFromWx(wxFileName::GetHomeDir()), PathFromWx(text.Mid(2)));
    const std::string folder = PathFolder(currentPath);
    return folder.empty() ? PathFromWx(text) : PathJoin(folder, PathFromWx(text));
}
