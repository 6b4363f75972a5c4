#pragma once

#include "orvgui/viewer/selectiongeometry.h"
#include "orvgui/viewer/toolpanel.h"

class NumberField;

// The selection rectangle of a viewer page, in image pixels: drawn, moved and resized with the mouse, or typed. It is outlined
// on every canvas of the page; Apply hands it to the parameters that follow it.
class ORVGUI_API SelectorPanel : public OrvToolPanelBase {
  public:
    SelectorPanel(wxWindow* parent, OrvViewerHost* page);

    void CreateControls() override;
    void ConfigureControls() override;  // ranges of the fields for the image shown
    void RefreshValues() override;
    void ClearValues() override;
    void ViewerMouseOn(wxMouseEvent& event, Canvas* canvas, bool useZoomCentre) override;

    // All zero when there is none.
    IntRect GetSelector(Canvas* canvas) const;
    bool IsSelector(Canvas* canvas) const;
    bool IsSelectorInCanvas(Canvas* canvas) const;  // the whole rectangle lies on the canvas's image
    // The rectangle between two corners, or from one with a size; clipped to the image. isSelection: outline it, otherwise it
    // is only shown in the fields.
    void SetSelector(IntPair topLeft, IntPair bottomRight, bool isSelection, Canvas* canvas);
    void SetSelector(IntPair point, int width, int height, bool isSelection, Canvas* canvas);
    RelativePosition GetMousePositionOnSelection(int x, int y, Canvas* canvas) const;
    void SetSelectorToDrag(int x, int y, RelativePosition position, Canvas* canvas);
    void DragSelector(IntPair& topLeft, IntPair& bottomRight, int x, int y) const;
    void SetCursorForPosition(RelativePosition position, Canvas* canvas);
    void ChangeValues();  // takes over what the fields say

    void OnApplySelection(wxCommandEvent& event);
    void OnZoomSelection(wxCommandEvent& event);
    void OnRemoveSelection(wxCommandEvent& event);

  private:
    NumberField* AddField(class wxSizer* sizer, const wxString& label, const wxString& toolTip);
    void Outline();

    IntRect m_selector;  // empty: none
    IntRect m_shown;     // what the fields show
    SelectionDrag m_drag;
    IntPair m_anchor{-1, -1};  // p0 of the drag under way
    bool m_isDrawing = false;  // a new rectangle grows until the release
    NumberField* m_x = nullptr;
    NumberField* m_y = nullptr;
    NumberField* m_width = nullptr;
    NumberField* m_height = nullptr;
};
