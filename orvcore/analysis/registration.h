#pragma once

#include <opencv2/core.hpp>
#include <string>

#include "orvcore/analysis/parallel.h"

// Where a reference picture lies on the evidence: the same scene cropped, scaled, turned, mirrored or seen from elsewhere.

enum class RegistrationModel : int { Automatic, Shift, Affine, Projective };
enum class RegistrationMethod : int { None, Identity, PhaseCorrelation, Features };

struct Registration {
    bool isFound = false;
    std::string whyNot;
    RegistrationMethod method = RegistrationMethod::None;
    // Pixel centres of the reference -> pixel centres of the evidence, homogeneous, element (2, 2) is 1.
    cv::Matx33d model = cv::Matx33d::eye();
    bool isWholeShift = false;  // no interpolation is needed: whole pixels, or none
    bool isMirrored = false;
    bool isProjective = false;
    // Degrees, -180..180, clockwise as seen, of the reference on the evidence (after mirroring left to right).
    double rotation = 0;
    double scale = 1;        // linear, of the evidence against the reference
    cv::Rect crop;           // what of the reference the evidence shows, in the reference's pixels, cut to it
    double overlap = 0;      // share of the evidence that the reference covers, 0..1
    double correlation = 0;  // of the two luminances where they overlap, -1..1
    int inliers = 0;         // keypoints that agree; 0 without them
    double residual = 0;     // root of their mean squared distance to the model, in pixels
};

// Tries, in this order: as it lies (equal sizes), a shift by phase correlation (Kuglin and Hines, "The Phase Correlation Image
// Alignment Method", 1975), keypoints in overlapping tiles with an affine map, then a projective one where it fits better, then
// both for the mirrored reference; the result is refined on the levels themselves by Gauss-Newton steps (Lucas and Kanade, 1981,
// with brightness and contrast free, as in Evangelidis and Psarakis, "Parametric Image Alignment Using Enhanced Correlation
// Coefficient Maximization", IEEE TPAMI 30(10), 2008), and taken as whole pixels where it is within 0.1 pixels of them
// everywhere, or within 0.3 and fits as well. model: what is allowed. Pictures: 8 or 16 bits, 1 to 4 channels, otherwise
// ZorException (kind Argument). Not found when nothing correlates: by 0.5 or more with at least 12 keypoints that agree, without
// them by 0.7 or more over at least a quarter of the smaller picture; nor when a picture is smaller than 32 x 32. Memory: 12
// bytes per pixel of both, and 180 MB for each thread's tile of keypoints.
Registration RegisterPictures(const cv::Mat& evidence, const cv::Mat& reference, RegistrationModel model,
                              const AnalysisProgress& progress = {});

// The reference brought onto the evidence: of the evidence's size and the reference's type, bicubic, exact copies for whole
// shifts. mask: CV_8U, 255 where the reference covers the evidence.
cv::Mat BringOnto(const cv::Mat& reference, const Registration& registration, const cv::Size& evidence,
                  cv::Mat& mask, const AnalysisProgress& progress = {});
