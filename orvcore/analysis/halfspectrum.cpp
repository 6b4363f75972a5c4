#include "orvcore/analysis/halfspectrum.h"

#include <algorithm>

namespace {

constexpr int kTile = 32;  // columns of a piece

// Columns of the spectrum, a tile of them turned into rows at a time.
void TransformColumns(cv::Mat& spectrum, bool isInverse, const AnalysisProgress& progress) {
    const int flags = cv::DFT_ROWS | (isInverse ? cv::DFT_INVERSE | cv::DFT_SCALE : 0);
    ForEachPiece((spectrum.cols + kTile - 1) / kTile, progress, [&](int piece) {
        const int first = piece * kTile;
        const cv::Mat tile = spectrum.colRange(first, std::min(first + kTile, spectrum.cols));
        cv::Mat rows = tile.t();
        cv::dft(rows, rows, flags);
        cv::Mat back = tile;
        cv::transpose(rows, back);
    });
}

}  // namespace

cv::Size FastTransformSize(cv::Size size) {
    int width = cv::getOptimalDFTSize(size.width);
    while (width % 2 != 0) width = cv::getOptimalDFTSize(width + 1);
    return {width, cv::getOptimalDFTSize(size.height)};
}

cv::Mat ToHalfSpectrum(const cv::Mat& plane, cv::Size size, const AnalysisProgress& progress) {
    const int half = size.width / 2 + 1;
    cv::Mat spectrum = cv::Mat::zeros(size.height, half, CV_32FC2);
    ForEachStrip(plane.rows, 16, PartOf(progress, 0.0, 0.5), [&](int first, int end) {
        cv::Mat rows = cv::Mat::zeros(end - first, size.width, CV_32F);
        plane.rowRange(first, end).copyTo(rows.colRange(0, plane.cols));
        cv::Mat transformed;
        cv::dft(rows, transformed, cv::DFT_ROWS | cv::DFT_COMPLEX_OUTPUT);
        transformed.colRange(0, half).copyTo(spectrum.rowRange(first, end));
    });
    TransformColumns(spectrum, false, PartOf(progress, 0.5, 1.0));
    return spectrum;
}

cv::Mat FromHalfSpectrum(cv::Mat& spectrum, cv::Size size, cv::Size wanted,
                         const AnalysisProgress& progress) {
    TransformColumns(spectrum, true, PartOf(progress, 0.0, 0.5));
    const int half = size.width / 2 + 1;
    cv::Mat plane(wanted, CV_32F);
    ForEachStrip(wanted.height, 16, PartOf(progress, 0.5, 1.0), [&](int first, int end) {
        cv::Mat full(end - first, size.width, CV_32FC2);
        for (int y = first; y < end; ++y) {
            const cv::Vec2f* from = spectrum.ptr<cv::Vec2f>(y);
            cv::Vec2f* to = full.ptr<cv::Vec2f>(y - first);
            std::copy(from, from + half, to);
            // The rest follows by symmetry along x, for each row: columns are space by now.
            for (int x = half; x < size.width; ++x)
                to[x] = {from[size.width - x][0], -from[size.width - x][1]};
        }
        cv::Mat rows;
        cv::dft(full, rows, cv::DFT_ROWS | cv::DFT_INVERSE | cv::DFT_REAL_OUTPUT | cv::DFT_SCALE);
        rows.colRange(0, wanted.width).copyTo(plane.rowRange(first, end));
    });
    return plane;
}
