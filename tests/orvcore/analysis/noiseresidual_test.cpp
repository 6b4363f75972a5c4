#include "orvcore/analysis/noiseresidual.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

#include "orvcore/analysis/waveletresidual.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"

namespace {

cv::Mat Green(const cv::Mat& photo) {
    cv::Mat plane;
    cv::extractChannel(photo, plane, 1);
    return plane;
}

// ---- The recipe, word by word and in double precision -------------------------------------------------------------------------

const std::array<double, 8> kLow = {-0.010597401784997278, 0.032883011666982945, 0.030841381835986965,
                                    -0.18703481171888114,  -0.02798376941698385, 0.6308807679295904,
                                    0.7148465705525415,    0.23037781330885523};

double HighTap(int j) {
    return (j % 2 == 0 ? -1 : 1) * kLow[static_cast<std::size_t>(7 - j)];
}

int Mirrored(int i, int n) {
    while (i < 0 || i >= n) i = i < 0 ? -1 - i : 2 * n - 1 - i;
    return i;
}

cv::Mat FilterAlongX(const cv::Mat& x, bool isHigh) {
    cv::Mat out = cv::Mat::zeros(x.rows, (x.cols + 7) / 2, CV_64F);
    for (int y = 0; y < out.rows; ++y)
        for (int i = 0; i < out.cols; ++i)
            for (int j = 0; j < 8; ++j)
                out.at<double>(y, i) += (isHigh ? HighTap(j) : kLow[static_cast<std::size_t>(j)]) *
                                        x.at<double>(y, Mirrored(2 * i + 1 - j, x.cols));
    return out;
}

cv::Mat MergeAlongX(const cv::Mat& low, const cv::Mat& high, int length) {
    cv::Mat out = cv::Mat::zeros(low.rows, length, CV_64F);
    for (int y = 0; y < out.rows; ++y)
        for (int n = 0; n < length; ++n)
            for (int i = 0; i < low.cols; ++i) {
                const int tap =
                    n + 6 - 2 * i;  // of the reconstruction filter, the decomposition's in reverse
                if (tap < 0 || tap > 7) continue;
                out.at<double>(y, n) += low.at<double>(y, i) * kLow[static_cast<std::size_t>(7 - tap)] +
                                        high.at<double>(y, i) * HighTap(7 - tap);
            }
    return out;
}

cv::Mat NoisePart(const cv::Mat& band, double sigma) {
    const double s = sigma * sigma;
    cv::Mat out(band.size(), CV_64F);
    for (int y = 0; y < band.rows; ++y) {
        for (int x = 0; x < band.cols; ++x) {
            double least = 1e300;
            for (int reach = 1; reach <= 4; ++reach) {
                double sum = 0;
                for (int dy = -reach; dy <= reach; ++dy)
                    for (int dx = -reach; dx <= reach; ++dx) {
                        const double c =
                            band.at<double>(Mirrored(y + dy, band.rows), Mirrored(x + dx, band.cols));
                        sum += c * c;
                    }
                least = std::min(least, std::max(0.0, sum / ((2 * reach + 1) * (2 * reach + 1)) - s));
            }
            out.at<double>(y, x) = band.at<double>(y, x) * s / (least + s);
        }
    }
    return out;
}

cv::Mat ReferenceResidual(const cv::Mat& plane, double sigma, int levels) {
    const cv::Mat low = FilterAlongX(plane, false);
    const cv::Mat high = FilterAlongX(plane, true);
    const auto alongY = [](const cv::Mat& x, bool isHigh) {
        return cv::Mat(FilterAlongX(x.t(), isHigh).t());
    };
    const auto mergeY = [](const cv::Mat& a, const cv::Mat& b, int length) {
        return cv::Mat(MergeAlongX(a.t(), b.t(), length).t());
    };
    const cv::Mat lowLow = alongY(low, false);
    const cv::Mat approximation = levels > 1 ? ReferenceResidual(lowLow, sigma, levels - 1)
                                             : cv::Mat(cv::Mat::zeros(lowLow.size(), CV_64F));
    const cv::Mat left = mergeY(approximation, NoisePart(alongY(low, true), sigma), plane.rows);
    const cv::Mat right =
        mergeY(NoisePart(alongY(high, false), sigma), NoisePart(alongY(high, true), sigma), plane.rows);
    return MergeAlongX(left, right, plane.cols);
}

double Correlation(const cv::Mat& a, const cv::Mat& b) {
    cv::Mat x, y;
    a.convertTo(x, CV_64F);
    b.convertTo(y, CV_64F);
    x -= cv::mean(x)[0];
    y -= cv::mean(y)[0];
    return x.dot(y) / std::sqrt(x.dot(x) * y.dot(y));
}

}  // namespace

TEST(WaveletResidualTest, IsTheRecipeForEverySizeAndForBothTypes) {
    for (const cv::Size size : {cv::Size(160, 121), cv::Size(97, 64), cv::Size(33, 200), cv::Size(9, 7),
                                cv::Size(1, 5), cv::Size(6, 1)}) {
        const cv::Mat plane = Green(TakePhoto(OrdinaryCamera(1), SceneKind::Textured, size, 3));
        cv::Mat exact;
        plane.convertTo(exact, CV_64F);
        for (const double sigma : {2.0, 5.0}) {
            const cv::Mat expected = ReferenceResidual(exact, sigma, kWaveletLevels);
            const cv::Mat residual = WaveletResidual(plane, sigma);
            ASSERT_EQ(residual.size(), size);
            cv::Mat wide;
            residual.convertTo(wide, CV_64F);
            EXPECT_LT(cv::norm(wide, expected, cv::NORM_INF), 2e-4) << size;
            if (size.area() > 100) {
                EXPECT_GT(Correlation(residual, expected), 0.9999999) << size;
            }
            cv::Mat single;
            plane.convertTo(single, CV_32F);
            EXPECT_EQ(cv::norm(WaveletResidual(single, sigma), residual, cv::NORM_INF), 0.0);
        }
    }
}

TEST(NoiseResidualTest, NumberOfThreadsChangesNoBit) {
    const cv::Mat plane = Green(TakePhoto(OrdinaryCamera(1), SceneKind::Textured, {301, 233}, 3));
    for (const ResidualFilter filter :
         {ResidualFilter::Median, ResidualFilter::Gaussian, ResidualFilter::Bilateral,
          ResidualFilter::Wavelet, ResidualFilter::NonLocalMeans}) {
        const NoiseResidualSettings settings{filter, 2, 4.0};
        SetAnalysisThreads(1);
        const cv::Mat one = ComputeNoiseResidual(plane, settings);
        SetAnalysisThreads(3);
        const cv::Mat three = ComputeNoiseResidual(plane, settings);
        SetAnalysisThreads(0);
        EXPECT_EQ(cv::norm(one, three, cv::NORM_INF), 0.0) << static_cast<int>(filter);
        // Strips are joined without a seam: the same as the whole picture at once.
        if (filter == ResidualFilter::Median) {
            cv::Mat smooth, whole;
            cv::medianBlur(plane, smooth, 5);
            cv::subtract(plane, smooth, whole, cv::noArray(), CV_32F);
            EXPECT_EQ(cv::norm(one, whole, cv::NORM_INF), 0.0);
        }
    }
}

TEST(NoiseResidualTest, ConstantPictureHasNone) {
    const cv::Mat plane(70, 90, CV_8U, cv::Scalar(117));
    for (int filter = 0; filter <= static_cast<int>(ResidualFilter::NonLocalMeans); ++filter) {
        const cv::Mat residual = ComputeNoiseResidual(plane, {static_cast<ResidualFilter>(filter), 1, 3.0});
        EXPECT_LT(cv::norm(residual, cv::NORM_INF), 1e-3) << filter;
    }
}

TEST(NoiseResidualTest, EveryFilterFindsTheNoiseAndTheBlurredPlace) {
    VirtualCamera camera;
    camera.readNoise = 3.0;
    const cv::Rect part(96, 64, 128, 96);
    const ForgedPhoto forged = SpliceBlurred(TakePhoto(camera, SceneKind::Flat, {384, 288}, 5), part, 1.5);
    const Roi region(part.x, part.y, part.width, part.height);
    const struct {
        ResidualFilter filter;
        double least;  // of the noise of 3 levels, what the residual must hold outside
    } cases[] = {{ResidualFilter::Median, 2.0},
                 {ResidualFilter::Gaussian, 2.0},
                 {ResidualFilter::Bilateral, 0.5},
                 {ResidualFilter::Wavelet, 2.0},
                 {ResidualFilter::NonLocalMeans, 1.0}};
    for (const auto& c : cases) {
        const cv::Mat residual = ComputeNoiseResidual(Green(forged.image), {c.filter, 1, 6.0});
        const ResidualStatistics statistics = MeasureNoiseResidual(residual, region);
        EXPECT_GT(statistics.deviationOutside, c.least) << static_cast<int>(c.filter);
        EXPECT_LT(statistics.deviationOutside, 3.5) << static_cast<int>(c.filter);
        EXPECT_LT(statistics.meanAbsoluteInside, statistics.meanAbsoluteOutside / 2)
            << static_cast<int>(c.filter);
    }
}

TEST(NoiseResidualTest, StatisticsOfARegionThatIsAllOrNothing) {
    const cv::Mat residual = (cv::Mat_<float>(2, 2) << 1, -1, 3, -3);
    const ResidualStatistics none = MeasureNoiseResidual(residual, Roi());
    EXPECT_DOUBLE_EQ(none.meanAbsolute, 2.0);
    EXPECT_DOUBLE_EQ(none.deviation, std::sqrt(5.0));
    EXPECT_TRUE(std::isnan(none.meanAbsoluteInside));
    const ResidualStatistics all = MeasureNoiseResidual(residual, Roi(-5, 0, 100, 100));
    EXPECT_TRUE(std::isnan(all.deviationOutside));
    EXPECT_DOUBLE_EQ(all.meanAbsoluteInside, 2.0);
    EXPECT_DOUBLE_EQ(MeasureNoiseResidual(residual, Roi(0, 1, 2, 1)).meanAbsoluteInside, 3.0);
}

TEST(NoiseResidualTest, BadInputIsRefusedAndProgressCanStop) {
    const cv::Mat plane(64, 64, CV_8U, cv::Scalar(9));
    const NoiseResidualSettings bad[] = {{ResidualFilter::Median, 0, 3},
                                         {ResidualFilter::Median, 4, 3},
                                         {ResidualFilter::Wavelet, 1, 0.0999},
                                         {ResidualFilter::Wavelet, 1, 100.1},
                                         {ResidualFilter::Wavelet, 1, std::nan("")}};
    for (const NoiseResidualSettings& settings : bad)
        EXPECT_THROW(ComputeNoiseResidual(plane, settings), ZorException);
    for (const double strength : {0.1, 100.0})
        EXPECT_NO_THROW(ComputeNoiseResidual(plane, {ResidualFilter::Wavelet, 1, strength}));
    for (const cv::Mat& image : {cv::Mat(), cv::Mat(8, 8, CV_8UC3), cv::Mat(8, 8, CV_16U)}) {
        EXPECT_THROW(ComputeNoiseResidual(image, {}), ZorException);
        EXPECT_THROW(WaveletResidual(image), ZorException);
    }
    for (const double sigma : {0.0, -1.0, std::nan("")})
        EXPECT_THROW(WaveletResidual(plane, sigma), ZorException) << sigma;
    const cv::Mat large(3000, 3000, CV_8U, cv::Scalar(9));
    const auto stop = [](double done) {
        EXPECT_GE(done, 0.0);
        EXPECT_LE(done, 1.0);
        throw std::runtime_error("stop");
    };
    EXPECT_THROW(ComputeNoiseResidual(large, {ResidualFilter::NonLocalMeans, 3, 3.0}, stop),
                 std::runtime_error);
}
