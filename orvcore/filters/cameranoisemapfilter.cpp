#include "orvcore/analysis/cameranoisemap.h"

#include "orvcore/analysis/fingerprintranking.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/cameracollection.h"
#include "orvcore/filters/filterlist.h"

namespace {

class CameraNoiseMapFilter : public OrvFilterImage {
  public:
    CameraNoiseMapFilter() : OrvFilterImage("Camera Noise Map", "camera-noise-map") {
        Describe(
            "Camera",
            "Where the camera's fingerprint is missing. High values mean that a place lacks the pattern although its brightness and texture "
            "let expect it: it was pasted, painted or moved. Dark, smooth, saturated and very busy places carry too little of the "
            "pattern and are left out (grey); that is decided by a predictor fitted to the picture itself, so a picture that was "
            "changed nearly everywhere cannot be judged. Parts smaller than about half the window are missed. Works only for pictures that "
            "carry the fingerprint as a whole, uncropped and in their own size; the best camera of the collection is taken unless a file is "
            "named. After Chen, Fridrich, Goljan and Lukas 2008. Needs 27 bytes of memory per pixel.");
        SetParameters(
            {Parameter::Path(ParameterType::FileLoad, "fingerprint",
                             "Fingerprint (empty: the best of the collection)", "",
                             "Camera fingerprints|*.orvfp"),
             Parameter::Slider("window", "Window (pixels)", 97, 33, 257)},
            {},
            {Parameter::Output(ParameterType::TableString, "numbers", "Numbers"),
             Parameter::Output(ParameterType::OutputText, "refused", "Fingerprints That Were Refused")});
    }
    int GetVersion() const override { return 2; }
    bool GivesVerdict() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter& input) const override {
        return WhyNoFingerprints(input.Get<std::string>("fingerprint"),
                                 WhyNotSmallerThan(file, input.Get<int>("window") + 2));
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const CameraCollection collection = ReadCollection(input.Get<std::string>("fingerprint"), job);
        result.Set("refused", collection.refused);
        if (collection.records.empty()) return result.SayNothing("No fingerprint could be read");
        job.SetProgress(0.0, "Taking the noise out of the picture");
        const auto residual = GetCameraResidual(file, job);
        std::size_t best = collection.records.size();
        FingerprintMatch match;
        for (std::size_t i = 0; i < collection.records.size(); ++i) {
            job.CheckAbort();
            const cv::Mat& pattern = collection.records[i].fingerprint.pattern;
            if (pattern.size() != residual->noise.size()) continue;
            FingerprintMatch own = TestAligned(*residual, pattern);
            RaisePlaces(own, static_cast<double>(collection.records.size()));
            if (best < collection.records.size() && own.pce <= match.pce) continue;
            match = own;
            best = i;
        }
        if (best == collection.records.size())
            return result.SayNothing("Every fingerprint has another size than the picture");
        job.SetProgress(0.9, "Looking where the fingerprint is missing");
        const CameraNoiseMapResult found =
            ComputeCameraNoiseMap(*residual, collection.records[best].fingerprint.pattern,
                                  input.Get<int>("window") | 1, job.Part(0.9, 1.0));
        result.AddNumber("Camera", collection.records[best].name);
        result.AddNumber("PCE of the whole picture", FixedText(match.pce, 1));
        result.AddNumber("Window (pixels)", std::to_string(found.window));
        result.AddNumber("Correlation where it can be judged (median)",
                         FixedText(found.presentCorrelation, 4));
        result.AddNumber("Can be judged (% of the picture)", FixedText(100.0 * found.map.KnownPart(), 0));
        result.AddNumber("Largest part without it (cells of 16 pixels)", std::to_string(found.missingCells));
        const AnalysisDecision decision = DecideCameraNoiseMap(found, match.isMatch);
        if (decision.finding == Finding::NotApplicable) return result.SayNothing(decision.text);
        OrvMap map = ToOrvMap(found.map, "Fingerprint Missing", "log of the likelihood ratio", {-10.0, 10.0});
        map.scale = OrvMapScale::Diverging;
        map.threshold = kMissingLikelihood;
        map.thresholdSide = OrvMapSide::Above;
        if (decision.finding == Finding::WorthALook)
            map.regions.push_back(
                {Roi(found.missing.x, found.missing.y, found.missing.width, found.missing.height),
                 "Missing"});
        result.AddMap(std::move(map));
        const OrvMeasurement measurement{
            "cells without it", decision.measured, static_cast<double>(kMissingCells), 0, "", {}};
        if (decision.finding == Finding::WorthALook)
            return result.Judge(OrvVerdict::WorthALook, decision.text, measurement, {decision.text});
        result.Judge(OrvVerdict::NothingFound, decision.text, measurement);
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeCameraNoiseMapFilter() {
    return std::make_unique<CameraNoiseMapFilter>();
}
