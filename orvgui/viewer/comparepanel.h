#pragma once

#include <wx/timer.h>

#include "orvgui/viewer/settingspanel.h"

class OrvStaticText;
class wxCheckBox;
class wxSlider;

// The panel of a page with two pictures that compares them in one place: the other one laid over each half, or the two in turn. It
// decides how much and when; what is shown, the page does. It shows itself while two pictures stand side by side. GUI thread.
class ORVGUI_API ComparePanel : public OrvSidePanelBase {
  public:
    ComparePanel(wxWindow* parent, OrvViewerHost* page);

    // Whether there are two pictures, and why they cannot be laid over one another ("" when they can).
    void SetPictures(bool areTwo, const wxString& whyNoMix);
    // Back to the pictures as they are: nothing mixed, no blinking.
    void ClearValues() override;

    int GetMix() const;  // percent of the other picture
    void SetMix(int percent);
    bool IsBlinking() const { return m_timer.IsRunning(); }
    void Blink(bool on);
    double GetRate() const;  // of the blinking, both pictures once in turn, Hz
    void SetRate(double hertz);

  private:
    void ShowMixValue();
    void ShowRateValue();
    void StartTimer();

    wxSlider* m_mix = nullptr;
    OrvStaticText* m_mixValue = nullptr;
    OrvStaticText* m_reason = nullptr;
    wxCheckBox* m_blink = nullptr;
    wxSlider* m_rate = nullptr;
    OrvStaticText* m_rateValue = nullptr;
    wxTimer m_timer;
    bool m_isOther = false;  // the blinking shows the other picture now
};

// Each picture is shown for half of the period. Rates outside 0.5 to 3 Hz are brought into it: faster flashing is a danger to some
// who watch.
int BlinkIntervalMs(double hertz);
