#pragma once

#include <cstdint>
#include <vector>

#include "orvgui/viewer/displayresample.h"

class wxDC;
struct _cairo_surface;

// A buffer of screen pixels that is written to directly and reaches the window without a conversion. GUI thread.
class PaintBuffer {
  public:
    PaintBuffer() = default;
    ~PaintBuffer();
    PaintBuffer(const PaintBuffer&) = delete;
    PaintBuffer& operator=(const PaintBuffer&) = delete;

    // Keeps the pixels when the size is the same; otherwise they are undefined.
    void Resize(IntPair size);
    IntPair GetSize() const { return m_size; }
    ScreenPixels Pixels();
    // Moves what is there: pixel (x, y) becomes what was at (x + dx, y + dy). What comes in from outside is undefined.
    void Shift(int dx, int dy);

    // Puts the rectangle `part` of the buffer at the same place of the device context, whatever its origin and scale are.
    void Draw(wxDC& dc, const IntRect& part);
    std::size_t GetMemoryBytes() const { return m_pixels.size(); }

  private:
    void Release();

    IntPair m_size;
    std::vector<std::uint8_t> m_pixels;
    _cairo_surface* m_surface = nullptr;  // over m_pixels
};
