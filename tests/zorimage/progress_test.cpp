// What the decoders tell of their progress: of pictures with many rows, value by value.

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/zorimage/maketiff.h"
#include "tests/zorimage/samples.h"
#include "zorimage/imageio.h"

namespace {

using samples::operator+;

std::vector<double> Told(const Bytes& bytes) {
    std::vector<double> told;
    DecodeImage(bytes, [&told](double done) { told.push_back(done); });
    return told;
}

// first / of, every step-th up to last, and the whole where it is told too.
std::vector<double> Parts(int first, int step, int last, double of, bool isEndTold = false) {
    std::vector<double> parts;
    for (int i = first; i <= last; i += step) parts.push_back(i / of);
    if (isEndTold) parts.push_back(1.0);
    return parts;
}

void ExpectNear(const std::vector<double>& told, const std::vector<double>& expected,
                const std::string& what) {
    ASSERT_EQ(told.size(), expected.size()) << what;
    for (std::size_t i = 0; i < told.size(); ++i) EXPECT_NEAR(told[i], expected[i], 1e-12) << what << i;
}

TEST(Progress, OfRowsIsToldRowByRow) {
    const int rows = 200;
    const Image colour = samples::MakeScene(3, rows, 3);
    Bytes runs = samples::BmpHeader(2, rows, 8, 1, 1) + Bytes{1, 2, 3, 0};
    Bytes data;
    for (int y = 0; y < rows; ++y) data = data + Bytes{2, 0, 0, 0};
    const samples::TiffLayout strips{.height = rows, .samples = 3, .photometric = 2};
    samples::TiffLayout planes = strips;
    planes.isPlanar = true;
    samples::TiffLayout tiles = strips;
    tiles.width = 20;
    tiles.tileWidth = tiles.tileHeight = 16;
    std::vector<double> threePlanes;
    for (int plane = 0; plane < 3; ++plane)
        for (const int y : {0, 64, 128, 192}) threePlanes.push_back((plane + y / 200.0) / 3);
    std::vector<double> twoInARow;
    for (int y = 0; y < rows; y += 16) twoInARow.insert(twoInARow.end(), {y / 200.0, y / 200.0});
    const std::pair<Bytes, std::vector<double>> cases[] = {
        {EncodeImage(colour, "bmp"), Parts(0, 64, 192, rows)},
        {samples::MakeBmp(runs, data), Parts(64, 64, 192, rows)},
        {samples::MakeGif(3, rows, std::vector<int>(600, 1), false), Parts(64, 64, 192, rows)},
        {samples::MakeGif(3, rows, std::vector<int>(600, 1), true), Parts(64, 64, 192, rows)},
        {EncodeImage(colour, "png"), Parts(32, 32, 192, rows, true)},
        {samples::MakeTiff(strips), Parts(0, 64, 192, rows)},
        {samples::MakeTiff(planes), threePlanes},
        {samples::MakeTiff(tiles), twoInARow},
        {EncodeImage(colour, "jpg"), Parts(64, 64, 192, rows, true)},
    };
    int number = 0;
    for (const auto& [bytes, expected] : cases)
        ExpectNear(Told(bytes), expected, "case " + std::to_string(number++) + ", value ");
}

// Of a JPEG with several scans reading is six tenths of the work; the rest is told by rows.
TEST(Progress, OfScansIsToldByTheBytesRead) {
    const std::vector<double> told = Told(samples::kProgressiveJpeg);
    ASSERT_GE(told.size(), 3U);
    EXPECT_EQ(told.back(), 1.0);
    EXPECT_LE(told[told.size() - 2], 0.6);
    EXPECT_GT(told[told.size() - 2], 0.5);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    ExpectNear(Told(samples::kInkJpeg), {1.0}, "ink ");
    // JPEG 2000: by bytes while it is read, then by rows.
    for (const Bytes& bytes : {samples::kGreyJp2, samples::kGreyJ2k}) {
        const std::vector<double> read = Told(bytes);
        EXPECT_EQ(read.front(), 0.0);
        EXPECT_EQ(read.back(), 0.0) << "row 0 of the picture";
    }
    EXPECT_EQ(Told(samples::kColourHeic), (std::vector<double>{0, 0}));
    const std::vector<double> raw = Told(samples::MakeDng(64, 48));
    EXPECT_GE(raw.size(), 5U);
    EXPECT_TRUE(std::all_of(raw.begin(), raw.end(), [](double done) { return done >= 0 && done <= 1; }));
    // WebP: what was handed to the decoder, in pieces.
    const Bytes webp = EncodeImage(samples::MakeScene(300, 400, 3), "webp");
    ASSERT_GT(webp.size(), 70000U);
    std::vector<double> pieces;
    for (std::size_t at = 16384; at < webp.size(); at += 16384)
        pieces.push_back(static_cast<double>(at) / static_cast<double>(webp.size()));
    ExpectNear(Told(webp), pieces, "webp ");
}

}  // namespace
