#include "orvgui/viewer/comparepanel.h"

#include <wx/checkbox.h>
#include <wx/gbsizer.h>
#include <wx/intl.h>
#include <wx/slider.h>
#include <wx/stattext.h>

#include <algorithm>
#include <cmath>

#include "orvgui/common/accessible.h"
#include "orvgui/common/statictext.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/common/wheel.h"
#include "orvgui/viewer/viewerhost.h"

namespace {

constexpr int kGap = 4;
constexpr int kTextWidth = 200;
constexpr int kSliderLeast = 70;
constexpr double kSlowest = 0.5;  // Hz
constexpr double kFastest = 3.0;
constexpr int kStepsPerHertz = 10;

}  // namespace

int BlinkIntervalMs(double hertz) {
    return static_cast<int>(std::lround(500.0 / std::clamp(hertz, kSlowest, kFastest)));
}

ComparePanel::ComparePanel(wxWindow* parent, OrvViewerHost* page)
    : OrvSidePanelBase(parent, page, _("Compare")) {
    wxGridBagSizer* grid = GetGrid();
    const auto add = [grid](wxWindow* window, int row, int column, int span, int grow) {
        grid->Add(window, wxGBPosition(row, column), wxGBSpan(1, span),
                  grow | wxALIGN_CENTER_VERTICAL | wxRIGHT | wxBOTTOM, kGap);
    };
    add(new wxStaticText(this, wxID_ANY, _("Other picture")), 0, 0, 1, 0);
    m_mix = new wxSlider(this, wxID_ANY, 0, 0, 100);
    m_mix->SetToolTip(_("How much of the other picture lies over each, percent"));
    SetAccessibleName(m_mix, _("Other picture, percent"));
    add(m_mix, 0, 1, 1, wxEXPAND);
    m_mixValue = new OrvStaticText(this, wxString());
    add(m_mixValue, 0, 2, 1, 0);
    m_blink = new wxCheckBox(this, wxID_ANY, _("Blink"));
    m_blink->SetToolTip(_("Shows the two pictures in turn"));
    add(m_blink, 1, 0, 1, 0);
    m_rate = new wxSlider(this, wxID_ANY, kStepsPerHertz, static_cast<int>(kSlowest * kStepsPerHertz),
                          static_cast<int>(kFastest * kStepsPerHertz));
    m_rate->SetToolTip(_("How often a second both pictures are shown once"));
    SetAccessibleName(m_rate, _("Blinks a second"));
    add(m_rate, 1, 1, 1, wxEXPAND);
    m_rateValue = new OrvStaticText(this, wxString());
    add(m_rateValue, 1, 2, 1, 0);
    m_reason = new OrvStaticText(this, wxString());
    m_reason->SetMaximumTextWidth(TextWidth(*this, kTextWidth));
    add(m_reason, 2, 0, 3, wxEXPAND);
    grid->AddGrowableCol(1);
    for (wxWindow* slider : {m_mix, m_rate}) {
        slider->SetMinSize(wxSize(kSliderLeast, -1));
        LeaveWheelToPage(slider);
    }
    // The numbers beside the sliders must not move them.
    m_mixValue->SetMinSize(GetTextExtent("100 %"));
    m_rateValue->SetMinSize(GetTextExtent("0.0 Hz"));
    ShowMixValue();
    ShowRateValue();

    m_mix->Bind(wxEVT_SLIDER, [this](wxCommandEvent&) { SetMix(m_mix->GetValue()); });
    m_blink->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent& event) { Blink(event.IsChecked()); });
    m_rate->Bind(wxEVT_SLIDER, [this](wxCommandEvent&) {
        ShowRateValue();
        if (IsBlinking()) StartTimer();
    });
    m_timer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) {
        m_isOther = !m_isOther;
        m_page->WindowSwap(m_isOther ? 1 : 2);
    });
    Hide();
}

void ComparePanel::SetPictures(bool areTwo, const wxString& whyNoMix) {
    if (!areTwo || !whyNoMix.empty()) SetMix(0);
    if (!areTwo) Blink(false);
    m_mix->Enable(whyNoMix.empty());
    m_reason->SetText(whyNoMix);
    m_reason->Show(!whyNoMix.empty());
    if (Show(areTwo)) FitScrolledParents(this);
}

void ComparePanel::ClearValues() {
    SetMix(0);
    Blink(false);
}

int ComparePanel::GetMix() const {
    return m_mix->GetValue();
}

void ComparePanel::SetMix(int percent) {
    if (m_mix->GetValue() != percent) m_mix->SetValue(percent);
    // One of the two at a time: what blinks is the pictures as they are.
    if (percent > 0) Blink(false);
    ShowMixValue();
    m_page->MixPictures(percent);
}

void ComparePanel::ShowMixValue() {
    m_mixValue->SetText(wxString::Format("%d %%", m_mix->GetValue()));
}

double ComparePanel::GetRate() const {
    return static_cast<double>(m_rate->GetValue()) / kStepsPerHertz;
}

void ComparePanel::SetRate(double hertz) {
    m_rate->SetValue(static_cast<int>(std::lround(std::clamp(hertz, kSlowest, kFastest) * kStepsPerHertz)));
    ShowRateValue();
    if (IsBlinking()) StartTimer();
}

void ComparePanel::ShowRateValue() {
    m_rateValue->SetText(wxString::Format(_("%.1f Hz"), GetRate()));
}

void ComparePanel::StartTimer() {
    m_timer.Start(BlinkIntervalMs(GetRate()));
}

void ComparePanel::Blink(bool on) {
    if (m_blink->GetValue() != on) m_blink->SetValue(on);
    if (on == IsBlinking()) return;
    if (on) {
        SetMix(0);
        StartTimer();
        return;
    }
    m_timer.Stop();
    if (m_isOther) m_page->WindowSwap(2);
    m_isOther = false;
}
