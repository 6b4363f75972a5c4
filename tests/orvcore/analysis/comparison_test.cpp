#include "orvcore/analysis/comparison.h"

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

#include "orvcore/analysis/registration.h"
#include "tests/orvcore/analysis/copyscenes.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"

namespace {

cv::Mat Turned(const cv::Mat& picture, double degrees, double scale, const cv::Size& size) {
    // Clockwise as seen, about the middle.
    cv::Mat model = cv::getRotationMatrix2D(cv::Point2f((picture.cols - 1) / 2.0F, (picture.rows - 1) / 2.0F),
                                            -degrees, scale);
    model.at<double>(0, 2) += (size.width - picture.cols) / 2.0;
    model.at<double>(1, 2) += (size.height - picture.rows) / 2.0;
    cv::Mat turned;
    cv::warpAffine(picture, turned, model, size, cv::INTER_CUBIC, cv::BORDER_REFLECT);
    return turned;
}

}  // namespace

TEST(Comparison, EqualPicturesAreEqual) {
    for (const int type : {CV_8UC1, CV_8UC3, CV_8UC4, CV_16UC3, CV_16UC2}) {
        cv::Mat picture(70, 90, type);
        cv::RNG(4).fill(picture, cv::RNG::UNIFORM, 0, picture.depth() == CV_16U ? 65536 : 256);
        const PictureComparison same = ComparePictures(picture, picture, {}, {});
        ASSERT_TRUE(same.isApplicable);
        EXPECT_EQ(same.different, 0U);
        EXPECT_EQ(same.compared, 6300U);
        EXPECT_EQ(same.meanDifference, 0.0);
        EXPECT_EQ(same.largestDifference, 0.0);
        EXPECT_TRUE(std::isinf(same.psnr));
        EXPECT_NEAR(same.meanSimilarity, 1.0, 1e-6);
        EXPECT_NEAR(same.fit[0].gain, 1.0, 1e-9);
        EXPECT_NEAR(same.histograms[0].bhattacharyya, 0.0, 1e-7);
        EXPECT_NEAR(same.histograms[3].correlation, 1.0, 1e-9);
    }
}

TEST(Comparison, OnePixelIsFound) {
    cv::Mat evidence(200, 300, CV_8UC3, cv::Scalar(10, 20, 30));
    cv::Mat reference = evidence.clone();
    evidence.at<cv::Vec3b>(123, 45) = {10, 60, 30};
    const PictureComparison found = ComparePictures(evidence, reference, {}, {});
    EXPECT_EQ(found.different, 1U);
    EXPECT_EQ(found.differentBox, cv::Rect(45, 123, 1, 1));
    EXPECT_EQ(found.largestAt, cv::Point(45, 123));
    EXPECT_EQ(found.largestDifference, 40.0);
    EXPECT_DOUBLE_EQ(found.meanDifference, 40.0 / 180000.0);
    EXPECT_DOUBLE_EQ(found.psnr, 20.0 * std::log10(255.0 / (40.0 / std::sqrt(180000.0))));
    EXPECT_EQ(found.difference.at<cv::Vec3b>(123, 45), cv::Vec3b(0, 40, 0));
    EXPECT_LT(found.similarity.at<float>(123, 45), 0.7F);
    EXPECT_NEAR(found.similarity.at<float>(50, 200), 1.0F, 1e-5F);
    // Where nothing covers it, it does not count.
    cv::Mat covered(evidence.size(), CV_8U, cv::Scalar(255));
    covered(cv::Rect(0, 100, 100, 100)).setTo(0);
    const PictureComparison without = ComparePictures(evidence, reference, covered, {});
    EXPECT_EQ(without.different, 0U);
    EXPECT_EQ(without.compared, 50000U);
    EXPECT_NEAR(without.maskedShare, 1.0 / 6.0, 1e-12);
    EXPECT_EQ(without.mask.at<std::uint8_t>(150, 50), 255);
    EXPECT_FALSE(ComparePictures(evidence, reference, cv::Mat::zeros(200, 300, CV_8U), {}).isApplicable);
}

TEST(Comparison, NoiseOfFiveLevelsHas34Decibels) {
    cv::Mat reference(400, 500, CV_8UC1, cv::Scalar(128));
    cv::Mat evidence = reference.clone();
    cv::Mat noise(reference.size(), CV_32F);
    cv::RNG(2).fill(noise, cv::RNG::NORMAL, 0.0, 5.0);
    cv::add(evidence, noise, evidence, cv::noArray(), CV_8U);
    const PictureComparison found = ComparePictures(evidence, reference, {}, {});
    EXPECT_NEAR(found.psnr, 34.15, 0.06);
    EXPECT_NEAR(found.meanDifference, 5.0 * std::sqrt(2.0 / 3.14159265), 0.1);
    // Worked out from the formula: means alike, no covariance, so about C2 / (25 + 1/12 + C2) with C2 = 58.5.
    EXPECT_NEAR(found.meanSimilarity, 58.5225 / (25.08 + 58.5225), 0.03);
}

TEST(Comparison, AChangeOfBrightnessIsFittedAndAPatchStaysVisible) {
    const cv::Mat reference = CopyScene(400, 300, 31);
    cv::Mat evidence;
    cv::Mat planes[3];
    cv::split(reference, planes);
    const double gains[] = {0.8, 0.9, 0.7};
    const double offsets[] = {12, -5, 30};
    for (int c = 0; c < 3; ++c) planes[c].convertTo(planes[c], CV_8U, gains[c], offsets[c]);
    cv::merge(planes, 3, evidence);
    CopyScene(60, 50, 77).copyTo(evidence(cv::Rect(200, 100, 60, 50)));
    const PictureComparison raw = ComparePictures(evidence, reference, {}, {});
    const PictureComparison fitted = ComparePictures(evidence, reference, {}, {true});
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_NEAR(fitted.fit[2 - c].gain, gains[c], 0.01);
        EXPECT_NEAR(fitted.fit[2 - c].offset, offsets[c], 1.0);
        EXPECT_EQ(raw.fit[c].gain, fitted.fit[c].gain);
    }
    EXPECT_GT(raw.different, 100000U);
    const cv::Rect patch(200, 100, 60, 50);
    cv::Mat grey;
    cv::transform(fitted.difference, grey, cv::Matx13f(0.33F, 0.33F, 0.33F));
    EXPECT_GT(cv::mean(grey(patch))[0], 20.0);
    grey(patch).setTo(0);
    EXPECT_LT(cv::norm(grey, cv::NORM_INF), 3.0);
}

TEST(Comparison, HistogramDistances) {
    std::array<std::uint64_t, 256> a{};
    std::array<std::uint64_t, 256> b{};
    a[10] = 100;
    b[30] = 7;
    const HistogramDistances apart = CompareHistograms(a, b);
    EXPECT_DOUBLE_EQ(apart.earthMover, 20.0);
    EXPECT_DOUBLE_EQ(apart.intersection, 0.0);
    EXPECT_DOUBLE_EQ(apart.chiSquare, 1.0);
    EXPECT_DOUBLE_EQ(apart.bhattacharyya, 1.0);
    EXPECT_LT(apart.correlation, 0.0);
    b[30] = 0;
    b[10] = 50;
    b[11] = 50;
    const HistogramDistances near = CompareHistograms(a, b);
    EXPECT_DOUBLE_EQ(near.earthMover, 0.5);
    EXPECT_DOUBLE_EQ(near.intersection, 0.5);
    EXPECT_NEAR(near.bhattacharyya, std::sqrt(1.0 - std::sqrt(0.5)), 1e-12);
}

TEST(Registration, WhatWasDoneIsFound) {
    const cv::Mat scene = CopyScene(700, 520, 21);
    const cv::Rect crop(61, 47, 500, 380);
    cv::Mat mirrored;
    cv::flip(scene, mirrored, 1);
    cv::Mat quarter;
    cv::rotate(scene, quarter, cv::ROTATE_90_CLOCKWISE);
    cv::Mat half;
    cv::resize(scene, half, cv::Size(), 0.5, 0.5, cv::INTER_AREA);
    cv::Mat bright;
    scene.convertTo(bright, -1, 0.7, 40);
    cv::Mat grey;
    cv::cvtColor(scene(crop), grey, cv::COLOR_BGR2GRAY);
    const struct {
        const char* name;
        cv::Mat evidence;
        double rotation, scale;
        bool isWhole, isMirrored;
        cv::Rect crop;
    } cases[] = {
        {"as it is", scene, 0, 1, true, false, {0, 0, 700, 520}},
        {"saved at 60", ThroughJpeg(scene, 60), 0, 1, true, false, {0, 0, 700, 520}},
        {"brighter", bright, 0, 1, true, false, {0, 0, 700, 520}},
        {"cropped", scene(crop), 0, 1, true, false, crop},
        {"cropped, grey", grey, 0, 1, true, false, crop},
        {"cropped, saved", ThroughJpeg(scene(crop).clone(), 80), 0, 1, true, false, crop},
        {"half as large", half, 0, 0.5, false, false, {0, 0, 700, 520}},
        {"turned by 12 degrees", Turned(scene, 12, 1.0, {500, 380}), 12, 1.0, false, false, {}},
        {"turned by -35 degrees, 1.3 times", Turned(scene, -35, 1.3, {500, 380}), -35, 1.3, false, false, {}},
        {"turned by a quarter", quarter, 90, 1, true, false, {0, 0, 700, 520}},
        {"mirrored", mirrored, 0, 1, true, true, {0, 0, 700, 520}},
    };
    for (const auto& c : cases) {
        const Registration found = RegisterPictures(c.evidence, scene, RegistrationModel::Automatic);
        ASSERT_TRUE(found.isFound) << c.name;
        EXPECT_NEAR(found.rotation, c.rotation, 0.02) << c.name;
        EXPECT_NEAR(found.scale / c.scale, 1.0, 0.001) << c.name;
        EXPECT_EQ(found.isWholeShift, c.isWhole) << c.name;
        EXPECT_EQ(found.isMirrored, c.isMirrored) << c.name;
        EXPECT_FALSE(found.isProjective) << c.name;
        EXPECT_GT(found.correlation, 0.97) << c.name;
        EXPECT_TRUE(c.crop.empty() || found.crop == c.crop) << c.name << found.crop;
        cv::Mat mask;
        const cv::Mat brought = BringOnto(scene, found, c.evidence.size(), mask);
        EXPECT_EQ(brought.size(), c.evidence.size());
        EXPECT_NEAR(cv::countNonZero(mask) / static_cast<double>(mask.total()), found.overlap, 0.02)
            << c.name;
        if (c.isWhole && c.evidence.type() == scene.type() &&
            std::string(c.name).find("saved") == std::string::npos && c.name != std::string("brighter")) {
            EXPECT_EQ(cv::norm(brought, c.evidence, cv::NORM_INF), 0.0) << c.name;
        }
    }
}

TEST(Registration, APerspectiveNeedsTheProjectiveModel) {
    const cv::Mat scene = CopyScene(600, 450, 22);
    const cv::Point2f from[] = {{0, 0}, {599, 0}, {599, 449}, {0, 449}};
    const cv::Point2f to[] = {{20, 10}, {570, 35}, {599, 440}, {5, 420}};
    cv::Mat model = cv::getPerspectiveTransform(from, to);
    cv::Mat evidence;
    cv::warpPerspective(scene, evidence, model, scene.size(), cv::INTER_CUBIC, cv::BORDER_REFLECT);
    const Registration found = RegisterPictures(evidence, scene, RegistrationModel::Automatic);
    ASSERT_TRUE(found.isFound);
    EXPECT_TRUE(found.isProjective);
    for (int i = 0; i < 4; ++i) {
        const cv::Vec3d p = found.model * cv::Vec3d(from[i].x, from[i].y, 1.0);
        EXPECT_NEAR(p[0] / p[2], to[i].x, 0.3);
        EXPECT_NEAR(p[1] / p[2], to[i].y, 0.3);
    }
}

TEST(Registration, AForgeryStandsOutAfterRegistration) {
    const cv::Mat scene = CopyScene(640, 480, 23);
    cv::Mat forged = scene.clone();
    CopyScene(80, 70, 55).copyTo(forged(cv::Rect(300, 200, 80, 70)));
    const cv::Mat evidence = ThroughJpeg(forged(cv::Rect(40, 30, 560, 420)).clone(), 90);
    const Registration found = RegisterPictures(evidence, scene, RegistrationModel::Automatic);
    ASSERT_TRUE(found.isFound);
    cv::Mat covered;
    const cv::Mat brought = BringOnto(scene, found, evidence.size(), covered);
    const PictureComparison comparison = ComparePictures(evidence, brought, covered, {});
    const cv::Rect patch(260, 170, 80, 70);
    cv::Mat similarity = comparison.similarity.clone();
    EXPECT_LT(cv::mean(similarity(patch))[0], 0.7);
    similarity(patch).setTo(1.0);
    EXPECT_GT(cv::mean(similarity)[0], 0.9);
}

TEST(Registration, StrangersAndOddPictures) {
    const cv::Mat scene = CopyScene(500, 400, 24);
    const struct {
        const char* name;
        cv::Mat evidence, reference;
        bool isFound;
    } cases[] = {{"another scene", CopyScene(500, 400, 25), scene, false},
                 {"another small scene", CopyScene(200, 150, 1), CopyScene(200, 150, 2), false},
                 {"small again", CopyScene(200, 150, 2), CopyScene(200, 150, 3), false},
                 {"and again", CopyScene(200, 150, 5), CopyScene(200, 150, 6), false},
                 {"another scene of another size", CopyScene(300, 420, 26), scene, false},
                 {"one colour", cv::Mat(400, 500, CV_8UC3, cv::Scalar::all(80)), scene, false},
                 {"noise", PureNoise(500, 400), scene, false},
                 {"one pixel each", cv::Mat(1, 1, CV_8UC1, cv::Scalar(4)),
                  cv::Mat(1, 1, CV_8UC3, cv::Scalar(4)), true},
                 {"one pixel against many", cv::Mat(1, 1, CV_8UC1, cv::Scalar(4)), scene, false},
                 {"long and thin", scene(cv::Rect(0, 100, 500, 40)), scene, true}};
    for (const auto& c : cases) {
        const Registration found = RegisterPictures(c.evidence, c.reference, RegistrationModel::Automatic);
        EXPECT_EQ(found.isFound, c.isFound) << c.name << ' ' << found.correlation;
        EXPECT_EQ(found.whyNot.empty(), c.isFound && c.evidence.rows > 31) << c.name;
    }
    EXPECT_THROW(RegisterPictures(cv::Mat(), scene, RegistrationModel::Automatic), ZorException);
    EXPECT_THROW(ComparePictures(scene, scene(cv::Rect(0, 0, 100, 100)), {}, {}), ZorException);
    EXPECT_THROW(RegisterPictures(CopyScene(500, 400, 25), scene, RegistrationModel::Automatic,
                                  [](double done) {
                                      if (done > 0.2) throw std::runtime_error("stop");
                                  }),
                 std::runtime_error);
}
