// What the analyses of compression history cost on 24 megapixels, each against its limit in the same run: one grey JPEG encode and
// decode on one thread, or the vectorised 8x8 transform of the whole picture.

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "bench/startclock.h"
#include "orvcore/analysis/blockartefacts.h"
#include "orvcore/analysis/blockdct.h"
#include "orvcore/analysis/decodedhistory.h"
#include "orvcore/analysis/doublejpeg.h"
#include "orvcore/analysis/gridvotes.h"
#include "orvcore/analysis/jpegdimples.h"
#include "orvcore/analysis/jpegghosts.h"
#include "orvcore/analysis/luminance.h"
#include "orvcore/analysis/qualitycurve.h"
#include "orvcore/analysis/shiftedjpeg.h"
#include "tests/support/virtualcamera.h"

namespace {

constexpr int kRuns = 5;

double Median(const std::function<void()>& work) {
    std::vector<double> times;
    for (int i = 0; i < kRuns; ++i) {
        const std::int64_t start = SharedNanoseconds();
        work();
        times.push_back(static_cast<double>(SharedNanoseconds() - start) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// The longest time between two reports of progress: what an order to stop waits for.
double LongestSilence(const std::function<void(const AnalysisProgress&)>& work) {
    std::int64_t last = SharedNanoseconds();
    double longest = 0.0;
    work([&](double) {
        const std::int64_t now = SharedNanoseconds();
        longest = std::max(longest, static_cast<double>(now - last) / 1e6);
        last = now;
    });
    return longest;
}

double PeakMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

struct Limit {
    const char* name;
    double ms;
    double allowed;  // times the limit; 0: none was set
};

void Measure(const char* what, const Limit& limit, const std::function<void(const AnalysisProgress&)>& work) {
    const double ms = Median([&] { work({}); });
    const double silence = LongestSilence(work);
    std::printf("%-30s %7.0f ms  %5.2f of %s (%.0f ms)%s", what, ms, ms / limit.ms, limit.name, limit.ms,
                limit.allowed > 0 ? "" : "\n");
    if (limit.allowed > 0)
        std::printf(", at most %.1f: %s\n", limit.allowed, ms <= limit.allowed * limit.ms ? "ok" : "MISSED");
    std::printf("%-30s longest silence %.0f ms, at most 100: %s; peak so far %.0f MB\n", "", silence,
                silence <= 100.0 ? "ok" : "MISSED", PeakMegabytes());
    std::fflush(stdout);
}

}  // namespace

int main() {
    cv::Mat picture;
    cv::resize(TakePhoto(OrdinaryCamera(1), SceneKind::Textured, {3000, 2000}, 1), picture, {6000, 4000}, 0,
               0, cv::INTER_CUBIC);
    const std::vector<std::uint8_t> file = SaveJpeg(picture, 90);
    picture = LoadJpeg(file);
    cv::Mat grey;
    cv::cvtColor(picture, grey, cv::COLOR_BGR2GRAY);
    const double trip = Median([&] { LoadJpeg(SaveJpeg(grey, 75)); });
    const cv::Mat luminance = ComputeLuminance(picture);
    cv::Mat coefficients;
    const double transform = Median([&] { ForwardBlockDct(luminance, {}, coefficients, 128.0F); });
    coefficients.release();
    std::printf("%d x %d; one grey encode and decode %.0f ms, one transform %.0f ms, %d threads\n",
                picture.cols, picture.rows, trip, transform, GetAnalysisThreads());
    Measure("ghosts, 9 qualities", {"a round trip", trip, 1.5},
            [&](const AnalysisProgress& p) { ComputeGhosts(picture, {}, p); });
    Measure("quality curve, 100 qualities", {"a round trip", trip, 2.0},
            [&](const AnalysisProgress& p) { ComputeQualityCurve(picture, {}, {}, p); });
    const auto component = ReadJpegCoefficients(file, JpegComponentChoice::First).components.front();
    Measure("double JPEG aligned", {"2 transforms", 2.0 * transform, 3.0},
            [&](const AnalysisProgress& p) { ComputeDoubleJpeg(component, p); });
    Measure("double JPEG shifted", {"64 transforms", 64.0 * transform, 3.0},
            [&](const AnalysisProgress& p) { ComputeShiftedJpeg(picture, p); });
    Measure("grid votes", {"64 transforms", 64.0 * transform, 3.0},
            [&](const AnalysisProgress& p) { ComputeGridVotes(picture, {false}, p); });
    Measure("grid votes, missing ones too", {"128 transforms", 128.0 * transform, 3.0},
            [&](const AnalysisProgress& p) { ComputeGridVotes(picture, {true}, p); });
    Measure("block artefacts", {"a transform", transform, 0.0},
            [&](const AnalysisProgress& p) { ComputeBlockArtefacts(picture, p); });
    Measure("history of decoded pixels", {"a transform", transform, 0.0},
            [&](const AnalysisProgress& p) { ComputeDecodedHistory(picture, p); });
    Measure("dimples", {"a transform", transform, 0.0},
            [&](const AnalysisProgress& p) { ComputeDimples(picture, {}, p); });
    return 0;
}
