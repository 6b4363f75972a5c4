#include "orvcore/analysis/pixelstatistics.h"

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/filterlist.h"

namespace {

// Which channel leads, what is saturated, whose colour is its own.
class PixelStatisticsFilter : public OrvFilterImage {
  public:
    PixelStatisticsFilter() : OrvFilterImage("Pixel Statistics", "pixel-statistics") {
        Describe(
            "Looking",
            "What each pixel is among its picture's: which channel is the largest or the smallest, whether one is saturated, "
            "whether no other pixel has its colour. In a photograph these change with light and noise; an area with another "
            "mixture than like surfaces around it was painted, smoothed or comes from elsewhere. Strong colours and "
            "saturated skies are even by nature. Nothing is judged here.");
        SetParameters(
            {Parameter::Choice("show", "Shows", 0,
                               {"Largest channel", "Smallest channel", "Saturated", "Colour of its own"})},
            {}, {Parameter::Output(ParameterType::TableString, "numbers", "Numbers")});
    }
    int GetVersion() const override { return 2; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const PixelStatistics statistics = ComputePixelStatistics(GetSamples(file, job), job.Part());
        const double pixels = static_cast<double>(statistics.pixels);
        const auto percent = [pixels](std::uint64_t count) {
            return FixedText(100.0 * static_cast<double>(count) / pixels, 3);
        };
        static constexpr const char* kNames[] = {"red", "green", "blue"};
        for (std::size_t c = 0; c < 3; ++c)
            result.AddNumber(std::string("Largest: ") + kNames[c] + " (%)", percent(statistics.largest[c]));
        for (std::size_t c = 0; c < 3; ++c)
            result.AddNumber(std::string("Smallest: ") + kNames[c] + " (%)", percent(statistics.smallest[c]));
        for (std::size_t c = 0; c < 3; ++c)
            result.AddNumber(std::string("At 0: ") + kNames[c] + " (%)", percent(statistics.atZero[c]));
        for (std::size_t c = 0; c < 3; ++c)
            result.AddNumber(std::string("At the highest level: ") + kNames[c] + " (%)",
                             percent(statistics.atHighest[c]));
        result.AddNumber("Saturated pixels (%)", percent(statistics.saturated));
        result.AddNumber("Different colours", std::to_string(statistics.colours));
        result.AddNumber("Colours of one pixel alone", std::to_string(statistics.coloursSeenOnce));

        const int show = input.Get<int>("show");
        // By value of the map: what its bits mean.
        std::uint8_t table[256];
        OrvMap map;
        map.scale = OrvMapScale::Classes;
        if (show <= 1) {
            map.name = show == 0 ? "Largest Channel" : "Smallest Channel";
            map.classNames = {"several", "red", "green", "blue"};
            map.classColours = {{0, OrvClassColour::Calm},
                                {1, OrvClassColour::Red},
                                {2, OrvClassColour::Green},
                                {3, OrvClassColour::Blue}};
            for (int i = 0; i < 256; ++i) {
                const int bits = i >> (3 * show) & 7;
                table[i] = bits == 1 ? 1 : bits == 2 ? 2 : bits == 4 ? 3 : 0;
            }
        } else {
            map.name = show == 2 ? "Saturated" : "Colour Of Its Own";
            map.classNames = {"no", "yes"};
            map.classColours = {{0, OrvClassColour::Calm}};
            const int bit = show == 2 ? kSaturated : kUniqueColour;
            for (int i = 0; i < 256; ++i) table[i] = (i & bit) != 0 ? 1 : 0;
        }
        cv::LUT(statistics.map, cv::Mat(1, 256, CV_8U, table), map.values);
        result.AddMap(std::move(map));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakePixelStatisticsFilter() {
    return std::make_unique<PixelStatisticsFilter>();
}
