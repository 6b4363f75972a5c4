#include "orvgui/common/progressdialog.h"

#include <wx/arrstr.h>
#include <wx/control.h>
#include <wx/dcclient.h>
#include <wx/gauge.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/time.h>

#include <algorithm>
#include <cmath>

#include "orvgui/common/visibletext.h"

namespace {

constexpr int kGaugeWidth = 390;
constexpr int kGaugeHeight = 20;
constexpr int kMessageLines = 2;  // the work, and the piece of it
constexpr int kLargestGaugeRange = 65535;

int ScaleFactor(int maximum) {
    return maximum > kLargestGaugeRange ? maximum / 65536 + 1 : 1;
}

}  // namespace

ProgressEstimate::Times ProgressEstimate::Update(int value, int maximum, unsigned long seconds,
                                                 unsigned long paused) {
    Times times;
    times.elapsed = seconds;
    if (value == 0) return times;
    if (m_lastUpdate < seconds || value == maximum) {
        m_lastUpdate = seconds;
        const double worked = static_cast<double>(seconds - paused);
        const unsigned long estimated = paused + static_cast<unsigned long>(worked * maximum / value);
        if (estimated > m_shown && m_counter >= 0) {
            ++m_counter;
        } else if (estimated < m_shown && m_counter <= 0) {
            --m_counter;
        } else {
            m_counter = 0;
        }
        const bool isConfirmed = std::abs(m_counter) >= kDelay;
        if (isConfirmed || value == maximum || seconds > m_shown || (seconds > 0 && seconds < 4)) {
            m_shown = estimated;
            m_counter = 0;
        }
    }
    times.estimated = m_shown;
    times.remaining = m_shown > seconds ? m_shown - seconds : 0;
    return times;
}

wxString ProgressEstimate::Format(unsigned long seconds) {
    return wxString::Format("%u:%02u:%02u", static_cast<unsigned>(seconds / 3600),
                            static_cast<unsigned>(seconds / 60 % 60), static_cast<unsigned>(seconds % 60));
}

// The toolkit reads "&" in the message as the mark of a shortcut; here it is a character of a file name.
OrvProgressDialogBase::OrvProgressDialogBase(const wxString& title, const wxString& message, int maximum,
                                             wxWindow* parent, int style)
    : wxGenericProgressDialog(title, wxControl::EscapeMnemonics(message), maximum / ScaleFactor(maximum),
                              parent, style),
      m_range(maximum),
      m_factor(ScaleFactor(maximum)) {
    for (wxWindow* child : GetChildren()) {
        if (auto* gauge = dynamic_cast<wxGauge*>(child)) gauge->SetMinSize(wxSize(kGaugeWidth, kGaugeHeight));
    }
    for (wxWindow* child : GetChildren()) {
        m_messageLabel = dynamic_cast<wxStaticText*>(child);
        if (m_messageLabel != nullptr) break;  // the toolkit makes it first
    }
    if (m_messageLabel != nullptr) {
        m_messageLabel->SetWindowStyle(m_messageLabel->GetWindowStyle() | wxST_NO_AUTORESIZE);
        m_messageLabel->SetMinSize(wxSize(kGaugeWidth, kMessageLines * GetCharHeight() + kMessageLines));
        ShowMessage(message);
    }
    m_estimatedLabel = FindValueLabel(GetEstimatedLabel());
    m_remainingLabel = FindValueLabel(GetRemainingLabel());
    GetSizer()->SetSizeHints(this);
}

// The toolkit would widen the window for a longer message and lay it over the gauge for a higher one.
void OrvProgressDialogBase::ShowMessage(const wxString& message) {
    if (m_messageLabel == nullptr) return;
    wxClientDC dc(m_messageLabel);
    dc.SetFont(m_messageLabel->GetFont());
    wxString text;
    int lines = 0;
    for (const wxString& line : wxSplit(VisibleText(message), '\n', '\0')) {
        if (++lines > kMessageLines) break;
        if (lines > 1) text += "\n";
        text += wxControl::Ellipsize(line, dc, wxELLIPSIZE_MIDDLE, kGaugeWidth, wxELLIPSIZE_FLAGS_NONE);
    }
    const wxString label = wxControl::EscapeMnemonics(text);
    if (m_messageLabel->GetLabel() != label) m_messageLabel->SetLabel(label);
}

int OrvProgressDialogBase::ToGauge(int value) const {
    if (value >= m_range) return m_maximum;
    // Rounding must not reach the end before the work does.
    return std::min(value / m_factor, m_maximum - 1);
}

void OrvProgressDialogBase::SetRange(int maximum) {
    wxCHECK_RET(maximum > 0, "Invalid range");
    m_range = maximum;
    m_factor = ScaleFactor(maximum);
    wxGenericProgressDialog::SetRange(maximum / m_factor);
}

int OrvProgressDialogBase::GetValue() const {
    const int value = wxGenericProgressDialog::GetValue();
    return value >= m_maximum ? m_range : value * m_factor;
}

void OrvProgressDialogBase::UpdateTimeEstimates(int value, unsigned long& elapsed, unsigned long& estimated,
                                                unsigned long& remaining) {
    const unsigned long seconds = static_cast<unsigned long>(wxGetCurrentTime()) - m_timeStart;
    const ProgressEstimate::Times times =
        m_estimate.Update(value, m_range, seconds, std::min(m_break, seconds));
    elapsed = times.elapsed;
    if (value == 0) return;
    estimated = times.estimated;
    remaining = times.remaining;
}

void OrvProgressDialogBase::ShowTimeEstimates(int value) {
    if (value == 0 || (!m_estimatedLabel && !m_remainingLabel)) return;
    unsigned long elapsed = 0, estimated = 0, remaining = 0;
    UpdateTimeEstimates(value, elapsed, estimated, remaining);
    if (m_estimatedLabel) m_estimatedLabel->SetLabel(ProgressEstimate::Format(estimated));
    if (m_remainingLabel) m_remainingLabel->SetLabel(ProgressEstimate::Format(remaining));
}

// The toolkit makes the label and, directly after it, the text that shows the time.
wxStaticText* OrvProgressDialogBase::FindValueLabel(const wxString& label) const {
    bool isNext = false;
    for (wxWindow* child : GetChildren()) {
        auto* text = dynamic_cast<wxStaticText*>(child);
        if (isNext) return text;
        isNext = text && text->GetLabel() == label;
    }
    return nullptr;
}

OrvProgressDialog::OrvProgressDialog(const wxString& title, const wxString& message, int maximum,
                                     wxWindow* parent, int style)
    : OrvProgressDialogBase(title, message, maximum, parent, style), m_title(title), m_message(message) {}

bool OrvProgressDialog::Update(int value, const wxString& newmsg, bool* skip) {
    if (!newmsg.empty()) ShowMessage(m_message = newmsg);
    const bool goOn = OrvProgressDialogBase::Update(ToGauge(value), wxString(), skip);
    ShowTimeEstimates(value);
    return goOn;
}

bool OrvProgressDialog::Pulse(const wxString& newmsg, bool* skip) {
    if (!newmsg.empty()) ShowMessage(m_message = newmsg);
    return OrvProgressDialogBase::Pulse(wxString(), skip);
}

bool OrvProgressDialog::Show(bool show) {
    return OrvProgressDialogBase::Show(show);
}

void OrvProgressDialog::SetTitle(const wxString& title) {
    m_title = title;
    OrvProgressDialogBase::SetTitle(title);
}

wxString OrvProgressDialog::GetTitle() const {
    return m_title;
}

wxString OrvProgressDialog::GetMessage() const {
    return m_message;
}
