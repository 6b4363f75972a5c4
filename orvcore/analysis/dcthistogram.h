#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

// Histograms of the quantised DCT coefficients that a JPEG file holds, and the traces that an earlier
// quantisation left in them (Popescu and Farid, "Statistical tools for digital forensics", 2004; Lin, He,
// Tang and Tang 2009). Saved with step q1 and again with step q2, bin n of a frequency collects
//   N(n) = q1 (floor(q2/q1 (n + 1/2)) - ceil(q2/q1 (n - 1/2)) + 1)
// bins of the first: with q1 > q2 some stay empty, and the counts repeat every q1 / gcd(q1, q2) bins. Blind where
// q1 divides q2, where the first quality was the higher one, and in frequencies with few non-zero coefficients.
// Pure functions, any thread.

struct DctHistogram {
    int largest = 0;                    // bins go from -largest to +largest
    std::vector<std::int64_t> counts;   // 2 largest + 1; coefficients beyond the ends are not in it
    std::int64_t total = 0;             // coefficients of this frequency, those beyond the ends included
    std::int64_t At(int value) const {  // 0 outside
        return value < -largest || value > largest ? 0 : counts[static_cast<std::size_t>(value + largest)];
    }
};

// coefficients: CV_16SC1, rows and columns multiples of 8, the coefficient c(u,v) of a block at its row v and
// column u. 0 <= u, v <= 7; largest >= 1. Blocks outside `blocks` (in blocks, all when empty) do not count.
DctHistogram ComputeDctHistogram(const cv::Mat& coefficients, int u, int v, int largest,
                                 cv::Rect blocks = {});

struct DctTraces {
    int emptyBins = 0;      // of the bins -20..20
    std::vector<int> gaps;  // values whose bin is empty, or nearly so, although its neighbours are not
    double period = 0;      // bins; 0 when nothing repeats
    double strength = 0;    // of that period's line in the spectrum, against the median of all lines
    std::vector<double>
        spectrum;  // magnitude at frequency k / (2 (spectrum.size() - 1)) cycles per bin, k = 0...
};

// The spectrum is that of the logarithms of the counts less their local mean (Hann window). A period is told from
// strength 6 on; it lies between 2 and 16 bins. A gap is a bin with less than a quarter of what its two neighbours at
// either side let expect, where that is at least 12 coefficients.
DctTraces FindDctTraces(const DctHistogram& histogram);

// The counts that a second quantisation makes of an evenly spread first one: N(n) above, for n = -largest..largest.
std::vector<int> DoubleQuantisationCounts(int firstStep, int secondStep, int largest);
