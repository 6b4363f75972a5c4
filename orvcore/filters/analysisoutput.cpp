#include "orvcore/filters/analysisoutput.h"

#include <cmath>

#include "orvcore/analysis/luminance.h"
#include "orvcore/filter/intermediates.h"
#include "zorbase/zorexception.h"

OrvMap ToOrvMap(const AnalysisMap& map, const std::string& name, const std::string& unit, OrvRange floor) {
    OrvMap shown;
    shown.name = name;
    shown.unit = unit;
    shown.values = map.values;
    if (!map.known.empty()) shown.mask = map.known == 0;
    shown.block = map.cell;
    shown.origin = map.origin;
    shown.floor = floor;
    return shown;
}

void JudgeBy(const AnalysisDecision& decision, OrvMeasurement measurement, OrvSlotResult& result) {
    if (decision.finding == Finding::NotApplicable) return result.SayNothing(decision.text);
    const OrvVerdict verdict = decision.finding == Finding::StrongSign   ? OrvVerdict::StrongSign
                               : decision.finding == Finding::WorthALook ? OrvVerdict::WorthALook
                                                                         : OrvVerdict::NothingFound;
    std::vector<std::string> sentences;
    if (verdict != OrvVerdict::NothingFound) sentences.push_back(decision.text);
    if (std::isnan(decision.measured) || std::isnan(decision.threshold))
        return result.Judge(verdict, decision.text, sentences);
    measurement.value = decision.measured;
    measurement.threshold = decision.threshold;
    result.Judge(verdict, decision.text, measurement, sentences);
}

std::string WhyNotSmallerThan(const OrvLoadedFile& file, int side) {
    const ImageInfo& info = file.GetInfo();
    if (info.width == 0 || info.height == 0 || (info.width >= side && info.height >= side)) return {};
    return "Smaller than " + std::to_string(side) + " x " + std::to_string(side) + " pixels";
}

std::shared_ptr<const CameraResidual> GetCameraResidual(const OrvLoadedFile& file, const OrvJob& job) {
    const cv::Mat picture = GetEightBits(file, job);
    return file.GetShared<CameraResidual>(
        "camera residual",
        [&] {
            CameraResidual residual =
                ComputeCameraResidual(picture, kDefaultWaveletSigma, job.Part(0.0, 0.6));
            CleanResidual(residual, job.Part(0.6, 0.9));
            return residual;
        },
        [](const CameraResidual& residual) {
            return BytesOfMat(residual.noise) + BytesOfMat(residual.intensity);
        });
}

cv::Mat PlaneOf(const cv::Mat& eightBits, int channel) {
    if (eightBits.channels() == 1) return eightBits;
    if (channel == 0) return Image(eightBits).ToGray().GetMat();
    cv::Mat plane;
    cv::extractChannel(eightBits, plane, 3 - channel);
    return plane;
}

std::vector<std::string> PlaneNames() {
    return {"Luminance", "Red", "Green", "Blue"};
}
