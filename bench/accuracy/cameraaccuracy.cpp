// How often the camera is named rightly: virtual cameras of one model with sensors of their own, fingerprints from flat pictures, and
// photographs of all kinds of scenes, as they are, saved again, cropped, scaled. And whether the probability of a false alarm that the test
// states is the one that occurs: pairs that do not belong together, counted.
// Usage: cameraaccuracy FOLDER [PICTURES [SENSORS]]: writes FOLDER/camera-identification.txt.
// PICTURES of every kind; SENSORS x SENSORS small pairs.

#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "bench/accuracy/rates.h"
#include "orvcore/analysis/fingerprintmatch.h"
#include "tests/support/virtualcamera.h"

namespace {

constexpr std::uint64_t kFirstSeed = 70000;
constexpr int kFlats = 20;
constexpr SceneKind kKinds[] = {SceneKind::Textured, SceneKind::SmoothSky, SceneKind::Architecture,
                                SceneKind::Bricks,   SceneKind::TextPage,  SceneKind::Lamps,
                                SceneKind::Flat};

cv::Mat PatternOf(std::uint64_t sensor, cv::Size size, int flats) {
    FingerprintMaker maker;
    for (int i = 0; i < flats; ++i)
        maker.Add(TakePhoto(OrdinaryCamera(sensor), SceneKind::Flat, size,
                            kFirstSeed + sensor * 100 + static_cast<std::uint64_t>(i)));
    return maker.Finish().pattern;
}

CameraResidual ResidualOf(const cv::Mat& photo) {
    CameraResidual residual = ComputeCameraResidual(photo);
    CleanResidual(residual);
    return residual;
}

void CountKinds(std::ofstream& out, int pictures) {
    const cv::Size size(768, 576);
    const cv::Rect crop(100, 80, 512, 384);
    constexpr std::uint64_t kSensors = 5;
    std::vector<cv::Mat> patterns;
    for (std::uint64_t sensor = 1; sensor <= kSensors; ++sensor)
        patterns.push_back(PatternOf(sensor, size, kFlats));
    const struct {
        const char* name;
        bool isSame;
        std::function<cv::Mat(const cv::Mat&)> change;
    } cases[] = {
        {"the camera, as it is", true, [](const cv::Mat& photo) { return photo; }},
        {"the camera, saved at 75", true, [](const cv::Mat& photo) { return ThroughJpeg(photo, 75); }},
        {"the camera, cropped", true, [&](const cv::Mat& photo) { return photo(crop).clone(); }},
        {"the camera, reduced to 0.75", true, [](const cv::Mat& photo) { return ResizePhoto(photo, 0.75); }},
        {"another of the model, as it is", false, [](const cv::Mat& photo) { return photo; }},
        {"another of the model, saved at 75", false,
         [](const cv::Mat& photo) { return ThroughJpeg(photo, 75); }},
        {"another of the model, cropped", false, [&](const cv::Mat& photo) { return photo(crop).clone(); }}};
    char line[400];
    std::snprintf(line, sizeof line, "%-40s %7s  %-20s %12s\n", "Photographs against a fingerprint", "number",
                  "said to match", "median PCE");
    out << line;
    for (const auto& c : cases) {
        int matches = 0;
        std::vector<double> energies;
        for (int i = 0; i < pictures; ++i) {
            const std::uint64_t sensor = static_cast<std::uint64_t>(i) % kSensors;
            const cv::Mat photo = c.change(TakePhoto(OrdinaryCamera(sensor + 1),
                                                     kKinds[static_cast<std::size_t>(i) % std::size(kKinds)],
                                                     size, 2 * kFirstSeed + static_cast<std::uint64_t>(i)));
            const cv::Mat& pattern = patterns[c.isSame ? sensor : (sensor + 1) % kSensors];
            const CameraResidual residual = ResidualOf(photo);
            const FingerprintMatch match = photo.size() == size ? TestAligned(residual, pattern)
                                                                : SearchFingerprint(residual, pattern, {});
            matches += match.isMatch ? 1 : 0;
            energies.push_back(match.pce);
        }
        std::nth_element(energies.begin(), energies.begin() + static_cast<long>(energies.size() / 2),
                         energies.end());
        std::snprintf(line, sizeof line, "%-40s %7d  %-20s %12.1f\n", c.name, pictures,
                      RateText(matches, pictures).c_str(), energies[energies.size() / 2]);
        out << line << std::flush;
    }
}

void CountPairs(std::ofstream& out, int sensors) {
    const cv::Size size(256, 256);
    std::vector<cv::Mat> patterns;
    std::vector<CameraResidual> residuals;
    for (int i = 0; i < sensors; ++i) {
        patterns.push_back(PatternOf(1000 + static_cast<std::uint64_t>(i), size, 5));
        residuals.push_back(ResidualOf(TakePhoto(OrdinaryCamera(5000 + static_cast<std::uint64_t>(i)),
                                                 kKinds[static_cast<std::size_t>(i) % std::size(kKinds)],
                                                 size, 3 * kFirstSeed + static_cast<std::uint64_t>(i))));
    }
    constexpr int kLevels = 5;
    int below[kLevels + 1] = {};
    int matches = 0;
    double highest = 0.0;
    for (const CameraResidual& residual : residuals)
        for (const cv::Mat& pattern : patterns) {
            const FingerprintMatch match = TestAligned(residual, pattern);
            for (int level = 1; level <= kLevels; ++level)
                below[level] += match.log10FalseAlarm <= -level ? 1 : 0;
            matches += match.isMatch ? 1 : 0;
            highest = std::max(highest, match.pce);
        }
    const int pairs = sensors * sensors;
    char line[400];
    std::snprintf(
        line, sizeof line,
        "\n%d pairs of 256 x 256 pixels that do not belong together: %d said to match, highest PCE %.1f\n\n"
        "%-40s %10s %10s  %s\n",
        pairs, matches, highest, "Stated probability of a false alarm", "expected", "occurred",
        "in percent with 95 % interval");
    out << line;
    for (int level = 1; level <= kLevels; ++level) {
        std::snprintf(line, sizeof line, "at most 1e-%-32d %10.1f %10d  %s\n", level,
                      pairs * std::pow(10.0, -level), below[level], RateText(below[level], pairs).c_str());
        out << line;
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "cameraaccuracy FOLDER [PICTURES [SENSORS]]\n");
        return 2;
    }
    const int pictures = argc > 2 ? std::max(std::atoi(argv[2]), 1) : 200;
    const int sensors = argc > 3 ? std::max(std::atoi(argv[3]), 1) : 100;
    std::ofstream out(std::string(argv[1]) + "/camera-identification.txt");
    out << "Rates of camera-identification, in percent with 95 % intervals; virtual cameras of one model, fingerprints from "
        << kFlats << " flat pictures of 768 x 576 pixels; seeds from " << kFirstSeed << "\n\n";
    CountKinds(out, pictures);
    CountPairs(out, sensors);
    return out ? 0 : 1;
}
