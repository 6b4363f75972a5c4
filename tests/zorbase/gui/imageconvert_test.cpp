#include "zorbase/gui/imageconvert.h"
#include "zorimage/image.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

namespace {

using Rgb = std::array<int, 3>;

Rgb At(const wxImage& image, int x, int y) {
    return {image.GetRed(x, y), image.GetGreen(x, y), image.GetBlue(x, y)};
}

// A pixel's sample in the source: different in every row, column and channel.
int Sample(int x, int y, int channel, int depth) {
    const int value = (x * 7 + y * 131 + channel * 61) % 256;
    return depth == 8 ? value : (value * 257 + (x * 97 + y * 3) % 257) % 65536;
}

int Shown(int sample, int depth) {
    return depth == 8 ? sample : static_cast<int>(std::lround(sample / 257.0));
}

// An OpenCV C image with padding behind each row that no conversion may read as pixels.
class PaddedImage {
  public:
    PaddedImage(int width, int height, int channels, int depth) {
        const int bytes = depth / 8;
        const int step = width * channels * bytes + 6;
        m_buffer.assign(static_cast<std::size_t>(step) * static_cast<std::size_t>(height), 0xEE);
        for (int y = 0; y < height; ++y) {
            for (int i = 0; i < width * channels; ++i) {
                const int value = Sample(i / channels, y, i % channels, depth);
                for (int b = 0; b < bytes; ++b) {
                    m_buffer[static_cast<std::size_t>(y * step + i * bytes + b)] =
                        static_cast<std::uint8_t>(value >> (8 * b));
                }
            }
        }
        cvInitImageHeader(&m_image, cvSize(width, height), depth == 8 ? IPL_DEPTH_8U : IPL_DEPTH_16U,
                          channels);
        m_image.widthStep = step;
        m_image.imageData = reinterpret_cast<char*>(m_buffer.data());
    }
    PaddedImage(const PaddedImage&) = delete;
    PaddedImage& operator=(const PaddedImage&) = delete;
    IplImage& Get() { return m_image; }

  private:
    std::vector<std::uint8_t> m_buffer;
    IplImage m_image{};
};

TEST(ImageConvert, EveryKindShowsItsColours) {
    // More rows than one strip, and an odd width.
    constexpr int kWidth = 13;
    constexpr int kHeight = 150;
    for (const int depth : {8, 16}) {
        for (int channels = 1; channels <= 4; ++channels) {
            SCOPED_TRACE(std::to_string(channels) + " channels of " + std::to_string(depth) + " bits");
            PaddedImage source(kWidth, kHeight, channels, depth);
            wxImage out;
            ASSERT_TRUE(IplImageToWxImage(&source.Get(), out));
            wxImage fromImage;
            ASSERT_TRUE(IplImageToWxImage(Image(&source.Get()).GetMat(), fromImage));
            ASSERT_EQ(out.GetSize(), wxSize(kWidth, kHeight));
            EXPECT_FALSE(out.HasAlpha());
            for (int y = 0; y < kHeight; ++y) {
                for (int x = 0; x < kWidth; ++x) {
                    const auto shown = [&](int channel) {
                        return Shown(Sample(x, y, channel, depth), depth);
                    };
                    const Rgb expected =
                        channels < 3 ? Rgb{shown(0), shown(0), shown(0)} : Rgb{shown(2), shown(1), shown(0)};
                    ASSERT_EQ(At(out, x, y), expected) << x << ", " << y;
                    ASSERT_EQ(At(fromImage, x, y), expected) << x << ", " << y;
                }
            }
        }
    }
}

TEST(ImageConvert, SixteenBitsAreRoundedEverywhere) {
    PaddedImage source(256, 256, 1, 16);
    auto* samples = source.Get().imageData;
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            samples[y * source.Get().widthStep + 2 * x] = static_cast<char>(x);
            samples[y * source.Get().widthStep + 2 * x + 1] = static_cast<char>(y);
        }
    }
    wxImage out;
    ASSERT_TRUE(IplImageToWxImage(&source.Get(), out));
    for (int value = 0; value < 65536; ++value) {
        ASSERT_EQ(out.GetRed(value % 256, value / 256), (2 * value + 257) / 514) << value;
    }
}

TEST(ImageConvert, RefusesWhatIsNoImage) {
    wxImage out(3, 3);
    EXPECT_FALSE(IplImageToWxImage(nullptr, out));
    EXPECT_FALSE(out.IsOk());
    EXPECT_FALSE(IplImageToWxImage(cv::Mat(), out));

    const auto refused = [](void (*damage)(IplImage&)) {
        PaddedImage source(5, 4, 3, 8);
        damage(source.Get());
        wxImage picture(3, 3);
        return !IplImageToWxImage(&source.Get(), picture) && !picture.IsOk();
    };
    EXPECT_TRUE(refused([](IplImage& image) { image.imageData = nullptr; }));
    EXPECT_TRUE(refused([](IplImage& image) { image.width = 0; }));
    EXPECT_TRUE(refused([](IplImage& image) { image.depth = static_cast<int>(IPL_DEPTH_8S); }));
    EXPECT_TRUE(refused([](IplImage& image) { image.depth = IPL_DEPTH_32F; }));
    EXPECT_TRUE(refused([](IplImage& image) { image.height = 0; }));
    EXPECT_TRUE(refused([](IplImage& image) { image.width = -1; }));
    EXPECT_TRUE(refused([](IplImage& image) { image.nChannels = 0; }));
    EXPECT_TRUE(refused([](IplImage& image) { image.nChannels = 5; }));
    const int sides[] = {2, 3, 4};
    EXPECT_FALSE(IplImageToWxImage(cv::Mat(3, sides, CV_8U), out));
    EXPECT_FALSE(IplImageToWxImage(cv::Mat(2, 3, CV_8UC(5)), out));
    EXPECT_FALSE(IplImageToWxImage(cv::Mat(2, 3, CV_32F), out));
    EXPECT_TRUE(refused([](IplImage& image) { image.widthStep = 14; }));
    PaddedImage tight(5, 4, 3, 8);
    tight.Get().widthStep = 15;
    EXPECT_TRUE(IplImageToWxImage(&tight.Get(), out)) << "rows without padding";
    EXPECT_TRUE(refused([](IplImage& image) { image.dataOrder = IPL_DATA_ORDER_PLANE; }));

    // Larger than the toolkit can hold: the pixels are never touched.
    char pixel = 0;
    IplImage huge{};
    cvInitImageHeader(&huge, cvSize(30000, 30000), IPL_DEPTH_8U, 1);
    huge.imageData = &pixel;
    EXPECT_FALSE(IplImageToWxImage(&huge, out));
}

TEST(ImageConvert, BottomUpImagesStandUpright) {
    PaddedImage source(5, 4, 3, 8);
    source.Get().origin = IPL_ORIGIN_BL;
    wxImage out;
    ASSERT_TRUE(IplImageToWxImage(&source.Get(), out));
    EXPECT_EQ(At(out, 2, 3), (Rgb{Sample(2, 0, 2, 8), Sample(2, 0, 1, 8), Sample(2, 0, 0, 8)}));
}

}  // namespace
