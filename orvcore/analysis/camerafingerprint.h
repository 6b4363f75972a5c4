#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "orvcore/analysis/parallel.h"
#include "orvcore/analysis/waveletresidual.h"

// The pattern that a sensor leaves in every picture because no two pixels are equally sensitive (photo-response non-uniformity; Lukas,
// Fridrich, Goljan, IEEE TIFS 1(2), 2006; Chen, Fridrich, Goljan, Lukas, IEEE TIFS 3(1), 2008): K = sum(W_i I_i) / sum(I_i^2) over
// pictures of one camera, W the wavelet residual, summed over the channels with the weights of luminance. What all cameras of a model share
// (rows, columns, the colour filter array, JPEG's grid) is taken out: means of rows and columns of the four sublattices, and
// a Wiener filter of the Fourier magnitudes.

// What of a picture takes part in making and testing.
struct CameraResidual {
    cv::Mat noise;      // W, CV_32FC1, levels; 0 where a channel is above 250 (saturated)
    cv::Mat intensity;  // I, luminance, CV_32FC1, levels; 0 there
};
// image: CV_8UC1 or CV_8UC3, otherwise ZorException (kind Argument). Takes 18 bytes per pixel beside the picture.
CameraResidual ComputeCameraResidual(const cv::Mat& image, double sigma = kDefaultWaveletSigma,
                                     const AnalysisProgress& progress = {});

// Takes the means of rows and columns of the four sublattices away, in place.
void RemoveRowAndColumnMeans(cv::Mat& plane);
// Leaves of every Fourier magnitude its noise part. A plane of zeros stays as it is. Takes 8 bytes per pixel.
cv::Mat RemovePeriodicParts(const cv::Mat& plane, const AnalysisProgress& progress = {});
// Both, for the noise of a picture that is to be tested.
void CleanResidual(CameraResidual& residual, const AnalysisProgress& progress = {});

struct CameraFingerprint {
    cv::Mat pattern;  // K, CV_32FC1, of the sensor's size as its pictures are stored
    int pictures = 0;
    // Median, from the third picture on, of how well each agreed with those before it, in standard deviations of chance: below
    // kLeastAgreement the pictures do not share a pattern (several cameras, edited, too dark). NaN for less than three pictures.
    double agreement = 0.0;
};
constexpr double kLeastAgreement = 4.0;
constexpr int kAdvisedPictures = 20;  // fewer give a weak fingerprint

// Makes a fingerprint picture by picture; keeps 8 bytes per pixel in between, whatever their number.
class FingerprintMaker {
  public:
    explicit FingerprintMaker(double sigma = kDefaultWaveletSigma) : m_sigma(sigma) {}

    // Empty when the picture took part, otherwise one sentence why it was left out: another size, turned, nearly all saturated, or no
    // picture of 8 bits. The first picture decides about the size. Leaves by whatever progress throws; then nothing was added.
    std::string Add(const cv::Mat& image, const AnalysisProgress& progress = {});

    // How well each picture that took part agreed with those before it; NaN for the first two.
    const std::vector<double>& GetAgreements() const { return m_agreements; }
    int GetPictures() const { return static_cast<int>(m_agreements.size()); }

    // Uses the sums up: once, at the end. Throws ZorException (kind Argument) when no picture took part or they have no noise.
    CameraFingerprint Finish(const AnalysisProgress& progress = {});

  private:
    double m_sigma;
    cv::Mat m_noise;   // sum of W I
    cv::Mat m_energy;  // sum of I^2
    std::vector<double> m_agreements;
};
