#include <algorithm>
#include <array>
#include <memory>

#include "zorbase/zorexception.h"
#include "zorimage/codec.h"
#include "zorimage/jpegheader.h"
#include "zorimage/jpegsession.h"

using codec::JpegHeader;

namespace {

constexpr JDIMENSION kStripRows = 64;

[[noreturn]] void ThrowFailure(const JpegReading& reading) {
    reading.RethrowIfStopped();
    if (reading.IsOutOfMemory()) ZOR_THROW(Memory, "There is not enough memory to decode this JPEG file.");
    ZOR_THROW(Format, reading.Explain("The JPEG file cannot be decoded: "));
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

// Within Run: everything up to the first row.
void Begin(JpegReading& reading, J_COLOR_SPACE colour) {
    reading.ReadHeader();
    reading.tellsProgress = jpeg_has_multiple_scans(&reading.info) != 0;
    reading.info.out_color_space = colour;
    reading.info.dct_method = JDCT_ISLOW;
    jpeg_start_decompress(&reading.info);
}

// Rows that were whole when the file ended.
int RowsBeforeEnd(const JpegReading& reading) {
    const jpeg_decompress_struct& info = reading.info;
    const std::uint64_t rows =
        std::uint64_t{reading.blockRowsBeforeEnd} * static_cast<unsigned>(info.max_v_samp_factor) * DCTSIZE;
    return static_cast<int>(std::min<std::uint64_t>(info.image_height, rows));
}

// Rows from the library straight into target, at most kStripRows; the number read, or -1 when it gave up.
int ReadStrip(JpegReading& reading, std::uint8_t* target, std::size_t step) {
    const JDIMENSION first = reading.info.output_scanline;
    const bool isGood = reading.Run([&] {
        std::array<JSAMPROW, kStripRows> rows;
        const JDIMENSION wanted = std::min(kStripRows, reading.info.output_height - first);
        for (JDIMENSION i = 0; i < wanted; ++i) rows[i] = target + i * step;
        JDIMENSION done = 0;
        while (done < wanted) done += jpeg_read_scanlines(&reading.info, &rows[done], wanted - done);
    });
    return isGood ? static_cast<int>(reading.info.output_scanline - first) : -1;
}

void DescribeEnd(JpegReading& reading, int rowsDone, int rows, DecodedImage& result) {
    result.warnings = reading.warnings.Take();
    std::string text;
    if (rowsDone < rows) {
        text = std::string("The decoder gave up (") + reading.GetError() +
               "): " + codec::MissingRowsText(rowsDone, rows);
    } else if (reading.endedEarly && jpeg_has_multiple_scans(&reading.info)) {
        text = "File ends early, in scan " + std::to_string(reading.info.input_scan_number) +
               ": the details of the scans after it are missing.";
    } else if (reading.endedEarly && RowsBeforeEnd(reading) < rows) {
        text = "File ends early: " + codec::MissingRowsText(RowsBeforeEnd(reading), rows);
    }
    if (!text.empty()) result.warnings.insert(result.warnings.begin(), text);
}

bool ReadRows(JpegReading& reading, cv::Mat& pixels, bool isInk, bool isInverted,
              const DecodeProgress& progress, int& rowsDone) {
    const double done0 = jpeg_has_multiple_scans(&reading.info) ? 0.6 : 0.0;
    cv::Mat strip;
    if (isInk) strip = codec::NewPixels(static_cast<std::uint64_t>(pixels.cols), kStripRows, CV_8UC4);
    while (rowsDone < pixels.rows) {
        const int count = isInk ? ReadStrip(reading, strip.data, strip.step[0])
                                : ReadStrip(reading, pixels.ptr(rowsDone), pixels.step[0]);
        if (count < 0) return false;
        for (int i = 0; isInk && i < count; ++i)
            codec::InkToBgr(strip.ptr(i), pixels.ptr(rowsDone + i), pixels.cols, isInverted);
        rowsDone += count;
        progress(done0 + (1.0 - done0) * rowsDone / pixels.rows);
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

    std::string lost;
    std::unique_ptr<JpegReading> failed;
    const std::function<void(double)> partOfProgress = [&progress](double done) { progress(0.6 * done); };
    const auto reading = BeginReading(
        bytes, &partOfProgress, [colour](JpegReading& begun) { Begin(begun, colour); }, lost, failed);
    if (!reading) ThrowFailure(*failed);

    DecodedImage result;
    cv::Mat pixels =
        NewPixels(reading->info.output_width, reading->info.output_height, isGrey ? CV_8UC1 : CV_8UC3);
    int rowsDone = 0;
    if (!ReadRows(*reading, pixels, isInk, header.adobeTransform >= 0, progress, rowsDone)) {
        if (!isInk) rowsDone = static_cast<int>(reading->info.output_scanline);
        if (rowsDone == 0) ThrowFailure(*reading);
        pixels.rowRange(rowsDone, pixels.rows).setTo(cv::Scalar::all(128));
    }
    DescribeEnd(*reading, rowsDone, pixels.rows, result);
    if (rowsDone == pixels.rows && !reading->endedEarly) {
        // What stands behind the last row can be damaged too; the library tells while it looks for the end.
        jpeg_decompress_struct& info = reading->info;
        reading->Run([&info] { jpeg_finish_decompress(&info); });
        for (const std::string& warning : reading->warnings.Take()) result.warnings.push_back(warning);
    }
    if (!lost.empty()) result.warnings.insert(result.warnings.begin(), lost);
    result.image = Image(pixels);
    return result;
}

}  // namespace codec
