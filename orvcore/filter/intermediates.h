#pragma once

#include <memory>
#include <opencv2/core.hpp>

#include "orvcore/formats/jpegstructure.h"
#include "orvcore/formats/metadata.h"
#include "orvcore/model/loadedfile.h"

// What several filters need of a file, worked out once per file and set of parameters and shared by all of them (see
// OrvLoadedFile::GetShared). Any thread; an aborted one is made again by the next caller. The values never change: whoever writes
// copies first. Hold the pointer while the value is in use.

// How much memory a matrix holds.
inline std::size_t BytesOfMat(const cv::Mat& mat) {
    return mat.total() * mat.elemSize();
}

// Of any file; isJpeg is false for what is none.
std::shared_ptr<const JpegStructure> GetJpegStructure(const OrvLoadedFile& file);

// Everything that the metadata library and our own scan say. Throws what ReadMetadata throws.
std::shared_ptr<const MetadataSet> GetMetadata(const OrvLoadedFile& file);

// The picture as 8 bits, one channel (grey) or three (B, G, R), without alpha: what JPEG and most block methods take. Shares the
// decoded picture where it is that already. Throws what GetDecoded throws, and ZorException (kind Format) when nothing of the
// picture could be decoded.
cv::Mat GetEightBits(const OrvLoadedFile& file, const OrvJob& job);

// The picture as it was decoded: 8 or 16 bits, 1 to 4 channels (grey, grey + alpha, B G R, B G R + alpha). Errors as above.
cv::Mat GetSamples(const OrvLoadedFile& file, const OrvJob& job);
