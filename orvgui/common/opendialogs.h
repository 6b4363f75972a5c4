#pragma once

#include <wx/dialog.h>
#include <wx/modalhook.h>
#include <wx/weakref.h>

#include <vector>

// Knows which dialogs wait for the user's answer, those of the desktop (message boxes, file choosers) too, which
// are in no list of windows. It knows those that were opened while it lives. GUI thread.
class OpenDialogs : public wxModalDialogHook {
  public:
    OpenDialogs() { Register(); }
    ~OpenDialogs() override { Unregister(); }

    bool IsAny() const {
        for (const auto& dialog : m_dialogs)
            if (dialog) return true;
        return false;
    }

  protected:
    int Enter(wxDialog* dialog) override {
        m_dialogs.emplace_back(dialog);
        return wxID_NONE;  // it is shown
    }
    void Exit(wxDialog* dialog) override {
        std::erase_if(m_dialogs, [dialog](const auto& open) { return !open || open == dialog; });
    }

  private:
    std::vector<wxWeakRef<wxDialog>>
        m_dialogs;  // one that another hook answers instead is never left, but destroyed
};
