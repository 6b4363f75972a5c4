#pragma once

#include <map>
#include <memory>
#include <vector>

#include "orvgui/common/orvgui.h"
#include "orvgui/pages/filtergui.h"
#include "orvgui/viewer/derivedpictures.h"
#include "orvgui/viewer/viewerhost.h"

class ComparePanel;
class DescriptionPanel;
class MapPanel;
class NavigatorCanvas;
class PlotPanel;
class SideSection;
class ViewerPanel;
class ZoomPanel;

// The page of a filter whose results are images: a strip of tools above, the canvases, and beside them description,
// parameters, results and (on double pages) the overview. What a mouse event, a key or a new result means for the canvases is
// decided here; zoom and offset live in the record that all canvases share. GUI thread.
//
// Everything returns without effect while the page is not built or shows no image.
class ORVGUI_API OrvFilterGuiViewer : public OrvFilterGui, public OrvViewerHost {
  public:
    OrvFilterGuiViewer(wxWindow* parent, OrvFilter* filter);
    ~OrvFilterGuiViewer() override;

    // Hooks of the page base.
    void CreateControlsDescription() override {}
    void CreateControlsInput() override;
    void CreateControlsPostProcessing() override;
    void CreateControlsOutput() override;
    void CreateControlsCustom() override;
    void UpdateControlsCustom() override;
    void RefreshControlsCustom() override;
    void RefreshViewerPanel() override;
    void ResetViewerPanel() override;
    // mode -1: what the view choice says. Called after every new result and change of files.
    void ConfigureViewer(int mode, bool keepUnprocessed) override;
    // The user has chosen another view.
    void WindowSplit() override;
    Image& GetDisplayedImage() override;

    virtual void CreateViewerPanel() = 0;
    virtual Canvas* GetCanvasFromNotActiveWin() { return nullptr; }
    virtual bool IsSingleViewer() const { return true; }
    virtual bool IsOutputWin() { return true; }  // the active canvas shows a processed image
    void ViewerScroll(wxScrollWinEvent& event, Canvas* canvas) override;
    bool ViewerKey(wxKeyEvent& event, Canvas* canvas) override;
    void ViewerResized(Canvas* canvas) override;
    void ViewerMouseLeft() override;
    void WindowFit() override;
    void MixPictures(int percent) override;
    void ZoomToSelection() override;
    virtual void WindowSplit(int /*mode*/) {}
    virtual void WindowSync() {}
    void WindowSwap(int /*phase*/) override {}
    void Zoom100() override;
    void ZoomEnter(const wxString& text) override;
    void ZoomMinus() override;
    void ZoomPlus() override;
    void ZoomSlider(int step) override;
    void ApplySelection(const Roi& region) override { OrvFilterGui::ApplySelection(region); }
    wxString GetFilterDescription() const override { return m_filter->GetDescription(); }
    wxString DescribeMap(const Canvas* canvas, int x, int y) const override;
    void SelectionChanged(const Roi& region) override;
    void MapDisplayChanged() override;
    void SetMapRange(const std::string& map, const std::optional<OrvRange>& range) override;
    virtual void ZoomNavigatorMouseOn(wxMouseEvent&) {}
    virtual void ZoomNavigatorPaint(wxPaintEvent&) {}

    // The two images of a view mode; a mode outside 0..9 leaves them unchanged. The difference of large images is worked out in
    // the background and put on its canvas when it is there.
    void GetInputOutputImages(Image& first, Image& second, int mode, int choiceCount);

    OrvToolPanel* GetOrvToolPanel() const override { return m_toolPanel; }
    ViewerPanel* GetViewerPanel() const { return m_viewerPanel; }
    NavigatorCanvas* GetNavigator() const { return m_navigator; }
    MapPanel* GetMapPanel() const { return m_mapPanel; }
    ComparePanel* GetComparePanel() const { return m_comparePanel; }
    std::vector<Canvas*> GetCanvases() const override;
    int GetActiveWinId() const { return m_activeWinId; }
    void SetActiveWinId(int id) { m_activeWinId = id; }
    // After anything that moved or zoomed the active canvas: brings the other half, the controls and the status bar in line.
    void ViewChanged(bool scrolled);
    void ShowSidePanel(bool show) override;
    void SetSideWidth(int width);  // as if the user had dragged the edge; pixels, within what the page allows
    // The sections of the panel beside the canvases in their order; null for one that the page has no use for.
    const std::vector<SideSection*>& GetSideSections() const { return m_sections; }
    void SetNavigatorHeight(int height);  // as if the user had dragged its edge; the width follows

  protected:
    // Applies a zoom operation to the active canvas, then brings the other half in line.
    template <typename Operation>
    void ApplyZoom(const Operation& operation);
    // The canvas that operations act on: the active one, or the other one where the active one has nothing to show.
    Canvas* GetLeadCanvas();
    void TakeFocus(Canvas* canvas);
    // Whether the whole picture was fitted and not zoomed since: it then stays fitted through changes of size, mode and page.
    static bool IsFit();
    void NoteFit();
    // Fits again after a change of size, where the picture was fitted before.
    void KeepFit();
    // The overview takes the shape of the picture that it shows.
    void FitNavigator();
    bool IsMixed() const { return m_mixPercent > 0; }

    OrvToolPanel* m_toolPanel = nullptr;
    ViewerPanel* m_viewerPanel = nullptr;
    NavigatorCanvas* m_navigator = nullptr;
    int m_activeWinId;

  private:
    void CreateSidePanel();
    void OnPageSize(wxSizeEvent& event);
    bool ScrollByKey(int key, bool fine, Canvas* canvas);
    void NarrowTables();
    int SideWidthWithin(int width) const;
    void LayoutSide();  // after a section became higher or lower, came or went
    void ShowMaps();
    void ShowPlots();
    PlotPanel* AddPlot();
    SideSection* AddSection(std::size_t place);
    // What the user has made of the panel, kept over a restart.
    void KeepSide();
    void StoreSide();
    void RestoreSide();
    void ShowMarks();
    void ShowCaptions();
    void ShowCompare();
    void ShowMix(const Image& first, const Image& second, int percent);
    bool IsSwapped(const Canvas& canvas) const;
    Image ProcessedImage(OrvFileId slot);
    const OrvMap* MapOnCanvas(const Canvas* canvas) const;

    static constexpr int kMinimumSide =
        300;  // pixels that a page, and beside the side panel the picture, keeps

    wxWindow* m_sidePanel = nullptr;
    wxWindow* m_sideEdge = nullptr;
    int m_sideWidthBefore = 0;   // before the edge was dragged
    int m_sideWanted = 0;        // pixels that its controls ask for
    bool m_isSideSized = false;  // by the user
    wxScrolledWindow* m_sideScroll = nullptr;
    wxWindow* m_sideContent = nullptr;  // everything in it
    wxString m_differenceMessage;       // why there is no difference to see, "" when there is
    DerivedPictures m_derived;
    MapPanel* m_mapPanel = nullptr;
    ComparePanel* m_comparePanel = nullptr;
    BackgroundTask m_mixTask{*this};
    int m_mixPercent = 0;  // of the other picture, as the canvases show it now
    wxSizer* m_sideList = nullptr;
    // Places of sections that are not plots, which come behind them.
    enum Section : std::size_t { kDescription, kMap, kParameters, kResults, kCompare, kFirstPlot };
    std::vector<SideSection*> m_sections;
    std::vector<int> m_keptHeights;  // of sections, as the user left them
    int m_keptWidth = 0;             // of the panel, likewise; 0 for none
    bool m_isSideChanged = false;    // since it was stored
    int m_navigatorWidth = 0;        // pixels, as the user left it; 0 for the usual one
    wxSize m_navigatorBefore;        // before its edge was dragged
    wxWindow* m_navigatorEdge = nullptr;
    DescriptionPanel* m_description = nullptr;
    std::map<wxWindow*, int> m_tableHeights;  // that tables ask for, pixels
    // The plots of the result, small; those that are not needed are hidden.
    struct SmallPlot {
        PlotPanel* panel = nullptr;
        OrvPlotData data;
        OrvFileId slot = OrvEvidence;
    };
    std::vector<SmallPlot> m_plots;
    // What the two canvases show: the slot, and whether it is the processed picture.
    struct Shown {
        OrvFileId slot = OrvEvidence;
        bool isProcessed = false;
        bool isDifference = false;
    };
    Shown m_shown[2];
    bool m_hadReference = false;  // at the last update
    bool m_isViewChosen = false;  // by the user, on this page
    static double m_fitZoom;      // of the last fit, shared like the zoom itself; -1 for none
};

// One canvas: the processed image.
class ORVGUI_API OrvFilterGuiViewerSingle : public OrvFilterGuiViewer {
  public:
    OrvFilterGuiViewerSingle(wxWindow* parent, OrvFilter* filter) : OrvFilterGuiViewer(parent, filter) {}

    void CreateViewerPanel() override;
    Canvas* GetCanvasFromActiveWin() override;
    void ViewerMouseOn(wxMouseEvent& event, Canvas* canvas) override;
};

// Two canvases: alone, side by side in step, or one swapped for the other while the right button is held.
class ORVGUI_API OrvFilterGuiViewerDouble : public OrvFilterGuiViewer {
  public:
    OrvFilterGuiViewerDouble(wxWindow* parent, OrvFilter* filter, bool isPlot = false)
        : OrvFilterGuiViewer(parent, filter), m_isPlot(isPlot) {}

    void CreateViewerPanel() override;
    Canvas* GetCanvasFromActiveWin() override;
    Canvas* GetCanvasFromNotActiveWin() override;
    bool IsSingleViewer() const override { return false; }
    bool IsOutputWin() override;
    void ViewerMouseOn(wxMouseEvent& event, Canvas* canvas) override;
    void ViewerScroll(wxScrollWinEvent& event, Canvas* canvas) override;
    bool ViewerKey(wxKeyEvent& event, Canvas* canvas) override;
    void ViewerResized(Canvas* canvas) override;
    void ViewerMouseLeft() override;
    using OrvFilterGuiViewer::WindowSplit;
    void WindowSplit(int mode) override;
    void WindowSync() override;
    void WindowSwap(int phase) override;
    void ZoomNavigatorMouseOn(wxMouseEvent& event) override;
    void ZoomNavigatorPaint(wxPaintEvent& event) override;

  private:
    class SplitterViewerPanel* Splitter() const;

    bool m_isPlot;
    static bool m_isSwapping;  // by the right button
    bool m_isKeySwapDown = false;
    long m_keySwapStart = 0;  // time stamp of the key event, ms
};

// The viewer page around the control that an event comes from; null when there is none.
ORVGUI_API OrvFilterGuiViewer* GetOrvFilterGuiViewerFromCtrlEventObject(wxEvent& event);
