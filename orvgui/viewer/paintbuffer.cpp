#include "orvgui/viewer/paintbuffer.h"

#include <wx/bitmap.h>
#include <wx/dc.h>
#include <wx/graphics.h>
#include <wx/image.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

// The toolkit draws with cairo on this platform, but every public way from raw pixels to its bitmaps converts them on each
// change, which costs more than the painting. These declarations are cairo's own, unchanged since its version 1.2; its headers
// come with no package that the toolkit's headers need.
extern "C" {
struct _cairo;
struct _cairo_pattern;
_cairo_surface* cairo_image_surface_create_for_data(unsigned char* data, int format, int width, int height,
                                                    int stride);
void cairo_surface_mark_dirty(_cairo_surface* surface);
void cairo_surface_flush(_cairo_surface* surface);
void cairo_surface_finish(_cairo_surface* surface);
void cairo_surface_destroy(_cairo_surface* surface);
void cairo_save(_cairo* context);
void cairo_restore(_cairo* context);
void cairo_set_source_surface(_cairo* context, _cairo_surface* surface, double x, double y);
_cairo_pattern* cairo_get_source(_cairo* context);
void cairo_pattern_set_filter(_cairo_pattern* pattern, int filter);
void cairo_rectangle(_cairo* context, double x, double y, double width, double height);
void cairo_fill(_cairo* context);
}

namespace {

constexpr int kFormatRgb24 = 1;    // CAIRO_FORMAT_RGB24: B, G, R and an unused byte
constexpr int kFilterNearest = 3;  // CAIRO_FILTER_NEAREST

// Device coordinates for as long as it lives.
class DeviceSpace {
  public:
    explicit DeviceSpace(wxDC& dc) : m_dc(dc), m_origin(dc.GetDeviceOrigin()) {
        dc.GetUserScale(&m_scaleX, &m_scaleY);
        dc.SetUserScale(1.0, 1.0);
        dc.SetDeviceOrigin(0, 0);
    }
    ~DeviceSpace() {
        m_dc.SetDeviceOrigin(m_origin.x, m_origin.y);
        m_dc.SetUserScale(m_scaleX, m_scaleY);
    }
    DeviceSpace(const DeviceSpace&) = delete;
    DeviceSpace& operator=(const DeviceSpace&) = delete;

  private:
    wxDC& m_dc;
    wxPoint m_origin;
    double m_scaleX = 1.0;
    double m_scaleY = 1.0;
};

}  // namespace

PaintBuffer::~PaintBuffer() {
    Release();
}

void PaintBuffer::Release() {
    if (m_surface == nullptr) return;
    // Whoever still holds the surface draws nothing from now on instead of reading pixels that are gone.
    cairo_surface_finish(m_surface);
    cairo_surface_destroy(m_surface);
    m_surface = nullptr;
}

void PaintBuffer::Resize(IntPair size) {
    if (size == m_size) return;
    Release();
    m_size = size;
    if (size.x <= 0 || size.y <= 0) {
        m_pixels.clear();
        return;
    }
    const std::size_t stride = static_cast<std::size_t>(size.x) * 4;
    m_pixels.assign(stride * static_cast<std::size_t>(size.y), 0);
    m_surface = cairo_image_surface_create_for_data(m_pixels.data(), kFormatRgb24, size.x, size.y,
                                                    static_cast<int>(stride));
}

ScreenPixels PaintBuffer::Pixels() {
    if (m_surface != nullptr) cairo_surface_flush(m_surface);
    return {m_pixels.data(), static_cast<std::size_t>(m_size.x) * 4};
}

void PaintBuffer::Shift(int dx, int dy) {
    const int width = m_size.x - std::abs(dx);
    const int height = m_size.y - std::abs(dy);
    if (width <= 0 || height <= 0) return;
    const ScreenPixels pixels = Pixels();
    const int fromX = std::max(dx, 0);
    const int toX = std::max(-dx, 0);
    for (int i = 0; i < height; ++i) {
        // Rows in the order in which none is overwritten before it was moved.
        const int row = dy >= 0 ? i : height - 1 - i;
        const std::uint8_t* from =
            pixels.data + static_cast<std::size_t>(row + std::max(dy, 0)) * pixels.stride;
        std::uint8_t* to = pixels.data + static_cast<std::size_t>(row + std::max(-dy, 0)) * pixels.stride;
        std::memmove(to + static_cast<std::size_t>(toX) * 4, from + static_cast<std::size_t>(fromX) * 4,
                     static_cast<std::size_t>(width) * 4);
    }
}

void PaintBuffer::Draw(wxDC& dc, const IntRect& part) {
    if (m_surface == nullptr || part.IsEmpty()) return;
    const DeviceSpace space(dc);
    wxGraphicsContext* graphics = dc.GetGraphicsContext();
    auto* context = graphics ? static_cast<_cairo*>(graphics->GetNativeContext()) : nullptr;
    if (context != nullptr) {
        cairo_surface_mark_dirty(m_surface);
        cairo_save(context);
        cairo_set_source_surface(context, m_surface, 0.0, 0.0);
        cairo_pattern_set_filter(cairo_get_source(context), kFilterNearest);
        cairo_rectangle(context, part.x, part.y, part.width, part.height);
        cairo_fill(context);
        cairo_restore(context);
        return;
    }
    // A context of another kind, such as a printer's.
    wxImage picture(part.width, part.height, false);
    unsigned char* rgb = picture.GetData();
    for (int y = 0; y < part.height; ++y) {
        const std::uint8_t* pixel =
            m_pixels.data() + (static_cast<std::size_t>(part.y + y) * static_cast<std::size_t>(m_size.x) +
                               static_cast<std::size_t>(part.x)) *
                                  4;
        for (int x = 0; x < part.width; ++x, pixel += 4, rgb += 3) {
            rgb[0] = pixel[2];
            rgb[1] = pixel[1];
            rgb[2] = pixel[0];
        }
    }
    dc.DrawBitmap(wxBitmap(picture), part.x, part.y, false);
}
