#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "zorbase/files.h"
#include "zorimage/imageio.h"

// Small picture files for the tests of this library.
namespace samples {

// 16 x 8, grey value 16 x + y, without loss.
extern const Bytes kGreyJp2;
extern const Bytes kGreyJ2k;
// 16 x 8, R = 16 x, G = 32 y, B = 128, with loss. The AVIF file asks to be turned by 90 degrees.
extern const Bytes kColourHeic;
extern const Bytes kTurnedAvif;
extern const Bytes kProgressiveJpeg;
extern const Bytes kArithmeticJpeg;
// 8 x 8, C 100, M 50, Y 0, K 51 of 255, with an Adobe segment.
extern const Bytes kInkJpeg;
// Two frames without loss; the first is the colour picture above.
extern const Bytes kAnimatedWebp;

// A picture with edges, slopes and some noise; channels 1 to 4, depth 8 or 16.
Image MakeScene(int width, int height, int channels, int depth = 8);
// The grey and the colour picture that the files above show.
Image GreySlope();
Image ColourSlope();

void Append16(Bytes& bytes, std::uint32_t value);  // little-endian
void Append32(Bytes& bytes, std::uint32_t value);
void AppendText(Bytes& bytes, const std::string& text);
Bytes operator+(Bytes a, const Bytes& b);

// A BMP file: file header, the given second header with what follows it, then the pixels.
Bytes MakeBmp(const Bytes& headerAndPalette, const Bytes& pixels);
// A Windows header of 40 bytes.
Bytes BmpHeader(int width, int height, int bits, std::uint32_t compression, std::uint32_t colours = 0);

// A GIF file of one picture: palette of four greys (0, 85, 170, 255), pixel values 0..3, uncompressed LZW.
Bytes MakeGif(int width, int height, const std::vector<int>& pixels, bool isInterlaced, int transparent = -1);

// A camera RAW file (DNG) with a Bayer mosaic of 16 bits.
Bytes MakeDng(int width, int height);

// Inserts a JPEG segment behind the start mark.
Bytes WithJpegSegment(const Bytes& jpeg, int marker, const Bytes& body);
// An ICC profile with nothing but a header and a description tag with this body.
Bytes MakeProfile(const Bytes& descriptionTag);

// Every format once, named by extension, small.
std::vector<std::pair<std::string, Bytes>> OneOfEach();

}  // namespace samples
