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
#include "zorbase/text.h"

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
        const char* told;
    };
    const Case cases[] = {
        {"adjustment",
         [&](const auto& p) {
             AdjustImage(picture, {10, 20, 1.5, ViewChannel::Red}, p);
         },
         "0 0.4267 0.8533"},
        {"block artefacts", [&](const auto& p) { ComputeBlockArtefacts(picture, p); }, "0 0.9 1"},
        {"camera residual", [&](const auto& p) { ComputeCameraResidual(picture, 3.0, p); },
         "0 0.075 0.0938 0.0984 0.0996 0.1497 0.1873 0.2155 0.3 0.3333 0.4083 0.4271 1"},
        {"plane", [&](const auto& p) { ExtractPlane(picture, ColourSpace{}, 1, p); }, "0 1"},
        {"bit plane", [&](const auto& p) { ExtractBitPlane(picture, BitChannel{}, 1, p); }, "0 1"},
        {"aberration", [&](const auto& p) { ComputeChromaticAberration(picture, p); }, "0 1"},
        {"colour filter", [&](const auto& p) { ComputeColourFilterArray(picture, p); }, "0 1"},
        {"contrast", [&](const auto& p) { ComputeContrast(picture, 64, p); }, "0 0.4 1"},
        {"copied blocks", [&](const auto& p) { FindCopiedBlocks(picture, {}, p); },
         "0 0.05 0.3825 0.411 0.4585 0.5725 0.6675 0.7245 0.7511 0.7625 0.81 0.8125 1"},
        {"copied keypoints", [&](const auto& p) { FindCopiedKeypoints(picture, {}, p); },
         "0 0.03 0.5 0.85 0.8563 0.8625 0.8688 0.875 0.8813 0.8875 0.8938 0.9 1"},
        {"decoded history", [&](const auto& p) { ComputeDecodedHistory(picture, p); }, "0 0.3 0.6 0.9 1"},
        {"gradient", [&](const auto& p) { ComputeGradient(picture, p); }, "0 1"},
        {"grid votes", [&](const auto& p) { ComputeGridVotes(picture, {}, p); },
         "0 0.4 0.4017 0.4033 0.405 0.4067 0.4083 0.41 0.4117 0.4133 0.415 0.4167 1"},
        {"dimples", [&](const auto& p) { ComputeDimples(picture, {}, p); }, "0 0.95 1"},
        {"ghosts", [&](const auto& p) { ComputeGhosts(picture, {}, p); },
         "0 0.9 0.9111 0.9222 0.9333 0.9444 0.9556 0.9667 0.9778 0.9889 1"},
        {"ghost shifts", [&](const auto& p) { SearchGhostShifts(picture, {}, p); },
         "0 0.0141 0.0142 0.0144 0.0146 0.0148 0.0149 0.0151 0.0153 0.0155 0.0156 0.0297 1"},
        {"levels", [&](const auto& p) { SweepLevels(picture, 100, 50, p); }, "0 1"},
        {"share in band", [&](const auto& p) { ShareInBand(picture, 100, 50, p); }, "0 1"},
        {"local contrast", [&](const auto& p) { RaiseLocalContrast(picture, 2, 8, p); }, "0 0.3 0.7 1"},
        {"luminance", [&](const auto& p) { ComputeLuminance(picture, p); }, "0 1"},
        {"median filter", [&](const auto& p) { ComputeMedianFilterTrace(grey, p); }, "0 1"},
        {"noise and brightness", [&](const auto& p) { ComputeNoiseBrightness(picture, p); },
         "0 0.05 0.3 0.35 0.5233 0.5269 0.5306 0.5342 0.5378 0.5414 0.545 0.5486 0.9964"},
        {"noise level", [&](const auto& p) { ComputeNoiseLevel(luminance, p); }, "0 1"},
        {"noise residual", [&](const auto& p) { ComputeNoiseResidual(grey, {}, p); }, "0 1"},
        {"pixel statistics", [&](const auto& p) { ComputePixelStatistics(picture, p); }, "0 0.4 0.5 1"},
        {"colour axes", [&](const auto& p) { FindColourAxes(picture, p); }, "0 1"},
        {"line profile",
         [&](const auto& p) { ComputeLineProfile(picture, whole, ProfileDirection::AlongRow, p); }, "0 1"},
        {"line profile down",
         [&](const auto& p) { ComputeLineProfile(picture, whole, ProfileDirection::AlongColumn, p); }, "0 1"},
        {"scatter", [&](const auto& p) { ComputeScatter(picture, BitChannel{}, BitChannel{}, p); }, "0 1"},
        {"quality curve", [&](const auto& p) { ComputeQualityCurve(picture, {}, {}, p); }, "0 0.6 0.75 0.85"},
        {"error levels", [&](const auto& p) { ComputeErrorLevelCurve(picture, whole, 256, p); }, "0 1"},
        {"radial spectrum", [&](const auto& p) { ComputeRadialSpectrum(picture, p); }, "0 0.3 0.95 1"},
        {"registration", [&](const auto& p) { RegisterPictures(picture, picture, RegistrationModel{}, p); },
         "0 0.05 0.1 0.1054 0.127 0.154 0.55 1"},
        {"resampling", [&](const auto& p) { ComputeResampling(luminance, p); }, "0 0.15 0.3 1"},
        {"shifted jpeg", [&](const auto& p) { ComputeShiftedJpeg(picture, p); }, "0 0.5 0.6 0.8 1"},
        {"spectrum", [&](const auto& p) { ComputeFourierSpectrum(picture, whole, {}, p); },
         "0 0.15 0.25 0.5 0.7 0.75 1"},
        {"frequencies", [&](const auto& p) { SplitFrequencies(picture, 0.1, p); }, "0 0.4 0.8 1"},
        {"thumbnail", [&](const auto& p) { FitThumbnail(picture, picture(cv::Rect(0, 0, 160, 120)), p); },
         "0.0875 0.175 0.2625 0.35 0.7 0.7061 0.7122 0.7183 0.7244 0.7305 0.7366 0.95 1"},
        {"wavelets", [&](const auto& p) { WaveletResidual(luminance, 3.0, p); },
         "0 0.25 0.3125 0.3281 0.332 0.499 0.6243 0.7182 1"},
    };
    struct Stopped {};
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        std::vector<double> told;
        one.run([&told](double done) { told.push_back(done); });
        EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
        // Beside these there are others where the work takes long.
        for (const std::string& text : StringToVecString(one.told, " ")) {
            double value = -1;
            ASSERT_TRUE(FromString(text, value));
            EXPECT_TRUE(std::any_of(told.begin(), told.end(), [value](double done) {
                return std::abs(done - value) < 1e-4;
            })) << text;
        }
        EXPECT_GE(told.front(), 0.0);
        EXPECT_LE(told.back(), 1.0);
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
