#include "orvgui/pages/pageview.h"

#include <wx/weakref.h>

#include <algorithm>
#include <cmath>

#include "orvgui/pages/filterguiviewer.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/mappanel.h"
#include "orvgui/viewer/selectorpanel.h"
#include "orvgui/viewer/toolpanel.h"
#include "orvgui/viewer/windowproperties.h"
#include "orvgui/viewer/zoompanel.h"

namespace {

void ShowSelection(OrvToolPanel& tools, const Roi& selection, Canvas* canvas) {
    SelectorPanel* selector = tools.GetSelectorPanel();
    if (selector == nullptr) return;
    if (selection.IsEmpty()) {
        if (!selector->IsSelector(canvas)) return;
        wxCommandEvent none;
        selector->OnRemoveSelection(none);
    } else {
        selector->SetSelector(IntPair{selection.x, selection.y}, selection.width, selection.height, true,
                              canvas);
        selector->RefreshValues();
    }
}

// Zooming keeps the centre under the mouse, not in the middle of the view: what is left is scrolled, as if by the user.
void ScrollToCentre(Canvas& canvas, const OrvViewState& view, WindowProperties& shared) {
    constexpr int kTries = 3;
    for (int i = 0; i < kTries; ++i) {
        const IntPair now = canvas.GetViewCentre();
        const double units = view.zoom / std::max(shared.scrollRate, 1);
        const int right = static_cast<int>(std::lround((view.centreX - now.x) * units));
        const int down = static_cast<int>(std::lround((view.centreY - now.y) * units));
        if (right == 0 && down == 0) break;
        const wxPoint start = canvas.GetViewStart();
        canvas.ScrollTo(start.x + right, start.y + down);
    }
    const wxPoint start = canvas.GetViewStart();
    shared.scrollPosition = {start.x, start.y};
    shared.zoomCentre = {0, 0};
}

void ShowZoom(OrvFilterGuiViewer& page, const OrvViewState& view) {
    Canvas* canvas = page.GetCanvasFromActiveWin();
    OrvToolPanel* tools = page.GetOrvToolPanel();
    if (canvas == nullptr || tools == nullptr || !canvas->HasImage()) return;
    WindowProperties* shared = GetSharedWindowProperties();
    if (view.isFit) {
        page.WindowFit();
    } else if (shared != nullptr) {
        tools->GetZoomPanel()->SetZoom(static_cast<int>(std::lround(view.centreX)),
                                       static_cast<int>(std::lround(view.centreY)), view.zoom, canvas);
        ScrollToCentre(*canvas, view, *shared);
        tools->GetZoomPanel()->ShowFit(false);
        page.ViewChanged(false);
    }
    ShowSelection(*tools, view.selection, canvas);
}

}  // namespace

OrvViewState ReadPageView(OrvFilterGui* page) {
    OrvViewState view;
    auto* viewer = dynamic_cast<OrvFilterGuiViewer*>(page);
    OrvToolPanel* tools = viewer != nullptr ? viewer->GetOrvToolPanel() : nullptr;
    Canvas* canvas = tools != nullptr ? viewer->GetCanvasFromActiveWin() : nullptr;
    const WindowProperties* shared = GetSharedWindowProperties();
    if (canvas == nullptr || shared == nullptr || !canvas->HasImage()) return view;
    view.mode = tools->GetZoomPanel()->GetWindowSplitMode();
    view.isFit = tools->GetZoomPanel()->IsFitShown() || !(shared->zoom > 0.0);
    if (!view.isFit) {
        view.zoom = shared->zoom;
        const IntPair centre = canvas->GetViewCentre();
        view.centreX = centre.x;
        view.centreY = centre.y;
    }
    const IntRect selection = tools->GetSelectorPanel()->GetSelector(canvas);
    view.selection = {selection.x, selection.y, selection.width, selection.height};
    if (const MapPanel* maps = viewer->GetMapPanel(); maps != nullptr && maps->HasMaps()) {
        const MapDisplay& display = maps->GetDisplay();
        const OrvMap* map = maps->GetMap(OrvEvidence);
        if (map == nullptr) map = maps->GetMap(OrvReference);
        if (display.map > 0 && map != nullptr) view.map = map->name;
        view.mapOpacity = display.opacity;
        view.isMapBeyondOnly = display.beyondOnly;
    }
    return view;
}

void ShowPageView(OrvFilterGui* page, const OrvViewState& view) {
    auto* viewer = dynamic_cast<OrvFilterGuiViewer*>(page);
    OrvToolPanel* tools = viewer != nullptr ? viewer->GetOrvToolPanel() : nullptr;
    if (tools == nullptr) return;
    ZoomPanel* zoom = tools->GetZoomPanel();
    if (view.mode >= 0 && view.mode < zoom->GetWindowSplitChoices() &&
        view.mode != zoom->GetWindowSplitMode()) {
        zoom->SetWindowSplitVal(view.mode);
        viewer->WindowSplit();
    }
    if (MapPanel* maps = viewer->GetMapPanel(); maps != nullptr && maps->HasMaps()) {
        const MapDisplay display{maps->FindMap(view.map), view.mapOpacity, view.isMapBeyondOnly};
        if (!(display == maps->GetDisplay())) maps->SetDisplay(display);
    }
    // Another mode gives the canvases other sizes, which they learn from events that are on their way.
    const wxWeakRef<wxWindow> window(page);
    page->CallAfter([window, viewer, view] {
        if (window && window->IsShown()) ShowZoom(*viewer, view);
    });
}
