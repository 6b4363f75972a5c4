#pragma once

#include <wx/scrolwin.h>

#include <functional>

#include "orvgui/common/orvgui.h"
#include "orvgui/common/quietscroll.h"

class DragEdge;
class wxSizer;

// A part of the panel beside the pictures, with an edge below it by which the user makes it higher or lower. As high as what it
// holds until then; lower than that, it scrolls. A double click on the edge gives it that height again. It is seen as long as what it
// holds is shown. GUI thread.
class ORVGUI_API SideSection : public QuietScroll<wxScrolledWindow> {
  public:
    static constexpr int kLeast = 60;  // pixels that it can be dragged to; a scroll bar needs them
    static constexpr int kMost = 1600;

    // Puts itself and its edge at the end of a list of such sections. changed: it asks for another height; byUser: as the user has
    // chosen.
    SideSection(wxWindow* parent, wxSizer& list, std::function<void(bool byUser)> changed);

    // A child of the section; once.
    void SetContent(wxWindow* content);
    // Pixels that it has until the user chooses; 0 for those of its content.
    void SetFirstHeight(int height) { m_firstHeight = height; }
    // Pixels that the user has chosen, 0 for none; from code nothing is told.
    int GetChosenHeight() const { return m_chosenHeight; }
    void SetChosenHeight(int height);
    DragEdge* GetEdge() const { return m_edge; }

  protected:
    wxSize DoGetBestSize() const override;

  private:
    void Choose(int height);
    void ShowWithContent(bool show);

    std::function<void(bool)> m_changed;
    wxWindow* m_content = nullptr;
    DragEdge* m_edge = nullptr;
    int m_firstHeight = 0;
    int m_chosenHeight = 0;
    int m_heightBefore = 0;  // before it was dragged
    bool m_isMoved = false;  // since the button went down
    bool m_isAsking = false;
};
