#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstring>
#include <memory>
#include <string_view>

#include "zorbase/zorexception.h"
#include "zorimage/codec.h"

namespace {

constexpr std::size_t kSignatureBytes = 8;
constexpr std::size_t kMaxProfileBytes = 16U << 20;
constexpr png_uint_32 kStripRows = 32;

struct Header {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    int bits = 0;
    int colour = 0;
    bool isInterlaced = false;
};

// The header chunk, which must come first. False when it is not there.
bool ReadHeader(ByteSpan bytes, Header& header) {
    if (bytes.size() < kSignatureBytes + 8 + 13 || !codec::HasText(bytes, 12, "IHDR")) return false;
    const ByteSpan body = bytes.subspan(kSignatureBytes + 8, 13);
    header = {Big32(body, 0), Big32(body, 4), body[8], body[9], body[12] != 0};
    return true;
}

std::vector<std::uint8_t> InflateProfile(ByteSpan chunk, std::vector<std::string>& warnings) {
    std::vector<std::uint8_t> profile;
    const auto nameEnd = std::find(chunk.begin(), chunk.end(), 0);
    const std::size_t start = static_cast<std::size_t>(nameEnd - chunk.begin()) + 2;
    if (start >= chunk.size()) return profile;
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK) return profile;
    stream.next_in = const_cast<Bytef*>(chunk.data() + start);
    stream.avail_in = static_cast<uInt>(chunk.size() - start);
    std::array<std::uint8_t, 16384> part{};
    int state = Z_OK;
    while (state == Z_OK && profile.size() < kMaxProfileBytes) {
        stream.next_out = part.data();
        stream.avail_out = static_cast<uInt>(part.size());
        state = inflate(&stream, Z_NO_FLUSH);
        profile.insert(profile.end(), part.data(), part.data() + (part.size() - stream.avail_out));
    }
    inflateEnd(&stream);
    if (state != Z_STREAM_END) {
        profile.clear();
        warnings.emplace_back("The colour profile cannot be unpacked.");
    }
    return profile;
}

std::string ColourModel(int colour, std::size_t paletteEntries, bool hasTransparency) {
    const std::string suffix = hasTransparency ? " with transparency" : "";
    switch (colour) {
        case PNG_COLOR_TYPE_GRAY:
            return "Grey" + suffix;
        case PNG_COLOR_TYPE_RGB:
            return "RGB" + suffix;
        case PNG_COLOR_TYPE_PALETTE:
            return "Palette (" + std::to_string(paletteEntries) + ")" + suffix;
        case PNG_COLOR_TYPE_GRAY_ALPHA:
            return "Grey + alpha";
        case PNG_COLOR_TYPE_RGB_ALPHA:
            return "RGB + alpha";
        default:
            return "Unknown (" + std::to_string(colour) + ")";
    }
}

// The library with everything its callbacks need. Errors leave it by longjmp to the last Run.
struct Reader {
    png_structp png = nullptr;
    png_infop info = nullptr;
    std::jmp_buf jump{};
    std::array<char, 256> error{};
    codec::Warnings warnings;
    ByteSpan bytes;
    std::size_t at = 0;
    bool endedEarly = false;

    explicit Reader(ByteSpan file) : bytes(file) {}
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
};

[[noreturn]] void OnError(png_structp png, png_const_charp text) {
    Reader& reader = *static_cast<Reader*>(png_get_error_ptr(png));
    std::strncpy(reader.error.data(), text, reader.error.size() - 1);
    std::longjmp(reader.jump, 1);
}

void OnWarning(png_structp png, png_const_charp text) {
    try {
        static_cast<Reader*>(png_get_error_ptr(png))->warnings.Add(std::string("PNG: ") + text);
    } catch (const std::exception&) {
        // Without memory for a sentence the picture still comes.
    }
}

void OnRead(png_structp png, png_bytep target, std::size_t count) {
    Reader& reader = *static_cast<Reader*>(png_get_io_ptr(png));
    if (count > reader.bytes.size() - reader.at) {
        reader.endedEarly = true;
        png_error(png, "the file ends early");
    }
    std::memcpy(target, reader.bytes.data() + reader.at, count);
    reader.at += count;
}

// Calls into the library; false when it gave up. step must not own anything.
template <typename Step>
bool Run(Reader& reader, const Step& step) {
    if (setjmp(reader.jump) != 0) return false;  // NOLINT: the library's way to report errors
    step();
    return true;
}

void SetUp(Reader& reader) {
    png_structp png = reader.png;
    // Chunks without a say in the pixels are passed over, so that damage in them costs nothing.
    static constexpr png_byte ignored[] =
        "iCCP\0gAMA\0cHRM\0sRGB\0sBIT\0bKGD\0hIST\0pHYs\0sPLT\0tIME\0tEXt\0zTXt\0iTXt\0eXIf\0oFFs\0pCAL\0sCAL";
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, ignored, static_cast<int>(sizeof(ignored) / 5));
    png_set_crc_action(png, PNG_CRC_WARN_USE, PNG_CRC_WARN_USE);
    png_set_option(png, PNG_IGNORE_ADLER32, PNG_OPTION_ON);
    png_set_benign_errors(png, 1);
    png_set_user_limits(png, 0x7fffffff, 0x7fffffff);
    png_set_read_fn(png, &reader, OnRead);
    png_read_info(png, reader.info);
    png_set_expand(png);
    png_set_bgr(png);
    png_set_swap(png);
}

int TypeOf(const Reader& reader) {
    const int depth = png_get_bit_depth(reader.png, reader.info) == 16 ? CV_16U : CV_8U;
    return CV_MAKETYPE(depth, png_get_channels(reader.png, reader.info));
}

bool ReadStrip(Reader& reader, cv::Mat& pixels, int first, int count) {
    std::uint8_t* target = pixels.ptr(first);
    const std::size_t step = pixels.step[0];
    return Run(reader, [&reader, target, step, count] {
        std::array<png_bytep, kStripRows> rows;
        for (int i = 0; i < count; ++i)
            rows[static_cast<std::size_t>(i)] = target + static_cast<std::size_t>(i) * step;
        png_read_rows(reader.png, rows.data(), nullptr, static_cast<png_uint_32>(count));
    });
}

// Reads all passes; false when the library gave up in pass `pass` after `rowsDone` rows of it.
bool ReadPasses(Reader& reader, cv::Mat& pixels, int passes, int& pass, int& rowsDone,
                const DecodeProgress& progress) {
    for (pass = 0; pass < passes; ++pass) {
        for (rowsDone = 0; rowsDone < pixels.rows;) {
            const int count = std::min(static_cast<int>(kStripRows), pixels.rows - rowsDone);
            if (!ReadStrip(reader, pixels, rowsDone, count)) return false;
            rowsDone += count;
            progress((pass + static_cast<double>(rowsDone) / pixels.rows) / passes);
        }
    }
    return true;
}

std::string FailureText(const Reader& reader, int passes, int pass, int rowsDone, int rows) {
    const std::string reason = reader.endedEarly
                                   ? std::string("File ends early: ")
                                   : std::string("The decoder gave up (") + reader.error.data() + "): ";
    if (passes == 1) return reason + codec::MissingRowsText(rowsDone, rows);
    return reason + "the picture is interlaced, and what follows pass " + std::to_string(pass + 1) + " of " +
           std::to_string(passes) + " is missing.";
}

}  // namespace

namespace codec {

void ReadPngInfo(ByteSpan bytes, ImageInfo& info) {
    Header header;
    if (!ReadHeader(bytes, header)) {
        info.warnings.emplace_back("The file has no header chunk: its size is not known.");
        return;
    }
    info.width = static_cast<int>(std::min<std::uint32_t>(header.width, 0x7fffffff));
    info.height = static_cast<int>(std::min<std::uint32_t>(header.height, 0x7fffffff));
    info.bitsPerSample = header.bits;
    info.channels = header.colour == PNG_COLOR_TYPE_RGB_ALPHA    ? 4
                    : header.colour == PNG_COLOR_TYPE_RGB        ? 3
                    : header.colour == PNG_COLOR_TYPE_GRAY_ALPHA ? 2
                                                                 : 1;
    info.compression = header.isInterlaced ? "Deflate, interlaced" : "Deflate";
    info.recipe = "Samples as stored, no gamma and no colour management.";
    std::size_t paletteEntries = 0;
    bool hasTransparency = false;
    bool hasEnd = false;
    std::size_t at = kSignatureBytes;
    while (!hasEnd && bytes.size() - at >= 12) {
        const std::size_t length = Big32(bytes, at);
        if (length > bytes.size() - at - 12) break;
        const ByteSpan body = bytes.subspan(at + 8, length);
        const std::string_view name(reinterpret_cast<const char*>(&bytes[at + 4]), 4);
        if (Big32(bytes, at + 8 + length) != crc32(0, &bytes[at + 4], static_cast<uInt>(length + 4)) &&
            info.warnings.size() < 20) {
            info.warnings.emplace_back("The checksum of a chunk at byte " + std::to_string(at) +
                                       " is wrong.");
        }
        if (name == "PLTE") paletteEntries = length / 3;
        if (name == "tRNS") hasTransparency = true;
        if (name == "acTL" && length >= 4)
            info.frames = static_cast<int>(std::clamp<std::uint32_t>(Big32(body, 0), 1, 1U << 30));
        if (name == "iCCP" && info.iccProfile.empty()) info.iccProfile = InflateProfile(body, info.warnings);
        hasEnd = name == "IEND";
        at += 12 + length;
    }
    info.colourModel = ColourModel(header.colour, paletteEntries, hasTransparency);
    if (!hasEnd) info.warnings.emplace_back("File ends early: the end chunk is missing.");
}

DecodedImage DecodePng(ByteSpan bytes, const DecodeProgress& progress) {
    Header header;
    if (!ReadHeader(bytes, header))
        ZOR_THROW(Format, "The PNG file has no header chunk: there is nothing to decode.");
    CheckPlausible(header.width, header.height, bytes.size(), header.bits == 16 ? 8 : 4);
    auto reader = std::make_unique<Reader>(bytes);
    reader->png = png_create_read_struct(PNG_LIBPNG_VER_STRING, reader.get(), OnError, OnWarning);
    if (reader->png != nullptr) reader->info = png_create_info_struct(reader->png);
    if (reader->info == nullptr) ZOR_THROW(Memory, "There is not enough memory to decode this PNG file.");
    int passes = 1;
    const bool hasStarted = Run(*reader, [&reader, &passes] {
        SetUp(*reader);
        passes = png_set_interlace_handling(reader->png);
        png_read_update_info(reader->png, reader->info);
    });
    if (!hasStarted)
        ZOR_THROW(Format, std::string("The PNG file cannot be decoded: ") + reader->error.data() + '.');

    cv::Mat pixels = NewPixels(header.width, header.height, TypeOf(*reader));
    if (pixels.elemSize() * header.width != png_get_rowbytes(reader->png, reader->info)) {
        ZOR_THROW(Format,
                  "The PNG file cannot be decoded: its rows do not have the size that its header says.");
    }
    if (passes > 1) pixels.setTo(cv::Scalar::all(0));
    int pass = 0;
    int rowsDone = 0;
    DecodedImage result;
    const bool isWhole = ReadPasses(*reader, pixels, passes, pass, rowsDone, progress);
    result.warnings = reader->warnings.Take();
    if (!isWhole) {
        // Of the strip that was cut off the library has filled the first rows; their number is told by the
        // row counter.
        if (passes == 1) {
            rowsDone = static_cast<int>(
                std::min<png_uint_32>(png_get_current_row_number(reader->png), header.height));
            pixels.rowRange(rowsDone, pixels.rows).setTo(cv::Scalar::all(0));
        }
        const std::string text = FailureText(*reader, passes, pass, rowsDone, pixels.rows);
        if (pass == 0 && rowsDone == 0) ZOR_THROW(Format, "The PNG file cannot be decoded. " + text);
        result.warnings.insert(result.warnings.begin(), text);
    }
    result.image = Image(pixels);
    return result;
}

}  // namespace codec
