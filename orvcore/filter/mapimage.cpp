#include "orvcore/filter/mapimage.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "orvcore/analysis/parallel.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kStripRows = 64;

// CIE 1976 L*a*b* (white D65) to sRGB without clipping; answers whether the colour exists in sRGB.
bool LabToSrgb(double lightness, double a, double b, std::array<double, 3>& rgb) {
    const double fy = (lightness + 16.0) / 116.0;
    const auto inverse = [](double f) {
        return f > 6.0 / 29.0 ? f * f * f : 3.0 * (6.0 / 29.0) * (6.0 / 29.0) * (f - 4.0 / 29.0);
    };
    const double x = 0.95047 * inverse(fy + a / 500.0);
    const double y = inverse(fy);
    const double z = 1.08883 * inverse(fy - b / 200.0);
    const double linear[3] = {3.2404542 * x - 1.5371385 * y - 0.4985314 * z,
                              -0.9692660 * x + 1.8760108 * y + 0.0415560 * z,
                              0.0556434 * x - 0.2040259 * y + 1.0572252 * z};
    bool exists = true;
    for (std::size_t i = 0; i < 3; ++i) {
        constexpr double kSlack = 1e-6;
        exists = exists && linear[i] >= -kSlack && linear[i] <= 1.0 + kSlack;
        const double value = std::clamp(linear[i], 0.0, 1.0);
        rgb[i] = value <= 0.0031308 ? 12.92 * value : 1.055 * std::pow(value, 1.0 / 2.4) - 0.055;
    }
    return exists;
}

// The colour of that lightness (0..100) and hue (degrees), with as much of the chroma as sRGB has.
MapColour ColourOf(double lightness, double hue, double chroma) {
    const double angle = hue * std::numbers::pi / 180.0;
    std::array<double, 3> rgb{};
    while (!LabToSrgb(lightness, chroma * std::cos(angle), chroma * std::sin(angle), rgb) && chroma > 0.0)
        chroma = std::max(0.0, chroma - 0.5);
    const auto level = [](double value) { return static_cast<std::uint8_t>(std::lround(255.0 * value)); };
    return {level(rgb[2]), level(rgb[1]), level(rgb[0])};
}

MapColours MakeSequential() {
    MapColours colours{};
    for (int i = 0; i < 256; ++i) {
        const double t = i / 255.0;
        // Violet (300) over red (360 + 30) to yellow (360 + 100); no chroma at the black end.
        colours[static_cast<std::size_t>(i)] =
            ColourOf(96.0 * t, 295.0 + 170.0 * t, 75.0 * std::min(1.0, 4.0 * t));
    }
    return colours;
}

MapColours MakeDiverging() {
    MapColours colours{};
    for (int i = 0; i < 256; ++i) {
        const double t = (i - 127.5) / 127.5;
        const double distance = std::abs(t);
        colours[static_cast<std::size_t>(i)] =
            ColourOf(96.0 - 60.0 * distance, t < 0.0 ? 265.0 : 35.0, 70.0 * distance);
    }
    return colours;
}

MapColours MakeClasses() {
    MapColours colours{};
    constexpr double kGoldenAngle = 137.50776405;
    constexpr double kLightness[] = {60.0, 82.0, 42.0};
    for (int i = 0; i < 256; ++i)
        colours[static_cast<std::size_t>(i)] = ColourOf(kLightness[i % 3], 40.0 + kGoldenAngle * i, 55.0);
    return colours;
}

void Put(std::uint8_t* target, const MapColour& colour) {
    target[0] = colour[0];
    target[1] = colour[1];
    target[2] = colour[2];
}

// Draws the cells of one row of the map for the pixels firstX..: cell(column) answers the colour of a column.
template <typename Cell>
void DrawRow(const OrvMap& map, const cv::Rect& part, const Cell& cell, std::uint8_t* target) {
    for (int x = part.x; x < part.x + part.width;) {
        const std::int64_t offset = std::int64_t{x} - map.origin.x;
        const std::int64_t column = offset < 0 ? -1 : offset / map.block.width;
        const std::int64_t end = column < 0 ? map.origin.x : map.origin.x + (column + 1) * map.block.width;
        const int stop = static_cast<int>(std::min<std::int64_t>(end, part.x + part.width));
        const MapColour colour =
            column < 0 || column >= map.values.cols ? kNothingSaid : cell(static_cast<int>(column));
        for (; x < stop; ++x, target += 3) Put(target, colour);
    }
}

// Levels of eight bits are looked up, everything else is computed.
template <typename Value>
class Painter {
  public:
    explicit Painter(const OrvMap& map) : m_map(map), m_colours(ColoursOfMap(map)) {
        if constexpr (sizeof(Value) == 1)
            for (int i = 0; i < 256; ++i)
                m_table[static_cast<std::size_t>(i)] =
                    static_cast<std::uint8_t>(MapColourIndex(map, static_cast<Value>(i)));
    }

    void Row(int row, const cv::Rect& part, std::uint8_t* target) const {
        const Value* values = m_map.values.ptr<Value>(row);
        const std::uint8_t* mask = m_map.mask.empty() ? nullptr : m_map.mask.ptr<std::uint8_t>(row);
        if (m_map.values.channels() == 3) {
            DrawRow(
                m_map, part, [&](int column) { return Colour(values + 3 * column, mask, column); }, target);
            return;
        }
        DrawRow(
            m_map, part, [&](int column) { return Grey(values[column], mask, column); }, target);
    }

  private:
    int Index(Value value) const {
        if constexpr (sizeof(Value) == 1)
            return m_table[static_cast<std::uint8_t>(value)];
        else
            return MapColourIndex(m_map, static_cast<double>(value));
    }
    MapColour Grey(Value value, const std::uint8_t* mask, int column) const {
        if (mask != nullptr && mask[column] != 0) return kNothingSaid;
        if constexpr (std::is_floating_point_v<Value>)
            if (!std::isfinite(value)) return kNothingSaid;
        return m_colours[static_cast<std::size_t>(Index(value))];
    }
    MapColour Colour(const Value* values, const std::uint8_t* mask, int column) const {
        if (mask != nullptr && mask[column] != 0) return kNothingSaid;
        return {static_cast<std::uint8_t>(Index(values[0])), static_cast<std::uint8_t>(Index(values[1])),
                static_cast<std::uint8_t>(Index(values[2]))};
    }

    const OrvMap& m_map;
    const MapColours m_colours;
    std::array<std::uint8_t, 256> m_table{};
};

template <typename Value>
void Paint(const OrvMap& map, const cv::Rect& part, cv::Mat& picture) {
    const Painter<Value> painter(map);
    ForEachStrip(part.height, kStripRows, {}, [&](int first, int end) {
        int drawnRow = -1;
        for (int y = first; y < end; ++y) {
            std::uint8_t* target = picture.ptr<std::uint8_t>(y);
            const std::int64_t offset = std::int64_t{part.y} + y - map.origin.y;
            const std::int64_t row = offset < 0 ? -1 : offset / map.block.height;
            if (row < 0 || row >= map.values.rows) {
                for (int x = 0; x < part.width; ++x) Put(target + 3 * x, kNothingSaid);
                continue;
            }
            if (row == drawnRow)
                std::copy_n(picture.ptr<std::uint8_t>(y - 1), 3 * static_cast<std::size_t>(part.width),
                            target);
            else
                painter.Row(static_cast<int>(row), part, target);
            drawnRow = static_cast<int>(row);
        }
    });
}

}  // namespace

const MapColours& ColoursOfScale(OrvMapScale scale) {
    static const MapColours sequential = MakeSequential();
    static const MapColours diverging = MakeDiverging();
    static const MapColours classes = MakeClasses();
    switch (scale) {
        case OrvMapScale::Diverging:
            return diverging;
        case OrvMapScale::Classes:
            return classes;
        default:
            return sequential;
    }
}

MapColours ColoursOfMap(const OrvMap& map) {
    MapColours colours = ColoursOfScale(map.scale);
    if (map.scale != OrvMapScale::Classes) return colours;
    for (const auto& [number, colour] : map.classColours) {
        MapColour& drawn = colours[static_cast<std::size_t>(number) & 255U];
        switch (colour) {
            case OrvClassColour::Calm:
                drawn = {32, 24, 24};
                break;
            case OrvClassColour::Red:
                drawn = ColourOf(55.0, 40.0, 80.0);
                break;
            case OrvClassColour::Green:
                drawn = ColourOf(65.0, 140.0, 60.0);
                break;
            case OrvClassColour::Blue:
                drawn = ColourOf(45.0, 290.0, 70.0);
        }
    }
    return colours;
}

int MapColourIndex(const OrvMap& map, double value) {
    if (map.scale == OrvMapScale::Classes) return static_cast<int>(static_cast<std::int64_t>(value) & 255);
    const OrvRange range = map.scale == OrvMapScale::Probability ? OrvRange{0.0, 1.0} : map.range;
    if (!(range.high > range.low)) return 0;
    // Half a level is rounded to even, as the picture's own arithmetic rounds.
    return static_cast<int>(
        std::lrint(std::clamp((value - range.low) * (255.0 / (range.high - range.low)), 0.0, 255.0)));
}

cv::Mat DrawMapPart(const OrvMap& map, const cv::Rect& part) {
    if ((part & cv::Rect({0, 0}, map.image)) != part || part.empty())
        ZOR_THROW(Argument, "The part of the map to be drawn does not lie in its image.");
    cv::Mat picture(part.height, part.width, CV_8UC3);
    if (map.values.empty()) {
        picture.setTo(cv::Scalar(kNothingSaid[0], kNothingSaid[1], kNothingSaid[2]));
        return picture;
    }
    switch (map.values.depth()) {
        case CV_8U:
            Paint<std::uint8_t>(map, part, picture);
            break;
        case CV_8S:
            Paint<std::int8_t>(map, part, picture);
            break;
        case CV_16U:
            Paint<std::uint16_t>(map, part, picture);
            break;
        case CV_16S:
            Paint<std::int16_t>(map, part, picture);
            break;
        case CV_32S:
            Paint<std::int32_t>(map, part, picture);
            break;
        default:
            Paint<float>(map, part, picture);
    }
    return picture;
}

Image DrawMap(const OrvMap& map) {
    if (map.image.empty()) return {};
    return Image(DrawMapPart(map, cv::Rect({0, 0}, map.image)));
}
