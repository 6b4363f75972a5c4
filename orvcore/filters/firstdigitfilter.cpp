#include "orvcore/analysis/firstdigitlaw.h"

#include "orvcore/filters/filterlist.h"
#include "orvcore/filters/jpegfilter.h"
#include "zorbase/text.h"

namespace {

// Parts of the whole, of which the sum of squared differences is taken.
constexpr double kTellingChiSquare = 0.02;

class FirstDigitFilter : public OrvCoefficientPlot {
  public:
    FirstDigitFilter();

  protected:
    void ComputePlot(const JpegCoefficientPlane& plane, const VecParameter& input, const OrvJob& job,
                     OrvSlotResult& result) const override;
};

FirstDigitFilter::FirstDigitFilter() : OrvCoefficientPlot("First-Digit Law", "first-digit-law") {
    Describe(
        "JPEG",
        "How often the digits 1 to 9 stand first among the file's own AC coefficients (first component), as bars, against the "
        "generalised law p(d) = N log10(1 + 1 / (s + d^q)) of Fu, Shi and Su (2007), fitted to them, as a curve. Pictures saved "
        "once follow it closely, a second saving at a higher quality breaks it. It cannot see: two savings at equal quality, a second "
        "one at a lower quality, or a resize or crop in between; a few coarse steps make small deviations of their own.");
    using enum ParameterType;
    SetParameters({}, {},
                  {
                      Parameter::Output(OutputString, "deviation", "Deviation (chi-square of shares)"),
                      Parameter::Output(OutputInt64, "coefficients", "Coefficients That Are Not Zero"),
                      Parameter::Output(OutputString, "law", "Fitted N, s, q"),
                      Parameter::Output(OutputText, "warnings", "Warnings"),
                      Parameter::Output(TableString, "numbers", "Digits"),
                  });
}

void FirstDigitFilter::ComputePlot(const JpegCoefficientPlane& plane, const VecParameter&, const OrvJob&,
                                   OrvSlotResult& result) const {
    const FirstDigits digits = CountFirstDigits(plane.coefficients);
    result.SetCount("coefficients", digits.total);
    const FirstDigitFit fit = FitFirstDigits(digits);
    if (!fit.isFitted) return result.SayNothing("Too few coefficients that are not zero");

    OrvPlotData& plot = result.plot;
    plot.layerCount = 1;
    plot.curves.resize(1);
    for (std::size_t i = 0; i < 9; ++i) {
        plot.x.push_back(static_cast<float>(i + 1));
        plot.counts.push_back(static_cast<unsigned long long>(digits.counts[i]));
        plot.curves[0].push_back(static_cast<float>(fit.expected[i] * static_cast<double>(digits.total)));
        result.AddNumber("Digit " + ToString(static_cast<int>(i + 1)) + " (%, found / by the law)",
                         FixedText(100 * fit.shares[i], 2) + " / " + FixedText(100 * fit.expected[i], 2));
    }
    plot.xLabel = "First digit";
    plot.yLabel = "Coefficients";
    plot.text = "bars: found, curve: fitted law";
    result.SetNumber("deviation", fit.chiSquare, 5);
    result.Set("law",
               FixedText(fit.scale, 3) + ", " + FixedText(fit.shift, 3) + ", " + FixedText(fit.exponent, 3));
    const OrvMeasurement measurement{"deviation", fit.chiSquare, kTellingChiSquare, 5};
    if (fit.chiSquare >= kTellingChiSquare)
        return result.Judge(
            OrvVerdict::WorthALook, "The first digits do not follow the law", measurement,
            {"The first digits of the coefficients deviate from the law that pictures saved once follow. "
             "An earlier saving at a lower quality does this; drawings and screenshots do it too."});
    result.Judge(OrvVerdict::NothingFound, "The first digits follow the law", measurement);
}

}  // namespace

std::unique_ptr<OrvFilter> MakeFirstDigitFilter() {
    return std::make_unique<FirstDigitFilter>();
}
