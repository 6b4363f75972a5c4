#include <webp/decode.h>
#include <webp/encode.h>

#include <algorithm>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <string_view>

#include "zorbase/zorexception.h"
#include "zorimage/codec.h"

namespace {

constexpr std::size_t kFirstChunk = 12;
constexpr std::size_t kAnimationHeaderBytes = 16;

// What the chunks say. Spans point into the file.
struct Layout {
    bool isExtended = false;
    std::uint32_t canvasWidth = 0;
    std::uint32_t canvasHeight = 0;
    bool hasLossy = false;
    bool hasLossless = false;
    bool hasAlphaChunk = false;
    int frames = 0;
    ByteSpan firstFrame;  // of an animation: its own header and chunks
    ByteSpan profile;
    bool isWhole = true;
};

void ReadChunk(std::string_view name, ByteSpan body, Layout& layout) {
    if (name == "VP8X" && body.size() >= 10) {
        layout.isExtended = true;
        layout.canvasWidth = Little24(body, 4) + 1;
        layout.canvasHeight = Little24(body, 7) + 1;
    }
    if (name == "ICCP" && layout.profile.empty()) layout.profile = body;
    if (name == "VP8 ") layout.hasLossy = true;
    if (name == "VP8L") layout.hasLossless = true;
    if (name == "ALPH") layout.hasAlphaChunk = true;
    if (name == "ANMF" && body.size() > kAnimationHeaderBytes) {
        if (layout.frames++ == 0) layout.firstFrame = body;
    }
}

Layout ReadLayout(ByteSpan bytes) {
    Layout layout;
    std::size_t at = kFirstChunk;
    while (bytes.size() - std::min(at, bytes.size()) >= 8) {
        const std::size_t length = Little32(bytes, at + 4);
        const std::size_t there = std::min(length, bytes.size() - at - 8);
        if (there < length) layout.isWhole = false;
        const std::string_view name(reinterpret_cast<const char*>(&bytes[at]), 4);
        ReadChunk(name, bytes.subspan(at + 8, there), layout);
        if (there < length) break;
        at += 8 + length + length % 2;
    }
    return layout;
}

struct DecoderDeleter {
    void operator()(WebPIDecoder* decoder) const { WebPIDelete(decoder); }
};

// Decodes one picture into its part of the canvas; the number of rows done.
int DecodeInto(ByteSpan data, cv::Mat target, const DecodeProgress& progress) {
    WebPDecoderConfig config;
    if (WebPInitDecoderConfig(&config) == 0)
        ZOR_THROW(Internal, "The WebP library is of another version than expected.");
    config.output.colorspace = target.channels() == 4 ? MODE_BGRA : MODE_BGR;
    config.output.is_external_memory = 1;
    config.output.u.RGBA.rgba = target.data;
    config.output.u.RGBA.stride = static_cast<int>(target.step[0]);
    config.output.u.RGBA.size = target.step[0] * static_cast<std::size_t>(target.rows - 1) +
                                target.elemSize() * static_cast<std::size_t>(target.cols);
    const std::unique_ptr<WebPIDecoder, DecoderDeleter> decoder(WebPIDecode(nullptr, 0, &config));
    if (!decoder) ZOR_THROW(Memory, "There is not enough memory to decode this WebP file.");
    // Handed over piece by piece, so that the work can be stopped.
    const std::size_t piece = std::max<std::size_t>(data.size() / 64, 16384);
    int rows = 0;
    for (std::size_t size = std::min(piece, data.size());; size = std::min(size + piece, data.size())) {
        const VP8StatusCode status = WebPIUpdate(decoder.get(), data.data(), size);
        if (WebPIDecGetRGB(decoder.get(), &rows, nullptr, nullptr, nullptr) == nullptr) rows = 0;
        if (status == VP8_STATUS_OUT_OF_MEMORY)
            ZOR_THROW(Memory, "There is not enough memory to decode this WebP file.");
        if (status != VP8_STATUS_SUSPENDED || size == data.size()) break;
        progress(static_cast<double>(size) / static_cast<double>(data.size()));
    }
    return rows;
}

WebPBitstreamFeatures Features(ByteSpan data) {
    WebPBitstreamFeatures features;
    if (WebPGetFeatures(data.data(), data.size(), &features) != VP8_STATUS_OK || features.width <= 0 ||
        features.height <= 0) {
        ZOR_THROW(Format, "The WebP file cannot be decoded: its headers are damaged or cut off.");
    }
    return features;
}

}  // namespace

namespace codec {

void ReadWebpInfo(ByteSpan bytes, ImageInfo& info) {
    const Layout layout = ReadLayout(bytes);
    WebPBitstreamFeatures features;
    bool hasAlpha = layout.hasAlphaChunk;
    info.width = static_cast<int>(layout.canvasWidth);
    info.height = static_cast<int>(layout.canvasHeight);
    if (WebPGetFeatures(bytes.data(), bytes.size(), &features) == VP8_STATUS_OK) {
        info.width = features.width;
        info.height = features.height;
        hasAlpha = features.has_alpha != 0;
    } else {
        info.warnings.emplace_back("The file's headers are damaged or cut off.");
    }
    info.bitsPerSample = 8;
    info.channels = hasAlpha ? 4 : 3;
    info.frames = std::max(layout.frames, 1);
    const Layout inner = layout.firstFrame.empty()
                             ? layout
                             : ReadLayout(layout.firstFrame.subspan(kAnimationHeaderBytes - kFirstChunk));
    info.compression = inner.hasLossless ? "WebP lossless" : inner.hasLossy ? "WebP lossy (VP8)" : "WebP";
    info.colourModel = std::string(inner.hasLossy && !inner.hasLossless ? "YCbCr 4:2:0" : "RGB") +
                       (hasAlpha ? " + alpha" : "");
    info.iccProfile.assign(layout.profile.begin(), layout.profile.end());
    info.recipe = "Smooth chroma upsampling, no colour management.";
    if (!layout.isWhole) info.warnings.emplace_back("File ends early: a chunk is cut off.");
}

DecodedImage DecodeWebp(ByteSpan bytes, const DecodeProgress& progress) {
    const Layout layout = ReadLayout(bytes);
    const bool isAnimation = !layout.firstFrame.empty();
    const ByteSpan data = isAnimation ? layout.firstFrame.subspan(kAnimationHeaderBytes) : bytes;
    const WebPBitstreamFeatures features = Features(data);
    if (features.has_animation != 0) ZOR_THROW(Format, "The WebP file is an animation without pictures.");
    cv::Rect place(0, 0, features.width, features.height);
    if (isAnimation) {
        place.x = static_cast<int>(Little24(layout.firstFrame, 0) * 2);
        place.y = static_cast<int>(Little24(layout.firstFrame, 3) * 2);
    }
    const int width = std::max(isAnimation ? static_cast<int>(layout.canvasWidth) : 0, place.x + place.width);
    const int height =
        std::max(isAnimation ? static_cast<int>(layout.canvasHeight) : 0, place.y + place.height);
    const bool isCovered = width == place.width && height == place.height;
    // The library's own buffer and the picture.
    CheckPlausible(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height), bytes.size(), 8);
    const bool hasAlpha = features.has_alpha != 0 || !isCovered;
    cv::Mat pixels = NewPixels(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height),
                               hasAlpha ? CV_8UC4 : CV_8UC3);
    if (!isCovered) pixels.setTo(cv::Scalar::all(0));

    DecodedImage result;
    cv::Mat target = pixels(place);
    const int rows = std::min(DecodeInto(data, target, progress), place.height);
    if (rows <= 0)
        ZOR_THROW(Format, "The WebP file cannot be decoded: its picture data is damaged or cut off.");
    if (rows < place.height) {
        target.rowRange(rows, place.height).setTo(cv::Scalar::all(0));
        result.warnings.push_back((layout.isWhole ? "The picture data is damaged: " : "File ends early: ") +
                                  MissingRowsText(rows, place.height));
    }
    result.image = Image(pixels);
    return result;
}

std::vector<std::uint8_t> EncodeWebp(const Image& image) {
    if (image.GetWidth() > WEBP_MAX_DIMENSION || image.GetHeight() > WEBP_MAX_DIMENSION) {
        ZOR_THROW(Argument,
                  "A WebP file cannot hold more than 16383 pixels in a row or column; save as PNG or TIFF.");
    }
    const bool hasAlpha = image.GetChannels() == 4 && image.GetDepth() == 8;
    const Image narrow = hasAlpha ? image : image.ToColor();
    const cv::Mat& pixels = narrow.GetMat();
    WebPConfig config;
    WebPPicture picture;
    if (WebPConfigInit(&config) == 0 || WebPPictureInit(&picture) == 0) {
        ZOR_THROW(Internal, "The WebP library is of another version than expected.");
    }
    config.lossless = 1;
    config.exact = 1;  // colours stay where alpha hides them
    config.method = 2;
    WebPMemoryWriter writer;
    WebPMemoryWriterInit(&writer);
    const std::unique_ptr<WebPPicture, void (*)(WebPPicture*)> pictureOwner(&picture, WebPPictureFree);
    const std::unique_ptr<WebPMemoryWriter, void (*)(WebPMemoryWriter*)> writerOwner(&writer,
                                                                                     WebPMemoryWriterClear);
    picture.use_argb = 1;
    picture.width = pixels.cols;
    picture.height = pixels.rows;
    picture.writer = WebPMemoryWrite;
    picture.custom_ptr = &writer;
    const int step = static_cast<int>(pixels.step[0]);
    const bool isTaken = hasAlpha ? WebPPictureImportBGRA(&picture, pixels.data, step) != 0
                                  : WebPPictureImportBGR(&picture, pixels.data, step) != 0;
    if (!isTaken || WebPEncode(&config, &picture) == 0) ZOR_THROW(Memory, "The WebP file could not be made.");
    return {writer.mem, writer.mem + writer.size};
}

}  // namespace codec
