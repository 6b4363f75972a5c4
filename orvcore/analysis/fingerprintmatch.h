#pragma once

#include <vector>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/camerafingerprint.h"

// Does a picture carry a camera's fingerprint? Goljan, Fridrich, Filler, "Large scale test of sensor fingerprint camera identification",
// SPIE 7254, 2009; for cropped and scaled pictures Goljan, Fridrich, SPIE 6819, 2008. The measure is the peak-to-correlation
// energy PCE = sign(p) p^2 / mean of r^2, p the correlation of W I with K at the place in question and r the others, outside 11 x 11
// places around it. For a picture of another camera p / sqrt(mean r^2) is a standard normal number, so the probability of a false
// alarm at one place is Q(sqrt(PCE)), and 1 - (1 - Q)^N for the best of N places.

constexpr double kPceThreshold =
    60.0;  // at one place: false alarms of 2.4e-5 in the study of a million pictures of 2009

struct FingerprintMatch {
    double pce = 0.0;
    double log10FalseAlarm = 0.0;      // of the whole search, by the formula above: -300 is less than 1e-300
    double threshold = kPceThreshold;  // raised with the number of places
    double places = 1.0;               // shifts x scales x turns that were tried
    double runnerUp =
        0.0;  // PCE of the highest other peak of the same plane; 0 where only one place was tried
    // Where the picture lies on the sensor: its top left pixel after turning by quarterTurns (counter-clockwise) and scaling.
    cv::Point shift;
    double scale = 1.0;  // sensor pixels per picture pixel: above 1 for reduced pictures
    int quarterTurns = 0;
    bool isMatch = false;  // pce >= threshold
};

// log10 of Q(x) = P(normal > x), right also far beyond what a double can hold.
double Log10Tail(double x);
// The threshold that keeps the false-alarm probability of kPceThreshold when the best of so many places counts.
double ThresholdForPlaces(double places);

// Where it must lie when nothing was cut, scaled or turned. Reads every value once, so that it keeps up with reading fingerprints:
// mean r^2 is what chance gives, the larger of |W I|^2 |K|^2 / n and n times the variance of the products with their neighbours'
// covariance, measured on some rows. residual: cleaned; pattern of its size, otherwise ZorException (kind Argument).
FingerprintMatch TestAligned(const CameraResidual& residual, const cv::Mat& pattern);

struct FingerprintSearch {
    bool anyShift = true;  // cropped pictures
    bool anyTurn = true;   // by 90, 180, 270 degrees
    std::vector<double> scales =
        {};  // sensor pixels per picture pixel; empty: 1 and what makes a side as long as the sensor's
    double finest =
        0.0;  // > 0: every scale from 1 to this too, in steps of half a percent, refined around the best
};

// Correlates with the whole fingerprint by Fourier transforms, one for every scale and turn; without anyShift only the middle ones
// that the sizes leave (top left). Scales that make the picture larger than the fingerprint by more than 8 pixels are left out;
// when none remains, pce is 0. Takes 20 bytes per pixel of the fingerprint.
FingerprintMatch SearchFingerprint(const CameraResidual& residual, const cv::Mat& pattern,
                                   const FingerprintSearch& search, const AnalysisProgress& progress = {});

// For the best of so many fingerprints: places, threshold and probability rise by that factor.
void RaisePlaces(FingerprintMatch& match, double fingerprints);

// From a match: strong at the threshold ("strong" that this is the camera). NotApplicable when the picture's noise has no energy.
AnalysisDecision DecideFingerprint(const FingerprintMatch& match);
