#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "zorbase/zorexception.h"
#include "zorimage/codec.h"

namespace {

// A growing file in memory.
struct Target {
    std::vector<std::uint8_t> bytes;
    std::uint64_t at = 0;
};

Target& TargetOf(thandle_t handle) {
    return *static_cast<Target*>(handle);
}

tmsize_t OnWrite(thandle_t handle, void* data, tmsize_t size) {
    Target& target = TargetOf(handle);
    try {
        const std::uint64_t end = target.at + static_cast<std::uint64_t>(size);
        if (end > target.bytes.size()) target.bytes.resize(end);
        std::memcpy(target.bytes.data() + target.at, data, static_cast<std::size_t>(size));
        target.at = end;
        return size;
    } catch (const std::exception&) {
        return -1;
    }
}

toff_t OnSeek(thandle_t handle, toff_t offset, int whence) {
    Target& target = TargetOf(handle);
    if (whence == SEEK_CUR) offset += target.at;
    if (whence == SEEK_END) offset += target.bytes.size();
    target.at = offset;
    return offset;
}

int KeepQuiet(TIFF*, void*, const char*, const char*, va_list) {
    return 1;
}

struct Closer {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
struct OptionsDeleter {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

void SetFields(TIFF* tiff, const cv::Mat& pixels) {
    const int channels = pixels.channels();
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(pixels.cols));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(pixels.rows));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, pixels.depth() == CV_16U ? 16 : 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, channels);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, channels >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
    if (channels == 2 || channels == 4) {
        const std::uint16_t kind = EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
    }
}

}  // namespace

namespace codec {

std::vector<std::uint8_t> EncodeTiff(const Image& image) {
    Target target;
    const cv::Mat& pixels = image.GetMat();
    const std::unique_ptr<TIFFOpenOptions, OptionsDeleter> options(TIFFOpenOptionsAlloc());
    if (!options) ZOR_THROW(Memory, "The TIFF file could not be made.");
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), KeepQuiet, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), KeepQuiet, nullptr);
    // Offsets of 32 bits end at 4 GiB; LZW may make noise a little larger.
    const std::uint64_t size =
        static_cast<std::uint64_t>(pixels.rows) * static_cast<std::uint64_t>(pixels.cols) * pixels.elemSize();
    const char* mode = size > 2'500'000'000ULL ? "w8" : "w";
    std::unique_ptr<TIFF, Closer> tiff(TIFFClientOpenExt(
        "TIFF", mode, &target, [](thandle_t, void*, tmsize_t) -> tmsize_t { return 0; },  // it only writes
        OnWrite, OnSeek, [](thandle_t) { return 0; },
        [](thandle_t handle) -> toff_t { return TargetOf(handle).bytes.size(); }, nullptr, nullptr,
        options.get()));
    if (!tiff) ZOR_THROW(Memory, "The TIFF file could not be made.");
    SetFields(tiff.get(), pixels);
    cv::Mat row;
    for (int y = 0; y < pixels.rows; ++y) {
        pixels.row(y).copyTo(row);  // the predictor works in place
        if (pixels.channels() == 3) cv::cvtColor(row, row, cv::COLOR_BGR2RGB);
        if (pixels.channels() == 4) cv::cvtColor(row, row, cv::COLOR_BGRA2RGBA);
        if (TIFFWriteScanline(tiff.get(), row.data, static_cast<std::uint32_t>(y), 0) != 1)
            ZOR_THROW(Memory, "The TIFF file could not be made.");
    }
    if (TIFFFlush(tiff.get()) != 1) ZOR_THROW(Memory, "The TIFF file could not be made.");
    tiff.reset();
    return std::move(target.bytes);
}

}  // namespace codec
