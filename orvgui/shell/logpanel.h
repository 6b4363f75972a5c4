#pragma once

#include <wx/log.h>
#include <wx/panel.h>

class wxTextCtrl;

// Shows the log of the program while it exists: it becomes the active log target and hands every message on to the former one, which
// comes back when the panel goes. Messages may come from any thread; the text is written on the GUI thread.
class LogPanel : public wxPanel {
  public:
    explicit LogPanel(wxWindow* parent);
    ~LogPanel() override;

    wxTextCtrl* GetText() const { return m_text; }

  private:
    wxTextCtrl* m_text = nullptr;
    wxLog* m_target = nullptr;  // ours while we are active
    wxLog* m_former = nullptr;
};
