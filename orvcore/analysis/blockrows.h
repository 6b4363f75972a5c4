#pragma once

#include <opencv2/core.hpp>
#include <vector>

// The luminance of a picture as 8x8 DCT coefficients, one row of blocks at a time, for analyses that look at each coefficient once and
// never keep them: nothing of the picture's size is allocated. The picture must outlive it. Reading is safe on several threads.

class BlockRows {
  public:
    // picture: as ComputeLuminance takes it, or luminance itself (CV_32FC1, 0..255). origin: where the grid of blocks begins, each 0..7.
    // Only whole blocks count. Throws ZorException (kind Argument) for another type or an empty picture.
    explicit BlockRows(const cv::Mat& picture, cv::Point origin = {});

    // How many whole blocks there are; none in a picture that is too small.
    cv::Size GetBlocks() const { return m_blocks; }
    cv::Point GetOrigin() const { return m_origin; }

    // The coefficients of one row of blocks (0..height-1) in JPEG's scale (128 taken from the samples): c(u,v) of block b at
    // [v * 8 * width + 8 * b + u]. The buffer is made as large as needed.
    void Read(int row, std::vector<float>& coefficients) const;
    // The samples of that row of blocks, 8 rows of 8 * width.
    void ReadSamples(int row, std::vector<float>& samples) const;

  private:
    cv::Mat m_picture;
    cv::Point m_origin;
    cv::Size m_blocks;
};
