#pragma once

#include <memory>
#include <opencv2/core.hpp>

#include "orvcore/formats/jpegcoefficients.h"
#include "orvcore/formats/jpegstructure.h"
#include "orvcore/formats/metadata.h"
#include "orvcore/model/loadedfile.h"

// What several filters need of a file, worked out once per file and set of parameters and shared by all of them (see
// OrvLoadedFile::GetShared), within the memory budget. Any thread; an aborted one is made again by the next caller. The values never
// change: whoever writes copies first. Hold what is returned while it is in use. job's progress runs once from 0 to 1 where something
// has to be made: give it a Piece of the filter's own.

// How much memory a matrix holds.
inline std::size_t BytesOfMat(const cv::Mat& mat) {
    return mat.total() * mat.elemSize();
}

// --- the file ---

// Of any file; isJpeg is false for what is none.
std::shared_ptr<const JpegStructure> GetJpegStructure(const OrvLoadedFile& file);

// Everything that the metadata library and our own scan say. Throws what ReadMetadata throws.
std::shared_ptr<const MetadataSet> GetMetadata(const OrvLoadedFile& file);

// The file's own quantised coefficients and steps, all components. Throws what ReadJpegCoefficients throws: kind Format for what is no
// JPEG.
std::shared_ptr<const JpegCoefficients> GetJpegCoefficients(const OrvLoadedFile& file, const OrvJob& job);

// --- the picture; all throw what GetDecoded throws, and ZorException (kind Format) when nothing of it could be decoded ---

// 8 bits, one channel (grey) or three (B, G, R), without alpha: what JPEG and most block methods take. Shares the decoded picture
// where it is that already.
cv::Mat GetEightBits(const OrvLoadedFile& file, const OrvJob& job);

// The picture as it was decoded: 8 or 16 bits, 1 to 4 channels (grey, grey + alpha, B G R, B G R + alpha). Errors as above.
cv::Mat GetSamples(const OrvLoadedFile& file, const OrvJob& job);
// CV_8UC1: luminance rounded to a level (see Image::ToGray).
cv::Mat GetGrey(const OrvLoadedFile& file, const OrvJob& job);

// CV_32FC1, 0..255, not rounded (see orvcore/analysis/luminance.h).
cv::Mat GetLuminance(const OrvLoadedFile& file, const OrvJob& job);

// The 8x8 DCT of luminance less 128 on the grid that starts at `origin` (each 0..7), CV_32FC1 (see orvcore/analysis/blockdct.h).
cv::Mat GetBlockDct(const OrvLoadedFile& file, cv::Point origin, const OrvJob& job);

// The wavelet noise residual of luminance, CV_32FC1, levels (see orvcore/analysis/waveletresidual.h).
cv::Mat GetNoiseResidual(const OrvLoadedFile& file, double sigma, const OrvJob& job);
