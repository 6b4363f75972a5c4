#include "orvgui/viewer/viewgeometry.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

constexpr int kNavigatorWidth = 120;
constexpr int kNavigatorMaximumHeight = 240;
constexpr int kSmallSide = 200;
constexpr double kFarthestStep = 3200.0;

int Saturate(double whole) {
    if (std::isnan(whole)) return 0;
    if (whole <= static_cast<double>(std::numeric_limits<int>::min())) return std::numeric_limits<int>::min();
    if (whole >= static_cast<double>(std::numeric_limits<int>::max())) return std::numeric_limits<int>::max();
    return static_cast<int>(whole);
}

}  // namespace

int RoundToInt(double value) {
    return Saturate(std::rint(value));
}

int TruncateToInt(double value) {
    return Saturate(std::trunc(value));
}

const std::vector<double>& DefaultZoomPercents() {
    static const std::vector<double> percents = {0.333, 0.4,   0.5,    0.7,    1.0,    1.5,    2.0,    3.0,
                                                 4.0,   5.0,   6.25,   8.33,   12.5,   16.7,   25.0,   33.3,
                                                 50.0,  66.7,  100.0,  200.0,  300.0,  400.0,  500.0,  600.0,
                                                 700.0, 800.0, 1200.0, 1600.0, 3200.0, 6400.0, 12800.0};
    return percents;
}

int NearestZoomId(const std::vector<double>& percents, double percent) {
    int best = -1;
    double bestDistance = kFarthestStep;
    for (std::size_t i = 0; i < percents.size(); ++i) {
        const double distance = std::abs(percents[i] - percent);
        if (distance <= bestDistance) {
            bestDistance = distance;
            best = static_cast<int>(i);
        }
    }
    return best;
}

double StepZoom(const std::vector<double>& percents, double zoom, int step) {
    const int nearest = NearestZoomId(percents, zoom * 100.0);
    if (nearest < 0) return -1.0;
    const int id = nearest + step;
    if (id < 0 || id >= static_cast<int>(percents.size())) return -1.0;
    return percents[static_cast<std::size_t>(id)] / 100.0;
}

std::optional<ZoomEntry> ParseZoomText(const std::string& text, double lowerLimit, double upperLimit) {
    std::string entry;
    for (const char c : text) {
        if (!std::isspace(static_cast<unsigned char>(c))) {
            entry += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    if (entry == "fit") return ZoomEntry{true, 0.0};
    double divisor = 100.0;
    if (!entry.empty() && (entry.back() == '%' || entry.back() == 'x')) {
        if (entry.back() == 'x') divisor = 1.0;
        entry.pop_back();
    }
    // Digits and one point only: no sign, exponent, infinity.
    if (entry.find_first_not_of("0123456789.") != std::string::npos) return std::nullopt;
    double value = 0.0;
    const auto [end, error] = std::from_chars(entry.data(), entry.data() + entry.size(), value);
    if (error != std::errc() || end != entry.data() + entry.size()) return std::nullopt;
    const double zoom = value / divisor;
    // What reads "0.333" is not refused for the last bit of its division.
    if (!(zoom >= lowerLimit * (1.0 - 1e-9)) || zoom > upperLimit) return std::nullopt;
    return ZoomEntry{false, zoom};
}

std::string ZoomPercentText(double zoom) {
    const double percent = zoom * 100.0;
    char digits[64];
    // One decimal is enough to read, three only where the steps themselves need them.
    const int decimals = percent < 1.0 ? 3 : (percent < 10.0 ? 2 : 1);
    const auto result =
        std::to_chars(digits, digits + sizeof digits, percent, std::chars_format::fixed, decimals);
    std::string text(digits, result.ptr);
    text.erase(text.find_last_not_of('0') + 1);
    if (!text.empty() && text.back() == '.') text.pop_back();
    return text;
}

double FitZoom(IntPair client, IntPair image) {
    if (image.x <= 0 || image.y <= 0) return 0.0;
    return std::min(static_cast<double>(client.x) / image.x, static_cast<double>(client.y) / image.y);
}

double SmallImageRule::Apply(IntPair image, double zoom, double fitZoom) {
    const bool isSmall = image.x < kSmallSide && image.y < kSmallSide;
    if (isSmall == m_small) return zoom;
    m_small = isSmall;
    return fitZoom;
}

int ScrollRateForZoom(double zoom) {
    const int whole = TruncateToInt(zoom);
    return zoom > static_cast<double>(whole) ? whole + 1 : whole;
}

IntPair ZoomedSize(IntPair image, double zoom, double verticalZoom) {
    return {TruncateToInt(image.x * zoom), TruncateToInt(image.y * verticalZoom)};
}

IntPair ScrollForCentre(IntPair lines, IntPair page, IntPair centre, IntPair image) {
    const auto along = [](int range, int visible, int place, int side) {
        if (side <= 0) return 0;
        return static_cast<int>((static_cast<std::int64_t>(range) - visible) * place / side);
    };
    return {along(lines.x, page.x, centre.x, image.x), along(lines.y, page.y, centre.y, image.y)};
}

IntPair CentringOffset(IntPair client, IntPair image, double zoom) {
    IntPair offset;
    if (!(zoom > 0.0)) return offset;
    if (client.x > image.x * zoom) offset.x = RoundToInt((client.x / zoom - image.x) * 0.5);
    if (client.y > image.y * zoom) offset.y = RoundToInt((client.y / zoom - image.y) * 0.5);
    return offset;
}

std::vector<IntRect> BorderBands(IntPair client, IntPair image, IntPair offset, double zoom) {
    std::vector<IntRect> bands;
    if (!(zoom > 0.0)) return bands;
    const double offsetX = offset.x;
    const double offsetY = offset.y;
    if (client.y > image.y * zoom && offset.y > 0) {
        const int width = TruncateToInt((image.x + 2.0 * offsetX) * zoom);
        bands.push_back({0, RoundToInt((offsetY + image.y) * zoom), width, RoundToInt(2.0 * offsetY * zoom)});
        bands.push_back({0, 0, width, RoundToInt(offsetY * zoom)});
    }
    if (client.x > image.x * zoom && offset.x >= 1) {
        const int height = TruncateToInt((image.y + 2.0 * offsetY) * zoom);
        bands.push_back({0, 0, RoundToInt(offsetX * zoom), height});
        bands.push_back(
            {RoundToInt((offsetX + image.x) * zoom), 0, RoundToInt(2.0 * offsetX * zoom), height});
    }
    return bands;
}

LineSpan ClipPatternedLine(LineSpan line, LineSpan visible, double period) {
    LineSpan rest = line;
    if (line.begin < visible.begin) rest.begin += std::floor((visible.begin - line.begin) / period) * period;
    rest.end = std::min(line.end, visible.end);
    return rest;
}

IntPair ImagePointAt(IntPair windowPoint, IntPair scrollPixels, double zoom, IntPair offset) {
    if (!(zoom > 0.0)) return {};
    const auto along = [zoom](int window, int scroll, int shift) {
        return Saturate(std::floor((static_cast<double>(window) + scroll) / zoom) - shift);
    };
    return {along(windowPoint.x, scrollPixels.x, offset.x), along(windowPoint.y, scrollPixels.y, offset.y)};
}

bool ClipPoint(int& x, int& y, IntPair image) {
    const int clippedX = std::max(std::min(x, image.x), 0);
    const int clippedY = std::max(std::min(y, image.y), 0);
    const bool moved = clippedX != x || clippedY != y;
    x = clippedX;
    y = clippedY;
    return moved;
}

bool IsPixel(IntPair point, IntPair image) {
    return point.x >= 0 && point.y >= 0 && point.x < image.x && point.y < image.y;
}

DeviceRange PaintedRange(int offset, int length, double zoom) {
    if (!(zoom > 0.0) || length <= 0) return {};
    const double begin = static_cast<double>(offset) * zoom;
    const double end = (static_cast<double>(offset) + length) * zoom;
    return {Saturate(std::ceil(begin - 0.5)), Saturate(std::ceil(end - 0.5))};
}

int PixelUnderDevice(int device, int offset, int length, double zoom) {
    if (!(zoom > 0.0)) return 0;
    const int pixel = Saturate(std::floor((device + 0.5) / zoom - offset));
    return std::clamp(pixel, 0, std::max(length - 1, 0));
}

IntPair NavigatorSize(IntPair image) {
    if (image.x <= 0 || image.y <= 0) return {};
    return {kNavigatorWidth, RoundToInt(static_cast<double>(image.y) / image.x * kNavigatorWidth)};
}

IntPair NavigatorWindowSize(IntPair image) {
    if (image.x <= 0 || image.y <= 0) return {kNavigatorWidth, kNavigatorWidth * 3 / 4};
    return {kNavigatorWidth, std::clamp(NavigatorSize(image).y, 1, kNavigatorMaximumHeight)};
}

std::optional<NavigatorMark> MarkOnNavigator(const ShownView& view, IntPair navigator) {
    if (view.image.x <= 0 || view.image.y <= 0 || !(view.zoom > 0.0)) return std::nullopt;
    const double fit = FitZoom(view.client, view.image);
    if (!(fit < view.zoom && fit + 0.001 < view.zoom)) return std::nullopt;

    struct Span {
        int first;
        int last;
    };
    const auto along = [&view](int start, int client, int offset, int side, int length) {
        // Below 100 % a scroll unit is a screen pixel, above it about an image pixel.
        const double first = view.zoom < 1.0 ? TruncateToInt(start / view.zoom) : start;
        const double visible = RoundToInt(client / view.zoom - 2.0 * offset);
        const double begin = first * length / side;
        const double end = std::min((first + visible) * length / side, length - 1.0);
        return Span{Saturate(std::floor(begin)), Saturate(std::floor(end))};
    };
    const Span x = along(view.viewStart.x, view.client.x, view.offset.x, view.image.x, navigator.x);
    const Span y = along(view.viewStart.y, view.client.y, view.offset.y, view.image.y, navigator.y);
    return NavigatorMark{x.first, y.first, x.last, y.last};
}

IntPair ScrollForNavigatorPoint(const ShownView& view, IntPair navigator, IntPair point) {
    const auto along = [&view](int place, int length, int side, int client) {
        if (length <= 0 || side <= 0 || !(view.zoom > 0.0) || view.scrollRate <= 0) return 0;
        const int centre = RoundToInt(static_cast<double>(place) / (static_cast<double>(length) / side));
        const double start = static_cast<double>(centre) - RoundToInt((client / view.zoom) * 0.5);
        return std::max(RoundToInt(start * view.zoom / view.scrollRate), 0);
    };
    return {along(point.x, navigator.x, view.image.x, view.client.x),
            along(point.y, navigator.y, view.image.y, view.client.y)};
}
