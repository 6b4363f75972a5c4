// One picture in the layouts that a format knows, each written by an independent program (ImageMagick, libtiff's tools, OpenJPEG's, WebP's; the
// signed TIFF files by hand), against the values that it was made of.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "tests/zorimage/samples.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

constexpr int kWidth = 12;
constexpr int kHeight = 6;

int Grey(int x, int y) {
    return 20 * x + 4 * y;
}
int Deep(int level, int x) {
    return 257 * level + x;
}
cv::Vec3i Colour(int x, int y) {
    return {255 - 20 * x - y, 40 * y, 20 * x};
}

Bytes Variant(const std::string& name) {
    return ReadFileBytes(std::string(ORVANE_VARIANTS) + "/" + name);
}

// Channels of a pixel in the stored order: B, G, R, alpha.
int SampleAt(const cv::Mat& pixels, int x, int y, int channel) {
    const int at = x * pixels.channels() + channel;
    return pixels.depth() == CV_16U ? pixels.ptr<std::uint16_t>(y)[at] : pixels.ptr(y)[at];
}

struct Case {
    const char* file;
    int type;
    std::function<cv::Vec3i(int x, int y)> expected;  // one channel: the first
    int tolerance = 0;
    int frames = 1;
    cv::Rect place{0, 0, kWidth, kHeight};  // of the picture above in what is shown
    cv::Size shown{kWidth, kHeight};
};

const auto kGrey = [](int x, int y) { return cv::Vec3i(Grey(x, y)); };
const auto kDeepGrey = [](int x, int y) { return cv::Vec3i(Deep(Grey(x, y), x)); };
const auto kDeepColour = [](int x, int y) {
    const cv::Vec3i colour = Colour(x, y);
    return cv::Vec3i(Deep(colour[0], x), Deep(colour[1], x), Deep(colour[2], x));
};

const Case kCases[] = {
    {"planar.tif", CV_8UC3, Colour},
    {"lzwpredictor.tif", CV_8UC3, Colour},
    {"big16.tif", CV_16UC3, kDeepColour},
    {"tiled.tif", CV_8UC3, Colour},
    {"tiledplanar.tif", CV_8UC3, Colour},
    {"bigtiff.tif", CV_8UC3, Colour},
    {"pages.tif", CV_8UC3, Colour, 0, 3},
    {"white.tif", CV_8UC1, [](int x, int y) { return cv::Vec3i(255 - Grey(x, y)); }},
    {"group4.tif", CV_8UC1, [](int x, int y) { return cv::Vec3i(Grey(x, y) > 114 ? 255 : 0); }},
    {"pal.tif", CV_8UC3, [](int x, int y) { return cv::Vec3i::all(Grey(x, y) / 17 * 17); }},
    {"cmyk.tif", CV_8UC3, Colour, 1},
    {"signed8.tif", CV_8UC1, kGrey},
    {"signed16.tif", CV_16UC1, kDeepGrey},
    {"inter16.png", CV_16UC3, kDeepColour},
    {"grey2.png", CV_8UC1, [](int x, int y) { return cv::Vec3i(Grey(x, y) / 85 * 85); }},
    {"palette.png", CV_8UC3, Colour},
    {"tiles.jp2", CV_8UC3, Colour},
    {"origin.jp2", CV_8UC3, Colour},
    {"deep.j2k", CV_16UC1, kDeepGrey},
    {"signed.jp2", CV_8UC1, kGrey},
    {"offset.gif", CV_8UC4, Colour, 0, 1, {5, 7, kWidth, kHeight}, {20, 16}},
    {"anim.webp", CV_8UC4, Colour, 0, 2, {4, 6, kWidth, kHeight}, {16, 12}},
};

TEST(Variants, EveryLayoutHoldsTheSamePicture) {
    for (const Case& one : kCases) {
        const Bytes bytes = Variant(one.file);
        const ImageInfo info = ReadImageInfo(bytes);
        EXPECT_EQ(info.frames, one.frames) << one.file;
        EXPECT_EQ(cv::Size(info.width, info.height), one.shown) << one.file;
        EXPECT_TRUE(info.warnings.empty()) << one.file << ": " << info.warnings[0];
        const DecodedImage decoded = DecodeImage(bytes);
        EXPECT_TRUE(decoded.warnings.empty()) << one.file << ": " << decoded.warnings[0];
        const cv::Mat& pixels = decoded.image.GetMat();
        ASSERT_EQ(pixels.size(), one.shown) << one.file;
        ASSERT_EQ(pixels.type(), one.type) << one.file;
        int wrong = 0;
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                for (int c = 0; c < std::min(pixels.channels(), 3); ++c) {
                    const int found = SampleAt(pixels, one.place.x + x, one.place.y + y, c);
                    wrong += std::abs(found - one.expected(x, y)[c]) > one.tolerance ? 1 : 0;
                }
        EXPECT_EQ(wrong, 0) << one.file;
        // Beside a picture that does not fill its canvas nothing is.
        if (pixels.channels() != 4) continue;
        int opaque = 0;
        for (int y = 0; y < pixels.rows; ++y)
            for (int x = 0; x < pixels.cols; ++x)
                opaque += (SampleAt(pixels, x, y, 3) == 255) != one.place.contains({x, y}) ? 1 : 0;
        EXPECT_EQ(opaque, 0) << one.file;
    }
}

// Luminance and chroma inside a TIFF file: the JPEG library makes colours of them.
TEST(Variants, JpegInATiff) {
    const Bytes bytes = Variant("jpeg.tif");
    const ImageInfo info = ReadImageInfo(bytes);
    EXPECT_EQ(info.compression + ", " + info.colourModel, "JPEG, YCbCr 4:2:0");
    const cv::Mat pixels = DecodeImage(bytes).image.GetMat();
    ASSERT_EQ(pixels.type(), CV_8UC3);
    cv::Mat slope(16, 32, CV_8UC3);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 32; ++x)
            slope.at<cv::Vec3b>(y, x) =
                cv::Vec3b(128, static_cast<std::uint8_t>(16 * y), static_cast<std::uint8_t>(8 * x));
    EXPECT_LE(cv::norm(pixels, slope, cv::NORM_L1) / (32 * 16 * 3), 4);
}

// Ink of (100, 50, 0, 51) in 255, stored by Adobe's rules: turned over, and as luminance and two differences with the key.
TEST(Variants, InkFollowsWhatTheAdobeSegmentSays) {
    const Bytes ycck = samples::kInkJpeg;
    const std::size_t length = 2 + 14;  // of the segment, behind the start mark
    Bytes plain = ycck;
    plain[2 + length - 1] = 0;
    Bytes bare = ycck;
    bare.erase(bare.begin() + 2, bare.begin() + 2 + length);
    // What is stored is 59, 95, 157 and 204: luminance and differences of (100, 50, 0), and the key. Without a transform these are inks
    // turned over, without the segment inks as they are.
    const std::pair<const Bytes*, cv::Scalar> cases[] = {
        {&ycck, {204, 164, 124}}, {&plain, {126, 76, 47}}, {&bare, {20, 32, 39}}};
    for (const auto& [bytes, expected] : cases) {
        const cv::Mat pixels = DecodeImage(*bytes).image.GetMat();
        ASSERT_EQ(pixels.type(), CV_8UC3);
        EXPECT_LE(cv::norm(pixels, cv::Mat(pixels.size(), CV_8UC3, expected), cv::NORM_INF), 2) << expected;
    }
    EXPECT_EQ(ReadImageInfo(ycck).colourModel.substr(0, 4), "YCCK");
    EXPECT_EQ(ReadImageInfo(plain).colourModel.substr(0, 4), "CMYK");
    EXPECT_NE(ReadImageInfo(plain).colourModel.find("inverted"), std::string::npos);
    EXPECT_EQ(ReadImageInfo(bare).colourModel.find("inverted"), std::string::npos);
}

// A file that ends early is said to do so, and where pixels are missing there is nothing that could be taken for a picture: one even
// level, or no opacity.
TEST(Variants, WhatIsCutOffIsToldAndLeftEmpty) {
    const cv::Size size(200, 160);
    const Image scene = samples::MakeScene(size.width, size.height, 3);
    std::vector<std::pair<std::string, Bytes>> files;
    for (const std::string extension : {"jpg", "png", "bmp"})
        files.emplace_back(extension, EncodeImage(scene, extension));
    std::vector<int> levels;
    for (int i = 0; i < size.area(); ++i) levels.push_back((i / 7) % 4);
    files.emplace_back("gif", samples::MakeGif(size.width, size.height, levels, false));
    for (const auto& [name, bytes] : files) {
        const cv::Mat whole = DecodeImage(bytes).image.GetMat();
        const DecodedImage cut = DecodeImage(std::span(bytes).first(bytes.size() * 6 / 10));
        ASSERT_FALSE(cut.warnings.empty()) << name;
        EXPECT_NE(cut.warnings[0].find("rows are missing"), std::string::npos)
            << name << ": " << cut.warnings[0];
        ASSERT_EQ(cut.image.GetMat().size(), whole.size()) << name;
        // Bottom up in a BMP file.
        const bool isUpward = name == "bmp";
        const cv::Range first(0, 8);
        const cv::Range last(size.height - 8, size.height);
        const cv::Mat lost = cut.image.GetMat().rowRange(isUpward ? first : last);
        const cv::Mat known = cut.image.GetMat().rowRange(isUpward ? last : first);
        const cv::Mat same = whole.rowRange(isUpward ? last : first);
        EXPECT_EQ(cv::norm(known, same, cv::NORM_INF), 0) << name;
        cv::Mat even(lost.size(), lost.type());
        even.setTo(cv::mean(lost(cv::Rect(0, 0, 1, 1))));
        EXPECT_EQ(cv::norm(lost, even, cv::NORM_INF), 0) << name << ": the lost rows are not even";
    }
    // Of a planar file one plane is enough to lose a row.
    const Bytes planar = Variant("planar.tif");
    const std::size_t end =
        8 + 3 * kWidth * kHeight;  // the planes stand behind each other, the directory after them
    ASSERT_GT(planar.size(), end);
    Bytes lost = planar;
    for (std::size_t at = end; at + 12 <= lost.size(); ++at)
        // The offset of the third plane, far behind the end of the file.
        if (lost[at] == 8 + 2 * kWidth * kHeight && lost[at + 1] == 0 && lost[at + 2] == 0)
            lost[at + 2] = 0x7f;
    const DecodedImage decoded = DecodeImage(lost);
    ASSERT_FALSE(decoded.warnings.empty());
    EXPECT_NE(decoded.warnings[0].find("6 of 6 rows"), std::string::npos) << decoded.warnings[0];
}

}  // namespace
