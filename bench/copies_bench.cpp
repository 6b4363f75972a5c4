// What the searches for copies cost on 12 megapixels, and the comparison with a reference, each against its limit.
// Usage: copies_bench [PHOTOGRAPH.jpg …]; without one a made scene is used, with a turned copy in it.

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <opencv2/features2d.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "bench/startclock.h"
#include "orvcore/analysis/comparison.h"
#include "orvcore/analysis/copymoveblocks.h"
#include "orvcore/analysis/copymovekeypoints.h"
#include "orvcore/analysis/keypoints.h"
#include "orvcore/analysis/registration.h"
#include "tests/orvcore/analysis/copyscenes.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/files.h"
#include "zorimage/imageio.h"

namespace {

constexpr int kRuns = 3;

double Milliseconds(const std::function<void()>& work) {
    const std::int64_t start = SharedNanoseconds();
    work();
    return static_cast<double>(SharedNanoseconds() - start) / 1e6;
}

double Median(const std::function<void()>& work) {
    std::vector<double> times;
    for (int i = 0; i < kRuns; ++i) times.push_back(Milliseconds(work));
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

double PeakMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

void Print(const char* what, double ms, double limit, const char* limitName) {
    std::printf("%-44s %9.0f ms   %s %9.0f ms   ratio %.2f   peak so far %.0f MB\n", what, ms, limitName,
                limit, ms / limit, PeakMegabytes());
    std::fflush(stdout);
}

// The longest time between two reports of progress.
double LongestSilence(const std::function<void(const AnalysisProgress&)>& work) {
    std::int64_t last = SharedNanoseconds();
    double longest = 0;
    work([&](double) {
        const std::int64_t now = SharedNanoseconds();
        longest = std::max(longest, static_cast<double>(now - last) / 1e6);
        last = now;
    });
    return longest;
}

// The library's detector and matcher on the same tiles, with as many points.
double DetectorAndMatcher(const cv::Mat& luminance, std::size_t points) {
    return Milliseconds([&] {
        const std::vector<cv::Rect> tiles = KeypointTiles(luminance.size());
        std::vector<cv::Mat> found(tiles.size());
        ForEachPiece(static_cast<int>(tiles.size()), {}, [&](int i) {
            const auto index = static_cast<std::size_t>(i);
            const auto sift = cv::SIFT::create(static_cast<int>(points / tiles.size()), 3, 0.02);
            std::vector<cv::KeyPoint> keypoints;
            sift->detectAndCompute(luminance(tiles[index]), cv::noArray(), keypoints, found[index]);
        });
        cv::Mat all;
        for (const cv::Mat& descriptors : found)
            if (!descriptors.empty()) all.push_back(descriptors);
        std::vector<std::vector<cv::DMatch>> matches;
        cv::BFMatcher(cv::NORM_L2).knnMatch(all, all, matches, 3);
    });
}

void Run(const char* name, const cv::Mat& picture) {
    std::printf("%s, %d x %d\n", name, picture.cols, picture.rows);
    const double scale = static_cast<double>(picture.total()) / 12e6;
    CopyMoveResult result;
    Print("copies by shifts", Median([&] { result = FindCopiedBlocks(picture, {}); }), 900.0 * scale,
          "limit");
    std::printf(
        "    %zu pairs, longest silence %.0f ms\n", result.pairs.size(),
        LongestSilence([&](const AnalysisProgress& progress) { FindCopiedBlocks(picture, {}, progress); }));
    Print("copies by shifts, rotation and scale",
          Milliseconds([&] { result = FindCopiedBlocks(picture, {true}); }), 20000.0 * scale, "limit");
    for (const CopiedPair& pair : result.pairs)
        std::printf("    %.2f degrees, scale %.4f, %d matches, area %d\n", pair.rotation, pair.scale,
                    pair.matches, pair.area);
    cv::Mat luminance;
    cv::cvtColor(picture, luminance, cv::COLOR_BGR2GRAY);
    const double ours = Milliseconds([&] { result = FindCopiedKeypoints(picture, {}); });
    const std::size_t points = FindKeypoints(luminance, {}).points.size();
    Print("copies by keypoints", ours, DetectorAndMatcher(luminance, points), "detector + matcher");
    std::printf("    %zu points, %zu pairs, longest silence %.0f ms\n", points, result.pairs.size(),
                LongestSilence(
                    [&](const AnalysisProgress& progress) { FindCopiedKeypoints(picture, {}, progress); }));
    const cv::Mat crop =
        picture(cv::Rect(picture.cols / 10, picture.rows / 10, picture.cols * 3 / 4, picture.rows * 3 / 4))
            .clone();
    Registration found;
    const double registering =
        Milliseconds([&] { found = RegisterPictures(crop, picture, RegistrationModel::Automatic); });
    cv::Mat mask;
    const cv::Mat brought = BringOnto(picture, found, crop.size(), mask);
    const double comparing = Median([&] { ComparePictures(crop, brought, mask, {}); });
    std::printf("registering a crop %.0f ms (found: %s), comparing %.0f ms\n", registering,
                found.isWholeShift ? "whole shift" : "no", comparing);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        cv::Mat scene = CopyScene(4000, 3000, 1);
        PasteTurned(scene, {900, 800}, {2900, 2100}, 300, 12.0, 1.05);
        Run("made scene", ThroughJpeg(scene, 90));
    }
    for (int i = 1; i < argc; ++i) Run(argv[i], DecodeImage(ReadFileBytes(argv[i])).image.ToColor().GetMat());
}
