#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/parallel.h"
#include "orvcore/formats/jpegcoefficients.h"

// Was a JPEG file saved twice on the same grid, and where not: quantising with a step q1 and then with q2 leaves peaks and gaps in the
// histogram of a coefficient, u2 receives N(u2) / q2 times what it would have otherwise. A part that was put in from elsewhere lacks
// them (Lin et al. 2009; Bianchi, De Rosa and Piva, "Improved DCT Coefficient Analysis for Forgery Localization in JPEG Images", ICASSP 2011;
// Bianchi and Piva, IEEE TIFS 7(3), 2012).
//
// The histogram without a first save is taken from the decoded picture on a grid moved by four pixels. Blind where the first save had the finer
// steps, where q1 divides q2 (the same quality twice), and for parts without texture.

// The horizontal and vertical frequency of the 14 coefficients that are looked at: the first of the zig-zag order after the mean.
constexpr int kDoubleJpegFrequencies = 14;
cv::Point DoubleJpegFrequencyAt(int index);  // x horizontal, y vertical

// How often level u occurs after steps q1 and q2, relative to q2 alone: q1 times the number of multiples of q1 in the cell of u, with
// rounding between the saves as Gaussian noise of standard deviation `noise` (in units of the coefficient); about 1 on average.
double DoubleQuantisationGain(int level, int q1, int q2, double noise = 0.6);

struct DoubleJpegFrequency {
    cv::Point frequency;  // x horizontal, y vertical
    int lastStep = 0;     // q2, of the file
    int firstStep = 0;    // q1 that explains the histogram best; 0: none does better than a single save
    double share = 0.0;   // of the coefficients that were saved twice, 0..1
    double errorRatio =
        1.0;  // squared error of the fit with q1 over that without; at most 0.5 counts as found
    bool IsFound() const { return firstStep > 0 && share > 0.25 && errorRatio <= 0.5; }
};

struct DoubleJpegResult {
    // For each block log of (likelihood saved once / likelihood saved twice), CV_32FC1, mean of 3 x 3 blocks; above 0: lacks the first save.
    // Not known where the block has none of the 14 coefficients, and where the file breaks off. Empty when no frequency was found.
    AnalysisMap map;
    std::vector<DoubleJpegFrequency> frequencies;  // always all 14
    int found = 0;                                 // how many of them
    double median = 0.0;                           // of the map over its known blocks
    int regionBlocks = 0;                          // the largest connected area above 0
    double regionMean = 0.0;                       // of the map over it
    cv::Rect regionBox;                            // pixels
    int firstQuality = 0;  // whose standard table agrees best with the steps found; 0 when none were found
    int agreeing = 0;      // steps found that are exactly those of that quality
    int blocks = 0;        // that the file holds
};

// luminance: the first component of a JPEG file, with its coefficients. Without them, or without steps, `blocks` is 0 and nothing else is set.
DoubleJpegResult ComputeDoubleJpeg(const JpegCoefficientPlane& luminance, const AnalysisProgress& progress = {});

// Strong: at least 3 of the 14 frequencies found and the median at most -3, that is, the picture as a whole was saved before; with a region of at least
// 256 blocks and a mean above 3 the text names it.
AnalysisDecision JudgeDoubleJpeg(const DoubleJpegResult& result);
// Whether such a region is there (a strong sign of a part with another history).
bool HasForeignRegion(const DoubleJpegResult& result);
