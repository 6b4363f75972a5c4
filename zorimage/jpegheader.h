#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace codec {

// What the segments of a JPEG file before its first scan say. Spans point into the file's bytes.
struct JpegHeader {
    struct Component {
        int id = 0;
        int horizontal = 0;  // sampling factors as stored, 0..15
        int vertical = 0;
    };
    int frameMarker = 0;  // 0xc0..0xcf, 0 when there is none
    int precision = 0;
    int width = 0;
    int height = 0;
    std::vector<Component> components;
    bool hasJfif = false;
    int adobeTransform = -1;                               // -1 without Adobe segment
    std::vector<std::span<const std::uint8_t>> iccChunks;  // segment bodies, label included, in file order
    int indexedPictures = 0;                               // by the multi-picture index, 0 without one
    bool hasScan = false;
    bool hasGarbage = false;
};

enum class JpegColour { Other, Grey, YCbCr, Rgb, Cmyk, Ycck };

// Never throws but for memory; stops at the first scan and at the first segment that does not fit into the
// file.
JpegHeader ReadJpegHeader(std::span<const std::uint8_t> bytes);

// The colour model by the rules that decoders share: JFIF, then the Adobe segment, then the component
// identifiers.
JpegColour JpegColourOf(const JpegHeader& header);

}  // namespace codec
