#pragma once

#include <wx/button.h>
#include <wx/weakref.h>

#include "orvgui/controls/parametercontrolentry.h"

// How results are shown as text. Evidence and reference value stand in one field, " / " between them, in red
// when they differ. A text that is longer than its field gets a button that opens it in full. GUI thread.

// Whether a text is read by its columns: hexadecimal digests and dumps, tables lined up with blanks.
bool NeedsFixedPitch(const wxString& text);

// One line of text, shown (readOnly) or edited.
class ParameterControlString : public ParameterControlEntry {
  public:
    ParameterControlString(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter,
                           bool readOnly);
    ~ParameterControlString() override;

    void SetControlValue(const Parameter& parameter) override;
    void Show(bool show) override;
    // Opens the whole text in a dialog.
    void OnButtonView(wxCommandEvent& event);

  protected:
    bool ParseText(const wxString& text, Parameter& parameter) const override;
    wxString FormatText(const Parameter& parameter) const override;
    // Numbers are aligned right in a field of fixed width.
    enum class Content { Text, Numbers };
    ParameterControlString(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter, bool readOnly,
                           Content content);

  private:
    void UpdateViewButton();

    wxSizer* m_row = nullptr;  // holds the field, and the button once it is needed
    // How often the button came or went for this text in a window of this width.
    wxString m_judgedText;
    int m_judgedWidth = 0;
    int m_turns = 0;
    wxWeakRef<wxButton> m_view;  // shown only beside a text that does not fit
    wxString m_fullText;
    bool m_readOnly;
    bool m_red = false;
    bool m_fixedPitch = false;
};

class ParameterControlInputString : public ParameterControlString {
  public:
    ParameterControlInputString(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter)
        : ParameterControlString(parent, sizer, parameter, false) {}
};

class ParameterControlOutputString : public ParameterControlString {
  public:
    ParameterControlOutputString(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter)
        : ParameterControlString(parent, sizer, parameter, true) {}
};

class ParameterControlOutputInt64 : public ParameterControlString {
  public:
    ParameterControlOutputInt64(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter);
};

class ParameterControlOutputDateTime : public ParameterControlString {
  public:
    ParameterControlOutputDateTime(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter)
        : ParameterControlString(parent, sizer, parameter, true) {}
};

class ParameterControlOutputImageResolution : public ParameterControlString {
  public:
    ParameterControlOutputImageResolution(wxWindow* parent, wxGridBagSizer* sizer,
                                          const Parameter& parameter);
};

// A text of many lines, read-only; of two texts the lines that differ are red. The field grows with the text up to a limit, then scrolls.
class ParameterControlOutputText : public ParameterControl {
  public:
    ParameterControlOutputText(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter);

    wxWindow* GetControl() override;
    void SetControlValue(const Parameter& parameter) override;
    Parameter GetControlValue() const override { return m_parameter; }
    // Text of more lines scrolls in its field. Whether the field asks for another height now.
    bool SetMaximumLines(int lines);

  private:
    void MarkDifferingLines(const wxString& evidence);
    bool FitHeight();

    wxTextCtrl* m_field;
    int m_maximumLines;
    wxString m_shownText;
    bool m_shownRed = false;
};

// A list of texts, one per line, edited as a whole: taken when the field is left or Ctrl+Enter is pressed.
class ParameterControlVectorString : public ParameterControl {
  public:
    ParameterControlVectorString(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter);

    wxWindow* GetControl() override;
    void SetControlValue(const Parameter& parameter) override;
    Parameter GetControlValue() const override;
    void DiscardEdit() override;

  protected:
    ParameterControlVectorString(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter,
                                 bool readOnly);

  private:
    void Commit();

    wxTextCtrl* m_field;
    wxString m_shownText;
};

// The same, only shown.
class ParameterControlOutputVectorString : public ParameterControlVectorString {
  public:
    ParameterControlOutputVectorString(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter)
        : ParameterControlVectorString(parent, sizer, parameter, true) {}
};
