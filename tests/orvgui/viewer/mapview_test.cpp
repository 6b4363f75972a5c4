#include "orvgui/viewer/mapview.h"

#include <gtest/gtest.h>

#include <cmath>

#include "orvcore/filter/mapimage.h"

namespace {

OrvMap MakeMap(cv::Size block, cv::Point origin, cv::Size image) {
    OrvMap map;
    map.name = "Level";
    map.unit = "levels";
    map.block = block;
    map.origin = origin;
    map.image = image;
    const int columns = (image.width - origin.x + block.width - 1) / block.width;
    const int rows = (image.height - origin.y + block.height - 1) / block.height;
    map.values.create(rows, columns, CV_16U);
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column)
            map.values.at<std::uint16_t>(row, column) = static_cast<std::uint16_t>(10 * row + column);
    map.range = {0.0, 100.0};
    map.threshold = 20.0;
    map.thresholdSide = OrvMapSide::Above;
    return map;
}

}  // namespace

// Every pixel against the map's own answer for it, whatever block, origin, mask and opacity.
TEST(MapView, OverlayIsExactToThePixel) {
    const cv::Size size(53, 37);
    cv::Mat picture(size, CV_8UC3);
    cv::randu(picture, 0, 256);
    const struct {
        cv::Size block;
        cv::Point origin;
    } places[] = {
        {{1, 1}, {0, 0}}, {{8, 8}, {0, 0}}, {{8, 8}, {-3, -5}}, {{5, 7}, {4, 2}}, {{16, 4}, {11, -2}}};
    const MapDisplay displays[] = {{0, 100, false}, {0, 37, false}, {0, 0, false}, {0, 60, true}};
    for (const auto& place : places) {
        OrvMap map = MakeMap(place.block, place.origin, size);
        map.mask = cv::Mat::zeros(map.values.size(), CV_8U);
        map.mask.at<std::uint8_t>(0, 1) = 1;
        for (const MapDisplay& display : displays) {
            const Image overlaid = OverlayMap(Image(picture.clone()), map, display);
            ASSERT_EQ(overlaid.GetMat().size(), size);
            for (int y = 0; y < size.height; ++y) {
                for (int x = 0; x < size.width; ++x) {
                    const OrvMapValue value = MapValueAt(map, x, y);
                    const bool isShown = value.count > 0 && (!display.beyondOnly || value.channels[0] > 20.0);
                    const cv::Vec3b before = picture.at<cv::Vec3b>(y, x);
                    const MapColour colour = ColoursOfScale(
                        map.scale)[static_cast<std::size_t>(MapColourIndex(map, value.channels[0]))];
                    for (int c = 0; c < 3; ++c) {
                        const int wanted =
                            !isShown ? before[c]
                                     : (before[c] * (100 - display.opacity) +
                                        colour[static_cast<std::size_t>(c)] * display.opacity + 50) /
                                           100;
                        ASSERT_EQ(overlaid.GetMat().at<cv::Vec3b>(y, x)[c], wanted)
                            << x << "," << y << " block " << place.block << " origin " << place.origin
                            << " opacity " << display.opacity;
                    }
                }
            }
        }
    }
}

// What is no number says nothing; of a colour picture one channel beyond the threshold is enough.
TEST(MapView, CellsThatSayNothingLeaveThePicture) {
    OrvMap map = MakeMap({1, 1}, {0, 0}, {4, 1});
    const Image picture(cv::Mat(1, 4, CV_8UC3, cv::Scalar::all(7)));
    const auto touched = [&](bool beyondOnly) {
        std::string text;
        const Image shown = OverlayMap(picture, map, {0, 100, beyondOnly});
        for (int x = 0; x < 4; ++x)
            text += shown.GetMat().at<cv::Vec3b>(0, x) == cv::Vec3b::all(7) ? '.' : 'x';
        return text;
    };
    const auto row = [](float a, float b, float c, float d) {
        return cv::Mat(cv::Mat(std::vector<float>{a, b, c, d}).t());
    };
    map.values = row(5.0F, std::nanf(""), 50.0F, HUGE_VALF);
    EXPECT_EQ(touched(false), "x.x.");
    EXPECT_EQ(touched(true), "..x.");
    for (const int type : {CV_8S, CV_16S, CV_32S}) {
        row(-5.0F, 20.0F, 21.0F, 50.0F).convertTo(map.values, type);
        EXPECT_EQ(touched(true), "..xx") << type;
    }
    map.values = cv::Mat(1, 4, CV_8UC3, cv::Scalar(1, 2, 3));
    map.values.at<cv::Vec3b>(0, 1) = {1, 90, 3};
    map.values.at<cv::Vec3b>(0, 2) = {90, 2, 3};
    EXPECT_EQ(touched(true), ".xx.");
}

TEST(MapView, WithoutItsPictureTheMapStandsAlone) {
    const OrvMap map = MakeMap({8, 8}, {0, 0}, {40, 30});
    for (const Image& picture : {Image(), Image(cv::Mat(30, 41, CV_8UC3, cv::Scalar::all(7)))})
        EXPECT_TRUE(OverlayMap(picture, map, {0, 50, false}).IsEqual(DrawMap(map)));
    std::stop_source stop;
    stop.request_stop();
    const Image picture(cv::Mat(30, 40, CV_8UC3, cv::Scalar::all(7)));
    EXPECT_FALSE(OverlayMap(picture, map, {0, 50, false}, stop.get_token()).IsValid());
}

TEST(MapView, TheLegendTellsRangeUnitAndThreshold) {
    OrvMap map = MakeMap({8, 8}, {0, 0}, {40, 30});
    EXPECT_EQ(MapTitle(map), "Level (levels)");
    EXPECT_EQ(RangeText(map), "0 to 100 levels, automatic");
    map.isAutomatic = false;
    EXPECT_EQ(RangeText(map), "0 to 100 levels, fixed by the analysis");
    EXPECT_EQ(ThresholdText(map), "Above 20 levels counts");
    std::vector<LegendMark> marks = LegendMarks(map);
    ASSERT_EQ(marks.size(), 6U);
    const char* const texts[] = {"0", "25", "50", "75", "100", "20"};
    const double places[] = {0.0, 0.25, 0.5, 0.75, 1.0, 0.2};
    for (std::size_t i = 0; i < marks.size(); ++i) {
        EXPECT_EQ(marks[i].text, texts[i]);
        EXPECT_DOUBLE_EQ(marks[i].place, places[i]);
        EXPECT_EQ(marks[i].isThreshold, i == 5);
    }
    map.thresholdSide = OrvMapSide::None;
    EXPECT_EQ(ThresholdText(map), "");
    EXPECT_EQ(LegendMarks(map).size(), 5U);
    map.scale = OrvMapScale::Probability;
    EXPECT_TRUE(RangeText(map).StartsWith("0 to 1")) << RangeText(map);
    map.scale = OrvMapScale::Classes;
    EXPECT_TRUE(LegendMarks(map).empty());
    EXPECT_EQ(RangeText(map), "");
}

TEST(MapView, BothSidesOfAThreshold) {
    OrvMap map = MakeMap({1, 1}, {0, 0}, {4, 4});
    const OrvMapValue low{{19.0, 0, 0}, 1}, on{{20.0, 0, 0}, 1}, high{{21.0, 0, 0}, 1}, none{};
    for (const auto& [side, isLow, isHigh] :
         {std::tuple{OrvMapSide::Above, false, true}, std::tuple{OrvMapSide::Below, true, false},
          std::tuple{OrvMapSide::None, false, false}}) {
        map.thresholdSide = side;
        EXPECT_EQ(IsBeyond(map, low), isLow);
        EXPECT_FALSE(IsBeyond(map, on));
        EXPECT_EQ(IsBeyond(map, high), isHigh);
        EXPECT_FALSE(IsBeyond(map, none));
    }
}

TEST(MapView, NumbersInWords) {
    const OrvMap map = MakeMap({1, 1}, {0, 0}, {4, 4});
    MapNumbers numbers;
    EXPECT_EQ(NumbersText(map, numbers), "");
    numbers = {4096, 3.21987, 3.0, 1.5, 0.125};
    EXPECT_EQ(NumbersText(map, numbers),
              "mean 3.22, median 3, deviation 1.5, 12.5 % beyond the threshold (4096 values)");
}
