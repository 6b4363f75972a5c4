#include "orvgui/optionsgui.h"

#include <wx/gbsizer.h>
#include <wx/sizer.h>
#include <wx/statline.h>
#include <wx/translation.h>

#include "orvcore/interface.h"
#include "orvgui/parametercontrol.h"

namespace {

constexpr int kMargin = 12;

}  // namespace

OrvOptionsGui::OrvOptionsGui(wxWindow* parent, const VecVecParameter& options)
    : wxDialog(parent, wxID_ANY, _("Program Options"), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      m_options(options),
      m_controls(options.size()) {
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    for (std::size_t group = 0; group < m_options.size(); ++group) {
        if (group > 0) sizer->Add(new wxStaticLine(this), 0, wxEXPAND | wxLEFT | wxRIGHT, kMargin);
        sizer->Add(CreateGroup(group), 0, wxEXPAND | wxALL, kMargin);
    }
    sizer->AddStretchSpacer();
    sizer->Add(CreateButtonSizer(wxOK | wxCANCEL), 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, kMargin);
    SetSizerAndFit(sizer);
    SetSize(wxSize(wxMax(GetSize().x, 460), GetSize().y));
    CentreOnParent();
    Bind(wxEVT_BUTTON, &OrvOptionsGui::OnButtonOk, this, wxID_OK);
}

OrvOptionsGui::~OrvOptionsGui() = default;

wxSizer* OrvOptionsGui::CreateGroup(std::size_t group) {
    auto* grid = new wxGridBagSizer;
    grid->SetFlexibleDirection(wxBOTH);
    for (const Parameter& option : m_options[group]) {
        m_controls[group].emplace_back(CreateParameterControl(this, grid, option));
        if (m_controls[group].back()) m_controls[group].back()->SetControlValue(option);
    }
    if (grid->GetCols() > 1) grid->AddGrowableCol(static_cast<std::size_t>(1));
    return grid;
}

void OrvOptionsGui::OnButtonOk(wxCommandEvent&) {
    for (std::size_t group = 0; group < m_controls.size(); ++group) {
        for (std::size_t i = 0; i < m_controls[group].size(); ++i) {
            if (m_controls[group][i]) m_options[group][i].Set(m_controls[group][i]->GetControlValue());
        }
    }
    GetInterface()->SetProgramOptions(m_options);
    EndModal(wxID_OK);
}
