#include <gtest/gtest.h>

#include "tests/zorimage/samples.h"
#include "zorimage/imageio.h"

namespace {

using samples::operator+;
using samples::Append16;
using samples::Append32;
using samples::BmpHeader;
using samples::MakeBmp;

// Palette of three colours, B, G, R, filler.
const Bytes kPalette = {10, 20, 30, 0, 40, 50, 60, 0, 70, 80, 90, 0};

std::string Row(const Image& image, int y) {
    std::string text;
    for (int x = 0; x < image.GetWidth(); ++x) {
        for (int i = 0; i < image.GetChannels(); ++i) {
            text += std::to_string(image.GetMat().ptr(y)[x * image.GetChannels() + i]) +
                    (i + 1 < image.GetChannels() ? "." : " ");
        }
    }
    return text;
}

TEST(Bmp, ReadsEveryLayout) {
    struct Case {
        const char* name;
        Bytes file;
        std::vector<std::string> rows;  // top first
    };
    Bytes os2;
    Append32(os2, 12);
    for (const std::uint32_t value : {2U, 1U, 1U, 8U}) Append16(os2, value);
    Bytes masks;
    for (const std::uint32_t mask : {0x000000ffU, 0x0000ff00U, 0x00ff0000U}) Append32(masks, mask);
    Bytes v4 = BmpHeader(1, 1, 32, 3);
    v4[0] = 108;
    for (const std::uint32_t mask : {0x00ff0000U, 0x0000ff00U, 0x000000ffU, 0xff000000U}) Append32(v4, mask);
    v4.resize(108, 0);
    const std::vector<Case> cases = {
        {"24 bits, bottom up",
         MakeBmp(BmpHeader(1, 2, 24, 0), {1, 2, 3, 0, 4, 5, 6, 0}),
         {"4.5.6 ", "1.2.3 "}},
        {"24 bits, top down",
         MakeBmp(BmpHeader(1, -2, 24, 0), {1, 2, 3, 0, 4, 5, 6, 0}),
         {"1.2.3 ", "4.5.6 "}},
        {"no padding after the last row", MakeBmp(BmpHeader(1, 1, 24, 0), {1, 2, 3}), {"1.2.3 "}},
        {"32 bits", MakeBmp(BmpHeader(1, 1, 32, 0), {1, 2, 3, 200}), {"1.2.3 "}},
        {"32 bits by masks after the header",
         MakeBmp(BmpHeader(1, 1, 32, 3) + masks, {3, 2, 1, 0}),
         {"1.2.3 "}},
        {"32 bits with alpha", MakeBmp(v4, {1, 2, 3, 200}), {"1.2.3.200 "}},
        {"16 bits", MakeBmp(BmpHeader(2, 1, 16, 0), {0xff, 0x7f, 0x01, 0x00}), {"255.255.255 8.0.0 "}},
        {"8 bits", MakeBmp(BmpHeader(2, 1, 8, 0, 3) + kPalette, {2, 1, 0, 0}), {"70.80.90 40.50.60 "}},
        {"4 bits",
         MakeBmp(BmpHeader(3, 1, 4, 0, 3) + kPalette, {0x21, 0x00, 0, 0}),
         {"70.80.90 40.50.60 10.20.30 "}},
        {"1 bit",
         MakeBmp(BmpHeader(3, 1, 1, 0, 2) + Bytes(kPalette.begin(), kPalette.begin() + 8), {0xa0, 0, 0, 0}),
         {"40.50.60 10.20.30 40.50.60 "}},
        {"palette of triples", MakeBmp(os2 + Bytes{1, 2, 3, 4, 5, 6}, {1, 0, 0, 0}), {"4.5.6 1.2.3 "}},
        {"runs of 8 bits",
         MakeBmp(BmpHeader(4, 2, 8, 1, 3) + kPalette, {4, 1, 0, 0, 0, 3, 2, 1, 2, 0, 0, 1}),
         {"70.80.90 40.50.60 70.80.90 10.20.30 ", "40.50.60 40.50.60 40.50.60 40.50.60 "}},
        {"runs of 8 bits with a leap",
         MakeBmp(BmpHeader(3, 2, 8, 1, 3) + kPalette, {0, 2, 1, 1, 1, 2, 0, 1}),
         {"10.20.30 70.80.90 10.20.30 ", "10.20.30 10.20.30 10.20.30 "}},
        {"runs of 4 bits",
         MakeBmp(BmpHeader(5, 1, 4, 2, 3) + kPalette, {3, 0x12, 0, 2, 0, 0, 2, 0x20, 0, 1}),
         {"40.50.60 70.80.90 40.50.60 70.80.90 10.20.30 "}},
    };
    for (const Case& item : cases) {
        const DecodedImage decoded = DecodeImage(item.file);
        ASSERT_EQ(decoded.image.GetHeight(), static_cast<int>(item.rows.size())) << item.name;
        for (int y = 0; y < decoded.image.GetHeight(); ++y) {
            EXPECT_EQ(Row(decoded.image, y), item.rows[static_cast<std::size_t>(y)])
                << item.name << ", row " << y;
        }
        EXPECT_TRUE(decoded.warnings.empty()) << item.name << ": " << decoded.warnings.front();
    }
}

TEST(Bmp, OpensTheJpegInside) {
    const Bytes jpeg = EncodeImage(samples::MakeScene(16, 16, 3), "jpg");
    const DecodedImage decoded = DecodeImage(MakeBmp(BmpHeader(16, 16, 0, 4), jpeg));
    EXPECT_TRUE(decoded.image.IsEqual(DecodeImage(jpeg).image));
}

}  // namespace
