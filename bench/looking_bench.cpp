// What each view of a picture costs on 24 megapixels, against copying its pixels and against one Fourier transform of it.

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

#include "bench/startclock.h"
#include "orvcore/analysis/channels.h"
#include "orvcore/analysis/gradient.h"
#include "orvcore/analysis/levels.h"
#include "orvcore/analysis/pixelstatistics.h"
#include "orvcore/analysis/principalcomponents.h"
#include "orvcore/analysis/profile.h"
#include "orvcore/analysis/radialspectrum.h"
#include "orvcore/analysis/spectrum.h"

namespace {

double Median(const std::function<void()>& work) {
    std::vector<double> times;
    for (int i = 0; i < 5; ++i) {
        const std::int64_t start = SharedNanoseconds();
        work();
        times.push_back(static_cast<double>(SharedNanoseconds() - start) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

}  // namespace

int main() {
    cv::Mat picture(4000, 6000, CV_8UC3);
    cv::RNG(1).fill(picture, cv::RNG::NORMAL, 120, 40);
    cv::Mat copy;
    const double copying = Median([&] { picture.copyTo(copy); });
    cv::Mat plane(4000, 6000, CV_32F, cv::Scalar(1));
    const double transforming = Median([&] { cv::dft(plane, copy); });
    std::printf("24 megapixels: copy %.1f ms, one transform by the library %.0f ms\n", copying, transforming);
    const struct {
        const char* name;
        std::function<void()> work;
    } views[] = {
        {"channel: red", [&] { ExtractPlane(picture, ColourSpace::Rgb, 0); }},
        {"channel: hue", [&] { ExtractPlane(picture, ColourSpace::Hsv, 0); }},
        {"channel: L*", [&] { ExtractPlane(picture, ColourSpace::Lab, 0); }},
        {"channel: Cb", [&] { ExtractPlane(picture, ColourSpace::YCbCr, 1); }},
        {"bit plane", [&] { ExtractBitPlane(picture, BitChannel::Luminance, 0); }},
        {"principal components", [&] { ProjectOnAxis(picture, FindColourAxes(picture), 2); }},
        {"luminance gradient", [&] { DrawGradient(ComputeGradient(picture).map, 8); }},
        {"level sweep", [&] { SweepLevels(picture, 64, 48); }},
        {"local contrast", [&] { RaiseLocalContrast(picture, 4, 8); }},
        {"frequency split", [&] { SplitFrequencies(picture, 0.1); }},
        {"Fourier spectrum (16 megapixels)", [&] { ComputeFourierSpectrum(picture, {}, {}); }},
        {"radial spectrum", [&] { ComputeRadialSpectrum(picture); }},
        {"line profile",
         [&] {
             ComputeLineProfile(picture, {0, 0, 6000, 4000}, ProfileDirection::AlongRow);
         }},
        {"pixel statistics", [&] { ComputePixelStatistics(picture); }},
        {"scatter", [&] { ComputeScatter(picture, BitChannel::Red, BitChannel::Green); }},
    };
    for (const auto& view : views) {
        const double ms = Median(view.work);
        std::printf("%-34s %7.0f ms   %6.1f copies   %5.2f transforms\n", view.name, ms, ms / copying,
                    ms / transforming);
        std::fflush(stdout);
    }
}
