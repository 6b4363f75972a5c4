// The pages of the groups "Noise" and "Sampling", on a picture with a forged part and on the same picture untouched.

#include <gtest/gtest.h>

#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/virtualcamera.h"
#include "zorimage/imageio.h"

namespace {

const cv::Rect kPart{256, 128, 320, 320};

cv::Mat Photo(std::uint64_t seed = 3) {
    VirtualCamera camera;
    camera.photonNoise = 0.03;
    camera.readNoise = 1.5;
    camera.mosaic = PhotoMosaic::Rggb;
    return TakePhoto(camera, SceneKind::Textured, {900, 680}, seed);
}

OrvSlotResult ResultOf(const std::string& id, const cv::Mat& picture) {
    const TemporaryFolder folder;
    WriteImage(Image(picture), folder / "picture.png");
    return *RunFilter(*MakeFilter(id), folder / "picture.png")->slot[OrvEvidence];
}

// Mean of the first map inside the forged part less the mean outside, in standard deviations of the outside.
double Contrast(const OrvMap& map) {
    double sums[2] = {}, squares[2] = {}, counts[2] = {};
    for (int y = 0; y < map.values.rows; ++y) {
        for (int x = 0; x < map.values.cols; ++x) {
            if (!map.mask.empty() && map.mask.at<std::uint8_t>(y, x) != 0) continue;
            const Roi cell = MapCell(map, x, y);
            const cv::Rect pixels(cell.x, cell.y, cell.width, cell.height);
            const int shared = (pixels & kPart).area();
            if (shared != 0 && shared != pixels.area()) continue;
            const double value = map.values.at<float>(y, x);
            const int side = shared != 0 ? 1 : 0;
            sums[side] += value;
            squares[side] += value * value;
            counts[side] += 1;
        }
    }
    const double outside = sums[0] / counts[0];
    return (sums[1] / counts[1] - outside) /
           std::sqrt(std::max(squares[0] / counts[0] - outside * outside, 1e-12));
}

}  // namespace

TEST(NoiseFilters, ShowTheForgedPartAndLeaveTheUntouchedAlone) {
    const cv::Mat photo = Photo();
    VirtualCamera other;
    other.readNoise = 6.0;
    const cv::Mat foreign = TakePhoto(other, SceneKind::Textured, photo.size(), 9);
    cv::Mat curved = photo.clone();
    curved(kPart).convertTo(curved(kPart), -1, 1.4, -40);
    const struct {
        const char* id;
        cv::Mat forged;
        OrvVerdict verdict;  // of the forged one; None: the filter gives none
        double contrast;     // at least, of its first map
    } cases[] = {
        {"noise-level", Splice(photo, kPart, foreign, {100, 100}).image, OrvVerdict::None, 1.0},
        {"cooccurrence", Splice(photo, kPart, foreign, {100, 100}).image, OrvVerdict::None, 0.0},
        {"colour-filter-array", SpliceResampled(photo, kPart, 1.3).image, OrvVerdict::StrongSign, 0.0},
        {"resampling", ResizePhoto(photo, 1.3), OrvVerdict::StrongSign, 0.0},
        {"median-filtering", SpliceMedian(photo, {0, 0, photo.cols, photo.rows}, 3).image,
         OrvVerdict::StrongSign, 0.0},
        {"contrast-changes", curved, OrvVerdict::NothingFound, 0.5},
        {"chromatic-aberration", photo, OrvVerdict::NothingFound, 0.0},
        {"noise-brightness", photo, OrvVerdict::NothingFound, 0.0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.id);
        const OrvSlotResult forged = ResultOf(c.id, c.forged);
        EXPECT_EQ(forged.verdict, c.verdict) << forged.verdictText;
        ASSERT_FALSE(forged.maps.empty());
        if (c.contrast > 0.0) {
            EXPECT_GT(Contrast(forged.maps[0]), c.contrast);
        }
        if (c.forged.data == photo.data) continue;
        const OrvSlotResult untouched = ResultOf(c.id, photo);
        EXPECT_NE(untouched.verdict, OrvVerdict::StrongSign) << untouched.verdictText;
    }
}

TEST(NoiseFilters, ResidualOfAChannelWithTheNumbersOfARegion) {
    const TemporaryFolder folder;
    cv::Mat picture = Photo();
    picture(kPart).setTo(cv::Scalar(90, 120, 60));
    WriteImage(Image(picture), folder / "picture.png");
    const auto filter = MakeFilter("noise-residual");
    for (int way = 0; way < 5; ++way) {
        VecParameter input = filter->GetInputPrototype();
        ASSERT_TRUE(input.Find("filter")->SetValue(way));
        ASSERT_TRUE(input.Find("plane")->SetValue(2));
        ASSERT_TRUE(input.Find("region")->SetValue(
            Roi(kPart.x + 8, kPart.y + 8, kPart.width - 16, kPart.height - 16)));
        const auto result = RunFilter(*filter, folder / "picture.png", {}, &input);
        const TableString numbers = result->output.Get<TableString>("numbers");
        ASSERT_EQ(numbers.size(), 7U) << way;
        EXPECT_LT(std::stod(numbers[3][1]), 0.3) << way;  // even inside
        EXPECT_GT(std::stod(numbers[4][1]), 0.3) << way;  // grain and texture outside
    }
}

TEST(NoiseFilters, OnlyALoudPlaceIsMarked) {
    VirtualCamera calm;
    calm.readNoise = 1.0;
    const cv::Mat photo = TakePhoto(calm, SceneKind::Flat, {512, 512}, 4);
    EXPECT_TRUE(ResultOf("noise-level", photo).maps.at(0).regions.empty());
    const cv::Rect part(128, 256, 160, 160);
    const OrvSlotResult noisy = ResultOf("noise-level", SpliceNoise(photo, part, 12.0, 5).image);
    ASSERT_EQ(noisy.maps.at(0).regions.size(), 1U);
    const Roi& box = noisy.maps[0].regions[0].box;
    EXPECT_EQ((cv::Rect(box.x, box.y, box.width, box.height) & part).area(), 128 * 128);
}
