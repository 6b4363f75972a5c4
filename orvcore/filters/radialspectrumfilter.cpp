#include "orvcore/analysis/radialspectrum.h"

#include <cmath>

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/filterlist.h"

namespace {

// The spectrum over all directions, and what enlargement leaves in it.
class RadialSpectrumFilter : public OrvFilterPlot {
  public:
    RadialSpectrumFilter() : OrvFilterPlot("Radial Spectrum", "radial-spectrum") {
        Describe(
            "Looking",
            "The power of the finest detail by frequency, averaged over all directions and many windows. A photograph as the "
            "sensor took it falls gently; one that was enlarged falls steeply somewhere, because nothing finer than its "
            "first pixels is left, and up-sampling in even steps leaves isolated peaks. A steep fall is a hint of "
            "enlargement, a very strong peak a periodic up-sampling trace. Neither says how a picture was made: "
            "reduced sizes from the camera, demosaicing and JPEG (peaks at multiples of 1/8) leave the same, and their "
            "absence says nothing. Blind below 256 x 256 pixels, in smooth pictures and after strong compression. After "
            "Durall 2020, Frank 2020, Zhang 2019.");
        SetParameters({}, {},
                      {Parameter::Output(ParameterType::TableString, "numbers", "Numbers"),
                       Parameter::Output(ParameterType::TableString, "peaks", "Peaks")});
    }
    bool GivesVerdict() const override { return true; }
    int GetVersion() const override { return 2; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const RadialSpectrum spectrum = ComputeRadialSpectrum(GetSamples(file, job), job.Part());
        if (!spectrum.isApplicable) return result.SayNothing(spectrum.whyNot);
        result.plot.layerCount = 1;
        result.plot.curves.resize(1);
        for (std::size_t i = 1; i < spectrum.curve.size(); ++i) {
            result.plot.x.push_back(static_cast<float>(static_cast<double>(i) / 256.0));
            result.plot.curves[0].push_back(static_cast<float>(spectrum.curve[i]));
        }
        result.plot.xLabel = "Frequency (cycles per pixel)";
        result.plot.yLabel = "Power (dB)";
        result.AddNumber("Drop from 0.1-0.2 to 0.42-0.495 (dB)", FixedText(spectrum.dropDb, 2));
        result.AddNumber("Steepest fall over 0.08 (dB)", FixedText(spectrum.fallDb, 2));
        result.AddNumber("It begins at (cycles per pixel)", FixedText(spectrum.fallFrom, 3));
        result.AddNumber("Windows", std::to_string(spectrum.windows));
        TableString table{{"Across (cycles per pixel)", "Down (cycles per pixel)",
                           "Above its surroundings (dB)", "JPEG's blocks"}};
        for (const SpectrumPeak& peak : spectrum.peaks)
            table.push_back({FixedText(peak.fx, 4), FixedText(peak.fy, 4), FixedText(peak.prominenceDb, 1),
                             peak.isBlockGrid ? "multiple of 1/8" : ""});
        result.Set("peaks", table);
        const UpsamplingVerdict verdict = JudgeRadialSpectrum(spectrum);
        switch (verdict.sign) {
            case UpsamplingSign::PeriodicTrace:
                return result.Judge(
                    OrvVerdict::WorthALook, "Periodic up-sampling trace",
                    {"peak", verdict.measured, verdict.threshold, 1, "dB"},
                    {"The spectrum has a very strong isolated peak, as up-sampling in even steps leaves it; demosaicing, "
                     "enlargement and strong JPEG compression can do so too."});
            case UpsamplingSign::EnlargementHint:
                return result.Judge(
                    OrvVerdict::WorthALook, "Hint of enlargement",
                    {"fall", verdict.measured, verdict.threshold, 1, "dB"},
                    {"The spectrum falls steeply towards fine detail, as that of an enlarged picture does; a reduced size "
                     "written by the camera, or smoothing, can do so too."});
            case UpsamplingSign::None:
                break;
        }
        result.Judge(OrvVerdict::NothingFound, "Nothing found",
                     {"fall", verdict.measured, verdict.threshold, 1, "dB"});
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeRadialSpectrumFilter() {
    return std::make_unique<RadialSpectrumFilter>();
}
