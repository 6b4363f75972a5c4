#pragma once

#include <wx/gbsizer.h>
#include <wx/string.h>
#include <wx/weakref.h>
#include <wx/window.h>

#include <vector>

#include "orvgui/common/orvgui.h"
#include "zorbase/parameter.h"
#include "zorimage/image.h"

// The widgets that show or edit one Parameter. A control makes its widgets when it is constructed, as
// children of the parent window, which owns them; the control itself belongs to whoever asked
// CreateParameterControl for it and must not be used once the parent is gone. It does not know the filter or
// the page. GUI thread only.
//
// Every change by the user is reported once, as a wxEVT_COMBOBOX to the parent window. Setting a value from
// code reports nothing.
class ORVGUI_API ParameterControl {
  public:
    ParameterControl(wxWindow* parent, const Parameter& parameter);
    virtual ~ParameterControl();
    ParameterControl(const ParameterControl&) = delete;
    ParameterControl& operator=(const ParameterControl&) = delete;

    // The main editing widget, null where there is none.
    virtual wxWindow* GetControl() { return nullptr; }
    // Shows this value. The parameter must be of the type that the control was made for.
    virtual void SetControlValue(const Parameter& parameter) = 0;
    // The pictures that the value's cells may name, before the value is set; for tables.
    virtual void SetThumbnails(const std::vector<Image>&) {}
    // The value now shown; the last valid one where the text in the field is no value.
    virtual Parameter GetControlValue() const = 0;
    // Drops what was typed but not taken, and shows the value again.
    virtual void DiscardEdit() {}

    // Shows or hides all widgets. A parameter that is hidden from the GUI stays hidden.
    virtual void Show(bool show);

    // The cell for the next control of a grid: the next column of row 0 when the grid is flexible in the
    // horizontal direction only, the next row of column 0 when it is flexible in both.
    static wxGBPosition GetControlPosition(wxGridBagSizer* sizer);
    // One value as text, for the types that are shown in one field.
    static wxString GetParameterAsString(const Parameter& parameter, bool reference);
    // What an empty value is shown as.
    static wxString GetPlaceholder();

  protected:
    void AddControl(wxGridBagSizer* sizer, wxWindow* window, const wxGBPosition& position,
                    const wxGBSpan& span = wxDefaultSpan);
    void AddLabel(wxGridBagSizer* sizer, wxWindow* window, const wxGBPosition& position,
                  const wxGBSpan& span = wxDefaultSpan);
    void AddLabelTop(wxGridBagSizer* sizer, wxWindow* window, const wxGBPosition& position,
                     const wxGBSpan& span = wxDefaultSpan);

    // Puts label and widget into the next cells of the grid: side by side where controls run downwards, the
    // label above the widget in one cell where they run from left to right. The label of a tall widget stands
    // at its top.
    enum class Height { Line, Tall };
    void Place(wxGridBagSizer* sizer, wxWindow* window, Height height = Height::Line);
    // The same for several widgets in one line or column; the sizer is taken over.
    void Place(wxGridBagSizer* sizer, wxSizer* content, Height height = Height::Line);
    // The same for a widget that keeps its own width however wide the column is.
    void PlaceCompact(wxGridBagSizer* sizer, wxWindow* window);
    // Makes a widget one that Show() reaches and gives it the parameter's tool tip.
    void Adopt(wxWindow* window);

    // Tells the parent that the user has changed the value.
    void PostControlEvent();

    wxWindow* m_parent;
    Parameter m_parameter;  // as it was last set, or last entered and accepted

  private:
    wxString GetLabelText() const;
    wxWindow* CreateLabel();
    wxGBPosition PlaceLabel(wxGridBagSizer* sizer, Height height);
    void PlaceColumn(wxGridBagSizer* sizer, wxSizer* content, Height height);

    std::vector<wxWeakRef<wxWindow>> m_windows;
};

// How many rows and columns the grid's children fill. The sizer's own counts are those of its last layout.
wxGBPosition CountCells(const wxGridBagSizer* sizer);

// The control for a parameter's type code, its widgets in place; owned by the caller. Null (and a failed
// assertion in debug builds) for a code without a control.
ORVGUI_API ParameterControl* CreateParameterControl(wxWindow* parent, wxGridBagSizer* sizer,
                                                    const Parameter& parameter);
