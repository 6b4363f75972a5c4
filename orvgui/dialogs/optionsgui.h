#pragma once

#include <wx/dialog.h>
#include <wx/timer.h>

#include <memory>
#include <vector>

#include "orvgui/common/backgroundtask.h"
#include "orvgui/common/orvgui.h"
#include "zorbase/parameter.h"

class ParameterControl;
class wxButton;
class wxGridBagSizer;
class wxScrolledWindow;
class wxSizer;
class wxStaticText;

// The program options: group below group under its title, one control per option, and in the first how much the results on disk take
// with a button that removes them at once. OK hands the edited values to the core, which checks and keeps them. Modal. GUI thread.
class ORVGUI_API OrvOptionsGui : public wxDialog {
  public:
    OrvOptionsGui(wxWindow* parent, const VecVecParameter& options);
    ~OrvOptionsGui() override;

    const VecVecParameter& GetOptions() const { return m_options; }
    void OnButtonOk(wxCommandEvent& event);
    wxString GetCacheText() const;
    wxButton* GetEmptyButton() const { return m_emptyButton; }

  private:
    wxSizer* CreateGroup(std::size_t group);
    wxSizer* CreateCacheRow();
    void AlignGroups();
    void CountCache();
    void OnButtonEmpty(wxCommandEvent& event);
    bool GoToTypingError();
    void OnCharHook(wxKeyEvent& event);

    wxScrolledWindow* m_body = nullptr;
    std::vector<wxGridBagSizer*> m_grids;  // one per group
    VecVecParameter m_options;
    std::vector<std::vector<std::unique_ptr<ParameterControl>>> m_controls;  // by group, then option
    wxStaticText* m_cacheText = nullptr;
    wxButton* m_emptyButton = nullptr;
    wxTimer m_emptying;                // looks whether the core is done
    BackgroundTask m_counting{*this};  // last: it ends before what it tells
};
