#include "orvgui/viewer/settingspanel.h"

#include <wx/button.h>
#include <wx/gbsizer.h>
#include <wx/intl.h>
#include <wx/sizer.h>

#include "orvgui/common/statictext.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/common/wheel.h"
#include "orvgui/viewer/viewerhost.h"

namespace {

constexpr int kGap = 4;
constexpr int kTextWidth = 200;

}  // namespace

OrvSidePanelBase::OrvSidePanelBase(wxWindow* parent, OrvViewerHost* page, const wxString& title)
    : OrvToolPanelBase(parent, page) {
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    if (!title.empty()) {
        auto* text = new OrvStaticText(this, title);
        text->SetFont(text->GetFont().Bold());
        sizer->Add(text, 0, wxEXPAND | wxBOTTOM, kGap);
    }
    m_grid = new wxGridBagSizer(0, 0);
    m_grid->SetFlexibleDirection(wxBOTH);
    sizer->Add(m_grid, 1, wxEXPAND);
    SetSizer(sizer);
}

SettingsPanel::SettingsPanel(wxWindow* parent, OrvViewerHost* page)
    : OrvSidePanelBase(parent, page, _("Parameters")) {}

OutputsPanel::OutputsPanel(wxWindow* parent, OrvViewerHost* page)
    : OrvSidePanelBase(parent, page, _("Results")) {}

DescriptionPanel::DescriptionPanel(wxWindow* parent, OrvViewerHost* page)
    : OrvSidePanelBase(parent, page, wxString()) {
    m_title = new wxButton(this, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                           wxBU_EXACTFIT | wxBU_LEFT | wxBORDER_NONE);
    m_title->SetFont(m_title->GetFont().Bold());
    m_title->SetToolTip(_("Shows or hides the description"));
    m_title->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        ShowText(!IsTextShown());
        if (m_listener) m_listener();
    });
    m_text = new OrvStaticText(this, wxString());
    m_text->SetMaximumTextWidth(TextWidth(*this, kTextWidth));
    GetGrid()->Add(m_title, wxGBPosition(0, 0), wxDefaultSpan, wxALIGN_LEFT);
    GetGrid()->Add(m_text, wxGBPosition(1, 0), wxDefaultSpan, wxEXPAND);
    GetGrid()->AddGrowableCol(0);
    ShowText(true);
    RefreshValues();
}

bool DescriptionPanel::IsTextShown() const {
    return m_text->IsShown();
}

void DescriptionPanel::ShowText(bool show) {
    m_text->Show(show);
    m_title->SetLabelText(wxString::FromUTF8(show ? "\u25be " : "\u25b8 ") + _("Description"));
    Layout();
    FitScrolledParents(this);
}

void DescriptionPanel::RefreshValues() {
    const wxString description = m_page->GetFilterDescription();
    m_text->SetText(description.empty() ? wxString() : wxGetTranslation(description));
}
