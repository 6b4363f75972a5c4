#pragma once

#include <cstdint>
#include <span>

#include "orvcore/model/job.h"
#include "zorimage/image.h"

// A small picture of the file's own pixels (never the thumbnail that a file carries, which may show something
// else): 8-bit colour, its longer side at most `side` pixels, as stored, not rotated. A JPEG is decoded
// reduced, other formats whole when they have at most kMaxThumbnailPixels. Invalid when there is none to be
// had. Throws only Aborted.
constexpr double kMaxThumbnailPixels = 50e6;

Image MakeThumbnail(std::span<const std::uint8_t> bytes, int side, const OrvJob& job);

// A picture as 8-bit colour, scaled down (never up) so that its longer side is `side` pixels. The copy keeps none of
// the picture's memory.
Image ShrinkImage(const Image& image, int side);
