// A bare docking frame with as many widgets as the workstation shows at start, and nothing behind them: the least that a
// window of this kind costs. Exits after its first paint.

#include <wx/artprov.h>
#include <wx/aui/framemanager.h>
#include <wx/bmpbuttn.h>
#include <wx/frame.h>
#include <wx/image.h>
#include <wx/menu.h>
#include <wx/panel.h>
#include <wx/scrolwin.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/treectrl.h>
#include <wx/wx.h>

#include <cstdio>

#include "bench/startclock.h"

namespace {

wxBitmapBundle Icon() {
    static const wxBitmapBundle icon = wxBitmapBundle::FromBitmap(wxBitmap(wxImage(16, 16)));
    return icon;
}

wxPanel* ButtonStrip(wxWindow* parent, int count, bool withField) {
    auto* panel = new wxPanel(parent);
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    for (int i = 0; i < count; ++i) {
        auto* button = new wxBitmapButton(panel, wxID_ANY, Icon());
        button->SetToolTip("A button of the strip");
        row->Add(button);
    }
    if (withField) row->Add(new wxTextCtrl(panel, wxID_ANY), 1);
    panel->SetSizer(row);
    return panel;
}

wxPanel* TreePane(wxWindow* parent, int buttons, int items) {
    auto* panel = new wxPanel(parent);
    auto* column = new wxBoxSizer(wxVERTICAL);
    column->Add(ButtonStrip(panel, buttons, false));
    auto* tree = new wxTreeCtrl(panel, wxID_ANY, wxDefaultPosition, wxSize(200, 200),
                                wxTR_DEFAULT_STYLE | wxTR_HIDE_ROOT);
    const wxTreeItemId root = tree->AddRoot("");
    for (int i = 0; i < items; ++i) tree->AppendItem(root, wxString::Format("Entry %d", i));
    column->Add(tree, 1, wxEXPAND);
    panel->SetSizer(column);
    return panel;
}

wxWindow* Page(wxWindow* parent, int rows) {
    auto* page = new wxScrolledWindow(parent);
    auto* grid = new wxFlexGridSizer(2);
    for (int i = 0; i < rows; ++i) {
        grid->Add(new wxStaticText(page, wxID_ANY, wxString::Format("Label %d", i)));
        grid->Add(new wxTextCtrl(page, wxID_ANY, "value", wxDefaultPosition, wxSize(300, -1), wxTE_READONLY));
    }
    page->SetSizer(grid);
    return page;
}

class BareFrame : public wxFrame {
  public:
    BareFrame() : wxFrame(nullptr, wxID_ANY, "Bare", wxDefaultPosition, wxSize(1024, 768)) {
        m_manager.SetManagedWindow(this);
        auto* bar = new wxMenuBar;
        for (int i = 0; i < 4; ++i) {
            auto* menu = new wxMenu;
            for (int j = 0; j < 6; ++j) menu->Append(wxID_ANY, wxString::Format("Command %d\tCtrl+%d", j, i));
            bar->Append(menu, wxString::Format("Menu %d", i));
        }
        SetMenuBar(bar);
        wxFrame::CreateStatusBar(4);
        m_manager.AddPane(ButtonStrip(this, 13, true), wxAuiPaneInfo().Top().CaptionVisible(false));
        m_manager.AddPane(ButtonStrip(this, 13, true), wxAuiPaneInfo().Top().CaptionVisible(false));
        m_manager.AddPane(TreePane(this, 9, 12), wxAuiPaneInfo().Left());
        m_manager.AddPane(TreePane(this, 8, 3), wxAuiPaneInfo().Left());
        wxWindow* page = Page(this, 20);
        m_manager.AddPane(page, wxAuiPaneInfo().Center());
        m_manager.Update();
        page->Bind(wxEVT_PAINT, [this, page](wxPaintEvent& event) {
            event.Skip();
            std::printf("%lld\n", static_cast<long long>(SharedNanoseconds()));
            std::fflush(stdout);
            CallAfter([this] { Close(true); });
        });
    }
    ~BareFrame() override { m_manager.UnInit(); }

  private:
    wxAuiManager m_manager;
};

class BareApp : public wxApp {
  public:
    bool OnInit() override {
        wxInitAllImageHandlers();
        (new BareFrame)->Show();
        return true;
    }
};

}  // namespace

wxIMPLEMENT_APP(BareApp);
