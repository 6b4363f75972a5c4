// A module of its own, see latecodec.h.

#include <libraw/libraw.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <memory>
#include <vector>

#include "zorbase/zorexception.h"
#include "zorimage/latecodec.h"
#include "zorimage/plausibility.h"

namespace {

constexpr const char* kRecipe =
    "Demosaicked (AHD) with the camera's own white balance, sRGB colours and tone curve, 16 bits, no automatic "
    "brightening, clipped highlights, not turned.";

struct Stop {
    const DecodeProgress* progress = nullptr;
    std::exception_ptr stopped;
    bool isDamaged = false;
};

// No maker stores a pixel of a sensor in less than two bits, but programs that make lossy copies (as JPEG) do.
constexpr std::uint64_t kMaxPixelsPerByte = 4;

// The decoder fills what is missing with invented pixels, without a word.
void CheckData(LibRaw& raw, std::size_t fileBytes, std::vector<std::string>& warnings) {
    const libraw_image_sizes_t& sizes = raw.imgdata.sizes;
    libraw_decoder_info_t decoder{};
    if (raw.get_decoder_info(&decoder) == LIBRAW_SUCCESS && decoder.decoder_name != nullptr &&
        std::string(decoder.decoder_name).find("lossy") != std::string::npos)
        return;
    const std::uint64_t pixels = static_cast<std::uint64_t>(sizes.raw_width) * sizes.raw_height;
    if (pixels / kMaxPixelsPerByte > fileBytes)
        warnings.push_back("File ends early: its " + std::to_string(fileBytes) + " bytes cannot hold the " +
                           std::to_string(pixels) +
                           " pixels of the sensor; most of the picture is invented.");
}

int OnProgress(void* user, LibRaw_progress, int iteration, int expected) {
    Stop& stop = *static_cast<Stop*>(user);
    try {
        (*stop.progress)(expected > 0 ? std::clamp(static_cast<double>(iteration) / expected, 0.0, 1.0)
                                      : 0.0);
        return 0;
    } catch (...) {
        stop.stopped = std::current_exception();
        return 1;
    }
}

void Check(int code, const Stop& stop) {
    if (stop.stopped) std::rethrow_exception(stop.stopped);
    if (code == LIBRAW_SUCCESS) return;
    if (code == LIBRAW_UNSUFFICIENT_MEMORY || code == ENOMEM)
        ZOR_THROW(Memory, "There is not enough memory to decode this camera RAW file.");
    ZOR_THROW(Format, std::string("The camera RAW file cannot be decoded: ") + LibRaw::strerror(code) + ".");
}

std::unique_ptr<LibRaw> Open(ByteSpan bytes, Stop& stop) {
    auto raw = std::make_unique<LibRaw>();
    if (stop.progress != nullptr) raw->set_progress_handler(OnProgress, &stop);
    raw->set_dataerror_handler(
        [](void* user, const char*, auto) { static_cast<Stop*>(user)->isDamaged = true; }, &stop);
    Check(raw->open_buffer(const_cast<std::uint8_t*>(bytes.data()), bytes.size()), stop);
    return raw;
}

std::string MosaicText(LibRaw& raw) {
    const libraw_iparams_t& parameters = raw.imgdata.idata;
    if (parameters.filters == 0) return parameters.colors == 1 ? "Grey, no mosaic" : "RGB, no mosaic";
    if (parameters.filters == 9) return "X-Trans mosaic";
    if (parameters.filters < 1000) return "Mosaic";
    std::string text = "Bayer mosaic (";
    for (int row = 0; row < 2; ++row) {
        for (int column = 0; column < 2; ++column) text += parameters.cdesc[raw.COLOR(row, column) & 3];
    }
    return text + ')';
}

using codec::CheckPlausible;
using codec::NewPixels;

void ReadInfo(ByteSpan bytes, ImageInfo& info) {
    info.recipe = kRecipe;
    Stop stop;
    const std::unique_ptr<LibRaw> raw = Open(bytes, stop);
    CheckData(*raw, bytes.size(), info.warnings);
    info.width = raw->imgdata.sizes.width;
    info.height = raw->imgdata.sizes.height;
    info.bitsPerSample = static_cast<int>(raw->imgdata.color.raw_bps);
    info.channels = raw->imgdata.idata.filters != 0 ? 1 : raw->imgdata.idata.colors;
    info.frames = std::max(1, static_cast<int>(raw->imgdata.idata.raw_count));
    info.colourModel = MosaicText(*raw);
    libraw_decoder_info_t decoder{};
    if (raw->get_decoder_info(&decoder) == LIBRAW_SUCCESS && decoder.decoder_name != nullptr) {
        const std::string name = decoder.decoder_name;
        const bool isLossless =
            name.find("jpeg") != std::string::npos || name.find("lossless") != std::string::npos;
        const bool isPacked = name.find("packed") != std::string::npos;
        info.compression = isPacked ? "none" : isLossless ? "JPEG lossless" : "camera maker's";
    }
}

DecodedImage Decode(ByteSpan bytes, const DecodeProgress& progress) {
    Stop stop;
    stop.progress = &progress;
    const std::string cut = CutProblem(bytes);
    // Of a file that ends within a block of Panasonic's, the library takes the rest of the block from memory that nothing has written: the
    // same file gave other pixels each time.
    std::vector<std::uint8_t> padded;
    if (!cut.empty() && bytes.size() > 4 && std::memcmp(bytes.data(), "IIU", 4) == 0) {
        constexpr std::size_t kBlock = 0x4000;
        padded.assign(bytes.begin(), bytes.end());
        padded.resize(bytes.size() + 2 * kBlock);
    }
    const std::unique_ptr<LibRaw> raw = Open(padded.empty() ? bytes : ByteSpan(padded), stop);
    const libraw_image_sizes_t& sizes = raw->imgdata.sizes;
    // What the sensor gave, four colours of every pixel, and the picture: 2 + 8 + 6 bytes.
    CheckPlausible(std::max(sizes.raw_width, sizes.width), std::max(sizes.raw_height, sizes.height),
                   bytes.size(), 16);
    libraw_output_params_t& parameters = raw->imgdata.params;
    parameters.use_camera_wb = 1;
    parameters.no_auto_bright = 1;
    parameters.output_bps = 16;
    parameters.output_color = 1;
    parameters.gamm[0] = 1 / 2.4;
    parameters.gamm[1] = 12.92;
    parameters.user_flip = 0;
    parameters.user_qual = 3;
    parameters.highlight = 0;
    Check(raw->unpack(), stop);
    Check(raw->dcraw_process(), stop);
    int width = 0;
    int height = 0;
    int colours = 0;
    int bits = 0;
    raw->get_mem_image_format(&width, &height, &colours, &bits);
    if (width <= 0 || height <= 0 || bits != 16 || (colours != 1 && colours != 3)) {
        ZOR_THROW(Format, "The camera RAW file cannot be decoded: its colours are not understood.");
    }
    cv::Mat pixels = NewPixels(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height),
                               CV_MAKETYPE(CV_16U, colours));
    Check(raw->copy_mem_image(pixels.data, static_cast<int>(pixels.step[0]), 1), stop);
    DecodedImage result;
    CheckData(*raw, bytes.size(), result.warnings);
    if (!cut.empty()) result.warnings.push_back(cut);
    if (stop.isDamaged)
        result.warnings.emplace_back(
            "The sensor's data are damaged or end early; pixels there are invented.");
    if ((raw->imgdata.process_warnings & LIBRAW_WARN_BAD_CAMERA_WB) != 0) {
        result.warnings.emplace_back("The camera's white balance is missing; daylight was taken.");
    }
    result.image = Image(pixels);
    return result;
}

std::string Version() {
    return LibRaw::version();
}

}  // namespace

ZORIMAGE_LATE_CODEC(ReadInfo, Decode, Version)
