#include "orvcore/formats/jpegcoefficients.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "orvcore/analysis/blockdct.h"
#include "orvcore/analysis/luminance.h"
#include "orvcore/formats/jpegquality.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

cv::Mat Picture() {
    return TakePhoto(OrdinaryCamera(1), SceneKind::Textured, {237, 150}, 4);
}

}  // namespace

TEST(JpegCoefficients, AreThePictureInSteps) {
    cv::Mat grey;
    cv::extractChannel(Picture(), grey, 1);
    const JpegCoefficients read = ReadJpegCoefficients(SaveJpeg(grey, 80));
    ASSERT_EQ(read.components.size(), 1U);
    EXPECT_EQ(read.size, grey.size());
    EXPECT_TRUE(read.warnings.empty());
    const JpegCoefficientPlane& component = read.components[0];
    EXPECT_EQ(component.blocks, cv::Size(30, 19));
    EXPECT_EQ(component.wholeBlockRows, 19);
    const QuantizationTable table = StandardQuantizationTable(80, false);
    EXPECT_TRUE(std::equal(table.values.begin(), table.values.end(), component.steps.begin()));
    cv::Mat expected;
    ForwardBlockDct(PadToBlocks(ComputeLuminance(grey)), {}, expected, 128.0F);
    ASSERT_EQ(expected.size(), component.coefficients.size());
    for (int y = 0; y < expected.rows; ++y) {
        for (int x = 0; x < expected.cols; ++x) {
            const int step = component.steps[static_cast<std::size_t>(8 * (y % 8) + x % 8)];
            // The library's integer transform may fall to the other side of a half.
            ASSERT_NEAR(component.coefficients.at<std::int16_t>(y, x) * step, expected.at<float>(y, x),
                        0.5 * step + 0.6);
        }
    }
}

TEST(JpegCoefficients, SubsamplingAndTheChoiceOfComponents) {
    const Bytes file = SaveJpeg(Picture(), 90, PhotoSubsampling::Both);
    const JpegCoefficients all = ReadJpegCoefficients(file);
    ASSERT_EQ(all.components.size(), 3U);
    EXPECT_EQ(all.components[0].horizontal, 2);
    EXPECT_EQ(all.components[1].blocks, cv::Size(15, 10));
    EXPECT_EQ(all.components[1].samples, cv::Size(119, 75));
    EXPECT_EQ(all.components[2].coefficients.size(), cv::Size(120, 80));
    const JpegCoefficients first = ReadJpegCoefficients(file, JpegComponentChoice::First);
    EXPECT_EQ(cv::norm(first.components[0].coefficients, all.components[0].coefficients, cv::NORM_INF), 0.0);
    EXPECT_TRUE(first.components[1].coefficients.empty());
    EXPECT_TRUE(first.components[1].hasSteps);
    EXPECT_THROW(ReadJpegCoefficients(file, JpegComponentChoice::All,
                                      [](double) { throw std::runtime_error("stop"); }),
                 std::runtime_error);
}

TEST(JpegCoefficients, DamageIsTold) {
    const Bytes file = SaveJpeg(Picture(), 90);
    const JpegCoefficients whole = ReadJpegCoefficients(file);
    const Bytes half(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(file.size() / 2));
    const JpegCoefficients read = ReadJpegCoefficients(half);
    EXPECT_FALSE(read.warnings.empty());
    const JpegCoefficientPlane& component = read.components[0];
    EXPECT_GT(component.wholeBlockRows, 3);
    EXPECT_LT(component.wholeBlockRows, component.blocks.height - 3);
    const cv::Rect kept(0, 0, component.coefficients.cols, 8 * component.wholeBlockRows);
    EXPECT_EQ(cv::norm(component.coefficients(kept), whole.components[0].coefficients(kept), cv::NORM_INF),
              0.0);
    // Nothing that is cut or bent anywhere crashes or hangs: an answer, or a refusal of the right kind.
    cv::RNG random(3);
    for (int i = 0; i < 300; ++i) {
        Bytes bent(file.begin(), file.begin() + (i % 3 == 0 ? random.uniform(0, static_cast<int>(file.size()))
                                                            : static_cast<int>(file.size())));
        for (int k = 0; k < 4 && !bent.empty(); ++k)
            bent[static_cast<std::size_t>(
                random.uniform(0, std::min(static_cast<int>(bent.size()), k < 2 ? 700 : 1 << 20)))] =
                static_cast<std::uint8_t>(random.uniform(0, 256));
        try {
            for (const JpegCoefficientPlane& c : ReadJpegCoefficients(bent).components) {
                EXPECT_LE(c.wholeBlockRows, c.blocks.height);
                EXPECT_EQ(c.coefficients.size(), c.blocks * 8);
            }
        } catch (const ZorException& error) {
            EXPECT_TRUE(error.GetKind() == ZorException::Kind::Format ||
                        error.GetKind() == ZorException::Kind::Memory)
                << error.what();
        }
    }
}

TEST(JpegCoefficients, RefusesWhatHoldsNone) {
    Bytes huge = SaveJpeg(Picture(), 50);
    for (std::size_t i = 0; i + 8 < huge.size(); ++i) {
        if (huge[i] != 0xff || huge[i + 1] != 0xc0) continue;
        for (std::size_t k = 5; k < 9; ++k) huge[i + k] = 0xff;  // 65535 x 65535
        break;
    }
    for (const Bytes& bytes :
         {Bytes{}, Bytes{0xff, 0xd8}, Bytes{0xff, 0xd8, 0xff, 0xd9}, Bytes(500, 7), huge}) {
        try {
            ReadJpegCoefficients(bytes);
            ADD_FAILURE() << bytes.size();
        } catch (const ZorException& error) {
            EXPECT_EQ(error.GetKind(), ZorException::Kind::Format) << error.what();
        }
    }
}

TEST(JpegCoefficients, EveryWayOfCodingHoldsTheSame) {
    const char* fixtures = std::getenv("ORVANE_FIXTURES");
    if (fixtures == nullptr) GTEST_SKIP() << "ORVANE_FIXTURES is not set";
    const auto read = [&](const char* name) {
        std::ifstream file(std::filesystem::path(fixtures) / name, std::ios::binary);
        return ReadJpegCoefficients(Bytes(std::istreambuf_iterator<char>(file), {}));
    };
    const JpegCoefficients plain = read("jpegcodec/testimgint.jpg");
    const JpegCoefficients arithmetic = read("jpegcodec/testimgari.jpg");
    EXPECT_TRUE(arithmetic.isArithmetic);
    EXPECT_EQ(cv::norm(plain.components[0].coefficients, arithmetic.components[0].coefficients, cv::NORM_INF),
              0.0);
    EXPECT_THROW(read("jpegcodec/testorig12.jpg"), ZorException);
    // One picture and the same coefficients, coded anew in progressive scans.
    const JpegCoefficients baseline = read("synth/batch/A.jpg");
    const JpegCoefficients progressive = read("synth/batch/A_prog.jpg");
    EXPECT_TRUE(progressive.isProgressive);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(cv::norm(baseline.components[i].coefficients, progressive.components[i].coefficients,
                           cv::NORM_INF),
                  0.0);
    }
}
