#include "orvgui/viewer/annotationpanel.h"

#include <wx/bmpbuttn.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/textdlg.h>
#include <wx/tglbtn.h>

#include <algorithm>
#include <cstdlib>

#include "orvcore/facade/interface.h"
#include "orvgui/common/accessible.h"
#include "orvgui/common/icons.h"
#include "orvgui/viewer/annotationpaint.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/selectorpanel.h"
#include "orvgui/viewer/viewerhost.h"
#include "zorbase/text.h"

namespace {

constexpr int kGap = 4;
constexpr int kIcon = 16;
constexpr int kDragDistance = 4;  // window pixels; less is a click

using Kind = OrvAnnotation::Kind;
constexpr Kind kKinds[] = {Kind::Rectangle, Kind::Arrow, Kind::Text};

wxStockCursor CursorFor(MarkPart part) {
    switch (part) {
        case MarkPart::None:
            return wxCURSOR_CROSS;
        case MarkPart::TopLeft:
        case MarkPart::BottomRight:
            return wxCURSOR_SIZENWSE;
        case MarkPart::TopRight:
        case MarkPart::BottomLeft:
            return wxCURSOR_SIZENESW;
        case MarkPart::Body:
        case MarkPart::Tail:
        case MarkPart::Tip:
            return wxCURSOR_SIZING;
    }
    return wxCURSOR_CROSS;
}

std::vector<OrvAnnotation> Marks() {
    const OrvInterface* core = GetInterface();
    return core != nullptr ? core->GetProject().GetAnnotations() : std::vector<OrvAnnotation>();
}

// The changes made with this tool on any page, the newest last. Where something else has changed the marks since, there is nothing to
// take back.
struct Change {
    std::vector<OrvAnnotation> before;
    std::vector<OrvAnnotation> after;
};

std::vector<Change>& History() {
    static std::vector<Change> history;
    return history;
}

bool CanUndo() {
    if (History().empty()) return false;
    if (History().back().after == Marks()) return true;
    History().clear();
    return false;
}

void Keep(const std::vector<OrvAnnotation>& marks) {
    constexpr std::size_t kMost = 100;
    if (!CanUndo()) History().clear();
    History().push_back({Marks(), marks});
    if (History().size() > kMost) History().erase(History().begin());
    GetInterface()->SetAnnotations(marks);
}

}  // namespace

AnnotationPanel::AnnotationPanel(wxWindow* parent, OrvViewerHost* page) : OrvToolPanelBase(parent, page) {}

void AnnotationPanel::CreateControls() {
    auto* sizer = new wxBoxSizer(wxHORIZONTAL);
    const wxString names[] = {_("Rectangle"), _("Arrow"), _("Text")};
    const wxString tips[] = {_("a drag draws a rectangle"), _("a drag draws an arrow towards its end"),
                             _("a click places a text")};
    const char* const icons[] = {"markbox.png", "markarrow.png", "marktext.png"};
    for (std::size_t i = 0; i < std::size(kKinds); ++i) {
        auto* button = new wxBitmapToggleButton(this, wxID_ANY, LoadIconBundle(icons[i], kIcon),
                                                wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
        button->SetToolTip(names[i] + ": " + tips[i]);
        SetAccessibleName(button, names[i]);
        button->Bind(wxEVT_TOGGLEBUTTON, [this, i](wxCommandEvent&) { SetKind(kKinds[i]); });
        sizer->Add(button, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, i == 0 ? 0 : kGap / 2);
        m_kinds.push_back(button);
    }
    sizer->AddSpacer(kGap);
    const auto addButton = [&](const char* icon, const wxString& name, const wxString& tip,
                               void (AnnotationPanel::*call)()) {
        auto* button = new wxBitmapButton(this, wxID_ANY, LoadIconBundle(icon, kIcon), wxDefaultPosition,
                                          wxDefaultSize, wxBU_EXACTFIT);
        button->SetToolTip(tip);
        SetAccessibleName(button, name);
        button->Bind(wxEVT_BUTTON, [this, call](wxCommandEvent&) { (this->*call)(); });
        sizer->Add(button, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, kGap / 2);
        return button;
    };
    m_edit = addButton("edit.png", _("Text of the mark"), _("Text of the chosen mark (double click)"),
                       &AnnotationPanel::AskForText);
    m_delete = addButton("delete.png", _("Delete the mark"), _("Deletes the chosen mark (Delete)"),
                         &AnnotationPanel::DeleteSelected);
    m_undo = addButton("undo.png", _("Undo"), _("Takes back the last change of marks (Ctrl+Z)"),
                       &AnnotationPanel::Undo);
    SetSizer(sizer);
    SetKind(m_kind);
    RefreshValues();
}

void AnnotationPanel::SetKind(Kind kind) {
    m_kind = kind;
    for (std::size_t i = 0; i < m_kinds.size(); ++i) m_kinds[i]->SetValue(kKinds[i] == kind);
}

void AnnotationPanel::RefreshValues() {
    if (m_undo == nullptr) return;
    const OrvInterface* core = GetInterface();
    // What another page or the project has changed is not there to be chosen any more.
    if (m_selected && core != nullptr && !m_drag) {
        const std::vector<OrvAnnotation> marks = Marks();
        if (std::find(marks.begin(), marks.end(), *m_selected) == marks.end()) m_selected.reset();
    }
    m_edit->Enable(m_selected.has_value());
    m_delete->Enable(m_selected.has_value());
    m_undo->Enable(core != nullptr && CanUndo());
}

void AnnotationPanel::ClearValues() {
    m_selected.reset();
    m_drag.reset();
    RefreshValues();
}

bool AnnotationPanel::ShowFor(OrvTool tool) {
    if (m_toolButton != nullptr) m_toolButton->SetValue(tool == kMarkTool);
    if (!Show(tool == kMarkTool)) return false;
    ClearValues();
    ShowMarks();
    return true;
}

void AnnotationPanel::ShowMarks() {
    RefreshValues();
    for (Canvas* canvas : m_page->GetCanvases()) {
        const std::string file = GetMarkedFile(*canvas);
        SetCanvasMarks(*canvas, MarksOn(file), SelectedOn(file));
    }
}

OrvAnnotation AnnotationPanel::Dragged() const {
    return m_drag->part == MarkPart::None
               ? NewMark(m_kind, m_drag->start.sha256, m_drag->from, m_drag->to)
               : DragMark(m_drag->start, m_drag->part, m_drag->from, m_drag->to, m_dragImage);
}

std::vector<OrvAnnotation> AnnotationPanel::MarksOn(const std::string& sha256) const {
    std::vector<OrvAnnotation> own;
    const OrvInterface* core = GetInterface();
    if (core == nullptr || sha256.empty()) return own;
    const bool isDragged = m_drag && m_drag->hasMoved;
    for (const OrvAnnotation& mark : Marks()) {
        if (mark.sha256 != sha256) continue;
        own.push_back(isDragged && m_drag->part != MarkPart::None && mark == m_drag->start ? Dragged()
                                                                                           : mark);
    }
    const bool isNew = isDragged && m_drag->part == MarkPart::None && m_kind != Kind::Text;
    if (isNew && m_drag->start.sha256 == sha256) own.push_back(Dragged());
    return own;
}

int AnnotationPanel::SelectedOn(const std::string& sha256) const {
    if (!m_selected) return -1;
    const OrvAnnotation shown =
        m_drag && m_drag->hasMoved && m_drag->part != MarkPart::None ? Dragged() : *m_selected;
    const std::vector<OrvAnnotation> own = MarksOn(sha256);
    const auto found = std::find(own.begin(), own.end(), shown);
    return found == own.end() ? -1 : static_cast<int>(found - own.begin());
}

MarkPart AnnotationPanel::Find(Canvas* canvas, const std::string& file, wxPoint windowPoint,
                               OrvAnnotation* found) const {
    const WindowProperties* shared = GetSharedWindowProperties();
    if (shared == nullptr) return MarkPart::None;
    const wxPoint device = canvas->CalcUnscrolledPosition(windowPoint);
    std::vector<OrvAnnotation> own = MarksOn(file);
    // The one that was drawn last lies on top.
    std::reverse(own.begin(), own.end());
    for (const OrvAnnotation& mark : own) {
        const MarkPart part =
            PartOfMark(ShapeOfMark(mark, shared->zoom, shared->offset, MarkLabelSize(*canvas, mark)),
                       {device.x, device.y});
        if (part == MarkPart::None) continue;
        *found = mark;
        return part;
    }
    return MarkPart::None;
}

void AnnotationPanel::ViewerMouseOn(wxMouseEvent& event, Canvas* canvas, bool mirrored) {
    if (mirrored || canvas == nullptr || !canvas->HasImage() || !IsToolChosen(kMarkTool)) return;
    const std::string file = GetMarkedFile(*canvas);
    int x = 0;
    int y = 0;
    if (file.empty() || !canvas->GetPixelCoordinates(event.GetX(), event.GetY(), x, y, false, false)) {
        canvas->SetCursor(wxCursor(wxCURSOR_ARROW));
        return;
    }
    const IntPair size = canvas->GetProperties()->GetPixelSize();
    const IntPair point{x, y};
    if (event.LeftDClick()) {
        OrvAnnotation found;
        m_drag.reset();
        if (Find(canvas, file, event.GetPosition(), &found) == MarkPart::None) return;
        Select(found);
        CallAfter([this] { AskForText(); });
    } else if (event.LeftDown()) {
        m_dragImage = size;
        Press(event, canvas, file, point);
    } else if (event.LeftUp()) {
        if (m_drag) Release(file);
    } else if (event.LeftIsDown() && m_drag) {
        const bool isNew = m_drag->part == MarkPart::None;
        m_drag->to = isNew ? IntPair{std::clamp(x, 0, std::max(size.x - 1, 0)),
                                     std::clamp(y, 0, std::max(size.y - 1, 0))}
                           : point;
        m_drag->hasMoved = m_drag->hasMoved || std::abs(event.GetX() - m_drag->window.x) >= kDragDistance ||
                           std::abs(event.GetY() - m_drag->window.y) >= kDragDistance;
        if (m_drag->hasMoved) ShowMarks();
    } else if (!event.LeftIsDown()) {
        OrvAnnotation found;
        SetCursorOver(canvas, Find(canvas, file, event.GetPosition(), &found));
    }
}

void AnnotationPanel::Press(const wxMouseEvent& event, Canvas* canvas, const std::string& file,
                            IntPair point) {
    Drag drag;
    drag.from = drag.to = point;
    drag.window = {event.GetX(), event.GetY()};
    drag.part = Find(canvas, file, event.GetPosition(), &drag.start);
    if (drag.part == MarkPart::None) {
        drag.start.sha256 = file;
        Select({});
        if (!IsPixel(point, m_dragImage)) return;
    } else {
        Select(drag.start);
    }
    m_drag = drag;
}

void AnnotationPanel::Release(const std::string& file) {
    const Drag drag = *m_drag;
    const bool isNew = drag.part == MarkPart::None;
    const OrvAnnotation mark = Dragged();
    m_drag.reset();
    if (!isNew) {
        if (drag.hasMoved) Replace(drag.start, mark);
    } else if (m_kind == Kind::Text && mark.sha256 == file) {
        // A text without letters would be nothing to see.
        CallAfter([this, mark] {
            wxTextEntryDialog dialog(this, _("Text on the picture:"), _("Mark"));
            if (dialog.ShowModal() != wxID_OK || dialog.GetValue().Trim().empty()) return;
            OrvAnnotation named = mark;
            named.text = FromWx(dialog.GetValue().Trim().Trim(false));
            Replace({}, named);
        });
    } else if (drag.hasMoved) {
        Replace({}, mark);
    }
    ShowMarks();
}

void AnnotationPanel::Select(std::optional<OrvAnnotation> mark) {
    m_selected = std::move(mark);
    RefreshValues();
    ShowMarks();
}

// One change of the project: a mark added, changed, or (without after) deleted.
void AnnotationPanel::Replace(const std::optional<OrvAnnotation>& before,
                              const std::optional<OrvAnnotation>& after) {
    OrvInterface* core = GetInterface();
    if (core == nullptr) return;
    std::vector<OrvAnnotation> marks = Marks();
    const auto found = before ? std::find(marks.begin(), marks.end(), *before) : marks.end();
    if (before && found == marks.end()) return;
    if (!before)
        marks.push_back(*after);
    else if (after)
        *found = *after;
    else
        marks.erase(found);
    Keep(marks);
    Select(after);
}

void AnnotationPanel::AskForText() {
    if (!m_selected) return;
    const OrvAnnotation mark = *m_selected;
    wxTextEntryDialog dialog(this, _("Text of the mark:"), _("Mark"), ToWx(mark.text));
    if (dialog.ShowModal() != wxID_OK) return;
    OrvAnnotation changed = mark;
    changed.text = FromWx(dialog.GetValue().Trim().Trim(false));
    if (changed.text.empty() && mark.kind == Kind::Text)
        Replace(mark, {});
    else
        Replace(mark, changed);
}

void AnnotationPanel::DeleteSelected() {
    if (m_selected) Replace(m_selected, {});
}

void AnnotationPanel::Undo() {
    if (!CanUndo()) return;
    const std::vector<OrvAnnotation> before = History().back().before;
    History().pop_back();
    GetInterface()->SetAnnotations(before);
    Select({});
}

bool AnnotationPanel::MarkSelection() {
    const SelectorPanel* selector =
        m_page->GetOrvToolPanel() ? m_page->GetOrvToolPanel()->GetSelectorPanel() : nullptr;
    Canvas* canvas = m_page->GetCanvasFromActiveWin();
    if (selector == nullptr || canvas == nullptr) return false;
    const IntRect region = selector->GetSelector(canvas);
    const std::string file = GetMarkedFile(*canvas);
    if (region.IsEmpty() || file.empty()) return false;
    OrvAnnotation mark;
    mark.sha256 = file;
    mark.place = Roi(region.x, region.y, region.width, region.height);
    Replace({}, mark);
    return true;
}

bool AnnotationPanel::UseKey(wxKeyEvent& event) {
    if (!IsToolChosen(kMarkTool) || event.GetEventType() != wxEVT_KEY_DOWN) return false;
    const int key = event.GetKeyCode();
    if (key == 'Z' && event.GetModifiers() == wxMOD_CONTROL) {
        Undo();
        return true;
    }
    if (event.GetModifiers() != wxMOD_NONE) return false;
    switch (key) {
        case WXK_DELETE:
        case WXK_NUMPAD_DELETE:
            if (!m_selected) return false;
            DeleteSelected();
            return true;
        case WXK_INSERT:
        case WXK_NUMPAD_INSERT:
            return MarkSelection();
        case WXK_F2:
        case WXK_RETURN:
            if (!m_selected) return false;
            CallAfter([this] { AskForText(); });
            return true;
        case WXK_ESCAPE:
            if (!m_drag && !m_selected) return false;
            ClearValues();
            ShowMarks();
            return true;
        default:
            return false;
    }
}

void AnnotationPanel::SetCursorOver(Canvas* canvas, MarkPart part) {
    canvas->SetCursor(wxCursor(CursorFor(part)));
}

AnnotationPanel* FindAnnotationPanel(const OrvToolPanel* strip) {
    if (strip == nullptr) return nullptr;
    for (wxWindow* child : strip->GetChildren())
        if (auto* panel = dynamic_cast<AnnotationPanel*>(child)) return panel;
    return nullptr;
}

void ShowAnnotations(const OrvViewerHost& page) {
    if (AnnotationPanel* panel = FindAnnotationPanel(page.GetOrvToolPanel())) panel->ShowMarks();
}

void ForgetMarkChanges() {
    History().clear();
}

std::vector<OrvAnnotation> DisplayedMarks(OrvViewerHost& page) {
    Canvas* canvas = page.GetCanvasFromActiveWin();
    for (Canvas* other : page.GetCanvases())
        if (canvas == nullptr || !canvas->HasImage()) canvas = other;
    const AnnotationPanel* panel = FindAnnotationPanel(page.GetOrvToolPanel());
    return canvas != nullptr && panel != nullptr ? panel->MarksOn(GetMarkedFile(*canvas))
                                                 : std::vector<OrvAnnotation>();
}
