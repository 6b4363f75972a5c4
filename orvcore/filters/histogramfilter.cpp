#include "orvcore/analysis/histogram.h"

#include <cmath>
#include <iterator>

#include "orvcore/filters/filterlist.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

// Outputs of the channel that is shown, in the order of a row of the hidden table.
constexpr const char* kChannelOutputs[] = {"mean",   "deviation", "minimum",   "maximum",
                                           "median", "emptyBins", "saturated", "contrast"};

// The contrast measure is read as a sign only where it means something: 8-bit levels, enough pixels that the
// histogram of a photograph is smooth, and enough colours that it is a photograph.
constexpr std::uint64_t kFewestPixels = 100000;
constexpr std::uint64_t kFewestColours = 4096;
constexpr double kHighContrastMeasure = 2.0;
constexpr int kManyEmptyBins = 8;

std::string Saturation(const ChannelHistogram& channel, int levels) {
    return FixedText(100 * channel.saturatedBelow, 3) + " % at 0, " +
           FixedText(100 * channel.saturatedAbove, 3) + " % at " + ToString(levels - 1);
}

std::vector<std::string> Row(const ChannelHistogram& channel, int levels) {
    return {FixedText(channel.mean, 3),
            FixedText(channel.deviation, 3),
            ToString(channel.minimum),
            ToString(channel.maximum),
            FixedText(channel.median, 1),
            ToString(channel.emptyBins),
            Saturation(channel, levels),
            levels == 256 ? FixedText(channel.contrastMeasure, 2)
                          : std::string("Not computed: it is defined for 8-bit levels")};
}

void Judge(const PictureHistogram& histogram, OrvSlotResult& result) {
    const ChannelHistogram& luminance = histogram.channels[0];
    if (histogram.levels != 256 || luminance.pixels < kFewestPixels ||
        histogram.uniqueColours < (histogram.isGrey ? 64 : kFewestColours)) {
        result.SayNothing(histogram.levels != 256            ? "More than 8 bits"
                          : luminance.pixels < kFewestPixels ? "Too few pixels"
                                                             : "Too few colours");
        return;
    }
    OrvMeasurement measurement{"contrast measure", 0.0, kHighContrastMeasure};
    static constexpr const char* kNames[] = {"luminance", "red", "green", "blue"};
    for (std::size_t i = 0; i < (histogram.isGrey ? 1U : histogram.channels.size()); ++i) {
        const ChannelHistogram& channel = histogram.channels[i];
        if (channel.contrastMeasure < kHighContrastMeasure || channel.emptyBins < kManyEmptyBins) {
            measurement.value = std::max(measurement.value, channel.contrastMeasure);
            continue;
        }
        measurement.value = channel.contrastMeasure;
        return result.Judge(
            OrvVerdict::WorthALook, "Gaps and peaks in the levels", measurement,
            {std::string("The histogram of ") + kNames[i] + " has " + ToString(channel.emptyBins) +
             " empty levels inside its range and a contrast measure of " +
             FixedText(channel.contrastMeasure, 2) +
             ". A brightness, contrast or gamma curve applied to 8-bit levels leaves such gaps; a camera's own "
             "processing at 8 bits and palettes can do so too."});
    }
    if (measurement.value < measurement.threshold)
        result.Judge(OrvVerdict::NothingFound, "Nothing found", measurement);
    else
        result.Judge(OrvVerdict::NothingFound, "Peaks without gaps, as drawings have them");
}

// How often each level occurs, as bars per channel, with its numbers and a measure of contrast enhancement.
// A file without a picture that can be decoded gets no plot and says why.
class HistogramFilter : public OrvFilterPlot {
  public:
    HistogramFilter();
    bool GivesVerdict() const override { return true; }
    int GetVersion() const override { return 2; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
    void PostProcess(const VecParameter& postProcessing, const OrvJob& job,
                     OrvSlotResult& result) const override;
};

HistogramFilter::HistogramFilter() : OrvFilterPlot("Histogram", "histogram") {
    Describe(
        "Looking",
        "How often each level occurs, in 256 bins. A curve of brightness, contrast or gamma applied to 8-bit levels "
        "leaves gaps and peaks, which the contrast measure adds up: the energy of the histogram's spectrum from a "
        "quarter of its highest frequency upwards, per pixel. Photographs straight from a camera stay below about 2, "
        "such curves give 3 to 9. It cannot see: saving as JPEG afterwards fills the gaps and lowers the measure, a "
        "later resize or noise removes it; darkening may leave peaks without a gap; curves applied before the picture "
        "was reduced to 8 bits leave nothing. Drawings, screenshots and small or very flat pictures have gaps of "
        "their own.");
    using enum ParameterType;
    SetParameters(
        {},
        {
            Parameter::Choice("layer", "Channel", 0, {"Luminance", "Red", "Green", "Blue"}),
            Parameter::Bool("logarithmic", "Logarithmic Scale", false),
        },
        {
            Parameter::Output(OutputString, "mean", "Mean (level)"),
            Parameter::Output(OutputString, "deviation", "Standard Deviation (levels)"),
            Parameter::Output(OutputString, "minimum", "Minimum (level)"),
            Parameter::Output(OutputString, "maximum", "Maximum (level)"),
            Parameter::Output(OutputString, "median", "Median (level)"),
            Parameter::Output(OutputString, "emptyBins", "Empty Bins Inside The Range"),
            Parameter::Output(OutputString, "saturated", "Saturated Pixels"),
            Parameter::Output(OutputString, "contrast", "Contrast Measure")
                .SetToolTip(
                    "Energy of the histogram's spectrum above 32 cycles per 256 levels, divided by the number of pixels"),
            Parameter::Output(OutputInt64, "pixels", "Pixels"),
            Parameter::Output(OutputInt64, "colours", "Unique Colours"),
            Parameter::Output(OutputText, "warnings", "Warnings"),
            Parameter::Output(TableString, "channels", "All Channels").SetHiddenFromGui(),
        });
}

void HistogramFilter::Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                              OrvSlotResult& result) const {
    const auto refuse = [&result](const std::string& why) {
        result.Set("warnings", why);
        result.SayNothing("No picture to count");
    };
    std::shared_ptr<const DecodedImage> decoded;
    try {
        decoded = file.GetDecoded(job);
    } catch (const ZorException& exception) {
        // A picture that cannot be decoded is an answer; an order to stop or a lack of memory is not.
        if (exception.GetKind() != ZorException::Kind::Format) throw;
        return refuse(exception.GetMessage());
    }
    if (!decoded->image.IsValid()) return refuse("Nothing of the picture could be decoded.");

    const PictureHistogram histogram = ComputeHistogram(decoded->image.GetMat(), job.Part());
    const int binWidth = histogram.levels / kHistogramBins;
    OrvPlotData& plot = result.plot;
    plot.layerCount = static_cast<int>(histogram.channels.size());
    for (int bin = 0; bin < kHistogramBins; ++bin)
        plot.x.push_back(static_cast<float>(bin * binWidth + (binWidth - 1) / 2.0));
    TableString rows;
    for (const ChannelHistogram& channel : histogram.channels) {
        plot.counts.insert(plot.counts.end(), channel.counts.begin(), channel.counts.end());
        rows.push_back(Row(channel, histogram.levels));
    }
    plot.xLabel =
        binWidth == 1 ? "Level (0 to 255, bins of 1 level)" : "Level (0 to 65535, bins of 256 levels)";
    plot.yLabel = "Pixels";
    result.Set("channels", rows);
    result.SetCount("pixels", static_cast<std::int64_t>(histogram.channels[0].pixels));
    result.SetCount("colours", static_cast<std::int64_t>(histogram.uniqueColours));
    result.Set("warnings", decoded->warnings.empty() ? std::string("None") : Join(decoded->warnings, "\n"));
    Judge(histogram, result);
}

void HistogramFilter::PostProcess(const VecParameter& post, const OrvJob&, OrvSlotResult& result) const {
    const Parameter& channels = *result.output.Find("channels");
    if (!channels.IsSet()) return;
    const TableString& rows = channels.Get<TableString>();
    const auto layer = static_cast<std::size_t>(post.Get<int>("layer"));
    if (layer >= rows.size() || rows[layer].size() != std::size(kChannelOutputs)) return;
    for (std::size_t i = 0; i < std::size(kChannelOutputs); ++i)
        result.Set(kChannelOutputs[i], rows[layer][i]);

    OrvPlotData& plot = result.plot;
    plot.text = post.Find("layer")->GetValueAsString();
    if (!post.Get<bool>("logarithmic")) return;
    // Bars have whole heights; logarithms are drawn as a curve.
    for (std::size_t start = 0; start < plot.counts.size(); start += plot.x.size()) {
        std::vector<float>& curve = plot.curves.emplace_back();
        for (std::size_t bin = 0; bin < plot.x.size(); ++bin)
            curve.push_back(
                static_cast<float>(std::log10(1.0 + static_cast<double>(plot.counts[start + bin]))));
    }
    plot.counts.clear();
    plot.yLabel = "log10(1 + pixels)";
}

}  // namespace

std::unique_ptr<OrvFilter> MakeHistogramFilter() {
    return std::make_unique<HistogramFilter>();
}
