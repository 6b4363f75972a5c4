#pragma once

#include <string>

#include "orvcore/formats/jpegquality.h"

// Where a quantization table comes from, as far as its numbers alone tell. Follows Kornblum, "Using JPEG
// quantization tables to identify imagery processed by software" (2008): tables scaled from the standard's
// example by the common library's integer formula, the same with a third table, tables of one's own. Added
// here: the standard's example scaled by another factor or with another rounding. Pure functions, any thread.

enum class QuantizationFamily {
    None,      // there is no table of 64 values
    Standard,  // exactly the common library's table for a quality 1..100
    Scaled,  // the standard's example times one factor, rounded in some way, and nothing that contradicts it
    Flat,    // all entries equal
    Known,   // an editor's own steps that are listed here
    Own      // none of these: a camera's or a program's own table
};

struct QuantizationOrigin {
    QuantizationFamily family = QuantizationFamily::None;
    bool isChrominance = false;  // which of the standard's two examples fits (nearest, for Own)
    JpegQuality quality;         // exact for Standard, nearest otherwise
    double factor = 0;           // Scaled: of the standard's example, the middle of those that fit
    std::string rounding;        // Scaled: "rounded", "cut off", "rounded up"
    std::string name;            // Known: whose
};

// component: 0 for the table of the first component, which is luminance in most files, 1 for the others; it
// decides between fits that are equally good. Tables of two levels (all 1, say) fit both examples.
QuantizationOrigin FindQuantizationOrigin(const QuantizationTable& table, int component);

// "standard, quality 90", "standard times 0.123, rounded", "own table, nearest quality 87 (deviation 2.3)"...
std::string QuantizationOriginText(const QuantizationOrigin& origin);
