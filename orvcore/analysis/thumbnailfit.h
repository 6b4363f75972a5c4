#pragma once

#include <opencv2/core.hpp>

#include "orvcore/analysis/parallel.h"

// Whether a small picture that a file carries (thumbnail, preview) shows what its main picture shows (after Kee and Farid, "Digital
// Image Authentication from Thumbnails", SPIE Media Forensics and Security II, 2010): the main picture is turned, cut and
// reduced until it fits, then both are compared place by place.

struct ThumbnailFit {
    bool isFound = false;     // the main picture's scene was found in the small picture
    double correlation = -1;  // of the two luminances in the best placing, -1..1
    int turn = 0;             // degrees clockwise by which the main picture is turned to fit: 0, 90, 180, 270
    bool isMirrored = false;  // left to right, before turning
    cv::Rect content;         // of the small picture without the bars of a letter box
    // What of the turned main picture the content shows, as shares of its width and height: (0, 0, 1, 1) for all of it; beyond these
    // the small picture shows more than the main one.
    cv::Rect2d shown;
    double gain = 1;  // small = gain * main + offset, in levels of 8 bits, without what differs most
    double offset = 0;
    double meanDifference = 0;  // after that fit, levels of luminance
    double disagreement = 0;    // of the window that differs most, 0: same, 1: nothing in common
    cv::Rect worst;             // that window, in pixels of the small picture
    double changedShare = 0;    // of the windows: disagreement beyond kThumbnailChanged, 0..1
    cv::Mat main;               // CV_8UC3, the main picture brought to the small one's size and place
    cv::Mat difference;         // CV_32FC1 of that size: |difference| of luminance after the fit, levels
    cv::Mat mask;  // CV_8U: 255 where there is nothing to compare (bars, beyond the main picture)
};

// Windows of kThumbnailWindow pixels in the square count as changed beyond this disagreement: the sum of squared differences
// over the sum of both variances with a floor for flat parts.
constexpr int kThumbnailWindow = 16;
constexpr double kThumbnailChanged = 0.5;
// The scene counts as found from this correlation on.
constexpr double kThumbnailFound = 0.8;

// main and small: 8 bits, 1 or 3 channels (B, G, R). The small picture has 16 x 16 pixels at least, and 640 in its longer side at
// most (reduce it before): ZorException (kind Argument) otherwise. Turns by right angles, mirroring, bars at two opposite sides,
// and cuts of either picture down to three tenths of the other are found. Memory: little beside the main picture.
ThumbnailFit FitThumbnail(const cv::Mat& main, const cv::Mat& small, const AnalysisProgress& progress = {});
