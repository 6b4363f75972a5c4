#pragma once

// A whole-number point or size, in the unit that the field's comment names.
struct IntPair {
    int x = 0;  // or width
    int y = 0;  // or height
    bool operator==(const IntPair&) const = default;
};

// The one record of zoom and view that all canvases share; because they share it, two canvases shown side by
// side stay in step. Owned by the main frame. GUI thread only. A plain value: it decides nothing, the canvas
// does.
//
// Right after Init no zoom is accepted (zoomMax is 0) until SetZoomMinMax has run.
class WindowProperties {
  public:
    WindowProperties() { Init(); }
    void Init();

    // The largest accepted zoom becomes the upper limit, the smallest 0: a zoom of exactly 0 is stored, and
    // nothing of the image is painted then.
    void SetZoomMinMax();
    // Both bounds are inclusive; not a number is never accepted.
    bool IsZoomAccepted(double zoom) const { return zoom >= zoomMin && zoom <= zoomMax; }

    void SetImageSize(int width, int height);
    bool IsImageSizeChanged() const { return !(previousImageSize == imageSize); }

    // Zoom in the vertical direction for a horizontal one.
    double VerticalZoom(double horizontalZoom) const {
        return verticalRatio == 0.0 ? horizontalZoom : horizontalZoom / verticalRatio;
    }

    double zoom;            // screen pixels per image pixel; -1 means that none has been chosen yet
    double reserved;        // kept in the record, not read
    double zoomLowerLimit;  // kept in the record; SetZoomMinMax does not use it
    double zoomUpperLimit;
    double zoomMin;             // smallest zoom that a canvas accepts
    double zoomMax;             // largest zoom that a canvas accepts
    IntPair previousImageSize;  // image pixels, before the last SetImageSize
    IntPair imageSize;          // image pixels; the larger width and height of images shown side by side
    IntPair offset;             // image pixels: centres an image smaller than the window
    int scrollRate;             // screen pixels per scroll unit: the zoom rounded up
    double verticalRatio;       // the vertical zoom is zoom divided by this, when it is not 0
    int splitMode;              // view mode last given to WindowSplit, -1 at start
    int viewChoiceCount;        // entries of the view choice when the view was last configured, -1 at start
    bool syncViews;             // two canvases are shown side by side and follow each other
    IntPair zoomCentre;         // image point on which the last zoom was centred
    IntPair scrollPosition;     // scroll units, after the last zoom, scroll or pan
};
