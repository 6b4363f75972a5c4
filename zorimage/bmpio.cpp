#include <algorithm>
#include <bit>
#include <cstring>

#include "zorbase/zorexception.h"
#include "zorimage/bmpheader.h"
#include "zorimage/codec.h"

using codec::BmpHeader;
using Coding = codec::BmpHeader::Coding;

namespace {

constexpr int kStripRows = 64;

int MaskBits(std::uint32_t mask) {
    return std::popcount(mask);
}

int WidestMask(const BmpHeader& header) {
    int bits = 0;
    for (const std::uint32_t mask : header.masks) bits = std::max(bits, MaskBits(mask));
    return bits;
}

using Colour = std::array<std::uint8_t, 3>;

// The colour of an index; black, and told once, where the palette has none.
class Palette {
  public:
    explicit Palette(const BmpHeader& header) : m_colours(header.palette) {
        m_colours.resize(256, Colour{});
        m_count = header.palette.size();
    }
    const Colour& Get(std::size_t index) {
        m_isExceeded = m_isExceeded || index >= m_count;
        return m_colours[index];
    }
    bool IsExceeded() const { return m_isExceeded; }

  private:
    std::vector<Colour> m_colours;
    std::size_t m_count = 0;
    bool m_isExceeded = false;
};

void ExpandIndices(const std::uint8_t* source, std::uint8_t* target, int width, int bits, Palette& palette) {
    const int perByte = 8 / bits;
    const unsigned mask = (1U << bits) - 1U;
    for (int x = 0; x < width; ++x, target += 3) {
        const unsigned byte = source[x / perByte];
        const unsigned index = byte >> (8 - bits * (x % perByte + 1)) & mask;
        std::memcpy(target, palette.Get(index).data(), 3);
    }
}

// 16 or 32 bits by masks, each sample scaled to the full range of Sample.
template <typename Sample>
void ExpandFields(const std::uint8_t* source, Sample* target, int width, const BmpHeader& header,
                  int channels) {
    constexpr std::uint64_t full = static_cast<Sample>(~Sample{0});
    const int step = header.bits / 8;
    for (int x = 0; x < width; ++x, source += step) {
        const std::uint32_t pixel = step == 2 ? Little16({source, 2}, 0) : Little32({source, 4}, 0);
        for (int i = 0; i < channels; ++i) {
            const std::uint32_t mask = header.masks[static_cast<std::size_t>(i)];
            const int shift = mask == 0 ? 0 : std::countr_zero(mask);
            *target++ =
                mask == 0
                    ? Sample{0}
                    : static_cast<Sample>(codec::ScaleSample((pixel & mask) >> shift, mask >> shift, full));
        }
    }
}

void ExpandRow(const std::uint8_t* source, cv::Mat& pixels, int y, const BmpHeader& header,
               Palette& palette) {
    std::uint8_t* target = pixels.ptr(y);
    if (header.bits <= 8) {
        ExpandIndices(source, target, pixels.cols, header.bits, palette);
    } else if (header.bits == 24) {
        std::memcpy(target, source, static_cast<std::size_t>(pixels.cols) * 3);
    } else if (pixels.depth() == CV_16U) {
        ExpandFields(source, pixels.ptr<std::uint16_t>(y), pixels.cols, header, pixels.channels());
    } else {
        ExpandFields(source, target, pixels.cols, header, pixels.channels());
    }
}

void AddMissing(DecodedImage& result, int missing, const cv::Mat& pixels, bool isTopDown) {
    if (missing <= 0) return;
    result.warnings.push_back(std::string("File ends early: the ") + (isTopDown ? "last " : "first ") +
                              std::to_string(missing) + " of " + std::to_string(pixels.rows) +
                              " rows are missing.");
}

void DecodeRows(ByteSpan data, const BmpHeader& header, cv::Mat& pixels, const DecodeProgress& progress,
                DecodedImage& result) {
    const std::uint64_t stride =
        (static_cast<std::uint64_t>(header.width) * static_cast<std::uint64_t>(header.bits) + 31) / 32 * 4;
    // The padding of the last row is often left out.
    const std::uint64_t least =
        (static_cast<std::uint64_t>(header.width) * static_cast<std::uint64_t>(header.bits) + 7) / 8;
    Palette palette(header);
    int rowsDone = 0;
    for (; rowsDone < pixels.rows; ++rowsDone) {
        const std::uint64_t start = stride * static_cast<std::uint64_t>(rowsDone);
        if (start + least > data.size()) break;
        ExpandRow(&data[start], pixels, header.isTopDown ? rowsDone : pixels.rows - 1 - rowsDone, header,
                  palette);
        if (rowsDone % kStripRows == 0) progress(static_cast<double>(rowsDone) / pixels.rows);
    }
    const int missing = pixels.rows - rowsDone;
    if (rowsDone == 0) ZOR_THROW(Format, "The BMP file ends before its first row of pixels.");
    if (missing > 0) {
        (header.isTopDown ? pixels.rowRange(rowsDone, pixels.rows) : pixels.rowRange(0, missing))
            .setTo(cv::Scalar::all(0));
    }
    AddMissing(result, missing, pixels, header.isTopDown);
    if (palette.IsExceeded())
        result.warnings.emplace_back(
            "Some pixels have colours that the palette does not hold; they are black.");
}

// Run-length coding of 4 or 8 bits. Pixels that the file leaps over take colour 0, like everything else left
// undone.
class RunDecoder {
  public:
    RunDecoder(const BmpHeader& header, cv::Mat& pixels)
        : m_header(header), m_pixels(pixels), m_palette(header), m_is4(header.coding == Coding::Rle4) {
        const Colour& background = m_palette.Get(0);
        pixels.setTo(cv::Scalar(background[0], background[1], background[2]));
    }

    // True when the file said that the picture ends.
    bool Decode(ByteSpan data, const DecodeProgress& progress) {
        std::size_t at = 0;
        while (at + 2 <= data.size() && m_line < m_pixels.rows) {
            const std::uint8_t count = data[at];
            const std::uint8_t value = data[at + 1];
            at += 2;
            if (count > 0) {
                for (int i = 0; i < count; ++i) Put(m_is4 ? (i % 2 == 0 ? value >> 4 : value & 15) : value);
            } else if (value == 0) {
                m_x = 0;
                if (++m_line % kStripRows == 0) progress(static_cast<double>(m_line) / m_pixels.rows);
            } else if (value == 1) {
                return true;
            } else if (value == 2) {
                if (at + 2 > data.size()) return false;
                m_x = std::min(m_pixels.cols, m_x + data[at]);
                m_line += data[at + 1];
                at += 2;
            } else if (!PutLiteral(data, value, at)) {
                return false;
            }
        }
        return m_line >= m_pixels.rows;
    }

    int Lines() const { return std::min(m_line, m_pixels.rows); }
    bool IsBeyond() const { return m_isBeyond; }

  private:
    bool PutLiteral(ByteSpan data, int count, std::size_t& at) {
        const std::size_t length = static_cast<std::size_t>(m_is4 ? (count + 1) / 2 : count);
        if (length > data.size() - at) return false;
        for (int i = 0; i < count; ++i) {
            const unsigned byte = data[at + static_cast<std::size_t>(m_is4 ? i / 2 : i)];
            Put(m_is4 ? (i % 2 == 0 ? byte >> 4 : byte & 15) : byte);
        }
        at = std::min(data.size(), at + length + length % 2);  // padded to pairs
        return true;
    }

    void Put(unsigned index) {
        if (m_x >= m_pixels.cols) {
            m_isBeyond = true;
            return;
        }
        const int y = m_header.isTopDown ? m_line : m_pixels.rows - 1 - m_line;
        std::memcpy(m_pixels.ptr(y) + static_cast<std::ptrdiff_t>(m_x++) * 3, m_palette.Get(index).data(), 3);
    }

    const BmpHeader& m_header;
    cv::Mat& m_pixels;
    Palette m_palette;
    bool m_is4;
    int m_x = 0;
    int m_line = 0;  // in file order
    bool m_isBeyond = false;
};

}  // namespace

namespace codec {

void ReadBmpInfo(ByteSpan bytes, ImageInfo& info) {
    const BmpHeader header = ReadBmpHeader(bytes);
    info.width = static_cast<int>(std::min<std::uint32_t>(header.width, 0x7fffffff));
    info.height = static_cast<int>(std::min<std::uint32_t>(header.height, 0x7fffffff));
    info.compression = header.codingName;
    info.iccProfile.assign(header.iccProfile.begin(), header.iccProfile.end());
    info.warnings = header.warnings;
    info.recipe = "Colours as stored, scaled to the full range of 8 bits; no colour management.";
    if (header.coding == Coding::None || header.coding == Coding::BitFields) {
        const std::uint64_t rowBits =
            static_cast<std::uint64_t>(header.width) * static_cast<std::uint64_t>(header.bits);
        const std::uint64_t stride = (rowBits + 31) / 32 * 4;
        const std::uint64_t least = (rowBits + 7) / 8;  // the padding of the last row is often left out
        const std::uint64_t there = bytes.size() - std::min<std::size_t>(bytes.size(), header.dataOffset);
        const std::uint64_t rows = there < least || stride == 0 ? 0 : (there - least) / stride + 1;
        if (stride > 0 && rows < header.height)
            info.warnings.emplace_back("File ends early: rows of the picture are missing.");
    }
    if (header.bits <= 8 && header.bits > 0) {
        info.bitsPerSample = header.bits;
        info.channels = 1;
        info.colourModel = "Palette (" + std::to_string(header.palette.size()) + ")";
    } else {
        info.bitsPerSample = header.bits == 24 ? 8 : WidestMask(header);
        info.channels = header.masks[3] == 0 ? 3 : 4;
        info.colourModel = header.masks[3] == 0 ? "RGB" : "RGB + alpha";
    }
}

DecodedImage DecodeBmp(ByteSpan bytes, const DecodeProgress& progress) {
    const BmpHeader header = ReadBmpHeader(bytes);
    const ByteSpan data = bytes.subspan(header.dataOffset);
    if (header.coding == Coding::Jpeg) return DecodeJpeg(data, progress);
    if (header.coding == Coding::Png) return DecodePng(data, progress);
    if (header.coding == Coding::Other) {
        ZOR_THROW(Format, "The BMP file's coding, " + header.codingName + ", cannot be decoded.");
    }
    const bool isRuns = header.coding == Coding::Rle8 || header.coding == Coding::Rle4;
    const int depth = header.bits > 8 && WidestMask(header) > 8 ? CV_16U : CV_8U;
    CheckPlausible(header.width, header.height, bytes.size(), depth == CV_16U ? 8 : 4);
    cv::Mat pixels = NewPixels(header.width, header.height, CV_MAKETYPE(depth, header.masks[3] == 0 ? 3 : 4));
    DecodedImage result;
    result.warnings = header.warnings;
    if (isRuns) {
        RunDecoder decoder(header, pixels);
        if (!decoder.Decode(data, progress))
            AddMissing(result, pixels.rows - decoder.Lines(), pixels, header.isTopDown);
        if (decoder.IsBeyond())
            result.warnings.emplace_back("Some rows of the file are longer than the picture is wide.");
    } else {
        DecodeRows(data, header, pixels, progress, result);
    }
    result.image = Image(pixels);
    return result;
}

}  // namespace codec
