#pragma once

#include <wx/string.h>

#include <cstdint>
#include <vector>

#include "orvgui/common/orvgui.h"

class OrvFilter;
class WindowProperties;

// Fields of the status bar.
enum class OrvStatusField : int { Activity, Picture, Pixel, Zoom };

// What pages, canvases and tables ask of the main window: the few things that are kept once for the whole program. The main
// frame implements it; nobody owns it through this class. GUI thread.
class ORVGUI_API OrvFrameHost {
  public:
    virtual ~OrvFrameHost() = default;

    // The zoom and view record that all canvases share; owned by the frame.
    virtual WindowProperties* GetWindowProperties() const = 0;
    // Text of a field of the status bar; the frame itself keeps Activity and Picture, the viewer the other two.
    virtual void SetStatusField(OrvStatusField field, const wxString& text) = 0;
    // Widths of a table's columns in pixels, kept over a restart; empty for an unknown key.
    virtual std::vector<int> GetListControlColumnsWidth(const wxString& key) const = 0;
    virtual void SetListControlColumnsWidth(const wxString& key, const std::vector<int>& widths) = 0;
    // Goes to the page that shows a file's bytes, at an offset. count: how many are meant, 0 when that is not known.
    virtual void ShowBytes(std::uint64_t offset, std::uint64_t count) = 0;
    // Goes to the filter's page, as if its item in the tree had been chosen.
    virtual void ShowFilter(OrvFilter* filter) = 0;
};

// The main window of the running program, null when there is none.
ORVGUI_API OrvFrameHost* GetFrameHost();
// Whether the main window is the active one; true when that cannot be told.
bool IsMainWindowActive();
