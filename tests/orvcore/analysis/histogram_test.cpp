#include "orvcore/analysis/histogram.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>

#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

// A photograph's histogram: smooth over many levels.
cv::Mat Smooth(int rows = 512, int columns = 512) {
    std::mt19937 random(7);
    std::normal_distribution<double> noise(0, 6);
    cv::Mat picture(rows, columns, CV_8UC3);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x)
            for (int c = 0; c < 3; ++c)
                picture.at<cv::Vec3b>(y, x)[c] = cv::saturate_cast<uchar>(
                    128 + 110 * std::sin(x * 0.011 + c) * std::cos(y * 0.017) + noise(random));
    return picture;
}

cv::Mat Gamma(const cv::Mat& picture, double gamma) {
    cv::Mat table(1, 256, CV_8U);
    for (int i = 0; i < 256; ++i)
        table.at<uchar>(i) = cv::saturate_cast<uchar>(std::round(255 * std::pow(i / 255.0, gamma)));
    cv::Mat result;
    cv::LUT(picture, table, result);
    return result;
}

std::string Write(const TemporaryFolder& folder, const std::string& name, const cv::Mat& picture) {
    WriteImage(Image(picture), folder / name);
    return folder / name;
}

}  // namespace

TEST(Histogram, NumbersOfAPictureCountedByHand) {
    // Blue, green, red.
    cv::Mat picture(1, 4, CV_8UC3);
    picture.at<cv::Vec3b>(0, 0) = {0, 0, 0};
    picture.at<cv::Vec3b>(0, 1) = {255, 10, 20};
    picture.at<cv::Vec3b>(0, 2) = {255, 10, 20};
    picture.at<cv::Vec3b>(0, 3) = {0, 30, 255};
    const PictureHistogram histogram = ComputeHistogram(picture);
    const auto& [luminance, red, green, blue] = histogram.channels;
    EXPECT_FALSE(histogram.isGrey);
    EXPECT_EQ(histogram.uniqueColours, 3U);
    EXPECT_EQ(luminance.counts[0], 1U);
    EXPECT_EQ(luminance.counts[41], 2U) << "0.299 * 20 + 0.587 * 10 + 0.114 * 255 = 40.92";
    EXPECT_EQ(luminance.counts[94], 1U) << "0.299 * 255 + 0.587 * 30 = 93.86";
    EXPECT_DOUBLE_EQ(red.mean, 73.75);
    EXPECT_NEAR(red.deviation, std::sqrt((73.75 * 73.75 + 2 * 53.75 * 53.75 + 181.25 * 181.25) / 4), 1e-9);
    EXPECT_EQ(red.minimum, 0);
    EXPECT_EQ(red.maximum, 255);
    EXPECT_DOUBLE_EQ(red.median, 20);
    EXPECT_EQ(red.emptyBins, 253);
    EXPECT_DOUBLE_EQ(green.median, 10);
    EXPECT_DOUBLE_EQ(blue.median, 127.5);
    EXPECT_DOUBLE_EQ(blue.saturatedBelow, 0.5);
    EXPECT_DOUBLE_EQ(blue.saturatedAbove, 0.5);
    EXPECT_DOUBLE_EQ(green.saturatedAbove, 0);
}

TEST(Histogram, DeepGreyAndAlphaPictures) {
    cv::Mat deep(2, 2, CV_16UC3, cv::Scalar(0, 256, 65535));
    deep.at<cv::Vec3w>(1, 1) = {1, 511, 65534};
    const PictureHistogram histogram = ComputeHistogram(deep);
    EXPECT_EQ(histogram.levels, 65536);
    EXPECT_EQ(histogram.uniqueColours, 2U);
    EXPECT_EQ(histogram.channels[1].counts[255], 4U) << "one bin holds 256 levels";
    EXPECT_EQ(histogram.channels[2].counts[1], 4U);
    EXPECT_EQ(histogram.channels[1].minimum, 65534) << "statistics are of the levels, not of the bins";
    EXPECT_DOUBLE_EQ(histogram.channels[1].saturatedAbove, 0.75);

    cv::Mat greyAlpha(1, 3, CV_8UC2, cv::Scalar(5, 200));
    greyAlpha.at<cv::Vec2b>(0, 2) = {9, 100};
    const PictureHistogram grey = ComputeHistogram(greyAlpha);
    EXPECT_TRUE(grey.isGrey);
    EXPECT_EQ(grey.uniqueColours, 2U) << "alpha is no colour";
    EXPECT_EQ(grey.channels[3].maximum, 9);
    EXPECT_THROW(ComputeHistogram(cv::Mat()), cv::Exception);
}

TEST(Histogram, CountsManyDeepColoursExactly) {
    std::mt19937 random(3);
    cv::Mat picture(1200, 1100, CV_16UC3);
    std::set<std::uint64_t> colours;
    for (int y = 0; y < picture.rows; ++y)
        for (int x = 0; x < picture.cols; ++x) {
            auto& pixel = picture.at<cv::Vec3w>(y, x);
            for (int c = 0; c < 3; ++c) pixel[c] = static_cast<ushort>(random() % 100);
            colours.insert((std::uint64_t{pixel[0]} << 32) | (std::uint64_t{pixel[1]} << 16) | pixel[2]);
        }
    EXPECT_EQ(ComputeHistogram(picture).uniqueColours, colours.size());
}

TEST(Histogram, ContrastMeasureFollowsItsDefinition) {
    LevelCounts flat;
    flat.fill(100);
    EXPECT_LT(ContrastMeasure(flat), 0.25) << "only what the taper leaks";
    // Every second level empty: the line at half the sampling rate is as high as the number of pixels.
    LevelCounts comb{};
    for (std::size_t i = 0; i < comb.size(); i += 2) comb[i] = 100;
    EXPECT_GT(ContrastMeasure(comb), ContrastMeasure(flat) + 0.95);
    // A single level has a flat spectrum: 193 of the 256 lines are counted.
    LevelCounts single{};
    single[100] = 12345;
    EXPECT_NEAR(ContrastMeasure(single), 193, 1e-6);
    // Clipping at the ends does not count.
    flat.front() = flat.back() = 1000000;
    EXPECT_LT(ContrastMeasure(flat), 0.25);
    EXPECT_EQ(ContrastMeasure(LevelCounts{}), 0);
}

TEST(HistogramFilter, TellsACurveFromAnUntouchedPicture) {
    const TemporaryFolder folder;
    const cv::Mat original = Smooth();
    const auto made = MakeFilter("histogram");
    const OrvFilter& filter = *made;
    const OrvFilterResultPtr result =
        RunFilter(filter, Write(folder, "a.png", Gamma(original, 0.7)), Write(folder, "b.png", original));
    EXPECT_EQ(result->slot[OrvEvidence]->verdict, OrvVerdict::WorthALook);
    EXPECT_EQ(result->slot[OrvEvidence]->findings.size(), 1U);
    EXPECT_EQ(result->slot[OrvReference]->verdict, OrvVerdict::NothingFound);
    EXPECT_EQ(result->status, FilterStatus::StandsOut);
}

TEST(HistogramFilter, ChannelAndScaleAreChosenWithoutCountingAgain) {
    const TemporaryFolder folder;
    const std::string path = Write(folder, "a.png", cv::Mat(400, 400, CV_8UC3, cv::Scalar(10, 20, 30)));
    const auto made = MakeFilter("histogram");
    const OrvFilter& filter = *made;
    VecParameter post = filter.GetPostProcessingPrototype();
    OrvFilterResultPtr result = RunFilter(filter, path, {}, nullptr, &post);
    const OrvPlotData bars = result->slot[OrvEvidence]->plot;
    ASSERT_EQ(bars.layerCount, 4);
    ASSERT_EQ(bars.x.size(), 256U);
    ASSERT_EQ(bars.counts.size(), 4 * 256U);
    EXPECT_EQ(bars.counts[256 + 30], 160000U) << "the second block is red";
    EXPECT_EQ(bars.yLabel, "Pixels");
    EXPECT_EQ(OutputOf(result, "mean"), "22.000") << "0.299 * 30 + 0.587 * 20 + 0.114 * 10 = 21.85";
    EXPECT_EQ(result->slot[OrvEvidence]->verdict, OrvVerdict::NotApplicable) << "one colour is no photograph";

    ASSERT_TRUE(post.Find("layer")->SetValue(3));
    ASSERT_TRUE(post.Find("logarithmic")->SetValue(true));
    result = RunFilter(filter, path, {}, nullptr, &post);
    const OrvPlotData& curves = result->slot[OrvEvidence]->plot;
    EXPECT_TRUE(curves.counts.empty());
    ASSERT_EQ(curves.curves.size(), 4U);
    EXPECT_NEAR(curves.curves[3][10], std::log10(160001.0), 1e-5);
    EXPECT_EQ(curves.yLabel, "log10(1 + pixels)");
    EXPECT_EQ(OutputOf(result, "mean"), "10.000");
    EXPECT_EQ(result->computed[OrvEvidence]->plot.counts.size(), 4 * 256U) << "what was counted stays";
}

TEST(HistogramFilter, AFileWithoutAPictureIsAnAnswerAndNoFailure) {
    const TemporaryFolder folder;
    WriteFile(folder / "text.jpg", std::string("no picture at all"));
    WriteFile(folder / "empty.jpg", std::string());
    const Image picture(Smooth(64, 64));
    Bytes cut = EncodeImage(picture, "jpg");
    cut.resize(40);
    WriteFile(folder / "cut.jpg", cut);
    const auto made = MakeFilter("histogram");
    const OrvFilter& filter = *made;
    for (const char* name : {"text.jpg", "empty.jpg", "cut.jpg"}) {
        const OrvFilterResultPtr result = RunFilter(filter, folder / name);
        EXPECT_EQ(result->slot[OrvEvidence]->verdict, OrvVerdict::NotApplicable) << name;
        EXPECT_TRUE(result->slot[OrvEvidence]->plot.x.empty()) << name;
        EXPECT_GT(OutputOf(result, "warnings").size(), 10U) << name;
        EXPECT_EQ(OutputOf(result, "mean"), "") << name;
    }
}

TEST(HistogramFilter, AbortLeavesByException) {
    const TemporaryFolder folder;
    const std::string path = Write(folder, "a.png", Smooth(64, 64));
    std::stop_source stop;
    OrvFilterResult request;
    request.file[OrvEvidence] = LoadForTest(path);
    const auto made = MakeFilter("histogram");
    const OrvFilter& filter = *made;
    request.postProcessing = filter.GetPostProcessingPrototype();
    stop.request_stop();
    EXPECT_THROW(filter.Run(request, {}, OrvJob(stop.get_token()), nullptr), ZorException);
}

// Two small photographs that were never compressed, by green. A curve lifts the measure several times and empties many
// bins; JPEG at quality 95 afterwards fills them again and hides it.
TEST(HistogramFilter, RealPhotographsLieInTheKnownBands) {
    NEED_FIXTURES();
    for (const char* name : {"00_coffee.png", "01_chelsea.png"}) {
        const Bytes bytes = ReadFileBytes(formatsupport::Fixtures() + "/synth/pristine/" + name);
        const cv::Mat original = DecodeImage(bytes).image.ToColor().GetMat();
        const auto green = [](const cv::Mat& picture) { return ComputeHistogram(picture).channels[2]; };
        const ChannelHistogram untouched = green(original);
        EXPECT_GT(untouched.contrastMeasure, 0.3) << name;
        EXPECT_LT(untouched.contrastMeasure, 2.0) << name;
        EXPECT_EQ(untouched.emptyBins, 0) << name;
        const ChannelHistogram brighter = green(Gamma(original, 0.7));
        EXPECT_GT(brighter.contrastMeasure, 4.0) << name;
        EXPECT_LT(brighter.contrastMeasure, 9.0) << name;
        EXPECT_GE(brighter.emptyBins, 18) << name;
        EXPECT_LE(brighter.emptyBins, 40) << name;
        EXPECT_GT(green(Gamma(original, 1.4)).contrastMeasure, 3.0) << name;
        const ChannelHistogram saved =
            green(DecodeImage(EncodeImage(Image(Gamma(original, 0.7)), "jpg", 95)).image.GetMat());
        EXPECT_LT(saved.contrastMeasure, 2.5) << name;
        EXPECT_LE(saved.emptyBins, 1) << name;
    }
}
