// The analyses of compression history held against pictures whose history is known: each with a forged and an untouched case.

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/blockartefacts.h"
#include "orvcore/analysis/blockdct.h"
#include "orvcore/analysis/decodedhistory.h"
#include "orvcore/analysis/doublejpeg.h"
#include "orvcore/analysis/gridvotes.h"
#include "orvcore/analysis/jpegdimples.h"
#include "orvcore/analysis/jpegghosts.h"
#include "orvcore/analysis/luminance.h"
#include "orvcore/analysis/qualitycurve.h"
#include "orvcore/analysis/shiftedjpeg.h"
#include "orvcore/formats/jpegquality.h"
#include "tests/support/virtualcamera.h"

namespace {

const cv::Rect kPatch(400, 304, 256, 256);

const cv::Mat& Host() {
    static const cv::Mat host = TakePhoto(OrdinaryCamera(3), SceneKind::Textured, {1104, 800}, 5);
    return host;
}

JpegCoefficientPlane LuminanceOf(const std::vector<std::uint8_t>& file) {
    return ReadJpegCoefficients(file, JpegComponentChoice::First).components.front();
}

double Curve(const AnalysisMap& map, const cv::Mat& mask) {
    return AreaUnderCurve(map.values, MaskOnBlocks(mask, map.values.size(), map.cell, map.origin));
}

// Saved by an encoder that rounds coefficients after adding `bias`: 0.5 is to the nearest.
cv::Mat SavedWithBias(const cv::Mat& image, int quality, double bias) {
    cv::Mat coefficients;
    ForwardBlockDct(ComputeLuminance(image), {}, coefficients, 128.0F);
    const QuantizationTable table = StandardQuantizationTable(quality, false);
    for (int y = 0; y < coefficients.rows; ++y) {
        for (int x = 0; x < coefficients.cols; ++x) {
            const double step = table.values[static_cast<std::size_t>(8 * (y % 8) + x % 8)];
            float& c = coefficients.at<float>(y, x);
            c = static_cast<float>(std::floor(c / step + bias) * step);
        }
    }
    InverseBlockDct(coefficients, coefficients, 128.0F);
    cv::Mat saved;
    coefficients.convertTo(saved, CV_8U);
    return saved;
}

}  // namespace

TEST(DoubleJpeg, FindsTheFirstStepsAndThePartWithoutThem) {
    const struct {
        int first, last, found;
        bool isStrong;
        double area;
    } cases[] = {{60, 90, 12, true, 0.98}, {80, 95, 12, true, 0.98}, {75, 90, 12, true, 0.98}};
    for (const auto& c : cases) {
        const ForgedPhoto forged = SpliceNeverSaved(Host(), kPatch, c.first);
        const DoubleJpegResult result = ComputeDoubleJpeg(LuminanceOf(SaveJpeg(forged.image, c.last)));
        EXPECT_GE(result.found, c.found) << c.first << '/' << c.last;
        const QuantizationTable table = StandardQuantizationTable(c.first, false);
        int exact = 0;
        for (const DoubleJpegFrequency& f : result.frequencies)
            exact += f.firstStep == table.values[static_cast<std::size_t>(8 * f.frequency.y + f.frequency.x)]
                         ? 1
                         : 0;
        EXPECT_GE(exact, 9) << c.first << '/' << c.last;
        EXPECT_NEAR(result.firstQuality, c.first, 1);
        EXPECT_GE(Curve(result.map, forged.mask), c.area) << c.first << '/' << c.last;
        EXPECT_EQ(JudgeDoubleJpeg(result).finding, Finding::StrongSign);
        ASSERT_TRUE(HasForeignRegion(result)) << c.first << '/' << c.last;
        EXPECT_GT((result.regionBox & kPatch).area(), 0.8 * kPatch.area());
    }
}

TEST(DoubleJpeg, SaysNothingWhereThereIsNothingToSee) {
    const ForgedPhoto finer = SpliceNeverSaved(Host(), kPatch, 90);
    const struct {
        const char* what;
        cv::Mat image;
        int last;
    } cases[] = {{"saved once", Host(), 90},
                 {"saved once, coarse", Host(), 60},
                 {"the same quality twice", ThroughJpeg(Host(), 85), 85},
                 {"first save finer", finer.image, 70}};
    for (const auto& c : cases) {
        const DoubleJpegResult result = ComputeDoubleJpeg(LuminanceOf(SaveJpeg(c.image, c.last)));
        EXPECT_EQ(JudgeDoubleJpeg(result).finding, Finding::Nothing) << c.what << ' ' << result.median;
        EXPECT_FALSE(HasForeignRegion(result)) << c.what;
    }
    // Saved twice as a whole: a fact, but no part of it is foreign.
    const DoubleJpegResult whole = ComputeDoubleJpeg(LuminanceOf(SaveJpeg(ThroughJpeg(Host(), 60), 90)));
    EXPECT_EQ(JudgeDoubleJpeg(whole).finding, Finding::StrongSign);
    EXPECT_FALSE(HasForeignRegion(whole));
    EXPECT_EQ(JudgeDoubleJpeg(ComputeDoubleJpeg(JpegCoefficientPlane())).finding, Finding::NotApplicable);
}

TEST(DoubleJpeg, GainIsTheCountOfMultiples) {
    // Steps 6 and 4 without noise: cells of width 4 hold 1, 0 or 1 multiples of 6; 6 / 4 each.
    const double expected[] = {1.5, 0.75, 1.5, 1.5};  // level 1 (2..6) has its only multiple on the edge
    EXPECT_NEAR(DoubleQuantisationGain(0, 6, 4, 0.01), expected[0], 1e-6);
    EXPECT_NEAR(DoubleQuantisationGain(1, 6, 4, 0.01), expected[1], 1e-6);
    EXPECT_NEAR(DoubleQuantisationGain(3, 6, 4, 0.01), expected[2], 1e-6);
    // Over a whole period the gains are 1 on average.
    double sum = 0.0;
    for (int level = 0; level < 9; ++level) sum += DoubleQuantisationGain(level, 9, 4);
    EXPECT_NEAR(sum / 9.0, 1.0, 1e-6);
}

TEST(ShiftedJpeg, FindsGridStepAndNothingElse) {
    const struct { int first, last, step; } cases[] = {{60, 95, 13}, {75, 95, 8}, {75, 90, 8}, {85, 95, 5}};
    for (const auto& c : cases) {
        const cv::Mat cropped = ThroughJpeg(Host(), c.first)(cv::Rect(3, 5, 1001, 703)).clone();
        const ShiftedJpegResult result = ComputeShiftedJpeg(ThroughJpeg(cropped, c.last));
        EXPECT_EQ(JudgeShiftedJpeg(result).finding, Finding::StrongSign) << c.first << '/' << c.last;
        EXPECT_EQ(result.origin, cv::Point(5, 3)) << c.first << '/' << c.last;
        EXPECT_EQ(result.largestStep, c.step);
        EXPECT_EQ(result.map.origin, cv::Point(5, 3));
    }
    for (const cv::Mat& image : {Host(), ThroughJpeg(Host(), 75), ThroughJpeg(ThroughJpeg(Host(), 60), 90)}) {
        const ShiftedJpegResult result = ComputeShiftedJpeg(image);
        EXPECT_EQ(JudgeShiftedJpeg(result).finding, Finding::Nothing) << result.ratio;
    }
}

TEST(ShiftedJpeg, TheMapShowsThePartWithoutTheEarlierSave) {
    const ForgedPhoto forged = SpliceNeverSaved(Host(), kPatch, 60);
    const cv::Point by(3, 5);
    const cv::Rect rest(by, cv::Size(1000, 700));
    const ShiftedJpegResult result = ComputeShiftedJpeg(ThroughJpeg(forged.image(rest).clone(), 95));
    ASSERT_FALSE(result.map.values.empty());
    AnalysisMap lacking = result.map;
    lacking.values = -result.map.values;
    EXPECT_GT(Curve(lacking, forged.mask(rest).clone()), 0.95);
}

TEST(GridVotes, MainGridByQuality) {
    const struct {
        int quality;
        bool isFound;
        double least, most;
    } cases[] = {{50, true, 0.97, 1.0}, {75, true, 0.97, 1.0},  {90, true, 0.97, 1.0}, {95, true, 0.94, 1.0},
                 {98, true, 0.4, 0.9},  {100, false, 0.0, 0.1}, {0, false, 0.0, 0.1}};
    for (const auto& c : cases) {
        const cv::Mat saved = c.quality > 0 ? ThroughJpeg(Host(), c.quality) : Host();
        const GridVotesResult result = ComputeGridVotes(saved(cv::Rect(300, 200, 512, 512)), {false});
        EXPECT_EQ(result.mainGrid, c.isFound ? 4 : kNoGrid) << c.quality;
        EXPECT_GE(result.bestShare, c.least) << c.quality;
        EXPECT_LE(result.bestShare, c.most) << c.quality;
        EXPECT_TRUE(result.foreign.empty());
        EXPECT_EQ(JudgeGridVotes(result).finding, c.isFound ? Finding::StrongSign : Finding::Nothing);
    }
}

TEST(GridVotes, AForeignPartIsBoxedAndThePlainPictureIsNot) {
    const ForgedPhoto forged = SpliceMisaligned(Host(), kPatch, 75, {5, 3});
    const GridVotesResult result = ComputeGridVotes(forged.image);
    EXPECT_EQ(result.mainGrid, 0);
    ASSERT_FALSE(result.foreign.empty());
    // The edge of the part can be a narrow region of its own.
    for (const GridRegion& region : result.foreign) EXPECT_EQ((region.box & kPatch), region.box);
    const cv::Rect box = result.foreign.front().box;
    EXPECT_GT(static_cast<double>((box & kPatch).area()) / (box | kPatch).area(), 0.9);
    EXPECT_LT(result.foreign.front().logNfa, -100.0);
    ASSERT_EQ(result.mask.size(), forged.image.size());
    EXPECT_GT(cv::countNonZero(result.mask(kPatch)), 0.9 * kPatch.area());
    EXPECT_EQ(JudgeGridVotes(result).finding, Finding::StrongSign);
    const GridVotesResult plain = ComputeGridVotes(ThroughJpeg(Host(), 85));
    EXPECT_EQ(plain.mainGrid, 0);
    EXPECT_TRUE(plain.foreign.empty());
    EXPECT_TRUE(plain.missing.empty());
    EXPECT_EQ(JudgeGridVotes(plain).finding, Finding::Nothing);
}

TEST(GridVotes, BinomialTail) {
    // P[Bin(10, 1/2) >= 8] = 56 / 1024, P[Bin(3, 1/64) >= 3] = 2^-18.
    EXPECT_NEAR(LogBinomialTail(10, 8, 0.5), std::log10(56.0 / 1024.0), 1e-9);
    EXPECT_NEAR(LogBinomialTail(3, 3, 1.0 / 64.0), -18.0 * std::log10(2.0), 1e-9);
    EXPECT_EQ(LogBinomialTail(100, 0, 0.5), 0.0);
    EXPECT_TRUE(std::isinf(LogBinomialTail(5, 6, 0.5)));
}

TEST(JpegGhosts, OnlyTheSavedPartDips) {
    const ForgedPhoto forged = SpliceSaved(Host(), kPatch, 65);
    GhostSettings settings;
    settings.region = kPatch;
    const GhostResult result = ComputeGhosts(ThroughJpeg(forged.image, 90), settings);
    const GhostQuality& below = result.table[1];
    const GhostQuality& at = result.table[2];
    const GhostQuality& above = result.table[3];
    ASSERT_EQ(at.quality, 65);
    EXPECT_LT(at.meanInside, 0.7 * std::min(below.meanInside, above.meanInside));
    EXPECT_GT(at.meanOutside, above.meanOutside);
    EXPECT_GT(at.dippingCells, 500);
    EXPECT_GT((at.dippingBox & kPatch).area(), 0.8 * kPatch.area());
    EXPECT_LT(result.table[7].meanOutside, 0.2);  // its own quality
    EXPECT_EQ(JudgeGhosts(result).finding, Finding::WorthALook);
    const std::vector<cv::Mat> normalised = NormaliseGhosts(result);
    EXPECT_LT(cv::mean(normalised[2](cv::Rect(55, 43, 20, 20)))[0],
              0.5 * cv::mean(normalised[2](cv::Rect(0, 0, 40, 40)))[0]);
    EXPECT_EQ(MakeGhostSheet(normalised, 3).cols, 3 * normalised[0].cols + 4);
    for (const int quality : {0, 75, 90, 95}) {
        const GhostResult plain = ComputeGhosts(quality > 0 ? ThroughJpeg(Host(), quality) : Host(), {});
        EXPECT_EQ(JudgeGhosts(plain).finding, Finding::Nothing)
            << quality << ' ' << JudgeGhosts(plain).measured;
    }
}

TEST(JpegGhosts, TheShiftIsFound) {
    // The part was saved on a grid of its own.
    cv::Mat forged = Host()(cv::Rect(0, 0, 640, 480)).clone();
    const cv::Rect part(203, 101, 256, 256);
    ThroughJpeg(forged(part).clone(), 60).copyTo(forged(part));
    GhostSettings settings;
    settings.qualities = {50, 60, 70, 80};
    const std::vector<GhostShift> shifts = SearchGhostShifts(forged, settings);
    ASSERT_EQ(shifts.size(), 64U);
    EXPECT_EQ(shifts.front().origin, cv::Point(3, 5));
    EXPECT_EQ(shifts.front().best.quality, 60);
}

TEST(QualityCurve, DipsWhereItWasSaved) {
    const QualityCurve twice = ComputeQualityCurve(ThroughJpeg(ThroughJpeg(Host(), 70), 90));
    std::vector<int> dips;
    for (const CurveDip& dip : FindDips(twice.all)) dips.push_back(dip.quality);
    ASSERT_GE(dips.size(), 2U);
    EXPECT_EQ(dips[0], 90);
    EXPECT_EQ(dips[1], 70);
    EXPECT_EQ(JudgeQualityCurve(twice, 90).finding, Finding::WorthALook);
    EXPECT_EQ(JudgeQualityCurve(ComputeQualityCurve(ThroughJpeg(Host(), 90)), 90).finding, Finding::Nothing);
    EXPECT_EQ(JudgeQualityCurve(ComputeQualityCurve(Host()), {}).finding, Finding::Nothing);
    EXPECT_EQ(JudgeQualityCurve(twice, 0).finding, Finding::NotApplicable);
    EXPECT_NE(JudgeQualityCurve(twice, 90).text.find("quality 70"), std::string::npos);
    // The steps of quality 85 are half of those of 70: a deeper dip there must not hide where it comes from.
    QualityCurve halves;
    halves.blocks = 1000;
    halves.detail.fill(4.0);
    halves.detail[91] = 0.1;
    halves.detail[84] = 3.0;
    halves.detail[69] = 3.3;
    EXPECT_NE(
        JudgeQualityCurve(halves, 92).text.find("at quality 85 and at 70, whose steps are 2 times those"),
        std::string::npos);
    EXPECT_NEAR(JudgeQualityCurve(halves, 92).measured, std::log(4.02 / 3.02), 1e-9);
    halves.detail[69] = 4.0;
    halves.detail[72] = 3.3;  // no multiple
    EXPECT_NE(JudgeQualityCurve(halves, 92).text.find("at quality 85: as after"), std::string::npos);
    // Black and grey are a multiple of some quality's step in every block, and were not saved with it.
    for (const double level : {0.0, 144.0, 255.0}) {
        const cv::Mat even(480, 640, CV_8UC3, cv::Scalar::all(level));
        EXPECT_EQ(JudgeQualityCurve(ComputeQualityCurve(even), {}).finding, Finding::NotApplicable) << level;
        EXPECT_EQ(JudgeShiftedJpeg(ComputeShiftedJpeg(even)).finding, Finding::NotApplicable) << level;
    }
    // A save that is there is found with the means, which hold most of it.
    const QualityCurve once = ComputeQualityCurve(ThroughJpeg(Host(), 75));
    EXPECT_GE(once.spreadOfMeans, 6.0);
    EXPECT_EQ(JudgeQualityCurve(once, {}).finding, Finding::WorthALook);
    // Nor does a part of one level, as clipped light leaves it, tell of a save.
    for (const double level : {0.0, 148.0, 255.0}) {
        cv::Mat half = Host().clone();
        half(cv::Rect(0, 0, half.cols * 3 / 4, half.rows)).setTo(cv::Scalar::all(level));
        const AnalysisDecision decision = JudgeQualityCurve(ComputeQualityCurve(half), {});
        EXPECT_EQ(decision.finding, Finding::Nothing) << level << ": " << decision.measured;
    }
    // Against the definition, one quality, straight from the coefficients.
    cv::Mat coefficients;
    ForwardBlockDct(ComputeLuminance(Host()), {}, coefficients, 128.0F);
    const QuantizationTable table = StandardQuantizationTable(75, false);
    double sum = 0.0;
    for (int y = 0; y < coefficients.rows; ++y) {
        for (int x = 0; x < coefficients.cols; ++x) {
            const double step = table.values[static_cast<std::size_t>(8 * (y % 8) + x % 8)];
            const double c = coefficients.at<float>(y, x);
            sum += std::pow(c - std::round(c / step) * step, 2.0);
        }
    }
    const double expected = std::sqrt(sum / static_cast<double>(coefficients.total()));
    EXPECT_NEAR(ComputeQualityCurve(Host()).all[74], expected, 0.01 * expected);
}

TEST(QualityCurve, InsideAndOutsideAndErrorLevels) {
    cv::Mat forged = ThroughJpeg(Host(), 80);
    Host()(kPatch).copyTo(forged(kPatch));
    const QualityCurve curve = ComputeQualityCurve(forged, {}, kPatch);
    EXPECT_EQ(curve.blocksInside, 32U * 32U);
    EXPECT_LT(curve.outside[79], 0.3 * curve.inside[79]);
    const ErrorLevelCurve levels = ComputeErrorLevelCurve(forged, kPatch);
    EXPECT_GT(levels.blocksInside, 1000);
    EXPECT_LT(levels.outside[79], 0.2);
    EXPECT_GT(levels.inside[79], 1.0);
    EXPECT_TRUE(std::isnan(ComputeErrorLevelCurve(forged, {}).inside[0]));
}

TEST(BlockArtefacts, TheForeignPartIsBrighter) {
    for (const int quality : {60, 75, 85}) {
        const ForgedPhoto forged = SpliceMisaligned(Host(), kPatch, quality, {5, 3});
        const BlockArtefactResult result = ComputeBlockArtefacts(ThroughJpeg(forged.image, 95));
        EXPECT_GT(Curve(result.map, forged.mask), 0.93) << quality;
        EXPECT_LT(result.median, 0.0) << quality;
        EXPECT_NE(JudgeBlockArtefacts(result).finding, Finding::StrongSign);
    }
    const BlockArtefactResult plain = ComputeBlockArtefacts(ThroughJpeg(Host(), 75));
    EXPECT_EQ(JudgeBlockArtefacts(plain).finding, Finding::Nothing);
    EXPECT_GT(ComputeBlockArtefacts(Host()).median, plain.median + 3.0);
}

TEST(DecodedHistory, TellsQualityAndGrid) {
    const struct {
        int quality;
        double least, most;  // K
    } cases[] = {{0, 0.0, 0.1},   {100, 0.0, 0.1}, {95, 0.06, 0.6},
                 {90, 0.25, 0.8}, {75, 0.5, 1.0},  {50, 0.7, 1.2}};
    for (const auto& c : cases) {
        cv::Mat grey;
        cv::cvtColor(Host(), grey, cv::COLOR_BGR2GRAY);
        if (c.quality > 0) grey = ThroughJpeg(grey, c.quality);
        const DecodedHistoryResult result = ComputeDecodedHistory(grey);
        EXPECT_GT(result.strength, c.least) << c.quality;
        EXPECT_LT(result.strength, c.most) << c.quality;
        const bool isSeen = c.quality > 0 && c.quality < 100;
        EXPECT_EQ(JudgeDecodedHistory(result, false).finding, isSeen ? Finding::WorthALook : Finding::Nothing)
            << c.quality;
        if (!isSeen) continue;
        EXPECT_EQ(result.quality, c.quality);
        EXPECT_EQ(result.agreeing, result.resolved) << c.quality;
        EXPECT_EQ(JudgeDecodedHistory(result, true).finding, Finding::NotApplicable);
        const DecodedHistoryResult cropped = ComputeDecodedHistory(grey(cv::Rect(3, 5, 1000, 700)));
        EXPECT_EQ(cropped.origin, cv::Point(5, 3)) << c.quality;
        EXPECT_EQ(cropped.quality, c.quality);
    }
}

TEST(JpegDimples, TellsTheRoundingOfTheEncoder) {
    const struct {
        double bias;
        bool isFound;
        double least, most;  // d
    } cases[] = {{0.5, false, -0.15, 0.15},
                 {0.0, true, -11, -5},
                 {1.0, true, 5, 11},
                 {0.4, true, -4, -1.2},
                 {0.45, true, -2, -0.6}};
    for (const auto& c : cases) {
        const DimpleResult result = ComputeDimples(SavedWithBias(Host(), 90, c.bias));
        EXPECT_EQ(result.HasDimples(), c.isFound) << c.bias;
        EXPECT_GT(result.strength, c.least) << c.bias;
        EXPECT_LT(result.strength, c.most) << c.bias;
        EXPECT_EQ(JudgeDimples(result).finding, c.isFound ? Finding::Nothing : Finding::NotApplicable)
            << c.bias;
    }
    EXPECT_FALSE(ComputeDimples(Host()).HasDimples());
    EXPECT_FALSE(ComputeDimples(ThroughJpeg(Host(), 80)).HasDimples());
}

TEST(JpegDimples, TheMapShowsWhereTheyAreMissing) {
    cv::Mat forged = SavedWithBias(Host(), 90, 0.0);
    const cv::Rect part(400, 240, 384, 384);
    SavedWithBias(Host(), 90, 0.5)(part).copyTo(forged(part));
    const DimpleResult result = ComputeDimples(forged);
    EXPECT_EQ(JudgeDimples(result).finding, Finding::WorthALook);
    const AnalysisMap& map = result.map;
    const auto at = [&](int x, int y) {
        return map.values.at<float>((y - map.origin.y) / 8, (x - map.origin.x) / 8);
    };
    EXPECT_LT(std::abs(at(part.x + 192, part.y + 192)), 0.1 * at(136, 136));
}

namespace {

// Everything at once: what each analysis does with a picture must be an answer or a clear refusal.
void RunAll(const cv::Mat& image) {
    const Finding findings[] = {JudgeGhosts(ComputeGhosts(image, {})).finding,
                                JudgeQualityCurve(ComputeQualityCurve(image), {}).finding,
                                JudgeGridVotes(ComputeGridVotes(image)).finding,
                                JudgeShiftedJpeg(ComputeShiftedJpeg(image)).finding,
                                JudgeBlockArtefacts(ComputeBlockArtefacts(image)).finding,
                                JudgeDecodedHistory(ComputeDecodedHistory(image), false).finding,
                                JudgeDimples(ComputeDimples(image)).finding};
    for (const Finding finding : findings)
        EXPECT_NE(finding, Finding::StrongSign) << image.size() << ' ' << image.type();
    ComputeErrorLevelCurve(image, {2, 2, 5, 5});
}

}  // namespace

TEST(Compression, OddPicturesGetAnAnswer) {
    const cv::Size sizes[] = {{1, 1},   {7, 7},   {8, 8},   {9, 31},    {33, 32},
                              {64, 64}, {1, 500}, {500, 9}, {20000, 24}};
    for (const cv::Size& size : sizes) {
        RunAll(cv::Mat(size, CV_8UC3, cv::Scalar(90, 120, 30)));
        RunAll(cv::Mat(size, CV_8UC1, cv::Scalar(255)));
        cv::Mat noise(size, CV_16UC1);
        cv::RNG(5).fill(noise, cv::RNG::UNIFORM, 0, 65536);
        RunAll(noise);
        cv::Mat bgra(size, CV_8UC4);
        cv::RNG(6).fill(bgra, cv::RNG::UNIFORM, 0, 256);
        RunAll(bgra);
    }
    cv::Mat ramp(200, 300, CV_8UC1);
    for (int y = 0; y < ramp.rows; ++y)
        for (int x = 0; x < ramp.cols; ++x) ramp.ptr(y)[x] = static_cast<std::uint8_t>(x * 255 / 299);
    RunAll(ramp);
    EXPECT_ANY_THROW(ComputeGridVotes(cv::Mat()));
    EXPECT_ANY_THROW(ComputeShiftedJpeg(cv::Mat(9, 9, CV_32FC3)));
    EXPECT_ANY_THROW(ComputeGhosts(Host(), {{90, 80}, 16, {}, {}}));
    EXPECT_ANY_THROW(ComputeDimples(Host(), {60}));
}
