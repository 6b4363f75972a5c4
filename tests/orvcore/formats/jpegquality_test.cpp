#include "orvcore/formats/jpegquality.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
// The library's header needs the one above.
#include <jpeglib.h>

namespace {

// The table that the JPEG library itself makes, row by row.
QuantizationTable LibraryTable(int quality, bool isChrominance, bool isBaseline) {
    jpeg_error_mgr errors;
    jpeg_compress_struct compressor;
    compressor.err = jpeg_std_error(&errors);
    jpeg_create_compress(&compressor);
    compressor.in_color_space = JCS_RGB;
    compressor.input_components = 3;
    jpeg_set_defaults(&compressor);
    jpeg_set_quality(&compressor, quality, isBaseline ? TRUE : FALSE);
    QuantizationTable table;
    table.precision = isBaseline ? 8 : 16;
    const JQUANT_TBL& made = *compressor.quant_tbl_ptrs[isChrominance ? 1 : 0];
    table.values.assign(made.quantval, made.quantval + 64);
    jpeg_destroy_compress(&compressor);
    return table;
}

}  // namespace

TEST(JpegQuality, EveryTableOfTheLibraryGivesItsSettingBack) {
    std::set<std::vector<std::uint16_t>> luminance;
    for (int quality = 1; quality <= 100; ++quality) {
        for (const bool isBaseline : {true, false}) {
            for (const bool isChrominance : {false, true}) {
                const QuantizationTable table = LibraryTable(quality, isChrominance, isBaseline);
                EXPECT_EQ(table.values, StandardQuantizationTable(quality, isChrominance, isBaseline).values);
                const JpegQuality estimate = EstimateJpegQuality(table, isChrominance);
                EXPECT_TRUE(estimate.isExact) << quality;
                EXPECT_EQ(estimate.deviation, 0);
                // Chrominance tables of neighbouring low settings are the same: all entries are at the limit.
                if (!isChrominance) {
                    EXPECT_EQ(estimate.quality, quality);
                } else {
                    EXPECT_EQ(table.values,
                              StandardQuantizationTable(estimate.quality, true, isBaseline).values);
                }
            }
        }
        luminance.insert(LibraryTable(quality, false, true).values);
    }
    EXPECT_EQ(luminance.size(), 100U);
}

TEST(JpegQuality, ForeignTablesGiveTheNearestSettingAndHowFarItIs) {
    QuantizationTable table = StandardQuantizationTable(87, false);
    table.values[5] = static_cast<std::uint16_t>(table.values[5] + 16);
    const JpegQuality estimate = EstimateJpegQuality(table);
    EXPECT_EQ(estimate.quality, 87);
    EXPECT_FALSE(estimate.isExact);
    EXPECT_DOUBLE_EQ(estimate.deviation, 0.25);
    EXPECT_EQ(JpegQualityText(estimate), "about 87 (deviation 0.3)");

    table.values.assign(64, 1);
    EXPECT_EQ(JpegQualityText(EstimateJpegQuality(table)), "100");
    table.values.assign(64, 65535);
    EXPECT_EQ(EstimateJpegQuality(table).quality, 1);
    // A 16-bit table that was limited to 8 bits.
    table = StandardQuantizationTable(3, false);
    table.precision = 16;
    EXPECT_EQ(JpegQualityText(EstimateJpegQuality(table)), "3");

    table.values.pop_back();
    EXPECT_EQ(EstimateJpegQuality(table).quality, 0);
    EXPECT_EQ(JpegQualityText(EstimateJpegQuality(table)), "");
}

TEST(JpegQuality, TheNameOfTablesDependsOnEveryEntryAndTheirOrder) {
    const QuantizationTable luminance = StandardQuantizationTable(75, false);
    const QuantizationTable chrominance = StandardQuantizationTable(75, true);
    QuantizationTable changed = luminance;
    changed.values[63] ^= 1;
    QuantizationTable renumbered = luminance;
    renumbered.id = 3;
    std::set<std::string> names = {QuantizationTablesHash({luminance}), QuantizationTablesHash({changed}),
                                   QuantizationTablesHash({luminance, chrominance}),
                                   QuantizationTablesHash({chrominance, luminance})};
    EXPECT_EQ(names.size(), 4U);
    EXPECT_EQ(QuantizationTablesHash({luminance}), QuantizationTablesHash({renumbered}));
    EXPECT_EQ(QuantizationTablesHash({luminance}).size(), 16U);
    EXPECT_EQ(QuantizationTablesHash({}), "");
}
