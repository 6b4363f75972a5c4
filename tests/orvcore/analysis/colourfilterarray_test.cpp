#include "orvcore/analysis/colourfilterarray.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"

namespace {

VirtualCamera Camera(PhotoMosaic mosaic, PhotoDemosaicing demosaicing = PhotoDemosaicing::Bilinear) {
    VirtualCamera camera;
    camera.photonNoise = 0.03;
    camera.readNoise = 1.5;
    camera.mosaic = mosaic;
    camera.demosaicing = demosaicing;
    return camera;
}

cv::Mat Photo(const VirtualCamera& camera, SceneKind kind = SceneKind::Textured, std::uint64_t seed = 3) {
    return TakePhoto(camera, kind, {640, 512}, seed);
}

}  // namespace

TEST(ColourFilterArrayTest, NamesThePatternAndFindsNoneWhereThereIsNone) {
    const struct {
        PhotoMosaic mosaic;
        FilterPattern expected;
    } cases[] = {{PhotoMosaic::Rggb, FilterPattern::Rggb},
                 {PhotoMosaic::Grbg, FilterPattern::Grbg},
                 {PhotoMosaic::Gbrg, FilterPattern::Gbrg},
                 {PhotoMosaic::Bggr, FilterPattern::Bggr}};
    for (const auto& c : cases) {
        const ColourFilterResult result = ComputeColourFilterArray(Photo(Camera(c.mosaic)));
        EXPECT_EQ(NameOf(result.pattern), NameOf(c.expected));
        EXPECT_GT(result.median, 2.0);
        EXPECT_GT(result.globalPeak, 50.0);
        EXPECT_EQ(DecideColourFilterArray(result).finding, Finding::Nothing);
        EXPECT_GT(cv::mean(result.probability, result.map.known)[0], 0.8);
    }
    // Edges followed while interpolating leave less of it.
    const ColourFilterResult edges =
        ComputeColourFilterArray(Photo(Camera(PhotoMosaic::Rggb, PhotoDemosaicing::EdgeAware)));
    EXPECT_GT(edges.median, 0.1);
    const ColourFilterResult none = ComputeColourFilterArray(Photo(Camera(PhotoMosaic::None)));
    EXPECT_LT(none.median, 0.1);
    EXPECT_LT(none.globalPeak, 5.0);
    EXPECT_EQ(none.pattern, FilterPattern::Unknown);
    EXPECT_EQ(DecideColourFilterArray(none).finding, Finding::NotApplicable);
}

TEST(ColourFilterArrayTest, CompressionErasesTheTraceStepByStep) {
    const cv::Mat photo = Photo(Camera(PhotoMosaic::Rggb));
    double before = ComputeColourFilterArray(photo).median;
    for (const int quality : {98, 95, 85}) {
        const double median = ComputeColourFilterArray(ThroughJpeg(photo, quality)).median;
        EXPECT_LT(median, before) << quality;
        before = median;
    }
    EXPECT_LT(before, kFilterTraceMedian);
}

TEST(ColourFilterArrayTest, FindsThePartWithoutTraceOrOnTheOtherLattice) {
    const VirtualCamera camera = Camera(PhotoMosaic::Rggb);
    const cv::Mat photo = Photo(camera);
    const cv::Mat plain = Photo(Camera(PhotoMosaic::None), SceneKind::Textured, 8);
    const cv::Rect part(192, 128, 256, 256);
    for (const ForgedPhoto& forged : {Splice(photo, part, plain, {64, 64}),
                                      Splice(photo, part, Photo(camera, SceneKind::Textured, 9), {65, 64}),
                                      SpliceResampled(photo, part, 1.2)}) {
        const ColourFilterResult result = ComputeColourFilterArray(forged.image);
        const AnalysisDecision decision = DecideColourFilterArray(result);
        EXPECT_EQ(decision.finding, Finding::StrongSign) << decision.measured;
        EXPECT_GT((result.lacking & part).area(), 0.7 * part.area());
        cv::Mat truth = MaskOnBlocks(forged.mask, result.map.values.size(), {16, 16}, {});
        truth.setTo(128, result.map.known == 0);
        EXPECT_GT(AreaUnderCurve(-result.map.values, truth), 0.98);
    }
}

TEST(ColourFilterArrayTest, TextureIsNotHeldAgainstNoise) {
    // Interpolation along edges leaves a trace in a noisy sky and little in the ground below it.
    const cv::Mat photo = TakePhoto(OrdinaryCamera(1), SceneKind::SmoothSky, {1024, 768}, 1);
    const ColourFilterResult result = ComputeColourFilterArray(photo);
    EXPECT_GT(result.lackingCells, kLackingCells);
    EXPECT_NE(DecideColourFilterArray(result).finding, Finding::StrongSign) << result.likeTrace;
}

TEST(ColourFilterArrayTest, FlatAndSaturatedPicturesAreNotJudged) {
    for (const double level : {0.0, 90.0, 255.0}) {
        const ColourFilterResult result =
            ComputeColourFilterArray(cv::Mat(256, 256, CV_8UC3, cv::Scalar::all(level)));
        EXPECT_EQ(result.knownCells, 0);
        EXPECT_EQ(DecideColourFilterArray(result).finding, Finding::NotApplicable);
    }
    for (const cv::Mat& bad :
         {cv::Mat(), cv::Mat(80, 80, CV_8U), cv::Mat(63, 80, CV_8UC3), cv::Mat(80, 80, CV_16UC3)})
        EXPECT_THROW(ComputeColourFilterArray(bad), ZorException);
}
