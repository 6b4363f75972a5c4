#pragma once

#include <string>

#include "zorbase/parameter.h"

// The quality setting that a quantization table tells of. Programs built on the common JPEG library scale the
// two example tables of the standard (ITU-T T.81, Annex K) by a factor S of the setting Q = 1..100:
//   S = 5000 / Q for Q < 50, else 200 - 2 Q;   entry = clip((base * S + 50) / 100, 1, 255), all in integers.
// The 100 luminance tables differ from each other, so such a table gives its Q exactly. Cameras and some
// programs use tables of their own: then the nearest Q is an approximation and the deviation says how good.
// Pure functions, safe on any thread.

struct JpegQuality {
    int quality = 0;       // 1..100; 0 when there is no table
    bool isExact = false;  // every entry agrees
    double deviation = 0;  // mean of |entry - entry of the table of that quality|, in quantization steps
};

// The standard table for a quality 1..100 (clamped). With isBaseline entries end at 255, otherwise, for tables
// of 16 bits per entry, at 32767.
QuantizationTable StandardQuantizationTable(int quality, bool isChrominance, bool isBaseline = true);

// The exact quality, otherwise the nearest one by the mean absolute deviation (the higher one of two that are
// equally near). A table that has not 64 values gives quality 0.
JpegQuality EstimateJpegQuality(const QuantizationTable& table, bool isChrominance = false);

// "90", "about 87 (deviation 2.3)", "" for quality 0.
std::string JpegQualityText(const JpegQuality& quality);

// A short name of a set of tables: the first 16 hex digits of the SHA-256 over the entries of all tables in
// the order given, row by row, each as two bytes, high byte first. Table numbers and precision do not count.
// "" without tables.
std::string QuantizationTablesHash(const QuantizationTables& tables);
