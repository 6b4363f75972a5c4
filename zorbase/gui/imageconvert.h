#pragma once

#include <opencv2/core/core_c.h>
#include <wx/image.h>

#include <opencv2/core.hpp>

// An 8-bit RGB picture of an image of 8 or 16 unsigned bits: 1 channel is grey, 2 grey + alpha, 3 B G R, 4 B
// G R + alpha. Alpha is not shown; 16 bits become 8 by rounding v / 257. False, and an invalid picture, for
// null, for an image without pixels, of another kind, or too large for the toolkit (2 GiB as RGB). Any
// thread: the toolkit's image needs no display.
bool IplImageToWxImage(const IplImage* image, wxImage& out);
bool IplImageToWxImage(const cv::Mat& image, wxImage& out);
