#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orvcore/formats/qpdfheaders.h"
#include "zorbase/files.h"
#include "zorimage/image.h"

// How an image dictionary says its samples are to be understood.
struct PdfSampling {
    enum class Model { Grey, Rgb, Cmyk, Indexed, Ink, Other };
    int width = 0;
    int height = 0;
    int bits = 8;                     // per component: 1, 2, 4, 8 or 16
    int components = 1;               // as stored: 1 for Indexed and Ink
    Model model = Model::Grey;        // Ink: one colorant, full is dark
    Model paletteModel = Model::Rgb;  // of Indexed
    Bytes palette;                    // of Indexed
    std::vector<double> decode;       // pairs, empty for the usual ones
    std::string problem;              // a sentence when the image cannot be converted

    std::size_t RowBytes() const;
    std::size_t DataBytes() const { return RowBytes() * static_cast<std::size_t>(height); }
};

// Reads the dictionary. Never throws on what it says; the problem tells. What the library throws for damaged objects passes through.
PdfSampling ReadPdfSampling(QPDFObjectHandle dictionary);

// The picture of unpacked samples (rows padded to bytes): 8 bits, 16 for 16-bit grey and RGB. Missing samples at the end are zero.
Image PdfSamplesToImage(const PdfSampling& sampling, const Bytes& samples);
