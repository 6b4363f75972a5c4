#pragma once

#include <wx/panel.h>

#include <vector>

#include "orvgui/common/orvgui.h"

class OrvFilterGui;
class wxStaticText;

// How the viewer area tells that no photograph is loaded: not at all, as a line above the page that the user
// looks at, or alone.
enum class OrvEmptyHint { None, Line, Alone };

// The decision behind it. browsed: the user has picked a page himself since files were last loaded.
OrvEmptyHint ChooseEmptyHint(bool anyFileLoaded, bool hasPage, bool browsed);

// The area of the main frame that holds the filter pages, one of them shown. A page is built (Init) when it
// is first seen, so that adding sixty of them costs nothing at start. While no photograph is loaded it says
// how to load one; a file dropped on it becomes the evidence.
//
// Pages are children of this window and belong to it. It decides nothing: the filters tree says which page is
// shown. GUI thread only.
class ORVGUI_API OrvViewerPanel : public wxPanel {
  public:
    explicit OrvViewerPanel(wxWindow* parent);
    ~OrvViewerPanel() override;

    // page: made with this window as parent; added hidden and not built. Adding a page twice changes nothing.
    void AddPage(OrvFilterGui* page);
    const std::vector<OrvFilterGui*>& GetPages() const { return m_pages; }

    // Makes this page the current one, which hides the one before. It is built the first time that it is
    // seen, and brought up to date when it comes back after another one. byUser: the user asked for this
    // page, so it is seen even while no photograph is loaded. Null shows no page; a page that was never added
    // is a programming error.
    void ShowPage(OrvFilterGui* page, bool byUser);
    OrvFilterGui* GetShownPage() const { return m_current; }  // the current one; null before the first
    bool IsPageBuilt(const OrvFilterGui* page) const;

    // A photograph is on its way: the next page, although asked for, is not seen before it is there.
    void ExpectFile() { m_expectsFile = true; }
    // Looks again whether a photograph is loaded. Cheap; called on idle by itself.
    void UpdateEmptyHint();
    OrvEmptyHint GetEmptyHint() const { return m_hint; }

  private:
    void OnSize(wxSizeEvent& event);
    void OnPageShow(wxShowEvent& event);
    void OnUpdateUi(wxUpdateUIEvent& event);
    void OnPageDestroyed(wxWindowDestroyEvent& event);
    bool MayBeSeen(const wxWindow* page) const;
    void Present(bool upToDate);
    void LayOut();

    std::vector<OrvFilterGui*> m_pages;  // children of this window
    std::vector<const OrvFilterGui*> m_built;
    OrvFilterGui* m_current = nullptr;
    wxStaticText* m_hintText = nullptr;
    OrvEmptyHint m_hint = OrvEmptyHint::None;
    bool m_browsed = false;
    bool m_expectsFile = false;
};
