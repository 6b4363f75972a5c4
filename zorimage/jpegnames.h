#pragma once

#include <cstdint>
#include <span>
#include <string>

// The words for what a JPEG's frame header says, for every reader of it.

// "Baseline DCT, Huffman" for the second byte of a frame marker; "Unknown" for any other.
std::string JpegProcessName(std::uint8_t marker);

struct JpegSampling {
    int horizontal = 0;  // as stored, 1..4 in a sound file
    int vertical = 0;
};
// "4:2:0", "4:4:4"… for luminance, two alike of chrominance, and black if there is, where there is a usual word, otherwise the
// factors as "3x1,1x1,1x1"; "" without components.
std::string JpegSamplingName(std::span<const JpegSampling> components);
