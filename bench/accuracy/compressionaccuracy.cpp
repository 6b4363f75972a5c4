// How often the analyses of compression are right: forged and untouched pictures of the virtual camera, and the untouched photographs in the
// folder that ORVANE_FIXTURES names. One file of rates per filter. Usage: compressionaccuracy FOLDER [UNTOUCHED [FORGED]]
//
// The thresholds come from other pictures (the publications, photographs of 84 camera models, seed 5 of the camera); the seeds here begin at 1,000.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <opencv2/imgproc.hpp>
#include <optional>
#include <string>
#include <vector>

#include "orvcore/analysis/blockartefacts.h"
#include "orvcore/analysis/decodedhistory.h"
#include "orvcore/analysis/doublejpeg.h"
#include "orvcore/analysis/gridvotes.h"
#include "orvcore/analysis/jpegdimples.h"
#include "orvcore/analysis/jpegghosts.h"
#include "orvcore/analysis/qualitycurve.h"
#include "orvcore/analysis/shiftedjpeg.h"
#include "tests/support/virtualcamera.h"

namespace {

constexpr std::uint64_t kFirstSeed = 1000;
const cv::Size kSize(768, 512);
const cv::Rect kPatch(256, 128, 256, 256);

using File = std::vector<std::uint8_t>;

// One picture: pixels, its file where it is a JPEG, the quality of that, and where it was forged.
struct Sample {
    cv::Mat image;
    File file;
    std::optional<int> quality;  // nothing without a file, 0 for tables of its own
    cv::Mat mask;
};

Sample Saved(const cv::Mat& image, int quality, const cv::Mat& mask = {}) {
    Sample sample;
    sample.file = SaveJpeg(image, quality);
    sample.image = LoadJpeg(sample.file);
    sample.quality = quality;
    sample.mask = mask;
    return sample;
}

cv::Mat Photo(std::uint64_t seed) {
    constexpr SceneKind kinds[] = {SceneKind::Textured, SceneKind::SmoothSky, SceneKind::Architecture,
                                   SceneKind::Textured, SceneKind::Lamps};
    return TakePhoto(OrdinaryCamera(seed), kinds[seed % std::size(kinds)], kSize, seed);
}

const std::vector<std::pair<std::string, std::function<Sample(std::uint64_t)>>>& UntouchedKinds() {
    static const std::vector<std::pair<std::string, std::function<Sample(std::uint64_t)>>> kinds = {
        {"saved at 95", [](auto seed) { return Saved(Photo(seed), 95); }},
        {"saved at 85", [](auto seed) { return Saved(Photo(seed), 85); }},
        {"reduced, saved at 90", [](auto seed) { return Saved(ResizePhoto(Photo(seed), 0.75), 90); }},
        {"sharpened, saved at 92", [](auto seed) { return Saved(SharpenPhoto(Photo(seed), 0.8), 92); }},
        {"denoised, saved at 90", [](auto seed) { return Saved(DenoisePhoto(Photo(seed), 8.0), 90); }},
        {"messenger",
         [](auto seed) {
             Sample sample;
             sample.file = SendByMessenger(Photo(seed), 640);
             sample.image = LoadJpeg(sample.file);
             sample.quality = 75;
             return sample;
         }},
        {"lossless", [](auto seed) {
             Sample sample;
             sample.image = Photo(seed);
             return sample;
         }}};
    return kinds;
}

const std::vector<std::pair<std::string, std::function<Sample(std::uint64_t)>>>& ForgedKinds() {
    static const std::vector<std::pair<std::string, std::function<Sample(std::uint64_t)>>> kinds = {
        {"part never saved, 75 then 90",
         [](auto seed) {
             const ForgedPhoto forged = SpliceNeverSaved(Photo(seed), kPatch, 75);
             return Saved(forged.image, 90, forged.mask);
         }},
        {"part saved at 65, then 90",
         [](auto seed) {
             const ForgedPhoto forged = SpliceSaved(Photo(seed), kPatch, 65);
             return Saved(forged.image, 90, forged.mask);
         }},
        {"part on another grid, 75, lossless",
         [](auto seed) {
             const ForgedPhoto forged = SpliceMisaligned(Photo(seed), kPatch, 75, {5, 3});
             Sample sample;
             sample.image = forged.image;
             sample.mask = forged.mask;
             return sample;
         }},
        {"part on another grid, 75 then 98",
         [](auto seed) {
             const ForgedPhoto forged = SpliceMisaligned(Photo(seed), kPatch, 75, {5, 3});
             return Saved(forged.image, 98, forged.mask);
         }},
        {"cropped, 75 then 95", [](auto seed) {
             return Saved(ThroughJpeg(Photo(seed), 75)(cv::Rect(3, 5, 752, 496)).clone(), 95);
         }}};
    return kinds;
}

struct Answer {
    AnalysisDecision decision;
    double area = std::nan("");  // under the curve, of the map against the mask
};

double AreaOf(const AnalysisMap& map, const cv::Mat& mask, double sign) {
    if (mask.empty() || map.values.empty()) return std::nan("");
    return AreaUnderCurve(map.values * sign, MaskOnBlocks(mask, map.values.size(), map.cell, map.origin));
}

// Every filter's answer, by its id.
std::map<std::string, Answer> Ask(const Sample& sample) {
    std::map<std::string, Answer> answers;
    const GhostResult ghosts = ComputeGhosts(sample.image, {});
    Answer& ghost = answers["jpeg-ghosts"];
    ghost.decision = JudgeGhosts(ghosts);
    if (!ghosts.maps.empty() && !sample.mask.empty()) {
        // The map of quality 65 with each window's curve stretched, as it is looked at.
        AnalysisMap map = ghosts.maps[2];
        NormaliseGhosts(ghosts)[2].convertTo(map.values, CV_32F);
        ghost.area = AreaOf(map, sample.mask, -1.0);
    }
    answers["jpeg-quality-curve"].decision =
        JudgeQualityCurve(ComputeQualityCurve(sample.image), sample.quality);
    if (!sample.file.empty()) {
        const DoubleJpegResult aligned = ComputeDoubleJpeg(
            ReadJpegCoefficients(sample.file, JpegComponentChoice::First).components.front());
        answers["double-jpeg-aligned"] = {JudgeDoubleJpeg(aligned), AreaOf(aligned.map, sample.mask, 1.0)};
        AnalysisDecision local = JudgeDoubleJpeg(aligned);
        if (local.finding == Finding::StrongSign && !HasForeignRegion(aligned))
            local.finding = Finding::Nothing;
        answers["double-jpeg-aligned, a part"] = {local, AreaOf(aligned.map, sample.mask, 1.0)};
    }
    const ShiftedJpegResult shifted = ComputeShiftedJpeg(sample.image);
    answers["double-jpeg-shifted"].decision = JudgeShiftedJpeg(shifted);
    answers["grid-votes"].decision = JudgeGridVotes(ComputeGridVotes(sample.image));
    const BlockArtefactResult blocks = ComputeBlockArtefacts(sample.image);
    answers["block-artefacts"] = {JudgeBlockArtefacts(blocks), AreaOf(blocks.map, sample.mask, 1.0)};
    answers["decoded-history"].decision =
        JudgeDecodedHistory(ComputeDecodedHistory(sample.image), !sample.file.empty());
    answers["jpeg-dimples"].decision = JudgeDimples(ComputeDimples(sample.image));
    return answers;
}

struct Rates {
    int pictures = 0;
    int applicable = 0;
    int odd = 0;
    int strong = 0;
    std::vector<double> areas;
};

// The interval of Wilson, 95 %, in percent.
std::string RateText(int hits, int all) {
    if (all == 0) return "-";
    constexpr double z = 1.96;
    const double n = all;
    const double p = hits / n;
    const double middle = (p + z * z / (2 * n)) / (1 + z * z / n);
    const double half = z * std::sqrt(p * (1 - p) / n + z * z / (4 * n * n)) / (1 + z * z / n);
    char text[64];
    std::snprintf(text, sizeof text, "%5.1f (%.1f-%.1f)", 100 * p, 100 * std::max(middle - half, 0.0),
                  100 * std::min(middle + half, 1.0));
    return text;
}

std::string AreaText(std::vector<double> areas) {
    if (areas.empty()) return "-";
    double mean = 0.0;
    for (const double area : areas) mean += area / static_cast<double>(areas.size());
    double square = 0.0;
    for (const double area : areas) square += (area - mean) * (area - mean);
    const double half = areas.size() > 1 ? 1.96 * std::sqrt(square / static_cast<double>(areas.size() - 1) /
                                                            static_cast<double>(areas.size()))
                                         : 0.0;
    char text[64];
    std::snprintf(text, sizeof text, "%.3f +-%.3f (%zu)", mean, half, areas.size());
    return text;
}

// By filter, then by kind of picture.
using Table = std::map<std::string, std::map<std::string, Rates>>;

// Returns whether any filter gave a strong sign.
bool Count(Table& table, const std::string& kind, const Sample& sample) {
    bool isStrong = false;
    for (const auto& [filter, answer] : Ask(sample)) {
        Rates& rates = table[filter][kind];
        ++rates.pictures;
        rates.applicable += answer.decision.finding != Finding::NotApplicable ? 1 : 0;
        rates.odd += answer.decision.finding >= Finding::WorthALook ? 1 : 0;
        rates.strong += answer.decision.finding == Finding::StrongSign ? 1 : 0;
        isStrong = isStrong || answer.decision.finding == Finding::StrongSign;
        if (!std::isnan(answer.area)) rates.areas.push_back(answer.area);
    }
    return isStrong;
}

// The middle of an untouched photograph, cut on the grid of blocks; the file as it is.
bool ReadPhotograph(const std::filesystem::path& path, Sample& sample) {
    std::ifstream stream(path, std::ios::binary);
    sample.file.assign(std::istreambuf_iterator<char>(stream), {});
    if (sample.file.size() < 4 || sample.file[0] != 0xff || sample.file[1] != 0xd8) return false;
    const cv::Mat whole = LoadJpeg(sample.file);
    if (whole.empty()) return false;
    const cv::Size size(std::min(whole.cols / 8 * 8, 1536), std::min(whole.rows / 8 * 8, 1024));
    sample.quality = 0;
    sample.image = whole(cv::Rect((whole.cols - size.width) / 16 * 8, (whole.rows - size.height) / 16 * 8,
                                  size.width, size.height))
                       .clone();
    return true;
}

void Write(const std::filesystem::path& folder, const Table& table, const std::string& all) {
    for (const auto& [filter, kinds] : table) {
        std::ofstream file(folder / (filter.substr(0, filter.find(',')) +
                                     (filter.find(',') == std::string::npos ? "" : "-part") + ".txt"));
        file << "Rates of " << filter << ", in percent with 95 % intervals; seeds from " << kFirstSeed
             << "\n\n";
        char line[256];
        std::snprintf(line, sizeof line, "%-44s %8s %8s  %-20s %-20s %s\n", "Pictures", "number", "applies",
                      "worth a look or more", "strong sign", "AUC of the map");
        file << line;
        for (const auto& [kind, rates] : kinds) {
            std::snprintf(line, sizeof line, "%-44s %8d %8d  %-20s %-20s %s\n", kind.c_str(), rates.pictures,
                          rates.applicable, RateText(rates.odd, rates.pictures).c_str(),
                          RateText(rates.strong, rates.pictures).c_str(), AreaText(rates.areas).c_str());
            file << line;
        }
        file << '\n' << all;
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "compressionaccuracy FOLDER [UNTOUCHED [FORGED]]\n");
        return 2;
    }
    const int untouched = argc > 2 ? std::atoi(argv[2]) : 301;
    const int forged = argc > 3 ? std::atoi(argv[3]) : 200;
    Table table;
    int strong = 0;
    std::uint64_t seed = kFirstSeed;
    for (int i = 0; i < untouched; ++i) {
        const auto& [name, make] = UntouchedKinds()[static_cast<std::size_t>(i) % UntouchedKinds().size()];
        strong += Count(table, "untouched: " + name, make(seed++)) ? 1 : 0;
    }
    std::string all =
        "Untouched made pictures with any strong sign of these filters: " + RateText(strong, untouched) +
        " % of " + std::to_string(untouched) + "\n";
    if (const char* fixtures = std::getenv("ORVANE_FIXTURES")) {
        int photographs = 0;
        int odd = 0;
        std::vector<std::filesystem::path> paths;
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(std::filesystem::path(fixtures) / "untouched"))
            paths.push_back(entry.path());
        std::sort(paths.begin(), paths.end());
        for (const auto& path : paths) {
            Sample sample;
            if (!std::filesystem::is_regular_file(path) || !ReadPhotograph(path, sample)) continue;
            ++photographs;
            if (!Count(table, "untouched: photographs of cameras", sample)) continue;
            ++odd;
            std::printf("strong sign: %s\n", path.filename().c_str());
        }
        all += "Untouched photographs with any strong sign of these filters: " + RateText(odd, photographs) +
               " % of " + std::to_string(photographs) + "\n";
    }
    Write(argv[1], table, all);
    for (const auto& [name, make] : ForgedKinds()) {
        for (int i = 0; i < forged; ++i) Count(table, "forged: " + name, make(seed++));
        Write(argv[1], table, all);
        std::printf("%s: done\n", name.c_str());
        std::fflush(stdout);
    }
    return 0;
}
