#include "orvgui/tooldialog.h"

#include <wx/button.h>
#include <wx/gbsizer.h>
#include <wx/sizer.h>
#include <wx/translation.h>

#include "orvgui/parametercontrol.h"

namespace {

constexpr int kMargin = 12;
constexpr int kWidth = 480;

}  // namespace

OrvToolDialog::OrvToolDialog(wxWindow* parent, const wxString& title)
    : wxDialog(parent, wxID_ANY, title, wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      m_okLabel(_("Ok")) {}

OrvToolDialog::~OrvToolDialog() = default;

void OrvToolDialog::Init() {
    auto* grid = new wxGridBagSizer;
    grid->SetFlexibleDirection(wxBOTH);
    for (const Parameter& parameter : m_parameters) {
        m_controls.emplace_back(CreateParameterControl(this, grid, parameter));
        if (m_controls.back()) m_controls.back()->SetControlValue(parameter);
    }
    if (grid->GetCols() > 1) grid->AddGrowableCol(static_cast<std::size_t>(1));

    auto* ok = new wxButton(this, wxID_OK, m_okLabel);
    auto* buttons = new wxStdDialogButtonSizer;
    buttons->AddButton(ok);
    buttons->AddButton(new wxButton(this, wxID_CANCEL, _("Cancel")));
    buttons->Realize();
    ok->SetDefault();
    Bind(wxEVT_BUTTON, &OrvToolDialog::OnButtonOk, this, wxID_OK);
    Bind(wxEVT_BUTTON, &OrvToolDialog::OnButtonCancel, this, wxID_CANCEL);

    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(grid, 1, wxEXPAND | wxALL, kMargin);
    sizer->Add(buttons, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, kMargin);
    SetSizerAndFit(sizer);
    SetSize(wxSize(wxMax(GetSize().x, kWidth), GetSize().y));
    CentreOnParent();
}

void OrvToolDialog::OnButtonOk(wxCommandEvent&) {
    for (std::size_t i = 0; i < m_controls.size(); ++i) {
        if (m_controls[i]) m_parameters[i].Set(m_controls[i]->GetControlValue());
    }
    if (m_validation && !m_validation(m_parameters, this)) return;
    Finish(wxID_OK);
}

void OrvToolDialog::OnButtonCancel(wxCommandEvent&) {
    Finish(wxID_CANCEL);
}

void OrvToolDialog::Finish(int code) {
    SetReturnCode(code);
    if (IsModal()) {
        EndModal(code);
    } else {
        Hide();
    }
}
