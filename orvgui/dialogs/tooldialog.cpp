#include "orvgui/dialogs/tooldialog.h"

#include <wx/button.h>
#include <wx/combobox.h>
#include <wx/gbsizer.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/textctrl.h>
#include <wx/translation.h>

#include "orvgui/common/icons.h"
#include "orvgui/common/statictext.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/common/validator.h"
#include "orvgui/common/visibletext.h"
#include "orvgui/controls/parametercontrol.h"
#include "zorbase/text.h"

namespace {

constexpr int kMargin = 12;
constexpr int kGap = 8;
constexpr int kWidth = 480;
constexpr int kTextWidth = 240;
constexpr int kPathWidth = 340;
constexpr int kWidestChoice = 48;  // characters
constexpr int kArrowWidth = 60;    // of a choice: its arrow and borders
constexpr int kProblemWidth = 420;
constexpr int kSignSize = 16;

}  // namespace

OrvToolDialog::OrvToolDialog(wxWindow* parent, const wxString& title)
    : wxDialog(parent, wxID_ANY, title, wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      m_okLabel(_("Ok")) {}

OrvToolDialog::~OrvToolDialog() = default;

void OrvToolDialog::SetQuestion(const std::string& field, Question question) {
    m_questionField = field;
    m_question = std::move(question);
}

void OrvToolDialog::Init() {
    auto* grid = new wxGridBagSizer(0, kGap);
    grid->SetFlexibleDirection(wxBOTH);
    for (const Parameter& parameter : m_parameters) {
        m_controls.emplace_back(CreateParameterControl(this, grid, parameter));
        if (!m_controls.back()) continue;
        m_controls.back()->SetControlValue(parameter);
        if (parameter.Type() == ParameterType::String)
            m_controls.back()->GetControl()->SetMinSize(
                FieldSize(*m_controls.back()->GetControl(), kTextWidth));
        if (parameter.Type() == ParameterType::FileSave)
            m_controls.back()->GetControl()->SetMinSize(
                FieldSize(*m_controls.back()->GetControl(), kPathWidth));
    }
    AlignChoices();
    if (grid->GetCols() > 1) grid->AddGrowableCol(static_cast<std::size_t>(1));
    CreateProblemLine();

    auto* ok = new wxButton(this, wxID_OK, m_okLabel);
    auto* buttons = new wxStdDialogButtonSizer;
    buttons->AddButton(ok);
    buttons->AddButton(new wxButton(this, wxID_CANCEL, _("Cancel")));
    buttons->Realize();
    ok->SetDefault();
    Bind(wxEVT_BUTTON, &OrvToolDialog::OnButtonOk, this, wxID_OK);
    Bind(wxEVT_BUTTON, &OrvToolDialog::OnButtonCancel, this, wxID_CANCEL);
    Bind(wxEVT_COMBOBOX, &OrvToolDialog::OnEdited, this);
    Bind(wxEVT_TEXT, &OrvToolDialog::OnEdited, this);
    Bind(wxEVT_CHAR_HOOK, &OrvToolDialog::OnCharHook, this);

    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(grid, 0, wxEXPAND | wxALL, kMargin);
    sizer->Add(m_problemLine, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, kMargin);
    sizer->AddStretchSpacer();
    sizer->Add(buttons, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, kMargin);
    sizer->Hide(m_problemLine);
    SetSizerAndFit(sizer);
    SetSize(wxSize(wxMax(GetSize().x, kWidth), GetSize().y));
    CentreOnParent();
    if (!m_parameters.empty()) GoTo(m_parameters[0].Name());
}

void OrvToolDialog::CreateProblemLine() {
    m_problemLine = new wxBoxSizer(wxHORIZONTAL);
    m_problemLine->Add(new wxStaticBitmap(this, wxID_ANY, MakeWarningSign(kSignSize)), 0,
                       wxALIGN_TOP | wxRIGHT, kGap);
    m_problemText = new OrvStaticText(this, wxString());
    m_problemText->SetMaximumTextWidth(kProblemWidth);
    m_problemLine->Add(m_problemText, 1, wxEXPAND);
}

// All choices as wide as the widest; but a long entry, a hash for instance, must not make the dialog wider than the
// screen.
void OrvToolDialog::AlignChoices() {
    int width = 0;
    for (const auto& control : m_controls)
        if (auto* box = control ? dynamic_cast<wxComboBox*>(control->GetControl()) : nullptr)
            width = wxMax(width, box->GetMinSize().x);
    for (const auto& control : m_controls)
        if (auto* box = control ? dynamic_cast<wxComboBox*>(control->GetControl()) : nullptr)
            box->SetMinSize(wxSize(wxMin(width, kWidestChoice * GetCharWidth()), -1));
    UpdateToolTips();
}

// An entry that is longer than its box is read in the tool tip.
void OrvToolDialog::UpdateToolTips() {
    for (std::size_t i = 0; i < m_controls.size(); ++i) {
        auto* box = m_controls[i] ? dynamic_cast<wxComboBox*>(m_controls[i]->GetControl()) : nullptr;
        if (!box) continue;
        const std::string& toolTip = m_parameters[i].GetToolTip();
        wxString text = toolTip.empty() ? wxString() : wxGetTranslation(ToWx(toolTip));
        const wxString entry = box->GetStringSelection();
        if (box->GetTextExtent(entry).x + kArrowWidth > box->GetMinSize().x)
            text = entry + (text.empty() ? wxString() : "\n\n" + text);
        box->SetToolTip(text);
    }
}

int OrvToolDialog::ShowModal() {
    const Answer answer = m_question ? m_question(m_parameters, GetParent()) : Answer::Fine;
    if (answer == Answer::Leave || answer == Answer::Closed) {
        SetReturnCode(wxID_CANCEL);
        return wxID_CANCEL;
    }
    if (answer == Answer::Mend) GoTo(m_questionField);
    return wxDialog::ShowModal();
}

wxString OrvToolDialog::GetProblem() const {
    return m_problem;
}

// --- OK and Cancel ---

void OrvToolDialog::OnButtonOk(wxCommandEvent&) {
    if (const auto error = FindTypingError()) return ShowProblem(*error);
    for (std::size_t i = 0; i < m_controls.size(); ++i) {
        if (!m_controls[i]) continue;
        m_parameters[i].Set(m_controls[i]->GetControlValue());
        // Taken now, a typed text is no later edit when its field loses the focus.
        m_controls[i]->SetControlValue(m_parameters[i]);
    }
    if (!Check()) return;
    if (m_accepted) m_accepted(m_parameters);
    Finish(wxID_OK);
}

bool OrvToolDialog::Check() {
    ClearProblem();
    const Answer answer = m_question ? m_question(m_parameters, this) : Answer::Fine;
    if (answer == Answer::Mend) GoTo(m_questionField);
    if (answer == Answer::Leave) Finish(wxID_CANCEL);
    if (answer != Answer::Fine) return false;
    const auto problem = m_validation ? m_validation(m_parameters) : std::nullopt;
    if (!problem || (problem->isWarning && m_warnedOf == m_parameters)) return true;
    if (problem->isWarning) m_warnedOf = m_parameters;
    ShowProblem(*problem);
    return false;
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

// --- what is wrong ---

// A text that is no value of its parameter never reaches the parameter.
std::optional<ToolProblem> OrvToolDialog::FindTypingError() const {
    for (std::size_t i = 0; i < m_controls.size(); ++i) {
        auto* field = m_controls[i] ? dynamic_cast<wxTextCtrl*>(m_controls[i]->GetControl()) : nullptr;
        const auto* validator = field ? dynamic_cast<const Validator*>(field->GetValidator()) : nullptr;
        if (validator && !validator->Accepts(field->GetValue()))
            return ToolProblem{m_parameters[i].Name(), validator->GetRangeText()};
    }
    return {};
}

void OrvToolDialog::ShowProblem(const ToolProblem& problem) {
    const Parameter* parameter = m_parameters.Find(problem.field);
    const wxString label = parameter ? wxGetTranslation(ToWx(parameter->GetDescription())) : wxString();
    m_problem = wxString::Format(wxString::FromUTF8("\"%s\": %s"), label, VisibleText(problem.message));
    m_problemText->SetText(m_problem);
    GetSizer()->Show(m_problemLine, true);
    // The first layout gives the text its width, and the text answers with its height.
    Layout();
    wxSize size = GetSize();
    SetMinSize(wxDefaultSize);
    const wxSize needed = GetSizer()->ComputeFittingWindowSize(this);
    SetMinSize(needed);
    size.IncTo(needed);
    SetSize(size);
    Layout();
    GoTo(problem.field);
}

void OrvToolDialog::ClearProblem() {
    if (m_problem.empty()) return;
    m_problem.clear();
    GetSizer()->Show(m_problemLine, false);
    Layout();
}

void OrvToolDialog::GoTo(const std::string& field) {
    for (std::size_t i = 0; i < m_controls.size(); ++i) {
        if (!m_controls[i] || m_parameters[i].Name() != field) continue;
        wxWindow* window = m_controls[i]->GetControl();
        window->SetFocus();
        if (auto* text = dynamic_cast<wxTextCtrl*>(window)) text->SelectAll();
        return;
    }
}

// --- what the user does ---

void OrvToolDialog::OnEdited(wxCommandEvent& event) {
    event.Skip();
    ClearProblem();
    UpdateToolTips();
}

void OrvToolDialog::OnCharHook(wxKeyEvent& event) {
    if (!ConfirmsDialog(event)) return event.Skip();
    wxCommandEvent ok(wxEVT_BUTTON, wxID_OK);
    OnButtonOk(ok);
}
