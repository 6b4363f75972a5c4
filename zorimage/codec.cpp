#include "zorimage/codec.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "zorbase/zorexception.h"
#include "zorimage/plausibility.h"

namespace codec {

namespace {

constexpr std::uint64_t kMaxPixels = std::numeric_limits<std::int32_t>::max();

constexpr Codec kCodecs[] = {
    {FileFormat::Jpeg, ReadJpegInfo, DecodeJpeg},
    {FileFormat::Png, ReadPngInfo, DecodePng},
    {FileFormat::Tiff, ReadTiffInfo, DecodeTiff},
    {FileFormat::Bmp, ReadBmpInfo, DecodeBmp},
    {FileFormat::Gif, ReadGifInfo, DecodeGif},
    {FileFormat::Webp, ReadWebpInfo, DecodeWebp},
    {FileFormat::Jpeg2000, ReadJpeg2000Info, DecodeJpeg2000},
    {FileFormat::Heif, ReadHeifInfo, DecodeHeif},
    {FileFormat::Avif, ReadHeifInfo, DecodeHeif},
    {FileFormat::Raw, ReadRawInfo, DecodeRaw},
};

std::string SidesText(std::uint64_t width, std::uint64_t height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

}  // namespace

const Codec* FindCodec(FileFormat format) {
    const auto* found = std::find_if(std::begin(kCodecs), std::end(kCodecs),
                                     [format](const Codec& codec) { return codec.format == format; });
    return found == std::end(kCodecs) ? nullptr : found;
}

void CheckSides(std::uint64_t width, std::uint64_t height) {
    if (width == 0 || height == 0) {
        ZOR_THROW(Format, "The file says that its picture has " + SidesText(width, height) +
                              " pixels: there is nothing to decode.");
    }
    if (width > kMaxPixels || height > kMaxPixels || width * height > kMaxPixels) {
        ZOR_THROW(Memory, "The file says that its picture has " + SidesText(width, height) +
                              " pixels: more than the 2,147,483,647 that can be decoded.");
    }
}

void CheckPlausible(std::uint64_t width, std::uint64_t height, std::uint64_t fileBytes,
                    std::uint64_t bytesPerPixel) {
    CheckSides(width, height);
    const std::uint64_t needed = width * height * bytesPerPixel;
    if (needed > MemoryLimit(fileBytes)) {
        ZOR_THROW(Format, "The file says that its picture has " + SidesText(width, height) +
                              " pixels, which take " + std::to_string(needed >> 20) + " MB to decode; its " +
                              std::to_string(fileBytes) + " bytes cannot hold so many.");
    }
}

cv::Mat NewPixels(std::uint64_t width, std::uint64_t height, int type) {
    CheckSides(width, height);
    try {
        return cv::Mat(static_cast<int>(height), static_cast<int>(width), type);
    } catch (const std::exception&) {  // OpenCV's own exception, or the one it was redirected to
        ZOR_THROW(Memory,
                  "There is not enough memory for a picture of " + SidesText(width, height) + " pixels.");
    }
}

std::string MissingRowsText(int rowsDone, int rows) {
    if (rowsDone >= rows) return {};
    return "the last " + std::to_string(rows - rowsDone) + " of " + std::to_string(rows) +
           " rows are missing.";
}

void InkToBgr(const std::uint8_t* ink, std::uint8_t* bgr, int width, bool isInverted) {
    const unsigned flip = isInverted ? 0U : 255U;
    for (int x = 0; x < width; ++x, ink += 4, bgr += 3) {
        const unsigned light = ink[3] ^ flip;
        for (int i = 0; i < 3; ++i)
            bgr[i] = static_cast<std::uint8_t>(((ink[2 - i] ^ flip) * light + 127U) / 255U);
    }
}

bool ReadBox(ByteSpan bytes, std::size_t at, std::size_t end, std::size_t& body, std::size_t& boxEnd) {
    if (end - at < 8) return false;
    std::uint64_t length = Big32(bytes, at);
    body = at + 8;
    if (length == 1) {
        if (end - at < 16) return false;
        length = Big64(bytes, at + 8);
        body = at + 16;
    }
    if (length == 0 || length > end - at) length = end - at;
    boxEnd = at + static_cast<std::size_t>(length);
    return boxEnd >= body;
}

bool HasText(ByteSpan bytes, std::size_t offset, std::string_view text) {
    return offset <= bytes.size() && text.size() <= bytes.size() - offset &&
           std::memcmp(bytes.data() + offset, text.data(), text.size()) == 0;
}

}  // namespace codec
