#include "orvcore/analysis/blockdct.h"

#include <cstring>
#include <opencv2/core/utility.hpp>

// Vectors of eight floats, one per row of a block, in the compiler's own notation: it makes two halves of them where the machine has no
// registers of that width. No fused multiplication is allowed anywhere, so both ways give the same bits.

namespace {

using Vector = float __attribute__((vector_size(32)));
using UnalignedVector = float __attribute__((vector_size(32), aligned(4)));

constexpr int kStripBlocks = 8;  // rows of blocks in a piece of work

// cos(k pi / 16) / 2, and sqrt(1/8) for the mean.
constexpr float kC1 = 0.49039264020161522F;
constexpr float kC2 = 0.46193976625564337F;
constexpr float kC3 = 0.41573480615127262F;
constexpr float kC4 = 0.35355339059327376F;
constexpr float kC5 = 0.27778511650980111F;
constexpr float kC6 = 0.19134171618254489F;
constexpr float kC7 = 0.09754516100806413F;

// The eight-point transform down the rows of a block, eight columns at a time: even and odd halves.
[[gnu::always_inline]] inline void Forward(Vector (&v)[8]) {
    const Vector s07 = v[0] + v[7];
    const Vector d07 = v[0] - v[7];
    const Vector s16 = v[1] + v[6];
    const Vector d16 = v[1] - v[6];
    const Vector s25 = v[2] + v[5];
    const Vector d25 = v[2] - v[5];
    const Vector s34 = v[3] + v[4];
    const Vector d34 = v[3] - v[4];
    const Vector outer = s07 + s34;
    const Vector outerDifference = s07 - s34;
    const Vector inner = s16 + s25;
    const Vector innerDifference = s16 - s25;
    v[0] = kC4 * (outer + inner);
    v[4] = kC4 * (outer - inner);
    v[2] = kC2 * outerDifference + kC6 * innerDifference;
    v[6] = kC6 * outerDifference - kC2 * innerDifference;
    v[1] = (kC1 * d07 + kC3 * d16) + (kC5 * d25 + kC7 * d34);
    v[3] = (kC3 * d07 - kC7 * d16) - (kC1 * d25 + kC5 * d34);
    v[5] = (kC5 * d07 - kC1 * d16) + (kC7 * d25 + kC3 * d34);
    v[7] = (kC7 * d07 - kC5 * d16) + (kC3 * d25 - kC1 * d34);
}

[[gnu::always_inline]] inline void Inverse(Vector (&v)[8]) {
    const Vector sum = kC4 * (v[0] + v[4]);
    const Vector difference = kC4 * (v[0] - v[4]);
    const Vector low = kC2 * v[2] + kC6 * v[6];
    const Vector high = kC6 * v[2] - kC2 * v[6];
    const Vector e0 = sum + low;
    const Vector e3 = sum - low;
    const Vector e1 = difference + high;
    const Vector e2 = difference - high;
    const Vector o0 = (kC1 * v[1] + kC3 * v[3]) + (kC5 * v[5] + kC7 * v[7]);
    const Vector o1 = (kC3 * v[1] - kC7 * v[3]) - (kC1 * v[5] + kC5 * v[7]);
    const Vector o2 = (kC5 * v[1] - kC1 * v[3]) + (kC7 * v[5] + kC3 * v[7]);
    const Vector o3 = (kC7 * v[1] - kC5 * v[3]) + (kC3 * v[5] - kC1 * v[7]);
    v[0] = e0 + o0;
    v[7] = e0 - o0;
    v[1] = e1 + o1;
    v[6] = e1 - o1;
    v[2] = e2 + o2;
    v[5] = e2 - o2;
    v[3] = e3 + o3;
    v[4] = e3 - o3;
}

[[gnu::always_inline]] inline void Transpose(Vector (&v)[8]) {
    Vector pair[8];
    for (int i = 0; i < 8; i += 2) {
        pair[i] = __builtin_shufflevector(v[i], v[i + 1], 0, 8, 1, 9, 4, 12, 5, 13);
        pair[i + 1] = __builtin_shufflevector(v[i], v[i + 1], 2, 10, 3, 11, 6, 14, 7, 15);
    }
    Vector four[8];
    for (int i = 0; i < 8; i += 4) {
        for (int k = 0; k < 2; ++k) {
            four[i + 2 * k] = __builtin_shufflevector(pair[i + k], pair[i + k + 2], 0, 1, 8, 9, 4, 5, 12, 13);
            four[i + 2 * k + 1] =
                __builtin_shufflevector(pair[i + k], pair[i + k + 2], 2, 3, 10, 11, 6, 7, 14, 15);
        }
    }
    for (int i = 0; i < 4; ++i) {
        v[i] = __builtin_shufflevector(four[i], four[i + 4], 0, 1, 2, 3, 8, 9, 10, 11);
        v[i + 4] = __builtin_shufflevector(four[i], four[i + 4], 4, 5, 6, 7, 12, 13, 14, 15);
    }
}

[[gnu::always_inline]] inline void Load(const float* source, std::size_t step, Vector (&v)[8]) {
    for (std::size_t i = 0; i < 8; ++i) v[i] = *reinterpret_cast<const UnalignedVector*>(source + i * step);
}

[[gnu::always_inline]] inline void Store(const Vector (&v)[8], float* target, std::size_t step) {
    for (std::size_t i = 0; i < 8; ++i) *reinterpret_cast<UnalignedVector*>(target + i * step) = v[i];
}

template <bool isForward>
[[gnu::always_inline]] inline void DoBlocks(const float* source, std::size_t sourceStep, float* target,
                                            std::size_t targetStep, int blocks, float level) {
    for (int block = 0; block < blocks; ++block) {
        Vector v[8];
        Load(source + 8 * static_cast<std::size_t>(block), sourceStep, v);
        if constexpr (isForward) {
            Forward(v);
            Transpose(v);
            Forward(v);
            Transpose(v);
            v[0][0] -= 8.0F * level;
        } else {
            v[0][0] += 8.0F * level;
            Inverse(v);
            Transpose(v);
            Inverse(v);
            Transpose(v);
        }
        Store(v, target + 8 * static_cast<std::size_t>(block), targetStep);
    }
}

using Kernel = void (*)(const float*, std::size_t, float*, std::size_t, int, float);

void ForwardPlain(const float* source, std::size_t sourceStep, float* target, std::size_t targetStep,
                  int blocks, float level) {
    DoBlocks<true>(source, sourceStep, target, targetStep, blocks, level);
}
void InversePlain(const float* source, std::size_t sourceStep, float* target, std::size_t targetStep,
                  int blocks, float level) {
    DoBlocks<false>(source, sourceStep, target, targetStep, blocks, level);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] void ForwardWide(const float* source, std::size_t sourceStep, float* target,
                                         std::size_t targetStep, int blocks, float level) {
    DoBlocks<true>(source, sourceStep, target, targetStep, blocks, level);
}
[[gnu::target("avx2")]] void InverseWide(const float* source, std::size_t sourceStep, float* target,
                                         std::size_t targetStep, int blocks, float level) {
    DoBlocks<false>(source, sourceStep, target, targetStep, blocks, level);
}
const bool g_isWide = __builtin_cpu_supports("avx2") != 0;
const Kernel g_forward = g_isWide ? ForwardWide : ForwardPlain;
const Kernel g_inverse = g_isWide ? InverseWide : InversePlain;
#else
const Kernel g_forward = ForwardPlain;
const Kernel g_inverse = InversePlain;
#endif

void TransformPlane(Kernel kernel, const cv::Mat& plane, cv::Point origin, cv::Mat& target, float level,
                    const AnalysisProgress& progress) {
    const cv::Mat source = plane;  // holds the samples should target be the same
    target.create(source.rows < origin.y ? 0 : (source.rows - origin.y) / kBlockSide * kBlockSide,
                  source.cols < origin.x ? 0 : (source.cols - origin.x) / kBlockSide * kBlockSide, CV_32FC1);
    if (target.empty()) return;
    ForEachStrip(target.rows, kStripBlocks * kBlockSide, progress, [&](int first, int end) {
        for (int y = first; y < end; y += kBlockSide) {
            kernel(source.ptr<float>(y + origin.y) + origin.x, source.step1(), target.ptr<float>(y),
                   target.step1(), target.cols / kBlockSide, level);
        }
    });
}

}  // namespace

void ForwardBlockDct(const float* source, std::size_t sourceStep, float* target, std::size_t targetStep,
                     int blocks, float level) {
    g_forward(source, sourceStep, target, targetStep, blocks, level);
}

void InverseBlockDct(const float* source, std::size_t sourceStep, float* target, std::size_t targetStep,
                     int blocks, float level) {
    g_inverse(source, sourceStep, target, targetStep, blocks, level);
}

void ForwardBlockDct(const cv::Mat& plane, cv::Point origin, cv::Mat& target, float level,
                     const AnalysisProgress& progress) {
    CV_Assert(plane.type() == CV_32FC1 && origin.x >= 0 && origin.x < kBlockSide && origin.y >= 0 &&
              origin.y < kBlockSide);
    CV_Assert(target.data != plane.data || origin == cv::Point());
    TransformPlane(g_forward, plane, origin, target, level, progress);
}

void InverseBlockDct(const cv::Mat& coefficients, cv::Mat& target, float level,
                     const AnalysisProgress& progress) {
    CV_Assert(coefficients.type() == CV_32FC1 && coefficients.rows % kBlockSide == 0 &&
              coefficients.cols % kBlockSide == 0);
    TransformPlane(g_inverse, coefficients, {}, target, level, progress);
}

cv::Mat PadToBlocks(const cv::Mat& plane, int side) {
    const int bottom = (side - plane.rows % side) % side;
    const int right = (side - plane.cols % side) % side;
    if (bottom == 0 && right == 0) return plane;
    cv::Mat padded;
    cv::copyMakeBorder(plane, padded, 0, bottom, 0, right, cv::BORDER_REPLICATE);
    return padded;
}
