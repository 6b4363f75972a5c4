// How often the analyses of noise, sampling and camera find what was done, and how often they cry wolf: on scenes of a virtual camera, and
// on photographs that are named (taken as untouched). Usage: noiseaccuracy_bench [SEEDS [PHOTOGRAPH…]]
// One line per analysis and case: pictures, how many were strong signs, how many worth a look, mean area under the ROC curve of the map.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "orvcore/analysis/chromaticaberration.h"
#include "orvcore/analysis/colourfilterarray.h"
#include "orvcore/analysis/contrast.h"
#include "orvcore/analysis/cooccurrence.h"
#include "orvcore/analysis/fingerprintmatch.h"
#include "orvcore/analysis/luminance.h"
#include "orvcore/analysis/medianfilter.h"
#include "orvcore/analysis/noisebrightness.h"
#include "orvcore/analysis/noiselevel.h"
#include "orvcore/analysis/resampling.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/files.h"
#include "zorimage/imageio.h"

namespace {

const cv::Size kSize(1024, 768);
const cv::Rect kPart(384, 256, 256, 256);
constexpr SceneKind kKinds[] = {SceneKind::Textured, SceneKind::SmoothSky, SceneKind::Architecture,
                                SceneKind::Bricks,   SceneKind::TextPage,  SceneKind::Lamps,
                                SceneKind::Flat};

struct Answer {
    AnalysisDecision decision;
    AnalysisMap map;  // high where forged; empty when there is none
};
struct Analysis {
    const char* name;
    std::function<Answer(const cv::Mat&)> run;
};

cv::Mat Green(const cv::Mat& photo) {
    cv::Mat plane;
    cv::extractChannel(photo, plane, 1);
    return plane;
}

AnalysisMap Negative(AnalysisMap map) {
    map.values = -map.values;
    return map;
}

std::vector<Analysis> Analyses() {
    return {{"resampling",
             [](const cv::Mat& photo) {
                 const ResamplingResult result = ComputeResampling(ComputeLuminance(photo));
                 return Answer{DecideResampling(result), result.map};
             }},
            {"colour-filter-array",
             [](const cv::Mat& photo) {
                 const ColourFilterResult result = ComputeColourFilterArray(photo);
                 return Answer{DecideColourFilterArray(result), Negative(result.map)};
             }},
            {"median-filtering",
             [](const cv::Mat& photo) {
                 const MedianFilterResult result = ComputeMedianFilterTrace(Green(photo));
                 return Answer{DecideMedianFilter(result), result.map};
             }},
            {"contrast-changes",
             [](const cv::Mat& photo) {
                 const ContrastResult result = ComputeContrast(photo);
                 return Answer{DecideContrast(result), result.map};
             }},
            {"noise-brightness",
             [](const cv::Mat& photo) {
                 const NoiseBrightnessResult result = ComputeNoiseBrightness(photo);
                 return Answer{DecideNoiseBrightness(result, photo.size()), Negative(result.map)};
             }},
            {"chromatic-aberration",
             [](const cv::Mat& photo) {
                 const ChromaticAberrationResult result = ComputeChromaticAberration(photo);
                 return Answer{DecideChromaticAberration(result), result.colours[0].deviation};
             }},
            {"noise-level",
             [](const cv::Mat& photo) {
                 return Answer{{}, ComputeNoiseLevel(ComputeLuminance(photo)).map};
             }},
            {"cooccurrence", [](const cv::Mat& photo) {
                 return Answer{{}, ComputeCooccurrence(ComputeLuminance(photo)).map};
             }}};
}

// What a case counts to.
struct Tally {
    int pictures = 0, strong = 0, worth = 0, curves = 0;
    double area = 0.0;

    void Add(const Answer& answer, const cv::Mat& mask) {
        ++pictures;
        strong += answer.decision.finding == Finding::StrongSign;
        worth += answer.decision.finding == Finding::WorthALook;
        if (mask.empty() || answer.map.values.empty()) return;
        cv::Mat truth = MaskOnBlocks(mask, answer.map.values.size(), answer.map.cell, answer.map.origin);
        if (!answer.map.known.empty()) truth.setTo(128, answer.map.known == 0);
        area += AreaUnderCurve(answer.map.values, truth);
        ++curves;
    }
    void Print(const char* analysis, const std::string& name) const {
        std::printf("%-22s %-44s %4d pictures %4d strong %4d worth a look", analysis, name.c_str(), pictures,
                    strong, worth);
        if (curves > 0) std::printf("   area under the curve %.3f", area / curves);
        std::printf("\n");
        std::fflush(stdout);
    }
};

std::string QualityName(int quality) {
    return quality == 0 ? "lossless" : "saved at " + std::to_string(quality);
}

cv::Mat Saved(const cv::Mat& photo, int quality) {
    return quality == 0 ? photo : ThroughJpeg(photo, quality);
}

cv::Mat Curve(const cv::Mat& photo, double gamma) {
    cv::Mat table(1, 256, CV_8U);
    for (int i = 0; i < 256; ++i)
        table.at<std::uint8_t>(i) = cv::saturate_cast<std::uint8_t>(255.0 * std::pow(i / 255.0, gamma));
    cv::Mat changed;
    cv::LUT(photo, table, changed);
    return changed;
}

// What is done to a photograph; an empty mask: to all of it.
struct Change {
    const char* analysis;
    const char* name;
    std::function<ForgedPhoto(const cv::Mat& photo, std::uint64_t seed)> make;
};

std::vector<Change> Changes() {
    const auto scaled = [](double factor) {
        return [factor](const cv::Mat& photo, std::uint64_t) {
            return ForgedPhoto{ResizePhoto(photo, factor), {}};
        };
    };
    const auto noisy = [](double sigma) {
        return [sigma](const cv::Mat& photo, std::uint64_t seed) {
            return SpliceNoise(photo, kPart, sigma, seed);
        };
    };
    const auto foreign = [](const cv::Mat& photo, std::uint64_t seed) {
        VirtualCamera camera = OrdinaryCamera(900 + seed);
        camera.demosaicing = PhotoDemosaicing::Bilinear;
        camera.sharpening = 0.0;
        camera.denoising = 6.0;
        return Splice(photo, kPart, TakePhoto(camera, SceneKind::Textured, kSize, seed + 500), {40, 40});
    };
    return {{"resampling", "enlarged 1.1 times", scaled(1.1)},
            {"resampling", "enlarged 1.25 times", scaled(1.25)},
            {"resampling", "enlarged 1.5 times", scaled(1.5)},
            {"resampling", "reduced to 0.8", scaled(0.8)},
            {"resampling", "a part enlarged 1.3 times (map)",
             [](const cv::Mat& photo, std::uint64_t) { return SpliceResampled(photo, kPart, 1.3); }},
            {"colour-filter-array", "a part enlarged 1.3 times",
             [](const cv::Mat& photo, std::uint64_t) { return SpliceResampled(photo, kPart, 1.3); }},
            {"median-filtering", "median of 3 pixels",
             [](const cv::Mat& photo, std::uint64_t) {
                 return ForgedPhoto{SpliceMedian(photo, {{}, kSize}, 3).image, {}};
             }},
            {"contrast-changes", "gamma 0.7",
             [](const cv::Mat& photo, std::uint64_t) {
                 return ForgedPhoto{Curve(photo, 0.7), {}};
             }},
            {"contrast-changes", "gamma 1.4",
             [](const cv::Mat& photo, std::uint64_t) {
                 return ForgedPhoto{Curve(photo, 1.4), {}};
             }},
            {"noise-level", "noise of 3 levels added to a part", noisy(3.0)},
            {"noise-level", "noise of 5 levels added to a part", noisy(5.0)},
            {"cooccurrence", "a part of another camera", foreign}};
}

void CountChanges(int seeds) {
    for (const Change& change : Changes()) {
        for (const Analysis& analysis : Analyses()) {
            if (std::string(analysis.name) != change.analysis) continue;
            for (const int quality : {0, 98, 95, 90}) {
                Tally tally;
                for (int seed = 1; seed <= seeds; ++seed) {
                    VirtualCamera camera = OrdinaryCamera(static_cast<std::uint64_t>(seed));
                    if (std::string(change.analysis) == "colour-filter-array") {
                        camera.demosaicing = PhotoDemosaicing::Bilinear;
                        camera.sharpening = 0.0;
                    }
                    const cv::Mat photo =
                        TakePhoto(camera, SceneKind::Textured, kSize, static_cast<std::uint64_t>(seed));
                    const ForgedPhoto forged = change.make(photo, static_cast<std::uint64_t>(seed));
                    tally.Add(analysis.run(Saved(forged.image, quality)), forged.mask);
                }
                tally.Print(analysis.name, std::string(change.name) + ", " + QualityName(quality));
            }
        }
    }
}

void CountUntouched(int seeds) {
    for (const Analysis& analysis : Analyses()) {
        for (const int quality : {0, 95, 75}) {
            Tally tally;
            for (const SceneKind kind : kKinds)
                for (int seed = 1; seed <= seeds; ++seed)
                    tally.Add(analysis.run(Saved(TakePhoto(OrdinaryCamera(static_cast<std::uint64_t>(seed)),
                                                           kind, kSize, static_cast<std::uint64_t>(seed)),
                                                 quality)),
                              {});
            tally.Print(analysis.name, "untouched scenes of all kinds, " + QualityName(quality));
        }
    }
}

void CountPhotographs(char** paths, int count) {
    for (const Analysis& analysis : Analyses()) {
        Tally tally;
        for (int i = 0; i < count; ++i) {
            const Bytes bytes = ReadFileBytes(paths[i]);
            const Image image = DecodeImage(bytes).image;
            if (image.IsValid() && image.GetWidth() >= 256 && image.GetHeight() >= 256)
                tally.Add(analysis.run(image.ToColor().GetMat()), {});
        }
        tally.Print(analysis.name, "photographs that were named");
    }
}

void CountFingerprints(int seeds) {
    FingerprintMaker maker;
    for (std::uint64_t i = 0; i < 20; ++i)
        maker.Add(TakePhoto(OrdinaryCamera(1), SceneKind::Flat, kSize, 100 + i));
    const cv::Mat pattern = maker.Finish().pattern;
    const struct {
        const char* name;
        std::uint64_t sensor;
        std::function<cv::Mat(const cv::Mat&)> change;
    } cases[] = {
        {"the camera, as it is", 1, [](const cv::Mat& p) { return p; }},
        {"the camera, saved at 75", 1, [](const cv::Mat& p) { return ThroughJpeg(p, 75); }},
        {"the camera, cropped", 1, [](const cv::Mat& p) { return p(cv::Rect(100, 80, 700, 520)).clone(); }},
        {"the camera, reduced to 0.75", 1, [](const cv::Mat& p) { return ResizePhoto(p, 0.75); }},
        {"another of the same model", 2, [](const cv::Mat& p) { return p; }},
        {"another, cropped", 2, [](const cv::Mat& p) { return p(cv::Rect(100, 80, 700, 520)).clone(); }}};
    for (const auto& c : cases) {
        Tally tally;
        for (const SceneKind kind : kKinds) {
            for (int seed = 1; seed <= seeds; ++seed) {
                const cv::Mat photo = c.change(
                    TakePhoto(OrdinaryCamera(c.sensor), kind, kSize, static_cast<std::uint64_t>(seed)));
                CameraResidual residual = ComputeCameraResidual(photo);
                CleanResidual(residual);
                const FingerprintMatch match = photo.size() == kSize
                                                   ? TestAligned(residual, pattern)
                                                   : SearchFingerprint(residual, pattern, {});
                tally.Add({DecideFingerprint(match), {}}, {});
            }
        }
        tally.Print("camera-identification", c.name);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const int seeds = argc > 1 ? std::max(std::atoi(argv[1]), 1) : 3;
    CountFingerprints(seeds);
    CountChanges(seeds);
    CountUntouched(seeds);
    if (argc > 2) CountPhotographs(argv + 2, argc - 2);
    return 0;
}
