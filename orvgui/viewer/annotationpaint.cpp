#include "orvgui/viewer/annotationpaint.h"

#include <wx/clntdata.h>
#include <wx/dc.h>
#include <wx/window.h>

#include <algorithm>

#include "orvcore/report/annotationpicture.h"
#include "orvgui/common/visibletext.h"
#include "orvgui/viewer/windowproperties.h"
#include "zorbase/text.h"

namespace {

const wxColour kInk(90, 220, 255);  // as in reports: no colour of a map's marks
constexpr std::size_t kLongestLabel = 80;
constexpr int kPadX = 3;
constexpr int kPadY = 1;
constexpr int kBarb = 14;
constexpr int kHandle = 7;

// Owned by the canvas, which knows nothing of marks.
class CanvasMarks : public wxClientData {
  public:
    std::string file;
    std::vector<OrvAnnotation> marks;
    int selected = -1;
};

CanvasMarks& MarksOf(wxWindow& canvas) {
    auto* marks = dynamic_cast<CanvasMarks*>(canvas.GetClientObject());
    if (marks == nullptr) canvas.SetClientObject(marks = new CanvasMarks);
    return *marks;
}

wxPoint At(IntPair point) {
    return {point.x, point.y};
}

void DrawLines(wxDC& dc, const MarkShape& shape, const wxRect& seen) {
    for (const wxPen& pen : {wxPen(*wxBLACK, 4), wxPen(kInk, 2)}) {
        dc.SetPen(pen);
        if (shape.kind == OrvAnnotation::Kind::Rectangle) {
            wxRect box(shape.from.x, shape.from.y, shape.to.x - shape.from.x, shape.to.y - shape.from.y);
            box.Intersect(wxRect(seen).Inflate(kBarb));
            if (!box.IsEmpty()) dc.DrawRectangle(box);
        } else if (shape.kind == OrvAnnotation::Kind::Arrow) {
            const auto ends = ArrowBarbs(shape.from.x, shape.from.y, shape.to.x, shape.to.y, kBarb);
            dc.DrawLine(At(shape.from), At(shape.to));
            dc.DrawLine(At(shape.to), wxPoint(RoundToInt(ends[0]), RoundToInt(ends[1])));
            dc.DrawLine(At(shape.to), wxPoint(RoundToInt(ends[2]), RoundToInt(ends[3])));
        }
    }
}

void DrawHandles(wxDC& dc, const MarkShape& shape) {
    dc.SetPen(*wxBLACK_PEN);
    dc.SetBrush(*wxWHITE_BRUSH);
    std::vector<IntPair> ends = {shape.from};
    if (shape.kind != OrvAnnotation::Kind::Text) ends.push_back(shape.to);
    if (shape.kind == OrvAnnotation::Kind::Rectangle) {
        ends.push_back({shape.to.x, shape.from.y});
        ends.push_back({shape.from.x, shape.to.y});
    }
    for (const IntPair& end : ends)
        dc.DrawRectangle(end.x - kHandle / 2, end.y - kHandle / 2, kHandle, kHandle);
    dc.SetBrush(*wxTRANSPARENT_BRUSH);
}

}  // namespace

wxString MarkLabel(const OrvAnnotation& mark) {
    return VisibleText(ShortenText(ToValidUtf8(mark.text), kLongestLabel));
}

IntPair MarkLabelSize(const wxWindow& window, const OrvAnnotation& mark) {
    if (mark.text.empty()) return {};
    const wxSize size = window.GetTextExtent(MarkLabel(mark));
    return {size.x + 2 * kPadX, size.y + 2 * kPadY};
}

void SetMarkedFile(wxWindow& canvas, const std::string& sha256) {
    MarksOf(canvas).file = sha256;
}

std::string GetMarkedFile(const wxWindow& canvas) {
    const auto* marks = dynamic_cast<const CanvasMarks*>(canvas.GetClientObject());
    return marks ? marks->file : std::string();
}

void SetCanvasMarks(wxWindow& canvas, const std::vector<OrvAnnotation>& marks, int selected) {
    CanvasMarks& held = MarksOf(canvas);
    if (held.marks == marks && held.selected == selected) return;
    held.marks = marks;
    held.selected = selected;
    canvas.Refresh(false);
}

const std::vector<OrvAnnotation>& GetCanvasMarks(const wxWindow& canvas) {
    static const std::vector<OrvAnnotation> none;
    const auto* marks = dynamic_cast<const CanvasMarks*>(canvas.GetClientObject());
    return marks ? marks->marks : none;
}

void DrawAnnotationMarks(wxDC& dc, const wxWindow& canvas, const WindowProperties& shared) {
    const auto* held = dynamic_cast<const CanvasMarks*>(canvas.GetClientObject());
    if (held == nullptr) return;
    const std::vector<OrvAnnotation>& marks = held->marks;
    const int selected = held->selected;
    if (marks.empty()) return;
    const wxPoint origin = dc.GetDeviceOrigin();
    const wxRect seen(wxPoint(-origin.x, -origin.y), canvas.GetClientSize());
    dc.SetBrush(*wxTRANSPARENT_BRUSH);
    dc.SetFont(canvas.GetFont());
    for (std::size_t i = 0; i < marks.size(); ++i) {
        const MarkShape shape =
            ShapeOfMark(marks[i], shared.zoom, shared.offset, MarkLabelSize(canvas, marks[i]));
        DrawLines(dc, shape, seen);
        const wxRect label(shape.label.x, shape.label.y, shape.label.width, shape.label.height);
        if (!label.IsEmpty() && label.Intersects(seen)) {
            dc.SetPen(*wxTRANSPARENT_PEN);
            dc.SetBrush(*wxBLACK_BRUSH);
            dc.DrawRectangle(label);
            dc.SetBrush(*wxTRANSPARENT_BRUSH);
            dc.SetTextForeground(kInk);
            dc.DrawText(MarkLabel(marks[i]), label.x + kPadX, label.y + kPadY);
        }
        if (static_cast<int>(i) == selected) DrawHandles(dc, shape);
    }
}
