#pragma once

#include <wx/panel.h>

#include <vector>

class OrvFilterGui;
class wxStaticText;

// How the viewer area tells that no photograph is loaded: not at all, as a line above the page that the user
// looks at, or alone.
enum class OrvEmptyHint { None, Line, Alone };

// The decision behind it. browsed: the user has picked a page himself since files were last loaded.
OrvEmptyHint ChooseEmptyHint(bool anyFileLoaded, bool hasPage, bool browsed);

// The area of the main frame that holds the filter pages, one of them shown. A page is built (Init) when it
// is first shown, so that adding sixty of them costs nothing at start. While no photograph is loaded it says
// how to load one; a file dropped on it becomes the evidence.
//
// Pages are children of this window and belong to it. It decides nothing: the filters tree says which page is
// shown. GUI thread only.
class OrvViewerPanel : public wxPanel {
  public:
    explicit OrvViewerPanel(wxWindow* parent);

    // page: made with this window as parent; added hidden and not built. Adding a page twice changes nothing.
    void AddPage(OrvFilterGui* page);
    const std::vector<OrvFilterGui*>& GetPages() const { return m_pages; }

    // Shows this page and no other. Builds it the first time; a page shown again is brought up to date.
    // byUser: the user asked for this page, so it is shown even while no photograph is loaded. Null shows no
    // page; a page that was never added is a programming error.
    void ShowPage(OrvFilterGui* page, bool byUser);
    OrvFilterGui* GetShownPage() const { return m_shown; }  // null before the first one
    bool IsPageBuilt(const OrvFilterGui* page) const;

    // Looks again whether a photograph is loaded. Cheap; called on idle by itself.
    void UpdateEmptyHint();
    OrvEmptyHint GetEmptyHint() const { return m_hint; }

  private:
    void OnSize(wxSizeEvent& event);
    void OnUpdateUi(wxUpdateUIEvent& event);
    void LayOut();

    std::vector<OrvFilterGui*> m_pages;  // children of this window
    std::vector<const OrvFilterGui*> m_built;
    OrvFilterGui* m_shown = nullptr;
    wxStaticText* m_hintText = nullptr;
    OrvEmptyHint m_hint = OrvEmptyHint::None;
    bool m_browsed = false;
};
