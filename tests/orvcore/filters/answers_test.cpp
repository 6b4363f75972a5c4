// What filters say beside their maps: each number under its own name, and from which size on they say anything.

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/gridvotes.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/text.h"
#include "zorimage/imageio.h"

namespace {

cv::Mat Noise(int width, int height) {
    cv::Mat picture(height, width, CV_8UC3);
    cv::RNG random(7);
    random.fill(picture, cv::RNG::NORMAL, 120, 25);
    return picture;
}

// The value in the row of that name; "(none)" without one.
std::string NumberOf(const OrvFilterResultPtr& result, const std::string& name) {
    for (const std::vector<std::string>& row : result->output.Get<TableString>("numbers"))
        if (row.at(0) == name) return row.at(1);
    return "(none)";
}

TEST(Answers, PicturesThatAreTooSmallAreRefused) {
    const std::pair<const char*, int> cases[] = {{"block-artefacts", 24},       {"resampling", 64},
                                                 {"median-filtering", 16},      {"grid-votes", 32},
                                                 {"decoded-history", 16},       {"noise-level", 16},
                                                 {"chromatic-aberration", 128}, {"colour-filter-array", 64},
                                                 {"jpeg-dimples", 24},          {"noise-brightness", 64},
                                                 {"cooccurrence", 256},         {"double-jpeg-shifted", 64},
                                                 {"jpeg-quality-curve", 64}};
    const TemporaryFolder folder;
    for (const auto& [id, side] : cases) {
        const auto filter = MakeFilter(id);
        if (filter == nullptr) {
            ADD_FAILURE() << id;
            continue;
        }
        for (const cv::Size size :
             {cv::Size(side, side), cv::Size(side - 1, side), cv::Size(side, side - 1)}) {
            const std::string path = folder / "picture.png";
            std::remove(path.c_str());
            WriteImage(Image(Noise(size.width, size.height)), path);
            const OrvFilePtr file = LoadForTest(path);
            const bool isRefused = size.area() < side * side;
            EXPECT_EQ(filter->WhyNot(*file, filter->GetInputPrototype()),
                      isRefused ? "Smaller than " + ToString(side) + " x " + ToString(side) + " pixels"
                                : std::string())
                << id << " " << size;
        }
    }
}

// A part that was moved by five columns stands on another grid.
TEST(Answers, RegionsOfBothKindsAreCountedApart) {
    cv::Mat photo = Noise(400, 320);
    cv::GaussianBlur(photo, photo, cv::Size(), 1.2);
    cv::Mat saved = DecodeImage(EncodeImage(Image(photo), "jpg", 60)).image.GetMat().clone();
    saved(cv::Rect(5, 3, 160, 160)).clone().copyTo(saved(cv::Rect(160, 96, 160, 160)));
    const TemporaryFolder folder;
    WriteImage(Image(saved), folder / "picture.png");
    const GridVotesResult found = ComputeGridVotes(saved);
    ASSERT_NE(found.foreign.size(), found.missing.size());
    const OrvFilterResultPtr result = RunFilter(*MakeFilter("grid-votes"), folder / "picture.png");
    EXPECT_EQ(NumberOf(result, "Regions on another grid"), ToString(static_cast<int>(found.foreign.size())));
    EXPECT_EQ(NumberOf(result, "Regions without the grid"), ToString(static_cast<int>(found.missing.size())));
    EXPECT_EQ(NumberOf(result, "Main grid begins at"), "0, 0");
}

}  // namespace
