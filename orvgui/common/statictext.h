#pragma once

#include <wx/stattext.h>

#include <functional>
#include <string>
#include <vector>

#include "orvgui/common/orvgui.h"

// A label that breaks its text to the width it was given, and asks for the height that this takes. The text
// is never mark-up and never holds a mnemonic, so texts that come from files can be shown as they stand. GUI
// thread.
//
// Its minimum width is that of the unbroken text, at most the maximum text width (320 pixels unless set); a
// sizer that gives it more room gets longer lines.
class ORVGUI_API OrvStaticText : public wxStaticText {
  public:
    OrvStaticText(wxWindow* parent, const wxString& text, int id = wxID_ANY);

    // The text as given, without the line breaks that were added. GetLabel() has those.
    const wxString& GetText() const { return m_text; }
    void SetText(const wxString& text);
    void SetMaximumTextWidth(int pixels);

    // In a cell that is higher than the text, the text stands in its middle instead of at its top.
    void CentreVertically();

    bool SetFont(const wxFont& font) override;

  private:
    void OnSize(wxSizeEvent& event);
    void Rewrap();

    wxString m_text;
    int m_maximumWidth = 320;
    int m_wrapWidth = -1;
    int m_naturalWidth = 0;
};

// The lines of a text none of which is wider than width, where a word allows it: breaks at blanks, inside
// words that are longer than a line, and at every line feed. extents gives, for a text, the width up to and
// including each of its characters. At least one line.
std::vector<wxString> WrapLines(const wxString& text, int width,
                                const std::function<std::vector<int>(const wxString&)>& extents);
