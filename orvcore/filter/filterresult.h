#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "orvcore/filter/map.h"
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

    bool IsEmpty() const { return x.empty() && marks.empty() && !image.IsValid(); }
};

// The number that a verdict rests on, and what it was held against.
struct OrvMeasurement {
    std::string quantity = {};  // "contrast measure"
    double value = 0.0;
    double threshold = 0.0;
    int digits = 2;  // behind the point
    std::string unit = {};
    // The share of untouched pictures that lie beyond the threshold, 0..1, where it was measured.
    std::optional<double> falseAlarmRate = {};
};

// "contrast measure 3.21, threshold 2.00; 0.4 % of untouched pictures lie beyond it".
std::string MeasurementText(const OrvMeasurement& measurement);

// A number with so many digits behind the point; "" for what is no number.
std::string FixedText(double value, int digits);

// What a filter found in one file. Immutable once published.
struct OrvSlotResult {
    VecParameter output;  // the filter's outputs in order, evidence values only
    FilterStatus status = FilterStatus::Processed;
    OrvVerdict verdict = OrvVerdict::None;
    std::string verdictText;            // a few words; why not, for NotApplicable
    std::vector<std::string> findings;  // whole sentences, each understandable alone
    Image inputImage;                   // empty: the file's own picture
    Image outputImage;                  // empty: the first map, drawn
    OrvPlotData plot;                   // what a plot page shows
    std::vector<OrvPlotData> morePlots;
    std::vector<OrvMap> maps;
    std::vector<Image>
        thumbnails;          // small, 8 bits; cells of tables name them by their place here (ThumbnailCell)
    bool isSkipped = false;  // the filter said why not before any work; nothing but the verdict is there
    bool isLight = false;  // pictures and maps were let go to save memory; texts, numbers and plots are there

    // Sets the output of that name. Throws ZorException (kind Argument) when the filter has none or the value is of another type
    // than the output's.
    template <typename T>
    void Set(const std::string& name, const T& value);
    void Set(const std::string& name, const char* value) { Set(name, std::string(value)); }
    // The same for a number shown as text.
    void SetNumber(const std::string& name, double value, int digits) { Set(name, FixedText(value, digits)); }
    void SetCount(const std::string& name, std::int64_t value) { Set(name, value); }
    // Adds a row to the table of numbers: the filter has an output "numbers" of type TableString (otherwise ZorException, kind
    // Argument), in which the values of both files come to stand side by side. label: quantity and unit.
    void AddNumber(const std::string& label, const std::string& value);
    // A map that can be shown, otherwise ZorException (kind Argument).
    void AddMap(OrvMap map);

    // The filter says nothing about this file, and why, in a few words ("Not a JPEG"). No failure.
    void SayNothing(const std::string& reason);
    bool SaysNothing() const { return verdict == OrvVerdict::NotApplicable; }

    // Sets verdict, text, findings and status together. WorthALook and StrongSign stand out, the others do not; what stands out has
    // at least one finding: without one given, the text is it.
    void Judge(OrvVerdict newVerdict, const std::string& text, std::vector<std::string> sentences = {});
    // The same; the text is followed by the measured value, the threshold and what is known of false alarms.
    void Judge(OrvVerdict newVerdict, const std::string& text, const OrvMeasurement& measurement,
               std::vector<std::string> sentences = {});
};
using OrvSlotResultPtr = std::shared_ptr<const OrvSlotResult>;

class OrvMapPictures;

// One published result of a filter: what was asked, for which files, and what came out. Immutable.
struct OrvFilterResult {
    VecParameter input;
    VecParameter postProcessing;
    OrvFilePtr file[kFileSlots];            // null where no file was loaded
    OrvSlotResultPtr computed[kFileSlots];  // before post-processing
    OrvSlotResultPtr slot[kFileSlots];      // after post-processing
    VecParameter output;                    // both slots merged: evidence values and reference values
    FilterStatus status = FilterStatus::NotProcessed;
    std::string surroundings;  // the filter's, when the work began

    // What was in the files that are parameters when the result was asked for; see parameterfiles.h.
    std::string fileStamp;
    bool isFresh[kFileSlots] = {};  // computed just now, so worth keeping on disk

    bool IsLight() const;
    // How many bytes pictures and maps hold, beside the file's own picture; memory that they share counts once.
    std::size_t GetBytes() const;
    // A copy without them.
    std::shared_ptr<const OrvFilterResult> MakeLight() const;

    // The maps as they are to be drawn: an automatic range is the one that a map shares with the other file's map of its name.
    // Cheap: values are shared. Empty where the slot has no result.
    std::vector<OrvMap> GetMaps(int ofSlot) const;
    // What is shown as processed: the output picture, or the first map drawn over its whole image; empty when there is neither. Drawn
    // at the first call, kept for the next.
    Image GetPicture(int ofSlot) const;
    // The evidence's thumbnails and behind them the reference's: a table of both files counts the latter on (see ShiftThumbnails).
    std::vector<Image> GetThumbnails() const;

    std::shared_ptr<OrvMapPictures> pictures;  // what was drawn; made with the result
};
using OrvFilterResultPtr = std::shared_ptr<const OrvFilterResult>;

[[noreturn]] void ThrowOutput(const std::string& name, bool exists);

template <typename T>
void OrvSlotResult::Set(const std::string& name, const T& value) {
    Parameter* parameter = output.Find(name);
    if (parameter == nullptr || !parameter->SetValue(value)) ThrowOutput(name, parameter != nullptr);
}
