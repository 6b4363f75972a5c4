// A module of its own, see latecodec.h.

#include <libheif/heif.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <string_view>

#include "zorbase/zorexception.h"
#include "zorimage/latecodec.h"

namespace {

struct ContextDeleter {
    void operator()(heif_context* context) const { heif_context_free(context); }
};
struct HandleDeleter {
    void operator()(heif_image_handle* handle) const { heif_image_handle_release(handle); }
};
struct ImageDeleter {
    void operator()(heif_image* image) const { heif_image_release(image); }
};
struct OptionsDeleter {
    void operator()(heif_decoding_options* options) const { heif_decoding_options_free(options); }
};
using Context = std::unique_ptr<heif_context, ContextDeleter>;
using Handle = std::unique_ptr<heif_image_handle, HandleDeleter>;

void Check(const heif_error& error) {
    if (error.code == heif_error_Ok) return;
    std::string text = error.message == nullptr ? "unknown error" : error.message;
    // Some of the library's messages are lines.
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    std::replace(text.begin(), text.end(), '\n', ' ');
    if (error.code == heif_error_Memory_allocation_error) {
        ZOR_THROW(Memory, "The file needs more memory than is allowed or to be had: " + text + ".");
    }
    ZOR_THROW(Format, "The file cannot be decoded: " + text + (text.ends_with('.') ? "" : "."));
}

// The bytes must outlive the context.
Context Open(ByteSpan bytes) {
    Context context(heif_context_alloc());
    if (!context) ZOR_THROW(Memory, "There is not enough memory to decode this file.");
    Check(heif_context_read_from_memory_without_copy(context.get(), bytes.data(), bytes.size(), nullptr));
    return context;
}

Handle Primary(const Context& context) {
    heif_image_handle* handle = nullptr;
    Check(heif_context_get_primary_image_handle(context.get(), &handle));
    return Handle(handle);
}

// The body of the first box of that name below bytes, which are boxes; empty when there is none.
ByteSpan FindBox(ByteSpan bytes, std::string_view name, std::size_t& at) {
    while (bytes.size() - std::min(at, bytes.size()) >= 8) {
        std::size_t body = 0;
        std::size_t end = 0;
        if (!codec::ReadBox(bytes, at, bytes.size(), body, end)) break;
        const std::size_t here = at;
        at = end;
        if (codec::HasText(bytes, here + 4, name)) return bytes.subspan(body, end - body);
    }
    at = bytes.size();
    return {};
}

ByteSpan FirstBox(ByteSpan bytes, std::string_view name) {
    std::size_t at = 0;
    return FindBox(bytes, name, at);
}

// The richest chroma of the coded pictures in the file: 0 grey, 1 4:2:0, 2 4:2:2, 3 4:4:4; -1 when not told.
// The poorer ones are masks and alpha planes.
int ChromaOf(ByteSpan bytes) {
    const ByteSpan meta = FirstBox(bytes, "meta");
    if (meta.size() < 4) return -1;
    const ByteSpan properties = FirstBox(FirstBox(meta.subspan(4), "iprp"), "ipco");
    int chroma = -1;
    for (std::size_t at = 0; at < properties.size();) {
        const ByteSpan body = FindBox(properties, "hvcC", at);
        if (body.size() > 16) chroma = std::max(chroma, body[16] & 3);
    }
    for (std::size_t at = 0; at < properties.size();) {
        const ByteSpan body = FindBox(properties, "av1C", at);
        if (body.size() < 3) continue;
        const bool isGrey = (body[2] & 0x10) != 0;
        const bool isHalfWidth = (body[2] & 0x08) != 0;
        const bool isHalfHeight = (body[2] & 0x04) != 0;
        chroma = std::max(chroma, isGrey ? 0 : isHalfHeight ? 1 : isHalfWidth ? 2 : 3);
    }
    return chroma;
}

std::string ColourText(int chroma, bool hasAlpha) {
    const char* text = chroma == 0   ? "Grey"
                       : chroma == 1 ? "YCbCr 4:2:0"
                       : chroma == 2 ? "YCbCr 4:2:2"
                       : chroma == 3 ? "YCbCr 4:4:4"
                                     : "YCbCr";
    return std::string(text) + (hasAlpha ? " + alpha" : "");
}

// The library multiplies in 32 bits when it converts colours, and the tiles of a picture may claim another
// size than its headers: no side may be longer than the stated ones, and a square of the longest must be
// safe.
void LimitSides(const Context& context, const Handle& handle, bool isDeep, std::size_t fileBytes) {
    const int width = heif_image_handle_get_ispe_width(handle.get());
    const int height = heif_image_handle_get_ispe_height(handle.get());
    // What is coded, as luminance and chroma of half the size mostly, then as colours, and the picture.
    codec::CheckPlausible(static_cast<std::uint64_t>(std::max(width, 0)),
                          static_cast<std::uint64_t>(std::max(height, 0)), fileBytes, isDeep ? 16 : 8);
    const int side = std::max(width, height);
    const int most = isDeep ? 16383 : 23169;
    if (side > most) {
        ZOR_THROW(Memory, "The file says that its picture has " + std::to_string(width) + " x " +
                              std::to_string(height) + " pixels; no side may be longer than " +
                              std::to_string(most) + " in this format.");
    }
    heif_context_set_maximum_image_size_limit(context.get(),
                                              std::max(side, 4096) + 1);  // the limit itself is refused
}

void CopyRows(const std::uint8_t* source, std::size_t stride, int bits, cv::Mat& pixels,
              const DecodeProgress& progress) {
    const int code = pixels.channels() == 4 ? cv::COLOR_RGBA2BGRA : cv::COLOR_RGB2BGR;
    const double scale = bits > 8 ? 65535.0 / ((1 << bits) - 1) : 1.0;
    for (int y = 0; y < pixels.rows; ++y) {
        const cv::Mat row(1, pixels.cols, pixels.type(),
                          const_cast<std::uint8_t*>(source + static_cast<std::size_t>(y) * stride));
        cv::Mat target = pixels.row(y);
        cv::cvtColor(row, target, code);
        if (bits > 8) target.convertTo(target, -1, scale);
        if (y % 64 == 0) progress(static_cast<double>(y) / pixels.rows);
    }
}

using codec::CheckPlausible;
using codec::NewPixels;
using codec::Warnings;

void ReadInfo(ByteSpan bytes, ImageInfo& info) {
    info.compression = info.format == FileFormat::Avif ? "AV1" : "HEVC";
    info.recipe = "Main picture as stored, no turning or cropping, no colour management.";
    const Context context = Open(bytes);
    const Handle handle = Primary(context);
    info.width = heif_image_handle_get_ispe_width(handle.get());
    info.height = heif_image_handle_get_ispe_height(handle.get());
    info.bitsPerSample = std::max(0, heif_image_handle_get_luma_bits_per_pixel(handle.get()));
    const bool hasAlpha = heif_image_handle_has_alpha_channel(handle.get()) != 0;
    const int chroma = ChromaOf(bytes);
    info.channels = (chroma == 0 ? 1 : 3) + (hasAlpha ? 1 : 0);
    info.colourModel = ColourText(chroma, hasAlpha);
    info.frames = std::max(1, heif_context_get_number_of_top_level_images(context.get()));
    const std::size_t size = heif_image_handle_get_raw_color_profile_size(handle.get());
    const heif_color_profile_type type = heif_image_handle_get_color_profile_type(handle.get());
    if ((type == heif_color_profile_type_rICC || type == heif_color_profile_type_prof) && size > 0 &&
        size <= bytes.size()) {
        info.iccProfile.resize(size);
        Check(heif_image_handle_get_raw_color_profile(handle.get(), info.iccProfile.data()));
    }
}

DecodedImage Decode(ByteSpan bytes, const DecodeProgress& progress) {
    const Context context = Open(bytes);
    const Handle handle = Primary(context);
    progress(0);
    const std::unique_ptr<heif_decoding_options, OptionsDeleter> options(heif_decoding_options_alloc());
    if (!options) ZOR_THROW(Memory, "There is not enough memory to decode this file.");
    options->ignore_transformations = 1;
    const bool hasAlpha = heif_image_handle_has_alpha_channel(handle.get()) != 0;
    const bool isDeep = heif_image_handle_get_luma_bits_per_pixel(handle.get()) > 8;
    LimitSides(context, handle, isDeep, bytes.size());
    const heif_chroma chroma =
        isDeep ? (hasAlpha ? heif_chroma_interleaved_RRGGBBAA_LE : heif_chroma_interleaved_RRGGBB_LE)
               : (hasAlpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB);
    heif_image* raw = nullptr;
    const heif_error error =
        heif_decode_image(handle.get(), &raw, heif_colorspace_RGB, chroma, options.get());
    const std::unique_ptr<heif_image, ImageDeleter> image(raw);
    Check(error);
    int stride = 0;
    const std::uint8_t* plane = heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
    const int width = heif_image_get_width(image.get(), heif_channel_interleaved);
    const int height = heif_image_get_height(image.get(), heif_channel_interleaved);
    const int bits = heif_image_get_bits_per_pixel_range(image.get(), heif_channel_interleaved);
    if (plane == nullptr || width <= 0 || height <= 0 || stride <= 0 || bits > 16 || (bits > 8) != isDeep) {
        ZOR_THROW(Format, "The file cannot be decoded: the decoder gave no picture.");
    }
    cv::Mat pixels = NewPixels(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height),
                               CV_MAKETYPE(isDeep ? CV_16U : CV_8U, hasAlpha ? 4 : 3));
    CopyRows(plane, static_cast<std::size_t>(stride), bits, pixels, progress);
    DecodedImage result;
    Warnings warnings;
    heif_error warning{};
    const int count = std::min(20, heif_image_get_decoding_warnings(image.get(), 0, nullptr, 0));
    for (int i = 0; i < count; ++i) {
        if (heif_image_get_decoding_warnings(image.get(), i, &warning, 1) == 1 && warning.message != nullptr)
            warnings.Add(warning.message);
    }
    result.warnings = warnings.Take();
    result.image = Image(pixels);
    return result;
}

std::string Version() {
    return heif_get_version();
}

}  // namespace

ZORIMAGE_LATE_CODEC(ReadInfo, Decode, Version)
