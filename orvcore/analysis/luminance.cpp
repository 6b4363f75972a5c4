#include "orvcore/analysis/luminance.h"

#include <cstdint>
#include <opencv2/core/hal/intrin.hpp>

#include "orvcore/analysis/pixelrows.h"

namespace {

constexpr float kRed = 0.299F;
constexpr float kGreen = 0.587F;
constexpr float kBlue = 0.114F;
constexpr int kStripRows = 64;

// The order of operations is the vector loop's.
float Mix(float b, float g, float r) {
    return (kBlue * b + kGreen * g) + kRed * r;
}

void Mix(const cv::v_uint16x8& b, const cv::v_uint16x8& g, const cv::v_uint16x8& r, float* row) {
    const cv::v_float32x4 blue = cv::v_setall_f32(kBlue);
    const cv::v_float32x4 green = cv::v_setall_f32(kGreen);
    const cv::v_float32x4 red = cv::v_setall_f32(kRed);
    cv::v_uint32x4 parts[3][2];
    cv::v_expand(b, parts[0][0], parts[0][1]);
    cv::v_expand(g, parts[1][0], parts[1][1]);
    cv::v_expand(r, parts[2][0], parts[2][1]);
    for (int i = 0; i < 2; ++i) {
        const auto level = [&](int channel) {
            return cv::v_cvt_f32(cv::v_reinterpret_as_s32(parts[channel][i]));
        };
        cv::v_store(row + 4 * i, (blue * level(0) + green * level(1)) + red * level(2));
    }
}

// Colour of 8 bits: nearly every photograph.
void MixBytes(const std::uint8_t* pixels, int channels, int count, float* row) {
    int x = 0;
    for (; x + 16 <= count; x += 16) {
        cv::v_uint8x16 b;
        cv::v_uint8x16 g;
        cv::v_uint8x16 r;
        cv::v_uint8x16 alpha;
        if (channels == 3) {
            cv::v_load_deinterleave(pixels + 3 * x, b, g, r);
        } else {
            cv::v_load_deinterleave(pixels + 4 * x, b, g, r, alpha);
        }
        cv::v_uint16x8 wide[3][2];
        cv::v_expand(b, wide[0][0], wide[0][1]);
        cv::v_expand(g, wide[1][0], wide[1][1]);
        cv::v_expand(r, wide[2][0], wide[2][1]);
        Mix(wide[0][0], wide[1][0], wide[2][0], row + x);
        Mix(wide[0][1], wide[1][1], wide[2][1], row + x + 8);
    }
    for (; x < count; ++x) {
        const std::uint8_t* pixel = pixels + channels * x;
        row[x] = Mix(pixel[0], pixel[1], pixel[2]);
    }
}

template <typename Level>
void MixRow(const Level* pixels, int channels, int count, float scale, float* row) {
    for (int x = 0; x < count; ++x) {
        const Level* pixel = pixels + static_cast<std::ptrdiff_t>(channels) * x;
        row[x] = scale * (channels < 3 ? static_cast<float>(pixel[0]) : Mix(pixel[0], pixel[1], pixel[2]));
    }
}

}  // namespace

void ComputeLuminanceRow(const cv::Mat& image, int y, float* row) {
    const int channels = image.channels();
    if (image.depth() == CV_16U) {
        MixRow(image.ptr<std::uint16_t>(y), channels, image.cols, 1.0F / 257.0F, row);
    } else if (channels < 3) {
        MixRow(image.ptr<std::uint8_t>(y), channels, image.cols, 1.0F, row);
    } else {
        MixBytes(image.ptr<std::uint8_t>(y), channels, image.cols, row);
    }
}

cv::Mat ComputeLuminance(const cv::Mat& image, const AnalysisProgress& progress) {
    CheckPicture(image);
    cv::Mat luminance(image.rows, image.cols, CV_32FC1);
    ForEachStrip(image.rows, kStripRows, progress, [&](int first, int end) {
        for (int y = first; y < end; ++y) ComputeLuminanceRow(image, y, luminance.ptr<float>(y));
    });
    return luminance;
}
