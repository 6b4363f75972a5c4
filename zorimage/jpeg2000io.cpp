#include <openjpeg.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <memory>

#include "zorbase/zorexception.h"
#include "zorimage/codec.h"
#include "zorimage/jpeg2000header.h"

using codec::Jpeg2000Header;

namespace {

constexpr std::size_t kPieceBytes = 65536;
constexpr std::size_t kLeastTileBytes = 14;  // its header and nothing else

// The file as the library's stream. A progress function that throws ends the stream; the exception is kept.
struct Source {
    ByteSpan bytes;
    std::size_t at = 0;
    const DecodeProgress* progress = nullptr;
    std::exception_ptr stopped;
    codec::Warnings warnings;
    std::string error;
};

OPJ_SIZE_T OnRead(void* target, OPJ_SIZE_T size, void* user) {
    Source& source = *static_cast<Source*>(user);
    constexpr auto kEnd = static_cast<OPJ_SIZE_T>(-1);
    if (source.stopped || source.at >= source.bytes.size()) return kEnd;
    try {
        (*source.progress)(static_cast<double>(source.at) / static_cast<double>(source.bytes.size()));
    } catch (...) {
        source.stopped = std::current_exception();
        return kEnd;
    }
    const std::size_t taken = std::min<std::size_t>(size, source.bytes.size() - source.at);
    std::memcpy(target, source.bytes.data() + source.at, taken);
    source.at += taken;
    return taken;
}

OPJ_OFF_T OnSkip(OPJ_OFF_T count, void* user) {
    Source& source = *static_cast<Source*>(user);
    if (count < 0) return -1;
    const std::size_t taken =
        std::min<std::size_t>(static_cast<std::size_t>(count), source.bytes.size() - source.at);
    source.at += taken;
    return taken == 0 && count > 0 ? -1 : static_cast<OPJ_OFF_T>(taken);
}

OPJ_BOOL OnSeek(OPJ_OFF_T offset, void* user) {
    Source& source = *static_cast<Source*>(user);
    if (offset < 0 || static_cast<std::uint64_t>(offset) > source.bytes.size()) return OPJ_FALSE;
    source.at = static_cast<std::size_t>(offset);
    return OPJ_TRUE;
}

std::string Trimmed(const char* text) {
    std::string line = text;
    while (!line.empty() && (line.back() == '\n' || line.back() == ' ')) line.pop_back();
    return line;
}

void OnWarning(const char* text, void* user) {
    try {
        static_cast<Source*>(user)->warnings.Add("JPEG 2000: " + Trimmed(text));
    } catch (const std::exception&) {
        // Without memory for a sentence the picture still comes.
    }
}

void OnError(const char* text, void* user) {
    try {
        static_cast<Source*>(user)->error = Trimmed(text);
        OnWarning(text, user);
    } catch (const std::exception&) {
        // As above.
    }
}

void KeepQuiet(const char*, void*) {}

struct CodecDeleter {
    void operator()(opj_codec_t* codec) const { opj_destroy_codec(codec); }
};
struct StreamDeleter {
    void operator()(opj_stream_t* stream) const { opj_stream_destroy(stream); }
};
struct ImageDeleter {
    void operator()(opj_image_t* image) const { opj_image_destroy(image); }
};

[[noreturn]] void ThrowFailure(const Source& source) {
    if (source.stopped) std::rethrow_exception(source.stopped);
    ZOR_THROW(Format, "The JPEG 2000 file cannot be decoded" +
                          (source.error.empty() ? std::string(".") : ": " + source.error + "."));
}

void CheckHeader(const Jpeg2000Header& header, std::size_t fileBytes) {
    if (!header.hasSize)
        ZOR_THROW(Format,
                  "The JPEG 2000 file has no picture size that makes sense: there is nothing to decode.");
    codec::CheckSides(header.width, header.height);
    if (header.tiles > 65535 || header.tiles > 64 + 4 * (fileBytes / kLeastTileBytes)) {
        ZOR_THROW(Format, "The JPEG 2000 file claims " + std::to_string(header.tiles) + " tiles, which its " +
                              std::to_string(fileBytes) + " bytes cannot hold.");
    }
    if (header.components.empty() || header.components.size() > 64) {
        ZOR_THROW(Format, "The JPEG 2000 file claims " + std::to_string(header.components.size()) +
                              " components; only 1 to 64 are understood.");
    }
    // The library holds each component twice, as whole numbers of four bytes.
    codec::CheckPlausible(header.width, header.height, fileBytes, 8 * header.components.size() + 8);
}

// Samples of one decoded component, scaled to 0..full.
class Plane {
  public:
    Plane(const opj_image_comp_t& component, std::uint32_t full)
        : m_component(component),
          m_offset(component.sgnd != 0 ? std::int64_t{1} << (component.prec - 1) : 0),
          m_top((std::int64_t{1} << component.prec) - 1),
          m_full(full) {}

    // x and y are pixels of the picture; components of fewer samples repeat theirs.
    std::uint32_t Get(std::uint32_t x, std::uint32_t y) const {
        const std::size_t column = std::min(x / std::max(m_component.dx, 1U), m_component.w - 1);
        const std::size_t row = std::min(y / std::max(m_component.dy, 1U), m_component.h - 1);
        const std::int64_t value = m_component.data[row * m_component.w + column] + m_offset;
        return codec::ScaleSample(static_cast<std::uint64_t>(std::clamp<std::int64_t>(value, 0, m_top)),
                                  static_cast<std::uint64_t>(m_top), m_full);
    }

  private:
    const opj_image_comp_t& m_component;
    std::int64_t m_offset;
    std::int64_t m_top;
    std::uint32_t m_full;
};

std::uint32_t Clamped(double value, std::uint32_t full) {
    return static_cast<std::uint32_t>(std::clamp(value + 0.5, 0.0, static_cast<double>(full)));
}

// Luminance and chroma, or ink, to R, G, B in place.
void ToRgb(std::array<std::uint32_t, 4>& sample, bool isYcc, bool isInk, std::uint32_t full) {
    if (isYcc) {
        const double luma = sample[0];
        const double blue = sample[1] - (full + 1) / 2.0;
        const double red = sample[2] - (full + 1) / 2.0;
        sample[0] = Clamped(luma + 1.402 * red, full);
        sample[1] = Clamped(luma - 0.344136 * blue - 0.714136 * red, full);
        sample[2] = Clamped(luma + 1.772 * blue, full);
    }
    if (isInk) {
        const std::uint64_t light = full - sample[3];
        for (std::size_t i = 0; i < 3; ++i)
            sample[i] = codec::ScaleSample((full - sample[i]) * light, full, 1);
    }
}

template <typename Sample>
void FillRow(const std::vector<Plane>& planes, cv::Mat& pixels, int y, bool isYcc, bool isInk,
             std::uint32_t full) {
    Sample* target = pixels.ptr<Sample>(y);
    const int channels = pixels.channels();
    for (int x = 0; x < pixels.cols; ++x, target += channels) {
        std::array<std::uint32_t, 4> sample{};
        for (std::size_t i = 0; i < planes.size(); ++i)
            sample[i] = planes[i].Get(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y));
        ToRgb(sample, isYcc, isInk, full);
        if (channels >= 3) std::swap(sample[0], sample[2]);
        for (int i = 0; i < channels; ++i)
            target[i] = static_cast<Sample>(sample[static_cast<std::size_t>(i)]);
    }
}

// Which components become channels.
struct Choice {
    std::size_t planes = 1;
    int channels = 1;
    bool isYcc = false;
    bool isInk = false;
};

Choice Choose(const opj_image_t& image, const Jpeg2000Header& header, codec::Warnings& warnings) {
    Choice choice;
    const std::size_t count = image.numcomps;
    choice.isInk = count >= 4 && (image.color_space == OPJ_CLRSPC_CMYK || header.colourSpace == 12);
    choice.isYcc =
        count >= 3 && (image.color_space == OPJ_CLRSPC_SYCC || image.color_space == OPJ_CLRSPC_EYCC);
    choice.planes = count >= 3 ? 3 : 1;
    if (choice.isInk || (count > choice.planes && image.comps[choice.planes].alpha != 0)) ++choice.planes;
    choice.channels = choice.isInk ? 3 : static_cast<int>(choice.planes);
    if (count > choice.planes)
        warnings.Add("Further components, left out: " + std::to_string(count - choice.planes));
    return choice;
}

cv::Mat ToPixels(const opj_image_t& image, const Jpeg2000Header& header, Source& source) {
    const Choice choice = Choose(image, header, source.warnings);
    std::uint32_t widest = 0;
    for (std::size_t i = 0; i < choice.planes; ++i) {
        const opj_image_comp_t& component = image.comps[i];
        if (component.data == nullptr || component.w == 0 || component.h == 0 || component.prec < 1 ||
            component.prec > 38)
            ThrowFailure(source);
        widest = std::max(widest, component.prec);
    }
    const std::uint32_t full = widest > 8 ? 65535 : 255;
    std::vector<Plane> planes;
    for (std::size_t i = 0; i < choice.planes; ++i) planes.emplace_back(image.comps[i], full);
    cv::Mat pixels = codec::NewPixels(header.width, header.height,
                                      CV_MAKETYPE(full == 255 ? CV_8U : CV_16U, choice.channels));
    for (int y = 0; y < pixels.rows; ++y) {
        if (full == 255) {
            FillRow<std::uint8_t>(planes, pixels, y, choice.isYcc, choice.isInk, full);
        } else {
            FillRow<std::uint16_t>(planes, pixels, y, choice.isYcc, choice.isInk, full);
        }
        if (y % 64 == 0) (*source.progress)(static_cast<double>(y) / pixels.rows);
    }
    return pixels;
}

}  // namespace

namespace codec {

void ReadJpeg2000Info(ByteSpan bytes, ImageInfo& info) {
    const Jpeg2000Header header = ReadJpeg2000Header(bytes);
    info.width = static_cast<int>(std::min<std::uint32_t>(header.width, 0x7fffffff));
    info.height = static_cast<int>(std::min<std::uint32_t>(header.height, 0x7fffffff));
    info.channels = static_cast<int>(header.components.size());
    for (const auto& component : header.components)
        info.bitsPerSample = std::max(info.bitsPerSample, component.bits);
    info.compression = header.transform == 0   ? "JPEG 2000, irreversible 9/7 wavelet"
                       : header.transform == 1 ? "JPEG 2000, reversible 5/3 wavelet"
                                               : "JPEG 2000";
    switch (header.colourSpace) {
        case 12:
            info.colourModel = "CMYK";
            break;
        case 16:
            info.colourModel = "sRGB";
            break;
        case 17:
            info.colourModel = "Grey";
            break;
        case 18:
            info.colourModel = "sYCC";
            break;
        default:
            info.colourModel = info.channels >= 3 ? "RGB" : info.channels > 0 ? "Grey" : "";
            break;
    }
    if (header.hasPalette) info.colourModel = "Palette";
    info.iccProfile.assign(header.iccProfile.begin(), header.iccProfile.end());
    info.recipe = "Samples as stored and scaled to the full range, no colour management.";
    if (!header.hasSize) info.warnings.emplace_back("The file has no picture size that makes sense.");
}

DecodedImage DecodeJpeg2000(ByteSpan bytes, const DecodeProgress& progress) {
    const Jpeg2000Header header = ReadJpeg2000Header(bytes);
    CheckHeader(header, bytes.size());
    Source source;
    source.bytes = bytes;
    // Of a tile of which not one byte is there, the library leaves the samples as they lay in memory: the same file gave other pixels
    // each time. A zero is an empty packet, and the samples become those of a tile without content.
    std::vector<std::uint8_t> padded;
    if (bytes.size() >= 2 && codec::HasText(bytes, bytes.size() - 2, "\xff\x93")) {
        padded.assign(bytes.begin(), bytes.end());
        padded.push_back(0);
        source.bytes = padded;
    }
    source.progress = &progress;
    const std::unique_ptr<opj_codec_t, CodecDeleter> codecOwner(
        opj_create_decompress(header.isCodestream ? OPJ_CODEC_J2K : OPJ_CODEC_JP2));
    const std::unique_ptr<opj_stream_t, StreamDeleter> stream(opj_stream_create(kPieceBytes, OPJ_TRUE));
    opj_codec_t* codec = codecOwner.get();
    if (codec == nullptr || !stream)
        ZOR_THROW(Memory, "There is not enough memory to decode this JPEG 2000 file.");
    opj_stream_set_user_data(stream.get(), &source, nullptr);
    opj_stream_set_user_data_length(stream.get(), source.bytes.size());
    opj_stream_set_read_function(stream.get(), OnRead);
    opj_stream_set_skip_function(stream.get(), OnSkip);
    opj_stream_set_seek_function(stream.get(), OnSeek);
    opj_set_info_handler(codec, KeepQuiet, nullptr);
    opj_set_warning_handler(codec, OnWarning, &source);
    opj_set_error_handler(codec, OnError, &source);
    opj_dparameters_t parameters;
    opj_set_default_decoder_parameters(&parameters);
    if (opj_setup_decoder(codec, &parameters) == OPJ_FALSE) ThrowFailure(source);
    opj_decoder_set_strict_mode(codec, OPJ_FALSE);  // a file cut off gives what is there
    opj_image_t* raw = nullptr;
    const bool hasHeader = opj_read_header(stream.get(), codec, &raw) == OPJ_TRUE;
    const std::unique_ptr<opj_image_t, ImageDeleter> image(raw);
    if (!hasHeader || !image) ThrowFailure(source);
    const bool isDecoded = opj_decode(codec, stream.get(), image.get()) == OPJ_TRUE;
    if (source.stopped || !isDecoded) ThrowFailure(source);
    opj_end_decompress(codec, stream.get());

    DecodedImage result;
    result.image = Image(ToPixels(*image, header, source));
    result.warnings = source.warnings.Take();
    return result;
}

}  // namespace codec
