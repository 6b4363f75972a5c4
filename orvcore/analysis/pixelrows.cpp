#include "orvcore/analysis/pixelrows.h"

#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/luminance.h"
#include "zorbase/zorexception.h"

namespace {

double LevelScale(const cv::Mat& rows) {
    return rows.depth() == CV_16U ? 1.0 / 257.0 : 1.0;
}

cv::Mat FloatGrey(const cv::Mat& rows) {
    cv::Mat grey = rows;
    if (rows.channels() == 2) cv::extractChannel(rows, grey, 0);
    cv::Mat levels;
    grey.convertTo(levels, CV_32F, LevelScale(rows));
    return levels;
}

}  // namespace

void CheckPicture(const cv::Mat& picture) {
    if (picture.empty() || picture.dims != 2) ZOR_THROW(Argument, "There is no picture to look at.");
    if ((picture.depth() != CV_8U && picture.depth() != CV_16U) || picture.channels() > 4) {
        ZOR_THROW(Argument, "The picture must have 8 or 16 bits per sample and at most four channels.");
    }
}

cv::Mat FloatColour(const cv::Mat& rows) {
    cv::Mat colour;
    if (!HasColour(rows)) {
        cv::cvtColor(FloatGrey(rows), colour, cv::COLOR_GRAY2BGR);
        return colour;
    }
    cv::Mat three = rows;
    if (rows.channels() == 4) cv::cvtColor(rows, three, cv::COLOR_BGRA2BGR);
    three.convertTo(colour, CV_32F, LevelScale(rows));
    return colour;
}

cv::Mat FloatLuminance(const cv::Mat& rows) {
    cv::Mat luminance(rows.rows, rows.cols, CV_32FC1);
    for (int y = 0; y < rows.rows; ++y) ComputeLuminanceRow(rows, y, luminance.ptr<float>(y));
    return luminance;
}

cv::Mat RoundedLuminance(const cv::Mat& picture, const AnalysisProgress& progress) {
    constexpr int kStripRows = 64;
    cv::Mat luminance(picture.size(), CV_8U);
    ForEachStrip(picture.rows, kStripRows, progress, [&](int first, int end) {
        cv::Mat target = luminance.rowRange(first, end);
        FloatLuminance(picture.rowRange(first, end)).convertTo(target, CV_8U);
    });
    return luminance;
}
