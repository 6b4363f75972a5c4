#include "orvcore/report/resultpictures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <map>

#include "orvcore/filter/mapimage.h"
#include "orvcore/filter/maplegend.h"
#include "orvcore/report/plotsvg.h"
#include "orvcore/report/report.h"
#include "tests/support/runfilter.h"
#include "tests/support/testcore.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

// One map with values, one with places only, two plots.
class PicturesFilter : public OrvFilterImage {
  public:
    PicturesFilter() : OrvFilterImage("Everything", "everything") {
        Describe("Test", "Shows everything.");
        SetParameters({}, {Parameter::Choice("layer", "Layer", 1, {"One", "Two"})}, {});
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const auto decoded = file.GetDecoded(job);
        OrvMap map;
        map.name = "Level <x>";
        map.unit = "levels";
        map.values = cv::Mat(20, 30, CV_8U, cv::Scalar(3));
        map.values.at<std::uint8_t>(19, 29) = 12;
        map.block = {8, 8};
        map.floor = {0, 12};
        map.threshold = 6;
        map.thresholdSide = OrvMapSide::Above;
        result.AddMap(map);
        OrvMap places;
        places.name = "Copies";
        places.lines = {{{10, 10}, {100, 100}}};
        places.regions = {{Roi(10, 20, 30, 40), "copy & paste"}};
        result.AddMap(places);
        result.plot.layerCount = 2;
        result.plot.x = {0, 1, 2};
        result.plot.counts = {5, 5, 5, 0, 10, 20};
        result.plot.xLabel = "Level";
        result.plot.yLabel = "Pixels";
        result.morePlots.resize(1);
        result.morePlots[0].x = {0, 1};
        result.morePlots[0].curves = {{1, 2}};
    }
};

OrvFilterResultPtr RunOn(const CaseFolder& folder) {
    WriteImage(Image(cv::Mat(160, 240, CV_8UC3, cv::Scalar(10, 20, 30))), folder / "p.png");
    return RunFilter(PicturesFilter(), folder / "p.png");
}

}  // namespace

TEST(ResultPictures, MapsWithLegendPlacesAndPlotsEachComeOnce) {
    const CaseFolder folder;
    const PicturesFilter filter;
    const OrvFilterResultPtr result = RunOn(folder);
    std::vector<std::string> names;
    std::map<std::string, OrvResultPicture> pictures;
    ForEachPicture(filter, *result, 0, [&](const OrvResultPicture& picture) {
        names.push_back(picture.name);
        pictures[picture.name] = picture;
    });
    EXPECT_THAT(names,
                ElementsAre("evidence-level-x", "evidence-copies", "evidence-plot-1", "evidence-plot-2"));

    const OrvResultPicture& map = pictures["evidence-level-x"];
    EXPECT_EQ(map.alternative, "Everything: Level <x> of p.png");
    EXPECT_THAT(map.caption,
                HasSubstr("Scale 0 to 12 levels, automatic (never narrower than 0 to 12 levels). Beyond the "
                          "threshold: above 6 levels."));
    ASSERT_EQ(map.image.GetWidth(), 240);
    EXPECT_GT(map.image.GetHeight(), 160) << "the legend is below";
    const cv::Mat drawn = DrawMap(result->GetMaps(OrvEvidence)[0]).GetMat();
    EXPECT_TRUE(Image(map.image.GetMat()(cv::Rect(0, 0, 240, 160)).clone()).IsEqual(Image(drawn)));

    const OrvResultPicture& places = pictures["evidence-copies"];
    EXPECT_THAT(places.caption, HasSubstr("copy & paste at 10, 20, 30, 40"));
    ASSERT_EQ(places.image.GetMat().size(), cv::Size(240, 160));
    EXPECT_EQ(places.image.GetMat().at<cv::Vec3b>(150, 200), cv::Vec3b(10, 20, 30))
        << "over the picture itself";
    EXPECT_NE(places.image.GetMat().at<cv::Vec3b>(50, 50), cv::Vec3b(10, 20, 30)) << "the line";
    EXPECT_NE(places.image.GetMat().at<cv::Vec3b>(20, 25), cv::Vec3b(10, 20, 30)) << "the box";

    const std::string& svg = pictures["evidence-plot-1"].svg;
    EXPECT_THAT(svg, HasSubstr(">Pixels</text>"));
    EXPECT_THAT(svg, HasSubstr(">20</text>")) << "the second layer is shown";

    // Smaller ones keep their shape; the legend stays readable.
    ForEachPicture(filter, *result, 60, [&](const OrvResultPicture& picture) {
        if (picture.name != "evidence-copies") return;
        EXPECT_EQ(picture.image.GetMat().size(), cv::Size(60, 40));
    });
}

TEST(ResultPictures, FilesAreWrittenAndNoneIsReplaced) {
    const CaseFolder folder;
    const PicturesFilter filter;
    const OrvFilterResultPtr result = RunOn(folder);
    const std::string out = folder / "new/out";
    const std::vector<std::string> first = WritePictures(filter, *result, out, "p");
    EXPECT_THAT(
        first,
        ElementsAre(out + "/p-everything-evidence-level-x.png", out + "/p-everything-evidence-copies.png",
                    out + "/p-everything-evidence-plot-1.svg", out + "/p-everything-evidence-plot-2.svg"));
    EXPECT_TRUE(DecodeImage(ReadFileBytes(first[0])).image.IsValid());
    WriteFile(first[1], std::string("mine"));
    const std::vector<std::string> second = WritePictures(filter, *result, out, "p");
    EXPECT_EQ(second[1], out + "/p-everything-evidence-copies-2.png");
    EXPECT_EQ(ReadFile(first[1]), "mine");
}

TEST(ResultPictures, AReportHoldsThemAndLoadsNothing) {
    const CaseFolder folder;
    const PicturesFilter filter;
    OrvReport report;
    OrvReportSection section;
    section.filter = &filter;
    section.result = RunOn(folder);
    report.files[OrvEvidence] = section.result->file[OrvEvidence];
    report.sections.push_back(section);
    const std::string page = BuildHtmlReport(report);
    EXPECT_THAT(page, HasSubstr("<img src=\"data:image/png;base64,iVBOR"));
    EXPECT_THAT(page, HasSubstr("alt=\"Everything: Level &lt;x&gt; of p.png\""));
    EXPECT_THAT(page, HasSubstr("<title>Everything of p.png</title>")) << "a plot says what it is";
    EXPECT_THAT(page, HasSubstr("copy &amp; paste at"));
    EXPECT_THAT(page, HasSubstr("<td>libjpeg"));
    EXPECT_THAT(page, Not(HasSubstr("src=\"http")));
    EXPECT_THAT(page, Not(HasSubstr("<script")));
}

TEST(PlotSvg, DrawsWhatThePlotHoldsAtItsPlace) {
    OrvPlotData plot;
    EXPECT_EQ(PlotToSvg(plot, 0, "Empty"), "");
    plot.x = {0, 10};
    plot.layerCount = 1;
    plot.curves = {{0, std::numeric_limits<float>::quiet_NaN()}};
    plot.marks = {{5}, {100}};
    plot.helpLines = {{0, 50, 10, 50}};
    plot.yLabel = "a < b";
    const std::string svg = PlotToSvg(plot, 7, "T");
    EXPECT_THAT(svg, HasSubstr("a &lt; b"));
    EXPECT_THAT(svg, HasSubstr("<path d=\"M70.0 256.0\"")) << "what is no number ends the line";
    EXPECT_THAT(svg, HasSubstr("<circle cx=\"388.0\" cy=\"14.0\"")) << "halfway, at the top";
    EXPECT_THAT(svg, HasSubstr("points=\"70.0,135.0 706.0,135.0 \""));
}

TEST(MapLegend, TellsScaleRangeAndThreshold) {
    OrvMap map;
    map.name = "Noise";
    map.unit = "levels";
    map.values = cv::Mat(4, 4, CV_32F, cv::Scalar(1));
    map.image = {4, 4};
    map.floor = {0, 2};
    map.range = {0, 8};
    map.threshold = 6;
    map.thresholdSide = OrvMapSide::Above;
    OrvMapLegend legend = LegendOf(map);
    EXPECT_EQ(legend.title, "Noise (levels)");
    ASSERT_EQ(legend.ticks.size(), 5U);
    EXPECT_EQ(legend.ticks[1].text, "2");
    EXPECT_EQ(legend.ticks[1].place, 0.25);
    EXPECT_EQ(legend.threshold, 0.75);
    EXPECT_EQ(
        legend.note,
        "Scale 0 to 8 levels, automatic (never narrower than 0 to 2 levels). Beyond the threshold: above 6 levels.");
    map.isAutomatic = false;
    map.threshold = 9;
    legend = LegendOf(map);
    EXPECT_THAT(legend.note, HasSubstr("Scale 0 to 8 levels, fixed by the analysis."));
    EXPECT_EQ(legend.threshold, -1) << "beyond the scale";
    EXPECT_THAT(LegendOf(map, true).note, HasSubstr("Scale 0 to 8 levels, set by hand."));
    // The bar runs from one end's colour to the other's.
    const cv::Mat drawn = DrawLegend(map, 400);
    const MapColours& colours = ColoursOfScale(map.scale);
    EXPECT_EQ(drawn.at<cv::Vec3b>(35, 388), cv::Vec3b(colours[254][0], colours[254][1], colours[254][2]))
        << "beside the frame";
}
