#include "orvcore/filter/map.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "zorbase/text.h"

namespace {

constexpr double kTrimmedShare = 0.005;  // at each end
constexpr std::int64_t kMostSamples = 1000000;

bool IsKnownType(int type) {
    switch (type) {
        case CV_8UC1:
        case CV_8SC1:
        case CV_16UC1:
        case CV_16SC1:
        case CV_32SC1:
        case CV_32FC1:
        case CV_8UC3:
            return true;
        default:
            return false;
    }
}

double SampleAt(const cv::Mat& values, int row, int sample) {
    switch (values.depth()) {
        case CV_8U:
            return values.ptr<std::uint8_t>(row)[sample];
        case CV_8S:
            return values.ptr<std::int8_t>(row)[sample];
        case CV_16U:
            return values.ptr<std::uint16_t>(row)[sample];
        case CV_16S:
            return values.ptr<std::int16_t>(row)[sample];
        case CV_32S:
            return values.ptr<std::int32_t>(row)[sample];
        default:
            return static_cast<double>(values.ptr<float>(row)[sample]);
    }
}

bool IsMasked(const OrvMap& map, int row, int column) {
    return !map.mask.empty() && map.mask.ptr<std::uint8_t>(row)[column] != 0;
}

// Rounded downwards, also below zero.
int FloorDivide(std::int64_t value, int divisor) {
    const std::int64_t quotient = value / divisor;
    return static_cast<int>(value % divisor < 0 ? quotient - 1 : quotient);
}

std::vector<double> SpreadSamples(const OrvMap& map) {
    std::vector<double> samples;
    const int channels = map.values.channels();
    const auto total = static_cast<std::int64_t>(map.values.total()) * channels;
    // An odd step does not fall into step with rows or blocks.
    std::int64_t step = (total + kMostSamples - 1) / kMostSamples;
    if (step > 1) step = step | 1;
    samples.reserve(static_cast<std::size_t>(total / std::max<std::int64_t>(step, 1) + 1));
    const std::int64_t perRow = static_cast<std::int64_t>(map.values.cols) * channels;
    for (std::int64_t i = 0; i < total; i += step) {
        const int row = static_cast<int>(i / perRow);
        const int sample = static_cast<int>(i % perRow);
        if (IsMasked(map, row, sample / channels)) continue;
        const double value = SampleAt(map.values, row, sample);
        if (std::isfinite(value)) samples.push_back(value);
    }
    return samples;
}

double TakeQuantile(std::vector<double>& samples, double share) {
    const auto place = samples.begin() + static_cast<std::ptrdiff_t>(
                                             std::llround(share * static_cast<double>(samples.size() - 1)));
    std::nth_element(samples.begin(), place, samples.end());
    return *place;
}

}  // namespace

std::string DescribeMapFault(const OrvMap& map) {
    if (map.name.empty()) return "A map has no name.";
    const std::string who = "The map \"" + map.name + "\" ";
    if (map.block.width < 1 || map.block.height < 1) return who + "has blocks without a size.";
    if (!map.values.empty() && (map.values.dims != 2 || !IsKnownType(map.values.type())))
        return who + "holds values of a type that maps do not have.";
    if (map.values.empty() && map.lines.empty() && map.regions.empty()) return who + "holds nothing.";
    if (!map.mask.empty() && (map.mask.type() != CV_8UC1 || map.mask.size() != map.values.size()))
        return who + "has a mask of another size or type.";
    if (map.values.channels() == 3 && map.scale != OrvMapScale::Sequential)
        return who + "has three channels and no sequential scale.";
    if (map.scale == OrvMapScale::Classes && map.values.depth() == CV_32F)
        return who + "has classes that are no whole numbers.";
    const bool hasRange = map.scale == OrvMapScale::Sequential || map.scale == OrvMapScale::Diverging;
    const OrvRange& needed = map.isAutomatic ? map.floor : map.range;
    if (hasRange && !map.values.empty() && !(needed.high > needed.low))
        return who + (map.isAutomatic ? "states no floor for its range." : "states no range.");
    if (map.scale == OrvMapScale::Diverging && map.isAutomatic && map.floor.low != -map.floor.high)
        return who + "has a floor that is not symmetric about zero.";
    return {};
}

OrvMapValue MapValueAt(const OrvMap& map, int x, int y) {
    OrvMapValue value;
    if (map.values.empty()) return value;
    if (!map.image.empty() && !cv::Rect({0, 0}, map.image).contains({x, y})) return value;
    const int column = FloorDivide(std::int64_t{x} - map.origin.x, map.block.width);
    const int row = FloorDivide(std::int64_t{y} - map.origin.y, map.block.height);
    if (column < 0 || row < 0 || column >= map.values.cols || row >= map.values.rows) return value;
    if (IsMasked(map, row, column)) return value;
    const int channels = map.values.channels();
    for (int i = 0; i < channels; ++i)
        value.channels[static_cast<std::size_t>(i)] = SampleAt(map.values, row, column * channels + i);
    if (std::isfinite(value.channels[0])) value.count = channels;
    return value;
}

std::string MapNumberText(const OrvMap& map, double value) {
    if (map.scale == OrvMapScale::Classes) {
        const auto index = static_cast<std::size_t>(value);
        if (value >= 0.0 && index < map.classNames.size()) return map.classNames[index];
    }
    char text[64];
    const bool isWhole = value == std::floor(value) && std::abs(value) < 1e9;
    std::snprintf(text, sizeof text, isWhole || std::abs(value) >= 1000.0 ? "%.0f" : "%.3g", value);
    return text;
}

std::string MapValueText(const OrvMap& map, const OrvMapValue& value) {
    if (value.count == 0) return {};
    std::string text;
    // The eye expects red first.
    for (int i = value.count; i-- > 0;)
        text += (text.empty() ? "" : ", ") + MapNumberText(map, value.channels[static_cast<std::size_t>(i)]);
    return map.unit.empty() ? text : text + " " + map.unit;
}

Roi MapCell(const OrvMap& map, int column, int row) {
    const std::int64_t left = map.origin.x + std::int64_t{column} * map.block.width;
    const std::int64_t top = map.origin.y + std::int64_t{row} * map.block.height;
    const auto inside = [](std::int64_t value, int side) {
        return static_cast<int>(std::clamp<std::int64_t>(value, 0, side));
    };
    const int x = inside(left, map.image.width);
    const int y = inside(top, map.image.height);
    return {x, y, inside(left + map.block.width, map.image.width) - x,
            inside(top + map.block.height, map.image.height) - y};
}

OrvRange AutomaticRange(const OrvMap& map) {
    if (map.scale == OrvMapScale::Probability) return {0.0, 1.0};
    if (map.scale == OrvMapScale::Classes) {
        double highest = std::max(0.0, static_cast<double>(map.classNames.size()) - 1.0);
        if (!map.values.empty()) {
            double largest = 0.0;
            cv::minMaxLoc(map.values, nullptr, &largest);
            highest = std::max(highest, largest);
        }
        return {0.0, highest};
    }
    OrvRange range = map.floor;
    if (map.values.empty()) return range;
    std::vector<double> samples = SpreadSamples(map);
    if (samples.empty()) return range;
    range.low = std::min(range.low, TakeQuantile(samples, kTrimmedShare));
    range.high = std::max(range.high, TakeQuantile(samples, 1.0 - kTrimmedShare));
    if (map.scale == OrvMapScale::Diverging) {
        const double reach = std::max(std::abs(range.low), std::abs(range.high));
        range = {-reach, reach};
    }
    return range;
}
