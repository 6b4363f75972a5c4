#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <opencv2/imgproc.hpp>

// The library's header needs the ones above.
#include <jpeglib.h>

#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

cv::Mat Sharpened(const cv::Mat& image, double amount, double radius) {
    cv::Mat blurred;
    cv::GaussianBlur(image, blurred, {}, radius);
    cv::Mat sharp;
    cv::addWeighted(image, 1.0 + amount, blurred, -amount, 0.0, sharp);
    return sharp;
}

cv::Mat ToBytes(const cv::Mat& image) {
    cv::Mat bytes;
    image.convertTo(bytes, CV_8U);
    return bytes;
}

int Flag(PhotoInterpolation interpolation) {
    switch (interpolation) {
        case PhotoInterpolation::Nearest:
            return cv::INTER_NEAREST;
        case PhotoInterpolation::Bilinear:
            return cv::INTER_LINEAR;
        case PhotoInterpolation::Area:
            return cv::INTER_AREA;
        default:
            return cv::INTER_CUBIC;
    }
}

ForgedPhoto WithPart(const cv::Mat& photo, const cv::Rect& part, const cv::Mat& replaced) {
    ForgedPhoto forged{photo.clone(), cv::Mat::zeros(photo.size(), CV_8U)};
    replaced.copyTo(forged.image(part));
    forged.mask(part).setTo(255);
    return forged;
}

struct JpegWriter {
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    std::jmp_buf jump{};
    unsigned char* data = nullptr;  // by malloc
    unsigned long size = 0;

    JpegWriter() = default;
    JpegWriter(const JpegWriter&) = delete;
    JpegWriter& operator=(const JpegWriter&) = delete;
    ~JpegWriter() {
        jpeg_destroy_compress(&info);
        std::free(data);
    }
};

// Only plain data between setjmp and the library.
bool WriteJpeg(JpegWriter& writer, const cv::Mat& image, int quality, int across, int down) {
    writer.info.err = jpeg_std_error(&writer.errors);
    writer.info.client_data = &writer;
    writer.errors.error_exit = [](j_common_ptr info) {
        std::longjmp(static_cast<JpegWriter*>(info->client_data)->jump, 1);
    };
    if (setjmp(writer.jump) != 0) return false;  // NOLINT: the library's way to report errors
    jpeg_create_compress(&writer.info);
    jpeg_mem_dest(&writer.info, &writer.data, &writer.size);
    writer.info.image_width = static_cast<JDIMENSION>(image.cols);
    writer.info.image_height = static_cast<JDIMENSION>(image.rows);
    writer.info.input_components = image.channels();
    writer.info.in_color_space = image.channels() == 1 ? JCS_GRAYSCALE : JCS_EXT_BGR;
    jpeg_set_defaults(&writer.info);
    jpeg_set_quality(&writer.info, quality, TRUE);
    writer.info.dct_method = JDCT_ISLOW;
    if (image.channels() == 3) {
        writer.info.comp_info[0].h_samp_factor = across;
        writer.info.comp_info[0].v_samp_factor = down;
    }
    jpeg_start_compress(&writer.info, TRUE);
    while (writer.info.next_scanline < writer.info.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(image.ptr(static_cast<int>(writer.info.next_scanline)));
        jpeg_write_scanlines(&writer.info, &row, 1);
    }
    jpeg_finish_compress(&writer.info);
    return true;
}

}  // namespace

std::vector<std::uint8_t> SaveJpeg(const cv::Mat& image, int quality, PhotoSubsampling subsampling) {
    JpegWriter writer;
    if (!WriteJpeg(writer, image, quality, subsampling == PhotoSubsampling::None ? 1 : 2,
                   subsampling == PhotoSubsampling::Both ? 2 : 1)) {
        ZOR_THROW(Argument, "The picture could not be saved as JPEG.");
    }
    return {writer.data, writer.data + writer.size};
}

cv::Mat LoadJpeg(const std::vector<std::uint8_t>& file) {
    return DecodeImage(file).image.GetMat().clone();
}

cv::Mat ThroughJpeg(const cv::Mat& image, int quality, PhotoSubsampling subsampling) {
    return LoadJpeg(SaveJpeg(image, quality, subsampling));
}

cv::Mat ResizePhoto(const cv::Mat& image, double factor, PhotoInterpolation interpolation) {
    const cv::Size size(std::max(cvRound(image.cols * factor), 1), std::max(cvRound(image.rows * factor), 1));
    cv::Mat resized;
    cv::resize(image, resized, size, 0, 0, Flag(interpolation));
    return resized;
}

cv::Mat RotatePhoto(const cv::Mat& image, double degrees, PhotoInterpolation interpolation) {
    const cv::Point2f middle(static_cast<float>(image.cols - 1) / 2, static_cast<float>(image.rows - 1) / 2);
    cv::Mat rotated;
    cv::warpAffine(image, rotated, cv::getRotationMatrix2D(middle, degrees, 1.0), image.size(),
                   Flag(interpolation), cv::BORDER_REFLECT_101);
    return rotated;
}

cv::Mat SharpenPhoto(const cv::Mat& image, double amount, double radius) {
    cv::Mat light;
    image.convertTo(light, CV_32F);
    return ToBytes(Sharpened(light, amount, radius));
}

cv::Mat DenoisePhoto(const cv::Mat& image, double range) {
    cv::Mat smooth;
    cv::bilateralFilter(image, smooth, 7, range, 2.0);
    return smooth;
}

cv::Mat AddNoise(const cv::Mat& image, double sigma, std::uint64_t seed) {
    cv::RNG random = SeededRandom(seed, 102);
    cv::Mat noise(image.size(), CV_32FC(image.channels()));
    random.fill(noise, cv::RNG::NORMAL, 0.0, sigma);
    cv::Mat sum;
    cv::add(image, noise, sum, cv::noArray(), CV_32F);
    return ToBytes(sum);
}

std::vector<std::uint8_t> SendByMessenger(const cv::Mat& photo, int longestSide) {
    cv::Mat sent = ThroughJpeg(photo, 92, PhotoSubsampling::Both);
    const int longest = std::max(sent.cols, sent.rows);
    if (longest > longestSide)
        sent = ResizePhoto(sent, static_cast<double>(longestSide) / longest, PhotoInterpolation::Area);
    return SaveJpeg(sent, 75, PhotoSubsampling::Both);
}

ForgedPhoto CopyMove(const cv::Mat& photo, const cv::Rect& source, cv::Point targetCentre, double degrees,
                     double scale) {
    const cv::Point2f from(static_cast<float>(source.x) + static_cast<float>(source.width - 1) / 2,
                           static_cast<float>(source.y) + static_cast<float>(source.height - 1) / 2);
    cv::Mat move = cv::getRotationMatrix2D(from, degrees, scale);
    move.at<double>(0, 2) += targetCentre.x - from.x;
    move.at<double>(1, 2) += targetCentre.y - from.y;
    cv::Mat shape = cv::Mat::zeros(photo.size(), CV_8U);
    cv::ellipse(shape, cv::Point(from), cv::Size((source.width - 1) / 2, (source.height - 1) / 2), 0, 0, 360,
                cv::Scalar(255), cv::FILLED);
    const bool isShift = degrees == 0.0 && scale == 1.0;
    cv::Mat movedShape;
    cv::Mat movedPhoto;
    cv::warpAffine(shape, movedShape, move, photo.size(), cv::INTER_NEAREST);
    cv::warpAffine(photo, movedPhoto, move, photo.size(), isShift ? cv::INTER_NEAREST : cv::INTER_CUBIC,
                   cv::BORDER_REFLECT_101);
    cv::Mat weight;
    cv::GaussianBlur(movedShape, weight, {5, 5}, 1.0);
    ForgedPhoto forged{photo.clone(), cv::Mat::zeros(photo.size(), CV_8U)};
    for (int y = 0; y < photo.rows; ++y) {
        for (int x = 0; x < photo.cols; ++x) {
            const int w = weight.at<std::uint8_t>(y, x);
            cv::Vec3b& pixel = forged.image.at<cv::Vec3b>(y, x);
            const cv::Vec3b& moved = movedPhoto.at<cv::Vec3b>(y, x);
            for (int c = 0; c < 3; ++c)
                pixel[c] = static_cast<std::uint8_t>((w * moved[c] + (255 - w) * pixel[c] + 127) / 255);
        }
    }
    forged.mask.setTo(128, shape);
    forged.mask.setTo(255, movedShape);
    return forged;
}

ForgedPhoto Splice(const cv::Mat& photo, const cv::Rect& part, const cv::Mat& other, cv::Point from) {
    return WithPart(photo, part, other(cv::Rect(from, part.size())));
}

ForgedPhoto SpliceNoise(const cv::Mat& photo, const cv::Rect& part, double sigma, std::uint64_t seed) {
    return WithPart(photo, part, AddNoise(photo(part), sigma, seed));
}

ForgedPhoto SpliceResampled(const cv::Mat& photo, const cv::Rect& part, double factor, double degrees,
                            PhotoInterpolation interpolation) {
    const cv::Point2f middle(static_cast<float>(part.x) + static_cast<float>(part.width) / 2,
                             static_cast<float>(part.y) + static_cast<float>(part.height) / 2);
    cv::Mat warped;
    cv::warpAffine(photo, warped, cv::getRotationMatrix2D(middle, degrees, factor), photo.size(),
                   Flag(interpolation), cv::BORDER_REFLECT_101);
    return WithPart(photo, part, warped(part));
}

ForgedPhoto SpliceMedian(const cv::Mat& photo, const cv::Rect& part, int side) {
    cv::Mat smooth;
    cv::medianBlur(photo, smooth, side);
    return WithPart(photo, part, smooth(part));
}

ForgedPhoto SpliceBlurred(const cv::Mat& photo, const cv::Rect& part, double sigma) {
    cv::Mat smooth;
    cv::GaussianBlur(photo, smooth, {}, sigma);
    return WithPart(photo, part, smooth(part));
}

ForgedPhoto SpliceNeverSaved(const cv::Mat& photo, const cv::Rect& part, int firstQuality) {
    return WithPart(ThroughJpeg(photo, firstQuality), part, photo(part));
}

ForgedPhoto SpliceSaved(const cv::Mat& photo, const cv::Rect& part, int partQuality) {
    return WithPart(photo, part, ThroughJpeg(photo, partQuality)(part));
}

ForgedPhoto SpliceMisaligned(const cv::Mat& photo, const cv::Rect& part, int quality, cv::Point shift) {
    const cv::Mat saved = ThroughJpeg(photo, quality);
    const cv::Rect inside = cv::Rect(part.tl() + shift, part.size()) & cv::Rect({}, photo.size());
    if (inside.size() != part.size()) ZOR_THROW(Argument, "The moved part leaves the picture.");
    return WithPart(saved, part, saved(inside));
}

double AreaUnderCurve(const cv::Mat& score, const cv::Mat& truth) {
    std::vector<std::pair<float, bool>> values;
    double forged = 0;
    double untouched = 0;
    for (int y = 0; y < score.rows; ++y) {
        for (int x = 0; x < score.cols; ++x) {
            const float value = score.at<float>(y, x);
            if (std::isnan(value)) continue;
            const int place = truth.at<std::uint8_t>(y, x);
            if (place == 128) continue;
            const bool isForged = place != 0;
            values.emplace_back(value, isForged);
            (isForged ? forged : untouched) += 1;
        }
    }
    if (forged == 0 || untouched == 0) return 0.5;
    std::sort(values.begin(), values.end());
    double below = 0;
    double area = 0;
    for (std::size_t i = 0; i < values.size();) {
        double tiedForged = 0;
        double tiedUntouched = 0;
        const float value = values[i].first;
        for (; i < values.size() && values[i].first == value; ++i)
            (values[i].second ? tiedForged : tiedUntouched) += 1;
        area += tiedForged * (below + tiedUntouched / 2);
        below += tiedUntouched;
    }
    return area / (forged * untouched);
}

cv::Mat MaskOnBlocks(const cv::Mat& mask, cv::Size blocks, cv::Size blockSize, cv::Point origin,
                     cv::Size step) {
    if (step.empty()) step = blockSize;
    cv::Mat result(blocks, CV_8U, cv::Scalar(128));
    for (int y = 0; y < blocks.height; ++y) {
        for (int x = 0; x < blocks.width; ++x) {
            const cv::Rect block = cv::Rect(origin.x + x * step.width, origin.y + y * step.height,
                                            blockSize.width, blockSize.height) &
                                   cv::Rect({}, mask.size());
            if (block.empty()) continue;
            double lowest = 0;
            double highest = 0;
            cv::minMaxLoc(mask(block), &lowest, &highest);
            if (lowest == 255) result.at<std::uint8_t>(y, x) = 255;
            if (highest < 255) result.at<std::uint8_t>(y, x) = 0;
        }
    }
    return result;
}
