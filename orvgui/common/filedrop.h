#pragma once

#include <wx/dnd.h>

#include "orvcore/model/fileid.h"
#include "orvgui/common/orvgui.h"

// Whether a dropped file is a project: ".zop", in capitals too.
ORVGUI_API bool IsProjectFilename(const wxString& path);

// Loads the first of the dropped files into the slot, or opens it when it is a project. Belongs to the window
// it is set on.
class ORVGUI_API FilePanelDropTarget : public wxFileDropTarget {
  public:
    explicit FilePanelDropTarget(OrvFileId slot) : m_slot(slot) {}
    bool OnDropFiles(wxCoord x, wxCoord y, const wxArrayString& filenames) override;

  private:
    OrvFileId m_slot;
};
