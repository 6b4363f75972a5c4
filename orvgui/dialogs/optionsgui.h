#pragma once

#include <wx/dialog.h>

#include <memory>
#include <vector>

#include "zorbase/parameter.h"

class ParameterControl;
class wxGridBagSizer;
class wxSizer;

// The program options: group below group under its title, one control per option. OK hands the edited values to the core, which checks and
// keeps them. Modal. GUI thread.
class OrvOptionsGui : public wxDialog {
  public:
    OrvOptionsGui(wxWindow* parent, const VecVecParameter& options);
    ~OrvOptionsGui() override;

    const VecVecParameter& GetOptions() const { return m_options; }
    void OnButtonOk(wxCommandEvent& event);

  private:
    wxSizer* CreateGroup(std::size_t group);
    void AlignGroups();
    bool GoToTypingError();
    void OnCharHook(wxKeyEvent& event);

    std::vector<wxGridBagSizer*> m_grids;  // one per group
    VecVecParameter m_options;
    std::vector<std::vector<std::unique_ptr<ParameterControl>>> m_controls;  // by group, then option
};
