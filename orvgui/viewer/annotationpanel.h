#pragma once

#include <optional>
#include <string>
#include <vector>

#include "orvcore/model/casedata.h"
#include "orvgui/viewer/annotationgeometry.h"
#include "orvgui/viewer/toolpanel.h"

class Canvas;
class wxBitmapButton;
class wxBitmapToggleButton;
class wxKeyEvent;

// The tool of this panel, beside those of the strip itself.
inline constexpr OrvTool kMarkTool = static_cast<OrvTool>(2);

// The tool for the examiner's marks: rectangles, arrows and texts on the picture of a file, kept in the project by the file's hash and
// so on every page of that picture, never in its pixels. A drag on the picture draws a new one; a mark is taken by its outline, its
// ends or its text, dragged, and given a text by a double click; Delete deletes, Ctrl+Z takes back, Escape lets go. The selection,
// where there is one, becomes a rectangle by the key Insert. GUI thread.
class ORVGUI_API AnnotationPanel : public OrvToolPanelBase {
  public:
    AnnotationPanel(wxWindow* parent, OrvViewerHost* page);

    void CreateControls() override;
    void RefreshValues() override;
    void ClearValues() override;
    void ViewerMouseOn(wxMouseEvent& event, Canvas* canvas, bool mirrored) override;
    // Whether the key was used; only while the tool is chosen.
    bool UseKey(wxKeyEvent& event);
    // The button of the strip that chooses this tool, to be shown as pressed while it is.
    void SetToolButton(wxBitmapToggleButton* button) { m_toolButton = button; }
    // Shown only while its tool is the chosen one; whether that has changed.
    bool ShowFor(OrvTool tool);
    // Hands the canvases of the page the marks as they are now.
    void ShowMarks();

    // The marks on a file as they are to be shown now, with the one that is being drawn or dragged.
    std::vector<OrvAnnotation> MarksOn(const std::string& sha256) const;
    int SelectedOn(const std::string& sha256) const;  // index in that list, -1 for none
    void SetKind(OrvAnnotation::Kind kind);
    OrvAnnotation::Kind GetKind() const { return m_kind; }
    const std::optional<OrvAnnotation>& GetSelected() const { return m_selected; }
    void AskForText();  // of the selected one
    void DeleteSelected();
    void Undo();

  private:
    struct Drag {
        MarkPart part = MarkPart::None;  // None: a new one is drawn
        OrvAnnotation start;             // as it was
        IntPair from;                    // image points
        IntPair to;
        IntPair window;  // where the press was
        bool hasMoved = false;
    };

    OrvAnnotation Dragged() const;
    void Press(const wxMouseEvent& event, Canvas* canvas, const std::string& file, IntPair point);
    void Release(const std::string& file);
    void Select(std::optional<OrvAnnotation> mark);
    void Replace(const std::optional<OrvAnnotation>& before, const std::optional<OrvAnnotation>& after);
    void SetCursorOver(Canvas* canvas, MarkPart part);
    MarkPart Find(Canvas* canvas, const std::string& file, wxPoint windowPoint, OrvAnnotation* found) const;
    bool MarkSelection();

    OrvAnnotation::Kind m_kind = OrvAnnotation::Kind::Rectangle;
    std::optional<OrvAnnotation> m_selected;
    std::optional<Drag> m_drag;
    IntPair m_dragImage;  // size of the picture under the drag
    std::vector<wxBitmapToggleButton*> m_kinds;
    wxBitmapToggleButton* m_toolButton = nullptr;
    wxBitmapButton* m_edit = nullptr;
    wxBitmapButton* m_delete = nullptr;
    wxBitmapButton* m_undo = nullptr;
};

// The panel of a strip, null without one.
ORVGUI_API AnnotationPanel* FindAnnotationPanel(const OrvToolPanel* strip);
// Hands the canvases of a page the marks as they are now, after its pictures have changed.
void ShowAnnotations(const OrvViewerHost& page);
// Another project is open: changes made in the one before cannot be taken back in it.
ORVGUI_API void ForgetMarkChanges();
// The marks on the picture that a page would save.
ORVGUI_API std::vector<OrvAnnotation> DisplayedMarks(OrvViewerHost& page);
