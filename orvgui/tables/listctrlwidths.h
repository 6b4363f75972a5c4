#pragma once

#include <wx/string.h>

#include <vector>

#include "orvgui/common/orvgui.h"

// The rules of a table control's automatic column widths and of the texts in its cells. Pixels; no windows.

// Up to this many rows every row is measured, beyond only the visible ones.
constexpr int kExactWidthRows = 1000;

struct RowRange {
    int first = 0;
    int count = 0;
    bool operator==(const RowRange&) const = default;
};
// The rows whose cells are measured. `visible` is how many fit the window, at least a screenful is assumed.
RowRange RowsToMeasure(int rows, int firstVisible, int visible);

// The width of a column from the best widths of its cells: their average, of which those of at most 3 pixels are no part;
// `defaultWidth` when nothing is left; at least `minimalWidth`; and room around it.
int ColumnWidth(const std::vector<int>& bestWidths, int defaultWidth, int minimalWidth);

// One pixel more or less, so that the grid lays itself out anew: odd widths grow, even ones shrink. A hidden column
// (width 0) stays hidden.
int ToggledWidth(int width);

// A text in lines of at most `columns` letters of fixed pitch (East Asian ones count twice), broken between words where there are
// any; at most `lines` of them, with an ellipsis where that is not all. Its own line feeds stay.
ORVGUI_API wxString WrapText(const wxString& text, int columns, int lines);
