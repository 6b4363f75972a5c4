// How often the program's filters are right: every filter that gives verdicts is run, with its default parameters
// and as the program runs it, on forged and untouched pictures of the virtual camera, and on the untouched photographs in the folder that
// ORVANE_FIXTURES names. One file of rates per filter, and one of all filters together.
// Usage: filteraccuracy FOLDER [--untouched N] [--forged N] [--photographs] [--kind TEXT] [FILTER...]
// Without options everything: 301 untouched, 200 forged of each kind, the photographs. --kind: only forged kinds whose name holds the
// text (one of a megapixel among them is untouched). The rows of the files in FOLDER that this run does not measure stay, so that a run can
// be done in parts.
//
// The thresholds come from other pictures (the publications, photographs of camera models, low seeds of the camera); the seeds here begin at
// 50,000.

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
#include <set>
#include <string>
#include <vector>

#include "bench/accuracy/rates.h"
#include "orvcore/filters/filterlist.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/files.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

constexpr std::uint64_t kFirstSeed = 50000;
const cv::Size kSize(768, 512);
const cv::Rect kPart(256, 128, 256, 256);

// One picture as a file, and where it was forged (empty: nowhere, or all of it).
struct Sample {
    Bytes file;
    std::string ending;
    cv::Mat mask;
};

Sample AsJpeg(const cv::Mat& image, int quality, const cv::Mat& mask = {}) {
    return {SaveJpeg(image, quality), ".jpg", mask};
}

Sample Lossless(const cv::Mat& image, const cv::Mat& mask = {}) {
    TemporaryFolder folder;
    const std::string path = folder / "picture.png";
    WriteImage(Image(image), path);
    return {ReadFileBytes(path), ".png", mask};
}

cv::Mat Photo(std::uint64_t seed) {
    constexpr SceneKind kinds[] = {SceneKind::Textured, SceneKind::SmoothSky, SceneKind::Architecture,
                                   SceneKind::Bricks,   SceneKind::TextPage,  SceneKind::Lamps,
                                   SceneKind::Flat};
    return TakePhoto(OrdinaryCamera(seed), kinds[seed / 7 % std::size(kinds)], kSize, seed);
}

// A scene in which something can be hidden.
cv::Mat Ordinary(std::uint64_t seed) {
    constexpr SceneKind kinds[] = {SceneKind::Textured, SceneKind::SmoothSky, SceneKind::Architecture,
                                   SceneKind::Textured, SceneKind::Lamps};
    return TakePhoto(OrdinaryCamera(seed), kinds[seed % std::size(kinds)], kSize, seed);
}

// What is done to pictures of one kind, and the groups of filters that it concerns (empty: all).
struct Kind {
    std::string name;
    std::function<Sample(std::uint64_t seed)> make;
    std::set<std::string> groups = {};
    bool isForged = true;

    std::string Label() const { return (isForged ? "forged: " : "untouched: ") + name; }
};

std::vector<Kind> UntouchedKinds() {
    return {{"saved at 95", [](auto seed) { return AsJpeg(Photo(seed), 95); }},
            {"saved at 85", [](auto seed) { return AsJpeg(Photo(seed), 85); }},
            {"reduced, saved at 90", [](auto seed) { return AsJpeg(ResizePhoto(Photo(seed), 0.75), 90); }},
            {"sharpened, saved at 92", [](auto seed) { return AsJpeg(SharpenPhoto(Photo(seed), 0.8), 92); }},
            {"denoised, saved at 90", [](auto seed) { return AsJpeg(DenoisePhoto(Photo(seed), 8.0), 90); }},
            {"messenger",
             [](auto seed) {
                 return Sample{SendByMessenger(Photo(seed), 640), ".jpg", {}};
             }},
            {"lossless", [](auto seed) { return Lossless(Photo(seed)); }}};
}

Kind CopyKind(const std::string& name, double degrees, double scale) {
    return {name,
            [=](std::uint64_t seed) {
                const ForgedPhoto forged =
                    CopyMove(Ordinary(seed), {96, 320, 144, 128}, {520, 200}, degrees, scale);
                return AsJpeg(forged.image, 90, forged.mask);
            },
            {"Copies"}};
}

// A megapixel, as Noise Against Brightness needs it: noise of 2 levels over everything but one part, or over everything.
Kind QuietKind(const std::string& name, bool isForged, bool isLossless) {
    return {name,
            [=](std::uint64_t seed) {
                constexpr SceneKind kinds[] = {SceneKind::Textured, SceneKind::SmoothSky,
                                               SceneKind::Architecture, SceneKind::Lamps};
                const cv::Mat photo =
                    TakePhoto(OrdinaryCamera(seed), kinds[seed % std::size(kinds)], {1152, 896}, seed);
                const cv::Mat noisy = AddNoise(photo, 2.0, seed);
                const ForgedPhoto made = isForged ? Splice(noisy, {512, 320, 256, 256}, photo, {512, 320})
                                                  : ForgedPhoto{noisy, {}};
                return isLossless ? Lossless(made.image, made.mask) : AsJpeg(made.image, 95, made.mask);
            },
            {"Noise"},
            isForged};
}

std::vector<Kind> ForgedKinds() {
    const std::set<std::string> compression = {"Compression"};
    const std::set<std::string> signal = {"Noise", "Sampling"};
    const auto made = [signal](const std::string& name, auto make) {
        return Kind{name,
                    [make](std::uint64_t seed) {
                        const ForgedPhoto forged = make(Ordinary(seed), seed);
                        return Lossless(forged.image, forged.mask);
                    },
                    signal};
    };
    return {{"part never saved, 75 then 90",
             [](auto seed) {
                 const ForgedPhoto forged = SpliceNeverSaved(Ordinary(seed), kPart, 75);
                 return AsJpeg(forged.image, 90, forged.mask);
             },
             compression},
            {"part saved at 65, then 90",
             [](auto seed) {
                 const ForgedPhoto forged = SpliceSaved(Ordinary(seed), kPart, 65);
                 return AsJpeg(forged.image, 90, forged.mask);
             },
             compression},
            {"part on another grid, 75, lossless",
             [](auto seed) {
                 const ForgedPhoto forged = SpliceMisaligned(Ordinary(seed), kPart, 75, {5, 3});
                 return Lossless(forged.image, forged.mask);
             },
             compression},
            {"part on another grid, 75 then 98",
             [](auto seed) {
                 const ForgedPhoto forged = SpliceMisaligned(Ordinary(seed), kPart, 75, {5, 3});
                 return AsJpeg(forged.image, 98, forged.mask);
             },
             compression},
            {"cropped, 75 then 95",
             [](auto seed) {
                 return AsJpeg(ThroughJpeg(Ordinary(seed), 75)(cv::Rect(3, 5, 752, 496)).clone(), 95);
             },
             compression},
            CopyKind("copied, saved at 90", 0.0, 1.0),
            CopyKind("copied, turned by 20 degrees, saved at 90", 20.0, 1.0),
            CopyKind("copied, scaled by 1.25, saved at 90", 0.0, 1.25),
            made("part with noise of 5 levels",
                 [](const cv::Mat& photo, auto seed) { return SpliceNoise(photo, kPart, 5.0, seed); }),
            made("part enlarged 1.3 times",
                 [](const cv::Mat& photo, auto) { return SpliceResampled(photo, kPart, 1.3); }),
            made("part through a median of 3",
                 [](const cv::Mat& photo, auto) { return SpliceMedian(photo, kPart, 3); }),
            made("part blurred by 1 pixel",
                 [](const cv::Mat& photo, auto) { return SpliceBlurred(photo, kPart, 1.0); }),
            made("all of it enlarged 1.5 times",
                 [](const cv::Mat& photo, auto) {
                     return ForgedPhoto{ResizePhoto(photo, 1.5), {}};
                 }),
            made("all of it through a median of 3",
                 [](const cv::Mat& photo, auto) {
                     return ForgedPhoto{SpliceMedian(photo, {{}, photo.size()}, 3).image, {}};
                 }),
            made("all of it with a gamma of 0.7",
                 [](const cv::Mat& photo, auto) {
                     cv::Mat levels(1, 256, CV_8U);
                     for (int i = 0; i < 256; ++i)
                         levels.at<std::uint8_t>(i) =
                             cv::saturate_cast<std::uint8_t>(255.0 * std::pow(i / 255.0, 0.7));
                     ForgedPhoto changed;
                     cv::LUT(photo, levels, changed.image);
                     return changed;
                 }),
            QuietKind("quieter part, a megapixel, lossless", true, true),
            QuietKind("quieter part, a megapixel, 95", true, false),
            QuietKind("noisy, a megapixel, saved at 95", false, false)};
}

struct Rates {
    int pictures = 0;
    int applicable = 0;
    int odd = 0;
    int strong = 0;
    std::vector<double> areas;
    std::string map;
};

// Which side of the map tells the forged part from the rest is decided once for all pictures of a kind, and named.
std::string AreaText(const std::vector<double>& areas, const std::string& map) {
    if (areas.empty()) return "-";
    double mean = 0.0;
    for (const double area : areas) mean += area / static_cast<double>(areas.size());
    double square = 0.0;
    for (const double area : areas) square += (area - mean) * (area - mean);
    const double half = areas.size() > 1 ? 1.96 * std::sqrt(square / static_cast<double>(areas.size() - 1) /
                                                            static_cast<double>(areas.size()))
                                         : 0.0;
    char text[160];
    std::snprintf(text, sizeof text, "%.3f +-%.3f (%zu), %s %s", std::max(mean, 1.0 - mean), half,
                  areas.size(), mean < 0.5 ? "low" : "high", map.c_str());
    return text;
}

// By filter, then by kind of picture.
using Table = std::map<std::string, std::map<std::string, Rates>>;

// The map that is held against the mask: the first with a side that counts, else the first of numbers. Null when there is none.
const OrvMap* ChooseMap(const OrvSlotResult& result) {
    const OrvMap* chosen = nullptr;
    for (const OrvMap& map : result.maps) {
        if (map.values.channels() != 1 || map.values.empty() || map.scale == OrvMapScale::Classes) continue;
        if (map.thresholdSide != OrvMapSide::None) return &map;
        if (chosen == nullptr) chosen = &map;
    }
    return chosen;
}

// High values count as forged.

double AreaOf(const OrvMap& map, const cv::Mat& mask) {
    cv::Mat score;
    map.values.convertTo(score, CV_32F);
    cv::Mat truth = MaskOnBlocks(mask, score.size(), map.block, map.origin);
    if (!map.mask.empty()) truth.setTo(128, map.mask);
    return AreaUnderCurve(score, truth);
}

class Judges {
  public:
    // Filters of these ids, or all when there are none.
    explicit Judges(const std::set<std::string>& ids) {
        for (auto& filter : CreateAllFilters())
            if (filter->GivesVerdict() && (ids.empty() || ids.contains(filter->GetId())))
                m_filters.push_back(std::move(filter));
    }

    // Returns the ids of the filters that gave a strong sign.
    std::vector<std::string> Count(Table& table, const std::string& kind, const std::set<std::string>& groups,
                                   const OrvFilePtr& file, const cv::Mat& mask) const {
        std::vector<std::string> strong;
        for (const auto& filter : m_filters) {
            if (!groups.empty() && !groups.contains(filter->GetAnalysisTypeUtf8())) continue;
            OrvFilterResult request;
            request.input = filter->GetInputPrototype();
            request.postProcessing = filter->GetPostProcessingPrototype();
            request.file[OrvEvidence] = file;
            const OrvFilterResultPtr answer = filter->Run(request, {}, OrvJob(), nullptr);
            const OrvSlotResult& result = *answer->slot[OrvEvidence];
            Rates& rates = table[filter->GetId()][kind];
            ++rates.pictures;
            rates.applicable += result.SaysNothing() ? 0 : 1;
            rates.odd += result.verdict >= OrvVerdict::WorthALook ? 1 : 0;
            rates.strong += result.verdict == OrvVerdict::StrongSign ? 1 : 0;
            if (result.verdict == OrvVerdict::StrongSign)
                strong.push_back(filter->GetId() + ": " + result.verdictText);
            const OrvMap* map = mask.empty() ? nullptr : ChooseMap(result);
            if (map == nullptr) continue;
            rates.map = map->name;
            rates.areas.push_back(AreaOf(*map, mask));
        }
        return strong;
    }

    std::vector<std::string> Count(Table& table, const std::string& name, const Kind& kind,
                                   std::uint64_t seed) const {
        const Sample sample = kind.make(seed);
        TemporaryFolder folder;
        const std::string path = folder / ("picture" + sample.ending);
        WriteFile(path, sample.file);
        return Count(table, name, kind.groups, LoadForTest(path), sample.mask);
    }

  private:
    std::vector<std::unique_ptr<OrvFilter>> m_filters;
};

constexpr std::size_t kNameWidth = 52;

std::string RowOf(const std::string& kind, const Rates& rates) {
    char line[320];
    std::snprintf(line, sizeof line, "%-52s %7d %8d  %-20s %-20s %s\n", kind.c_str(), rates.pictures,
                  rates.applicable, RateText(rates.odd, rates.pictures).c_str(),
                  RateText(rates.strong, rates.pictures).c_str(), AreaText(rates.areas, rates.map).c_str());
    return line;
}

// The rows of a file of an earlier run, by kind.
std::map<std::string, std::string> RowsOf(const std::filesystem::path& path) {
    std::map<std::string, std::string> rows;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with("forged: ") && !line.starts_with("untouched: ")) continue;
        const std::string name = line.substr(0, kNameWidth);
        rows[name.substr(0, name.find_last_not_of(' ') + 1)] = line + "\n";
    }
    return rows;
}

void Write(const std::filesystem::path& folder, const Table& table) {
    for (const auto& [filter, kinds] : table) {
        const std::filesystem::path path = folder / (filter + ".txt");
        std::map<std::string, std::string> rows = RowsOf(path);
        // What needs more than a picture, a collection say, is measured elsewhere.
        if (rows.empty() && std::none_of(kinds.begin(), kinds.end(),
                                         [](const auto& kind) { return kind.second.applicable > 0; }))
            continue;
        for (const auto& [kind, rates] : kinds) rows[kind] = RowOf(kind, rates);
        std::ofstream file(path);
        file << "Rates of " << filter << ", in percent with 95 % intervals; seeds from " << kFirstSeed
             << "\n\n";
        char line[320];
        std::snprintf(line, sizeof line, "%-52s %7s %8s  %-20s %-20s %s\n", "Pictures", "number", "applies",
                      "worth a look or more", "strong sign", "AUC of the map");
        file << line;
        for (const auto& [kind, row] : rows) file << row;
    }
}

// The rates of all filters together: one line of the file is replaced or added.
void WriteTogether(const std::filesystem::path& folder, const std::string& what, int odd, int pictures) {
    std::map<std::string, std::string> rows;
    {
        std::ifstream before(folder / "all.txt");
        for (std::string line; std::getline(before, line);)
            if (const auto colon = line.find(": "); colon != std::string::npos)
                rows[line.substr(0, colon)] = line;
    }
    rows[what] = what + ": " + RateText(odd, pictures) + " of " + std::to_string(pictures);
    std::ofstream file(folder / "all.txt");
    file << "Untouched pictures with any strong sign of any filter, in percent with 95 % intervals\n\n";
    for (const auto& [name, line] : rows) file << line << "\n";
}

void Print(const std::string& what, const std::vector<std::string>& strong) {
    for (const std::string& sign : strong) std::printf("strong sign on %s: %s\n", what.c_str(), sign.c_str());
    std::fflush(stdout);
}

struct Plan {
    std::string folder;
    int untouched = 0;
    int forged = 0;
    bool hasPhotographs = false;
    std::string kind;
    std::set<std::string> filters;
};

// Of made pictures of each kind; also how far apart the seeds of the kinds lie.
constexpr int kUntouched = 301;
constexpr int kForged = 200;

// The folder is empty when the arguments make no sense.
Plan ReadArguments(int argc, char** argv) {
    Plan plan;
    bool isPart = false;
    for (int i = 2; i < argc; ++i) {
        const std::string argument = argv[i];
        const bool hasNext = i + 1 < argc;
        isPart = isPart || argument.starts_with("--");
        if (argument == "--photographs")
            plan.hasPhotographs = true;
        else if (argument == "--untouched" && hasNext)
            plan.untouched = std::atoi(argv[++i]);
        else if (argument == "--forged" && hasNext)
            plan.forged = std::atoi(argv[++i]);
        else if (argument == "--kind" && hasNext)
            plan.kind = argv[++i];
        else if (argument.starts_with("--"))
            return {};
        else
            plan.filters.insert(argument);
    }
    if (!isPart) {
        plan.untouched = kUntouched;
        plan.forged = kForged;
        plan.hasPhotographs = true;
    }
    if (argc > 1) plan.folder = argv[1];
    return plan;
}

void MeasureUntouched(const Judges& judges, const Plan& plan) {
    Table table;
    int strong = 0;
    const std::vector<Kind> kinds = UntouchedKinds();
    for (int i = 0; i < plan.untouched; ++i) {
        const std::uint64_t seed = kFirstSeed + static_cast<std::uint64_t>(i);
        const Kind& kind = kinds[static_cast<std::size_t>(i) % kinds.size()];
        const auto signs = judges.Count(table, "untouched: " + kind.name, kind, seed);
        strong += signs.empty() ? 0 : 1;
        Print("seed " + std::to_string(seed) + " (" + kind.name + ")", signs);
    }
    Write(plan.folder, table);
    if (plan.untouched > 0 && plan.filters.empty())
        WriteTogether(plan.folder, "Pictures of the virtual camera", strong, plan.untouched);
}

void MeasurePhotographs(const Judges& judges, const Plan& plan) {
    const char* fixtures = std::getenv("ORVANE_FIXTURES");
    if (!plan.hasPhotographs || fixtures == nullptr) return;
    Table table;
    int photographs = 0;
    int odd = 0;
    std::vector<std::filesystem::path> paths;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(std::filesystem::path(fixtures) / "untouched"))
        if (entry.is_regular_file() && entry.path().extension() != ".md") paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    for (const auto& path : paths) {
        try {
            const OrvFilePtr file = LoadForTest(path.string());
            if (!file->GetDecoded(OrvJob())->image.IsValid()) continue;
            const auto signs = judges.Count(table, "untouched: photographs of cameras", {}, file, {});
            ++photographs;
            odd += signs.empty() ? 0 : 1;
            Print(path.filename().string(), signs);
        } catch (const ZorException& exception) {
            std::printf("%s: %s\n", path.filename().c_str(), exception.GetMessage().c_str());
        }
    }
    Write(plan.folder, table);
    if (plan.filters.empty()) WriteTogether(plan.folder, "Photographs of cameras", odd, photographs);
}

void MeasureForged(const Judges& judges, const Plan& plan) {
    std::uint64_t seed = kFirstSeed + kUntouched;
    for (const Kind& kind : ForgedKinds()) {
        if (kind.name.find(plan.kind) != std::string::npos) {
            Table table;
            for (int i = 0; i < plan.forged; ++i)
                judges.Count(table, kind.Label(), kind, seed + static_cast<std::uint64_t>(i));
            Write(plan.folder, table);
            std::printf("%s: done\n", kind.name.c_str());
            std::fflush(stdout);
        }
        seed += kForged;
    }
}

}  // namespace

int main(int argc, char** argv) {
    const Plan plan = ReadArguments(argc, argv);
    if (plan.folder.empty()) {
        std::fprintf(
            stderr,
            "filteraccuracy FOLDER [--untouched N] [--forged N] [--photographs] [--kind TEXT] [FILTER...]\n");
        return 2;
    }
    const Judges judges(plan.filters);
    MeasureUntouched(judges, plan);
    MeasurePhotographs(judges, plan);
    MeasureForged(judges, plan);
    return 0;
}
