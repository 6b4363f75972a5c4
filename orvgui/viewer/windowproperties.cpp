#include "orvgui/viewer/windowproperties.h"

void WindowProperties::Init() {
    zoom = -1.0;
    reserved = 0.0;
    zoomLowerLimit = 1e-8;
    zoomUpperLimit = 128.0;
    zoomMin = 0.0;
    zoomMax = 0.0;
    previousImageSize = {};
    imageSize = {};
    offset = {};
    scrollRate = 1;
    verticalRatio = 1.0;
    splitMode = -1;
    viewChoiceCount = -1;
    syncViews = false;
    zoomCentre = {};
    scrollPosition = {};
}

void WindowProperties::SetZoomMinMax() {
    zoomMax = zoomUpperLimit;
    zoomMin = 0.0;
}

void WindowProperties::SetImageSize(int width, int height) {
    previousImageSize = imageSize;
    imageSize = {width, height};
}
