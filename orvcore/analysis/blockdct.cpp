#include "orvcore/analysis/blockdct.h"

#include <opencv2/core/utility.hpp>

#include "orvcore/analysis/vectors.h"

using vectors::Vector;

namespace {

constexpr int kStripBlocks = 8;  // rows of blocks in a piece of work

[[gnu::always_inline]] inline void Load(const float* source, std::size_t step, Vector (&v)[8]) {
    for (std::size_t i = 0; i < 8; ++i) v[i] = vectors::At(source + i * step);
}

[[gnu::always_inline]] inline void Store(const Vector (&v)[8], float* target, std::size_t step) {
    for (std::size_t i = 0; i < 8; ++i) vectors::At(target + i * step) = v[i];
}

template <bool isForward>
[[gnu::always_inline]] inline void DoBlocks(const float* source, std::size_t sourceStep, float* target,
                                            std::size_t targetStep, int blocks, float level) {
    for (int block = 0; block < blocks; ++block) {
        Vector v[8];
        Load(source + 8 * static_cast<std::size_t>(block), sourceStep, v);
        if constexpr (isForward) {
            vectors::Forward(v);
            vectors::Transpose(v);
            vectors::Forward(v);
            vectors::Transpose(v);
            v[0][0] -= 8.0F * level;
        } else {
            v[0][0] += 8.0F * level;
            vectors::Inverse(v);
            vectors::Transpose(v);
            vectors::Inverse(v);
            vectors::Transpose(v);
        }
        Store(v, target + 8 * static_cast<std::size_t>(block), targetStep);
    }
}

ORV_WIDE_WHERE_POSSIBLE(Forward, DoBlocks<true>,
                        (const float* source, std::size_t sourceStep, float* target, std::size_t targetStep,
                         int blocks, float level),
                        (source, sourceStep, target, targetStep, blocks, level))
ORV_WIDE_WHERE_POSSIBLE(Inverse, DoBlocks<false>,
                        (const float* source, std::size_t sourceStep, float* target, std::size_t targetStep,
                         int blocks, float level),
                        (source, sourceStep, target, targetStep, blocks, level))

using Kernel = void (*)(const float*, std::size_t, float*, std::size_t, int, float);

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
    Forward(source, sourceStep, target, targetStep, blocks, level);
}

void InverseBlockDct(const float* source, std::size_t sourceStep, float* target, std::size_t targetStep,
                     int blocks, float level) {
    Inverse(source, sourceStep, target, targetStep, blocks, level);
}

void ForwardBlockDct(const cv::Mat& plane, cv::Point origin, cv::Mat& target, float level,
                     const AnalysisProgress& progress) {
    CV_Assert(plane.type() == CV_32FC1 && origin.x >= 0 && origin.x < kBlockSide && origin.y >= 0 &&
              origin.y < kBlockSide);
    CV_Assert(target.data != plane.data || origin == cv::Point());
    TransformPlane(Forward, plane, origin, target, level, progress);
}

void InverseBlockDct(const cv::Mat& coefficients, cv::Mat& target, float level,
                     const AnalysisProgress& progress) {
    CV_Assert(coefficients.type() == CV_32FC1 && coefficients.rows % kBlockSide == 0 &&
              coefficients.cols % kBlockSide == 0);
    TransformPlane(Inverse, coefficients, {}, target, level, progress);
}

cv::Mat PadToBlocks(const cv::Mat& plane, int side) {
    const int bottom = (side - plane.rows % side) % side;
    const int right = (side - plane.cols % side) % side;
    if (bottom == 0 && right == 0) return plane;
    cv::Mat padded;
    cv::copyMakeBorder(plane, padded, 0, bottom, 0, right, cv::BORDER_REPLICATE);
    return padded;
}
