#include "tests/support/virtualcamera.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

namespace {

enum Purpose : std::uint64_t { kPattern = 100, kExposure };

cv::Point RedAt(PhotoMosaic mosaic) {
    switch (mosaic) {
        case PhotoMosaic::Grbg:
            return {1, 0};
        case PhotoMosaic::Gbrg:
            return {0, 1};
        case PhotoMosaic::Bggr:
            return {1, 1};
        default:
            return {0, 0};
    }
}

// Channel (0 blue, 1 green, 2 red) that the mosaic measures at x, y.
int MeasuredAt(PhotoMosaic mosaic, int x, int y) {
    const cv::Point red = RedAt(mosaic);
    const bool isRedColumn = (x & 1) == red.x;
    const bool isRedRow = (y & 1) == red.y;
    return isRedColumn == isRedRow ? (isRedRow ? 2 : 0) : 1;
}

// Interpolates a plane known where its mask is 1 (elsewhere it holds 0).
cv::Mat Spread(const cv::Mat& plane, bool isGreen) {
    const cv::Mat kernel = isGreen ? (cv::Mat_<float>(3, 3) << 0, .25, 0, .25, 1, .25, 0, .25, 0)
                                   : (cv::Mat_<float>(3, 3) << .25, .5, .25, .5, 1, .5, .25, .5, .25);
    cv::Mat full;
    cv::filter2D(plane, full, CV_32F, kernel, {-1, -1}, 0.0, cv::BORDER_REFLECT_101);
    return full;
}

// Green along the direction of less change, with the second difference of the colour that was measured there (Hamilton, Adams 1997).
cv::Mat EdgeAwareGreen(const cv::Mat& measured, const cv::Mat& isGreen) {
    cv::Mat padded;
    cv::copyMakeBorder(measured, padded, 2, 2, 2, 2, cv::BORDER_REFLECT_101);
    cv::Mat green = measured.clone();
    for (int y = 0; y < measured.rows; ++y) {
        for (int x = 0; x < measured.cols; ++x) {
            if (isGreen.at<float>(y, x) > 0) continue;
            const auto at = [&](int dx, int dy) { return padded.at<float>(y + 2 + dy, x + 2 + dx); };
            const float curveAcross = 2 * at(0, 0) - at(-2, 0) - at(2, 0);
            const float curveDown = 2 * at(0, 0) - at(0, -2) - at(0, 2);
            const float across = std::abs(at(-1, 0) - at(1, 0)) + std::abs(curveAcross);
            const float down = std::abs(at(0, -1) - at(0, 1)) + std::abs(curveDown);
            const float greenAcross = (at(-1, 0) + at(1, 0)) / 2 + curveAcross / 4;
            const float greenDown = (at(0, -1) + at(0, 1)) / 2 + curveDown / 4;
            green.at<float>(y, x) = across < down   ? greenAcross
                                    : down < across ? greenDown
                                                    : (greenAcross + greenDown) / 2;
        }
    }
    return green;
}

// The plane magnified about its middle.
cv::Mat Magnified(const cv::Mat& plane, double magnification) {
    const double cx = (plane.cols - 1) / 2.0;
    const double cy = (plane.rows - 1) / 2.0;
    const cv::Matx23d inverse(1 / magnification, 0, cx - cx / magnification, 0, 1 / magnification,
                              cy - cy / magnification);
    // The usual warp rounds positions to 1/32 pixel: too coarse for shifts of this size.
    cv::Mat mapX(plane.size(), CV_32F);
    cv::Mat mapY(plane.size(), CV_32F);
    for (int y = 0; y < plane.rows; ++y) {
        for (int x = 0; x < plane.cols; ++x) {
            mapX.at<float>(y, x) = static_cast<float>(inverse(0, 0) * x + inverse(0, 2));
            mapY.at<float>(y, x) = static_cast<float>(inverse(1, 1) * y + inverse(1, 2));
        }
    }
    cv::Mat result(plane.size(), CV_32F);
    const auto cubic = [](float t, float* w) {
        constexpr float a = -0.5F;
        for (int i = -1; i <= 2; ++i) {
            const float d = std::abs(t - static_cast<float>(i));
            w[i + 1] = d <= 1  ? ((a + 2) * d - (a + 3)) * d * d + 1
                       : d < 2 ? ((d - 5) * d + 8) * d * a - 4 * a
                               : 0.0F;
        }
    };
    for (int y = 0; y < plane.rows; ++y) {
        for (int x = 0; x < plane.cols; ++x) {
            const float px = mapX.at<float>(y, x);
            const float py = mapY.at<float>(y, x);
            const int ix = static_cast<int>(std::floor(px));
            const int iy = static_cast<int>(std::floor(py));
            float wx[4];
            float wy[4];
            cubic(px - static_cast<float>(ix), wx);
            cubic(py - static_cast<float>(iy), wy);
            float sum = 0;
            for (int j = 0; j < 4; ++j) {
                const float* row = plane.ptr<float>(std::clamp(iy + j - 1, 0, plane.rows - 1));
                for (int i = 0; i < 4; ++i)
                    sum += wy[j] * wx[i] * row[std::clamp(ix + i - 1, 0, plane.cols - 1)];
            }
            result.at<float>(y, x) = sum;
        }
    }
    return result;
}

cv::Mat Sharpened(const cv::Mat& image, double amount, double radius) {
    cv::Mat blurred;
    cv::GaussianBlur(image, blurred, {}, radius);
    cv::Mat sharp;
    cv::addWeighted(image, 1.0 + amount, blurred, -amount, 0.0, sharp);
    return sharp;
}

cv::Mat ToBytes(const cv::Mat& image) {
    cv::Mat bytes;
    image.convertTo(bytes, CV_8U);
    return bytes;
}

}  // namespace

VirtualCamera OrdinaryCamera(std::uint64_t sensor) {
    VirtualCamera camera;
    camera.sensor = sensor;
    camera.fingerprint = 0.015;
    camera.photonNoise = 0.02;
    camera.readNoise = 1.0;
    camera.lensBlur = 0.5;
    camera.mosaic = PhotoMosaic::Rggb;
    camera.demosaicing = PhotoDemosaicing::EdgeAware;
    camera.sharpening = 0.3;
    return camera;
}

cv::Mat FingerprintOf(const VirtualCamera& camera, cv::Size size) {
    cv::RNG random = SeededRandom(camera.sensor, kPattern);
    cv::Mat pattern(size, CV_32F);
    random.fill(pattern, cv::RNG::NORMAL, 0.0, 1.0);
    return pattern * camera.fingerprint;
}

cv::Mat ThroughMosaic(const cv::Mat& image, PhotoMosaic mosaic, PhotoDemosaicing demosaicing) {
    if (mosaic == PhotoMosaic::None) return image.clone();
    cv::Mat input;
    image.convertTo(input, CV_32F);
    std::vector<cv::Mat> planes(3);
    std::vector<cv::Mat> masks(3);
    for (int c = 0; c < 3; ++c) {
        planes[c] = cv::Mat::zeros(image.size(), CV_32F);
        masks[c] = cv::Mat::zeros(image.size(), CV_32F);
    }
    cv::Mat measured(image.size(), CV_32F);
    for (int y = 0; y < image.rows; ++y) {
        for (int x = 0; x < image.cols; ++x) {
            const int c = MeasuredAt(mosaic, x, y);
            const float value = input.at<cv::Vec3f>(y, x)[c];
            measured.at<float>(y, x) = planes[c].at<float>(y, x) = value;
            masks[c].at<float>(y, x) = 1.0F;
        }
    }
    if (demosaicing == PhotoDemosaicing::Bilinear) {
        for (int c = 0; c < 3; ++c) planes[c] = Spread(planes[c], c == 1);
    } else {
        planes[1] = EdgeAwareGreen(measured, masks[1]);
        for (const int c : {0, 2}) {
            const cv::Mat difference = (planes[c] - planes[1]).mul(masks[c]);
            planes[c] = Spread(difference, false) + planes[1];
        }
    }
    cv::Mat full;
    cv::merge(planes, full);
    cv::Mat result;
    full.convertTo(result, image.type());
    return result;
}

cv::Mat TakePhoto(const VirtualCamera& camera, const cv::Mat& scene, std::uint64_t shot) {
    cv::Mat light = scene.clone();
    if (camera.lensBlur > 0) cv::GaussianBlur(light, light, {}, camera.lensBlur);
    std::vector<cv::Mat> planes;
    cv::split(light, planes);
    if (camera.blueMagnification != 1.0) planes[0] = Magnified(planes[0], camera.blueMagnification);
    if (camera.redMagnification != 1.0) planes[2] = Magnified(planes[2], camera.redMagnification);
    cv::RNG random = SeededRandom(shot, kExposure);
    const cv::Mat pattern = FingerprintOf(camera, scene.size());
    for (cv::Mat& plane : planes) {
        cv::Mat noise(plane.size(), CV_32F);
        random.fill(noise, cv::RNG::NORMAL, 0.0, 1.0);
        cv::Mat deviation = cv::max(plane, 0.0) * camera.photonNoise + camera.readNoise * camera.readNoise;
        cv::sqrt(deviation, deviation);
        plane = plane + plane.mul(pattern) + noise.mul(deviation);
        plane = cv::max(cv::min(plane, 255.0), 0.0);
    }
    cv::merge(planes, light);
    light = ThroughMosaic(light, camera.mosaic, camera.demosaicing);
    light = cv::max(cv::min(light, 255.0), 0.0);
    if (camera.gamma != 1.0) {
        cv::pow(light * (1.0 / 255.0), 1.0 / camera.gamma, light);
        light = light * 255.0;
    }
    if (camera.denoising > 0) {
        cv::Mat smooth;
        cv::bilateralFilter(light, smooth, 5, camera.denoising, 1.5);
        light = smooth;
    }
    if (camera.sharpening > 0) light = Sharpened(light, camera.sharpening, 1.0);
    return ToBytes(light);
}

cv::Mat TakePhoto(const VirtualCamera& camera, SceneKind kind, cv::Size size, std::uint64_t seed) {
    return TakePhoto(camera, MakeScene(kind, size, seed), seed);
}
