// The searches for copies and the comparison with a reference, as a user runs them.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>

#include "tests/orvcore/analysis/copyscenes.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorimage/imageio.h"

namespace {

const OrvSlotResult& SlotOf(const OrvFilterResultPtr& result, OrvFileId slot = OrvEvidence) {
    return *result->slot[slot];
}

std::string NumberOf(const OrvFilterResultPtr& result, const std::string& label) {
    for (const auto& row : result->output.Get<TableString>("numbers"))
        if (row[0] == label) return row[1];
    return "no such number";
}

}  // namespace

TEST(CopyMoveFilters, TheSamplesSecondSpoonIsFoundAndTheOriginalHasNone) {
    const std::string samples = PathJoin(GetAppDataPath(), "samples");
    const std::string edited = PathJoin(samples, "coffee-edited.jpg");
    if (!std::filesystem::exists(edited)) GTEST_SKIP() << "the data folder has not been built";
    for (const char* id : {"copy-move-blocks", "copy-move-keypoints"}) {
        const auto filter = MakeFilter(id);
        const OrvFilterResultPtr result = RunFilter(*filter, edited, PathJoin(samples, "coffee.jpg"));
        EXPECT_EQ(SlotOf(result).verdict, OrvVerdict::StrongSign) << id << ": " << SlotOf(result).verdictText;
        EXPECT_EQ(SlotOf(result, OrvReference).verdict, OrvVerdict::NothingFound) << id;
        ASSERT_EQ(SlotOf(result).maps.size(), 1U);
        const OrvMap& map = SlotOf(result).maps[0];
        ASSERT_EQ(map.lines.size(), 1U) << id;
        EXPECT_NEAR(map.lines[0].to.x - map.lines[0].from.x, 214.0F, 1.5F);
        EXPECT_NEAR(map.lines[0].to.y - map.lines[0].from.y, 31.0F, 1.5F);
        EXPECT_EQ(map.regions.size(), 2U);
        EXPECT_EQ(result->output.Get<TableString>("pairs").size(), 2U);
    }
    const auto comparison = MakeFilter("reference-comparison");
    const OrvFilterResultPtr result = RunFilter(*comparison, edited, PathJoin(samples, "coffee.jpg"));
    EXPECT_EQ(NumberOf(result, "Whole pixels, nothing interpolated"), "yes");
    // The differences are largest where the spoon was put.
    const OrvMap& map = SlotOf(result).maps[0];
    const cv::Mat part = map.values(cv::Rect(115, 220, 70, 70));
    const cv::Scalar inside = cv::mean(part);
    const cv::Scalar all = cv::mean(map.values);
    EXPECT_GT(inside[1], 4.0 * all[1]);
}

TEST(ReferenceComparisonFilter, NeedsBothAndSaysSo) {
    const TemporaryFolder folder;
    WriteImage(Image(CopyScene(200, 150, 1)), folder / "a.png");
    const auto filter = MakeFilter("reference-comparison");
    const OrvFilterResultPtr alone = RunFilter(*filter, folder / "a.png");
    EXPECT_TRUE(SlotOf(alone).SaysNothing());
    EXPECT_EQ(SlotOf(alone).verdictText, "Needs evidence and reference");
    // A stranger is no failure either.
    WriteImage(Image(CopyScene(200, 150, 2)), folder / "b.png");
    const OrvFilterResultPtr strangers = RunFilter(*filter, folder / "a.png", folder / "b.png");
    EXPECT_TRUE(SlotOf(strangers).SaysNothing());
    EXPECT_TRUE(SlotOf(strangers, OrvReference).SaysNothing());
}

TEST(ReferenceComparisonFilter, ACropLiesOnItsOriginal) {
    const TemporaryFolder folder;
    const cv::Mat scene = CopyScene(420, 330, 3);
    cv::Mat evidence = scene(cv::Rect(50, 40, 300, 220)).clone();
    evidence(cv::Rect(100, 90, 30, 20)).setTo(cv::Scalar(10, 20, 200));
    WriteImage(Image(evidence), folder / "evidence.png");
    WriteImage(Image(scene), folder / "reference.png");
    const auto filter = MakeFilter("reference-comparison");
    const OrvFilterResultPtr result = RunFilter(*filter, folder / "evidence.png", folder / "reference.png");
    EXPECT_EQ(NumberOf(result, "Shown part of the reference (x, y, width, height)"), "50, 40, 300, 220");
    EXPECT_EQ(NumberOf(result, "They lie in (x, y, width, height)"), "100, 90, 30, 20");
    EXPECT_EQ(NumberOf(result, "Of them different"), "600");
    // The reference is shown as it lies on the evidence.
    const cv::Mat brought = result->GetPicture(OrvReference).GetMat();
    ASSERT_EQ(brought.size(), evidence.size());
    EXPECT_EQ(cv::norm(brought, scene(cv::Rect(50, 40, 300, 220)), cv::NORM_INF), 0.0);
}

namespace {

// Counts how often both files were compared.
class CountingComparison : public OrvFilterImage {
  public:
    CountingComparison() : OrvFilterImage("Counting", "counting") {}
    bool ComparesFiles() const override { return true; }
    mutable std::atomic<int> both{0};
    mutable std::atomic<int> alone{0};

  protected:
    void Compute(const OrvLoadedFile&, const VecParameter&, const OrvJob&,
                 OrvSlotResult& result) const override {
        ++alone;
        result.SayNothing("alone");
    }
    void ComputeBoth(const OrvLoadedFile& evidence, const OrvLoadedFile& reference, const VecParameter&,
                     const OrvJob&, OrvSlotResult& ofEvidence, OrvSlotResult& ofReference) const override {
        ++both;
        ofEvidence.outputImage = reference.GetDecoded(OrvJob())->image;
        ofReference.outputImage = evidence.GetDecoded(OrvJob())->image;
    }
};

}  // namespace

TEST(ComparingFilters, WhatIsHeldAnswersForTheseTwoFilesOnly) {
    const TemporaryFolder folder;
    WriteImage(Image(cv::Mat(4, 4, CV_8UC3, cv::Scalar::all(10))), folder / "a.png");
    WriteImage(Image(cv::Mat(4, 4, CV_8UC3, cv::Scalar::all(20))), folder / "b.png");
    WriteImage(Image(cv::Mat(4, 4, CV_8UC3, cv::Scalar::all(30))), folder / "c.png");
    const OrvFilePtr a = LoadForTest(folder / "a.png");
    const OrvFilePtr b = LoadForTest(folder / "b.png");
    const OrvFilePtr c = LoadForTest(folder / "c.png");
    const CountingComparison filter;
    std::vector<OrvFilterResultPtr> held;
    const auto run = [&](const OrvFilePtr& evidence, const OrvFilePtr& reference) {
        OrvFilterResult request;
        request.file[OrvEvidence] = evidence;
        request.file[OrvReference] = reference;
        const OrvFilterResultPtr result = filter.Run(request, held, OrvJob(), nullptr);
        held.push_back(result);
        const cv::Mat shown = result->slot[OrvEvidence]->outputImage.GetMat();
        return shown.empty() ? 0 : static_cast<int>(shown.at<cv::Vec3b>(0, 0)[0]);
    };
    EXPECT_EQ(run(a, b), 20);
    EXPECT_EQ(run(a, b), 20);
    EXPECT_EQ(filter.both, 1) << "the same two again";
    EXPECT_EQ(run(a, c), 30) << "another reference is another result";
    EXPECT_EQ(run(b, a), 10) << "so are the two the other way round";
    EXPECT_EQ(filter.both, 3);
    EXPECT_EQ(run(a, nullptr), 0) << "alone it has nothing of the pair";
    EXPECT_EQ(filter.alone, 1);
    EXPECT_TRUE(held[0]->slot[OrvReference]->inputImage.IsValid());
}
