#include "orvcore/formats/jpegtables/quantizationfamily.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace {

constexpr std::size_t kEntries = 64;

// Tables that editors have of their own, by the first 16 digits of QuantizationTablesHash of the one table, as seen
// in files whose own records name program and level.
struct KnownTable {
    const char* hash;
    const char* name;
};
constexpr KnownTable kKnown[] = {
    {"2cbbc56f21c3b2a2", "Adobe Photoshop, level 8 of 12 (luminance)"},
    {"8a6776993a44a17d", "Adobe Photoshop, level 8 of 12 (chrominance)"},
    {"d500fc4950dcdc40", "Adobe Photoshop, level 12 of 12 (luminance)"},
    {"3173ee8471fcde45", "Adobe Photoshop, level 12 of 12 (chrominance)"},
};

// Factors s for which every entry is clip(round(base s), 1, largest): an interval for each entry, all of them
// together.
struct Interval {
    double low = 0;
    double high = std::numeric_limits<double>::infinity();
    bool IsEmpty() const { return !(low < high); }
};

enum class Rounding { Nearest, Down, Up };

Interval FittingFactors(const QuantizationTable& table, const QuantizationTable& base, Rounding rounding) {
    const double below = rounding == Rounding::Nearest ? 0.5 : rounding == Rounding::Down ? 0.0 : 1.0;
    const double above = 1.0 - below;
    const int largest = table.precision == 8 ? 255 : 65535;
    Interval all;
    for (std::size_t i = 0; i < kEntries; ++i) {
        const double entry = table.values[i];
        const double step = base.values[i];
        // The smallest and the largest entry stand for everything beyond them too.
        if (entry > 1) all.low = std::max(all.low, (entry - below) / step);
        if (entry < largest) all.high = std::min(all.high, (entry + above) / step);
    }
    return all;
}

// Without at least so many entries that are not clipped a factor says nothing.
constexpr int kTellingEntries = 8;

bool IsTelling(const QuantizationTable& table) {
    const int largest = table.precision == 8 ? 255 : 65535;
    const auto count = std::count_if(table.values.begin(), table.values.end(),
                                     [&](std::uint16_t value) { return value > 1 && value < largest; });
    return count >= kTellingEntries;
}

bool FindFactor(const QuantizationTable& table, bool isChrominance, QuantizationOrigin& origin) {
    const QuantizationTable base = StandardQuantizationTable(50, isChrominance);
    static constexpr std::pair<Rounding, const char*> kRoundings[] = {
        {Rounding::Nearest, "rounded"}, {Rounding::Down, "cut off"}, {Rounding::Up, "rounded up"}};
    for (const auto& [rounding, text] : kRoundings) {
        const Interval factors = FittingFactors(table, base, rounding);
        if (factors.IsEmpty() || !std::isfinite(factors.high) || factors.high <= 0) continue;
        origin.family = QuantizationFamily::Scaled;
        origin.isChrominance = isChrominance;
        origin.factor = (factors.low + factors.high) / 2;
        origin.rounding = text;
        return true;
    }
    return false;
}

std::string ThreeDigits(double value) {
    // Through whole thousandths: the decimal sign must not follow the user's language.
    const long thousandths = std::lround(value * 1000.0);
    char text[32];
    std::snprintf(text, sizeof text, "%ld.%03ld", thousandths / 1000, thousandths % 1000);
    return text;
}

}  // namespace

QuantizationOrigin FindQuantizationOrigin(const QuantizationTable& table, int component) {
    QuantizationOrigin origin;
    if (table.values.size() != kEntries) return origin;
    const bool first = component > 0;
    const JpegQuality asFirst = EstimateJpegQuality(table, first);
    const JpegQuality asSecond = EstimateJpegQuality(table, !first);
    // A tie goes to the example that belongs to the component.
    const bool isSecond = asSecond.deviation < asFirst.deviation;
    origin.quality = isSecond ? asSecond : asFirst;
    origin.isChrominance = isSecond ? !first : first;
    if (origin.quality.isExact) {
        origin.family = QuantizationFamily::Standard;
        return origin;
    }
    if (std::all_of(table.values.begin(), table.values.end(),
                    [&](std::uint16_t v) { return v == table.values[0]; })) {
        origin.family = QuantizationFamily::Flat;
        return origin;
    }
    const std::string hash = QuantizationTablesHash({table});
    for (const KnownTable& known : kKnown)
        if (hash == known.hash) {
            origin.family = QuantizationFamily::Known;
            origin.name = known.name;
            return origin;
        }
    if (IsTelling(table) && (FindFactor(table, first, origin) || FindFactor(table, !first, origin)))
        return origin;
    origin.family = QuantizationFamily::Own;
    return origin;
}

std::string QuantizationOriginText(const QuantizationOrigin& origin) {
    const std::string example = origin.isChrominance ? "standard (chrominance)" : "standard (luminance)";
    const std::string nearest = "nearest standard quality " + JpegQualityText(origin.quality);
    switch (origin.family) {
        case QuantizationFamily::None:
            return {};
        case QuantizationFamily::Standard:
            return example + ", quality " + JpegQualityText(origin.quality);
        case QuantizationFamily::Scaled:
            return example + " times " + ThreeDigits(origin.factor) + ", " + origin.rounding + "; " + nearest;
        case QuantizationFamily::Flat:
            return "flat; " + nearest;
        case QuantizationFamily::Known:
            return origin.name + "; " + nearest;
        case QuantizationFamily::Own:
            break;
    }
    return "own table; " + nearest;
}
