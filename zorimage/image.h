#pragma once

#include <opencv2/core/core_c.h>
#include <opencv2/core.hpp>

#include <cstdint>

// An image over a reference-counted OpenCV buffer: 1 grey, 2 grey + alpha, 3 colour (B, G, R in memory) or 4 colour + alpha
// channels of 8 or 16 bits. Copying an Image shares the buffer; whoever wants to write asks EditMat, which copies first when
// the buffer is shared. So a shared buffer never changes, and images may be handed between threads.
class Image {
  public:
    Image() = default;

    // Takes the buffer (shared, not copied). The caller must not write to it any more. Throws ZorException (kind Format) for
    // other depths or channel counts, and for matrices that are not two-dimensional.
    explicit Image(const cv::Mat& mat);
    // A deep copy of an OpenCV C image; empty for null.
    explicit Image(const IplImage* image);

    bool IsValid() const { return !m_mat.empty(); }
    int GetWidth() const { return m_mat.cols; }
    int GetHeight() const { return m_mat.rows; }
    int GetChannels() const { return m_mat.empty() ? 0 : m_mat.channels(); }
    int GetDepth() const {
        return m_mat.empty() ? 0 : (m_mat.depth() == CV_16U ? 16 : 8);
    }  // bits per sample
    CvSize GetSize() const { return cvSize(m_mat.cols, m_mat.rows); }

    const cv::Mat& GetMat() const { return m_mat; }
    cv::Mat& EditMat();

    // A header over the same pixels, valid while this image lives and is not edited. Throws ZorException (kind Memory) with a
    // clear text for images of 2 GiB or more, which such a header cannot describe.
    IplImage GetIplImage() const;

    Image Clone() const;
    // 8-bit three-channel version; shares the buffer when the image is that already. 16 bits become 8 by rounding v / 257.
    Image ToColor() const;
    // 8-bit one-channel luminance, 0.299 R + 0.587 G + 0.114 B rounded.
    Image ToGray() const;
    void Reset() { m_mat.release(); }

    // Same size, type and pixels.
    bool IsEqual(const Image& other) const;

  private:
    cv::Mat m_mat;
};
