#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdio>
#include <exception>
#include <memory>

// The library's header needs the ones above.
#include <jerror.h>
#include <jpeglib.h>

#include "zorbase/zorexception.h"
#include "zorimage/codec.h"
#include "zorimage/jpegheader.h"

using codec::ByteSpan;
using codec::JpegHeader;

namespace {

// More scans than any encoder writes; files with thousands of them are made to keep decoders busy.
constexpr int kMaxScans = 500;
// Work that a file may ask for: pixels times scans per byte, for pictures that are not small.
constexpr double kMaxWorkPerByte = 200000.0;
constexpr double kUndoubtedWork = 1e9;
constexpr JDIMENSION kStripRows = 64;

// The library and everything its callbacks need. Errors leave the library by longjmp to the last Run; C++
// objects live outside the functions that are jumped over.
struct Reader {
    jpeg_decompress_struct cinfo{};
    jpeg_error_mgr errors{};
    jpeg_progress_mgr monitor{};
    std::jmp_buf jump{};
    std::array<char, JMSG_LENGTH_MAX> error{};
    bool isOutOfMemory = false;
    codec::Warnings warnings;
    const DecodeProgress* progress = nullptr;
    std::exception_ptr stopped;  // what the progress function threw
    ByteSpan bytes;
    int scan = 0;                  // the scan being read, from 1
    std::size_t scanStart = 0;     // where its data begins
    JDIMENSION rowsBeforeEnd = 0;  // rows decoded when the file ended early
    bool endedEarly = false;

    explicit Reader(ByteSpan file) : bytes(file) {}
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { jpeg_destroy_decompress(&cinfo); }
};

Reader& ReaderOf(j_common_ptr cinfo) {
    return *static_cast<Reader*>(cinfo->client_data);
}

[[noreturn]] void OnError(j_common_ptr cinfo) {
    Reader& reader = ReaderOf(cinfo);
    cinfo->err->format_message(cinfo, reader.error.data());
    reader.isOutOfMemory = cinfo->err->msg_code == JERR_OUT_OF_MEMORY;
    std::longjmp(reader.jump, 1);
}

[[noreturn]] void Refuse(Reader& reader, const char* text) {
    std::snprintf(reader.error.data(), reader.error.size(), "%s", text);
    std::longjmp(reader.jump, 1);
}

void AddWarning(Reader& reader, const char* text) noexcept {
    try {
        reader.warnings.Add(text);
    } catch (const std::exception&) {
        // Without memory for a sentence the picture still comes.
    }
}

void OnMessage(j_common_ptr cinfo, int level) {
    if (level >= 0) return;
    Reader& reader = ReaderOf(cinfo);
    ++cinfo->err->num_warnings;
    std::array<char, JMSG_LENGTH_MAX> text{};
    cinfo->err->format_message(cinfo, text.data());
    if (cinfo->err->msg_code == JWRN_JPEG_EOF && !reader.endedEarly) {
        const jpeg_decompress_struct& state = reader.cinfo;
        reader.endedEarly = true;
        reader.rowsBeforeEnd =
            std::min(state.image_height,
                     state.input_iMCU_row * static_cast<JDIMENSION>(state.max_v_samp_factor) * DCTSIZE);
    }
    AddWarning(reader, text.data());
}

std::size_t Position(const Reader& reader) {
    return reader.bytes.size() - std::min(reader.bytes.size(), reader.cinfo.src->bytes_in_buffer);
}

// Called by the library for every row of blocks.
void OnMonitor(j_common_ptr cinfo) {
    Reader& reader = ReaderOf(cinfo);
    if (!cinfo->is_decompressor) return;
    if (reader.cinfo.input_scan_number != reader.scan) {
        reader.scan = reader.cinfo.input_scan_number;
        reader.scanStart = Position(reader);
        const double work =
            static_cast<double>(reader.cinfo.image_width) * reader.cinfo.image_height * reader.scan;
        if (reader.scan > kMaxScans) Refuse(reader, "the file has more than 500 scans");
        if (work > kUndoubtedWork && work > kMaxWorkPerByte * static_cast<double>(reader.bytes.size())) {
            Refuse(reader, "the file asks for far more work than its size can justify");
        }
    }
    if (!jpeg_has_multiple_scans(&reader.cinfo) || reader.cinfo.output_scanline > 0) return;
    bool isStopped = false;
    try {
        (*reader.progress)(0.6 * static_cast<double>(Position(reader)) /
                           static_cast<double>(reader.bytes.size()));
    } catch (...) {
        reader.stopped = std::current_exception();
        isStopped = true;
    }
    if (isStopped) std::longjmp(reader.jump, 1);  // outside the handler: nothing of C++ is alive here
}

// Calls into the library; false when it gave up. step must not own anything.
template <typename Step>
bool Run(Reader& reader, const Step& step) {
    if (setjmp(reader.jump) != 0) return false;  // NOLINT: the library's way to report errors
    step();
    return true;
}

[[noreturn]] void ThrowFailure(const Reader& reader) {
    if (reader.stopped) std::rethrow_exception(reader.stopped);
    const std::string text = reader.error.data();
    if (reader.isOutOfMemory) ZOR_THROW(Memory, "There is not enough memory to decode this JPEG file.");
    ZOR_THROW(Format, "The JPEG file cannot be decoded: " + text + (text.ends_with('.') ? "" : "."));
}

// What the header alone forbids, said in words.
void CheckHeader(const JpegHeader& header, std::size_t fileBytes) {
    if (header.frameMarker == 0)
        ZOR_THROW(Format, "The JPEG file has no frame header: there is nothing to decode.");
    if (header.precision != 8) {
        ZOR_THROW(Format, "This JPEG file has " + std::to_string(header.precision) +
                              " bits per sample; only JPEG files with 8 bits per sample can be decoded.");
    }
    if ((header.frameMarker & 4) != 0) {
        ZOR_THROW(Format, "This JPEG file is hierarchical (differential) JPEG, which cannot be decoded.");
    }
    if ((header.frameMarker & 3) == 3)
        ZOR_THROW(Format, "This JPEG file is lossless JPEG, which cannot be decoded.");
    const std::size_t count = header.components.size();
    if (count != 1 && count != 3 && count != 4) {
        ZOR_THROW(Format, "This JPEG file has " + std::to_string(count) +
                              " components; only 1, 3 and 4 are understood.");
    }
    // Of a file with several scans the library keeps every coefficient.
    const bool isProgressive = (header.frameMarker & 3) == 2;
    codec::CheckPlausible(static_cast<std::uint64_t>(header.width), static_cast<std::uint64_t>(header.height),
                          fileBytes, (count == 1 ? 1 : 3) + (isProgressive ? 2 * count : 0));
}

bool Start(Reader& reader, J_COLOR_SPACE colour) {
    reader.cinfo.err = jpeg_std_error(&reader.errors);
    reader.cinfo.client_data = &reader;  // creating keeps this and the line above
    reader.errors.error_exit = OnError;
    reader.errors.emit_message = OnMessage;
    reader.monitor.progress_monitor = OnMonitor;
    return Run(reader, [&] {
        jpeg_create_decompress(&reader.cinfo);
        reader.cinfo.progress = &reader.monitor;
        jpeg_mem_src(&reader.cinfo, reader.bytes.data(), reader.bytes.size());
        jpeg_read_header(&reader.cinfo, TRUE);
        reader.cinfo.out_color_space = colour;
        reader.cinfo.dct_method = JDCT_ISLOW;
        jpeg_start_decompress(&reader.cinfo);
    });
}

// Rows from the library straight into target, at most kStripRows; the number read, or -1 when it gave up.
int ReadStrip(Reader& reader, std::uint8_t* target, std::size_t step) {
    const JDIMENSION first = reader.cinfo.output_scanline;
    const bool isGood = Run(reader, [&] {
        std::array<JSAMPROW, kStripRows> rows;
        const JDIMENSION wanted = std::min(kStripRows, reader.cinfo.output_height - first);
        for (JDIMENSION i = 0; i < wanted; ++i) rows[i] = target + i * step;
        JDIMENSION done = 0;
        while (done < wanted) done += jpeg_read_scanlines(&reader.cinfo, &rows[done], wanted - done);
    });
    return isGood ? static_cast<int>(reader.cinfo.output_scanline - first) : -1;
}

void DescribeEnd(Reader& reader, int rowsDone, int rows, DecodedImage& result) {
    result.warnings = reader.warnings.Take();
    std::string text;
    if (rowsDone < rows) {
        text = std::string("The decoder gave up (") + reader.error.data() +
               "): " + codec::MissingRowsText(rowsDone, rows);
    } else if (reader.endedEarly && jpeg_has_multiple_scans(&reader.cinfo)) {
        text = "File ends early, in scan " + std::to_string(reader.cinfo.input_scan_number) +
               ": the details of the scans after it are missing.";
    } else if (reader.endedEarly && static_cast<int>(reader.rowsBeforeEnd) < rows) {
        text = "File ends early: " + codec::MissingRowsText(static_cast<int>(reader.rowsBeforeEnd), rows);
    }
    if (!text.empty()) result.warnings.insert(result.warnings.begin(), text);
}

bool ReadRows(Reader& reader, cv::Mat& pixels, bool isInk, bool isInverted, int& rowsDone) {
    const double done0 = jpeg_has_multiple_scans(&reader.cinfo) ? 0.6 : 0.0;
    cv::Mat strip;
    if (isInk) strip = codec::NewPixels(static_cast<std::uint64_t>(pixels.cols), kStripRows, CV_8UC4);
    while (rowsDone < pixels.rows) {
        const int count = isInk ? ReadStrip(reader, strip.data, strip.step[0])
                                : ReadStrip(reader, pixels.ptr(rowsDone), pixels.step[0]);
        if (count < 0) return false;
        for (int i = 0; isInk && i < count; ++i)
            codec::InkToBgr(strip.ptr(i), pixels.ptr(rowsDone + i), pixels.cols, isInverted);
        rowsDone += count;
        (*reader.progress)(done0 + (1.0 - done0) * rowsDone / pixels.rows);
    }
    return true;
}

}  // namespace

namespace codec {

DecodedImage DecodeJpeg(ByteSpan bytes, const DecodeProgress& progress) {
    const JpegHeader header = ReadJpegHeader(bytes);
    CheckHeader(header, bytes.size());
    const bool isInk = header.components.size() == 4;
    const bool isGrey = header.components.size() == 1;
    const J_COLOR_SPACE colour = isGrey ? JCS_GRAYSCALE : isInk ? JCS_CMYK : JCS_EXT_BGR;

    auto reader = std::make_unique<Reader>(bytes);
    reader->progress = &progress;
    std::string lost;
    if (!Start(*reader, colour)) {
        // A later scan is damaged: what stands before it is a whole, coarser picture.
        if (reader->stopped || reader->isOutOfMemory || reader->scan < 2 || reader->scan > kMaxScans)
            ThrowFailure(*reader);
        lost = "Scan " + std::to_string(reader->scan) + " is damaged (" + reader->error.data() +
               "): it and all scans after it are left out.";
        const ByteSpan before = bytes.first(reader->scanStart);
        reader = std::make_unique<Reader>(before);
        reader->progress = &progress;
        if (!Start(*reader, colour)) ThrowFailure(*reader);
    }

    DecodedImage result;
    cv::Mat pixels =
        NewPixels(reader->cinfo.output_width, reader->cinfo.output_height, isGrey ? CV_8UC1 : CV_8UC3);
    int rowsDone = 0;
    if (!ReadRows(*reader, pixels, isInk, header.adobeTransform >= 0, rowsDone)) {
        if (!isInk) rowsDone = static_cast<int>(reader->cinfo.output_scanline);
        if (rowsDone == 0) ThrowFailure(*reader);
        pixels.rowRange(rowsDone, pixels.rows).setTo(cv::Scalar::all(128));
    }
    DescribeEnd(*reader, rowsDone, pixels.rows, result);
    if (rowsDone == pixels.rows && !reader->endedEarly) {
        // What stands behind the last row can be damaged too; the library tells while it looks for the end.
        jpeg_decompress_struct& cinfo = reader->cinfo;
        Run(*reader, [&cinfo] { jpeg_finish_decompress(&cinfo); });
        if (reader->stopped) std::rethrow_exception(reader->stopped);
        for (const std::string& warning : reader->warnings.Take()) result.warnings.push_back(warning);
    }
    if (!lost.empty()) result.warnings.insert(result.warnings.begin(), lost);
    result.image = Image(pixels);
    return result;
}

}  // namespace codec
