#pragma once

#include <wx/string.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

// The text of the layout file: lines of whether the window is maximised, its size, the docking manager's
// perspective, the column widths of tables. No window and no file access here.

using ColumnWidths = std::map<wxString, std::vector<int>>;  // pixels, by table key

struct OrvLayout {
    bool maximised = false;
    int width = 0;  // of the frame, pixels
    int height = 0;
    wxString perspective;
    ColumnWidths columnWidths;
};

// A pane that a perspective must describe, and whether it fills the centre.
struct LayoutPane {
    wxString name;
    bool isCentre = false;
};

wxString LayoutToText(const OrvLayout& layout);

// Nothing when the text is short, damaged, or its perspective is not one of exactly these panes.
std::optional<OrvLayout> LayoutFromText(const wxString& text, const std::vector<LayoutPane>& panes);

// Whether the docking manager can load the text without a surprise: every pane once and completely described,
// docked and not hidden, in the centre exactly those that belong there, no other pane, plausible numbers,
// nothing cut off.
bool IsPerspectiveValid(const wxString& perspective, const std::vector<LayoutPane>& panes);

// "key=10;20|other=5". A table without widths is written without its "=".
wxString ColumnWidthsToText(const ColumnWidths& widths);
// Adds what the text says, replacing known keys. A width that is not a number is 0.
void ColumnWidthsFromText(const wxString& text, ColumnWidths& widths);
