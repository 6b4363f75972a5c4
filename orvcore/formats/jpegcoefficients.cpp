#include "orvcore/formats/jpegcoefficients.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>

// The library's header needs the ones above.
#include <jerror.h>
#include <jpeglib.h>

#include "zorbase/zorexception.h"

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr int kMaxScans = 500;  // more than any encoder writes
// Blocks that a byte of the file can stand for: an arithmetic coder spends about 1/50 bit on an empty block, a run of 32,767 empty
// blocks of a progressive scan two bytes.
constexpr double kMaxBlocksPerByte = 20000.0;
// Work that a file may ask for: blocks times scans per byte, for pictures that are not small.
constexpr double kMaxWorkPerByte = 3000.0;
constexpr double kUndoubtedWork = 2e7;
constexpr double kMaxSamples = 2147483647.0;
constexpr std::size_t kMaxWarnings = 20;

// The library and everything its callbacks need. Errors leave the library by longjmp; C++ objects live outside what is jumped over.
struct Reader {
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    jpeg_progress_mgr monitor{};
    std::jmp_buf jump{};
    std::array<char, JMSG_LENGTH_MAX> error{};
    bool isOutOfMemory = false;
    Bytes bytes;
    const std::function<void(double)>* progress = nullptr;
    std::exception_ptr stopped;
    std::vector<std::string> warnings;
    int scan = 0;
    std::size_t scanStart = 0;
    bool endedEarly = false;
    JDIMENSION rowsBeforeEnd = 0;  // rows of MCUs, of the scan in which the file ended
    jvirt_barray_ptr* arrays = nullptr;

    explicit Reader(Bytes file) : bytes(file) {}
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { jpeg_destroy_decompress(&info); }
};

Reader& ReaderOf(j_common_ptr info) {
    return *static_cast<Reader*>(info->client_data);
}

[[noreturn]] void OnError(j_common_ptr info) {
    Reader& reader = ReaderOf(info);
    info->err->format_message(info, reader.error.data());
    reader.isOutOfMemory = info->err->msg_code == JERR_OUT_OF_MEMORY;
    std::longjmp(reader.jump, 1);
}

[[noreturn]] void Refuse(Reader& reader, const char* text) {
    std::snprintf(reader.error.data(), reader.error.size(), "%s", text);
    std::longjmp(reader.jump, 1);
}

void AddWarning(std::vector<std::string>& warnings, std::string text) {
    if (!text.ends_with('.')) text += '.';
    if (warnings.size() < kMaxWarnings && std::find(warnings.begin(), warnings.end(), text) == warnings.end())
        warnings.push_back(std::move(text));
}

void OnMessage(j_common_ptr info, int level) {
    if (level >= 0) return;
    Reader& reader = ReaderOf(info);
    ++info->err->num_warnings;
    if (info->err->msg_code == JWRN_JPEG_EOF && !reader.endedEarly) {
        reader.endedEarly = true;
        reader.rowsBeforeEnd = reader.info.input_iMCU_row;
    }
    std::array<char, JMSG_LENGTH_MAX> text{};
    info->err->format_message(info, text.data());
    try {
        AddWarning(reader.warnings, text.data());
    } catch (const std::exception&) {
        // Without memory for a sentence the coefficients still come.
    }
}

std::size_t Position(const Reader& reader) {
    return reader.bytes.size() - std::min(reader.bytes.size(), reader.info.src->bytes_in_buffer);
}

// Called by the library for every row of blocks.
void OnMonitor(j_common_ptr info) {
    Reader& reader = ReaderOf(info);
    if (reader.info.input_scan_number != reader.scan) {
        reader.scan = reader.info.input_scan_number;
        reader.scanStart = Position(reader);
        const double work =
            static_cast<double>(reader.info.image_width) * reader.info.image_height / 64.0 * reader.scan;
        if (reader.scan > kMaxScans) Refuse(reader, "the file has more than 500 scans");
        if (work > kUndoubtedWork && work > kMaxWorkPerByte * static_cast<double>(reader.bytes.size()))
            Refuse(reader, "the file asks for far more work than its size can justify");
    }
    if (!*reader.progress) return;
    bool isStopped = false;
    try {
        (*reader.progress)(0.8 * static_cast<double>(Position(reader)) /
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
    if (reader.isOutOfMemory)
        ZOR_THROW(Memory, "There is not enough memory for the coefficients of this JPEG file.");
    const std::string text = reader.error.data();
    ZOR_THROW(Format, "The coefficients of this JPEG file cannot be read: " + text +
                          (text.ends_with('.') ? "" : "."));
}

void CheckHeader(Reader& reader) {
    const jpeg_decompress_struct& info = reader.info;
    if (info.data_precision != 8) Refuse(reader, "it has not 8 bits per sample");
    if (info.num_components < 1 || info.num_components > 4) Refuse(reader, "it has not 1 to 4 components");
    double samples = 0.0;
    for (int i = 0; i < info.num_components; ++i)
        samples += static_cast<double>(info.comp_info[i].width_in_blocks) *
                   info.comp_info[i].height_in_blocks * DCTSIZE2;
    if (samples > kMaxSamples) Refuse(reader, "its picture is too large");
    if (samples / DCTSIZE2 > kMaxBlocksPerByte * static_cast<double>(reader.bytes.size()))
        Refuse(reader, "the file is far too short for the picture that it claims to hold");
}

bool Start(Reader& reader) {
    reader.info.err = jpeg_std_error(&reader.errors);
    reader.info.client_data = &reader;  // creating keeps this and the line above
    reader.errors.error_exit = OnError;
    reader.errors.emit_message = OnMessage;
    reader.monitor.progress_monitor = OnMonitor;
    return Run(reader, [&] {
        jpeg_create_decompress(&reader.info);
        reader.info.progress = &reader.monitor;
        jpeg_mem_src(&reader.info, reader.bytes.data(), reader.bytes.size());
        jpeg_read_header(&reader.info, TRUE);
        CheckHeader(reader);
        reader.arrays = jpeg_read_coefficients(&reader.info);
    });
}

// One row of blocks into its place.
void CopyBlockRow(const JCOEF* blocks, cv::Mat& coefficients, int blockRow) {
    const int count = coefficients.cols / DCTSIZE;
    for (int v = 0; v < DCTSIZE; ++v) {
        auto* target = coefficients.ptr<std::int16_t>(DCTSIZE * blockRow + v);
        for (int block = 0; block < count; ++block)
            std::memcpy(target + DCTSIZE * block, blocks + DCTSIZE2 * block + DCTSIZE * v,
                        DCTSIZE * sizeof(JCOEF));
    }
}

bool CopyCoefficients(Reader& reader, int index, JpegCoefficientPlane& component) {
    jpeg_decompress_struct& info = reader.info;
    return Run(reader, [&] {
        for (int row = 0; row < component.blocks.height; ++row) {
            const auto from = static_cast<JDIMENSION>(row);
            JBLOCKARRAY rows = info.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&info),
                                                            reader.arrays[index], from, 1, FALSE);
            CopyBlockRow(&rows[0][0][0], component.coefficients, row);
        }
    });
}

JpegCoefficientPlane DescribeComponent(const jpeg_component_info& info) {
    JpegCoefficientPlane component;
    component.id = info.component_id;
    component.horizontal = info.h_samp_factor;
    component.vertical = info.v_samp_factor;
    component.samples =
        cv::Size(static_cast<int>(info.downsampled_width), static_cast<int>(info.downsampled_height));
    component.blocks =
        cv::Size(static_cast<int>(info.width_in_blocks), static_cast<int>(info.height_in_blocks));
    component.wholeBlockRows = component.blocks.height;
    component.hasSteps = info.quant_table != nullptr;
    if (component.hasSteps) std::copy_n(info.quant_table->quantval, DCTSIZE2, component.steps.begin());
    return component;
}

// What an early end leaves of each component, as far as it is known: in a later scan only details are missing, and blocks of
// components that had no scan yet are missing altogether.
void LimitToWholeRows(const Reader& reader, JpegCoefficients& result) {
    if (!reader.endedEarly) return;
    const bool hasScans =
        result.isProgressive || jpeg_has_multiple_scans(const_cast<j_decompress_ptr>(&reader.info)) != 0;
    for (JpegCoefficientPlane& component : result.components) {
        if (!component.hasSteps) {
            component.wholeBlockRows = 0;
        } else if (!hasScans || reader.scan < 2) {
            // Rows of MCUs hold as many rows of blocks as the sampling factor says, unless the component is alone.
            const std::int64_t perRow = result.components.size() == 1 ? 1 : component.vertical;
            component.wholeBlockRows = static_cast<int>(
                std::min<std::int64_t>(component.blocks.height, perRow * reader.rowsBeforeEnd));
        }
    }
    AddWarning(result.warnings, hasScans
                                    ? "The file ends early: details of the scans that are missing are lost"
                                    : "The file ends early: the lower part of the picture is missing");
}

}  // namespace

JpegCoefficients ReadJpegCoefficients(std::span<const std::uint8_t> bytes, JpegComponentChoice choice,
                                      const std::function<void(double)>& progress) {
    if (bytes.size() < 4 || bytes[0] != 0xff || bytes[1] != 0xd8)
        ZOR_THROW(Format, "This is not a JPEG file.");
    auto reader = std::make_unique<Reader>(bytes);
    reader->progress = &progress;
    std::string lost;
    if (!Start(*reader)) {
        // A later scan is damaged: what stands before it is a whole, coarser picture.
        if (reader->stopped || reader->isOutOfMemory || reader->scan < 2 || reader->scan > kMaxScans)
            ThrowFailure(*reader);
        lost = "Scan " + std::to_string(reader->scan) + " is damaged (" + reader->error.data() +
               "): it and all scans after it are left out.";
        reader = std::make_unique<Reader>(bytes.first(reader->scanStart));
        reader->progress = &progress;
        if (!Start(*reader)) ThrowFailure(*reader);
    }
    JpegCoefficients result;
    const jpeg_decompress_struct& info = reader->info;
    result.size = cv::Size(static_cast<int>(info.image_width), static_cast<int>(info.image_height));
    result.isProgressive = info.progressive_mode != 0;
    result.isArithmetic = info.arith_code != 0;
    result.restartInterval = static_cast<int>(info.restart_interval);
    if (!lost.empty()) AddWarning(result.warnings, lost);
    for (const std::string& warning : reader->warnings) AddWarning(result.warnings, warning);
    for (int i = 0; i < info.num_components; ++i)
        result.components.push_back(DescribeComponent(info.comp_info[i]));
    LimitToWholeRows(*reader, result);
    const std::size_t wanted = choice == JpegComponentChoice::First ? 1 : result.components.size();
    for (std::size_t i = 0; i < wanted; ++i) {
        JpegCoefficientPlane& component = result.components[i];
        try {
            component.coefficients.create(component.blocks.height * DCTSIZE, component.blocks.width * DCTSIZE,
                                          CV_16SC1);
        } catch (const cv::Exception&) {
            ZOR_THROW(Memory, "There is not enough memory for the coefficients of this JPEG file.");
        }
        if (!CopyCoefficients(*reader, static_cast<int>(i), component)) ThrowFailure(*reader);
        if (progress) progress(0.8 + 0.2 * static_cast<double>(i + 1) / static_cast<double>(wanted));
    }
    return result;
}
