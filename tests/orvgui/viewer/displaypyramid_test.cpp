#include "orvgui/viewer/displaypyramid.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

constexpr int kWidth = 300;
constexpr int kHeight = 200;

cv::Mat Noise(int width, int height, int type) {
    cv::Mat mat(height, width, type);
    cv::RNG random(7);
    const bool wide = CV_MAT_DEPTH(type) == CV_16U;
    random.fill(mat, cv::RNG::NORMAL, cv::Scalar::all(wide ? 32000 : 128), cv::Scalar::all(wide ? 4000 : 12));
    return mat;
}

struct Screen {
    std::vector<std::uint8_t> pixels = std::vector<std::uint8_t>(kWidth * kHeight * 4, 77);
    ScreenPixels Pixels() { return {pixels.data(), kWidth * 4}; }
    const std::uint8_t* At(int x, int y) const {
        return &pixels[static_cast<std::size_t>(y * kWidth + x) * 4];
    }
};

// The average of one channel over the part of the image that a device pixel covers, straight from the definition.
double ExactAverage(const cv::Mat& image, int deviceX, int deviceY, double zoom, IntPair offset,
                    int channel) {
    const double x0 = std::max(deviceX / zoom - offset.x, 0.0);
    const double x1 = std::min((deviceX + 1) / zoom - offset.x, static_cast<double>(image.cols));
    const double y0 = std::max(deviceY / zoom - offset.y, 0.0);
    const double y1 = std::min((deviceY + 1) / zoom - offset.y, static_cast<double>(image.rows));
    double sum = 0.0;
    double weight = 0.0;
    for (int y = static_cast<int>(y0); y < y1; ++y) {
        for (int x = static_cast<int>(x0); x < x1; ++x) {
            const double w = (std::min<double>(x + 1, x1) - std::max<double>(x, x0)) *
                             (std::min<double>(y + 1, y1) - std::max<double>(y, y0));
            const DisplayColour colour = DisplayColourAt(image, x, y);
            const int values[] = {colour.blue, colour.green, colour.red};
            sum += w * values[channel];
            weight += w;
        }
    }
    return sum / weight;
}

}  // namespace

TEST(DisplayPyramid, BelowFullSizeTheAreaIsAveraged) {
    const cv::Mat image = Noise(2503, 1801, CV_8UC3);
    DisplayPyramid pyramid{Image(image)};
    pyramid.WaitComplete();
    ASSERT_TRUE(pyramid.IsComplete());
    EXPECT_LT(static_cast<double>(pyramid.GetMemoryBytes()) / static_cast<double>(image.total()), 1.5);
    for (const double zoom : {0.04, 0.1, 0.2, 0.25, 0.37, 0.5, 0.7, 0.95}) {
        Screen screen;
        const IntPair origin{13, 5};
        pyramid.Paint(zoom, {0, 0}, origin, {0, 0, kWidth, kHeight}, screen.Pixels());
        const IntRect painted = pyramid.PaintedPart(zoom, {0, 0}, origin, {0, 0, kWidth, kHeight});
        double squares = 0.0;
        int count = 0;
        for (int y = painted.y; y < painted.y + painted.height; y += 3) {
            for (int x = painted.x; x < painted.x + painted.width; x += 3) {
                for (int c = 0; c < 3; ++c, ++count) {
                    const double off =
                        screen.At(x, y)[c] - ExactAverage(image, origin.x + x, origin.y + y, zoom, {0, 0}, c);
                    squares += off * off;
                }
            }
        }
        ASSERT_GT(count, 1000) << zoom;
        EXPECT_GT(10.0 * std::log10(255.0 * 255.0 / (squares / count)), 40.0) << zoom;
    }
}

// Where a screen pixel covers whole pixels, or fewer than two, nothing is approximated but the rounding.
TEST(DisplayPyramid, AveragesAreExactWhereverThePictureLies) {
    for (const int type : {CV_8UC1, CV_8UC3, CV_8UC4, CV_16UC3}) {
        for (const auto& [width, height] : {std::pair{233, 157}, {96, 640}, {5, 3}}) {
            const cv::Mat image = Noise(width, height, type);
            const DisplayPyramid pyramid{Image(image)};
            for (const double zoom : {0.25, 0.5, 0.53, 0.7, 0.999}) {
                const IntPair offset{8, 12};  // whole pixels of the copies, too
                const IntPair origin{2, 1};
                const IntRect part{3, 4, 250, 170};
                Screen screen;
                pyramid.Paint(zoom, offset, origin, part, screen.Pixels());
                for (int y = 0; y < kHeight; ++y) {
                    for (int x = 0; x < kWidth; ++x) {
                        const double imageX = (origin.x + x + 0.5) / zoom - offset.x;
                        const double imageY = (origin.y + y + 0.5) / zoom - offset.y;
                        const bool isPainted = x >= part.x && y >= part.y && x < part.x + part.width &&
                                               y < part.y + part.height && imageX > 0 && imageY > 0 &&
                                               imageX < width && imageY < height;
                        if (!isPainted) {
                            ASSERT_EQ(screen.At(x, y)[0], 77) << zoom << ' ' << x << ',' << y;
                            continue;
                        }
                        for (int c = 0; c < 3; ++c)
                            ASSERT_NEAR(screen.At(x, y)[c],
                                        ExactAverage(image, origin.x + x, origin.y + y, zoom, offset, c), 1.6)
                                << type << ' ' << zoom << ' ' << x << ',' << y;
                    }
                }
            }
        }
    }
}

TEST(DisplayPyramid, HalvingAveragesFourAndWhatIsLeftAtOddEdges) {
    for (const int type : {CV_8UC1, CV_8UC3, CV_16UC4}) {
        for (const auto& [width, height] :
             {std::pair{6, 4}, {7, 4}, {6, 5}, {7, 5}, {1, 9}, {9, 1}, {1, 1}}) {
            const cv::Mat image = Noise(width, height, type);
            const cv::Mat half = HalveImage(image);
            ASSERT_EQ(half.size(), cv::Size((width + 1) / 2, (height + 1) / 2));
            ASSERT_EQ(half.type(), CV_8UC3);
            for (int y = 0; y < half.rows; ++y) {
                for (int x = 0; x < half.cols; ++x) {
                    int sum[3] = {0, 0, 0};
                    for (const int row : {2 * y, std::min(2 * y + 1, height - 1)}) {
                        for (const int column : {2 * x, std::min(2 * x + 1, width - 1)}) {
                            const DisplayColour colour = DisplayColourAt(image, column, row);
                            sum[0] += colour.blue;
                            sum[1] += colour.green;
                            sum[2] += colour.red;
                        }
                    }
                    for (int c = 0; c < 3; ++c)
                        ASSERT_EQ(half.at<cv::Vec3b>(y, x)[c], (sum[c] + 2) / 4) << width << 'x' << height;
                }
            }
        }
    }
}

TEST(DisplayPyramid, AThumbnailShowsTheMiddlesOfItsPixels) {
    cv::Mat image(60, 40, CV_8UC3);
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 40; ++x) image.at<cv::Vec3b>(y, x) = cv::Vec3b(7, y, x);
    const DisplayPyramid pyramid{Image(image)};
    // Of 40 x 60 the copy of 20 x 30 is the coarsest with a pixel for each of 15 x 30; of 10 x 45 the picture itself is.
    const struct {
        IntPair size;
        int x, y, red, green;
    } cases[] = {{{15, 30}, 0, 0, 1, 1}, {{15, 30}, 14, 29, 39, 59}, {{15, 30}, 7, 10, 21, 21},
                 {{10, 45}, 0, 0, 2, 0}, {{10, 45}, 9, 44, 38, 59},  {{10, 45}, 5, 20, 22, 27}};
    for (const auto& c : cases) {
        const std::vector<std::uint8_t> rgb = pyramid.Thumbnail(c.size);
        ASSERT_EQ(rgb.size(), static_cast<std::size_t>(c.size.x * c.size.y * 3));
        const std::uint8_t* pixel = &rgb[static_cast<std::size_t>(c.y * c.size.x + c.x) * 3];
        EXPECT_EQ(pixel[0], c.red) << c.size.x << " at " << c.x;
        EXPECT_EQ(pixel[1], c.green) << c.size.x << " at " << c.y;
        EXPECT_EQ(pixel[2], 7);
    }
}

TEST(DisplayPyramid, AFineCheckerboardBecomesGrey) {
    cv::Mat board(1600, 2400, CV_8UC1);
    for (int y = 0; y < board.rows; ++y) {
        for (int x = 0; x < board.cols; ++x) board.at<std::uint8_t>(y, x) = (x + y) % 2 ? 255 : 0;
    }
    DisplayPyramid pyramid{Image(board)};
    pyramid.WaitComplete();
    Screen screen;
    pyramid.Paint(0.125, {0, 0}, {0, 0}, {0, 0, kWidth, kHeight}, screen.Pixels());
    for (const int x : {0, 1, 150, 299}) EXPECT_NEAR(screen.At(x, 100)[0], 128, 1);
}

TEST(DisplayPyramid, FromFullSizeOnPixelsAreSquaresOfEveryKind) {
    for (const int type : {CV_8UC1, CV_8UC2, CV_8UC3, CV_8UC4, CV_16UC1, CV_16UC2, CV_16UC3, CV_16UC4}) {
        const cv::Mat image = Noise(41, 37, type);
        DisplayPyramid pyramid{Image(image)};
        for (const double zoom : {1.0, 1.37, 3.0, 4.61}) {
            const IntPair offset{5, 2};
            const IntPair origin{3, 1};
            Screen screen;
            pyramid.Paint(zoom, offset, origin, {0, 0, kWidth, kHeight}, screen.Pixels());
            for (int y = 0; y < kHeight; ++y) {
                for (int x = 0; x < kWidth; ++x) {
                    const double imageX = (origin.x + x + 0.5) / zoom - offset.x;
                    const double imageY = (origin.y + y + 0.5) / zoom - offset.y;
                    const bool isInside =
                        imageX > 0 && imageY > 0 && imageX < image.cols && imageY < image.rows;
                    const std::uint8_t* pixel = screen.At(x, y);
                    if (!isInside) {
                        ASSERT_EQ(pixel[0], 77) << "painted beside the image at " << x << ',' << y;
                        continue;
                    }
                    const DisplayColour expected =
                        DisplayColourAt(image, static_cast<int>(imageX), static_cast<int>(imageY));
                    ASSERT_EQ(pixel[0], expected.blue) << type << ' ' << zoom << ' ' << x << ',' << y;
                    ASSERT_EQ(pixel[2], expected.red);
                }
            }
        }
    }
}

TEST(DisplayPyramid, OddAndSliverImages) {
    const struct { int width, height; } sizes[] = {{1, 1}, {1, 30000}, {40000, 100}, {33000, 7}, {3, 3}};
    for (const auto& size : sizes) {
        const cv::Mat image(size.height, size.width, CV_8UC3, cv::Scalar(10, 20, 30));
        DisplayPyramid pyramid{Image(image)};
        pyramid.WaitComplete();
        for (const double zoom : {1e-8, 0.004, 0.03, 0.5, 1.0, 128.0}) {
            Screen screen;
            pyramid.Paint(zoom, {0, 0}, {0, 0}, {0, 0, kWidth, kHeight}, screen.Pixels());
            const IntRect painted = pyramid.PaintedPart(zoom, {0, 0}, {0, 0}, {0, 0, kWidth, kHeight});
            if (painted.IsEmpty()) continue;
            const std::uint8_t* last =
                screen.At(painted.x + painted.width - 1, painted.y + painted.height - 1);
            EXPECT_EQ(last[0], 10) << size.width << ' ' << zoom;
            EXPECT_EQ(last[2], 30);
        }
        EXPECT_EQ(pyramid.Thumbnail({120, 60}).size(), 120U * 60U * 3U);
    }
}

TEST(DisplayPyramid, IsSharedAmongWhoShowsTheSameBuffer) {
    const Image image(Noise(64, 64, CV_8UC3));
    const auto first = DisplayPyramid::For(image);
    EXPECT_EQ(first, DisplayPyramid::For(Image(image)));
    EXPECT_NE(first, DisplayPyramid::For(image.Clone()));
    EXPECT_EQ(first->GetImage().GetMat().data, image.GetMat().data);
    EXPECT_EQ(DisplayPyramid::For(Image()), nullptr);
}

TEST(DisplayPyramid, TellsWhenFinerCopiesArrive) {
    std::atomic<int> calls{0};
    const Image image(Noise(5000, 3500, CV_8UC3));
    {
        DisplayPyramid pyramid(image);
        const int id = pyramid.AddListener([&calls] { ++calls; });
        pyramid.WaitComplete();
        EXPECT_EQ(pyramid.GetVersion(), 2);  // the coarse copies, then the fine ones
        pyramid.RemoveListener(id);
    }
    EXPECT_GE(calls.load(), 1);
    // Going away in the middle of the work waits for nobody.
    for (int i = 0; i < 5; ++i) DisplayPyramid early(image);
}
