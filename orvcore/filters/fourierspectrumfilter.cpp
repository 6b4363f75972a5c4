#include <algorithm>
#include <cmath>
#include <vector>

#include "orvcore/analysis/spectrum.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filter/pictureplaces.h"
#include "orvcore/filters/filterlist.h"

namespace {

constexpr double kFewPixels = 16;

// Grey from the first to the last thousandth of the values.
cv::Mat Draw(const cv::Mat& values) {
    std::vector<float> some;
    const std::size_t step = values.total() / 200000 + 1;
    for (std::size_t i = 0; i < values.total(); i += step)
        some.push_back(values.ptr<float>(static_cast<int>(
            i / static_cast<std::size_t>(values.cols)))[i % static_cast<std::size_t>(values.cols)]);
    std::sort(some.begin(), some.end());
    const double low = some[some.size() / 1000];
    const double high = std::max<double>(some[some.size() - 1 - some.size() / 1000], low + 1e-6);
    cv::Mat drawn;
    values.convertTo(drawn, CV_8U, 255.0 / (high - low), -low * 255.0 / (high - low));
    return drawn;
}

class FourierSpectrumFilter : public OrvFilterImage, public OrvPicturePlaces {
  public:
    FourierSpectrumFilter() : OrvFilterImage("Fourier Spectrum", "fourier-spectrum") {
        Describe(
            "Looking",
            "The spectrum of the luminance, frequency zero in the middle, 0.5 cycles per pixel at the edges: how strongly each "
            "period and direction occurs. Isolated bright points are periodic patterns: JPEG's blocks at multiples of 1/8, "
            "enlargement at others, a printed raster, a screen that was photographed. A cross comes from straight edges. The "
            "curve is the mean over all directions, the table holds the most prominent points. Select a part to look at it "
            "alone. Regular things in the scene (fences, cloth) make points too. Nothing is judged here.");
        SetParameters({Parameter::Region("region", "Selection", Roi(), ParameterType::OrvRoi),
                       Parameter::Choice("show", "Shows", 0, {"Magnitude", "Phase"}),
                       Parameter::Bool("window", "Smooth The Border (Hann)", true)},
                      {},
                      {Parameter::Output(ParameterType::TableString, "numbers", "Numbers"),
                       Parameter::Output(ParameterType::TableString, "peaks", "Peaks")});
    }
    int GetVersion() const override { return 2; }
    bool ShowsPlaces(OrvFileId, bool isProcessed) const override { return !isProcessed; }  // but frequencies

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const cv::Mat picture = GetSamples(file, job);
        const Roi& roi = input.Get<Roi>("region");
        const cv::Rect wanted = roi.IsEmpty() ? cv::Rect(0, 0, picture.cols, picture.rows)
                                              : cv::Rect(roi.x, roi.y, roi.width, roi.height) &
                                                    cv::Rect(0, 0, picture.cols, picture.rows);
        if (wanted.width < kFewPixels || wanted.height < kFewPixels)
            return result.SayNothing("Smaller than 16 x 16 pixels");
        const bool isPhase = input.Get<int>("show") == 1;
        const FourierSpectrum spectrum =
            ComputeFourierSpectrum(picture, wanted, {input.Get<bool>("window"), isPhase}, job.Part());
        result.AddNumber("Transformed part (x, y, width, height)",
                         ToString(Roi(spectrum.region.x, spectrum.region.y, spectrum.region.width,
                                      spectrum.region.height)));
        result.AddNumber("Peaks of 15 dB and more", std::to_string(spectrum.peaks.size()));
        TableString table{{"Across (cycles per pixel)", "Down (cycles per pixel)", "Period (pixels)",
                           "Above its surroundings (dB)", "JPEG's blocks"}};
        for (const SpectrumPeak& peak : spectrum.peaks)
            table.push_back({FixedText(peak.fx, 4), FixedText(peak.fy, 4),
                             FixedText(1.0 / std::hypot(peak.fx, peak.fy), 2),
                             FixedText(peak.prominenceDb, 1), peak.isBlockGrid ? "multiple of 1/8" : ""});
        result.Set("peaks", table);
        result.plot.layerCount = 1;
        result.plot.curves.resize(1);
        for (std::size_t i = 0; i < spectrum.radialDb.size(); ++i) {
            if (!std::isfinite(spectrum.radialDb[i])) continue;
            result.plot.x.push_back(static_cast<float>(static_cast<double>(i) / 512.0));
            result.plot.curves[0].push_back(static_cast<float>(spectrum.radialDb[i]));
        }
        result.plot.xLabel = "Frequency (cycles per pixel)";
        result.plot.yLabel = "Mean power (dB)";
        result.outputImage = Image(Draw(isPhase ? spectrum.phase : spectrum.magnitude));
        result.inputImage = file.GetDecoded(job)->image;
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeFourierSpectrumFilter() {
    return std::make_unique<FourierSpectrumFilter>();
}
