#include "tests/support/virtualcamera.h"

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "zorimage/imageio.h"

namespace {

const cv::Size kSize{320, 240};

cv::Mat Floats(const cv::Mat& image) {
    cv::Mat result;
    image.convertTo(result, CV_32F);
    return result;
}

double Correlation(const cv::Mat& a, const cv::Mat& b) {
    const cv::Mat x = a - cv::mean(a)[0];
    const cv::Mat y = b - cv::mean(b)[0];
    return x.dot(y) / std::sqrt(x.dot(x) * y.dot(y));
}

double Deviation(const cv::Mat& values) {
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(values, mean, deviation);
    return deviation[0];
}

}  // namespace

TEST(VirtualCameraTest, OneSeedIsOnePictureAndAnotherSeedAnother) {
    for (const SceneKind kind : {SceneKind::Textured, SceneKind::SmoothSky, SceneKind::Architecture,
                                 SceneKind::Bricks, SceneKind::TextPage, SceneKind::Lamps, SceneKind::Flat}) {
        const VirtualCamera camera = OrdinaryCamera(4);
        const cv::Mat photo = TakePhoto(camera, kind, kSize, 7);
        ASSERT_EQ(photo.type(), CV_8UC3);
        ASSERT_EQ(photo.size(), kSize);
        EXPECT_EQ(cv::norm(photo, TakePhoto(camera, kind, kSize, 7), cv::NORM_L1), 0.0);
        EXPECT_GT(cv::norm(photo, TakePhoto(camera, kind, kSize, 8), cv::NORM_L1), 0.2 * photo.total());
    }
    // Lamps shine beyond white.
    double highest = 0;
    cv::minMaxLoc(MakeScene(SceneKind::Lamps, kSize, 1).reshape(1), nullptr, &highest);
    EXPECT_GT(highest, 300.0);
}

TEST(VirtualCameraTest, NoiseIsWhatWasAsked) {
    VirtualCamera camera;
    camera.photonNoise = 0.05;
    camera.readNoise = 1.5;
    for (const double level : {20.0, 100.0, 220.0}) {
        const cv::Mat scene(kSize, CV_32FC3, cv::Scalar::all(level));
        const double sigma = Deviation(Floats(TakePhoto(camera, scene, 3)).reshape(1));
        // Rounding to whole levels adds a variance of 1/12.
        EXPECT_NEAR(sigma, std::sqrt(0.05 * level + 2.25 + 1.0 / 12), 0.03) << level;
    }
}

TEST(VirtualCameraTest, TwoSensorsOfOneModelDifferInTheirFingerprintAlone) {
    VirtualCamera camera;
    camera.fingerprint = 0.02;
    const cv::Mat scene(kSize, CV_32FC3, cv::Scalar::all(150));
    std::vector<cv::Mat> planes;
    cv::split(Floats(TakePhoto(camera, scene, 1)), planes);
    EXPECT_GT(Correlation(planes[1], FingerprintOf(camera, kSize)), 0.98);
    camera.sensor = 2;
    EXPECT_LT(std::abs(Correlation(planes[1], FingerprintOf(camera, kSize))), 0.02);
}

TEST(VirtualCameraTest, MosaicKeepsMeasuredSamplesAndInterpolatesTheOthers) {
    const cv::Mat photo = TakePhoto(VirtualCamera{}, SceneKind::Textured, kSize, 3);
    const struct {
        PhotoMosaic mosaic;
        int first;  // channel at 0, 0
        int next;   // and at 1, 0
    } cases[] = {{PhotoMosaic::Rggb, 2, 1},
                 {PhotoMosaic::Grbg, 1, 2},
                 {PhotoMosaic::Gbrg, 1, 0},
                 {PhotoMosaic::Bggr, 0, 1}};
    for (const auto& c : cases) {
        for (const PhotoDemosaicing way : {PhotoDemosaicing::Bilinear, PhotoDemosaicing::EdgeAware}) {
            const cv::Mat seen = ThroughMosaic(photo, c.mosaic, way);
            for (int channel = 0; channel < 3; ++channel) {
                // 20, 30 has the parities of 0, 0.
                const bool isFirst = channel == c.first;
                const bool isNext = channel == c.next;
                int same = 0;
                int sameNext = 0;
                for (int i = 0; i < 50; ++i) {
                    same += seen.at<cv::Vec3b>(30 + 2 * i, 20 + 2 * i)[channel] ==
                            photo.at<cv::Vec3b>(30 + 2 * i, 20 + 2 * i)[channel];
                    sameNext += seen.at<cv::Vec3b>(30 + 2 * i, 21 + 2 * i)[channel] ==
                                photo.at<cv::Vec3b>(30 + 2 * i, 21 + 2 * i)[channel];
                }
                EXPECT_EQ(same == 50, isFirst) << channel;
                EXPECT_EQ(sameNext == 50, isNext) << channel;
            }
        }
    }
    // Even colour stays even.
    const cv::Mat even(kSize, CV_8UC3, cv::Scalar(30, 90, 200));
    for (const PhotoDemosaicing way : {PhotoDemosaicing::Bilinear, PhotoDemosaicing::EdgeAware})
        EXPECT_EQ(cv::norm(ThroughMosaic(even, PhotoMosaic::Rggb, way), even, cv::NORM_INF), 0.0);
}

TEST(VirtualCameraTest, ColoursAreMagnifiedAboutTheMiddle) {
    VirtualCamera camera;
    camera.redMagnification = 1.02;
    cv::Mat scene(kSize, CV_32FC3, cv::Scalar::all(20));
    cv::circle(scene, {280, 200}, 6, cv::Scalar::all(200), cv::FILLED);
    std::vector<cv::Mat> planes;
    cv::split(Floats(TakePhoto(camera, scene, 1)), planes);
    const auto centre = [](const cv::Mat& plane) {
        const cv::Moments m = cv::moments(plane - 20.0F);
        return cv::Point2d(m.m10 / m.m00, m.m01 / m.m00);
    };
    EXPECT_NEAR(centre(planes[2]).x - centre(planes[1]).x, (280 - 159.5) * 0.02, 0.05);
    EXPECT_NEAR(centre(planes[2]).y - centre(planes[1]).y, (200 - 119.5) * 0.02, 0.05);
    EXPECT_NEAR(centre(planes[0]).x, centre(planes[1]).x, 0.01);
}

TEST(VirtualCameraTest, JpegFilesSayWhatTheyWereAskedToBe) {
    const cv::Mat photo = TakePhoto(OrdinaryCamera(1), SceneKind::Textured, kSize, 1);
    const struct {
        PhotoSubsampling subsampling;
        const char* expected;
    } cases[] = {{PhotoSubsampling::None, "4:4:4"},
                 {PhotoSubsampling::Horizontal, "4:2:2"},
                 {PhotoSubsampling::Both, "4:2:0"}};
    for (const auto& c : cases) {
        const auto file = SaveJpeg(photo, 90, c.subsampling);
        EXPECT_NE(ReadImageInfo(file).colourModel.find(c.expected), std::string::npos);
        const double error = cv::norm(Floats(LoadJpeg(file)), Floats(photo), cv::NORM_L1) / photo.total() / 3;
        EXPECT_LT(error, 6.0);
        EXPECT_GT(error, 0.5);
    }
    const auto sent = SendByMessenger(photo, 160);
    EXPECT_EQ(ReadImageInfo(sent).width, 160);
}

TEST(VirtualCameraTest, ForgeriesChangeWhatTheirMaskSaysAndNothingElse) {
    const cv::Mat photo = TakePhoto(OrdinaryCamera(1), SceneKind::Textured, kSize, 1);
    const cv::Mat other = TakePhoto(OrdinaryCamera(2), SceneKind::Textured, kSize, 2);
    const cv::Rect part(96, 64, 96, 80);
    const ForgedPhoto cases[] = {Splice(photo, part, other, {40, 30}), SpliceNoise(photo, part, 4.0, 1),
                                 SpliceResampled(photo, part, 1.3),    SpliceMedian(photo, part, 3),
                                 SpliceBlurred(photo, part, 1.5),      SpliceSaved(photo, part, 60)};
    for (const ForgedPhoto& forged : cases) {
        cv::Mat difference;
        cv::absdiff(forged.image, photo, difference);
        const cv::Scalar inside = cv::mean(difference, forged.mask);
        difference.setTo(0, forged.mask);
        EXPECT_EQ(cv::countNonZero(difference.reshape(1)), 0);
        EXPECT_GT(inside[1], 0.5);
        EXPECT_EQ(cv::countNonZero(forged.mask), part.area());
    }
    // A copy: the twins are equal inside, and the mask names both.
    const ForgedPhoto twin = CopyMove(photo, {40, 40, 61, 61}, {230, 150});
    EXPECT_EQ(twin.image.at<cv::Vec3b>(150, 230), photo.at<cv::Vec3b>(70, 70));
    EXPECT_EQ(twin.mask.at<std::uint8_t>(150, 230), 255);
    EXPECT_EQ(twin.mask.at<std::uint8_t>(70, 70), 128);
    EXPECT_EQ(twin.mask.at<std::uint8_t>(70, 140), 0);
}

TEST(VirtualCameraTest, AreaUnderCurveCountsPairs) {
    const cv::Mat score = (cv::Mat_<float>(1, 6) << 1, 2, 2, 3, 9, std::nanf(""));
    const cv::Mat truth = (cv::Mat_<std::uint8_t>(1, 6) << 0, 0, 255, 255, 128, 0);
    // Pairs forged over untouched: 2>1, 2=2 (half), 3>1, 3>2.
    EXPECT_DOUBLE_EQ(AreaUnderCurve(score, truth), 3.5 / 4);
}
