#include "orvgui/parametercontroltext.h"

#include <wx/button.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>

#include <algorithm>

#include "orvgui/textdialog.h"
#include "zorbase/text.h"

namespace {

constexpr int kFieldWidth = 240;
constexpr int kMaximumFieldWidth = 640;
constexpr int kNumberWidth = 160;
constexpr int kMinimumLines = 3;
constexpr int kMaximumLines = 16;
constexpr int kGap = 4;
// A field of one line shows no more than this; the rest is for the view button.
constexpr std::size_t kMaximumFieldText = 2000;

wxFont FixedPitchFont(const wxWindow& window) {
    return wxFont(wxFontInfo(window.GetFont().GetPointSize()).Family(wxFONTFAMILY_TELETYPE));
}

// Results are black or red on white, so that both can be read in a dark theme too.
void MakeResultField(wxTextCtrl* field) {
    field->SetBackgroundColour(*wxWHITE);
    field->SetForegroundColour(*wxBLACK);
}

wxString OrPlaceholder(const wxString& text) {
    return text.empty() ? ParameterControl::GetPlaceholder() : text;
}

int LineCount(const wxString& text) {
    return 1 + static_cast<int>(text.Freq('\n'));
}

wxString JoinLines(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += (text.empty() ? "" : "\n") + line;
    return ToWx(text);
}

}  // namespace

bool NeedsFixedPitch(const wxString& text) {
    constexpr int kDigestDigits = 16;
    int hexRun = 0;
    int blanks = 0;
    bool inText = false;
    for (const wxUniChar c : text) {
        const bool hex = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
        if (hex && ++hexRun >= kDigestDigits) return true;
        // Pairs of digits may stand apart; anything else ends the run.
        if (!hex && c != ' ' && c != ':') hexRun = 0;
        if (c == '\n') {
            inText = false;
        } else if (c == '\t' || (c == ' ' && inText && blanks > 0)) {
            return true;
        } else if (c != ' ') {
            inText = true;
        }
        blanks = c == ' ' ? blanks + 1 : 0;
    }
    return false;
}

ParameterControlString::ParameterControlString(wxWindow* parent, wxGridBagSizer* sizer,
                                               const Parameter& parameter, bool readOnly)
    : ParameterControlEntry(parent, parameter), m_readOnly(readOnly) {
    CreateField(readOnly ? wxTE_READONLY : 0, nullptr);
    m_field->SetMinSize(wxSize(kFieldWidth, -1));
    if (readOnly)
        MakeResultField(m_field);
    else
        m_field->SetHint(GetPlaceholder());
    m_view = new wxButton(m_parent, wxID_ANY, wxString::FromUTF8("…"), wxDefaultPosition, wxDefaultSize,
                          wxBU_EXACTFIT);
    m_view->SetToolTip(_("Show the whole text"));
    m_view->Bind(wxEVT_BUTTON, &ParameterControlString::OnButtonView, this);

    auto* row = new wxBoxSizer(wxHORIZONTAL);
    row->Add(m_field, 1, wxALIGN_CENTER_VERTICAL);
    row->Add(m_view, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, kGap);
    Adopt(m_field);
    m_view->Hide();
    Place(sizer, row);
    m_field->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        UpdateViewButton();
    });
    ParameterControlString::SetControlValue(parameter);
}

wxString ParameterControlString::FormatText(const Parameter& parameter) const {
    const wxString evidence = GetParameterAsString(parameter, false);
    if (!m_readOnly && !parameter.IsRefSet())
        return evidence;  // an empty field shows the placeholder as its hint
    if (!parameter.IsRefSet()) return OrPlaceholder(evidence);
    return OrPlaceholder(evidence) + " / " + OrPlaceholder(GetParameterAsString(parameter, true));
}

bool ParameterControlString::ParseText(const wxString& text, Parameter& parameter) const {
    return parameter.SetValue(FromWx(text));
}

void ParameterControlString::SetControlValue(const Parameter& parameter) {
    if (!m_readOnly) ParameterControlEntry::SetControlValue(parameter);
    m_parameter = parameter;
    const wxString text = FormatText(parameter);
    const bool red = parameter.IsRefSet() && OrPlaceholder(GetParameterAsString(parameter, false)) !=
                                                 OrPlaceholder(GetParameterAsString(parameter, true));
    if (red != m_red) {
        m_red = red;
        m_field->SetForegroundColour(red ? *wxRED : *wxBLACK);
    }
    if (text == m_fullText) return;
    m_fullText = text;
    if (!m_readOnly) {
        UpdateViewButton();
        return;
    }
    const bool fixedPitch = NeedsFixedPitch(text);
    if (fixedPitch != m_fixedPitch) {
        m_fixedPitch = fixedPitch;
        m_field->SetFont(fixedPitch ? FixedPitchFont(*m_parent) : m_parent->GetFont());
    }
    wxString shown = text.Left(kMaximumFieldText);
    shown.Replace("\n", " ");
    ShowText(shown);
    UpdateViewButton();
}

void ParameterControlString::SetNumeric() {
    m_field->SetWindowStyleFlag(m_field->GetWindowStyleFlag() | wxTE_RIGHT);
    m_field->SetMinSize(wxSize(kNumberWidth, -1));
    m_field->SetMaxSize(wxSize(kNumberWidth, -1));
}

void ParameterControlString::UpdateViewButton() {
    const wxString text = m_readOnly ? m_fullText : m_field->GetValue();
    bool overflows = text.length() > kMaximumFieldText || text.find('\n') != wxString::npos;
    const int width = m_field->GetClientSize().GetWidth();
    if (!overflows && width > 1 && text.length() > 8) {
        constexpr int kInset = 16;  // what the theme keeps around the text
        const int room = width - kInset + (m_view->IsShown() ? m_view->GetSize().GetWidth() + kGap : 0);
        overflows = m_field->GetTextExtent(text).GetWidth() > room;
    }
    if (overflows == m_view->IsShown()) return;
    m_view->Show(overflows && !m_parameter.IsHiddenFromGui());
    m_parent->PostSizeEvent();
}

void ParameterControlString::OnButtonView(wxCommandEvent&) {
    const wxString text = m_readOnly ? m_fullText : m_field->GetValue();
    TextDialog dialog(m_parent, wxGetTranslation(ToWx(m_parameter.GetDescription())), text,
                      NeedsFixedPitch(text));
    dialog.ShowModal();
}

ParameterControlOutputInt64::ParameterControlOutputInt64(wxWindow* parent, wxGridBagSizer* sizer,
                                                         const Parameter& parameter)
    : ParameterControlString(parent, sizer, parameter, true) {
    SetNumeric();
}

ParameterControlOutputImageResolution::ParameterControlOutputImageResolution(wxWindow* parent,
                                                                             wxGridBagSizer* sizer,
                                                                             const Parameter& parameter)
    : ParameterControlString(parent, sizer, parameter, true) {
    SetNumeric();
}

ParameterControlOutputText::ParameterControlOutputText(wxWindow* parent, wxGridBagSizer* sizer,
                                                       const Parameter& parameter)
    : ParameterControl(parent, parameter) {
    m_field = new wxTextCtrl(parent, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                             wxTE_MULTILINE | wxTE_READONLY | wxTE_DONTWRAP);
    MakeResultField(m_field);
    m_field->SetMinSize(wxSize(kFieldWidth, kMinimumLines * m_field->GetCharHeight()));
    Place(sizer, m_field, Height::Tall);
    ParameterControlOutputText::SetControlValue(parameter);
}

wxWindow* ParameterControlOutputText::GetControl() {
    return m_field;
}

void ParameterControlOutputText::SetControlValue(const Parameter& parameter) {
    m_parameter = parameter;
    const wxString evidence =
        OrPlaceholder(parameter.IsSet() ? ToWx(parameter.Get<std::string>()) : wxString());
    wxString text = evidence;
    bool red = false;
    if (parameter.IsRefSet()) {
        const wxString reference = OrPlaceholder(ToWx(parameter.Get<std::string>(true)));
        const bool lines = LineCount(evidence) > 1 || LineCount(reference) > 1;
        text += (lines ? "\n / \n" : " / ") + reference;
        red = evidence != reference;
    }
    if (text == m_shownText && red == m_shownRed) return;
    if (red != m_shownRed) m_field->SetForegroundColour(red ? *wxRED : *wxBLACK);
    m_shownRed = red;
    m_shownText = text;
    m_field->SetFont(NeedsFixedPitch(text) ? FixedPitchFont(*m_parent) : m_parent->GetFont());
    m_field->ChangeValue(text);
    const int lines = std::clamp(LineCount(text), kMinimumLines, kMaximumLines);
    constexpr int kInset = 12;
    m_field->SetMinSize(wxSize(kFieldWidth, lines * m_field->GetCharHeight() + kInset));
}

ParameterControlVectorString::ParameterControlVectorString(wxWindow* parent, wxGridBagSizer* sizer,
                                                           const Parameter& parameter)
    : ParameterControlVectorString(parent, sizer, parameter, false) {}

ParameterControlVectorString::ParameterControlVectorString(wxWindow* parent, wxGridBagSizer* sizer,
                                                           const Parameter& parameter, bool readOnly)
    : ParameterControl(parent, parameter) {
    m_field = new wxTextCtrl(parent, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                             wxTE_MULTILINE | wxTE_DONTWRAP | (readOnly ? wxTE_READONLY : 0L));
    if (readOnly) MakeResultField(m_field);
    m_field->SetMinSize(wxSize(kFieldWidth, 4 * m_field->GetCharHeight() + kGap));
    Place(sizer, m_field, Height::Tall);
    if (!readOnly) {
        if (parameter.GetToolTip().empty()) m_field->SetToolTip(_("One entry per line"));
        m_field->Bind(wxEVT_KILL_FOCUS, [this](wxFocusEvent& event) {
            event.Skip();
            if (!m_field->IsBeingDeleted()) Commit();
        });
        m_field->Bind(wxEVT_KEY_DOWN, [this](wxKeyEvent& event) {
            if (event.GetKeyCode() == WXK_RETURN && event.ControlDown())
                Commit();
            else
                event.Skip();
        });
    }
    ParameterControlVectorString::SetControlValue(parameter);
}

wxWindow* ParameterControlVectorString::GetControl() {
    return m_field;
}

void ParameterControlVectorString::SetControlValue(const Parameter& parameter) {
    const bool keepEdit = m_field->GetValue() != m_shownText && parameter == m_parameter;
    m_parameter = parameter;
    if (keepEdit || !parameter.IsSet()) return;
    m_shownText = JoinLines(parameter.Get<std::vector<std::string>>());
    m_field->ChangeValue(m_shownText);
}

Parameter ParameterControlVectorString::GetControlValue() const {
    Parameter value = m_parameter;
    if (m_field->GetValue() != m_shownText)
        value.SetValue(StringToVecString(FromWx(m_field->GetValue()), "\n", SplitMode::SkipEmpty));
    return value;
}

void ParameterControlVectorString::DiscardEdit() {
    m_field->ChangeValue(m_shownText);
}

void ParameterControlVectorString::Commit() {
    const Parameter value = GetControlValue();
    m_shownText = m_field->GetValue();
    if (value == m_parameter) return;
    m_parameter = value;
    PostControlEvent();
}
