#include "orvcore/analysis/fingerprintranking.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/cameracollection.h"
#include "orvcore/filters/filterlist.h"

namespace {

class CameraIdentificationFilter : public OrvFilter {
  public:
    CameraIdentificationFilter() : OrvFilter("Camera Identification", "camera-identification") {
        Describe(
            "Camera",
            "No two sensors are equally sensitive pixel by pixel: every picture carries its sensor's pattern in its noise. The picture is "
            "tested against the fingerprints of the collection (or one file), which are made from pictures of one camera with "
            "\"orvane-cli fingerprint\". PCE is the peak of the correlation to its background: beyond the threshold the picture comes from that "
            "camera. The threshold rises with everything that is tried, and the probability of a false alarm is that of the whole "
            "search; the runner-up should stay far below. \"Search\" finds cropped, turned and reduced pictures too and takes "
            "longer. Not found does not mean another camera: strong compression, denoising, electronic image stabilisation, dark "
            "pictures and weak fingerprints hide the pattern. Pictures of one model that correct their lenses can share parts of "
            "it. After Lukas, Fridrich and Goljan 2006; Chen and others 2008; Goljan, Fridrich and Filler 2009. Needs 27 bytes of memory "
            "per pixel.");
        SetParameters(
            {Parameter::Path(ParameterType::FileLoad, "fingerprint",
                             "Fingerprint (empty: the whole collection)", "", "Camera fingerprints|*.orvfp"),
             Parameter::Choice("search", "How It Lies On The Sensor", 0, {"As it is, or turned", "Search"})},
            {},
            {Parameter::Output(ParameterType::TableString, "cameras", "Cameras"),
             Parameter::Output(ParameterType::OutputText, "refused", "Fingerprints That Were Refused"),
             Parameter::Output(ParameterType::TableString, "numbers", "Numbers")});
    }
    int GetVersion() const override { return 2; }
    bool GivesVerdict() const override { return true; }
    bool NeedsPicture() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter& input) const override {
        return WhyNoFingerprints(input.Get<std::string>("fingerprint"), WhyNotSmallerThan(file, 64));
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const CameraCollection collection = ReadCollection(input.Get<std::string>("fingerprint"), job);
        result.Set("refused", collection.refused);
        if (collection.records.empty()) return result.SayNothing("No fingerprint could be read");
        job.SetProgress(0.0, "Taking the noise out of the picture");
        const auto residual = GetCameraResidual(file, job);
        job.SetProgress(0.9, "Comparing with fingerprints");
        const FingerprintRanking ranking = RankFingerprints(
            *residual, collection.records, input.Get<int>("search") == 1, job.Part(0.9, 1.0));
        TableString table{{"Camera", "Make", "Model", "Serial Number", "PCE", "Threshold",
                           "log10 Of The False-Alarm Probability", "Runner-Up In The Search", "Shift",
                           "Scale", "Turned (degrees)", "Pictures", "Fingerprint (SHA-256)"}};
        for (const RankedFingerprint& entry : ranking.entries) {
            const FingerprintRecord& record = collection.records[entry.index];
            const FingerprintMatch& match = entry.match;
            table.push_back({record.name, record.make, record.model, record.serialNumber,
                             (match.isMatch ? "!" : "") + FixedText(match.pce, 1),
                             FixedText(match.threshold, 1), FixedText(match.log10FalseAlarm, 1),
                             match.runnerUp > 0.0 ? FixedText(match.runnerUp, 1) : "",
                             std::to_string(match.shift.x) + ", " + std::to_string(match.shift.y),
                             FixedText(match.scale, 3), std::to_string(90 * match.quarterTurns),
                             std::to_string(record.fingerprint.pictures), record.hash});
        }
        result.Set("cameras", table);
        result.AddNumber("Fingerprints compared", std::to_string(ranking.entries.size()));
        result.AddNumber("Of another size, not compared", std::to_string(ranking.otherSizes));
        if (ranking.entries.empty())
            return result.SayNothing(
                "Every fingerprint has another size; \"Search\" finds cropped and scaled pictures");
        const RankedFingerprint& best = ranking.entries[0];
        result.AddNumber("Best camera", collection.records[best.index].name);
        result.AddNumber("Its PCE", FixedText(best.match.pce, 1));
        if (ranking.entries.size() > 1)
            result.AddNumber("PCE of the runner-up camera", FixedText(ranking.entries[1].match.pce, 1));
        const AnalysisDecision decision = DecideFingerprint(best.match);
        if (decision.finding == Finding::NotApplicable) return result.SayNothing(decision.text);
        const OrvMeasurement measurement{"PCE", best.match.pce, best.match.threshold, 1, "", {}};
        if (!best.match.isMatch)
            return result.Judge(OrvVerdict::NothingFound, "No camera of the collection found", measurement);
        // Where a picture comes from is worth knowing; it is no sign of a forgery.
        const std::string name = collection.records[best.index].name;
        result.Judge(OrvVerdict::WorthALook, "From the camera \"" + name + "\"", measurement,
                     {"The picture carries the fingerprint of \"" + name +
                      "\"; by chance that happens in one of 10 to the power of " +
                      FixedText(-best.match.log10FalseAlarm, 0) + " searches like this."});
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeCameraIdentificationFilter() {
    return std::make_unique<CameraIdentificationFilter>();
}
