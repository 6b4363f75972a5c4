#include "orvcore/formats/jpegquality.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "zorbase/hash.h"
#include "zorbase/text.h"

namespace {

constexpr std::size_t kEntries = 64;

// The standard's example tables, row by row.
constexpr std::array<int, kEntries> kLuminance = {16, 11, 10, 16, 24,  40,  51,  61,   //
                                                  12, 12, 14, 19, 26,  58,  60,  55,   //
                                                  14, 13, 16, 24, 40,  57,  69,  56,   //
                                                  14, 17, 22, 29, 51,  87,  80,  62,   //
                                                  18, 22, 37, 56, 68,  109, 103, 77,   //
                                                  24, 35, 55, 64, 81,  104, 113, 92,   //
                                                  49, 64, 78, 87, 103, 121, 120, 101,  //
                                                  72, 92, 95, 98, 112, 100, 103, 99};
constexpr std::array<int, kEntries> kChrominance = {17, 18, 24, 47, 99, 99, 99, 99,  //
                                                    18, 21, 26, 66, 99, 99, 99, 99,  //
                                                    24, 26, 56, 99, 99, 99, 99, 99,  //
                                                    47, 66, 99, 99, 99, 99, 99, 99,  //
                                                    99, 99, 99, 99, 99, 99, 99, 99,  //
                                                    99, 99, 99, 99, 99, 99, 99, 99,  //
                                                    99, 99, 99, 99, 99, 99, 99, 99,  //
                                                    99, 99, 99, 99, 99, 99, 99, 99};

int Entry(const std::array<int, kEntries>& base, std::size_t i, int quality, int largest) {
    const int scale = quality < 50 ? 5000 / quality : 200 - 2 * quality;
    return std::clamp((base[i] * scale + 50) / 100, 1, largest);
}

}  // namespace

QuantizationTable StandardQuantizationTable(int quality, bool isChrominance, bool isBaseline) {
    QuantizationTable table;
    table.id = isChrominance ? 1 : 0;
    table.precision = isBaseline ? 8 : 16;
    const int clamped = std::clamp(quality, 1, 100);
    for (std::size_t i = 0; i < kEntries; ++i)
        table.values.push_back(static_cast<std::uint16_t>(
            Entry(isChrominance ? kChrominance : kLuminance, i, clamped, isBaseline ? 255 : 32767)));
    return table;
}

JpegQuality EstimateJpegQuality(const QuantizationTable& table, bool isChrominance) {
    JpegQuality best;
    if (table.values.size() != kEntries) return best;
    const auto& base = isChrominance ? kChrominance : kLuminance;
    long nearest = -1;
    // A table of 16 bits per entry may have been limited to 8 bits all the same.
    for (const int largest : {255, 32767}) {
        if (largest > 255 && table.precision == 8) continue;
        for (int quality = 100; quality >= 1; --quality) {
            long sum = 0;
            for (std::size_t i = 0; i < kEntries; ++i)
                sum += std::abs(static_cast<int>(table.values[i]) - Entry(base, i, quality, largest));
            if (nearest >= 0 && sum >= nearest) continue;
            nearest = sum;
            best.quality = quality;
        }
    }
    best.isExact = nearest == 0;
    best.deviation = static_cast<double>(nearest) / static_cast<double>(kEntries);
    return best;
}

std::string JpegQualityText(const JpegQuality& quality) {
    if (quality.quality == 0) return {};
    if (quality.isExact) return ToString(quality.quality);
    // Through whole tenths: the decimal sign must not follow the user's language.
    const int tenths = static_cast<int>(std::lround(quality.deviation * 10.0));
    return "about " + ToString(quality.quality) + " (deviation " + ToString(tenths / 10) + "." +
           ToString(tenths % 10) + ")";
}

std::string QuantizationTablesHash(const QuantizationTables& tables) {
    if (tables.empty()) return {};
    std::string bytes;
    for (const QuantizationTable& table : tables)
        for (const std::uint16_t value : table.values) {
            bytes += static_cast<char>(value >> 8);
            bytes += static_cast<char>(value & 0xFF);
        }
    return Sha256(bytes).substr(0, 16);
}
