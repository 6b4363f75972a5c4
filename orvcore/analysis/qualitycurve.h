#pragma once

#include <array>
#include <cstdint>
#include <opencv2/core.hpp>
#include <optional>
#include <vector>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/blockrows.h"
#include "orvcore/analysis/parallel.h"

// How much a picture changes when it is saved as JPEG once more, at every quality: the curve falls as the quality rises, with a dip where the
// picture was saved before on the same grid (Farid, IEEE TIFS 4(1), 2009; Krawetz 2007 for the mean of the absolute error).

// How often each size of a luminance coefficient occurs, per frequency: what a quality does to a picture depends on nothing else.
class FrequencyCounts {
  public:
    static constexpr int kPerUnit = 8;  // bins per unit of the coefficient; bin i holds |c| * 8 rounded to i
    static constexpr int kBins = 1100 * kPerUnit;

    FrequencyCounts() : m_counts(64U * kBins) {}
    // natural order of frequencies, 8 v + u
    std::uint32_t* Of(int frequency) { return m_counts.data() + static_cast<std::size_t>(frequency) * kBins; }
    const std::uint32_t* Of(int frequency) const {
        return m_counts.data() + static_cast<std::size_t>(frequency) * kBins;
    }
    std::uint64_t GetBlocks() const { return m_blocks; }
    // Adds one row of coefficients as BlockRows gives them, of `blocks` blocks: those from begin to end (exclusive).
    void AddBlocks(const std::vector<float>& coefficients, int blocks, int begin, int end);
    void Add(const FrequencyCounts& other);

  private:
    std::vector<std::uint32_t> m_counts;
    std::uint64_t m_blocks = 0;
};

// Of all whole blocks; those whose middle lies in `region` go to `inside` where that is given, the others to the result.
FrequencyCounts CountFrequencies(const BlockRows& rows, const cv::Rect& region, FrequencyCounts* inside,
                                 const AnalysisProgress& progress = {});

struct QualityCurve {
    // Root of the mean squared change of luminance, levels, by quality: [0] is quality 1, [99] quality 100. NaN without blocks.
    std::array<double, 100> all{};
    std::array<double, 100> inside{};
    std::array<double, 100> outside{};
    // The whole picture without the blocks' means, and over how many classes those spread (1 to 33, inverse of the sum of squared shares; 11
    // and more in photographs): where paper, an even sky or clipped light give most blocks one mean, it is a multiple of some quality's step
    // by chance.
    std::array<double, 100> detail{};
    double spreadOfMeans = 0.0;
    std::uint64_t blocks = 0;
    std::uint64_t blocksInside = 0;
};

// A quality at which a curve has a dip: measured on the logarithm against the line between the qualities at `reach` on both sides.
struct CurveDip {
    int quality = 0;
    double value = 0.0;  // of the curve, levels
    double depth = 0.0;  // log of (line / value), above 0
};

// picture: 8 or 16 bits unsigned, 1 to 4 channels, or luminance (CV_32FC1); origin: of the grid, each 0..7. Without a whole block `blocks` is 0.
// Throws ZorException (kind Argument) for another type. The steps are those of the example tables of the standard at each quality.
QualityCurve ComputeQualityCurve(const cv::Mat& picture, cv::Point origin = {}, const cv::Rect& region = {},
                                 const AnalysisProgress& progress = {});

// Local minima of at least this depth, the deepest first. Neighbouring qualities with equal tables count as one.
std::vector<CurveDip> FindDips(const std::array<double, 100>& curve, double leastDepth = 0.05);

// Looks at the whole picture's curve, or at that of its details where the means spread over fewer than 6 classes; not applicable where
// saving changes next to nothing of them. A dip tells of an earlier save with these steps or multiples of them: a fact about the file, not
// of a forgery, so worth a look at most. Where a coarser quality dips as well whose steps are multiples of the deepest dip's, the text
// names that one.
// lastQuality: of the JPEG file itself, which has its own dip; 0: its tables are not the standard's, whose multiples dip anywhere (30
// of 36 untouched photographs), so that nothing is said; nothing given: not a JPEG.
AnalysisDecision JudgeQualityCurve(const QualityCurve& curve, std::optional<int> lastQuality);

struct ErrorLevelCurve {
    // Mean absolute change of luminance, rounded to levels as a decoder gives them, by quality as above.
    std::array<double, 100> inside{};
    std::array<double, 100> outside{};
    int blocksInside = 0;  // how many were measured
    int blocksOutside = 0;
};

// The error level over the qualities, inside and outside the region (empty: everything is outside), measured on at most
// `blocks` blocks of each, evenly spread.
ErrorLevelCurve ComputeErrorLevelCurve(const cv::Mat& picture, const cv::Rect& region, int blocks = 4096,
                                       const AnalysisProgress& progress = {});
