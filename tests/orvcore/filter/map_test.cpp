#include "orvcore/filter/map.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "orvcore/filter/mapimage.h"
#include "zorbase/zorexception.h"

namespace {

OrvMap MakeMap(const cv::Mat& values, cv::Size image, OrvMapScale scale = OrvMapScale::Sequential) {
    OrvMap map;
    map.name = "Test";
    map.unit = "levels";
    map.values = values;
    map.image = image;
    map.scale = scale;
    map.floor = scale == OrvMapScale::Diverging ? OrvRange{-10, 10} : OrvRange{0, 10};
    return map;
}

cv::Vec3b PixelOf(const cv::Mat& picture, int x, int y) {
    return picture.at<cv::Vec3b>(y, x);
}
cv::Vec3b VecOf(const MapColour& colour) {
    return {colour[0], colour[1], colour[2]};
}

// CIE 1976 lightness of an sRGB colour, 0..100.
double Lightness(const MapColour& colour) {
    const auto linear = [](double level) {
        const double v = level / 255.0;
        return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
    };
    const double y =
        0.2126729 * linear(colour[2]) + 0.7151522 * linear(colour[1]) + 0.072175 * linear(colour[0]);
    return y > 216.0 / 24389.0 ? 116.0 * std::cbrt(y) - 16.0 : y * 24389.0 / 27.0;
}

}  // namespace

// One value per 8 x 4 pixels, the first column begins 3 pixels left of the image and 1 above it.
TEST(OrvMap, AValueStandsForItsBlockAndForNothingElse) {
    OrvMap map = MakeMap((cv::Mat_<std::int16_t>(2, 3) << 1, 2, 3, 4, -5, 6), {19, 7});
    map.block = {8, 4};
    map.origin = {-3, -1};
    const struct {
        int x, y, expected;
    } cases[] = {{0, 0, 1},  {4, 2, 1}, {5, 0, 2},  {12, 2, 2},  {13, 0, 3},
                 {18, 2, 3}, {0, 3, 4}, {5, 3, -5}, {12, 6, -5}, {18, 6, 6}};
    for (const auto& c : cases) {
        const OrvMapValue value = MapValueAt(map, c.x, c.y);
        ASSERT_EQ(value.count, 1) << c.x << ", " << c.y;
        EXPECT_EQ(value.channels[0], c.expected) << c.x << ", " << c.y;
    }
    for (const auto& [x, y] : {std::pair{19, 0}, {0, 7}, {-1, 0}, {0, -1}})
        EXPECT_EQ(MapValueAt(map, x, y).count, 0) << "outside the image: " << x << ", " << y;
    EXPECT_EQ(MapCell(map, 0, 0), Roi(0, 0, 5, 3));
    EXPECT_EQ(MapCell(map, 2, 1), Roi(13, 3, 6, 4));

    // What is drawn agrees with what is read at every pixel, in whole and in parts.
    map.range = {-5, 6};
    const cv::Mat whole = DrawMap(map).GetMat();
    ASSERT_EQ(whole.size(), map.image);
    const MapColours& colours = ColoursOfScale(map.scale);
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 19; ++x) {
            const double value = MapValueAt(map, x, y).channels[0];
            EXPECT_EQ(PixelOf(whole, x, y),
                      VecOf(colours[static_cast<std::size_t>(std::lrint((value + 5) * 255 / 11))]))
                << x << ", " << y;
            EXPECT_EQ(PixelOf(DrawMapPart(map, {x, y, 1, 1}), 0, 0), PixelOf(whole, x, y)) << x << ", " << y;
        }
    EXPECT_THROW(DrawMapPart(map, {10, 0, 10, 1}), ZorException);
}

TEST(OrvMap, WhatSaysNothingIsNeitherReadNorCountedNorColoured) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    OrvMap map = MakeMap((cv::Mat_<float>(1, 5) << 1, nan, 1e6F, 2, 3), {6, 1});
    map.mask = (cv::Mat_<std::uint8_t>(1, 5) << 0, 0, 255, 0, 0);
    map.range = AutomaticRange(map);
    EXPECT_EQ(map.range, (OrvRange{0, 10})) << "the masked million does not count";
    const cv::Mat drawn = DrawMap(map).GetMat();
    for (const int x : {1, 2, 5}) {  // no number, masked, beyond the map
        EXPECT_EQ(MapValueAt(map, x, 0).count, 0) << x;
        EXPECT_EQ(PixelOf(drawn, x, 0), VecOf(kNothingSaid)) << x;
    }
    EXPECT_NE(PixelOf(drawn, 0, 0), VecOf(kNothingSaid));
}

TEST(OrvMap, AnAutomaticRangeIsNeverNarrowerThanItsFloor) {
    cv::Mat values(100, 100, CV_8U, cv::Scalar(3));
    EXPECT_EQ(AutomaticRange(MakeMap(values, values.size())), (OrvRange{0, 10})) << "a calm picture";
    values(cv::Rect(0, 0, 20, 20)).setTo(40);  // 4 % of the picture
    EXPECT_EQ(AutomaticRange(MakeMap(values, values.size())), (OrvRange{0, 40}));
    values.setTo(3);
    values(cv::Rect(0, 0, 6, 6)).setTo(40);  // 0.36 %: one in 278 is no reason to darken the rest
    EXPECT_EQ(AutomaticRange(MakeMap(values, values.size())), (OrvRange{0, 10}));

    cv::Mat difference(10, 10, CV_16S, cv::Scalar(-50));
    EXPECT_EQ(AutomaticRange(MakeMap(difference, {10, 10}, OrvMapScale::Diverging)), (OrvRange{-50, 50}));
    OrvMap classes = MakeMap(cv::Mat(2, 2, CV_8U, cv::Scalar(5)), {2, 2}, OrvMapScale::Classes);
    EXPECT_EQ(AutomaticRange(classes), (OrvRange{0, 5}));
    EXPECT_EQ(
        AutomaticRange(MakeMap(cv::Mat(2, 2, CV_32F, cv::Scalar(0.5)), {2, 2}, OrvMapScale::Probability)),
        (OrvRange{0, 1}));
    // Of a large map only a part is looked at, wherever the values lie.
    cv::Mat large(3000, 4000, CV_8U, cv::Scalar(0));
    large(cv::Rect(0, 2000, 4000, 1000)).setTo(90);
    EXPECT_EQ(AutomaticRange(MakeMap(large, large.size())), (OrvRange{0, 90}));
}

TEST(OrvMap, ValuesAreToldAsAPersonReadsThem) {
    OrvMap map = MakeMap((cv::Mat_<float>(1, 4) << 12, 0.123456F, -1234.56F, 1e-5F), {4, 1});
    const char* const expected[] = {"12 levels", "0.123 levels", "-1235 levels", "1e-05 levels"};
    for (int x = 0; x < 4; ++x) EXPECT_EQ(MapValueText(map, MapValueAt(map, x, 0)), expected[x]);
    EXPECT_EQ(MapValueText(map, MapValueAt(map, 4, 0)), "");
    OrvMap colour = MakeMap(cv::Mat(1, 1, CV_8UC3, cv::Scalar(1, 2, 3)), {1, 1});
    EXPECT_EQ(MapValueText(colour, MapValueAt(colour, 0, 0)), "3, 2, 1 levels") << "red first";
    OrvMap classes = MakeMap(cv::Mat(1, 1, CV_8U, cv::Scalar(1)), {1, 1}, OrvMapScale::Classes);
    classes.unit.clear();
    classes.classNames = {"none", "grid (1, 0)"};
    EXPECT_EQ(MapValueText(classes, MapValueAt(classes, 0, 0)), "grid (1, 0)");
    // What says that there is nothing to see is dark, whatever its number; the others keep their colours.
    const MapColours& usual = ColoursOfScale(OrvMapScale::Classes);
    EXPECT_EQ(PixelOf(DrawMap(classes).GetMat(), 0, 0), VecOf(usual[1]));
    classes.classColours = {{1, OrvClassColour::Calm}, {3, OrvClassColour::Red}};
    const MapColours colours = ColoursOfMap(classes);
    EXPECT_EQ(PixelOf(DrawMap(classes).GetMat(), 0, 0), VecOf(colours[1]));
    EXPECT_LT(*std::max_element(colours[1].begin(), colours[1].end()), 40);
    EXPECT_GT(colours[3][2], colours[3][1] + 100) << "red";
    EXPECT_EQ(colours[2], usual[2]);
}

TEST(OrvMap, AMapThatCannotBeShownIsRefused) {
    const OrvMap good = MakeMap(cv::Mat(4, 4, CV_32F, cv::Scalar(1)), {4, 4});
    EXPECT_EQ(DescribeMapFault(good), "");
    const std::function<void(OrvMap&)> faults[] = {
        [](OrvMap& map) { map.name.clear(); },
        [](OrvMap& map) {
            map.block = {0, 1};
        },
        [](OrvMap& map) { map.values = cv::Mat(4, 4, CV_64F, cv::Scalar(1)); },
        [](OrvMap& map) { map.values.release(); },
        [](OrvMap& map) { map.mask = cv::Mat(4, 3, CV_8U, cv::Scalar(0)); },
        [](OrvMap& map) { map.floor = {}; },
        [](OrvMap& map) { map.isAutomatic = false; },
        [](OrvMap& map) { map.scale = OrvMapScale::Classes; },
        [](OrvMap& map) { map.scale = OrvMapScale::Diverging; },
        [](OrvMap& map) {
            map.values = cv::Mat(4, 4, CV_8UC3, cv::Scalar(1));
            map.scale = OrvMapScale::Probability;
        },
    };
    for (std::size_t i = 0; i < std::size(faults); ++i) {
        OrvMap map = good;
        faults[i](map);
        EXPECT_NE(DescribeMapFault(map), "") << i;
    }
}

TEST(MapImage, EvenStepsOfValueAreEvenStepsOfLightness) {
    const MapColours& even = ColoursOfScale(OrvMapScale::Sequential);
    for (std::size_t i = 0; i < 256; ++i)
        EXPECT_NEAR(Lightness(even[i]), 96.0 * static_cast<double>(i) / 255, 0.8) << i;
    const MapColours& diverging = ColoursOfScale(OrvMapScale::Diverging);
    for (std::size_t i = 0; i < 128; ++i) {
        EXPECT_NEAR(Lightness(diverging[i]), Lightness(diverging[255 - i]), 1.0) << i;
        EXPECT_NEAR(Lightness(diverging[i]), 96.0 - 60.0 * (127.5 - static_cast<double>(i)) / 127.5, 0.8)
            << i;
    }
    EXPECT_GT(diverging[0][0], diverging[0][2]) << "blue below";
    EXPECT_GT(diverging[255][2], diverging[255][0]) << "red above";
}

TEST(MapImage, ThreeChannelsBecomeAColourPicture) {
    OrvMap map = MakeMap(cv::Mat(1, 1, CV_8UC3, cv::Scalar(1, 10, 200)), {1, 1});
    map.range = {0, 255.0 / 20};
    EXPECT_EQ(PixelOf(DrawMap(map).GetMat(), 0, 0), cv::Vec3b(20, 200, 255));
}
