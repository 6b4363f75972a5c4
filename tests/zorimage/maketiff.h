#pragma once

#include <functional>

#include "tests/zorimage/samples.h"

namespace samples {

// A level that tells its place: below 256 for small pictures of three samples.
int LevelOf(int x, int y, int sample);

// How an uncompressed TIFF file stores its pixels.
struct TiffLayout {
    int width = 5;
    int height = 8;
    int bits = 8;  // 1 to 32; 16, 24 and 32 in the file's order, others packed from the highest bit on
    int samples = 1;
    int photometric = 1;          // 0 and 1 grey, 2 RGB, 3 palette, 5 ink, 6 luminance and chroma
    std::vector<int> extra = {};  // kinds: 0 unspecified, 1 and 2 alpha
    bool isPlanar = false;
    int stripRows = 8;
    int compression = 1;
    int tileWidth = 0;  // tiles in place of strips
    int tileHeight = 0;
    bool isBigEndian = false;
    int format = 0;                           // of the samples; 0 not told
    std::vector<std::uint32_t> palette = {};  // all reds, greens, blues
    std::vector<std::uint32_t> subsampling = {};
    // The stored value; by default the level, 257 times as high in 16 bits.
    std::function<std::uint32_t(int x, int y, int sample)> value = {};
    bool isEmpty = false;  // no pixels are written, whatever the sides say
};

// The file; its directory stands behind the pixels, and the lists of offsets and sizes behind them before it.
Bytes MakeTiff(const TiffLayout& layout);

}  // namespace samples
