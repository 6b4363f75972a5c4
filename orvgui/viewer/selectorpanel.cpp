#include "orvgui/viewer/selectorpanel.h"

#include <wx/bmpbuttn.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include <algorithm>

#include "orvgui/common/accessible.h"
#include "orvgui/common/icons.h"
#include "orvgui/common/numberfield.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/viewerhost.h"
#include "zorbase/roi.h"

namespace {

constexpr int kGap = 4;
constexpr int kDigits = 5;
constexpr int kIcon = 16;

wxStockCursor CursorFor(RelativePosition position) {
    switch (position) {
        case RelativePosition::Inside:
            return wxCURSOR_SIZING;
        case RelativePosition::Top:
        case RelativePosition::Bottom:
            return wxCURSOR_SIZENS;
        case RelativePosition::Left:
        case RelativePosition::Right:
            return wxCURSOR_SIZEWE;
        case RelativePosition::TopLeft:
        case RelativePosition::BottomRight:
            return wxCURSOR_SIZENWSE;
        case RelativePosition::TopRight:
        case RelativePosition::BottomLeft:
            return wxCURSOR_SIZENESW;
        case RelativePosition::None:
        case RelativePosition::Outside:
            break;
    }
    return wxCURSOR_CROSS;
}

wxRect ToWxRect(const IntRect& rect) {
    return {rect.x, rect.y, rect.width, rect.height};
}

IntPair ImageSize(Canvas* canvas) {
    return canvas->GetProperties()->GetPixelSize();
}

}  // namespace

SelectorPanel::SelectorPanel(wxWindow* parent, OrvViewerHost* page) : OrvToolPanelBase(parent, page) {}

NumberField* SelectorPanel::AddField(wxSizer* sizer, const wxString& label, const wxString& toolTip) {
    sizer->Add(new wxStaticText(this, wxID_ANY, label), 0, wxALIGN_CENTER_VERTICAL | wxLEFT, kGap);
    auto* field = new NumberField(this, kDigits, [this] { ChangeValues(); });
    field->SetToolTip(toolTip);
    SetAccessibleName(field, toolTip);
    sizer->Add(field, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, kGap / 2);
    return field;
}

void SelectorPanel::CreateControls() {
    auto* sizer = new wxBoxSizer(wxHORIZONTAL);
    m_x = AddField(sizer, _("X"), _("Left edge of the selection, pixels"));
    m_y = AddField(sizer, _("Y"), _("Upper edge of the selection, pixels"));
    m_width = AddField(sizer, _("W"), _("Width of the selection, pixels"));
    m_height = AddField(sizer, _("H"), _("Height of the selection, pixels"));
    const auto addButton = [&](const char* icon, const wxString& name, const wxString& toolTip,
                               auto handler) {
        auto* button = new wxBitmapButton(this, wxID_ANY, LoadIconBundle(icon, kIcon), wxDefaultPosition,
                                          wxDefaultSize, wxBU_EXACTFIT);
        button->SetToolTip(toolTip);
        SetAccessibleName(button, name);
        button->Bind(wxEVT_BUTTON, handler, this);
        sizer->Add(button, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, kGap / 2);
    };
    sizer->AddSpacer(kGap);
    addButton("apply.png", _("Apply"),
              _("Apply: uses the selection as the region of this analysis, where it has one"),
              &SelectorPanel::OnApplySelection);
    addButton("zoomselection.png", _("Zoom to the selection"), _("Zooms to the selection (S)"),
              &SelectorPanel::OnZoomSelection);
    addButton("remove.png", _("Remove"), _("Remove: there is no selection any more"),
              &SelectorPanel::OnRemoveSelection);
    SetSizer(sizer);
}

void SelectorPanel::ConfigureControls() {
    IntPair size;
    for (Canvas* canvas : m_page->GetCanvases()) {
        size.x = std::max(size.x, canvas->GetProperties()->GetWidth());
        size.y = std::max(size.y, canvas->GetProperties()->GetHeight());
    }
    m_x->SetRange(0, size.x);
    m_width->SetRange(0, size.x);
    m_y->SetRange(0, size.y);
    m_height->SetRange(0, size.y);
    // A selection of another, larger picture names pixels that are not there.
    if (!m_selector.IsEmpty()) m_selector = ClipRect(m_selector, size);
    m_shown = m_selector;
    Outline();
}

void SelectorPanel::RefreshValues() {
    if (m_x == nullptr) return;
    m_x->SetNumber(m_shown.x);
    m_y->SetNumber(m_shown.y);
    m_width->SetNumber(m_shown.width);
    m_height->SetNumber(m_shown.height);
}

void SelectorPanel::ClearValues() {
    m_selector = m_shown = {};
    m_drag.Clear();
    m_isDrawing = false;
    Outline();
    RefreshValues();
}

void SelectorPanel::Outline() {
    m_page->SelectionChanged(Roi(m_selector.x, m_selector.y, m_selector.width, m_selector.height));
    for (Canvas* canvas : m_page->GetCanvases()) {
        canvas->SetDrawRect(ToWxRect(m_selector), !m_selector.IsEmpty());
        canvas->Refresh(true);
    }
}

IntRect SelectorPanel::GetSelector(Canvas*) const {
    return m_selector;
}

bool SelectorPanel::IsSelector(Canvas*) const {
    return !m_selector.IsEmpty();
}

bool SelectorPanel::IsSelectorInCanvas(Canvas* canvas) const {
    return canvas != nullptr && !m_selector.IsEmpty() &&
           ClipRect(m_selector, ImageSize(canvas)) == m_selector;
}

void SelectorPanel::SetSelector(IntPair topLeft, IntPair bottomRight, bool isSelection, Canvas* canvas) {
    IntRect rect = RectBetween(topLeft, bottomRight);
    if (canvas != nullptr && !rect.IsEmpty()) {
        rect = m_drag.IsMoving() ? MoveInto(rect, ImageSize(canvas)) : ClipRect(rect, ImageSize(canvas));
    }
    m_shown = rect;
    if (!isSelection) return;
    m_selector = rect.IsEmpty() ? IntRect{} : rect;
    Outline();
}

void SelectorPanel::SetSelector(IntPair point, int width, int height, bool isSelection, Canvas* canvas) {
    SetSelector(point, {point.x + width, point.y + height}, isSelection, canvas);
}

RelativePosition SelectorPanel::GetMousePositionOnSelection(int x, int y, Canvas*) const {
    const WindowProperties* shared = GetSharedWindowProperties();
    return PositionOnSelection(m_selector, {x, y}, shared ? shared->zoom : 0.0);
}

void SelectorPanel::SetSelectorToDrag(int x, int y, RelativePosition position, Canvas*) {
    m_drag.Start(m_selector, {x, y}, position);
}

void SelectorPanel::DragSelector(IntPair& topLeft, IntPair& bottomRight, int x, int y) const {
    m_drag.Drag({x, y}, topLeft, bottomRight);
}

void SelectorPanel::SetCursorForPosition(RelativePosition position, Canvas* canvas) {
    const bool isChosen = IsToolChosen(OrvTool::Select);
    canvas->SetCursor(wxCursor(isChosen ? CursorFor(position) : wxCURSOR_ARROW));
}

void SelectorPanel::ViewerMouseOn(wxMouseEvent& event, Canvas* canvas, bool useZoomCentre) {
    // The selection is the page's and outlined on both halves: the other half has nothing to add.
    if (useZoomCentre || canvas == nullptr || !canvas->HasImage()) return;
    int px = 0;
    int py = 0;
    const bool isOffImage =
        canvas->GetPixelCoordinates(event.GetX(), event.GetY(), px, py, true, useZoomCentre);
    const RelativePosition position = GetMousePositionOnSelection(px, py, canvas);
    if (!m_isDrawing && !m_drag.IsMoving() && !m_drag.IsResizing()) SetCursorForPosition(position, canvas);
    const bool isChosen = IsToolChosen(OrvTool::Select);
    const bool isPress = event.LeftDown() || event.LeftDClick();

    if (isChosen && isPress) {
        m_anchor = {px, py};
        // A press beside the picture leaves a selection as it is; one on it, outside the selection, begins another.
        const bool isRemoved = position == RelativePosition::Outside && !isOffImage;
        m_isDrawing = position == RelativePosition::None || isRemoved;
        if (isRemoved) {
            m_drag.Clear();
            SetSelector(IntPair{0, 0}, 0, 0, true, canvas);
            RefreshValues();
            return;
        }
        SetSelectorToDrag(px, py, position, canvas);
    } else if (isChosen && event.LeftIsDown() && !event.LeftUp() && m_anchor != IntPair{-1, -1}) {
        IntPair corner = m_anchor;
        IntPair opposite{px, py};
        if (m_drag.IsMoving() || m_drag.IsResizing()) {
            DragSelector(corner, opposite, px, py);
        } else if (!m_isDrawing) {
            return;
        }
        SetSelector(corner, opposite, true, canvas);
        RefreshValues();
    } else {
        if (event.LeftUp() || !event.LeftIsDown()) {
            m_drag.Clear();
            m_isDrawing = false;
            m_anchor = {-1, -1};
        }
        if (!IsSelector(canvas)) {
            SetSelector(isOffImage ? IntPair{0, 0} : IntPair{px, py}, 0, 0, false, canvas);
            RefreshValues();
        }
    }
}

void SelectorPanel::ChangeValues() {
    Canvas* canvas = m_page->GetCanvasFromActiveWin();
    if (canvas == nullptr || !canvas->HasImage()) return;
    m_drag.Clear();
    const IntRect typed{m_x->GetNumber(), m_y->GetNumber(), m_width->GetNumber(), m_height->GetNumber()};
    m_selector = ClipRect(typed, ImageSize(canvas));
    m_shown = typed.IsEmpty() ? typed : m_selector;
    Outline();
    RefreshValues();
}

void SelectorPanel::OnApplySelection(wxCommandEvent&) {
    if (!m_selector.IsEmpty())
        m_page->ApplySelection(Roi(m_selector.x, m_selector.y, m_selector.width, m_selector.height));
}

void SelectorPanel::OnZoomSelection(wxCommandEvent&) {
    m_page->ZoomToSelection();
}

void SelectorPanel::OnRemoveSelection(wxCommandEvent&) {
    ClearValues();
}
