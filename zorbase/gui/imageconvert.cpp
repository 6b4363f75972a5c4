#include "zorbase/gui/imageconvert.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <opencv2/imgproc.hpp>

namespace {

// Rows converted at a time where an 8-bit version is needed in between: it stays in the cache.
constexpr int kStripRows = 64;

void ToRgb(const cv::Mat& source, cv::Mat rgb) {
    switch (source.channels()) {
        case 1:
            cv::cvtColor(source, rgb, cv::COLOR_GRAY2RGB);
            break;
        case 2: {
            constexpr int kFromTo[] = {0, 0, 0, 1, 0, 2};
            cv::mixChannels(&source, 1, &rgb, 1, kFromTo, 3);
            break;
        }
        case 3:
            cv::cvtColor(source, rgb, cv::COLOR_BGR2RGB);
            break;
        default:
            cv::cvtColor(source, rgb, cv::COLOR_BGRA2RGB);
            break;
    }
}

bool MatToWxImage(const cv::Mat& source, wxImage& out) {
    out.Destroy();
    const bool isKnown = (source.depth() == CV_8U || source.depth() == CV_16U) && source.channels() <= 4;
    if (source.empty() || source.dims != 2 || !isKnown) return false;
    // The toolkit computes the size of its buffer as an int.
    if (std::int64_t{source.cols} * source.rows > std::numeric_limits<int>::max() / 3) return false;
    if (!out.Create(source.cols, source.rows, false)) return false;

    cv::Mat rgb(source.rows, source.cols, CV_8UC3, out.GetData());
    if (source.depth() == CV_8U) {
        ToRgb(source, rgb);
        return true;
    }
    cv::Mat narrow;
    for (int row = 0; row < source.rows; row += kStripRows) {
        const int end = std::min(row + kStripRows, source.rows);
        // No 16-bit number divided by 257 ends in one half, so rounding has no ties.
        source.rowRange(row, end).convertTo(narrow, CV_8U, 1.0 / 257);
        ToRgb(narrow, rgb.rowRange(row, end));
    }
    return true;
}

}  // namespace

bool IplImageToWxImage(const IplImage* image, wxImage& out) {
    out.Destroy();
    if (image == nullptr || image->imageData == nullptr || image->width <= 0 || image->height <= 0)
        return false;
    const bool isWide = image->depth == IPL_DEPTH_16U;
    if ((!isWide && image->depth != IPL_DEPTH_8U) || image->nChannels < 1 || image->nChannels > 4)
        return false;
    if (image->dataOrder != IPL_DATA_ORDER_PIXEL) return false;
    const std::int64_t rowBytes = std::int64_t{image->width} * image->nChannels * (isWide ? 2 : 1);
    if (image->widthStep < rowBytes) return false;

    const cv::Mat source(image->height, image->width, CV_MAKETYPE(isWide ? CV_16U : CV_8U, image->nChannels),
                         image->imageData, static_cast<std::size_t>(image->widthStep));
    if (!MatToWxImage(source, out)) return false;
    if (image->origin == IPL_ORIGIN_BL) out = out.Mirror(false);
    return true;
}

bool IplImageToWxImage(const cv::Mat& image, wxImage& out) {
    return MatToWxImage(image, out);
}
