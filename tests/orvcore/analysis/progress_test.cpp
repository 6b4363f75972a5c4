// What the analyses tell of their progress, on one thread: how often, how far, and that they end where the one that called them stops.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "orvcore/analysis/adjustment.h"
#include "orvcore/analysis/blockartefacts.h"
#include "orvcore/analysis/blockdct.h"
#include "orvcore/analysis/camerafingerprint.h"
#include "orvcore/analysis/channels.h"
#include "orvcore/analysis/chromaticaberration.h"
#include "orvcore/analysis/colourfilterarray.h"
#include "orvcore/analysis/contrast.h"
#include "orvcore/analysis/copymoveblocks.h"
#include "orvcore/analysis/copymovekeypoints.h"
#include "orvcore/analysis/decodedhistory.h"
#include "orvcore/analysis/gradient.h"
#include "orvcore/analysis/gridvotes.h"
#include "orvcore/analysis/jpegdimples.h"
#include "orvcore/analysis/jpegghosts.h"
#include "orvcore/analysis/levels.h"
#include "orvcore/analysis/luminance.h"
#include "orvcore/analysis/medianfilter.h"
#include "orvcore/analysis/noisebrightness.h"
#include "orvcore/analysis/noiselevel.h"
#include "orvcore/analysis/noiseresidual.h"
#include "orvcore/analysis/parallel.h"
#include "orvcore/analysis/pixelstatistics.h"
#include "orvcore/analysis/principalcomponents.h"
#include "orvcore/analysis/profile.h"
#include "orvcore/analysis/qualitycurve.h"
#include "orvcore/analysis/radialspectrum.h"
#include "orvcore/analysis/registration.h"
#include "orvcore/analysis/resampling.h"
#include "orvcore/analysis/shiftedjpeg.h"
#include "orvcore/analysis/spectrum.h"
#include "orvcore/analysis/thumbnailfit.h"
#include "orvcore/analysis/waveletresidual.h"

namespace {

// Edges, texture and noise, higher than wide.
cv::Mat Picture() {
    cv::Mat picture(600, 400, CV_8UC3);
    std::uint32_t state = 7;
    for (int y = 0; y < picture.rows; ++y)
        for (int x = 0; x < picture.cols; ++x)
            for (int c = 0; c < 3; ++c) {
                state = state * 1664525U + 1013904223U;
                picture.at<cv::Vec3b>(y, x)[c] = static_cast<std::uint8_t>(
                    40 + (x / 30 + y / 45) % 2 * 80 + x / 8 + 10 * c + static_cast<int>(state >> 29));
            }
    return picture;
}

TEST(AnalysisProgress, IsToldInOrderAndCanBeStopped) {
    SetAnalysisThreads(1);
    const cv::Mat picture = Picture();
    const cv::Mat luminance = ComputeLuminance(picture);
    cv::Mat grey;
    cv::extractChannel(picture, grey, 1);
    const cv::Rect whole(0, 0, picture.cols, picture.rows);
    struct Case {
        const char* name;
        std::function<void(const AnalysisProgress&)> run;
        double first = 0;
        double last = 1;
    };
    const Case cases[] = {
        {"adjustment",
         [&](const auto& p) {
             AdjustImage(picture, {10, 20, 1.5, ViewChannel::Red}, p);
         },
         0, 0.8533},
        {"block artefacts", [&](const auto& p) { ComputeBlockArtefacts(picture, p); }},
        {"camera residual", [&](const auto& p) { ComputeCameraResidual(picture, 3.0, p); }},
        {"plane", [&](const auto& p) { ExtractPlane(picture, ColourSpace{}, 1, p); }},
        {"bit plane", [&](const auto& p) { ExtractBitPlane(picture, BitChannel{}, 1, p); }},
        {"aberration", [&](const auto& p) { ComputeChromaticAberration(picture, p); }},
        {"colour filter", [&](const auto& p) { ComputeColourFilterArray(picture, p); }},
        {"contrast", [&](const auto& p) { ComputeContrast(picture, 64, p); }},
        {"copied blocks", [&](const auto& p) { FindCopiedBlocks(picture, {}, p); }},
        {"copied keypoints", [&](const auto& p) { FindCopiedKeypoints(picture, {}, p); }},
        {"decoded history", [&](const auto& p) { ComputeDecodedHistory(picture, p); }},
        {"gradient", [&](const auto& p) { ComputeGradient(picture, p); }},
        {"grid votes", [&](const auto& p) { ComputeGridVotes(picture, {}, p); }},
        {"dimples", [&](const auto& p) { ComputeDimples(picture, {}, p); }},
        {"ghosts", [&](const auto& p) { ComputeGhosts(picture, {}, p); }},
        {"ghost shifts", [&](const auto& p) { SearchGhostShifts(picture, {}, p); }},
        {"levels", [&](const auto& p) { SweepLevels(picture, 100, 50, p); }},
        {"share in band", [&](const auto& p) { ShareInBand(picture, 100, 50, p); }},
        {"local contrast", [&](const auto& p) { RaiseLocalContrast(picture, 2, 8, p); }},
        {"luminance", [&](const auto& p) { ComputeLuminance(picture, p); }},
        {"median filter", [&](const auto& p) { ComputeMedianFilterTrace(grey, p); }},
        {"noise and brightness", [&](const auto& p) { ComputeNoiseBrightness(picture, p); }, 0, 0.9964},
        {"noise level", [&](const auto& p) { ComputeNoiseLevel(luminance, p); }},
        {"noise residual", [&](const auto& p) { ComputeNoiseResidual(grey, {}, p); }},
        {"pixel statistics", [&](const auto& p) { ComputePixelStatistics(picture, p); }},
        {"colour axes", [&](const auto& p) { FindColourAxes(picture, p); }},
        {"line profile",
         [&](const auto& p) { ComputeLineProfile(picture, whole, ProfileDirection::AlongRow, p); }},
        {"line profile down",
         [&](const auto& p) { ComputeLineProfile(picture, whole, ProfileDirection::AlongColumn, p); }},
        {"scatter", [&](const auto& p) { ComputeScatter(picture, BitChannel{}, BitChannel{}, p); }},
        {"quality curve", [&](const auto& p) { ComputeQualityCurve(picture, {}, {}, p); }, 0, 0.85},
        {"error levels", [&](const auto& p) { ComputeErrorLevelCurve(picture, whole, 256, p); }},
        {"radial spectrum", [&](const auto& p) { ComputeRadialSpectrum(picture, p); }},
        {"registration", [&](const auto& p) { RegisterPictures(picture, picture, RegistrationModel{}, p); }},
        {"resampling", [&](const auto& p) { ComputeResampling(luminance, p); }},
        {"shifted jpeg", [&](const auto& p) { ComputeShiftedJpeg(picture, p); }},
        {"spectrum", [&](const auto& p) { ComputeFourierSpectrum(picture, whole, {}, p); }},
        {"frequencies", [&](const auto& p) { SplitFrequencies(picture, 0.1, p); }},
        {"thumbnail", [&](const auto& p) { FitThumbnail(picture, picture(cv::Rect(0, 0, 160, 120)), p); },
         0.0875, 1},
        {"wavelets", [&](const auto& p) { WaveletResidual(luminance, 3.0, p); }},
    };
    struct Stopped {};
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        std::vector<double> told;
        one.run([&told](double done) { told.push_back(done); });
        EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
        // What is told between depends on how quick the machine is.
        ASSERT_FALSE(told.empty());
        EXPECT_NEAR(told.front(), one.first, 1e-4);
        EXPECT_NEAR(told.back(), one.last, 1e-4);
        std::size_t calls = 0;
        const auto stop = [&calls, &told](double) {
            if (++calls > told.size() / 2) throw Stopped();
        };
        EXPECT_THROW(one.run(stop), Stopped);
    }
    SetAnalysisThreads(0);
}

TEST(Adjustment, EndsWhereItsRangeEnds) {
    for (const int end : {-100, 100}) {
        EXPECT_EQ(AdjustmentTable({.contrast = 2 * end}), AdjustmentTable({.contrast = end}));
        EXPECT_EQ(AdjustmentTable({.brightness = 2 * end})[128], end < 0 ? 0 : 255);
    }
    const auto flat = AdjustmentTable({.contrast = -101});
    EXPECT_EQ(flat[0], 128);
    EXPECT_EQ(flat[255], 128);
}

}  // namespace
