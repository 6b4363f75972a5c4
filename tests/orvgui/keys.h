#pragma once

#include <wx/toplevel.h>

// Keys as from the keyboard, each waited for until the window has seen it: no time that is too short on a busy machine.

// Until the window is the active one and one of its children has the focus: keys before that are lost.
void PumpUntilActive(wxTopLevelWindow* window);
// A key for the window that has the focus; back when it was let go again. modifiers: of wxMOD_…
void PressKey(int key, int modifiers = 0);
// The same for a text, in place of what the field with the focus holds.
void TypeText(const char* text);
