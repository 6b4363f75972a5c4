#pragma once

#include <wx/progdlg.h>
#include <wx/string.h>

#include "orvgui/common/orvgui.h"

class wxStaticText;

// How long a piece of work will still take, judged by the part that is done. Whole seconds; no window, no
// clock of its own. A new estimate is shown only after it has been confirmed a few times, so that the figures
// do not flicker.
class ProgressEstimate {
  public:
    struct Times {
        unsigned long elapsed = 0;
        unsigned long estimated = 0;  // of the whole work; meaningless while value is 0
        unsigned long remaining = 0;
    };

    // seconds: since the start. paused: seconds spent between a cancel and its resume.
    Times Update(int value, int maximum, unsigned long seconds, unsigned long paused);

    // "%u:%02u:%02u" as hours, minutes, seconds.
    static wxString Format(unsigned long seconds);

  private:
    static constexpr int kDelay = 3;

    unsigned long m_lastUpdate = 0;
    unsigned long m_shown = 0;
    int m_counter = 0;  // > 0: estimates grow, < 0: they shrink
};

// The toolkit's generic progress dialog with this program's settings. It disables the other windows while it
// is shown and gives them back when it is destroyed. GUI thread.
class OrvProgressDialogBase : public wxGenericProgressDialog {
  public:
    OrvProgressDialogBase(const wxString& title, const wxString& message, int maximum, wxWindow* parent,
                          int style);

    void SetRange(int maximum) override;
    int GetRange() const override { return m_range; }
    int GetValue() const override;

  protected:
    // The message, each line shortened in its middle where it is wider than the dialog, which keeps its size whatever is said.
    void ShowMessage(const wxString& message);
    // The gauge counts to at most 65535; larger ranges are scaled down for it.
    int ToGauge(int value) const;
    // Times since the dialog was made, for a value of 0 … GetRange().
    void UpdateTimeEstimates(int value, unsigned long& elapsed, unsigned long& estimated,
                             unsigned long& remaining);
    void ShowTimeEstimates(int value);

  private:
    wxStaticText* FindValueLabel(const wxString& label) const;

    int m_range;   // as the caller counts
    int m_factor;  // of the caller's range to the gauge's
    ProgressEstimate m_estimate;
    wxStaticText* m_messageLabel = nullptr;
    wxStaticText* m_estimatedLabel = nullptr;  // null without the style flag
    wxStaticText* m_remainingLabel = nullptr;
};

// Update and Pulse return false once the user has asked to stop. `value` is 0 … maximum.
class ORVGUI_API OrvProgressDialog : public OrvProgressDialogBase {
  public:
    OrvProgressDialog(const wxString& title, const wxString& message, int maximum, wxWindow* parent,
                      int style);

    bool Update(int value, const wxString& newmsg = wxString(), bool* skip = nullptr) override;
    void Update() override { OrvProgressDialogBase::Update(); }
    bool Pulse(const wxString& newmsg = wxString(), bool* skip = nullptr) override;
    bool Show(bool show = true) override;
    void SetTitle(const wxString& title) override;
    wxString GetTitle() const override;
    wxString GetMessage() const override;
    void UpdateExpandedInformation(int) {}  // there is none

  private:
    wxString m_title;
    wxString m_message;
};
