#pragma once

#include <vector>

#include <wx/tglbtn.h>

#include "orvgui/viewer/toolpanel.h"

class wxButton;
class wxChoice;
class wxScrollEvent;
class wxSlider;
class wxTextCtrl;

// The view choice and the zoom controls of a viewer page, and what mouse clicks and wheel turns on a canvas mean for the
// zoom. Zooms are 1 for 100 %, steps and typed values percent.
class ORVGUI_API ZoomPanel : public OrvToolPanelBase {
  public:
    ZoomPanel(wxWindow* parent, OrvViewerHost* page);

    void Init();  // fills the step table
    void CreateControls() override;
    void RefreshValues() override;
    void ClearValues() override;
    void ViewerMouseOn(wxMouseEvent& event, Canvas* canvas, bool useZoomCentre) override;

    const std::vector<double>& GetDefaultZoom() const { return m_defaultZoom; }
    int GetNearestZoomId(double percent) const;
    // -1.0 when there is no further step. useCurrent: the current zoom unchanged.
    double GetNextPreviousZoom(int step, Canvas* canvas, bool useCurrent);
    double GetNextZoom(Canvas* canvas, bool useCurrent) { return GetNextPreviousZoom(1, canvas, useCurrent); }
    double GetPreviousZoom(Canvas* canvas, bool useCurrent) {
        return GetNextPreviousZoom(-1, canvas, useCurrent);
    }

    void SetZoom(int x, int y, double zoom, Canvas* canvas);
    void SetZoomCenter(double zoom, Canvas* canvas);
    void ZoomIn(int x, int y, Canvas* canvas, bool useCurrent);
    void ZoomOut(int x, int y, Canvas* canvas, bool useCurrent);
    void ZoomPlus(Canvas* canvas, bool useCurrent);
    void ZoomMinus(Canvas* canvas, bool useCurrent);
    void Zoom100(Canvas* canvas);
    // What was typed; a text that is no zoom is refused by restoring the field.
    void ZoomEnter(const wxString& text, Canvas* canvas);
    void ZoomSlider(double step, Canvas* canvas);  // index into the step table

    int GetWindowSplitChoices() const;
    int GetWindowSplitMode() const;  // -1 when nothing is chosen
    void SetWindowSplitVal(int mode);
    void SetZoomChoices(const wxString& kind);  // "image" or "plot": the entries of the view choice
    wxTextCtrl* GetZoomField() const { return m_zoomText; }
    wxChoice* GetViewChoice() const { return m_viewChoice; }

    void OnWindowSplit(wxCommandEvent& event);
    void OnWindowSwap(wxMouseEvent& event);
    void OnZoom100(wxCommandEvent& event);
    void OnZoomEnter(wxCommandEvent& event);
    void OnZoomFit(wxCommandEvent& event);
    void ClearWindowSplitVal();  // nothing is chosen
    void ShowFit(bool isFit);    // whether the button looks pressed
    bool IsFitShown() const { return m_fitButton->GetValue(); }
    void OnZoomMinus(wxCommandEvent& event);
    void OnZoomPlus(wxCommandEvent& event);
    void OnZoomSelect(wxFocusEvent& event);
    void OnZoomSlider(wxScrollEvent& event);
    void OnZoomKey(wxKeyEvent& event);      // in the field: arrows step
    void OnZoomWheel(wxMouseEvent& event);  // over the field
    int GetWantedWidth() override;

  private:
    struct MouseState;
    static MouseState m_mouse;  // as it was last read, shared by all zoom panels

    wxButton* AddButton(class wxSizer* sizer, const wxString& label, const wxString& toolTip);

    std::vector<double> m_defaultZoom;
    IntPair m_dragStart{-1, -1};  // image points
    IntPair m_dragEnd{-1, -1};
    bool m_dragging = false;
    wxButton* m_swapButton = nullptr;
    wxToggleButton* m_fitButton = nullptr;
    wxChoice* m_viewChoice = nullptr;
    int m_choiceWidth = 0;  // of its longest entry
    wxTextCtrl* m_zoomText = nullptr;
    wxSlider* m_slider = nullptr;
};
