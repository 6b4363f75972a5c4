#include "orvcore/analysis/blockrows.h"

#include <algorithm>
#include <cstring>

#include "orvcore/analysis/blockdct.h"
#include "orvcore/analysis/luminance.h"
#include "zorbase/zorexception.h"

BlockRows::BlockRows(const cv::Mat& picture, cv::Point origin) : m_picture(picture), m_origin(origin) {
    const bool isLuminance = picture.type() == CV_32FC1;
    if (picture.empty() || picture.dims != 2 ||
        (!isLuminance &&
         ((picture.depth() != CV_8U && picture.depth() != CV_16U) || picture.channels() > 4))) {
        ZOR_THROW(Argument, "Blocks need a picture of 8 or 16 bits per channel, or its luminance.");
    }
    CV_Assert(origin.x >= 0 && origin.x < kBlockSide && origin.y >= 0 && origin.y < kBlockSide);
    m_blocks = cv::Size(std::max(picture.cols - origin.x, 0) / kBlockSide,
                        std::max(picture.rows - origin.y, 0) / kBlockSide);
    if (m_blocks.empty()) m_blocks = cv::Size();
}

void BlockRows::ReadSamples(int row, std::vector<float>& samples) const {
    const auto width = static_cast<std::size_t>(m_blocks.width) * kBlockSide;
    samples.resize(width * kBlockSide);
    for (int y = 0; y < kBlockSide; ++y) {
        const int from = m_origin.y + kBlockSide * row + y;
        float* target = samples.data() + width * static_cast<std::size_t>(y);
        if (m_picture.depth() == CV_32F) {
            std::memcpy(target, m_picture.ptr<float>(from) + m_origin.x, width * sizeof(float));
        } else {
            // Only the columns that are in whole blocks, so that the row fits.
            ComputeLuminanceRow(m_picture.colRange(m_origin.x, m_origin.x + static_cast<int>(width)), from,
                                target);
        }
    }
}

void BlockRows::Read(int row, std::vector<float>& coefficients) const {
    ReadSamples(row, coefficients);
    const auto width = static_cast<std::size_t>(m_blocks.width) * kBlockSide;
    ForwardBlockDct(coefficients.data(), width, coefficients.data(), width, m_blocks.width, 128.0F);
}
