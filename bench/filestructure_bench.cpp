// What a file says against what it must cost at least: the structure of a JPEG of 100 MB against reading it from the page cache; readable
// texts in as many random bytes; the analyses of tables, signature, coefficients and strings, and each filter on the file as the program
// runs it, on a photograph of 24 megapixels with metadata and thumbnail against one decode of it; headers of small files against the
// bare walk over their markers; a look-up among 100,000 signatures. Both halves take turns on one machine; the counters hold the ratios of
// the minima.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <random>

#include "orvcore/analysis/dcthistogram.h"
#include "orvcore/analysis/firstdigitlaw.h"
#include "orvcore/formats/jpegcoefficients.h"
#include "orvcore/formats/jpegstructure.h"
#include "orvcore/formats/jpegtables/compressionsignature.h"
#include "orvcore/formats/jpegtables/signaturecollection.h"
#include "orvcore/formats/jpegwalk.h"
#include "orvcore/formats/printablestrings.h"
#include "orvcore/formats/structure/picturesinfile.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
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

// As the page searches them when the whole file is asked for, in bytes that hold no text but by chance.
void StringsEverywhere(benchmark::State& state) {
    Bytes bytes(100'000'000);
    std::mt19937_64 random(3);
    for (std::size_t i = 0; i < bytes.size(); i += 8) {
        const std::uint64_t number = random();
        std::memcpy(bytes.data() + i, &number, 8);
    }
    Bytes copy(bytes.size());
    double copying = 1e9, strings = 1e9;
    for (auto _ : state) {
        copying = std::min(copying, Milliseconds([&] {
                               std::memcpy(copy.data(), bytes.data(), bytes.size());
                               benchmark::ClobberMemory();
                           }));
        strings = std::min(strings,
                           Milliseconds([&] { benchmark::DoNotOptimize(FindPrintableStrings(bytes, 6)); }));
    }
    state.counters["copy_ms"] = copying;
    state.counters["strings_ms"] = strings;
}
BENCHMARK(StringsEverywhere)->Iterations(5)->Unit(benchmark::kMillisecond);

// A photograph of so many pixels as a camera writes it: EXIF, position, thumbnail.
Bytes CameraFile(int width, int height) {
    using namespace formatsupport;
    const Bytes jpeg = Photograph(width, height);
    cv::Mat small;
    cv::resize(DecodeImage(jpeg).image.ToColor().GetMat(), small, {160, 120}, 0, 0, cv::INTER_AREA);
    const Bytes thumbnail = EncodeImage(Image(small), "jpg", 80);
    TiffRecipe recipe;
    recipe.main = {{0x010F, 2, {}, "Acme"}, {0x0110, 2, {}, "One"}, {0x0132, 2, {}, "2024:06:17 07:10:06"}};
    recipe.photo = {{0x829A, 5, {1, 60}}, {0x9003, 2, {}, "2024:06:17 07:10:06"}};
    recipe.gps = Position();
    recipe.second = {
        {0x0103, 3, {6}}, {0x0201, 4, {3400}}, {0x0202, 4, {static_cast<std::uint32_t>(thumbnail.size())}}};
    recipe.behind = thumbnail;
    const Bytes payload = ToBytes(std::string("Exif\0\0", 6)) + Tiff(recipe);
    Bytes file = {0xFF, 0xD8, 0xFF, 0xE1};
    AppendBig(file, payload.size() + 2, 2);
    return file + payload + Bytes(jpeg.begin() + 2, jpeg.end());
}

// Each filter of the groups "File" and "JPEG" on a file that was just loaded. Those that need pixels or coefficients may cost three
// decodes, the others a tenth of one.
void Filters(benchmark::State& state) {
    const std::map<std::string, double> allowed = {{"file-format", 3},     {"pictures-in-file", 3},
                                                   {"thumbnails", 3},      {"dct-histograms", 3},
                                                   {"first-digit-law", 3}, {"visual-inspection", 3}};
    const TemporaryFolder folder;
    const Bytes bytes = CameraFile(6000, 4000);
    WriteFile(folder / "photograph.jpg", bytes);
    double decode = 1e9;
    std::map<std::string, double> times;
    std::vector<std::unique_ptr<OrvFilter>> filters = CreateAllFilters();
    std::erase_if(filters, [](const std::unique_ptr<OrvFilter>& filter) {
        return filter->GetAnalysisTypeUtf8() != "File" && filter->GetAnalysisTypeUtf8() != "JPEG";
    });
    for (auto _ : state) {
        decode = std::min(decode, Milliseconds([&] { benchmark::DoNotOptimize(DecodeImage(bytes)); }));
        for (const std::unique_ptr<OrvFilter>& filter : filters) {
            OrvFilterResult request;
            request.input = filter->GetInputPrototype();
            request.postProcessing = filter->GetPostProcessingPrototype();
            request.file[OrvEvidence] = LoadForTest(folder / "photograph.jpg");
            double& best = times.emplace(filter->GetId(), 1e9).first->second;
            best = std::min(best, Milliseconds([&] {
                                benchmark::DoNotOptimize(filter->Run(request, {}, OrvJob(), nullptr));
                            }));
        }
    }
    state.counters["decode_ms"] = decode;
    for (const auto& [id, time] : times) {
        const auto limit = allowed.find(id);
        const double most = limit == allowed.end() ? 0.1 : limit->second;
        std::printf("%-24s %8.2f ms  %6.3f of a decode (%.0f ms), at most %.1f: %s\n", id.c_str(), time,
                    time / decode, decode, most, time <= most * decode ? "ok" : "MISSED");
    }
    std::fflush(stdout);
}
BENCHMARK(Filters)->Iterations(3)->Unit(benchmark::kMillisecond);

// Segments, tables and metadata of small camera files against the bare walk over the markers of the same files; goal: files a second at
// 0.8 of the walk's for the structure alone.
void Headers(benchmark::State& state) {
    const Bytes bytes = CameraFile(640, 480);
    constexpr int kFiles = 2000;
    double walking = 1e9, structure = 1e9;
    for (auto _ : state) {
        walking = std::min(walking, Milliseconds([&] {
                               for (int i = 0; i < kFiles; ++i) {
                                   JpegWalk walk(bytes, 0);
                                   JpegPiece piece = walk.Next();
                                   while (piece.kind != JpegPiece::Kind::End) piece = walk.Next();
                                   benchmark::DoNotOptimize(piece);
                               }
                           }));
        structure = std::min(structure, Milliseconds([&] {
                                 for (int i = 0; i < kFiles; ++i)
                                     benchmark::DoNotOptimize(ParseJpegStructure(bytes));
                             }));
    }
    state.counters["walk_us"] = walking / kFiles * 1000;
    state.counters["headers_us"] = structure / kFiles * 1000;
    state.counters["speed_ratio"] = walking / structure;  // goal: at least 0.8
}
BENCHMARK(Headers)->Iterations(7)->Unit(benchmark::kMillisecond);

void SignatureLookUp(benchmark::State& state) {
    const TemporaryFolder folder;
    SignatureCollection collection(folder / "signatures.db");
    std::vector<SignatureRecord> records;
    for (int i = 0; i < 100'000; ++i) {
        char key[40];
        std::snprintf(key, sizeof key, "%032x", i * 7919 % 50'000);
        records.push_back({key, "tables=" + std::to_string(i), "Maker " + std::to_string(i % 90),
                           "Model " + std::to_string(i), "Version 1", 1});
    }
    collection.Add(records);
    double slowest = 0;
    for (auto _ : state)
        slowest = std::max(
            slowest, Milliseconds([&] { benchmark::DoNotOptimize(collection.Find(records[4711].key)); }));
    state.counters["slowest_ms"] = slowest;  // goal: below 50
}
BENCHMARK(SignatureLookUp)->Iterations(50)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
