#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/core.hpp>

#include "tests/zorimage/samples.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

double LargestDifference(const Image& a, const Image& b) {
    if (a.GetMat().size() != b.GetMat().size() || a.GetMat().type() != b.GetMat().type()) return 1e9;
    return cv::norm(a.GetMat(), b.GetMat(), cv::NORM_INF);
}

TEST(Decode, GivesBackWhatWasWritten) {
    for (int channels = 1; channels <= 4; ++channels) {
        for (const int depth : {8, 16}) {
            const Image scene = samples::MakeScene(131, 77, channels, depth);
            for (const std::string extension : {"png", "tif"}) {
                const DecodedImage decoded = DecodeImage(EncodeImage(scene, extension));
                EXPECT_TRUE(decoded.image.IsEqual(scene)) << extension << ' ' << channels << ' ' << depth;
                EXPECT_TRUE(decoded.warnings.empty());
            }
        }
    }
    const Image colour = samples::MakeScene(131, 77, 3);
    const Image alpha = samples::MakeScene(131, 77, 4);
    EXPECT_TRUE(DecodeImage(EncodeImage(colour, "bmp")).image.IsEqual(colour));
    EXPECT_TRUE(DecodeImage(EncodeImage(colour, "webp")).image.IsEqual(colour));
    EXPECT_TRUE(DecodeImage(EncodeImage(alpha, "webp")).image.IsEqual(alpha));
}

TEST(Decode, WritesWhatTheFormatCanHold) {
    const Image deep = samples::MakeScene(40, 30, 4, 16);
    EXPECT_TRUE(DecodeImage(EncodeImage(deep, "bmp")).image.IsEqual(deep.ToColor()));
    EXPECT_TRUE(DecodeImage(EncodeImage(deep, "webp")).image.IsEqual(deep.ToColor()));
    const Image grey = samples::MakeScene(40, 30, 1);
    EXPECT_TRUE(DecodeImage(EncodeImage(grey, "bmp")).image.IsEqual(grey.ToColor()))
        << "palettes are expanded";
    const Image greyJpeg = DecodeImage(EncodeImage(grey, "jpg", 100)).image;
    EXPECT_EQ(greyJpeg.GetChannels(), 1);
    EXPECT_LE(LargestDifference(greyJpeg, grey), 4);
    EXPECT_LE(LargestDifference(DecodeImage(EncodeImage(deep, "jpeg", 100)).image, deep.ToColor()), 8);
    const Image large = samples::MakeScene(400, 300, 3);
    EXPECT_LT(EncodeImage(large, "jpg", 30).size(), EncodeImage(large, "jpg", 95).size() / 2);
    EXPECT_THROW(EncodeImage(deep, "gif"), ZorException);
    EXPECT_THROW(EncodeImage(Image(), "png"), ZorException);
}

TEST(Decode, FilesOfOtherTools) {
    EXPECT_TRUE(DecodeImage(samples::kGreyJp2).image.IsEqual(samples::GreySlope()));
    EXPECT_TRUE(DecodeImage(samples::kGreyJ2k).image.IsEqual(samples::GreySlope()));
    EXPECT_TRUE(DecodeImage(samples::kAnimatedWebp).image.IsEqual(samples::ColourSlope()));
    for (const Bytes* lossy : {&samples::kColourHeic, &samples::kTurnedAvif, &samples::kProgressiveJpeg,
                               &samples::kArithmeticJpeg}) {
        const Image image = DecodeImage(*lossy).image;
        ASSERT_EQ(image.GetWidth(), 16) << "never turned";
        EXPECT_LE(cv::norm(image.GetMat(), samples::ColourSlope().GetMat(), cv::NORM_L1) / (16 * 8 * 3),
                  12.0);
    }
}

TEST(Decode, GifPalettesOrderAndTransparency) {
    const int width = 3;
    const int height = 9;
    std::vector<int> inOrder;
    for (int y = 0; y < height; ++y) inOrder.insert(inOrder.end(), {y % 4, (y + 1) % 4, 3});
    std::vector<int> interlaced;
    for (const int y : {0, 8, 4, 2, 6, 1, 3, 5, 7}) {
        interlaced.insert(interlaced.end(), inOrder.begin() + y * width, inOrder.begin() + (y + 1) * width);
    }
    const Image plain = DecodeImage(samples::MakeGif(width, height, inOrder, false)).image;
    ASSERT_EQ(plain.GetChannels(), 3);
    EXPECT_EQ(plain.GetMat().at<cv::Vec3b>(6, 0), cv::Vec3b(170, 170, 170));
    EXPECT_TRUE(DecodeImage(samples::MakeGif(width, height, interlaced, true)).image.IsEqual(plain));
    const Image clear = DecodeImage(samples::MakeGif(width, height, inOrder, false, 2)).image;
    ASSERT_EQ(clear.GetChannels(), 4);
    EXPECT_EQ(clear.GetMat().at<cv::Vec4b>(6, 0)[3], 0);
    EXPECT_EQ(clear.GetMat().at<cv::Vec4b>(5, 0)[3], 255);
}

TEST(Decode, CameraRawByTheFixedRecipe) {
    const Bytes dng = samples::MakeDng(64, 48);
    const Image image = DecodeImage(dng).image;
    ASSERT_EQ(image.GetDepth(), 16);
    ASSERT_EQ(image.GetWidth(), 64) << "the file asks to be turned, which is not done";
    // A neutral sensor stays neutral; 8000 and 40000 of 65535 through the sRGB curve.
    const auto dark = image.GetMat().at<cv::Vec3w>(24, 12);
    const auto light = image.GetMat().at<cv::Vec3w>(24, 52);
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(dark[i], 65535 * (1.055 * std::pow(8000 / 65535.0, 1 / 2.4) - 0.055), 700);
        EXPECT_NEAR(light[i], 65535 * (1.055 * std::pow(40000 / 65535.0, 1 / 2.4) - 0.055), 700);
    }
    EXPECT_TRUE(DecodeImage(dng).image.IsEqual(image)) << "a result can be repeated";
}

TEST(Decode, TellsItsProgressAndCanBeStopped) {
    struct Stopped {};
    std::vector<std::pair<std::string, Bytes>> files = samples::OneOfEach();
    for (const std::string extension : {"jpg", "png", "tif", "bmp"}) {
        files.emplace_back("large " + extension, EncodeImage(samples::MakeScene(300, 700, 3), extension));
    }
    for (const auto& [name, bytes] : files) {
        int calls = 0;
        double last = 0;
        DecodeImage(bytes, [&](double done) {
            ++calls;
            last = std::max(last, done);
            EXPECT_GE(done, 0.0);
            EXPECT_LE(done, 1.0);
        });
        if (name.starts_with("large")) {
            EXPECT_GE(calls, 8) << name;
            EXPECT_GT(last, 0.8) << name;
        }
        // Decoders with threads of their own do not call equally often each time.
        for (int stopAt = 0; stopAt < std::min(calls / 2, 20); ++stopAt) {
            int call = 0;
            const auto stop = [&](double) {
                if (call++ == stopAt) throw Stopped();
            };
            EXPECT_THROW(DecodeImage(bytes, stop), Stopped) << name << " at call " << stopAt;
            EXPECT_EQ(call, stopAt + 1) << name << " went on";
        }
    }
}

TEST(Decode, WritesFilesByExtension) {
    const std::string folder = testing::TempDir() + "/orvane_writeimage";
    const Image scene = samples::MakeScene(20, 10, 3);
    WriteImage(scene, folder + "/new/a.PNG");
    EXPECT_TRUE(DecodeImage(ReadFileBytes(folder + "/new/a.PNG")).image.IsEqual(scene));
    EXPECT_THROW(WriteImage(scene, folder + "/new/a.xyz"), ZorException);
    EXPECT_FALSE(FileExists(folder + "/new/a.xyz"));
    RemoveFolder(folder);
}

}  // namespace
