#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <opencv2/imgproc.hpp>

#include "zorbase/zorexception.h"
#include "zorimage/codec.h"
#include "zorimage/tiffmemory.h"

using codec::TiffReader;

namespace {

constexpr int kStripRows = 64;
constexpr std::uint64_t kMaxWorkBytes = std::uint64_t{256} << 20;  // of one row or tile

// How the first page stores its pixels.
struct Page {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    int bits = 1;
    int samples = 1;  // per pixel, as stored
    int colours = 1;  // of these, those that are colour
    bool hasAlpha = false;
    bool isPlanar = false;
    bool isInverted = false;  // 0 is white
    int photometric = PHOTOMETRIC_MINISBLACK;
    int compression = COMPRESSION_NONE;
    int format = SAMPLEFORMAT_UINT;
    const std::uint16_t* palette[3] = {nullptr, nullptr, nullptr};
    bool isNarrowPalette = false;  // old writers put 8-bit values into the 16-bit palette

    int Channels() const {
        return (colours == 1 && photometric != PHOTOMETRIC_PALETTE ? 1 : 3) + (hasAlpha ? 1 : 0);
    }
    int Depth() const { return photometric == PHOTOMETRIC_PALETTE || bits <= 8 ? CV_8U : CV_16U; }
    std::uint32_t Full() const { return (std::uint64_t{1} << bits) - 1; }
};

void ReadPalette(const TiffReader& tiff, Page& page) {
    std::uint16_t* map[3] = {nullptr, nullptr, nullptr};
    if (page.bits > 8 || TIFFGetField(tiff.Get(), TIFFTAG_COLORMAP, &map[0], &map[1], &map[2]) != 1) {
        ZOR_THROW(Format, "The TIFF file cannot be decoded: its palette is missing.");
    }
    page.isNarrowPalette = true;
    for (int i = 0; i < 3; ++i) {
        page.palette[i] = map[i];
        page.isNarrowPalette = page.isNarrowPalette &&
                               std::all_of(map[i], map[i] + (1 << page.bits), [](int v) { return v < 256; });
    }
}

// True when the pixels can be unpacked here; otherwise the library's own conversion to 8-bit colour is asked.
bool Describe(TiffReader& tiff, Page& page) {
    page.width = tiff.Get32(TIFFTAG_IMAGEWIDTH);
    page.height = tiff.Get32(TIFFTAG_IMAGELENGTH);
    page.bits = tiff.Get16(TIFFTAG_BITSPERSAMPLE, 1);
    page.samples = tiff.Get16(TIFFTAG_SAMPLESPERPIXEL, 1);
    page.isPlanar = tiff.Get16(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
    page.compression = tiff.Get16(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    page.format = tiff.Get16(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    std::uint16_t photometric = page.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    TIFFGetField(tiff.Get(), TIFFTAG_PHOTOMETRIC, &photometric);
    if (photometric == PHOTOMETRIC_YCBCR && page.compression == COMPRESSION_JPEG && !page.isPlanar &&
        page.samples == 3) {
        TIFFSetField(tiff.Get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        photometric = PHOTOMETRIC_RGB;
    }
    page.photometric = photometric;
    page.isInverted = photometric == PHOTOMETRIC_MINISWHITE;
    page.colours = photometric == PHOTOMETRIC_RGB ? 3 : photometric == PHOTOMETRIC_SEPARATED ? 4 : 1;
    const bool isKnown = photometric == PHOTOMETRIC_RGB || photometric == PHOTOMETRIC_SEPARATED ||
                         photometric == PHOTOMETRIC_PALETTE || photometric == PHOTOMETRIC_MINISBLACK ||
                         photometric == PHOTOMETRIC_MINISWHITE;
    if (!isKnown || page.bits < 1 || page.bits > 32 || page.samples < page.colours) return false;
    if (photometric == PHOTOMETRIC_PALETTE) ReadPalette(tiff, page);
    std::uint16_t count = 0;
    std::uint16_t* kinds = nullptr;
    TIFFGetFieldDefaulted(tiff.Get(), TIFFTAG_EXTRASAMPLES, &count, &kinds);
    page.hasAlpha = photometric != PHOTOMETRIC_PALETTE && photometric != PHOTOMETRIC_SEPARATED &&
                    page.samples > page.colours && count > 0 && kinds != nullptr &&
                    kinds[0] != EXTRASAMPLE_UNSPECIFIED;
    return true;
}

void CheckPage(const Page& page, std::size_t fileBytes) {
    // What the library converts itself comes as four bytes a pixel beside the picture.
    const std::uint64_t unit = static_cast<std::uint64_t>(page.Channels()) * (page.Depth() == CV_8U ? 1 : 2);
    codec::CheckPlausible(page.width, page.height, fileBytes, std::max<std::uint64_t>(unit, 4));
    const std::uint64_t stored =
        static_cast<std::uint64_t>(page.samples) * ((static_cast<std::uint64_t>(page.bits) + 7) / 8);
    if (page.samples > 64) codec::CheckPlausible(page.width, page.height, fileBytes, stored);
    if (page.format == SAMPLEFORMAT_IEEEFP || page.format == SAMPLEFORMAT_COMPLEXIEEEFP ||
        page.format == SAMPLEFORMAT_COMPLEXINT) {
        ZOR_THROW(
            Format,
            "This TIFF file has floating-point samples, which have no full range to show; save it with 8 or 16 bits per sample.");
    }
    if (TIFFIsCODECConfigured(static_cast<std::uint16_t>(page.compression)) == 0) {
        ZOR_THROW(Format, "The TIFF file's compression (number " + std::to_string(page.compression) +
                              ") cannot be decoded.");
    }
}

// One sample out of a row of packed samples; the library has brought 16, 24 and 32 bits into the machine's order.
std::uint32_t SampleAt(const std::uint8_t* row, std::size_t index, int bits) {
    if (bits == 8) return row[index];
    if (bits == 16) {
        std::uint16_t value = 0;
        std::memcpy(&value, row + index * 2, 2);
        return value;
    }
    if (bits == 24) {
        const std::uint8_t* p = row + index * 3;
        const bool isLittle = std::endian::native == std::endian::little;
        return std::uint32_t{p[isLittle ? 2 : 0]} << 16 | std::uint32_t{p[1]} << 8 | p[isLittle ? 0 : 2];
    }
    if (bits == 32) {
        std::uint32_t value = 0;
        std::memcpy(&value, row + index * 4, 4);
        return value;
    }
    std::uint32_t value = 0;
    std::size_t bit = index * static_cast<std::size_t>(bits);
    for (int i = 0; i < bits; ++i, ++bit) value = value << 1 | (row[bit / 8] >> (7 - bit % 8) & 1U);
    return value;
}

// Puts unpacked samples into the picture: stored order R, G, B, alpha becomes B, G, R, alpha.
class RowWriter {
  public:
    RowWriter(const Page& page, cv::Mat& pixels)
        : m_page(page), m_pixels(pixels), m_full(page.Depth() == CV_8U ? 255U : 65535U) {}

    // A row of whole pixels.
    void PutPixels(const std::uint8_t* row, int y, int x0, int count) {
        const bool isPlain = m_page.bits == (m_full == 255U ? 8 : 16) && !m_page.isInverted &&
                             m_page.photometric != PHOTOMETRIC_PALETTE &&
                             m_page.photometric != PHOTOMETRIC_SEPARATED &&
                             m_page.format == SAMPLEFORMAT_UINT;
        if (isPlain && m_full == 255U) return PutPlain(row, m_pixels.ptr<std::uint8_t>(y), x0, count);
        if (isPlain)
            return PutPlain(reinterpret_cast<const std::uint16_t*>(row), m_pixels.ptr<std::uint16_t>(y), x0,
                            count);
        const auto samples = static_cast<std::size_t>(m_page.samples);
        for (int x = 0; x < count; ++x) {
            const std::size_t first = static_cast<std::size_t>(x) * samples;
            if (m_page.photometric == PHOTOMETRIC_PALETTE) {
                PutPalette(SampleAt(row, first, m_page.bits), y, x0 + x);
            } else if (m_page.photometric == PHOTOMETRIC_SEPARATED) {
                PutInk(row, first, y, x0 + x);
            } else {
                for (int channel = 0; channel < m_pixels.channels(); ++channel) {
                    Put(y, x0 + x, Target(channel),
                        Scaled(SampleAt(row, first + static_cast<std::size_t>(channel), m_page.bits)));
                }
            }
        }
    }

    // A row of one plane; planes beyond the picture's channels are not asked for.
    void PutPlane(const std::uint8_t* row, int plane, int y, int x0, int count) {
        for (int x = 0; x < count; ++x) {
            const std::uint32_t sample = SampleAt(row, static_cast<std::size_t>(x), m_page.bits);
            if (m_page.photometric == PHOTOMETRIC_PALETTE) {
                PutPalette(sample, y, x0 + x);
            } else {
                Put(y, x0 + x, Target(plane), Scaled(sample));
            }
        }
    }

  private:
    template <typename Sample>
    void PutPlain(const Sample* row, Sample* target, int x0, int count) {
        const int samples = m_page.samples;
        const int channels = m_pixels.channels();
        target += static_cast<std::ptrdiff_t>(x0) * channels;
        if (samples == channels && channels <= 2) {
            std::memcpy(target, row,
                        static_cast<std::size_t>(count) * static_cast<std::size_t>(samples) * sizeof(Sample));
            return;
        }
        for (int x = 0; x < count; ++x, row += samples, target += channels) {
            if (channels <= 2) {
                for (int i = 0; i < channels; ++i) target[i] = row[i];
                continue;
            }
            target[0] = row[2];
            target[1] = row[1];
            target[2] = row[0];
            if (channels == 4) target[3] = row[3];
        }
    }

    int Target(int channel) const { return m_pixels.channels() >= 3 && channel < 3 ? 2 - channel : channel; }
    std::uint32_t Scaled(std::uint32_t sample) const {
        if (m_page.format == SAMPLEFORMAT_INT)
            sample ^= 1U << (m_page.bits - 1);  // the lowest value becomes black
        const std::uint32_t value = codec::ScaleSample(sample & m_page.Full(), m_page.Full(), m_full);
        return m_page.isInverted ? m_full - value : value;
    }
    void Put(int y, int x, int channel, std::uint32_t value) {
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(x) * m_pixels.channels() + channel;
        if (m_full == 255U) {
            m_pixels.ptr<std::uint8_t>(y)[at] = static_cast<std::uint8_t>(value);
        } else {
            m_pixels.ptr<std::uint16_t>(y)[at] = static_cast<std::uint16_t>(value);
        }
    }
    void PutPalette(std::uint32_t index, int y, int x) {
        for (int i = 0; i < 3; ++i) {
            const std::uint32_t value = m_page.palette[i][index];
            Put(y, x, 2 - i, m_page.isNarrowPalette ? value : codec::ScaleSample(value, 65535, 255));
        }
    }
    void PutInk(const std::uint8_t* row, std::size_t first, int y, int x) {
        const std::uint64_t light = m_full - Scaled(SampleAt(row, first + 3, m_page.bits));
        for (std::size_t i = 0; i < 3; ++i) {
            const std::uint64_t rest = m_full - Scaled(SampleAt(row, first + i, m_page.bits));
            Put(y, x, 2 - static_cast<int>(i), codec::ScaleSample(rest * light, m_full, 1));
        }
    }

    const Page& m_page;
    cv::Mat& m_pixels;
    std::uint32_t m_full;
};

// Memory for one row or tile of the library's, refused when absurd.
std::vector<std::uint8_t> WorkBuffer(tmsize_t size, const Page& page) {
    const std::uint64_t picture =
        static_cast<std::uint64_t>(page.width) * page.height * static_cast<std::uint64_t>(page.samples) * 4;
    const std::uint64_t most = std::min(picture + (64U << 20), kMaxWorkBytes);
    if (size <= 0 || static_cast<std::uint64_t>(size) > most) {
        ZOR_THROW(Format, "The TIFF file cannot be decoded: the sizes of its rows or tiles are absurd.");
    }
    return std::vector<std::uint8_t>(static_cast<std::size_t>(size));
}

int PlanesToRead(const Page& page, const cv::Mat& pixels) {
    if (!page.isPlanar || page.photometric == PHOTOMETRIC_PALETTE) return 1;
    return pixels.channels();
}

// Rows of which some plane or tile is missing, and whether anything at all was read.
class MissingRows {
  public:
    explicit MissingRows(std::uint32_t height) : m_rows(height) {}
    bool hasPixels = false;
    void Add(std::uint64_t first, std::uint64_t end) {
        std::fill(m_rows.begin() + static_cast<std::ptrdiff_t>(first),
                  m_rows.begin() + static_cast<std::ptrdiff_t>(end), true);
    }
    int Count() const { return static_cast<int>(std::count(m_rows.begin(), m_rows.end(), true)); }

  private:
    std::vector<bool> m_rows;
};

// What is missing stays black.
MissingRows ReadScanlines(TIFF* tiff, const Page& page, cv::Mat& pixels, const DecodeProgress& progress) {
    std::vector<std::uint8_t> row = WorkBuffer(TIFFScanlineSize(tiff), page);
    const std::size_t least =
        (static_cast<std::size_t>(page.width) * static_cast<std::size_t>(page.isPlanar ? 1 : page.samples) *
             static_cast<std::size_t>(page.bits) +
         7) /
        8;
    if (row.size() < least)
        ZOR_THROW(Format, "The TIFF file cannot be decoded: its rows are shorter than its picture.");
    std::uint32_t stripRows = 0;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &stripRows);
    stripRows = std::clamp<std::uint32_t>(stripRows, 1, page.height);
    RowWriter writer(page, pixels);
    const int planes = PlanesToRead(page, pixels);
    MissingRows missing(page.height);
    for (int plane = 0; plane < planes; ++plane) {
        for (std::uint32_t y = 0; y < page.height; ++y) {
            if (TIFFReadScanline(tiff, row.data(), y, static_cast<std::uint16_t>(plane)) != 1) {
                const std::uint32_t next = std::min(page.height, (y / stripRows + 1) * stripRows);
                missing.Add(y, next);
                y = next - 1;
                continue;
            }
            missing.hasPixels = true;
            if (page.isPlanar) {
                writer.PutPlane(row.data(), plane, static_cast<int>(y), 0, pixels.cols);
            } else {
                writer.PutPixels(row.data(), static_cast<int>(y), 0, pixels.cols);
            }
            if (y % kStripRows == 0) progress((plane + static_cast<double>(y) / page.height) / planes);
        }
    }
    return missing;
}

MissingRows ReadTiles(TiffReader& reader, const Page& page, cv::Mat& pixels, const DecodeProgress& progress) {
    TIFF* tiff = reader.Get();
    const std::uint32_t tileWidth = reader.Get32(TIFFTAG_TILEWIDTH);
    const std::uint32_t tileHeight = reader.Get32(TIFFTAG_TILELENGTH);
    std::vector<std::uint8_t> tile = WorkBuffer(TIFFTileSize(tiff), page);
    const tmsize_t rowBytes = TIFFTileRowSize(tiff);
    const std::size_t least =
        (static_cast<std::size_t>(tileWidth) * static_cast<std::size_t>(page.isPlanar ? 1 : page.samples) *
             static_cast<std::size_t>(page.bits) +
         7) /
        8;
    if (tileWidth == 0 || tileHeight == 0 || rowBytes <= 0 || static_cast<std::size_t>(rowBytes) < least ||
        static_cast<std::uint64_t>(rowBytes) * tileHeight > tile.size()) {
        ZOR_THROW(Format, "The TIFF file cannot be decoded: the sizes of its tiles are absurd.");
    }
    RowWriter writer(page, pixels);
    const int planes = PlanesToRead(page, pixels);
    MissingRows missing(page.height);
    for (int plane = 0; plane < planes; ++plane) {
        for (std::uint64_t y = 0; y < page.height; y += tileHeight) {
            bool isRowMissing = false;
            for (std::uint64_t x = 0; x < page.width; x += tileWidth) {
                const std::uint32_t index =
                    TIFFComputeTile(tiff, static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), 0,
                                    static_cast<std::uint16_t>(plane));
                const int columns = static_cast<int>(std::min<std::uint64_t>(tileWidth, page.width - x));
                const int rows = static_cast<int>(std::min<std::uint64_t>(tileHeight, page.height - y));
                if (TIFFReadEncodedTile(tiff, index, tile.data(), static_cast<tmsize_t>(tile.size())) < 0) {
                    isRowMissing = true;
                    continue;
                }
                missing.hasPixels = true;
                for (int i = 0; i < rows; ++i) {
                    const std::uint8_t* row = tile.data() + static_cast<std::ptrdiff_t>(i) * rowBytes;
                    if (page.isPlanar) {
                        writer.PutPlane(row, plane, static_cast<int>(y) + i, static_cast<int>(x), columns);
                    } else {
                        writer.PutPixels(row, static_cast<int>(y) + i, static_cast<int>(x), columns);
                    }
                }
                progress((plane + static_cast<double>(y) / page.height) / planes);
            }
            if (isRowMissing) missing.Add(y, std::min<std::uint64_t>(y + tileHeight, page.height));
        }
    }
    return missing;
}

// Colour models that the library converts itself, to 8 bits.
cv::Mat ConvertByLibrary(TiffReader& reader, const Page& page) {
    char reason[1024] = "";
    if (TIFFRGBAImageOK(reader.Get(), reason) != 1)
        ZOR_THROW(Format, std::string("The TIFF file cannot be decoded: ") + reason + ".");
    TIFFSetField(reader.Get(), TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);  // as stored, never turned
    cv::Mat raster = codec::NewPixels(page.width, page.height, CV_8UC4);
    raster.setTo(cv::Scalar::all(0));
    if (TIFFReadRGBAImageOriented(reader.Get(), page.width, page.height,
                                  reinterpret_cast<std::uint32_t*>(raster.data), ORIENTATION_TOPLEFT,
                                  0) != 1) {
        reader.GetWarnings().Add("Parts of the picture could not be decoded; they are black");
    }
    cv::Mat pixels;
    cv::cvtColor(raster, pixels, cv::COLOR_RGBA2BGR);
    return pixels;
}

}  // namespace

namespace codec {

DecodedImage DecodeTiff(ByteSpan bytes, const DecodeProgress& progress) {
    TiffReader reader(bytes);
    Page page;
    const bool isPlain = Describe(reader, page);
    CheckPage(page, bytes.size());
    DecodedImage result;
    if (!isPlain || (page.isPlanar && page.photometric == PHOTOMETRIC_SEPARATED)) {
        result.image = Image(ConvertByLibrary(reader, page));
        result.warnings = reader.GetWarnings().Take();
        return result;
    }
    cv::Mat pixels = NewPixels(page.width, page.height, CV_MAKETYPE(page.Depth(), page.Channels()));
    pixels.setTo(cv::Scalar::all(0));
    const int extra = page.samples - page.colours - (page.hasAlpha ? 1 : 0);
    const bool isTiled = TIFFIsTiled(reader.Get()) != 0;
    const MissingRows rows = isTiled ? ReadTiles(reader, page, pixels, progress)
                                     : ReadScanlines(reader.Get(), page, pixels, progress);
    result.warnings = reader.GetWarnings().Take();
    if (!rows.hasPixels) {
        ZOR_THROW(Format,
                  "The TIFF file cannot be decoded" +
                      (reader.GetError().empty() ? std::string(".") : ": " + reader.GetError() + "."));
    }
    if (const int missing = rows.Count(); missing > 0) {
        result.warnings.insert(result.warnings.begin(),
                               "The file is damaged or ends early: " + std::to_string(missing) + " of " +
                                   std::to_string(pixels.rows) + " rows are missing.");
    }
    if (extra > 0)
        result.warnings.push_back("Further samples of each pixel, left out: " + std::to_string(extra) + ".");
    result.image = Image(pixels);
    return result;
}

}  // namespace codec
