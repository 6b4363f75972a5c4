#include "zorimage/image.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/zorimage/samples.h"
#include "zorbase/zorexception.h"

namespace {

TEST(Image, ReducesSixteenBitsByRoundingForEveryValue) {
    cv::Mat mat(256, 256, CV_16UC3);
    for (int value = 0; value < 65536; ++value) {
        const auto sample = static_cast<std::uint16_t>(value);
        mat.at<cv::Vec3w>(value / 256, value % 256) = {sample, sample, sample};
    }
    const Image narrow = Image(mat).ToColor();
    for (int value = 0; value < 65536; ++value) {
        ASSERT_EQ(narrow.GetMat().at<cv::Vec3b>(value / 256, value % 256)[1], std::lround(value / 257.0))
            << value;
    }
}

TEST(Image, GreyIsTheRoundedLuminance) {
    cv::Mat mat(512, 512, CV_8UC3);
    for (int i = 0; i < 512 * 512; ++i) {
        mat.at<cv::Vec3b>(i / 512, i % 512) = {static_cast<std::uint8_t>(i),
                                               static_cast<std::uint8_t>(i * 7 / 256),
                                               static_cast<std::uint8_t>(i / 1024)};
    }
    const Image grey = Image(mat).ToGray();
    ASSERT_EQ(grey.GetChannels(), 1);
    for (int i = 0; i < 512 * 512; ++i) {
        const auto& pixel = mat.at<cv::Vec3b>(i / 512, i % 512);
        const int expected = (114 * pixel[0] + 587 * pixel[1] + 299 * pixel[2] + 500) / 1000;
        ASSERT_EQ(grey.GetMat().at<std::uint8_t>(i / 512, i % 512), expected) << i;
    }
}

TEST(Image, SharesUntilSomebodyWrites) {
    const Image scene = samples::MakeScene(8, 8, 3);
    EXPECT_EQ(scene.ToColor().GetMat().data, scene.GetMat().data);
    const Image grey = scene.ToGray();
    EXPECT_EQ(grey.ToGray().GetMat().data, grey.GetMat().data);
    EXPECT_FALSE(Image().ToGray().IsValid());
    Image copy = scene;
    EXPECT_EQ(copy.GetMat().data, scene.GetMat().data);
    copy.EditMat().at<cv::Vec3b>(0, 0)[0] ^= 255;
    EXPECT_NE(copy.GetMat().data, scene.GetMat().data);
    EXPECT_FALSE(copy.IsEqual(scene));
    const std::uint8_t* alone = copy.GetMat().data;
    copy.EditMat().at<cv::Vec3b>(0, 0)[0] ^= 255;
    EXPECT_EQ(copy.GetMat().data, alone) << "an image that nobody shares is not copied again";
    EXPECT_TRUE(copy.IsEqual(scene));
}

TEST(Image, NeverWritesIntoMemoryOfOthers) {
    std::uint8_t pixels[4] = {1, 2, 3, 4};
    Image image(cv::Mat(2, 2, CV_8UC1, pixels));
    image.EditMat().at<std::uint8_t>(0, 0) = 99;
    EXPECT_EQ(pixels[0], 1);
}

TEST(Image, EqualityLooksAtTypeSizeAndPixels) {
    const Image scene = samples::MakeScene(8, 6, 3);
    EXPECT_TRUE(scene.IsEqual(scene.Clone()));
    EXPECT_FALSE(scene.IsEqual(samples::MakeScene(6, 8, 3)));
    EXPECT_FALSE(scene.IsEqual(scene.ToGray()));
    EXPECT_FALSE(scene.IsEqual(Image()));
    EXPECT_TRUE(Image().IsEqual(Image()));
    // Rows that do not follow each other in memory.
    const cv::Mat part = scene.GetMat()(cv::Rect(1, 1, 5, 4));
    EXPECT_TRUE(Image(part).IsEqual(Image(part.clone())));
}

TEST(Image, CrossesToTheCStructureAndBack) {
    const Image scene = samples::MakeScene(11, 5, 3, 16);
    const IplImage header = scene.GetIplImage();
    EXPECT_EQ(header.width, 11);
    EXPECT_EQ(header.imageData, reinterpret_cast<char*>(scene.GetMat().data));
    const Image back(&header);
    EXPECT_NE(back.GetMat().data, scene.GetMat().data);
    EXPECT_TRUE(back.IsEqual(scene));
    EXPECT_FALSE(Image(static_cast<const IplImage*>(nullptr)).IsValid());
    EXPECT_EQ(Image().GetIplImage().imageData, nullptr);
}

TEST(Image, RefusesTheCStructureForTwoGibibytes) {
    std::uint8_t pixel[3] = {};
    const Image huge(cv::Mat(30000, 30000, CV_8UC3, pixel));  // a header only: no pixel is touched
    try {
        huge.GetIplImage();
        FAIL();
    } catch (const ZorException& exception) {
        EXPECT_EQ(exception.GetKind(), ZorException::Kind::Memory);
        EXPECT_NE(exception.GetMessage().find("30000 x 30000"), std::string::npos);
    }
}

TEST(Image, RefusesOtherMatrices) {
    EXPECT_THROW(Image(cv::Mat(4, 4, CV_32FC1)), ZorException);
    EXPECT_THROW(Image(cv::Mat(4, 4, CV_8UC(5))), ZorException);
    const int sizes[3] = {2, 2, 2};
    EXPECT_THROW(Image(cv::Mat(3, sizes, CV_8UC1)), ZorException);
    EXPECT_FALSE(Image(cv::Mat()).IsValid());
}

}  // namespace
