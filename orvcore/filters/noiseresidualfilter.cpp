#include "orvcore/analysis/noiseresidual.h"

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/filterlist.h"

namespace {

class NoiseResidualFilter : public OrvFilterImage {
  public:
    NoiseResidualFilter() : OrvFilterImage("Noise Residual", "noise-residual") {
        Describe(
            "Noise",
            "What a denoising filter takes away from the picture. Grain should look alike wherever brightness and texture are alike: a "
            "part pasted from another picture, smoothed, retouched or enlarged has finer, coarser or no grain. Edges and texture always "
            "remain in the residual and say nothing; so do dark and saturated places. Median shows the grain itself, Wavelet is the "
            "residual that camera identification uses, Non-Local Means leaves the least of texture and takes longest. Strong "
            "compression and the denoising of phones leave little to see. After Mihcak and others 1999 (wavelet) and Buades, "
            "Coll and Morel 2005 (non-local means).");
        SetParameters({Parameter::Choice("filter", "Denoising Filter", 0,
                                         {"Median", "Gaussian", "Bilateral", "Wavelet", "Non-Local Means"}),
                       Parameter::Choice("plane", "Channel", 0, PlaneNames()),
                       Parameter::Slider("radius", "Radius (pixels)", 1, 1, 3),
                       Parameter::Double("strength", "Strength (levels)", 3.0, 0.1, 100.0),
                       Parameter::Region("region", "Region For The Numbers", Roi(), ParameterType::OrvRoi)},
                      {}, {Parameter::Output(ParameterType::TableString, "numbers", "Residual (levels)")});
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const NoiseResidualSettings settings{static_cast<ResidualFilter>(input.Get<int>("filter")),
                                             input.Get<int>("radius"), input.Get<double>("strength")};
        job.SetProgress(0.0, "Taking the noise away");
        const cv::Mat plane = PlaneOf(GetEightBits(file, job), input.Get<int>("plane"));
        OrvMap map;
        map.name = "Noise Residual";
        map.unit = "levels";
        map.scale = OrvMapScale::Diverging;
        map.values = ComputeNoiseResidual(plane, settings, job.Part());
        map.floor = {-4.0, 4.0};
        const ResidualStatistics statistics = MeasureNoiseResidual(map.values, input.Get<Roi>("region"));
        result.AddNumber("Mean size (levels)", FixedText(statistics.meanAbsolute, 3));
        result.AddNumber("Standard deviation (levels)", FixedText(statistics.deviation, 3));
        if (!input.Get<Roi>("region").IsEmpty()) {
            result.AddNumber("Mean size in the region (levels)", FixedText(statistics.meanAbsoluteInside, 3));
            result.AddNumber("Mean size outside (levels)", FixedText(statistics.meanAbsoluteOutside, 3));
            result.AddNumber("Standard deviation in the region (levels)",
                             FixedText(statistics.deviationInside, 3));
            result.AddNumber("Standard deviation outside (levels)",
                             FixedText(statistics.deviationOutside, 3));
        }
        result.AddMap(std::move(map));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeNoiseResidualFilter() {
    return std::make_unique<NoiseResidualFilter>();
}
