#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

// A camera of known properties and forgeries of known places, so that an analysis can be held against the truth without a
// single real photograph. Everything is a pure function of its arguments: one seed gives one picture, bit by bit.

// ---- Scenes: what stands in front of the lens -------------------------------------------------------------------------------

enum class SceneKind {
    Textured,      // overlapping leaves of all sizes with grain: edges and texture everywhere
    SmoothSky,     // a gradient with soft clouds over a textured strip of ground (the lowest fifth)
    Architecture,  // a front of equal windows at a fixed distance
    Bricks,        // a wall of equal bricks
    TextPage,      // dark words on bright paper
    Lamps,         // a dark place with lights far above the camera's white
    Flat           // even light at level 160, a little darker in the corners
};

// B, G, R as CV_32FC3, in levels: 0 black, 255 the camera's white (lamps lie above).
cv::Mat MakeScene(SceneKind kind, cv::Size size, std::uint64_t seed);

// ---- The camera -------------------------------------------------------------------------------------------------------------

enum class PhotoMosaic {
    None,
    Rggb,
    Grbg,
    Gbrg,
    Bggr
};  // None: all three colours are measured at every pixel
enum class PhotoDemosaicing { Bilinear, EdgeAware };

struct VirtualCamera {
    std::uint64_t sensor = 1;  // another number is another copy of the same model
    double fingerprint = 0.0;  // standard deviation of the sensor's pattern K; a pixel measures I * (1 + K)
    double photonNoise = 0.0;  // a of the noise's variance a * I + b * b, in levels
    double readNoise = 0.0;    // b, levels
    double lensBlur = 0.0;     // standard deviation, pixels
    double redMagnification =
        1.0;  // lateral chromatic aberration: red lies at c + (p - c) * magnification, about the middle
    double blueMagnification = 1.0;
    PhotoMosaic mosaic = PhotoMosaic::None;
    PhotoDemosaicing demosaicing = PhotoDemosaicing::Bilinear;
    double gamma = 1.0;       // level = 255 * (level / 255)^(1 / gamma)
    double denoising = 0.0;   // range of a bilateral filter, levels; 0 none
    double sharpening = 0.0;  // amount of unsharp masking with a radius of 1 pixel; 0 none
};

// A phone-like camera: mosaic, noise that grows with light, a fingerprint, some sharpening.
VirtualCamera OrdinaryCamera(std::uint64_t sensor);

// The pattern K of the camera's sensor, CV_32F of this size (zero mean).
cv::Mat FingerprintOf(const VirtualCamera& camera, cv::Size size);

// One photograph, CV_8UC3, of the scene's size. shot: seed of the noise of this exposure.
cv::Mat TakePhoto(const VirtualCamera& camera, const cv::Mat& scene, std::uint64_t shot);
// Scene and exposure in one.
cv::Mat TakePhoto(const VirtualCamera& camera, SceneKind kind, cv::Size size, std::uint64_t seed);

// Samples the colours of `image` (CV_32FC3 or CV_8UC3) as the mosaic does and interpolates the missing ones; same type.
cv::Mat ThroughMosaic(const cv::Mat& image, PhotoMosaic mosaic, PhotoDemosaicing demosaicing);

// ---- What happens to pictures afterwards ------------------------------------------------------------------------------------

enum class PhotoSubsampling { None, Horizontal, Both };  // 4:4:4, 4:2:2, 4:2:0

// By the JPEG library, standard tables at this quality (1..100), accurate integer transform. image: CV_8UC1 or CV_8UC3.
std::vector<std::uint8_t> SaveJpeg(const cv::Mat& image, int quality,
                                   PhotoSubsampling subsampling = PhotoSubsampling::None);
cv::Mat LoadJpeg(const std::vector<std::uint8_t>& file);
cv::Mat ThroughJpeg(const cv::Mat& image, int quality, PhotoSubsampling subsampling = PhotoSubsampling::None);

enum class PhotoInterpolation { Nearest, Bilinear, Bicubic, Area };
cv::Mat ResizePhoto(const cv::Mat& image, double factor,
                    PhotoInterpolation interpolation = PhotoInterpolation::Bicubic);
// About the middle, same size, borders mirrored. degrees: counter-clockwise.
cv::Mat RotatePhoto(const cv::Mat& image, double degrees,
                    PhotoInterpolation interpolation = PhotoInterpolation::Bicubic);
cv::Mat SharpenPhoto(const cv::Mat& image, double amount, double radius = 1.0);
cv::Mat DenoisePhoto(const cv::Mat& image, double range);  // bilateral filter, range in levels
cv::Mat AddNoise(const cv::Mat& image, double sigma, std::uint64_t seed);
// As a messenger sends a photograph: saved by the camera at 92 (4:2:0), reduced to `longestSide` when it is longer, saved at 75 (4:2:0).
std::vector<std::uint8_t> SendByMessenger(const cv::Mat& photo, int longestSide = 1600);

// ---- Forgeries --------------------------------------------------------------------------------------------------------------

struct ForgedPhoto {
    cv::Mat image;  // CV_8UC3
    cv::Mat mask;   // CV_8U of its size: 255 forged, 128 where copied pixels came from, 0 untouched
};

// An elliptic part is copied to another centre, turned and scaled, with an edge of two pixels mixed.
ForgedPhoto CopyMove(const cv::Mat& photo, const cv::Rect& source, cv::Point targetCentre,
                     double degrees = 0.0, double scale = 1.0);
// The pixels of `other` at `from` replace those of the rectangle.
ForgedPhoto Splice(const cv::Mat& photo, const cv::Rect& part, const cv::Mat& other, cv::Point from);
ForgedPhoto SpliceNoise(const cv::Mat& photo, const cv::Rect& part, double sigma, std::uint64_t seed);
// The rectangle shows its own surroundings scaled up about its middle (factor > 1) or turned.
ForgedPhoto SpliceResampled(const cv::Mat& photo, const cv::Rect& part, double factor, double degrees = 0.0,
                            PhotoInterpolation interpolation = PhotoInterpolation::Bilinear);
ForgedPhoto SpliceMedian(const cv::Mat& photo, const cv::Rect& part, int side);
ForgedPhoto SpliceBlurred(const cv::Mat& photo, const cv::Rect& part, double sigma);
// The photograph is saved at firstQuality; the rectangle is put back as it was never saved. Save the result for a double
// compression that the rectangle lacks.
ForgedPhoto SpliceNeverSaved(const cv::Mat& photo, const cv::Rect& part, int firstQuality);
// The other way round: the rectangle alone was saved at partQuality before.
ForgedPhoto SpliceSaved(const cv::Mat& photo, const cv::Rect& part, int partQuality);
// Photograph and a part of it were saved at one quality; the part is put back moved by `shift` pixels, so that its grid of
// blocks lies elsewhere.
ForgedPhoto SpliceMisaligned(const cv::Mat& photo, const cv::Rect& part, int quality, cv::Point shift);

// ---- Scores -----------------------------------------------------------------------------------------------------------------

// Area under the ROC curve of a score (CV_32F) for telling truth 255 (CV_8U, same size) from truth 0. Places of truth 128 and NaN
// scores are left out; ties count half. 0.5 when one class is empty.
double AreaUnderCurve(const cv::Mat& score, const cv::Mat& truth);
// The mask of a forgery on a method's own grid: 255 where the block lies wholly in the forged part, 0 where wholly in the
// untouched, 128 between (to be left out). origin: of block (0, 0), in pixels.
cv::Mat MaskOnBlocks(const cv::Mat& mask, cv::Size blocks, cv::Size blockSize, cv::Point origin,
                     cv::Size step = {});

// Independent random numbers for one purpose: every seed and purpose has a stream of its own.
cv::RNG SeededRandom(std::uint64_t seed, std::uint64_t purpose = 0);
