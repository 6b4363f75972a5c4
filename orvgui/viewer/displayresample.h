#pragma once

#include <opencv2/core.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "orvgui/viewer/viewgeometry.h"

// From image pixels to screen pixels, without a window. A source is a matrix of 1 to 4 channels of 8 or 16 bits (grey, grey and
// alpha, BGR, BGR and alpha); the screen takes four bytes per pixel: B, G, R and one that means nothing. Alpha is not shown,
// 16 bits become 8 by rounding v / 257. Everything is safe on any thread.

// Red, green and blue, 0..255, as the screen shows the pixel. The point must be on the image.
struct DisplayColour {
    int red = -1;
    int green = -1;
    int blue = -1;
};
DisplayColour DisplayColourAt(const cv::Mat& image, int x, int y);

// Rows of the source as 8-bit BGR, converted only where the source is something else. Not shared between threads.
class BgrRows {
  public:
    explicit BgrRows(const cv::Mat& source);
    // Bytes per pixel of what Row gives: 3, or 4 where the source has alpha.
    int PixelBytes() const { return m_pixelBytes; }
    // Row y; pixels firstX up to lastX (exclusive) are valid. The pointer is good until the third call with another row.
    const std::uint8_t* Row(int y, int firstX, int lastX);

  private:
    static constexpr int kKept = 4;
    const cv::Mat& m_source;
    int m_pixelBytes;
    bool m_isDirect;
    int m_keptRow[kKept] = {-1, -1, -1, -1};
    std::unique_ptr<std::uint8_t[]> m_rows;
};

// Where screen pixels go: `stride` bytes from row to row.
struct ScreenPixels {
    std::uint8_t* data = nullptr;
    std::size_t stride = 0;
};

// How a source lies under the screen. A source pixel is `scale` image pixels wide (1 for the image itself, 2 for the copy
// halved once); `image` is the size of the image in image pixels; `origin` is the device point of screen pixel (0, 0).
struct ResampleView {
    double zoom = 1.0;
    IntPair image;
    IntPair offset;
    IntPair origin;
    int scale = 1;
};

// Fills the rectangle `part` of the screen, which must lie within what the image paints there.
// Hard squares: each screen pixel shows the image pixel under its centre.
void ResampleNearest(const cv::Mat& source, const ResampleView& view, const IntRect& part,
                     ScreenPixels screen);
// The average over the area that each screen pixel covers; exact for scale 1, weights to 1/256. A screen pixel may cover at
// most two source pixels in each direction (zoom * scale at least 0.5).
void ResampleAverage(const cv::Mat& source, const ResampleView& view, const IntRect& part,
                     ScreenPixels screen);

// One halving: each pixel of the result is the rounded mean of 2 x 2 source pixels, of what there is of them at an odd edge.
// The source is 8-bit BGR or anything else that BgrRows reads; the result 8-bit BGR.
cv::Mat HalveImage(const cv::Mat& source);
