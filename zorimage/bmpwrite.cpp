#include <algorithm>
#include <cstring>

#include "zorbase/zorexception.h"
#include "zorimage/codec.h"

namespace {

void Put16(std::vector<std::uint8_t>& out, std::uint32_t value) {
    out.push_back(static_cast<std::uint8_t>(value));
    out.push_back(static_cast<std::uint8_t>(value >> 8));
}

void Put32(std::vector<std::uint8_t>& out, std::uint32_t value) {
    Put16(out, value & 0xffff);
    Put16(out, value >> 16);
}

}  // namespace

namespace codec {

// Grey as a palette of 256, colour with 24 bits; alpha, which few readers of this format understand, is left
// out.
std::vector<std::uint8_t> EncodeBmp(const Image& image) {
    const Image narrow = image.GetChannels() <= 2 ? image.ToGray() : image.ToColor();
    const cv::Mat& pixels = narrow.GetMat();
    const std::size_t paletteBytes = pixels.channels() == 1 ? 1024 : 0;
    const std::size_t rowBytes =
        static_cast<std::size_t>(pixels.cols) * static_cast<std::size_t>(pixels.channels());
    const std::size_t stride = (rowBytes + 3) / 4 * 4;
    const std::uint64_t offset = 54 + paletteBytes;
    const std::uint64_t total =
        offset + static_cast<std::uint64_t>(stride) * static_cast<std::uint64_t>(pixels.rows);
    if (total > 0xffffffffULL) ZOR_THROW(Argument, "A BMP file cannot hold 4 GiB; save as PNG or TIFF.");
    std::vector<std::uint8_t> out;
    out.reserve(total);
    out.push_back('B');
    out.push_back('M');
    Put32(out, static_cast<std::uint32_t>(total));
    Put32(out, 0);
    Put32(out, static_cast<std::uint32_t>(offset));
    Put32(out, 40);
    Put32(out, static_cast<std::uint32_t>(pixels.cols));
    Put32(out, static_cast<std::uint32_t>(pixels.rows));
    Put16(out, 1);
    Put16(out, pixels.channels() == 1 ? 8 : 24);
    for (int i = 0; i < 6; ++i) Put32(out, 0);
    for (std::uint32_t i = 0; i < paletteBytes / 4; ++i) Put32(out, i * 0x010101U);
    for (int y = pixels.rows - 1; y >= 0; --y) {
        out.insert(out.end(), pixels.ptr(y), pixels.ptr(y) + rowBytes);
        out.insert(out.end(), stride - rowBytes, 0);
    }
    return out;
}

}  // namespace codec
