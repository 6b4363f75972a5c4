#include "orvcore/analysis/chromaticaberration.h"

#include <algorithm>

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/filterlist.h"

namespace {

constexpr float kDrawnTimes = 40.0F;  // displacements are a fraction of a pixel

class ChromaticAberrationFilter : public OrvFilterImage {
  public:
    ChromaticAberrationFilter() : OrvFilterImage("Chromatic Aberration", "chromatic-aberration") {
        Describe(
            "Sampling",
            "A lens shows red and blue a little larger or smaller than green, so colours are displaced along rays from its centre, more so "
            "towards the corners. Where windows of 64 pixels have edges enough, the displacement is measured (lines, 40 times its length) "
            "and a lens is fitted to all of them; the map shows by how much a place departs from it. A part that was pasted from elsewhere "
            "in another picture, or turned, departs as a whole. Untouched pictures depart by up to 1.7 pixels in places, so the map is "
            "a hint at most. Blind near the centre, in flat and saturated places (grey), in small and grey pictures, and with "
            "cameras that correct their lenses. JPEG makes the aberration look smaller: the magnification is a lower bound. After "
            "Johnson and Farid 2006; Gloe 2010; Mayer and Stamm 2018.");
        SetParameters({Parameter::Choice("colour", "Colour Against Green", 0, {"Red", "Blue"})}, {},
                      {Parameter::Output(ParameterType::TableString, "numbers", "Numbers")});
    }
    bool GivesVerdict() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return WhyNotSmallerThan(file, 128);
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const cv::Mat picture = GetEightBits(file, job);
        if (picture.channels() != 3) return result.SayNothing("A grey picture");
        job.SetProgress(0.0, "Measuring displaced colours");
        const ChromaticAberrationResult found = ComputeChromaticAberration(picture, job.Part());
        for (std::size_t i = 0; i < found.colours.size(); ++i) {
            const AberrationOfColour& colour = found.colours[i];
            const std::string name = i == 0 ? "Red" : "Blue";
            result.AddNumber(name + ": usable windows", std::to_string(colour.windows.size()));
            if (!colour.isFitted) continue;
            result.AddNumber(name + ": magnification against green", FixedText(colour.alpha, 5));
            result.AddNumber(name + ": centre (x, y)",
                             FixedText(colour.centre.x, 0) + ", " + FixedText(colour.centre.y, 0));
            result.AddNumber(name + ": displacement in the corners (pixels)", FixedText(colour.atCorner, 2));
            result.AddNumber(name + ": departs from the lens by (pixels)", FixedText(colour.rms, 2));
            result.AddNumber(name + ": largest mean departure of 256 pixels",
                             FixedText(colour.largestDeviation, 2));
        }
        const AberrationOfColour& shown = found.colours[static_cast<std::size_t>(input.Get<int>("colour"))];
        OrvMap map = ToOrvMap(shown.deviation, "Departure From The Lens", "pixels", {0.0, 1.5});
        // A few hundred lines at most stay readable.
        const std::size_t step = shown.windows.size() / 400 + 1;
        for (std::size_t i = 0; i < shown.windows.size(); i += step) {
            const ColourDisplacement& window = shown.windows[i];
            const cv::Point2f from(static_cast<float>(window.position.x),
                                   static_cast<float>(window.position.y));
            map.lines.push_back({from, from + cv::Point2f(window.dx, window.dy) * kDrawnTimes});
        }
        const AnalysisDecision decision = DecideChromaticAberration(found);
        if (shown.largestDeviation > kAberrationHint)
            map.regions.push_back(
                {Roi(shown.deviating.x, shown.deviating.y, shown.deviating.width, shown.deviating.height),
                 "Departs"});
        result.AddMap(std::move(map));
        if (decision.finding == Finding::NotApplicable) return result.SayNothing(decision.text);
        const OrvMeasurement measurement{"departure", decision.measured, kAberrationHint, 2, "pixels", {}};
        if (decision.finding == Finding::WorthALook)
            return result.Judge(OrvVerdict::WorthALook, decision.text, measurement, {decision.text});
        result.Judge(OrvVerdict::NothingFound, decision.text, measurement);
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeChromaticAberrationFilter() {
    return std::make_unique<ChromaticAberrationFilter>();
}
