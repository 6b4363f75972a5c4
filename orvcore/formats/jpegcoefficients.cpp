#include "orvcore/formats/jpegcoefficients.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "zorbase/zorexception.h"
#include "zorimage/jpegsession.h"

namespace {

// Blocks that a byte of the file can stand for: an arithmetic coder spends about 1/50 bit on an empty block, a run of 32,767 empty
// blocks of a progressive scan two bytes.
constexpr double kMaxBlocksPerByte = 20000.0;
constexpr double kMaxSamples = 2147483647.0;

[[noreturn]] void ThrowFailure(const JpegReading& reading) {
    reading.RethrowIfStopped();
    if (reading.IsOutOfMemory())
        ZOR_THROW(Memory, "There is not enough memory for the coefficients of this JPEG file.");
    ZOR_THROW(Format, reading.Explain("The coefficients of this JPEG file cannot be read: "));
}

// Within Run: what the header alone forbids.
void CheckHeader(JpegReading& reading, std::size_t fileBytes) {
    const jpeg_decompress_struct& info = reading.info;
    if (info.data_precision != 8) reading.Refuse("it has not 8 bits per sample");
    if (info.num_components < 1 || info.num_components > 4) reading.Refuse("it has not 1 to 4 components");
    double samples = 0.0;
    for (int i = 0; i < info.num_components; ++i)
        samples += static_cast<double>(info.comp_info[i].width_in_blocks) *
                   info.comp_info[i].height_in_blocks * DCTSIZE2;
    if (samples > kMaxSamples) reading.Refuse("its picture is too large");
    if (samples / DCTSIZE2 > kMaxBlocksPerByte * static_cast<double>(fileBytes))
        reading.Refuse("the file is far too short for the picture that it claims to hold");
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

bool CopyCoefficients(JpegReading& reading, jvirt_barray_ptr array, JpegCoefficientPlane& component) {
    jpeg_decompress_struct& info = reading.info;
    return reading.Run([&] {
        for (int row = 0; row < component.blocks.height; ++row) {
            const auto from = static_cast<JDIMENSION>(row);
            JBLOCKARRAY rows =
                info.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&info), array, from, 1, FALSE);
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
void LimitToWholeRows(JpegReading& reading, JpegCoefficients& result) {
    if (!reading.endedEarly) return;
    const bool hasScans = result.isProgressive || jpeg_has_multiple_scans(&reading.info) != 0;
    for (JpegCoefficientPlane& component : result.components) {
        if (!component.hasSteps) {
            component.wholeBlockRows = 0;
        } else if (!hasScans || reading.scan < 2) {
            // Rows of MCUs hold as many rows of blocks as the sampling factor says, unless the component is alone.
            const std::int64_t perRow = result.components.size() == 1 ? 1 : component.vertical;
            component.wholeBlockRows = static_cast<int>(
                std::min<std::int64_t>(component.blocks.height, perRow * reading.blockRowsBeforeEnd));
        }
    }
    reading.warnings.Add(hasScans ? "The file ends early: details of the scans that are missing are lost"
                                  : "The file ends early: the lower part of the picture is missing");
}

}  // namespace

JpegCoefficients ReadJpegCoefficients(std::span<const std::uint8_t> bytes, JpegComponentChoice choice,
                                      const std::function<void(double)>& progress) {
    if (bytes.size() < 4 || bytes[0] != 0xff || bytes[1] != 0xd8)
        ZOR_THROW(Format, "This is not a JPEG file.");
    std::string lost;
    std::unique_ptr<JpegReading> failed;
    jvirt_barray_ptr* arrays = nullptr;
    const std::function<void(double)> partOfProgress = [&progress](double done) {
        if (progress) progress(0.8 * done);
    };
    const auto begin = [&](JpegReading& begun) {
        begun.ReadHeader();
        CheckHeader(begun, bytes.size());
        arrays = jpeg_read_coefficients(&begun.info);
    };
    const auto reading = BeginReading(bytes, &partOfProgress, begin, lost, failed);
    if (!reading) ThrowFailure(*failed);
    JpegCoefficients result;
    const jpeg_decompress_struct& info = reading->info;
    result.size = cv::Size(static_cast<int>(info.image_width), static_cast<int>(info.image_height));
    result.isProgressive = info.progressive_mode != 0;
    result.isArithmetic = info.arith_code != 0;
    result.restartInterval = static_cast<int>(info.restart_interval);
    for (int i = 0; i < info.num_components; ++i)
        result.components.push_back(DescribeComponent(info.comp_info[i]));
    LimitToWholeRows(*reading, result);
    if (!lost.empty()) result.warnings.push_back(lost);
    for (std::string& warning : reading->warnings.Take()) result.warnings.push_back(std::move(warning));
    const std::size_t wanted = choice == JpegComponentChoice::First ? 1 : result.components.size();
    for (std::size_t i = 0; i < wanted; ++i) {
        JpegCoefficientPlane& component = result.components[i];
        try {
            component.coefficients.create(component.blocks.height * DCTSIZE, component.blocks.width * DCTSIZE,
                                          CV_16SC1);
        } catch (const cv::Exception&) {
            ZOR_THROW(Memory, "There is not enough memory for the coefficients of this JPEG file.");
        }
        if (!CopyCoefficients(*reading, arrays[i], component)) ThrowFailure(*reading);
        if (progress) progress(0.8 + 0.2 * static_cast<double>(i + 1) / static_cast<double>(wanted));
    }
    return result;
}
