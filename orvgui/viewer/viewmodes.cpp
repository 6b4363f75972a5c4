#include "orvgui/viewer/viewmodes.h"

#include <wx/intl.h>

#include <algorithm>
#include <array>

namespace {

constexpr std::array<ViewMode, kViewModeCount> kViewModes = {{
    {wxTRANSLATE("Unprocessed (Evidence)"), ViewImage::EvidenceInput, ViewImage::EvidenceOutput,
     ViewLayout::First},
    {wxTRANSLATE("Processed (Evidence)"), ViewImage::EvidenceInput, ViewImage::EvidenceOutput,
     ViewLayout::Second},
    {wxTRANSLATE("Unprocessed VS Processed (Evidence)"), ViewImage::EvidenceInput, ViewImage::EvidenceOutput,
     ViewLayout::Split},
    {wxTRANSLATE("Unprocessed (Reference)"), ViewImage::ReferenceInput, ViewImage::ReferenceOutput,
     ViewLayout::First},
    {wxTRANSLATE("Processed (Reference)"), ViewImage::ReferenceInput, ViewImage::ReferenceOutput,
     ViewLayout::Second},
    {wxTRANSLATE("Unprocessed VS Processed (Reference)"), ViewImage::ReferenceInput,
     ViewImage::ReferenceOutput, ViewLayout::Split},
    {wxTRANSLATE("Unprocessed (Evidence VS Reference)"), ViewImage::EvidenceInput, ViewImage::ReferenceInput,
     ViewLayout::Split},
    {wxTRANSLATE("Processed (Evidence VS Reference)"), ViewImage::EvidenceOutput, ViewImage::ReferenceOutput,
     ViewLayout::Split},
    {wxTRANSLATE("Difference Unprocessed (Evidence VS Reference)"), ViewImage::None,
     ViewImage::DifferenceInput, ViewLayout::Second},
    {wxTRANSLATE("Difference Processed (Evidence VS Reference)"), ViewImage::None,
     ViewImage::DifferenceOutput, ViewLayout::Second},
}};

constexpr std::array<const char*, kPlotModeCount> kPlotModes = {wxTRANSLATE("Plot (Evidence)"),
                                                                wxTRANSLATE("Plot (Reference)"),
                                                                wxTRANSLATE("Plot (Evidence VS Reference)")};

}  // namespace

const ViewMode* FindViewMode(int mode) {
    if (mode < 0 || mode >= kViewModeCount) return nullptr;
    return &kViewModes[static_cast<std::size_t>(mode)];
}

const char* PlotModeLabel(int index) {
    return index >= 0 && index < kPlotModeCount ? kPlotModes[static_cast<std::size_t>(index)] : "";
}

ViewLayout LayoutOfMode(int mode) {
    const ViewMode* row = FindViewMode(mode);
    return row ? row->layout : ViewLayout::First;
}

ViewDecision DecideView(const ViewRequest& request) {
    const bool fromChoice = request.mode == -1;
    int mode = fromChoice ? request.choiceSelection : request.mode;
    const bool nothingChosen = mode == -1;
    if (nothingChosen) mode = 1;

    bool changed = false;
    if (request.choiceCount != request.viewChoiceCount || nothingChosen) {
        if (request.choiceCount == kPlotModeCount) {
            mode = 1;
        } else if (request.choiceCount == kViewModeCount && request.hasEvidence && request.hasReference) {
            mode = 7;
        }
        changed = true;
    } else if (mode != request.splitMode) {
        if (fromChoice && request.splitMode != -1) mode = request.splitMode;
        changed = true;
    }

    ViewDecision decision;
    decision.viewChoiceCount = request.choiceCount;
    if (!request.keepUnprocessed && (mode == 0 || mode == 3)) {
        ++mode;
        changed = true;
        decision.setChoice = true;
    }
    decision.split = changed;
    decision.setChoice = decision.setChoice || (changed && fromChoice);
    decision.layoutMode = mode;
    // With a reference alone the modes of the evidence show the reference; the others name their images
    // themselves.
    const bool referenceAlone = !request.hasEvidence && request.hasReference;
    decision.imageMode = referenceAlone && mode >= 0 && mode <= 2 ? mode + 3 : mode;
    return decision;
}

PanelWidths WidthsForMode(int mode, PanelWidths widths) {
    const auto takeAll = [](int own, int other) {
        if (own == 1) return other;
        return own > other ? own : 2 * other;
    };
    switch (LayoutOfMode(mode)) {
        case ViewLayout::First:
            return {takeAll(widths.first, widths.second), 1};
        case ViewLayout::Second:
            return {1, takeAll(widths.second, widths.first)};
        case ViewLayout::Split:
            break;
    }
    const int visible = widths.first == 1 ? widths.second : widths.first;
    if (widths.first == 1 && widths.second == 1) return widths;
    return {visible / 2, visible / 2};
}

PanelWidths WidthsForTotal(ViewLayout layout, int total, int gap) {
    switch (layout) {
        case ViewLayout::First:
            return {std::max(total, 1), 1};
        case ViewLayout::Second:
            return {1, std::max(total, 1)};
        case ViewLayout::Split:
            break;
    }
    const int half = std::max((total - gap) / 2, 1);
    return {half, half};
}
