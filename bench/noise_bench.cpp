// What the analyses of noise, sampling and camera cost on 12 megapixels, each against its limit. Usage: noise_bench [MEGAPIXELS]

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <vector>

#include "bench/startclock.h"
#include "orvcore/analysis/cameranoisemap.h"
#include "orvcore/analysis/chromaticaberration.h"
#include "orvcore/analysis/colourfilterarray.h"
#include "orvcore/analysis/contrast.h"
#include "orvcore/analysis/cooccurrence.h"
#include "orvcore/analysis/fingerprintfile.h"
#include "orvcore/analysis/fingerprintmatch.h"
#include "orvcore/analysis/luminance.h"
#include "orvcore/analysis/medianfilter.h"
#include "orvcore/analysis/noisebrightness.h"
#include "orvcore/analysis/noiselevel.h"
#include "orvcore/analysis/noiseresidual.h"
#include "orvcore/analysis/resampling.h"
#include "tests/support/virtualcamera.h"

namespace {

constexpr int kRuns = 5;

double Milliseconds(const std::function<void()>& work) {
    const std::int64_t start = SharedNanoseconds();
    work();
    return static_cast<double>(SharedNanoseconds() - start) / 1e6;
}

// The least of some runs: what others do on the machine only adds.
double Least(const std::function<void()>& work, int runs = kRuns) {
    double least = 1e30;
    for (int i = 0; i < runs; ++i) least = std::min(least, Milliseconds(work));
    return least;
}

void Print(const char* what, double ms, double limit, const char* limitName) {
    std::printf("%-46s %8.0f ms   %s %8.0f ms   ratio %.2f\n", what, ms, limitName, limit, ms / limit);
    std::fflush(stdout);
}

// One analysis: its time, and the longest time between two reports of progress.
void Measure(const char* what, const std::function<void(const AnalysisProgress&)>& work) {
    double longest = 0.0;
    double time = 1e30;
    for (int i = 0; i < 2; ++i) {
        std::int64_t last = SharedNanoseconds();
        const auto report = [&](double) {
            const std::int64_t now = SharedNanoseconds();
            longest = std::max(longest, static_cast<double>(now - last) / 1e6);
            last = now;
        };
        time = std::min(time, Milliseconds([&] { work(report); }));
        report(1.0);
    }
    std::printf("%-46s %8.0f ms   longest silence %5.0f ms (limit 100)\n", what, time, longest);
    std::fflush(stdout);
}

void MeasureFingerprint(const cv::Size& size) {
    // As many pictures as fit the patience: the ratio does not depend on their number.
    constexpr int kPictures = 4;
    std::vector<std::vector<std::uint8_t>> files;
    for (int i = 0; i < kPictures; ++i)
        files.push_back(SaveJpeg(
            TakePhoto(OrdinaryCamera(1), SceneKind::SmoothSky, size, static_cast<std::uint64_t>(i)), 95));
    const double parts = Milliseconds([&] {
        for (const auto& file : files) {
            const cv::Mat picture = LoadJpeg(file);
            for (int channel = 0; channel < 3; ++channel) {
                cv::Mat plane;
                cv::extractChannel(picture, plane, channel);
                WaveletResidual(plane);
            }
        }
    });
    FingerprintMaker maker;
    const double making = Milliseconds([&] {
        for (const auto& file : files) maker.Add(LoadJpeg(file));
    });
    Print("fingerprint, picture by picture", making, parts, "decoding + residuals (limit 1.30 times)");
    const double finishing = Milliseconds([&] { maker.Finish(); });
    std::printf("%-46s %8.0f ms   once per fingerprint\n", "  finishing it", finishing);
}

void MeasureCollection() {
    constexpr int kFingerprints = 100;
    const cv::Size size(1024, 1024);
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "noise_bench_fingerprints";
    std::filesystem::create_directories(folder);
    for (int i = 0; i < kFingerprints; ++i) {
        VirtualCamera camera = OrdinaryCamera(static_cast<std::uint64_t>(i));
        FingerprintRecord record;
        record.name = std::to_string(i);
        record.fingerprint.pattern = FingerprintOf(camera, size);
        record.fingerprint.pictures = 1;
        WriteFingerprint(record, folder / (std::to_string(i) + "." + kFingerprintExtension));
    }
    CameraResidual residual =
        ComputeCameraResidual(TakePhoto(OrdinaryCamera(7), SceneKind::SmoothSky, size, 1));
    CleanResidual(residual);
    const std::vector<std::string> paths = ListFingerprints(folder);
    std::vector<FingerprintRecord> records;
    const double reading = Least(
        [&] {
            records.clear();
            for (const std::string& path : paths) records.push_back(ReadFingerprint(path));
        },
        3);
    const double testing = Least([&] {
        for (const FingerprintRecord& record : records) TestAligned(residual, record.fingerprint.pattern);
    });
    Print("one residual against 100 fingerprints of 1 MP", testing, reading,
          "reading them (limit 1.00 times)");
    std::filesystem::remove_all(folder);
}

}  // namespace

int main(int argc, char** argv) {
    const double megapixels = argc > 1 ? std::atof(argv[1]) : 12.0;
    const int height = static_cast<int>(std::sqrt(megapixels * 1e6 * 3.0 / 4.0)) / 8 * 8;
    const cv::Size size(height * 4 / 3, height);
    const cv::Mat photo = TakePhoto(OrdinaryCamera(1), SceneKind::Textured, size, 1);
    cv::Mat plane;
    cv::extractChannel(photo, plane, 1);
    std::printf("%d x %d pixels, %d threads\n", size.width, size.height, GetAnalysisThreads());

    Print("noise residual, one channel", Least([&] { WaveletResidual(plane); }), 200.0 * megapixels / 12.0,
          "limit");
    MeasureFingerprint(size);
    MeasureCollection();

    const cv::Mat luminance = ComputeLuminance(photo);
    for (const auto& [name, filter] : {std::pair{"residual, median", ResidualFilter::Median},
                                       std::pair{"residual, Gaussian", ResidualFilter::Gaussian},
                                       std::pair{"residual, bilateral", ResidualFilter::Bilateral},
                                       std::pair{"residual, wavelet", ResidualFilter::Wavelet},
                                       std::pair{"residual, non-local means", ResidualFilter::NonLocalMeans}})
        Measure(name, [&](const AnalysisProgress& p) { ComputeNoiseResidual(plane, {filter, 1, 3.0}, p); });
    Measure("noise level", [&](const AnalysisProgress& p) { ComputeNoiseLevel(luminance, p); });
    Measure("noise against brightness", [&](const AnalysisProgress& p) { ComputeNoiseBrightness(photo, p); });
    Measure("co-occurrences", [&](const AnalysisProgress& p) { ComputeCooccurrence(luminance, p); });
    Measure("resampling", [&](const AnalysisProgress& p) { ComputeResampling(luminance, p); });
    Measure("colour filter array", [&](const AnalysisProgress& p) { ComputeColourFilterArray(photo, p); });
    Measure("chromatic aberration", [&](const AnalysisProgress& p) { ComputeChromaticAberration(photo, p); });
    Measure("median filtering", [&](const AnalysisProgress& p) { ComputeMedianFilterTrace(plane, p); });
    Measure("contrast", [&](const AnalysisProgress& p) { ComputeContrast(photo, 128, p); });

    CameraResidual residual;
    Measure("camera residual (three channels)", [&](const AnalysisProgress& p) {
        residual = ComputeCameraResidual(photo, kDefaultWaveletSigma, p);
    });
    Measure("cleaning it", [&](const AnalysisProgress& p) { CleanResidual(residual, p); });
    const cv::Mat pattern = FingerprintOf(OrdinaryCamera(1), size);
    Measure("search in a fingerprint",
            [&](const AnalysisProgress& p) { SearchFingerprint(residual, pattern, {}, p); });
    Measure("camera noise map",
            [&](const AnalysisProgress& p) { ComputeCameraNoiseMap(residual, pattern, 97, p); });
    return 0;
}
