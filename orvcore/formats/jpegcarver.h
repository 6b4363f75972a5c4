#pragma once

#include <functional>

#include "zorbase/bytes.h"

// A complete JPEG somewhere in the bytes.
struct CarvedJpeg {
    std::size_t offset = 0;  // of its SOI
    std::size_t size = 0;    // to just past its EOI
    int width = 0;
    int height = 0;
};

// Pictures inside pictures are followed to this depth (a thumbnail in a photograph is depth 2).
constexpr std::size_t kMaxCarveDepth = 8;

// Calls `found` for every complete JPEG in the bytes, by growing offset, those inside others included.
// Complete means what JpegStructure::complete says. Starts without a sound chain of markers up to an EOI are
// passed over. The time is linear in the bytes whatever they are: where a chain broke once, no later one is
// followed through the same marker. `progress` gets the part done, 0..1, and may throw to stop.
void CarveJpegs(ByteSpan bytes, const std::function<void(const CarvedJpeg&)>& found,
                const std::function<void(double)>& progress);
