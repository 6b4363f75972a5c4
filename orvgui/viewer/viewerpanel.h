#pragma once

#include <wx/panel.h>

#include "orvgui/common/orvgui.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/viewmodes.h"

class wxStaticText;

// Window ids of the canvases: the first (left) and the second (right) one.
constexpr int kFirstCanvasId = 6000;
constexpr int kSecondCanvasId = 6001;

// The part of a viewer page that holds its canvases. A direct child of the page, so that a canvas finds the page three parents
// up. It puts images on the canvases and zooms them afresh or keeps the view; which images, the page decides. GUI thread.
class ORVGUI_API ViewerPanel : public wxPanel {
  public:
    explicit ViewerPanel(wxWindow* parent);

    virtual void ConfigureViewer(Image& first, Image& second) = 0;
    // Stores the page's images with the canvases.
    virtual void SetInputOutputImages(Image& evidenceInput, Image& evidenceOutput, Image& referenceInput,
                                      Image& referenceOutput) = 0;
    virtual void ResetImages() = 0;
    // The canvas that was used last leads where two are zoomed one after the other.
    virtual Canvas* FindCanvas(int id) = 0;
    // The quiet line above a canvas (0 or 1) that says what it shows. A sibling of the canvas's panel.
    virtual void SetCaption(int canvas, const wxString& text) = 0;

  protected:
    wxStaticText* CreateCaption();
    int GetCaptionHeight() const;
    // A panel of 1 x 1 pixels with a canvas that always fills it.
    wxPanel* CreateCanvasWin(int canvasId, bool isInput, bool isPlot, const wxString& name, Canvas*& canvas);
};

// One canvas.
class ORVGUI_API SingleViewerPanel : public ViewerPanel {
  public:
    SingleViewerPanel(wxWindow* parent, bool isPlot);

    void ConfigureViewer(Image& first, Image& second) override;
    void SetInputOutputImages(Image& evidenceInput, Image& evidenceOutput, Image& referenceInput,
                              Image& referenceOutput) override;
    void ResetImages() override { m_canvas->Reset(); }
    Canvas* FindCanvas(int id) override { return id == kFirstCanvasId ? m_canvas : nullptr; }
    void SetCaption(int canvas, const wxString& text) override;
    wxString GetCaption(int canvas) const;

    Canvas* GetCanvas() const { return m_canvas; }
    wxPanel* GetCanvasWin() const { return m_canvasWin; }
    CanvasProperties* GetCanvasProp() const { return m_canvas->GetProperties(); }

  private:
    Canvas* m_canvas = nullptr;
    wxPanel* m_canvasWin = nullptr;
    wxStaticText* m_caption = nullptr;
};

// Two canvases of exactly the same size side by side, or one of them alone.
class ORVGUI_API SplitterViewerPanel : public ViewerPanel {
  public:
    SplitterViewerPanel(wxWindow* parent, bool isPlot);

    void ConfigureViewer(Image& first, Image& second) override;
    void SetInputOutputImages(Image& evidenceInput, Image& evidenceOutput, Image& referenceInput,
                              Image& referenceOutput) override;
    void ResetImages() override;
    Canvas* FindCanvas(int id) override;
    void SetCaption(int canvas, const wxString& text) override;
    wxString GetCaption(int canvas) const;

    // Widths and places of the two panels for the layout; kept when the panel is resized.
    void SetLayout(ViewLayout layout);
    // The id of the canvas that leads when both are zoomed.
    void SetLeader(int id) { m_leader = id; }

    Canvas* GetCanvas1() const { return m_canvas1; }
    Canvas* GetCanvas2() const { return m_canvas2; }
    wxPanel* GetCanvasWin1() const { return m_canvasWin1; }
    wxPanel* GetCanvasWin2() const { return m_canvasWin2; }
    CanvasProperties* GetCanvasProp1() const { return m_canvas1->GetProperties(); }
    CanvasProperties* GetCanvasProp2() const { return m_canvas2->GetProperties(); }

  private:
    void LayOutPanels();

    Canvas* m_canvas1 = nullptr;
    Canvas* m_canvas2 = nullptr;
    wxPanel* m_canvasWin1 = nullptr;
    wxPanel* m_canvasWin2 = nullptr;
    wxStaticText* m_captions[2] = {nullptr, nullptr};
    ViewLayout m_layout = ViewLayout::First;
    int m_leader = kFirstCanvasId;
};
