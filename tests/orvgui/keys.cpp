#include "tests/orvgui/keys.h"

#include <gtest/gtest.h>
#include <wx/eventfilter.h>
#include <wx/uiaction.h>

#include <cstring>

#include "tests/support/guitest.h"

namespace {

// Counts the keys that a window of the program saw go up.
class KeysUp : public wxEventFilter {
  public:
    KeysUp() { wxEvtHandler::AddFilter(this); }
    ~KeysUp() override { wxEvtHandler::RemoveFilter(this); }
    int FilterEvent(wxEvent& event) override {
        if (event.GetEventType() != wxEVT_KEY_UP) return Event_Skip;
        const int key = static_cast<const wxKeyEvent&>(event).GetKeyCode();
        if (key != WXK_SHIFT && key != WXK_CONTROL && key != WXK_ALT) ++m_count;
        return Event_Skip;
    }
    // The key that ends a dialog may go up where nobody sees it.
    void Wait(int keys) {
        PumpUntil([&] { return m_count >= keys; }, 300);
        Pump();
    }

  private:
    int m_count = 0;
};

}  // namespace

void PumpUntilActive(wxTopLevelWindow* window) {
    const auto hasKeys = [window] {
        wxWindow* focus = wxWindow::FindFocus();
        return window->IsActive() && focus != nullptr && wxGetTopLevelParent(focus) == window;
    };
    // A window manager keeps the keys where the user typed last, unless it is asked.
    for (int i = 0; i < 10 && !PumpUntil(hasKeys, 500); ++i) {
        window->Raise();
        window->SetFocus();
    }
    EXPECT_TRUE(hasKeys());
}

void PressKey(int key, int modifiers) {
    KeysUp up;
    wxUIActionSimulator().Char(key, modifiers);
    up.Wait(1);
}

void TypeText(const char* text) {
    PressKey('A', wxMOD_CONTROL);
    KeysUp up;
    wxUIActionSimulator().Text(text);
    up.Wait(static_cast<int>(std::strlen(text)));
}
