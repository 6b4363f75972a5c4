#include "orvgui/controls/parametercontroltext.h"

#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>

#include <algorithm>
#include <cmath>

#include "orvgui/common/textdialog.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/common/visibletext.h"
#include "orvgui/common/wheel.h"
#include "zorbase/text.h"

namespace {

constexpr int kFieldWidth = 240;
constexpr int kNumberWidth = 200;
constexpr int kMinimumLines = 1;
constexpr int kMaximumLines = 16;
// Every marked part costs the toolkit time; longer texts are red as a whole.
constexpr int kMaximumMarkedLines = 2000;
constexpr int kGap = 4;
const wxString kBetweenSlots = "\n / \n";
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

// Lines that a text takes in a field of this width, pixels, where long lines are wrapped. Words that stay whole leave room at the
// ends of lines.
int WrappedLineCount(const wxWindow& field, const wxString& text, int width) {
    constexpr double kLossAtEnds = 1.1;
    int lines = 0;
    for (const wxString& line : wxSplit(text, '\n', '\0')) {
        const double extent = field.GetTextExtent(line).GetWidth() * kLossAtEnds;
        lines += std::max(1, static_cast<int>(std::ceil(extent / std::max(width, 1))));
        if (lines > kMaximumLines) break;
    }
    return lines;
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
    : ParameterControlString(parent, sizer, parameter, readOnly, Content::Text) {}

ParameterControlString::ParameterControlString(wxWindow* parent, wxGridBagSizer* sizer,
                                               const Parameter& parameter, bool readOnly, Content content)
    : ParameterControlEntry(parent, parameter), m_readOnly(readOnly) {
    const bool numbers = content == Content::Numbers;
    CreateField((readOnly ? wxTE_READONLY : 0) | (numbers ? int{wxTE_RIGHT} : 0), nullptr);
    // The height stays the same whatever the font of the text.
    m_field->SetMinSize(FieldSize(*m_field, numbers ? kNumberWidth : kFieldWidth));
    if (readOnly)
        MakeResultField(m_field);
    else
        m_field->SetHint(GetPlaceholder());
    m_row = new wxBoxSizer(wxHORIZONTAL);
    m_row->Add(m_field, numbers ? 0 : 1, wxALIGN_CENTER_VERTICAL);
    Adopt(m_field);
    Place(sizer, m_row);
    m_field->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        UpdateViewButton();
    });
    ParameterControlString::SetControlValue(parameter);
}

// The button can outlive its control.
ParameterControlString::~ParameterControlString() {
    if (m_view) m_view->SetEvtHandlerEnabled(false);
}

void ParameterControlString::Show(bool show) {
    ParameterControlEntry::Show(show);
    UpdateViewButton();
}

wxString ParameterControlString::FormatText(const Parameter& parameter) const {
    const wxString evidence = GetParameterAsString(parameter, false);
    if (!m_readOnly && !parameter.IsRefSet())
        return evidence;  // an empty field shows the placeholder as its hint
    const wxString shown = VisibleText(OrPlaceholder(evidence));
    if (!parameter.IsRefSet()) return shown;
    return shown + " / " + VisibleText(OrPlaceholder(GetParameterAsString(parameter, true)));
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

void ParameterControlString::UpdateViewButton() {
    const wxString text = m_readOnly ? m_fullText : m_field->GetValue();
    const bool shown = m_view && m_view->IsShown();
    bool overflows = text.length() > kMaximumFieldText || text.find('\n') != wxString::npos;
    const int width = m_field->GetClientSize().GetWidth();
    constexpr std::size_t kAlwaysFits = 12;
    constexpr int kMostTurns = 2;
    if (!overflows && width > 1 && text.length() > kAlwaysFits) {
        constexpr int kInset = 16;  // what the theme keeps around the text
        const int room = width - kInset + (shown ? m_view->GetSize().GetWidth() + kGap : 0);
        overflows = m_field->GetTextExtent(text).GetWidth() > room;
    }
    overflows = overflows && m_field->IsShown() && !m_parameter.IsHiddenFromGui();
    if (overflows == shown) return;
    // Where the button's room decides about the row's width, and the width about the button, they would never come to rest.
    const int around = wxGetTopLevelParent(m_parent)->GetClientSize().GetWidth();
    if (text != m_judgedText || around != m_judgedWidth) m_turns = 0;
    m_judgedText = text;
    m_judgedWidth = around;
    if (++m_turns > kMostTurns && shown) return;
    if (!m_view) {
        m_view = new wxButton(m_parent, wxID_ANY, wxString::FromUTF8("…"), wxDefaultPosition, wxDefaultSize,
                              wxBU_EXACTFIT);
        m_view->MoveAfterInTabOrder(m_field);
        m_view->Bind(wxEVT_BUTTON, &ParameterControlString::OnButtonView, this);
        m_row->Add(m_view, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, kGap);
        m_view->SetToolTip(_("Show the whole text"));
    }
    m_view->Show(overflows);
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
    : ParameterControlString(parent, sizer, parameter, true, Content::Numbers) {}

ParameterControlOutputImageResolution::ParameterControlOutputImageResolution(wxWindow* parent,
                                                                             wxGridBagSizer* sizer,
                                                                             const Parameter& parameter)
    : ParameterControlString(parent, sizer, parameter, true, Content::Numbers) {}

ParameterControlOutputText::ParameterControlOutputText(wxWindow* parent, wxGridBagSizer* sizer,
                                                       const Parameter& parameter)
    : ParameterControl(parent, parameter), m_maximumLines(kMaximumLines) {
    m_field = new wxTextCtrl(parent, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                             wxTE_MULTILINE | wxTE_READONLY | wxTE_DONTWRAP);
    MakeResultField(m_field);
    InsetText(*m_field);
    PassWheelOn(m_field);
    m_field->SetMinSize(wxSize(kFieldWidth, kMinimumLines * m_field->GetCharHeight()));
    Place(sizer, m_field, Height::Tall);
    m_field->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        if (FitHeight()) m_field->CallAfter([field = m_field] { FitScrolledParents(field); });
    });
    ParameterControlOutputText::SetControlValue(parameter);
}

// Of two texts of many lines only the lines that differ are red.
void ParameterControlOutputText::MarkDifferingLines(const wxString& evidence) {
    const long length = static_cast<long>(m_shownText.length());
    m_field->SetStyle(0, length, wxTextAttr(*wxBLACK));
    if (!m_shownRed) return;
    const wxString between = m_shownText.Mid(evidence.length());
    if (!between.StartsWith(kBetweenSlots) || LineCount(m_shownText) > kMaximumMarkedLines) {
        m_field->SetStyle(0, length, wxTextAttr(*wxRED));
        return;
    }
    const wxArrayString left = wxSplit(evidence, '\n', '\0');
    const wxArrayString right = wxSplit(between.Mid(kBetweenSlots.length()), '\n', '\0');
    long leftStart = 0;
    long rightStart = static_cast<long>(evidence.length() + kBetweenSlots.length());
    for (std::size_t i = 0; i < std::max(left.size(), right.size()); ++i) {
        const wxString* leftLine = i < left.size() ? &left[i] : nullptr;
        const wxString* rightLine = i < right.size() ? &right[i] : nullptr;
        const bool differs = leftLine == nullptr || rightLine == nullptr || *leftLine != *rightLine;
        for (const auto& [line, start] :
             {std::pair{leftLine, &leftStart}, std::pair{rightLine, &rightStart}}) {
            if (line == nullptr) continue;
            const long end = *start + static_cast<long>(line->length());
            if (differs) m_field->SetStyle(*start, end, wxTextAttr(*wxRED));
            *start = end + 1;
        }
    }
}

wxWindow* ParameterControlOutputText::GetControl() {
    return m_field;
}

void ParameterControlOutputText::SetControlValue(const Parameter& parameter) {
    m_parameter = parameter;
    const wxString evidence =
        OrPlaceholder(parameter.IsSet() ? VisibleText(parameter.Get<std::string>()) : wxString());
    wxString text = evidence;
    bool red = false;
    if (parameter.IsRefSet()) {
        const wxString reference = OrPlaceholder(VisibleText(parameter.Get<std::string>(true)));
        const bool lines = LineCount(evidence) > 1 || LineCount(reference) > 1;
        text += (lines ? kBetweenSlots : wxString(" / ")) + reference;
        red = evidence != reference;
    }
    if (text == m_shownText && red == m_shownRed) return;
    m_shownRed = red;
    m_shownText = text;
    // Columns and digests stay as they are and scroll; prose is wrapped.
    const bool fixedPitch = NeedsFixedPitch(text);
    const long wrap = fixedPitch ? wxTE_DONTWRAP : wxTE_WORDWRAP;
    m_field->SetWindowStyleFlag((m_field->GetWindowStyleFlag() & ~(wxTE_DONTWRAP | wxTE_WORDWRAP)) | wrap);
    m_field->SetFont(fixedPitch ? FixedPitchFont(*m_parent) : m_parent->GetFont());
    m_field->ChangeValue(text);
    MarkDifferingLines(evidence);
    FitHeight();
}

bool ParameterControlOutputText::SetMaximumLines(int lines) {
    m_maximumLines = std::clamp(lines, kMinimumLines, kMaximumLines);
    return FitHeight();
}

// As high as the text, within bounds; whether that is another height than before.
bool ParameterControlOutputText::FitHeight() {
    constexpr int kInset = 2 * kTextInsetY + 2;
    const bool wraps = (m_field->GetWindowStyleFlag() & wxTE_DONTWRAP) == 0;
    // The page may have asked for a narrower one.
    const int least = m_field->GetMinSize().x;
    const int width = std::max(m_field->GetClientSize().x, least) - 2 * kTextInsetX - 2;
    const int lines =
        std::clamp(wraps ? WrappedLineCount(*m_field, m_shownText, width) : LineCount(m_shownText),
                   kMinimumLines, m_maximumLines);
    const wxSize size(least, lines * m_field->GetCharHeight() + kInset);
    if (m_field->GetMinSize() == size) return false;
    m_field->SetMinSize(size);
    return true;
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
    InsetText(*m_field);
    PassWheelOn(m_field);
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
