#pragma once

#include <memory>
#include <opencv2/core.hpp>
#include <string>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/camerafingerprint.h"
#include "orvcore/filter/filterresult.h"
#include "orvcore/filter/intermediates.h"

// What filters of pixel analyses share: from what an analysis answers to what a page shows.

// The map with its name, unit and floor; its range is automatic.
OrvMap ToOrvMap(const AnalysisMap& map, const std::string& name, const std::string& unit, OrvRange floor);

// The decision as the filter's verdict. measurement: quantity, digits, unit and rate of false alarms; value and threshold are the
// decision's. Where there is no threshold, or nothing could be measured, the decision's text stands alone.
void JudgeBy(const AnalysisDecision& decision, OrvMeasurement measurement, OrvSlotResult& result);

// "" when header and name say that the picture has at least so many pixels in width and height, otherwise why not.
std::string WhyNotSmallerThan(const OrvLoadedFile& file, int side);

// The picture's noise as camera identification takes it, cleaned, worked out once per file; keeps 8 bytes per pixel.
std::shared_ptr<const CameraResidual> GetCameraResidual(const OrvLoadedFile& file, const OrvJob& job);

// One channel of eight bits: luminance rounded (0), red, green or blue (1 to 3; what there is, of a grey picture).
cv::Mat PlaneOf(const cv::Mat& eightBits, int channel);
// The strings of a parameter that chooses it.
std::vector<std::string> PlaneNames();
