#pragma once

#include <optional>
#include <string>
#include <vector>

#include "orvgui/viewer/windowproperties.h"

// The arithmetic of zoom, scrolling and coordinates, without a window. Four spaces occur:
//   image point    pixels of the image, origin at its top left pixel;
//   window point   pixels of a canvas's client area;
//   device point   pixels of the whole zoomed picture: window point plus the scroll position in pixels. An
//   image pixel p
//                  covers the device pixels from (p + offset) * zoom on;
//   scroll units   of scrollRate device pixels.
// Sizes are IntPairs of width and height. Nothing here divides by a zoom or a side of 0.

struct IntRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool operator==(const IntRect&) const = default;
    bool IsEmpty() const { return width <= 0 || height <= 0; }
};

// Nearest whole number, ties to even; and the whole part. Values beyond an int give its bounds, not-a-number
// gives 0.
int RoundToInt(double value);
int TruncateToInt(double value);

// The zoom steps in percent, ascending.
const std::vector<double>& DefaultZoomPercents();
// Index of the step nearest to percent; a tie goes to the larger step, and -1 when every step is farther than
// 3200 away.
int NearestZoomId(const std::vector<double>& percents, double percent);
// The zoom (1 = 100 %) `step` steps from the one nearest to zoom; -1.0 when there is none.
double StepZoom(const std::vector<double>& percents, double zoom, int step);

// What was typed into the zoom field: "150", "150%", "1.5x" or "fit" in any letter case.
struct ZoomEntry {
    bool fit = false;
    double zoom = 0.0;  // 1 = 100 %, between the limits, both inclusive; when fit is false
};
std::optional<ZoomEntry> ParseZoomText(const std::string& text, double lowerLimit, double upperLimit);
// "66.7", "100", "0.333": percent as the field shows it.
std::string ZoomPercentText(double zoom);

// The largest zoom at which the whole image fits into the client area; 0 for an image without pixels.
double FitZoom(IntPair client, IntPair image);

// The first zoom after changing between a small image (both sides under 200 pixels) and a larger one fits the
// image into the window, whatever was asked for. Remembers whether the last zoomed image was small.
class SmallImageRule {
  public:
    // The zoom to use in place of `zoom`.
    double Apply(IntPair image, double zoom, double fitZoom);
    void Reset() { m_small = false; }

  private:
    bool m_small = false;
};

// Screen pixels per scroll unit: the zoom rounded up.
int ScrollRateForZoom(double zoom);
// Size of the zoomed image in device pixels, truncated.
IntPair ZoomedSize(IntPair image, double zoom, double verticalZoom);
// Scroll position at which the centre's relative place in the image becomes the relative scroll position.
// lines and page: the scroll range and the visible part of it, in scroll units.
IntPair ScrollForCentre(IntPair lines, IntPair page, IntPair centre, IntPair image);
// Image pixels left of and above an image that is smaller than the client area.
IntPair CentringOffset(IntPair client, IntPair image, double zoom);
// The bands around a smaller image, in device pixels: below, above, left, right. The bands below and right
// reach past the window's edge on purpose.
std::vector<IntRect> BorderBands(IntPair client, IntPair image, IntPair offset, double zoom);

// What is left of a horizontal or vertical line along one axis when everything farther than a margin outside visible (begin to
// end) is cut off; the beginning is moved by whole periods of the line's pattern, so that the rest looks as before.
struct LineSpan {
    double begin = 0.0;
    double end = 0.0;
    bool operator==(const LineSpan&) const = default;
};
LineSpan ClipPatternedLine(LineSpan line, LineSpan visible, double period);

// The image point under a window point; not clipped, negative left of the image.
IntPair ImagePointAt(IntPair windowPoint, IntPair scrollPixels, double zoom, IntPair offset);
// Brings a point into 0..width, 0..height (both ends inclusive, so (w, h) is inside); true when it was moved.
bool ClipPoint(int& x, int& y, IntPair image);
// Whether the point names a pixel.
bool IsPixel(IntPair point, IntPair image);

// The device pixels on which a scaled bitmap of `length` image pixels at `offset` is seen: those whose centre
// lies on it.
struct DeviceRange {
    int begin = 0;
    int end = 0;  // exclusive
};
DeviceRange PaintedRange(int offset, int length, double zoom);
// The image pixel that a device pixel of that range shows when pixels stay hard squares.
int PixelUnderDevice(int device, int offset, int length, double zoom);

// Thumbnail size of the navigator: 120 pixels wide, of the image's aspect ratio.
IntPair NavigatorSize(IntPair image);
// The size that its window takes: never empty, and of limited height for sliver images.
IntPair NavigatorWindowSize(IntPair image);

// What a canvas shows, as the navigator needs to know it.
struct ShownView {
    IntPair image;
    IntPair client;     // of the canvas
    IntPair viewStart;  // scroll units
    IntPair offset;     // image pixels
    double zoom = 0.0;
    int scrollRate = 1;
};
// The visible part on a navigator of that client size, both ends inclusive; nothing when the image fits into
// the canvas.
struct NavigatorMark {
    int left = 0, top = 0, right = 0, bottom = 0;
    bool Contains(int x, int y) const { return x >= left && x <= right && y >= top && y <= bottom; }
};
std::optional<NavigatorMark> MarkOnNavigator(const ShownView& view, IntPair navigator);
// The scroll position, in scroll units and not negative, that centres the image point under a point of the
// navigator.
IntPair ScrollForNavigatorPoint(const ShownView& view, IntPair navigator, IntPair point);
