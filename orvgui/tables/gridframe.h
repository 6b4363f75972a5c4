#pragma once

#include <wx/frame.h>
#include <wx/string.h>

#include <vector>

#include "orvcore/tables/tables.h"
#include "orvgui/common/orvgui.h"
#include "orvgui/tables/listctrlview.h"
#include "zorimage/image.h"

class OrvListCtrlResults;
class wxSearchCtrl;
class wxStaticText;

// A window that shows the result list of a batch run or of a web search, with a line that narrows its rows. Its menu
// events do not reach the windows above it. Child of its parent, destroyed when closed. GUI thread.
class ORVGUI_API GridFrame : public wxFrame {
  public:
    // What the table lists: files of a batch run, or pictures found on the web.
    enum FrameType { Batch = 0, Web = 1 };
    using Table = WxTable;

    // The first form copies the table, the second shares it.
    GridFrame(wxWindow* parent, const wxString& title, Table& table, FrameType type, int fillMode,
              const std::vector<Image>& thumbnails);
    GridFrame(wxWindow* parent, const wxString& title, ListCtrlView::Source table, FrameType type,
              int fillMode, const std::vector<Image>& thumbnails);

    OrvListCtrlResults* GetListCtrl() const { return m_list; }
    wxSearchCtrl* GetFilterLine() const { return m_filter; }
    wxString GetCountText() const;

  private:
    void UpdateCount();

    OrvListCtrlResults* m_list = nullptr;
    wxSearchCtrl* m_filter = nullptr;
    wxStaticText* m_count = nullptr;
};
