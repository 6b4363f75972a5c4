#include "orvcore/analysis/contrast.h"

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/filterlist.h"

namespace {

std::string Listed(const std::vector<int>& levels) {
    constexpr std::size_t kMost = 24;
    std::string text;
    for (std::size_t i = 0; i < std::min(levels.size(), kMost); ++i)
        text += (i > 0 ? ", " : "") + std::to_string(levels[i]);
    return levels.size() > kMost ? text + "..." : text;
}

class ContrastFilter : public OrvFilterImage {
  public:
    ContrastFilter() : OrvFilterImage("Contrast Changes", "contrast-changes") {
        Describe(
            "Sampling",
            "Brightness, contrast and gamma curves that are applied to a finished picture leave gaps in its histogram where they spread levels "
            "and peaks where they join them. The table lists both for each channel, the map measures them (high frequencies of the "
            "histogram) block by block: a block that stands out from blocks of the same texture got a curve of its own. Smooth and nearly "
            "flat blocks have rough histograms by nature. Saving as JPEG afterwards fills the gaps, so nothing found says nothing about "
            "a JPEG file; drawings and scanned text have gaps from the start. After Stamm and Liu 2010; Lin, Wei and Li 2013.");
        SetParameters({Parameter::Slider("block", "Block Of The Map (pixels)", 128, 32, 256)}, {},
                      {Parameter::Output(ParameterType::TableString, "channels", "Histograms"),
                       Parameter::Output(ParameterType::TableString, "numbers", "Numbers")});
    }
    int GetVersion() const override { return 2; }
    bool GivesVerdict() const override { return true; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        job.SetProgress(0.0, "Counting levels");
        const ContrastResult found =
            ComputeContrast(GetEightBits(file, job), input.Get<int>("block"), job.Part());
        TableString table{{"Channel", "Range (99 %)", "Gaps", "Peaks", "High frequencies", "Empty levels"}};
        for (const ContrastChannel& channel : found.channels) {
            table.push_back({channel.name,
                             std::to_string(channel.first) + " to " + std::to_string(channel.last),
                             std::to_string(channel.gaps.size()), std::to_string(channel.peaks.size()),
                             FixedText(channel.fourier, 2), Listed(channel.gaps)});
            result.AddNumber(channel.name + ": gaps / peaks", std::to_string(channel.gaps.size()) + " / " +
                                                                  std::to_string(channel.peaks.size()));
            for (const std::int64_t count : channel.histogram)
                result.plot.counts.push_back(static_cast<unsigned long long>(count));
        }
        for (int i = 0; i < 256; ++i) result.plot.x.push_back(static_cast<float>(i));
        result.plot.layerCount = static_cast<int>(found.channels.size());
        result.plot.xLabel = "Level";
        result.plot.yLabel = "Pixels";
        result.Set("channels", table);
        // Lower or narrower than a block of the map, or saturated in every block: the picture alone.
        if (found.map.KnownPart() <= 0.0)
            result.outputImage = Image(GetEightBits(file, job));
        else
            result.AddMap(ToOrvMap(found.map, "Roughness Of The Histogram", "", {0.0, 10.0}));
        JudgeBy(DecideContrast(found), {"gaps", 0.0, 0.0, 0, "", {}}, result);
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeContrastFilter() {
    return std::make_unique<ContrastFilter>();
}
