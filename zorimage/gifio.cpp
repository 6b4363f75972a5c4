#include <gif_lib.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <memory>

#include "zorbase/zorexception.h"
#include "zorimage/codec.h"

namespace {

constexpr std::size_t kHeaderBytes = 13;

// Walks the blocks of a GIF file without decoding anything.
class BlockWalker {
  public:
    BlockWalker(ByteSpan bytes, std::size_t start) : m_bytes(bytes), m_at(start) {}

    // The next block's introducer (',' '!' ';'), or 0 at the end of the bytes. Afterwards the walker stands
    // behind it.
    int Next() {
        if (m_at >= m_bytes.size()) return 0;
        const int kind = m_bytes[m_at++];
        if (kind == ';') return kind;
        if (kind == '!') {
            ++m_at;  // label
            SkipParts();
            return kind;
        }
        if (kind != ',' || m_bytes.size() - m_at < 10) return 0;
        m_flags = m_bytes[m_at + 8];
        m_at += 9;
        if ((m_flags & 0x80) != 0) m_at += std::size_t{3} << ((m_flags & 7) + 1);
        ++m_at;  // first code size
        SkipParts();
        return kind;
    }
    int ImageFlags() const { return m_flags; }

  private:
    void SkipParts() {
        while (m_at < m_bytes.size() && m_bytes[m_at] != 0) m_at += 1U + m_bytes[m_at];
        ++m_at;
    }
    ByteSpan m_bytes;
    std::size_t m_at;
    int m_flags = 0;
};

struct Source {
    ByteSpan bytes;
    std::size_t at = 0;
};

int OnRead(GifFileType* gif, GifByteType* target, int count) {
    Source& source = *static_cast<Source*>(gif->UserData);
    const std::size_t taken =
        std::min(static_cast<std::size_t>(std::max(count, 0)), source.bytes.size() - source.at);
    if (taken > 0) std::memcpy(target, source.bytes.data() + source.at, taken);
    source.at += taken;
    return static_cast<int>(taken);
}

struct GifCloser {
    void operator()(GifFileType* gif) const { DGifCloseFile(gif, nullptr); }
};
using GifFile = std::unique_ptr<GifFileType, GifCloser>;

std::string ErrorText(int code) {
    const char* text = GifErrorString(code);
    return text == nullptr ? "unknown error" : text;
}

[[noreturn]] void ThrowBroken(const GifFileType* gif) {
    ZOR_THROW(Format, "The GIF file cannot be decoded: " + ErrorText(gif->Error) + ".");
}

// Reads on to the first picture; the transparent colour that stands before it, or -1.
int FindPicture(GifFileType* gif) {
    int transparent = NO_TRANSPARENT_COLOR;
    while (true) {
        GifRecordType record = UNDEFINED_RECORD_TYPE;
        if (DGifGetRecordType(gif, &record) == GIF_ERROR) ThrowBroken(gif);
        if (record == TERMINATE_RECORD_TYPE) ZOR_THROW(Format, "The GIF file holds no picture.");
        if (record == IMAGE_DESC_RECORD_TYPE) break;
        if (record != EXTENSION_RECORD_TYPE) continue;
        int code = 0;
        GifByteType* part = nullptr;
        if (DGifGetExtension(gif, &code, &part) == GIF_ERROR) ThrowBroken(gif);
        while (part != nullptr) {
            GraphicsControlBlock control{};
            if (code == GRAPHICS_EXT_FUNC_CODE && DGifExtensionToGCB(part[0], part + 1, &control) == GIF_OK) {
                transparent = control.TransparentColor;
            }
            if (DGifGetExtensionNext(gif, &part) == GIF_ERROR) ThrowBroken(gif);
        }
    }
    if (DGifGetImageDesc(gif) == GIF_ERROR) ThrowBroken(gif);
    return transparent;
}

// The row that comes as the i-th of an interlaced picture.
std::vector<int> RowOrder(int height, bool isInterlaced) {
    std::vector<int> order;
    order.reserve(static_cast<std::size_t>(height));
    const std::array<std::pair<int, int>, 4> passes = {{{0, 8}, {4, 8}, {2, 4}, {1, 2}}};
    if (!isInterlaced) {
        for (int y = 0; y < height; ++y) order.push_back(y);
        return order;
    }
    for (const auto& [first, step] : passes) {
        for (int y = first; y < height; y += step) order.push_back(y);
    }
    return order;
}

void PutRow(const std::vector<GifPixelType>& row, std::uint8_t* target, const ColorMapObject& map,
            int transparent, int channels) {
    for (const int index : row) {
        const GifColorType colour = index < map.ColorCount ? map.Colors[index] : GifColorType{0, 0, 0};
        const bool isClear = channels == 4 && index == transparent;
        target[0] = colour.Blue;
        target[1] = colour.Green;
        target[2] = colour.Red;
        if (channels == 4) target[3] = isClear ? 0 : 255;
        target += channels;
    }
}

}  // namespace

namespace codec {

void ReadGifInfo(ByteSpan bytes, ImageInfo& info) {
    if (bytes.size() < kHeaderBytes) {
        info.warnings.emplace_back("The file ends inside its header.");
        return;
    }
    info.width = static_cast<int>(Little16(bytes, 6));
    info.height = static_cast<int>(Little16(bytes, 8));
    info.channels = 1;
    info.compression = "LZW";
    info.recipe = "First picture on its canvas, palette colours as stored.";
    int flags = bytes[10];
    BlockWalker walker(bytes, kHeaderBytes + ((flags & 0x80) != 0 ? std::size_t{3} << ((flags & 7) + 1) : 0));
    info.frames = 0;
    int kind = walker.Next();
    for (; kind != 0 && kind != ';'; kind = walker.Next()) {
        if (kind != ',') continue;
        if (info.frames++ > 0) continue;
        if ((walker.ImageFlags() & 0x40) != 0) info.compression = "LZW, interlaced";
        if ((walker.ImageFlags() & 0x80) != 0) flags = walker.ImageFlags();
    }
    info.bitsPerSample = (flags & 7) + 1;
    info.colourModel = "Palette (" + std::to_string(2 << (flags & 7)) + ")";
    if (kind == 0) info.warnings.emplace_back("File ends early: the end mark is missing.");
}

DecodedImage DecodeGif(ByteSpan bytes, const DecodeProgress& progress) {
    Source source{bytes, 0};
    int error = 0;
    const GifFile gif(DGifOpen(&source, OnRead, &error));
    if (!gif) ZOR_THROW(Format, "The GIF file cannot be decoded: " + ErrorText(error) + ".");
    const int transparent = FindPicture(gif.get());
    const GifImageDesc frame = gif->Image;
    const ColorMapObject* map = frame.ColorMap != nullptr ? frame.ColorMap : gif->SColorMap;
    DecodedImage result;
    if (map == nullptr) ZOR_THROW(Format, "The GIF file cannot be decoded: it has no palette.");
    if (frame.Width <= 0 || frame.Height <= 0)
        ZOR_THROW(Format, "The GIF file's first picture has no pixels.");
    const int width = std::max(gif->SWidth, frame.Left + frame.Width);
    const int height = std::max(gif->SHeight, frame.Top + frame.Height);
    if (width > gif->SWidth || height > gif->SHeight) {
        result.warnings.emplace_back(
            "The first picture is larger than the canvas that the file states; the canvas was widened.");
    }
    CheckPlausible(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height), bytes.size(), 4);
    const bool isCovered = frame.Width == width && frame.Height == height;
    const int channels = isCovered && transparent < 0 ? 3 : 4;
    cv::Mat pixels =
        NewPixels(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height), CV_8UC(channels));
    pixels.setTo(cv::Scalar::all(0));

    std::vector<GifPixelType> row(static_cast<std::size_t>(frame.Width));
    const std::vector<int> order = RowOrder(frame.Height, frame.Interlace);
    int rowsDone = 0;
    for (const int y : order) {
        if (DGifGetLine(gif.get(), row.data(), frame.Width) == GIF_ERROR) break;
        PutRow(row, pixels.ptr(frame.Top + y) + static_cast<std::ptrdiff_t>(frame.Left) * channels, *map,
               transparent, channels);
        if (++rowsDone % 64 == 0) progress(static_cast<double>(rowsDone) / frame.Height);
    }
    if (rowsDone == 0) ThrowBroken(gif.get());
    if (rowsDone < frame.Height) {
        const std::string reason =
            source.at >= bytes.size() ? "File ends early" : "The picture data is damaged";
        result.warnings.push_back(reason + ": " + std::to_string(frame.Height - rowsDone) + " of " +
                                  std::to_string(frame.Height) + " rows are missing.");
    }
    result.image = Image(pixels);
    return result;
}

}  // namespace codec
