#include "orvcore/analysis/gridvotes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/blockdct.h"
#include "orvcore/analysis/gridregions.h"
#include "orvcore/analysis/luminance.h"
#include "orvcore/analysis/vectors.h"
#include "orvcore/formats/jpegquality.h"
#include "zorbase/zorexception.h"

using vectors::IntVector;
using vectors::Vector;

namespace {

constexpr int kStripRows = 32;
constexpr int kSmallest = 32;
constexpr std::uint8_t kNoVote = 255;

// The transform down the columns of eight rows, for all columns at once.
[[gnu::always_inline]] inline void Down(const float* const* rows, int count, float* const* frequencies) {
    for (int x = 0; x < count; x += 8) {
        Vector v[8];
        for (int i = 0; i < 8; ++i) v[i] = vectors::At(rows[i] + x);
        vectors::Forward(v);
        for (int i = 0; i < 8; ++i) vectors::At(frequencies[i] + x) = v[i];
    }
}
ORV_WIDE_WHERE_POSSIBLE(DownRows, Down, (const float* const* rows, int count, float* const* frequencies),
                        (rows, count, frequencies))

// The number of AC coefficients below 0.5 of the windows that begin at each column. Eight windows side by side fill a vector.
[[gnu::always_inline]] inline void Across(const float* const* frequencies, int count, std::int32_t* zeros) {
    for (int x = 0; x < count; x += 8) {
        IntVector sum{};
        for (int row = 0; row < 8; ++row) {
            Vector v[8];
            for (int i = 0; i < 8; ++i) v[i] = vectors::At(frequencies[row] + x + i);
            vectors::Forward(v);
            for (int i = row == 0 ? 1 : 0; i < 8; ++i) sum -= (v[i] < 0.5F) & (v[i] > -0.5F);
        }
        *reinterpret_cast<vectors::UnalignedIntVector*>(zeros + x) = sum;
    }
}
ORV_WIDE_WHERE_POSSIBLE(AcrossRow, Across, (const float* const* frequencies, int count, std::int32_t* zeros),
                        (frequencies, count, zeros))

// A row of windows or pixels: how many zeros the best window has, and for which grid that speaks (255: none, or several).
struct BestRow {
    std::vector<std::uint8_t> zeros;
    std::vector<std::uint8_t> grid;
};

[[gnu::always_inline]] inline void Better(const std::uint8_t* zerosA, const std::uint8_t* gridA,
                                          const std::uint8_t* zerosB, const std::uint8_t* gridB, int count,
                                          std::uint8_t* __restrict zeros, std::uint8_t* __restrict grid) {
    for (int x = 0; x < count; ++x) {
        const std::uint8_t a = zerosA[x];
        const std::uint8_t b = zerosB[x];
        const std::uint8_t fromA = gridA[x];
        const std::uint8_t fromB = gridB[x];
        zeros[x] = a > b ? a : b;
        grid[x] = a > b ? fromA : b > a ? fromB : kNoVote;
    }
}
ORV_WIDE_WHERE_POSSIBLE(BetterRow, Better,
                        (const std::uint8_t* zerosA, const std::uint8_t* gridA, const std::uint8_t* zerosB,
                         const std::uint8_t* gridB, int count, std::uint8_t* zeros, std::uint8_t* grid),
                        (zerosA, gridA, zerosB, gridB, count, zeros, grid))

// Whether all rows, or all columns, of a window are equal within themselves: nothing can be said of such a window.
bool IsConstant(const float* const* rows, int x) {
    bool isAcross = true;
    bool isDown = true;
    for (int i = 0; i < 8 && (isAcross || isDown); ++i) {
        for (int k = 0; k < 8; ++k) {
            isAcross = isAcross && rows[i][x + k] == rows[i][x];
            isDown = isDown && rows[i][x + k] == rows[0][x + k];
        }
    }
    return isAcross || isDown;
}

// One picture's luminance, row by row, from whatever it was given as.
class Rows {
  public:
    explicit Rows(const cv::Mat& picture) : m_picture(picture) {}
    void Read(int y, float* row) const {
        if (m_picture.depth() == CV_32F) {
            std::memcpy(row, m_picture.ptr<float>(y),
                        static_cast<std::size_t>(m_picture.cols) * sizeof(float));
        } else {
            ComputeLuminanceRow(m_picture, y, row);
        }
    }
    cv::Size GetSize() const { return m_picture.size(); }

  private:
    const cv::Mat& m_picture;
};

// Votes of the pixels of one strip of rows. Buffers for one thread.
class Voting {
  public:
    Voting(const Rows& rows, cv::Mat& votes)
        : m_rows(rows),
          m_votes(votes),
          m_width(votes.cols),
          m_stride((static_cast<std::size_t>(m_width) + 31) & ~std::size_t{15}) {}

    // Pixel rows first..end-1, all at least 7 from the upper and lower edge. They need the windows that begin at first - 7..end - 1.
    void Run(int first, int end) {
        const int top = first - 7;
        const int samples = end - first + 14;
        m_samples.assign(m_stride * static_cast<std::size_t>(samples), 0.0F);
        for (int i = 0; i < samples; ++i)
            m_rows.Read(top + i, m_samples.data() + m_stride * static_cast<std::size_t>(i));
        std::vector<BestRow> best(static_cast<std::size_t>(end - top));
        for (int y = top; y < end; ++y) BestWindows(y - top, y, best[static_cast<std::size_t>(y - top)]);
        // The best of eight rows of windows, in three doublings.
        for (std::size_t reach = 1; reach < 8; reach *= 2) {
            for (std::size_t i = 0; i + reach < best.size(); ++i) Merge(best[i], best[i + reach], 0);
        }
        for (int y = first; y < end; ++y) {
            const BestRow& row = best[static_cast<std::size_t>(y - first)];
            // The windows of pixel x begin at x - 7..x.
            std::copy_n(row.grid.data(), m_width - 14, m_votes.ptr(y) + 7);
        }
    }

  private:
    // For each column the best of the eight windows that begin there and to the right of it, of the windows that begin in row y.
    void BestWindows(int index, int y, BestRow& best) {
        m_zeros.resize(m_stride);
        m_frequencies.assign(m_stride * 8, 0.0F);
        std::array<const float*, 8> rows{};
        std::array<float*, 8> frequencies{};
        std::array<const float*, 8> read{};
        for (std::size_t i = 0; i < 8; ++i) {
            rows[i] = m_samples.data() + m_stride * (static_cast<std::size_t>(index) + i);
            read[i] = frequencies[i] = m_frequencies.data() + m_stride * i;
        }
        const int windows = m_width - 7;
        DownRows(rows.data(), m_width, frequencies.data());
        AcrossRow(read.data(), windows, m_zeros.data());
        best.zeros.assign(static_cast<std::size_t>(m_width), 0);
        best.grid.assign(static_cast<std::size_t>(m_width), kNoVote);
        for (int x = 0; x < windows; ++x) {
            const auto zeros = static_cast<std::uint8_t>(m_zeros[static_cast<std::size_t>(x)]);
            best.zeros[static_cast<std::size_t>(x)] = zeros;
            const bool isConstant = zeros >= 56 && IsConstant(rows.data(), x);
            best.grid[static_cast<std::size_t>(x)] =
                isConstant ? kNoVote : static_cast<std::uint8_t>(x % 8 + 8 * (y % 8));
        }
        for (int reach = 1; reach < 8; reach *= 2) Merge(best, best, reach);
    }

    // a becomes the better of a and b moved to the left by `shift` columns.
    void Merge(BestRow& a, const BestRow& b, int shift) {
        m_better.zeros.assign(static_cast<std::size_t>(m_width), 0);
        m_better.grid.assign(static_cast<std::size_t>(m_width), kNoVote);
        BetterRow(a.zeros.data(), a.grid.data(), b.zeros.data() + shift, b.grid.data() + shift,
                  m_width - shift, m_better.zeros.data(), m_better.grid.data());
        std::swap(a, m_better);
    }

    const Rows& m_rows;
    cv::Mat& m_votes;
    const int m_width;
    const std::size_t m_stride;
    std::vector<float> m_samples;
    std::vector<float> m_frequencies;
    std::vector<std::int32_t> m_zeros;
    BestRow m_better;
};

cv::Mat Vote(const cv::Mat& picture, const AnalysisProgress& progress) {
    cv::Mat votes(picture.size(), CV_8UC1, cv::Scalar(kNoVote));
    const Rows rows(picture);
    ForEachStrip(picture.rows - 14, kStripRows, progress,
                 [&](int first, int end) { Voting(rows, votes).Run(first + 7, end + 7); });
    return votes;
}

std::array<std::int64_t, 64> CountVotes(const cv::Mat& votes) {
    std::array<std::int64_t, 256> counts{};
    for (int y = 0; y < votes.rows; ++y) {
        const std::uint8_t* row = votes.ptr(y);
        for (int x = 0; x < votes.cols; ++x) ++counts[row[x]];
    }
    std::array<std::int64_t, 64> grids{};
    std::copy_n(counts.begin(), 64, grids.begin());
    return grids;
}

// The luminance saved at quality 99 on the grid (0, 0), rounded as a decoder does; the rest beyond whole blocks stays.
cv::Mat SaveAt99(const cv::Mat& picture, const AnalysisProgress& progress) {
    cv::Mat luminance =
        picture.depth() == CV_32F ? picture.clone() : ComputeLuminance(picture, PartOf(progress, 0.0, 0.3));
    const QuantizationTable table = StandardQuantizationTable(99, false);
    const int blocks = luminance.cols / kBlockSide;
    ForEachStrip(luminance.rows / kBlockSide, 4, PartOf(progress, 0.3, 1.0), [&](int first, int end) {
        for (int row = first; row < end; ++row) {
            float* samples = luminance.ptr<float>(row * kBlockSide);
            ForwardBlockDct(samples, luminance.step1(), samples, luminance.step1(), blocks, 128.0F);
            for (int v = 0; v < kBlockSide; ++v) {
                float* line = luminance.ptr<float>(row * kBlockSide + v);
                for (int x = 0; x < blocks * kBlockSide; ++x) {
                    const float step = table.values[static_cast<std::size_t>(8 * v + x % 8)];
                    line[x] = std::nearbyint(line[x] / step) * step;
                }
            }
            InverseBlockDct(samples, luminance.step1(), samples, luminance.step1(), blocks, 128.0F);
            for (int v = 0; v < kBlockSide; ++v) {
                float* line = luminance.ptr<float>(row * kBlockSide + v);
                for (int x = 0; x < blocks * kBlockSide; ++x)
                    line[x] = std::nearbyint(std::clamp(line[x], 0.0F, 255.0F));
            }
        }
    });
    return luminance;
}

void Mark(const cv::Mat& votes, const std::vector<GridRegion>& regions, std::uint8_t value, cv::Mat& mask) {
    constexpr int kClosing = 9;
    if (regions.empty()) return;
    if (mask.empty()) mask = cv::Mat(votes.size(), CV_8UC1, cv::Scalar(0));
    for (const GridRegion& region : regions) {
        cv::Mat closed;
        cv::copyMakeBorder(votes(region.box) == region.grid, closed, kClosing, kClosing, kClosing, kClosing,
                           cv::BORDER_CONSTANT, cv::Scalar(0));
        const cv::Mat square =
            cv::getStructuringElement(cv::MORPH_RECT, {2 * kClosing + 1, 2 * kClosing + 1});
        cv::morphologyEx(closed, closed, cv::MORPH_CLOSE, square);
        closed = closed(cv::Rect(cv::Point(kClosing, kClosing), region.box.size()));
        mask(region.box).setTo(cv::Scalar(value), closed);
    }
}

}  // namespace

double LogBinomialTail(std::int64_t n, std::int64_t k, double p) {
    if (k <= 0) return 0.0;
    if (k > n) return -std::numeric_limits<double>::infinity();
    const auto count = static_cast<double>(n);
    const auto first = static_cast<double>(k);
    // Below the mean the tail is nearly everything: one less its complement would lose digits that nobody needs.
    if (first <= count * p) return 0.0;
    const double logFirst = std::lgamma(count + 1.0) - std::lgamma(first + 1.0) -
                            std::lgamma(count - first + 1.0) + first * std::log(p) +
                            (count - first) * std::log1p(-p);
    double term = 1.0;
    double sum = 1.0;
    for (double i = first; i < count && term > sum * 1e-12; ++i) {
        term *= (count - i) / (i + 1.0) * p / (1.0 - p);
        sum += term;
    }
    return std::min((logFirst + std::log(sum)) / std::log(10.0), 0.0);
}

GridVotesResult ComputeGridVotes(const cv::Mat& picture, const GridVotesSettings& settings,
                                 const AnalysisProgress& progress) {
    if (picture.empty() || picture.dims != 2 || picture.channels() > 4 ||
        (picture.type() != CV_32FC1 && picture.depth() != CV_8U && picture.depth() != CV_16U))
        ZOR_THROW(Argument, "Grid votes need a picture of 8 or 16 bits per channel.");
    GridVotesResult result;
    result.isTooSmall = picture.cols < kSmallest || picture.rows < kSmallest;
    if (result.isTooSmall) return result;
    const double votingEnd = settings.missing ? 0.4 : 0.8;
    result.votes = Vote(picture, PartOf(progress, 0.0, votingEnd));
    const auto counts = CountVotes(result.votes);
    const auto best = std::max_element(counts.begin(), counts.end());
    if (*best > 0) result.bestGrid = static_cast<int>(best - counts.begin());
    std::int64_t all = 0;
    for (const std::int64_t count : counts) all += count;
    result.bestShare = all > 0 ? static_cast<double>(*best) / static_cast<double>(all) : 0.0;
    const auto pixels = static_cast<std::int64_t>(picture.total());
    const double tests = 2.0 * std::log10(64.0 * static_cast<double>(pixels));
    result.logNfa = tests + LogBinomialTail((pixels + 63) / 64, *best / 64 - 1, 1.0 / 64.0);
    if (result.logNfa < 0.0) result.mainGrid = result.bestGrid;
    result.foreign =
        FindGridRegions(result.votes, result.mainGrid, kNoGrid, PartOf(progress, votingEnd, votingEnd + 0.1));
    Mark(result.votes, result.foreign, 255, result.mask);
    if (settings.missing && result.mainGrid != kNoGrid) {
        cv::Mat votes = Vote(SaveAt99(picture, PartOf(progress, 0.5, 0.55)), PartOf(progress, 0.55, 0.9));
        votes.setTo(cv::Scalar(kNoVote), result.votes == result.mainGrid);
        result.missing = FindGridRegions(votes, kNoGrid, 0, PartOf(progress, 0.9, 1.0));
        Mark(votes, result.missing, 128, result.mask);
    }
    if (progress) progress(1.0);
    return result;
}

AnalysisDecision JudgeGridVotes(const GridVotesResult& result) {
    AnalysisDecision decision;
    if (result.isTooSmall) {
        decision.text = "The picture is smaller than 32 x 32 pixels.";
        return decision;
    }
    if (result.bestGrid == kNoGrid) {
        decision.text = "The picture is too even: no place of it votes for a grid.";
        return decision;
    }
    decision.threshold = 0.0;
    const auto at = [](int grid) {
        return '(' + std::to_string(grid % 8) + ", " + std::to_string(grid / 8) + ')';
    };
    if (!result.foreign.empty()) {
        decision.finding = Finding::StrongSign;
        decision.measured = result.foreign.front().logNfa;
        decision.text = "A part was compressed on another grid of blocks, which begins at " +
                        at(result.foreign.front().grid) + ".";
    } else if (result.mainGrid > 0) {
        decision.finding = Finding::StrongSign;
        decision.measured = result.logNfa;
        decision.text = "The grid of blocks begins at " + at(result.mainGrid) +
                        ": the picture was cropped or moved after it had been compressed.";
    } else if (!result.missing.empty()) {
        // Every second untouched photograph has smooth or blown-out parts without a grid: to be seen on the map, but no sign.
        decision.finding = Finding::Nothing;
        decision.measured = result.missing.front().logNfa;
        decision.text =
            "One grid of blocks, at (0, 0); in a part it is not seen, as in smooth or saturated ones.";
    } else {
        decision.finding = Finding::Nothing;
        decision.measured = result.logNfa;
        decision.text =
            result.mainGrid == kNoGrid
                ? "No grid of blocks is seen: never compressed, at a very high quality, or resized since."
                : "One grid of blocks, at (0, 0), everywhere.";
    }
    return decision;
}
