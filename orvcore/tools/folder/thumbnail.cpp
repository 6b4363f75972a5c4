#include "orvcore/tools/folder/thumbnail.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"
#include "zorimage/jpegsession.h"

namespace {

constexpr int kMaxScans = 100;
constexpr double kMaxJpegPixels = 400e6;
constexpr double kMaxProgressivePixels = 100e6;  // the library keeps all their coefficients

// The picture at an eighth, a quarter… of its size, at least `side` where it has so much. A damaged file gives
// what could be decoded, the rest grey.
cv::Mat DecodeReduced(std::span<const std::uint8_t> bytes, int side, const OrvJob& job) {
    const std::function<void(double)> checkAbort = [&job](double) { job.CheckAbort(); };
    JpegReading reading(bytes, &checkAbort);
    reading.maxScans = kMaxScans;
    if (!reading.Run([&] { reading.ReadHeader(); })) return {};
    jpeg_decompress_struct& cinfo = reading.info;
    const double pixels = static_cast<double>(cinfo.image_width) * cinfo.image_height;
    if (pixels > (jpeg_has_multiple_scans(&cinfo) ? kMaxProgressivePixels : kMaxJpegPixels)) return {};
    if (cinfo.jpeg_color_space == JCS_CMYK || cinfo.jpeg_color_space == JCS_YCCK) return {};

    const JDIMENSION longer = std::max(cinfo.image_width, cinfo.image_height);
    cinfo.scale_num = 1;
    cinfo.scale_denom = 8;
    while (cinfo.scale_denom > 1 && longer / cinfo.scale_denom < static_cast<JDIMENSION>(side))
        cinfo.scale_denom /= 2;
    cinfo.out_color_space = JCS_EXT_BGR;
    cinfo.dct_method = JDCT_IFAST;
    cinfo.do_fancy_upsampling = FALSE;
    if (!reading.Run([&] { jpeg_start_decompress(&cinfo); })) return {};

    cv::Mat picture(static_cast<int>(cinfo.output_height), static_cast<int>(cinfo.output_width), CV_8UC3,
                    cv::Scalar::all(128));
    reading.Run([&] {
        while (cinfo.output_scanline < cinfo.output_height && !job.IsAborted()) {
            JSAMPROW row = picture.ptr(static_cast<int>(cinfo.output_scanline));
            jpeg_read_scanlines(&cinfo, &row, 1);
        }
    });
    return picture;
}

cv::Mat DecodeWhole(std::span<const std::uint8_t> bytes, const OrvJob& job) {
    const ImageInfo info = ReadImageInfo(bytes);
    if (!IsReadableFormat(info.format)) return {};
    if (static_cast<double>(info.width) * info.height > kMaxThumbnailPixels) return {};
    try {
        return DecodeImage(bytes, [&job](double) { job.CheckAbort(); }).image.ToColor().GetMat();
    } catch (const std::exception&) {
        job.CheckAbort();
        return {};
    }
}

}  // namespace

Image MakeThumbnail(std::span<const std::uint8_t> bytes, int side, const OrvJob& job) {
    cv::Mat picture;
    if (DetectFormat(bytes) == FileFormat::Jpeg) picture = DecodeReduced(bytes, side, job);
    job.CheckAbort();
    if (picture.empty()) picture = DecodeWhole(bytes, job);
    if (picture.empty()) return {};
    return ShrinkImage(Image(picture), side);
}

Image ShrinkImage(const Image& image, int side) {
    const cv::Mat picture = image.ToColor().GetMat();
    if (picture.empty()) return {};
    const double scale = std::min(1.0, static_cast<double>(side) / std::max(picture.cols, picture.rows));
    cv::Mat small;
    cv::resize(picture, small,
               cv::Size(std::max(1, static_cast<int>(picture.cols * scale + 0.5)),
                        std::max(1, static_cast<int>(picture.rows * scale + 0.5))),
               0, 0, cv::INTER_AREA);
    return Image(small.data == picture.data ? small.clone() : small);
}
