#include <gtest/gtest.h>

#include "orvcore/analysis/errorlevel.h"
#include "orvcore/filter/mapimage.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "zorimage/imageio.h"

namespace {

// Smooth shades with a patch of texture that was never compressed, in a picture saved at quality 75.
class ErrorLevelFilterTest : public testing::Test {
  protected:
    ErrorLevelFilterTest() {
        cv::Mat host(160, 240, CV_8UC3);
        std::uint32_t state = 7;
        const auto noise = [&state] {
            return static_cast<int>((state = state * 1664525U + 1013904223U) >> 29);
        };
        for (int y = 0; y < host.rows; ++y)
            for (int x = 0; x < host.cols; ++x)
                host.at<cv::Vec3b>(y, x) = cv::Vec3b(static_cast<std::uint8_t>(60 + x / 2 + noise()),
                                                     static_cast<std::uint8_t>(80 + y / 2 + noise()),
                                                     static_cast<std::uint8_t>(90 + (x + y) / 4 + noise()));
        const cv::Mat saved = DecodeImage(EncodeImage(Image(host), "jpg", 75)).image.GetMat();
        WriteImage(Image(saved), m_untouched);
        cv::Mat forged = saved.clone();
        cv::Mat patch = forged(kPatch);
        for (int y = 0; y < patch.rows; ++y)
            for (int x = 0; x < patch.cols; ++x)
                for (int c = 0; c < 3; ++c)
                    patch.at<cv::Vec3b>(y, x)[c] = static_cast<std::uint8_t>(90 + 8 * noise());
        WriteImage(Image(forged), m_forged);
    }

    const cv::Rect kPatch{96, 48, 64, 64};
    TemporaryFolder m_folder;
    const std::string m_untouched = m_folder / "untouched.png";
    const std::string m_forged = m_folder / "forged.png";
    const std::unique_ptr<OrvFilter> m_filter = MakeFilter("error-level");
};

}  // namespace

TEST_F(ErrorLevelFilterTest, TheMapHoldsTheLevelsThemselves) {
    VecParameter input = m_filter->GetInputPrototype();
    ASSERT_TRUE(input.Find("quality")->SetValue(80));
    for (const int grey : {0, 1}) {
        ASSERT_TRUE(input.Find("channels")->SetValue(grey));
        const OrvFilterResultPtr result = RunFilter(*m_filter, m_forged, {}, &input);
        ASSERT_EQ(result->slot[OrvEvidence]->maps.size(), 1U);
        const OrvMap& map = result->slot[OrvEvidence]->maps[0];
        ErrorLevelSettings settings;
        settings.quality = 80;
        settings.grey = grey == 1;
        const cv::Mat expected =
            ComputeErrorLevel(LoadForTest(m_forged)->GetDecoded(OrvJob())->image.GetMat(), settings);
        EXPECT_TRUE(Image(map.values).IsEqual(Image(expected))) << grey;
        EXPECT_EQ(map.image, expected.size());
        const ErrorLevelStatistics statistics = MeasureErrorLevel(expected, Roi());
        EXPECT_EQ(result->output.Get<TableString>("numbers"),
                  (TableString{{"Quantity", "Value"},
                               {"Mean (levels)", FixedText(statistics.mean, 3)},
                               {"Largest (levels)", std::to_string(statistics.maximum)}}));
        EXPECT_TRUE(result->slot[OrvEvidence]->inputImage.IsEqual(
            LoadForTest(m_forged)->GetDecoded(OrvJob())->image));
    }
}

// What was saved before at that quality is calm: neither does it look as lively as the forgery, nor is the forgery dimmed below its own.
TEST_F(ErrorLevelFilterTest, AnUntouchedAndAForgedPictureAreSeenUnderOneScale) {
    VecParameter input = m_filter->GetInputPrototype();
    ASSERT_TRUE(input.Find("quality")->SetValue(75));
    const OrvFilterResultPtr both = RunFilter(*m_filter, m_untouched, m_forged, &input);
    const OrvRange range = both->GetMaps(OrvEvidence).at(0).range;
    EXPECT_EQ(range, both->GetMaps(OrvReference).at(0).range);
    const auto meanOf = [](const Image& picture, const cv::Rect& part) {
        const cv::Scalar mean = cv::mean(picture.GetMat()(part));
        return (mean[0] + mean[1] + mean[2]) / 3;
    };
    EXPECT_LT(meanOf(both->GetPicture(OrvEvidence), kPatch), 10);
    EXPECT_GT(meanOf(both->GetPicture(OrvReference), kPatch), 60);
    EXPECT_LT(meanOf(both->GetPicture(OrvReference), {0, 0, 90, 40}), 10);

    const OrvFilterResultPtr alone = RunFilter(*m_filter, m_untouched, {}, &input);
    EXPECT_LT(meanOf(alone->GetPicture(OrvEvidence), kPatch), 25) << "alone it is calm as well";
    EXPECT_GE(alone->GetMaps(OrvEvidence).at(0).range.high, alone->GetMaps(OrvEvidence).at(0).floor.high);
}

TEST_F(ErrorLevelFilterTest, AGainThatWasAskedForIsKept) {
    VecParameter post = m_filter->GetPostProcessingPrototype();
    ASSERT_TRUE(post.Find("gain")->SetValue(20));
    const OrvFilterResultPtr result = RunFilter(*m_filter, m_forged, m_untouched, nullptr, &post);
    const OrvMap map = result->GetMaps(OrvEvidence).at(0);
    EXPECT_FALSE(map.isAutomatic);
    EXPECT_TRUE(
        result->GetPicture(OrvEvidence)
            .IsEqual(Image(AmplifyErrorLevel(map.values, 20, {0, 0, map.values.cols, map.values.rows}))));
    EXPECT_TRUE(result->computed[OrvEvidence]->maps.at(0).isAutomatic) << "what was computed stays";
}
