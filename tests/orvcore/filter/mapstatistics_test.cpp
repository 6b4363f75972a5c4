#include "orvcore/filter/mapstatistics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

OrvMap MapOf(const cv::Mat& values, cv::Size block = {1, 1}, cv::Point origin = {0, 0}) {
    OrvMap map;
    map.name = "Test";
    map.values = values;
    map.block = block;
    map.origin = origin;
    map.image = {values.cols * block.width + origin.x, values.rows * block.height + origin.y};
    map.range = {0, 10};
    map.threshold = 5;
    map.thresholdSide = OrvMapSide::Above;
    return map;
}

MapNumbers Plainly(std::vector<double> values, const OrvMap& map) {
    MapNumbers numbers;
    numbers.count = static_cast<std::int64_t>(values.size());
    std::sort(values.begin(), values.end());
    numbers.median = values[(values.size() - 1) / 2];
    double sum = 0;
    double beyond = 0;
    for (const double value : values) {
        sum += value;
        if (map.thresholdSide == OrvMapSide::Above ? value > map.threshold : value < map.threshold) ++beyond;
    }
    numbers.mean = sum / static_cast<double>(values.size());
    double squares = 0;
    for (const double value : values) squares += (value - numbers.mean) * (value - numbers.mean);
    numbers.deviation = std::sqrt(squares / static_cast<double>(values.size()));
    numbers.beyond = beyond / static_cast<double>(values.size());
    return numbers;
}

void ExpectSame(const MapNumbers& found, const MapNumbers& expected, const std::string& what) {
    EXPECT_EQ(found.count, expected.count) << what;
    EXPECT_NEAR(found.mean, expected.mean, 1e-9 * (1 + std::abs(expected.mean))) << what;
    EXPECT_EQ(found.median, expected.median) << what;
    EXPECT_NEAR(found.deviation, expected.deviation, 1e-7 * (1 + expected.deviation)) << what;
    EXPECT_EQ(found.beyond, expected.beyond) << what;
}

}  // namespace

// Every type of value, with a mask, blocks, an origin outside the image and a region that cuts blocks, against plain loops over what
// stands at each block.
TEST(MapStatistics, AgreesWithPlainCountingForEveryType) {
    std::mt19937 random(5);
    const int types[] = {CV_8UC1, CV_8SC1, CV_16UC1, CV_16SC1, CV_32SC1, CV_32FC1, CV_8UC3};
    for (const int type : types) {
        for (const cv::Size block : {cv::Size(1, 1), cv::Size(8, 4)}) {
            const std::string what =
                "type " + std::to_string(type) + ", blocks of " + std::to_string(block.width);
            cv::Mat wide(301, 37, CV_MAKETYPE(CV_64F, CV_MAT_CN(type)));
            cv::randu(wide, cv::Scalar::all(-100), cv::Scalar::all(250));
            cv::Mat values;
            wide.convertTo(values, type);
            OrvMap map = MapOf(values, block, {-3, -1});
            map.threshold = 7;
            map.thresholdSide = type == CV_16SC1 ? OrvMapSide::Below : OrvMapSide::Above;
            map.mask = cv::Mat(values.size(), CV_8U, cv::Scalar(0));
            for (int i = 0; i < 500; ++i)
                map.mask.at<std::uint8_t>(static_cast<int>(random() % 301), static_cast<int>(random() % 37)) =
                    1;
            if (type == CV_32FC1) values.at<float>(9, 9) = std::numeric_limits<float>::infinity();
            const Roi region(10, 20, 17 * block.width + 3, 90);
            std::vector<double> parts[2];
            for (int row = 0; row < values.rows; ++row)
                for (int column = 0; column < values.cols; ++column) {
                    const Roi cell = MapCell(map, column, row);
                    int inside = 0;
                    for (int y = cell.y; y < cell.y + cell.height; ++y)
                        for (int x = cell.x; x < cell.x + cell.width; ++x)
                            inside += x >= region.x && x < region.x + region.width && y >= region.y &&
                                      y < region.y + region.height;
                    if (cell.IsEmpty()) continue;
                    const OrvMapValue value = MapValueAt(map, cell.x, cell.y);
                    for (int i = 0; i < value.count; ++i)
                        parts[2 * inside >= cell.width * cell.height ? 0 : 1].push_back(
                            value.channels[static_cast<std::size_t>(i)]);
                }
            const MapStatistics found = MeasureMap(map, region);
            ExpectSame(found.inside, Plainly(parts[0], map), what + ", inside");
            ExpectSame(found.outside, Plainly(parts[1], map), what + ", outside");
            SetAnalysisThreads(1);
            const MapStatistics alone = MeasureMap(map, region);
            SetAnalysisThreads(8);
            const MapStatistics many = MeasureMap(map, region);
            SetAnalysisThreads(0);
            EXPECT_EQ(alone.outside.mean, many.outside.mean) << what;
            EXPECT_EQ(alone.outside.deviation, many.outside.deviation) << what;
        }
    }
}

TEST(MapStatistics, WhatIsEmptyHasNoNumbers) {
    OrvMap map = MapOf((cv::Mat_<float>(1, 4) << 1, 2, 3, 10));
    MapStatistics found = MeasureMap(map, Roi());
    EXPECT_EQ(found.inside.count, 0);
    EXPECT_TRUE(std::isnan(found.inside.mean));
    EXPECT_TRUE(std::isnan(found.inside.median));
    EXPECT_EQ(found.outside.count, 4);
    EXPECT_EQ(found.outside.median, 2) << "the lower of the two";
    EXPECT_EQ(found.outside.beyond, 0.25);
    map.thresholdSide = OrvMapSide::None;
    found = MeasureMap(map, Roi(0, 0, 4, 1));
    EXPECT_EQ(found.inside.count, 4);
    EXPECT_EQ(found.outside.count, 0);
    EXPECT_TRUE(std::isnan(found.inside.beyond));
    map.values.release();
    EXPECT_EQ(MeasureMap(map, Roi()).outside.count, 0);
}
