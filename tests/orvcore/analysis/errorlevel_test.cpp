#include "orvcore/analysis/errorlevel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>

// The library's header needs the ones above.
#include <jpeglib.h>

#include "orvcore/analysis/adjustment.h"
#include "zorbase/zorexception.h"

namespace {

// The whole image through the JPEG library at once: what the strips have to agree with.
cv::Mat RoundTrip(const cv::Mat& image, int quality, int horizontal, int vertical) {
    jpeg_error_mgr errors{};
    jpeg_compress_struct encoder{};
    encoder.err = jpeg_std_error(&errors);
    jpeg_create_compress(&encoder);
    unsigned char* data = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&encoder, &data, &size);
    encoder.image_width = static_cast<JDIMENSION>(image.cols);
    encoder.image_height = static_cast<JDIMENSION>(image.rows);
    encoder.input_components = image.channels();
    encoder.in_color_space = image.channels() == 1 ? JCS_GRAYSCALE : JCS_EXT_BGR;
    jpeg_set_defaults(&encoder);
    jpeg_set_quality(&encoder, quality, TRUE);
    encoder.comp_info[0].h_samp_factor = horizontal;
    encoder.comp_info[0].v_samp_factor = vertical;
    jpeg_start_compress(&encoder, TRUE);
    for (int y = 0; y < image.rows; ++y) {
        JSAMPROW row = const_cast<JSAMPROW>(image.ptr(y));
        jpeg_write_scanlines(&encoder, &row, 1);
    }
    jpeg_finish_compress(&encoder);
    jpeg_destroy_compress(&encoder);

    jpeg_decompress_struct decoder{};
    decoder.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&decoder);
    jpeg_mem_src(&decoder, data, size);
    jpeg_read_header(&decoder, TRUE);
    decoder.out_color_space = encoder.in_color_space;
    jpeg_start_decompress(&decoder);
    cv::Mat decoded(image.rows, image.cols, image.type());
    for (int y = 0; y < image.rows; ++y) {
        JSAMPROW row = decoded.ptr(y);
        jpeg_read_scanlines(&decoder, &row, 1);
    }
    jpeg_finish_decompress(&decoder);
    jpeg_destroy_decompress(&decoder);
    std::free(data);
    return decoded;
}

// Something like a photograph: smooth shades, edges and noise.
cv::Mat Scene(int width, int height, int type) {
    cv::Mat image(height, width, type);
    cv::Mat noise(height, width, type);
    cv::RNG random(11);
    random.fill(noise, cv::RNG::NORMAL, cv::Scalar::all(12), cv::Scalar::all(6));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int c = 0; c < image.channels(); ++c) {
                const double shade = 110 + 60 * std::sin(x * 0.02 + c) * std::cos(y * 0.013) +
                                     ((x / 40 + y / 25) % 2 ? 25 : 0);
                image.ptr(y)[x * image.channels() + c] = cv::saturate_cast<std::uint8_t>(shade);
            }
        }
    }
    return image + noise;
}

}  // namespace

TEST(ErrorLevel, IsTheDifferenceToOneMoreSaveBitForBit) {
    const struct {
        int width, height;
    } sizes[] = {{1, 1}, {17, 9}, {333, 191}, {250, 192}, {200, 193}, {161, 777}};
    const struct {
        ErrorLevelSubsampling subsampling;
        int horizontal, vertical;
    } samplings[] = {{ErrorLevelSubsampling::None, 1, 1},
                     {ErrorLevelSubsampling::Horizontal, 2, 1},
                     {ErrorLevelSubsampling::Both, 2, 2}};
    for (const auto& size : sizes) {
        for (const int type : {CV_8UC1, CV_8UC3}) {
            const cv::Mat image = Scene(size.width, size.height, type);
            for (const auto& sampling : samplings) {
                if (type == CV_8UC1 && sampling.horizontal != 1) continue;
                for (const int quality : {1, 50, 90, 100}) {
                    cv::Mat expected;
                    cv::absdiff(image, RoundTrip(image, quality, sampling.horizontal, sampling.vertical),
                                expected);
                    const cv::Mat levels = ComputeErrorLevel(image, {quality, sampling.subsampling, false});
                    ASSERT_EQ(levels.type(), expected.type());
                    ASSERT_EQ(cv::norm(levels, expected, cv::NORM_INF), 0.0)
                        << size.width << 'x' << size.height << " quality " << quality << " sampling "
                        << sampling.horizontal << sampling.vertical;
                }
            }
        }
    }
}

TEST(ErrorLevel, GreyIsTheMeanOfTheChannels) {
    const cv::Mat image = Scene(120, 300, CV_8UC3);
    const cv::Mat colour = ComputeErrorLevel(image, {75, ErrorLevelSubsampling::Both, false});
    const cv::Mat grey = ComputeErrorLevel(image, {75, ErrorLevelSubsampling::Both, true});
    ASSERT_EQ(grey.type(), CV_8UC1);
    for (int y = 0; y < image.rows; y += 7) {
        for (int x = 0; x < image.cols; x += 5) {
            const cv::Vec3b c = colour.at<cv::Vec3b>(y, x);
            EXPECT_EQ(grey.at<std::uint8_t>(y, x), std::lround((c[0] + c[1] + c[2]) / 3.0));
        }
    }
}

TEST(ErrorLevel, APatchThatWasNotSavedStandsOut) {
    // Saved at 80, a patch of the original put back, saved at 95: at 80 the surroundings hardly change.
    const cv::Mat original = Scene(640, 480, CV_8UC3);
    cv::Mat forged = RoundTrip(original, 80, 1, 1);
    const cv::Rect patch(200, 160, 128, 128);
    original(patch).copyTo(forged(patch));
    forged = RoundTrip(forged, 95, 1, 1);
    const cv::Mat levels = ComputeErrorLevel(forged, {80, ErrorLevelSubsampling::None, false});
    const ErrorLevelStatistics statistics =
        MeasureErrorLevel(levels, Roi(patch.x, patch.y, patch.width, patch.height));
    EXPECT_GT(statistics.meanInside, 4.0 * statistics.meanOutside);
    EXPECT_GT(statistics.mean, statistics.meanOutside);
    // Saving again at the same quality comes to rest.
    cv::Mat again = RoundTrip(original, 90, 1, 1);
    double before =
        MeasureErrorLevel(ComputeErrorLevel(original, {90, ErrorLevelSubsampling::None, false}), {}).mean;
    for (int i = 0; i < 2; ++i) {
        const cv::Mat next = ComputeErrorLevel(again, {90, ErrorLevelSubsampling::None, false});
        const double mean = MeasureErrorLevel(next, {}).mean;
        EXPECT_LT(mean, before / 4.0);
        before = mean;
        again = RoundTrip(again, 90, 1, 1);
    }
    EXPECT_LT(before, 0.1);
}

TEST(ErrorLevel, StatisticsGainAndRefusals) {
    cv::Mat levels(10, 10, CV_8UC3, cv::Scalar(0, 3, 6));
    levels(cv::Rect(0, 0, 5, 10)).setTo(cv::Scalar(10, 10, 40));
    const ErrorLevelStatistics statistics = MeasureErrorLevel(levels, Roi(-5, 0, 10, 100));
    EXPECT_DOUBLE_EQ(statistics.meanInside, 20.0);
    EXPECT_DOUBLE_EQ(statistics.meanOutside, 3.0);
    EXPECT_DOUBLE_EQ(statistics.mean, 11.5);
    EXPECT_EQ(statistics.maximum, 40);
    EXPECT_TRUE(std::isnan(MeasureErrorLevel(levels, Roi(50, 50, 5, 5)).meanInside));
    EXPECT_TRUE(std::isnan(MeasureErrorLevel(levels, Roi(0, 0, 10, 10)).meanOutside));
    const cv::Mat bright = AmplifyErrorLevel(levels, 10.0, cv::Rect(4, 0, 2, 1));
    EXPECT_EQ(bright.at<cv::Vec3b>(0, 0), cv::Vec3b(100, 100, 255));
    EXPECT_EQ(bright.at<cv::Vec3b>(0, 1), cv::Vec3b(0, 30, 60));
    EXPECT_THROW(ComputeErrorLevel(cv::Mat(5, 5, CV_16UC3), {}), ZorException);
    EXPECT_THROW(ComputeErrorLevel(cv::Mat(1, 65501, CV_8UC1, cv::Scalar(0)), {}), ZorException);
    // An order to stop leaves by the exception of the one who gave it.
    EXPECT_THROW(
        ComputeErrorLevel(Scene(2000, 2000, CV_8UC3), {}, [](double) { throw std::runtime_error("stop"); }),
        std::runtime_error);
}

TEST(Adjustment, TableAndChannels) {
    const auto table = [](int brightness, int contrast, double gamma) {
        return AdjustmentTable({brightness, contrast, gamma, ViewChannel::All});
    };
    for (int i = 0; i < 256; ++i) ASSERT_EQ(table(0, 0, 1.0)[static_cast<std::size_t>(i)], i);
    EXPECT_EQ(table(20, 0, 1.0)[100], 151);
    EXPECT_EQ(table(100, 0, 1.0)[0], 255);
    EXPECT_EQ(table(-100, 0, 1.0)[255], 0);
    EXPECT_EQ(table(0, -100, 1.0)[10], 128);
    EXPECT_EQ(table(0, 100, 1.0)[126], 0);
    EXPECT_EQ(table(0, 0, 2.0)[64], 128);  // square root
    cv::Mat image(300, 2, CV_8UC3, cv::Scalar(10, 20, 30));
    const struct {
        ViewChannel channel;
        int expected;
    } cases[] = {{ViewChannel::Red, 30},
                 {ViewChannel::Green, 20},
                 {ViewChannel::Blue, 10},
                 {ViewChannel::Luminance, 22}};
    for (const auto& c : cases) {
        const cv::Mat shown = AdjustImage(image, {0, 0, 1.0, c.channel});
        ASSERT_EQ(shown.type(), CV_8UC1);
        EXPECT_EQ(shown.at<std::uint8_t>(299, 1), c.expected);
    }
    EXPECT_EQ(AdjustImage(image, {20, 0, 1.0, ViewChannel::All}).at<cv::Vec3b>(299, 1),
              cv::Vec3b(61, 71, 81));
}
