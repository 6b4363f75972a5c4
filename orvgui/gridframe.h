#pragma once

#include <wx/frame.h>
#include <wx/string.h>

#include <vector>

#include "orvgui/orvgui.h"
#include "zorimage/image.h"

class wxGrid;

// A window that shows one result table. Row 0 of the table holds the column labels. Child of its parent,
// destroyed when closed.
class ORVGUI_API GridFrame : public wxFrame {
  public:
    // What the table lists: files of a batch run, or pictures found on the web.
    enum FrameType { Batch = 0, Web = 1 };
    using Table = std::vector<std::vector<wxString>>;

    GridFrame(wxWindow* parent, const wxString& title, Table& table, FrameType type, int fillMode,
              const std::vector<Image>& thumbnails);

    wxGrid* GetGrid() const { return m_grid; }

  private:
    wxGrid* m_grid = nullptr;
};
