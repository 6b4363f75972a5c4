#include "zorimage/image.h"

#include <cstring>
#include <limits>
#include <opencv2/imgproc.hpp>

#include "zorbase/zorexception.h"

namespace {

// Applies `row(y)` to every row, on OpenCV's threads.
template <typename Row>
void ForEachRow(int rows, const Row& row) {
    cv::parallel_for_(cv::Range(0, rows), [&row](const cv::Range& range) {
        for (int y = range.start; y < range.end; ++y) row(y);
    });
}

// v / 257 rounded to the nearest whole number, exact for all 65536 values.
constexpr std::uint8_t ToEightBits(std::uint32_t value) {
    return static_cast<std::uint8_t>((value * 255U + 32895U) >> 16);
}

cv::Mat ReduceToEightBits(const cv::Mat& wide) {
    cv::Mat narrow(wide.rows, wide.cols, CV_MAKETYPE(CV_8U, wide.channels()));
    const std::size_t samples =
        static_cast<std::size_t>(wide.cols) * static_cast<std::size_t>(wide.channels());
    ForEachRow(wide.rows, [&](int y) {
        const std::uint16_t* source = wide.ptr<std::uint16_t>(y);
        std::uint8_t* target = narrow.ptr<std::uint8_t>(y);
        for (std::size_t i = 0; i < samples; ++i) target[i] = ToEightBits(source[i]);
    });
    return narrow;
}

// The grey plane of an 8-bit image with one or two channels.
cv::Mat GreyPlane(const cv::Mat& mat) {
    if (mat.channels() == 1) return mat;
    cv::Mat grey;
    cv::extractChannel(mat, grey, 0);
    return grey;
}

}  // namespace

Image::Image(const cv::Mat& mat) {
    if (mat.empty()) return;
    if (mat.dims != 2) ZOR_THROW(Format, "Only pictures with two dimensions can be shown.");
    if ((mat.depth() != CV_8U && mat.depth() != CV_16U) || mat.channels() > 4) {
        ZOR_THROW(Format, "Only pictures with one to four channels of 8 or 16 bits can be shown.");
    }
    m_mat = mat;
}

Image::Image(const IplImage* image) {
    if (image == nullptr || image->imageData == nullptr) return;
    *this = Image(cv::cvarrToMat(image, true));
}

cv::Mat& Image::EditMat() {
    // A buffer without a count belongs to somebody else and may be shared with anyone.
    const bool isOwn = m_mat.u != nullptr && CV_XADD(&m_mat.u->refcount, 0) == 1;
    if (!m_mat.empty() && !isOwn) m_mat = m_mat.clone();
    return m_mat;
}

IplImage Image::GetIplImage() const {
    if (!IsValid()) return IplImage{};
    const std::uint64_t bytes =
        static_cast<std::uint64_t>(m_mat.step[0]) * static_cast<std::uint64_t>(m_mat.rows);
    if (bytes > static_cast<std::uint64_t>(std::numeric_limits<int>::max())) {
        ZOR_THROW(Memory,
                  "The picture has " + std::to_string(m_mat.cols) + " x " + std::to_string(m_mat.rows) +
                      " pixels: more than 2 GiB, which this function cannot handle. Work on a part of it.");
    }
    return cvIplImage(m_mat);
}

Image Image::Clone() const {
    Image copy;
    copy.m_mat = m_mat.clone();
    return copy;
}

Image Image::ToColor() const {
    if (!IsValid() || m_mat.type() == CV_8UC3) return *this;
    const cv::Mat narrow = m_mat.depth() == CV_16U ? ReduceToEightBits(m_mat) : m_mat;
    Image result;
    switch (narrow.channels()) {
        case 1:
        case 2:
            cv::cvtColor(GreyPlane(narrow), result.m_mat, cv::COLOR_GRAY2BGR);
            break;
        case 3:
            result.m_mat = narrow;
            break;
        default:
            cv::cvtColor(narrow, result.m_mat, cv::COLOR_BGRA2BGR);
            break;
    }
    return result;
}

Image Image::ToGray() const {
    const cv::Mat narrow = m_mat.depth() == CV_16U ? ReduceToEightBits(m_mat) : m_mat;
    Image result;
    if (narrow.channels() <= 2) {
        result.m_mat = GreyPlane(narrow);
        return result;
    }
    // Whole numbers, so that the rounding is exact; the toolkit's own conversion is off by one for some
    // colours.
    cv::Mat grey(narrow.rows, narrow.cols, CV_8UC1);
    const int step = narrow.channels();
    ForEachRow(narrow.rows, [&](int y) {
        const std::uint8_t* source = narrow.ptr<std::uint8_t>(y);
        std::uint8_t* target = grey.ptr<std::uint8_t>(y);
        for (int x = 0; x < grey.cols; ++x, source += step) {
            target[x] = static_cast<std::uint8_t>(
                (114U * source[0] + 587U * source[1] + 299U * source[2] + 500U) / 1000U);
        }
    });
    result.m_mat = grey;
    return result;
}

bool Image::IsEqual(const Image& other) const {
    if (m_mat.rows != other.m_mat.rows || m_mat.cols != other.m_mat.cols) return false;
    if (m_mat.empty()) return true;
    if (m_mat.type() != other.m_mat.type()) return false;
    if (m_mat.data == other.m_mat.data && m_mat.step[0] == other.m_mat.step[0]) return true;
    const std::size_t rowBytes = static_cast<std::size_t>(m_mat.cols) * m_mat.elemSize();
    for (int y = 0; y < m_mat.rows; ++y) {
        if (std::memcmp(m_mat.ptr(y), other.m_mat.ptr(y), rowBytes) != 0) return false;
    }
    return true;
}
