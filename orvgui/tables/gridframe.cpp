#include "orvgui/tables/gridframe.h"

#include <wx/app.h>
#include <wx/button.h>
#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/srchctrl.h>
#include <wx/stattext.h>

#include "orvgui/common/icons.h"
#include "orvgui/common/screenplace.h"
#include "orvgui/tables/listctrlresults.h"

namespace {

const wxSize kFrameSize(1200, 600);

}  // namespace

GridFrame::GridFrame(wxWindow* parent, const wxString& title, Table& table, FrameType type, int fillMode,
                     const std::vector<Image>& thumbnails)
    : GridFrame(parent, title, std::make_shared<const TableString>(TableFromWx(table)), type, fillMode,
                thumbnails) {}

GridFrame::GridFrame(wxWindow* parent, const wxString& title, ListCtrlView::Source table, FrameType type,
                     int fillMode, const std::vector<Image>& thumbnails)
    : wxFrame(parent, wxID_ANY, title, wxDefaultPosition, kFrameSize) {
    // The list's commands have the ids of other commands in the main window.
    SetExtraStyle(GetExtraStyle() | wxWS_EX_BLOCK_EVENTS);
    SetIcons(LoadMainIcon());
    auto* panel = new wxPanel(this);
    m_filter = new wxSearchCtrl(panel, wxID_ANY);
    m_filter->SetDescriptiveText(_("Filter rows"));
    m_filter->SetToolTip(_("Shows only rows that hold every one of these words"));
    m_filter->ShowCancelButton(true);
    m_count = new wxStaticText(panel, wxID_ANY, wxString());
    if (type == Batch) {
        m_list = new OrvListCtrlBatch(panel, std::move(table), fillMode, wxHORIZONTAL);
    } else {
        m_list = new OrvListCtrlWeb(panel, std::move(table), fillMode, wxHORIZONTAL);
    }
    m_list->SetThumbnails(thumbnails);
    m_list->SetViewListener([this] { UpdateCount(); });
    // The selection has another colour in a window that is not active.
    Bind(wxEVT_ACTIVATE, [this](wxActivateEvent& event) {
        event.Skip();
        m_list->Refresh();
    });
    // Events of this window do not reach the main window, whose command this is.
    Bind(wxEVT_CHAR_HOOK, [](wxKeyEvent& event) {
        wxWindow* top = wxTheApp->GetTopWindow();
        if (event.GetKeyCode() == 'Q' && event.GetModifiers() == wxMOD_CONTROL && top != nullptr) {
            top->CallAfter([top] { top->Close(); });
        } else {
            event.Skip();
        }
    });
    m_filter->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { m_list->SetRowFilter(m_filter->GetValue()); });
    m_filter->Bind(wxEVT_SEARCH_CANCEL, [this](wxCommandEvent&) { m_filter->Clear(); });
    m_filter->Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
        if (event.GetKeyCode() == WXK_ESCAPE) {
            m_filter->Clear();
            m_list->SetFocus();
        } else if (event.GetKeyCode() == 'F' && event.GetModifiers() == wxMOD_CONTROL) {
            m_list->ShowFindDialog();
        } else {
            event.Skip();
        }
    });

    auto* line = new wxBoxSizer(wxHORIZONTAL);
    line->Add(m_filter, 0, wxALIGN_CENTRE_VERTICAL);
    line->Add(m_count, 1, wxALIGN_CENTRE_VERTICAL | wxLEFT, 12);
    auto* find = new wxButton(panel, wxID_ANY, _("Find..."));
    find->SetToolTip(_("Find a text in the table (Ctrl+F)"));
    find->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { m_list->ShowFindDialog(); });
    line->Add(find, 0, wxALIGN_CENTRE_VERTICAL | wxLEFT, 8);
    if (type == Batch) {
        auto* report = new wxButton(panel, wxID_ANY, _("Report..."));
        report->SetToolTip(_("Save a report with the selected images as an HTML file"));
        report->Bind(wxEVT_BUTTON, [this](wxCommandEvent& event) { m_list->OnExportReportAsHtml(event); });
        line->Add(report, 0, wxALIGN_CENTRE_VERTICAL | wxLEFT, 8);
    }
    m_filter->SetMinSize(wxSize(320, -1));

    auto* inner = new wxBoxSizer(wxVERTICAL);
    inner->Add(line, 0, wxEXPAND | wxALL, 8);
    inner->Add(m_list, 1, wxEXPAND);
    panel->SetSizer(inner);
    auto* outer = new wxBoxSizer(wxVERTICAL);
    outer->Add(panel, 1, wxEXPAND);
    SetSizer(outer);
    SetSize(kFrameSize);
    PlaceOnParent(*this);
    Layout();
    UpdateCount();
    m_list->SetFocus();
}

wxString GridFrame::GetCountText() const {
    return m_count->GetLabelText();
}

void GridFrame::UpdateCount() {
    wxString text;
    if (m_list->IsUpdating()) {
        text = _("Sorting and filtering...");
    } else if (m_list->GetNumRows() == m_list->GetNumDataRows()) {
        text = wxString::Format(wxPLURAL("%d row", "%d rows", m_list->GetNumDataRows()),
                                m_list->GetNumDataRows());
    } else {
        text = wxString::Format(_("%d of %d rows"), m_list->GetNumRows(), m_list->GetNumDataRows());
    }
    m_count->SetLabelText(text);
}
