#pragma once

#include <wx/log.h>
#include <wx/panel.h>
#include <wx/timer.h>

class wxChoice;
class wxTextCtrl;

// Shows the log of the program (orvcore/model/log.h), all of it or only what is worth a look, to be copied or saved. While it
// exists it is the active log target of the toolkit: each of its messages becomes a line of the log and goes on to the former target,
// which comes back when the panel goes. Its controls are made when it is first seen or asked for one. Messages may come from any thread; everything else on the GUI thread.
class LogPanel : public wxPanel {
  public:
    explicit LogPanel(wxWindow* parent);
    ~LogPanel() override;

    wxTextCtrl* GetText();  // with the newest lines
    wxChoice* GetLevels();

  private:
    void CreateControls();  // once
    void OnParentShow(wxShowEvent& event);
    void Update(bool afresh);
    void OnCopy(wxCommandEvent& event);
    void OnSave(wxCommandEvent& event);

    wxTextCtrl* m_text = nullptr;
    wxChoice* m_levels = nullptr;
    wxTimer m_timer;
    int m_shown = 0;            // number of the newest line that was looked at
    wxLog* m_target = nullptr;  // ours while we are active
    wxLog* m_former = nullptr;
};
