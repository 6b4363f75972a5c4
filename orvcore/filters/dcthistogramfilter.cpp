#include "orvcore/analysis/dcthistogram.h"

#include <algorithm>
#include <cmath>

#include "orvcore/filters/filterlist.h"
#include "orvcore/filters/jpegfilter.h"
#include "zorbase/text.h"

namespace {

constexpr int kLargest = 100;  // bins to either side that the traces are read from

// The low frequencies, where photographs have enough coefficients that are not zero: horizontal, vertical.
constexpr std::pair<int, int> kFrequencies[] = {{1, 0}, {0, 1}, {2, 0}, {1, 1}, {0, 2},
                                                {3, 0}, {2, 1}, {1, 2}, {0, 3}};
constexpr int kTellingFrequencies = 3;
// The whole-number transforms of some cameras give histograms of step 1 a ripple of 2.3, 3.4 or 5 bins, but no gaps.
constexpr std::size_t kTellingGaps = 4;
constexpr std::size_t kFewestBlocks = 1000;

std::string PeriodText(const DctTraces& traces) {
    return traces.period > 0 ? FixedText(traces.period, 2) + " bins" : std::string("none");
}

class DctHistogramFilter : public OrvCoefficientPlot {
  public:
    DctHistogramFilter();

  protected:
    void ComputePlot(const JpegCoefficientPlane& plane, const VecParameter& input, const OrvJob& job,
                     OrvSlotResult& result) const override;
};

DctHistogramFilter::DctHistogramFilter() : OrvCoefficientPlot("DCT Histograms", "dct-histograms") {
    Describe(
        "JPEG",
        "How often each value of one frequency occurs among the coefficients that the file itself holds (first component, before "
        "any decoding). A picture saved twice with different steps has empty bins or a repeating pattern: the period, in bins, is "
        "the first step divided by what both steps share. Marks show the gaps. A period with gaps in three or more of nine low "
        "frequencies is told (Popescu and Farid 2004; Lin and others 2009). It cannot see: a first saving at equal or higher quality "
        "than the second, a crop that moved the 8 x 8 grid, or a resize in between; small and very flat pictures.");
    using enum ParameterType;
    SetParameters({Parameter::Slider("u", "Horizontal Frequency", 1, 0, 7),
                   Parameter::Slider("v", "Vertical Frequency", 0, 0, 7),
                   Parameter::Slider("range", "Largest Value Shown", 40, 10, kLargest)},
                  {},
                  {
                      Parameter::Output(OutputInt64, "step", "Quantization Step"),
                      Parameter::Output(OutputInt64, "empty", "Empty Bins From -20 To 20"),
                      Parameter::Output(OutputInt64, "gaps", "Gaps"),
                      Parameter::Output(OutputString, "period", "Period"),
                      Parameter::Output(OutputString, "strength", "Strength Of The Period"),
                      Parameter::Output(OutputString, "coefficients", "Coefficients (not zero, of all)"),
                      Parameter::Output(OutputText, "warnings", "Warnings"),
                      Parameter::Output(TableString, "numbers", "Low Frequencies"),
                  });
}

void DctHistogramFilter::ComputePlot(const JpegCoefficientPlane& plane, const VecParameter& input,
                                     const OrvJob& job, OrvSlotResult& result) const {
    const int u = input.Get<int>("u"), v = input.Get<int>("v"), range = input.Get<int>("range");
    const DctHistogram shown = ComputeDctHistogram(plane.coefficients, u, v, kLargest);
    const DctTraces traces = FindDctTraces(shown);
    result.SetCount("step", plane.steps[static_cast<std::size_t>(8 * v + u)]);
    result.SetCount("empty", traces.emptyBins);
    result.SetCount("gaps", static_cast<std::int64_t>(traces.gaps.size()));
    result.Set("period", PeriodText(traces));
    result.SetNumber("strength", traces.strength, 1);
    result.Set("coefficients", ToString(shown.total - shown.At(0)) + " of " + ToString(shown.total));

    OrvPlotData& plot = result.plot;
    plot.layerCount = 1;
    plot.marks.resize(2);
    for (int n = -range; n <= range; ++n) {
        plot.x.push_back(static_cast<float>(n));
        plot.counts.push_back(static_cast<unsigned long long>(shown.At(n)));
    }
    for (const int gap : traces.gaps) {
        if (gap < -range || gap > range) continue;
        plot.marks[0].push_back(static_cast<float>(gap));
        plot.marks[1].push_back(0.0F);
    }
    plot.xLabel = "Quantised value (steps)";
    plot.yLabel = "Coefficients";
    plot.text = "frequency " + ToString(u) + ", " + ToString(v) + ", period " + PeriodText(traces);

    int telling = 0;
    std::string where;
    for (const auto& [across, down] : kFrequencies) {
        job.CheckAbort();
        const DctTraces one = FindDctTraces(ComputeDctHistogram(plane.coefficients, across, down, kLargest));
        result.AddNumber("Frequency " + ToString(across) + ", " + ToString(down) + ", period",
                         PeriodText(one));
        result.AddNumber("Frequency " + ToString(across) + ", " + ToString(down) + ", gaps",
                         ToString(static_cast<int>(one.gaps.size())));
        if (one.period <= 0 || one.gaps.size() < kTellingGaps) continue;
        ++telling;
        where += (where.empty() ? "" : "; ") + ToString(across) + ", " + ToString(down) + ": " +
                 FixedText(one.period, 2);
    }
    if (plane.coefficients.total() / 64 < kFewestBlocks) return result.SayNothing("Fewer than 1,000 blocks");
    const OrvMeasurement measurement{"frequencies with period and gaps", static_cast<double>(telling),
                                     static_cast<double>(kTellingFrequencies), 0};
    if (telling >= kTellingFrequencies)
        return result.Judge(
            OrvVerdict::WorthALook, "Traces of an earlier saving", measurement,
            {"The coefficients of " + ToString(telling) +
             " low frequencies repeat with a period, in bins: " + where +
             ". A picture that was saved as JPEG before with larger steps, and then again on the same grid, has "
             "such a pattern; cameras that compress twice have it too."});
    result.Judge(OrvVerdict::NothingFound, "Nothing found", measurement);
}

}  // namespace

std::unique_ptr<OrvFilter> MakeDctHistogramFilter() {
    return std::make_unique<DctHistogramFilter>();
}
