// What a file says against what it must cost at least: the structure of a JPEG of 100 MB against reading it from the page cache, and the
// analyses of tables, signature, coefficients and strings of a photograph of 24 megapixels against one decode of it. Both halves take
// turns on one machine; the counters hold the ratios of the minima.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <opencv2/core.hpp>

#include "orvcore/analysis/dcthistogram.h"
#include "orvcore/analysis/firstdigitlaw.h"
#include "orvcore/formats/jpegcoefficients.h"
#include "orvcore/formats/jpegtables/compressionsignature.h"
#include "orvcore/formats/printablestrings.h"
#include "orvcore/formats/structure/picturesinfile.h"
#include "zorbase/files.h"
#include "zorimage/imageio.h"

namespace {

double Milliseconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// A photograph-like picture: smooth with some noise, so that its coefficients are those of a photograph.
Bytes Photograph(int width, int height) {
    cv::Mat scene(height, width, CV_8UC3);
    cv::RNG random(7);
    random.fill(scene, cv::RNG::NORMAL, 128, 12);
    return EncodeImage(Image(scene), "jpg", 90);
}

// A JPEG whose one scan has about so many bytes of coded data, none of them a marker.
Bytes LongJpeg(std::size_t size) {
    Bytes bytes = Photograph(64, 64);
    bytes.resize(bytes.size() - 2);
    std::uint32_t state = 1;
    while (bytes.size() < size) {
        state = state * 1664525U + 1013904223U;
        const auto byte = static_cast<std::uint8_t>(state >> 24);
        bytes.push_back(byte);
        if (byte == 0xFF) bytes.push_back(0);
    }
    bytes.push_back(0xFF);
    bytes.push_back(0xD9);
    return bytes;
}

void Structure(benchmark::State& state) {
    const std::string path = std::filesystem::temp_directory_path() / "orvane-structure-bench.jpg";
    WriteFile(path, LongJpeg(100'000'000));
    Bytes buffer;
    double reading = 1e9, structure = 1e9;
    const auto read = [&] { ReadFileInto(path, buffer, UINT64_MAX, [](std::span<const std::uint8_t>) {}); };
    read();
    for (auto _ : state) {
        reading = std::min(reading, Milliseconds(read));
        structure =
            std::min(structure, Milliseconds([&] { benchmark::DoNotOptimize(ReadFileStructure(buffer)); }));
    }
    std::filesystem::remove(path);
    state.counters["read_ms"] = reading;
    state.counters["structure_ms"] = structure;
    state.counters["ratio"] = structure / reading;  // goal: below 1.2
}
BENCHMARK(Structure)->Iterations(7)->Unit(benchmark::kMillisecond);

void Analyses(benchmark::State& state) {
    const Bytes bytes = Photograph(6000, 4000);
    double decode = 1e9, signature = 1e9, strings = 1e9, coefficients = 1e9;
    for (auto _ : state) {
        decode = std::min(decode, Milliseconds([&] { benchmark::DoNotOptimize(DecodeImage(bytes)); }));
        signature = std::min(
            signature, Milliseconds([&] { benchmark::DoNotOptimize(ReadCompressionSignature(bytes)); }));
        strings = std::min(
            strings, Milliseconds([&] {
                // What is not coded pixels, as the page does it.
                const FileStructure structure = ReadFileStructure(bytes);
                for (const StructureRow& row : structure.rows)
                    if (row.depth == 0 && row.kind != StructureRow::Kind::Data)
                        benchmark::DoNotOptimize(FindPrintableStrings(
                            std::span<const std::uint8_t>(bytes).subspan(row.offset, row.length), 6));
            }));
        coefficients = std::min(
            coefficients, Milliseconds([&] {
                const JpegCoefficients read = ReadJpegCoefficients(bytes, JpegComponentChoice::First);
                const cv::Mat& plane = read.components[0].coefficients;
                for (int v = 0; v < 3; ++v)
                    for (int u = 0; u < 3; ++u)
                        benchmark::DoNotOptimize(FindDctTraces(ComputeDctHistogram(plane, u, v, 100)));
                benchmark::DoNotOptimize(FitFirstDigits(CountFirstDigits(plane)));
            }));
    }
    state.counters["decode_ms"] = decode;
    state.counters["signature_ratio"] = signature / decode;        // goal: below 0.1
    state.counters["strings_ratio"] = strings / decode;            // goal: below 0.1
    state.counters["coefficients_ratio"] = coefficients / decode;  // goal: below 3
}
BENCHMARK(Analyses)->Iterations(5)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
