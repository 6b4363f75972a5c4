// The two kinds of viewer pages: one canvas, and two canvases in step.

#include <wx/dcclient.h>

#include "orvgui/pages/filterguiviewer.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/navigatorcanvas.h"
#include "orvgui/viewer/toolpanel.h"
#include "orvgui/viewer/viewerpanel.h"

namespace {

constexpr long kTapMs = 350;  // a key held longer than this swaps only while it is held

}  // namespace

bool OrvFilterGuiViewerDouble::m_isSwapping = false;

void OrvFilterGuiViewerSingle::CreateViewerPanel() {
    m_viewerPanel = new SingleViewerPanel(this, false);
}

Canvas* OrvFilterGuiViewerSingle::GetCanvasFromActiveWin() {
    return m_viewerPanel ? m_viewerPanel->FindCanvas(kFirstCanvasId) : nullptr;
}

void OrvFilterGuiViewerSingle::ViewerMouseOn(wxMouseEvent& event, Canvas* canvas) {
    if (canvas == nullptr || m_toolPanel == nullptr) return;
    TakeFocus(canvas);
    m_toolPanel->ViewerMouseOn(event, canvas, false);
    ViewChanged(false);
    if (event.GetEventType() != wxEVT_MOUSEWHEEL) event.Skip();
}

SplitterViewerPanel* OrvFilterGuiViewerDouble::Splitter() const {
    return static_cast<SplitterViewerPanel*>(m_viewerPanel);
}

void OrvFilterGuiViewerDouble::CreateViewerPanel() {
    m_viewerPanel = new SplitterViewerPanel(this, m_isPlot);
}

Canvas* OrvFilterGuiViewerDouble::GetCanvasFromActiveWin() {
    return m_viewerPanel ? m_viewerPanel->FindCanvas(m_activeWinId) : nullptr;
}

Canvas* OrvFilterGuiViewerDouble::GetCanvasFromNotActiveWin() {
    if (m_viewerPanel == nullptr) return nullptr;
    return m_viewerPanel->FindCanvas(m_activeWinId == kFirstCanvasId ? kSecondCanvasId : kFirstCanvasId);
}

bool OrvFilterGuiViewerDouble::IsOutputWin() {
    const Canvas* canvas = GetCanvasFromActiveWin();
    return canvas != nullptr && !canvas->IsInput();
}

void OrvFilterGuiViewerDouble::WindowSplit(int mode) {
    WindowProperties* shared = GetSharedWindowProperties();
    if (m_viewerPanel == nullptr || m_toolPanel == nullptr || shared == nullptr) return;
    wxPanel* first = Splitter()->GetCanvasWin1();
    wxPanel* second = Splitter()->GetCanvasWin2();
    shared->splitMode = mode;
    const ViewLayout layout = LayoutOfMode(mode);
    switch (layout) {
        case ViewLayout::First:
            m_toolPanel->Window1Unsplit(first, second);
            break;
        case ViewLayout::Second:
            m_toolPanel->Window2Unsplit(first, second);
            break;
        case ViewLayout::Split:
            m_toolPanel->WindowSplitVertically(first, second);
            break;
    }
    m_activeWinId = layout == ViewLayout::Second ? kSecondCanvasId : kFirstCanvasId;
    shared->syncViews = layout == ViewLayout::Split;
    Splitter()->SetLeader(m_activeWinId);
    Splitter()->SetLayout(layout);
    PostSizeEvent();
}

void OrvFilterGuiViewerDouble::WindowSync() {
    if (m_toolPanel == nullptr) return;
    // The canvas in use leads: its offset and its place count.
    Canvas* leader = GetCanvasFromActiveWin();
    Canvas* other = GetCanvasFromNotActiveWin();
    if (leader == nullptr || other == nullptr) return;
    if (!leader->HasImage()) std::swap(leader, other);
    leader->CalculateOffset();
    const WindowProperties* shared = GetSharedWindowProperties();
    int rateX = 0;
    int rateY = 0;
    leader->GetScrollPixelsPerUnit(&rateX, &rateY);
    if (shared != nullptr && rateX != shared->scrollRate) leader->FollowZoom(leader->GetViewStart());
    m_toolPanel->WindowSync(leader, other);
    // Scroll bars come and go a moment later, and not on both at once: until then one half may reach less far than the other.
    const bool isSameSize = leader->GetProperties()->GetPixelSize() == other->GetProperties()->GetPixelSize();
    if (isSameSize && other->GetViewStart() != leader->GetViewStart()) {
        const wxPoint reached = other->GetViewStart();
        leader->ScrollTo(reached.x, reached.y);
    }
}

void OrvFilterGuiViewerDouble::WindowSwap(int phase) {
    Canvas* canvas = GetCanvasFromActiveWin();
    Canvas* other = GetCanvasFromNotActiveWin();
    const WindowProperties* shared = GetSharedWindowProperties();
    if (canvas == nullptr || other == nullptr || m_toolPanel == nullptr || shared == nullptr) return;
    // Mixed pictures have a share of both already.
    if (IsMixed()) return;
    const bool isOutput = IsOutputWin();
    m_toolPanel->WindowSwap(canvas, other, phase, isOutput);
    if (shared->syncViews || phase == 2) m_toolPanel->WindowSwap(other, canvas, phase, !isOutput);
    ViewChanged(false);
}

void OrvFilterGuiViewerDouble::ViewerMouseOn(wxMouseEvent& event, Canvas* canvas) {
    if (canvas == nullptr) {
        wxFAIL_COND_MSG("canvas", "OrvFilterGuiViewerDouble::ViewerMouseOn");
        return;
    }
    if (!IsTopWindow() || m_toolPanel == nullptr) return;
    TakeFocus(canvas);
    const bool isOther = m_activeWinId != canvas->GetId();
    m_activeWinId = canvas->GetId();
    Splitter()->SetLeader(m_activeWinId);
    if (isOther) FitNavigator();
    const WindowProperties* shared = GetSharedWindowProperties();
    if (!event.RightUp() && (event.RightDown() || event.RightDClick() || event.RightIsDown())) {
        if (!m_isSwapping) {
            m_isSwapping = true;
            WindowSwap(1);
        }
        return;
    }
    if (m_isSwapping) {
        m_isSwapping = false;
        WindowSwap(2);
        if (event.RightUp()) return;
    }
    const wxPoint before = canvas->GetViewStart();
    m_toolPanel->ViewerMouseOn(event, canvas, false);
    if (shared != nullptr && shared->syncViews && event.LeftIsDown() && !event.LeftUp()) {
        if (Canvas* other = GetCanvasFromNotActiveWin()) m_toolPanel->ViewerMouseOn(event, other, true);
    }
    const bool isWheel = event.GetEventType() == wxEVT_MOUSEWHEEL;
    if (isWheel || event.IsButton() || canvas->GetViewStart() != before) ViewChanged(false);
    // A wheel turn that has zoomed must not scroll too.
    if (!isWheel) event.Skip();
}

void OrvFilterGuiViewerDouble::ViewerMouseLeft() {
    OrvFilterGuiViewer::ViewerMouseLeft();
    if (!m_isSwapping) return;
    m_isSwapping = false;
    WindowSwap(2);
}

void OrvFilterGuiViewerDouble::ViewerScroll(wxScrollWinEvent& event, Canvas* canvas) {
    if (canvas == nullptr || !canvas->HasImage()) return;
    m_activeWinId = canvas->GetId();
    canvas->HandleOnScroll(event);
    ViewChanged(true);
}

void OrvFilterGuiViewerDouble::ViewerResized(Canvas* canvas) {
    OrvFilterGuiViewer::ViewerResized(canvas);
    const WindowProperties* shared = GetSharedWindowProperties();
    if (shared == nullptr || canvas == nullptr || !shared->syncViews) return;
    WindowSync();
    if (m_navigator != nullptr) m_navigator->Refresh(false);
}

bool OrvFilterGuiViewerDouble::ViewerKey(wxKeyEvent& event, Canvas* canvas) {
    const bool isX = event.GetKeyCode() == 'X' || event.GetKeyCode() == 'x';
    if (isX && !event.ControlDown() && !event.AltDown() && !event.MetaDown()) {
        // A tap swaps until the next one, a longer press only while it lasts.
        if (event.GetEventType() == wxEVT_KEY_DOWN && !m_isKeySwapDown) {
            m_isKeySwapDown = true;
            m_keySwapStart = event.GetTimestamp();
            m_activeWinId = canvas->GetId();
            WindowSwap(canvas->IsShowingOther() ? 2 : 1);
        } else if (event.GetEventType() == wxEVT_KEY_UP) {
            m_isKeySwapDown = false;
            if (event.GetTimestamp() - m_keySwapStart > kTapMs) WindowSwap(2);
        }
        return true;
    }
    return OrvFilterGuiViewer::ViewerKey(event, canvas);
}

void OrvFilterGuiViewerDouble::ZoomNavigatorMouseOn(wxMouseEvent& event) {
    Canvas* canvas = GetLeadCanvas();
    NavigatorCanvas* navigator = GetNavigatorCanvasFromEventObject(event);
    if (navigator == nullptr || canvas == nullptr) return;
    navigator->MouseEvent(event, canvas);
    ViewChanged(false);
    event.Skip();
}

void OrvFilterGuiViewerDouble::ZoomNavigatorPaint(wxPaintEvent& event) {
    NavigatorCanvas* navigator = GetNavigatorCanvasFromEventObject(event);
    if (navigator == nullptr) return;
    wxPaintDC dc(navigator);
    if (Canvas* canvas = GetLeadCanvas()) navigator->Paint(canvas, &dc, wxRect(navigator->GetClientSize()));
}
