#include "orvcore/analysis/profile.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/filterlist.h"

namespace {

// One channel's levels over another's.
class ScatterFilter : public OrvFilterPlot {
  public:
    ScatterFilter() : OrvFilterPlot("Scatter", "scatter") {
        Describe(
            "Looking",
            "Each pair of levels of two channels that occurs in the picture is a point; the line is the best straight one through "
            "all pixels. A photograph of one light gives one soft cloud; two clouds beside each other, gaps in even steps or "
            "sharp borders speak of parts with another white balance, of curves applied at 8 bits, or of a palette. "
            "Scenes with strong colours have several clouds by nature. Nothing is judged here.");
        const std::vector<std::string> channels{"Luminance", "Red", "Green", "Blue"};
        SetParameters({Parameter::Choice("first", "Across", 1, channels),
                       Parameter::Choice("second", "Up", 2, channels),
                       Parameter::Slider("least", "Pixels At Least", 1, 1, 1000)},
                      {}, {Parameter::Output(ParameterType::TableString, "numbers", "Numbers")});
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const ChannelScatter scatter =
            ComputeScatter(GetSamples(file, job), static_cast<BitChannel>(input.Get<int>("first")),
                           static_cast<BitChannel>(input.Get<int>("second")), job.Part());
        const int least = input.Get<int>("least");
        OrvPlotData& plot = result.plot;
        plot.marks.resize(2);
        int pairs = 0;
        for (int second = 0; second < scatter.counts.rows; ++second) {
            for (int first = 0; first < scatter.counts.cols; ++first) {
                const int count = scatter.counts.at<int>(second, first);
                pairs += count > 0 ? 1 : 0;
                if (count < least) continue;
                plot.marks[0].push_back(static_cast<float>(first));
                plot.marks[1].push_back(static_cast<float>(second));
            }
        }
        if (scatter.slope == scatter.slope)
            plot.helpLines.push_back({0.0F, static_cast<float>(scatter.offset), 255.0F,
                                      static_cast<float>(scatter.offset + 255.0 * scatter.slope)});
        plot.xLabel = input.Find("first")->GetValueAsString() + " (level)";
        plot.yLabel = input.Find("second")->GetValueAsString() + " (level)";
        result.AddNumber("Pairs of levels that occur", std::to_string(pairs));
        result.AddNumber("Correlation (-1 to 1)", FixedText(scatter.correlation, 4));
        result.AddNumber("Slope of the line", FixedText(scatter.slope, 4));
        result.AddNumber("Its level at 0", FixedText(scatter.offset, 2));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeScatterFilter() {
    return std::make_unique<ScatterFilter>();
}
