#pragma once

#include <wx/frame.h>

#include <string>

#include "orvgui/common/orvgui.h"

class wxHtmlWindow;

// The manual in a window of its own beside the main window, whose child it is: one per main window, made at the first call for help,
// hidden when it is closed. GUI thread.
class OrvHelpWindow : public wxFrame {
  public:
    // Shows the manual at the part on this filter; at its beginning for "" or a filter that it does not know. Where there is no manual
    // the window says so.
    static OrvHelpWindow* ShowHelp(wxWindow* parent, const std::string& filterId);

    explicit OrvHelpWindow(wxWindow* parent);
    void ShowSection(const std::string& filterId);
    wxHtmlWindow* GetPage() const { return m_page; }

  private:
    wxHtmlWindow* m_page;
    std::string m_filterId;  // whose part is shown
    bool m_isPainted = false;
};
