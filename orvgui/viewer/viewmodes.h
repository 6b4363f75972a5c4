#pragma once

#include "orvgui/viewer/viewgeometry.h"

// What the two canvases of a viewer page show in each view mode, and which mode follows from a request. No
// window here.

enum class ViewImage {
    None,
    EvidenceInput,
    EvidenceOutput,
    ReferenceInput,
    ReferenceOutput,
    DifferenceInput,   // absolute difference of the two inputs
    DifferenceOutput,  // absolute difference of the two outputs
};

enum class ViewLayout { First, Second, Split };

struct ViewMode {
    const char* label;  // untranslated
    ViewImage first;
    ViewImage second;
    ViewLayout layout;
};

constexpr int kViewModeCount = 10;
constexpr int kPlotModeCount = 3;
// The mode's row; null for a number outside 0..9.
const ViewMode* FindViewMode(int mode);
// Labels of the view choice of plot pages, 0..2.
const char* PlotModeLabel(int index);
ViewLayout LayoutOfMode(int mode);  // First for a number outside 0..9

struct ViewRequest {
    int mode = -1;             // -1: what the view choice says
    int choiceSelection = -1;  // -1: nothing is chosen
    int choiceCount = 0;
    bool keepUnprocessed = false;
    bool hasEvidence = false;
    bool hasReference = false;
    int splitMode = -1;        // mode of the last split
    int viewChoiceCount = -1;  // choiceCount of the last request
};

struct ViewDecision {
    int layoutMode = 0;        // mode to lay out by, and the entry of the choice
    int imageMode = 0;         // mode to choose the images by
    bool split = false;        // lay out anew
    bool setChoice = false;    // bring the choice to layoutMode
    int viewChoiceCount = -1;  // to be stored
};
ViewDecision DecideView(const ViewRequest& request);

// Widths of the two canvas panels after a change to the mode's layout; a hidden panel is 1 wide.
struct PanelWidths {
    int first = 1;
    int second = 1;
    bool operator==(const PanelWidths&) const = default;
};
PanelWidths WidthsForMode(int mode, PanelWidths widths);
// The same after a resize: both panels share `total` equally and to the pixel (an odd pixel is left between
// them), or the visible one has it all.
PanelWidths WidthsForTotal(ViewLayout layout, int total, int gap);
