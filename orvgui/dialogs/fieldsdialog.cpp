#include "orvgui/dialogs/fieldsdialog.h"

#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

namespace {

constexpr int kWidth = 420;
constexpr int kLinesHeight = 96;

}  // namespace

FieldsDialog::FieldsDialog(wxWindow* parent, const wxString& title, const std::vector<Field>& fields,
                           Check check)
    : wxDialog(parent, wxID_ANY, title, wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      m_check(std::move(check)) {
    auto* grid = new wxFlexGridSizer(2, 8, 8);
    grid->AddGrowableCol(1);
    int row = 0;
    for (const Field& field : fields) {
        auto* label = new wxStaticText(this, wxID_ANY, wxControl::EscapeMnemonics(field.label));
        const long style = field.hasManyLines ? wxTE_MULTILINE : 0;
        auto* text = new wxTextCtrl(this, wxID_ANY, wxString(), wxDefaultPosition,
                                    wxSize(kWidth, field.hasManyLines ? kLinesHeight : -1), style);
        text->ChangeValue(field.text);
        text->SetName(field.label);
        if (!field.hint.empty()) text->SetToolTip(field.hint);
        grid->Add(label, 0, field.hasManyLines ? int{wxTOP} : int{wxALIGN_CENTRE_VERTICAL}, 4);
        grid->Add(text, 1, wxEXPAND);
        if (field.hasManyLines) grid->AddGrowableRow(static_cast<std::size_t>(row));
        m_fields.push_back(text);
        ++row;
    }
    m_problem = new wxStaticText(this, wxID_ANY, wxString());
    m_problem->SetFont(GetFont().Bold());

    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(grid, 1, wxEXPAND | wxALL, 12);
    sizer->Add(m_problem, 0, wxEXPAND | wxLEFT | wxRIGHT, 12);
    sizer->Add(CreateSeparatedButtonSizer(wxOK | wxCANCEL), 0, wxEXPAND | wxALL, 12);
    SetSizerAndFit(sizer);
    Bind(wxEVT_BUTTON, &FieldsDialog::OnOk, this, wxID_OK);
    if (!m_fields.empty()) m_fields.front()->SetFocus();
    CentreOnParent();
}

wxString FieldsDialog::GetText(std::size_t field) const {
    wxString text = m_fields[field]->GetValue();
    return text.Trim(true).Trim(false);
}

void FieldsDialog::OnOk(wxCommandEvent& event) {
    std::vector<wxString> texts;
    for (std::size_t i = 0; i < m_fields.size(); ++i) texts.push_back(GetText(i));
    const wxString problem = m_check ? m_check(texts) : wxString();
    if (problem.empty()) return event.Skip();
    m_problem->SetLabelText(problem);
    m_problem->Wrap(GetClientSize().x - 24);
    Layout();
}
