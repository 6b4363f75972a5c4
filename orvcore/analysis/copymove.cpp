#include "orvcore/analysis/copymove.h"

#include "orvcore/analysis/pixelrows.h"

CopyMoveResult BeginCopySearch(const cv::Mat& picture) {
    constexpr int kLeastSide = 64;
    CheckPicture(picture);
    CopyMoveResult result;
    if (picture.cols < kLeastSide || picture.rows < kLeastSide) {
        result.whyNot = "The picture is smaller than 64 x 64 pixels.";
        return result;
    }
    result.map = cv::Mat::zeros(picture.size(), CV_8U);
    result.mask = cv::Mat::zeros(picture.size(), CV_8U);
    return result;
}
