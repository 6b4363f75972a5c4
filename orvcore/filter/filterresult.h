#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "orvcore/model/fileid.h"
#include "orvcore/model/loadedfile.h"
#include "zorbase/parameter.h"
#include "zorimage/image.h"

// State of one configuration of a filter: not run for the loaded files, run, run and worth a look.
enum class FilterStatus : int { NotProcessed = 0, Processed = 1, StandsOut = 2 };

// What a filter has to say about one image, for the summary. None: this filter gives no verdicts.
enum class OrvVerdict : int { None, NotApplicable, NothingFound, WorthALook, StrongSign };

// The data of one plot. Bars go to the plot's "Histogram" layer, curves to "Line", marks to "Points", and the
// three help lines to the blue, green and purple layers, in this order.
struct OrvPlotData {
    std::vector<float> x;                    // abscissae shared by bars and curves
    std::vector<std::vector<float>> curves;  // one per plot layer choice; each as long as x
    int layerCount = 0;  // how many curves and bar sets there are; the visible layer is below it
    std::vector<unsigned long long> counts;     // bar heights: layerCount blocks as long as x, or empty
    Image image;                                // picture behind the plot, mostly empty
    std::vector<std::vector<float>> marks;      // {x…}, {y…}
    std::vector<std::vector<float>> helpLines;  // up to three lines, each {x0, y0, x1, y1, …}
    std::string xLabel;                         // quantity and unit
    std::string yLabel;
    std::string text;  // one line shown in the corner
};

// What a filter found in one file. Immutable once published.
struct OrvSlotResult {
    VecParameter output;  // the filter's outputs in order, evidence values only
    FilterStatus status = FilterStatus::Processed;
    OrvVerdict verdict = OrvVerdict::None;
    std::string verdictText;            // a few words
    std::vector<std::string> findings;  // whole sentences, each understandable alone
    Image inputImage;
    Image outputImage;
    OrvPlotData plot;
};
using OrvSlotResultPtr = std::shared_ptr<const OrvSlotResult>;

// One published result of a filter: what was asked, for which files, and what came out. Immutable.
struct OrvFilterResult {
    VecParameter input;
    VecParameter postProcessing;
    OrvFilePtr file[kFileSlots];            // null where no file was loaded
    OrvSlotResultPtr computed[kFileSlots];  // before post-processing
    OrvSlotResultPtr slot[kFileSlots];      // after post-processing
    VecParameter output;                    // both slots merged: evidence values and reference values
    FilterStatus status = FilterStatus::NotProcessed;
};
using OrvFilterResultPtr = std::shared_ptr<const OrvFilterResult>;
