#pragma once

#include <wx/panel.h>

#include <vector>

#include "orvgui/common/orvgui.h"
#include "orvgui/viewer/striplayout.h"
#include "orvgui/viewer/windowproperties.h"

class Canvas;
class InspectorPanel;
class OrvViewerHost;
class OrvToolPanel;
class OutputsPanel;
class SelectorPanel;
class SettingsPanel;
class ZoomPanel;
class wxBitmapToggleButton;

// What the left mouse button does on a canvas.
enum class OrvTool : int {
    Navigate,  // a click zooms, a drag moves the picture
    Select,    // a drag draws, moves or resizes the selection
};

// One of the small panels that act on a page's canvases. Every panel sees every mouse event of the canvases; one that is not
// chosen leaves the left button alone. GUI thread.
class ORVGUI_API OrvToolPanelBase : public wxPanel {
  public:
    OrvToolPanelBase(wxWindow* parent, OrvViewerHost* page);

    virtual void CreateControls() {}
    virtual void ConfigureControls() {}
    virtual void RefreshValues() {}  // shows the state as it is now; reports nothing
    virtual void ClearValues() {}
    // mirrored: the canvas is the other half of a synchronised view, the event happened on the first one.
    virtual void ViewerMouseOn(wxMouseEvent&, Canvas*, bool /*mirrored*/) {}
    // Whether the strip may leave it out where it would take a row of its own.
    virtual bool IsExtra() const { return false; }
    // The width in pixels from which on more has no use; the least one is the panel's best width.
    virtual int GetWantedWidth() { return GetBestSize().x; }

    OrvViewerHost* GetPage() const { return m_page; }

  protected:
    bool IsToolChosen(OrvTool tool) const;
    // The strip lays itself out anew, with the page below it.
    void FitStrip();

    OrvViewerHost* m_page;
};

// The strip of tools of one viewer page: one row where the page is wide enough, else as many as it takes.
class ORVGUI_API OrvToolPanel : public OrvToolPanelBase {
  public:
    OrvToolPanel(wxWindow* parent, OrvViewerHost* page);

    void CreateControls() override;
    void ConfigureControls() override;
    void RefreshValues() override;
    void ClearValues() override;
    void ViewerMouseOn(wxMouseEvent& event, Canvas* canvas, bool mirrored) override;
    bool Layout() override;

    // Layout of the two canvas panels.
    void Window1Unsplit(wxWindow* first, wxWindow* second);
    void Window2Unsplit(wxWindow* first, wxWindow* second);
    void WindowSplitVertically(wxWindow* first, wxWindow* second);
    // Phase 1 shows the other canvas's image in the canvas, phase 2 its own again. Whether a swap took place.
    bool WindowSwap(Canvas* canvas, Canvas* other, int phase, bool isOutputWin);
    // Swaps both, or both back.
    bool WindowSwap(Canvas* canvas, Canvas* other);
    // Brings the second canvas to the view of the first.
    void WindowSync(Canvas* canvas, Canvas* other);
    void WindowFit(Canvas* canvas);

    ZoomPanel* GetZoomPanel() const { return m_zoomPanel; }
    SelectorPanel* GetSelectorPanel() const { return m_selectorPanel; }
    InspectorPanel* GetInspectorPanel() const { return m_inspectorPanel; }
    SettingsPanel* GetSettingsPanel() const { return m_settingsPanel; }
    OutputsPanel* GetOutputsPanel() const { return m_outputsPanel; }
    // The panels beside the canvases, where the page has them; owned by their parent window.
    void SetSettingsPanel(SettingsPanel* panel) { m_settingsPanel = panel; }
    void SetOutputsPanel(OutputsPanel* panel) { m_outputsPanel = panel; }

    OrvTool GetTool() const { return m_tool; }
    void SetTool(OrvTool tool);
    // Height that the strip takes at this width.
    int HeightForWidth(int width) const;
    int CountRows() const;  // at the width that it has

  private:
    void OnTool(wxCommandEvent& event);
    void OnSidePanel(wxCommandEvent& event);
    StripPlaces PlaceGroups(int width) const;

    std::vector<OrvToolPanelBase*> AllPanels() const;

    OrvTool m_tool = OrvTool::Navigate;
    ZoomPanel* m_zoomPanel = nullptr;
    SelectorPanel* m_selectorPanel = nullptr;
    InspectorPanel* m_inspectorPanel = nullptr;
    SettingsPanel* m_settingsPanel = nullptr;
    OutputsPanel* m_outputsPanel = nullptr;
    OrvToolPanelBase* m_tools = nullptr;
    wxBitmapToggleButton* m_navigateButton = nullptr;
    wxBitmapToggleButton* m_selectButton = nullptr;
    wxBitmapToggleButton* m_sideButton = nullptr;
};
