#include "orvgui/common/filedrop.h"

#include "orvcore/facade/interface.h"

bool IsProjectFilename(const wxString& path) {
    return path.Lower().EndsWith(".zop");
}

bool FilePanelDropTarget::OnDropFiles(wxCoord, wxCoord, const wxArrayString& filenames) {
    if (filenames.empty() || !GetInterface()) return false;
    const wxString& path = filenames[0];
    if (IsProjectFilename(path)) {
        GetInterface()->LoadProject(path);
    } else {
        GetInterface()->SetFile(path, m_slot);
    }
    return true;
}
