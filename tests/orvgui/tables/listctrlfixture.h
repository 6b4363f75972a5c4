#pragma once

#include <gtest/gtest.h>
#include <wx/frame.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "orvgui/tables/listctrlresults.h"
#include "orvgui/tables/listctrlview.h"
#include "tests/support/guitest.h"
#include "zorbase/gui/shell.h"
#include "zorbase/text.h"

inline ListCtrlView::Source Share(TableString table) {
    return std::make_shared<const TableString>(std::move(table));
}

class ListCtrlTest : public testing::Test {
  protected:
    ~ListCtrlTest() override {
        if (m_frame != nullptr) m_frame->Destroy();
        Pump();
    }
    wxFrame* Frame() {
        if (m_frame == nullptr)
            m_frame = new wxFrame(nullptr, wxID_ANY, "list", wxPoint(0, 0), wxSize(700, 400));
        return m_frame;
    }
    OrvListCtrl* Make(WxTable table, int fillMode = 0) {
        return new OrvListCtrl(Frame(), table, fillMode, wxGrid::wxGridSelectRows, wxHORIZONTAL);
    }
    OrvListCtrlBatch* MakeBatch(TableString table) {
        return new OrvListCtrlBatch(Frame(), Share(std::move(table)), 0, wxHORIZONTAL);
    }
    void ShowFrame() {
        Frame()->Show();
        ASSERT_TRUE(PumpUntil([this] { return Frame()->IsShownOnScreen(); }));
        PumpFrames();
    }

  private:
    wxFrame* m_frame = nullptr;
};

inline void Send(wxWindow& window, int id) {
    wxCommandEvent event(wxEVT_MENU, id);
    event.SetEventObject(&window);
    window.ProcessWindowEvent(event);
}

inline ListCtrlView::Source NumberedRows(int rows) {
    TableString table = {{"Number", "Name"}};
    for (int i = 0; i < rows; ++i) table.push_back({ToString((i * 7919) % rows), "name" + ToString(i)});
    return Share(std::move(table));
}

// Collects what would be opened in a browser.
class Launches {
  public:
    Launches() {
        SetShellLauncher([this](const wxString& address) {
            seen.push_back(FromWx(address));
            return true;
        });
    }
    ~Launches() { SetShellLauncher({}); }
    std::vector<std::string> seen;
};
