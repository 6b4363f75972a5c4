#pragma once

#include <opencv2/core.hpp>

#include "orvcore/analysis/parallel.h"

// The last hundredths of a pixel of a registration: a model moved until the levels fit best (Lucas and Kanade, "An Iterative
// Image Registration Technique", IJCAI 1981; brightness and contrast free as in Evangelidis and Psarakis, IEEE TPAMI 30(10),
// 2008).

enum class Freedom : int { Shift, Affine, Projective };  // 2, 6, 8 parameters

struct Alignment {
    cv::Matx33d model = cv::Matx33d::eye();  // reference -> evidence, pixel centres, element (2, 2) is 1
    double correlation = -1;                 // of the smoothed levels where both have some, -1..1
    int rounds = 0;
};

// evidence and reference: CV_8UC1; both are smoothed by 1.2 pixels first. start: as the result's model, right to a few pixels.
// Gauss-Newton steps on at most about 200,000 evenly spread pixels, those that miss by much counting less (what was changed must
// not pull); ends when no corner moves by 0.003 pixels, or after 40 rounds. The correlation is -1 when less than 1 % of the
// evidence is covered. Single-threaded; progress between rounds.
Alignment Align(const cv::Mat& evidence, const cv::Mat& reference, const cv::Matx33d& start, Freedom freedom,
                const AnalysisProgress& progress = {});

// The correlation of the levels under a model as above, of the nearest pixels; -1 when less than leastOverlap of the evidence is
// covered.
double CorrelationUnder(const cv::Mat& evidence, const cv::Mat& reference, const cv::Matx33d& model,
                        double leastOverlap);
