#include "orvgui/viewer/settingspanel.h"

#include <wx/gbsizer.h>
#include <wx/intl.h>
#include <wx/sizer.h>

#include "orvgui/common/statictext.h"
#include "orvgui/viewer/viewerhost.h"

namespace {

constexpr int kGap = 4;
constexpr int kTextWidth = 240;

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
    sizer->Add(m_grid, 0, wxEXPAND);
    SetSizer(sizer);
}

SettingsPanel::SettingsPanel(wxWindow* parent, OrvViewerHost* page)
    : OrvSidePanelBase(parent, page, _("Parameters")) {}

OutputsPanel::OutputsPanel(wxWindow* parent, OrvViewerHost* page)
    : OrvSidePanelBase(parent, page, _("Results")) {}

DescriptionPanel::DescriptionPanel(wxWindow* parent, OrvViewerHost* page)
    : OrvSidePanelBase(parent, page, wxString()) {
    m_text = new OrvStaticText(this, wxString());
    m_text->SetMaximumTextWidth(kTextWidth);
    GetGrid()->Add(m_text, wxGBPosition(0, 0), wxDefaultSpan, wxEXPAND);
    RefreshValues();
}

void DescriptionPanel::RefreshValues() {
    const wxString description = m_page->GetFilterDescription();
    m_text->SetText(description.empty() ? wxString() : wxGetTranslation(description));
}
