// What filters say beside their maps: each number under its own name, and from which size on they say anything.

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/gridvotes.h"
#include "orvcore/analysis/spectrum.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
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

TEST(Answers, HalvesOfTheSpectrumHaveTheirOwnScales) {
    const TemporaryFolder folder;
    WriteImage(Image(Noise(96, 64)), folder / "picture.png");
    const auto filter = MakeFilter("frequency-split");
    ASSERT_NE(filter, nullptr);
    const FrequencySplit split = SplitFrequencies(Noise(96, 64), 0.1, {});
    for (const int show : {0, 1}) {
        VecParameter input = filter->GetInputPrototype();
        ASSERT_TRUE(input.Find("show")->SetValue(show));
        const OrvFilterResultPtr result = RunFilter(*filter, folder / "picture.png", {}, &input);
        const OrvMap& map = result->slot[OrvEvidence]->maps.at(0);
        EXPECT_EQ(map.isAutomatic, show == 0);
        EXPECT_EQ(map.scale, show == 0 ? OrvMapScale::Diverging : OrvMapScale::Sequential);
        EXPECT_EQ(cv::norm(map.values, show == 0 ? split.high : split.low, cv::NORM_INF), 0);
        if (show == 1) {
            EXPECT_EQ(map.range, (OrvRange{0.0, 255.0}));
        }
        EXPECT_EQ(NumberOf(result, "Deviation of the high part (levels)"), FixedText(split.highDeviation, 3));
        EXPECT_EQ(NumberOf(result, "Deviation of the low part (levels)"), FixedText(split.lowDeviation, 3));
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

// Each fact of the container in its own cell.
TEST(Answers, FileFormatFactsStandInTheirCells) {
    const TemporaryFolder folder;
    WriteImage(Image(Noise(33, 21)), folder / "picture.png");
    const OrvFilterResultPtr result = RunFilter(*MakeFilter("file-format"), folder / "picture.png");
    const std::pair<const char*, const char*> cells[] = {
        {"format", "PNG"},      {"dimensions", "33 x 21"},  {"depth", "8"},  {"channels", "3"},
        {"colourModel", "RGB"}, {"compression", "Deflate"}, {"frames", "1"}, {"warnings", "None"}};
    for (const auto& [name, text] : cells) EXPECT_EQ(OutputOf(result, name), text) << name;
}

TEST(Answers, HistogramTellsTheDecodersWarnings) {
    const TemporaryFolder folder;
    Bytes png = EncodeImage(Image(Noise(200, 160)), "png");
    WriteFile(folder / "whole.png", png);
    png.resize(png.size() / 2);
    WriteFile(folder / "cut.png", png);
    const auto filter = MakeFilter("histogram");
    EXPECT_EQ(OutputOf(RunFilter(*filter, folder / "whole.png"), "warnings"), "None");
    EXPECT_NE(OutputOf(RunFilter(*filter, folder / "cut.png"), "warnings").find("rows are missing"),
              std::string::npos);
}

}  // namespace
