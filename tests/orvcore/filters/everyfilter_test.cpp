// What holds for every filter of the program, run on files of every kind.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>

#include "orvcore/analysis/parallel.h"
#include "orvcore/report/report.h"
#include "orvcore/report/selftest.h"
#include "tests/orvcore/filters/resultdigest.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorbase/hash.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

// A picture with smooth parts, edges and texture.
cv::Mat Scene(int type, int width = 203, int height = 149) {
    cv::Mat scene(height, width, type);
    const int channels = scene.channels();
    std::uint32_t state = 1;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < channels; ++c) {
                state = state * 1664525U + 1013904223U;
                const int level = (x / 40 + y / 30) % 2 * 90 + x / 4 + 20 * c + static_cast<int>(state >> 28);
                if (scene.depth() == CV_16U)
                    scene.ptr<std::uint16_t>(y)[x * channels + c] = static_cast<std::uint16_t>(level * 251);
                else
                    scene.ptr<std::uint8_t>(y)[x * channels + c] = static_cast<std::uint8_t>(level);
            }
    return scene;
}

class EveryFilter : public testing::Test {
  protected:
    EveryFilter() {
        WriteImage(Image(Scene(CV_8UC3)), m_folder / "colour.jpg", 85);
        WriteImage(Image(Scene(CV_8UC1)), m_folder / "grey.jpg", 60);
        WriteImage(Image(Scene(CV_8UC3)), m_folder / "colour.png");
        WriteImage(Image(Scene(CV_8UC4)), m_folder / "alpha.png");
        WriteImage(Image(Scene(CV_16UC3)), m_folder / "deep.tif");
        WriteImage(Image(Scene(CV_8UC3, 1, 1)), m_folder / "pixel.png");
        Bytes cut = ReadFileBytes(m_folder / "colour.jpg");
        cut.resize(cut.size() / 2);
        WriteFile(m_folder / "cut.jpg", cut);
    }

    OrvFilePtr Loaded(const std::string& name) const { return LoadForTest(m_folder / name); }

    TemporaryFolder m_folder;
};

// Everything that a result says, byte by byte.
std::string Fingerprint(const OrvFilterResult& result) {
    std::string all = JsonToText(result.output.ToJson(), 0);
    const auto add = [&all](const cv::Mat& mat) {
        all += std::to_string(mat.cols) + "x" + std::to_string(mat.rows) + ":" + std::to_string(mat.type());
        for (int y = 0; y < mat.rows; ++y)
            all.append(mat.ptr<char>(y), static_cast<std::size_t>(mat.cols) * mat.elemSize());
    };
    const auto addFloats = [&all](const std::vector<float>& values) {
        all.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(float));
    };
    for (int slot = 0; slot < kFileSlots; ++slot) {
        if (!result.slot[slot]) continue;
        const OrvSlotResult& found = *result.slot[slot];
        all += found.verdictText + std::to_string(static_cast<int>(found.verdict));
        for (const std::string& finding : found.findings) all += finding;
        add(found.outputImage.GetMat());
        for (const OrvMap& map : result.GetMaps(slot)) {
            add(map.values);
            add(map.mask);
            all += map.name + ToString(map.range.low) + " " + ToString(map.range.high);
            for (const OrvMapLine& line : map.lines)
                addFloats({line.from.x, line.from.y, line.to.x, line.to.y});
            for (const OrvMapRegion& region : map.regions) all += ToString(region.box) + region.text;
        }
        addFloats(found.plot.x);
        for (const auto& curve : found.plot.curves) addFloats(curve);
        for (const auto& marks : found.plot.marks) addFloats(marks);
        all += found.plot.text + "|" + found.plot.xLabel + "|" + found.plot.yLabel;
        for (const unsigned long long count : found.plot.counts) all += std::to_string(count) + ",";
    }
    return all;
}

// The values of an option that a test tries.
std::vector<Parameter> ValuesOf(const Parameter& option) {
    std::vector<Parameter> all;
    const auto add = [&](const auto& value) {
        Parameter& one = all.emplace_back(option);
        if (!one.SetValue(value) || one == option) all.pop_back();
    };
    const int least = static_cast<int>(std::max(option.GetMinimum(), 0.0));
    switch (option.Type()) {
        case ParameterType::Bool:
            add(!option.Get<bool>());
            break;
        case ParameterType::Choice:
            for (int i = 0; i < static_cast<int>(option.Strings().size()); ++i) add(i);
            break;
        case ParameterType::Int64:
            add(std::int64_t{100});
            break;
        case ParameterType::Double:
            add(option.GetMinimum());
            add((option.Get<double>() + option.GetMaximum()) / 2);
            break;
        case ParameterType::String:
            add(std::string("a"));
            break;
        case ParameterType::OrvRoi:
        case ParameterType::Roi:
            add(Roi(24, 16, 80, 64));
            break;
        case ParameterType::Int:
        case ParameterType::IntSlider:
            add(least + 1);
            add(static_cast<int>(std::min(option.GetMaximum(), 2.0 * option.Get<int>() + 2)));
            break;
        default:
            break;  // a file
    }
    return all;
}

}  // namespace

TEST_F(EveryFilter, HasAPlaceOfItsOwnInTheTree) {
    std::set<std::string> ids;
    std::set<std::string> groups;
    std::string group;
    for (const auto& filter : CreateAllFilters()) {
        EXPECT_TRUE(ids.insert(filter->GetId()).second) << "two filters are called " << filter->GetId();
        EXPECT_GT(filter->GetDescriptionUtf8().size(), 40U) << filter->GetId();
        if (filter->GetAnalysisTypeUtf8() == group) continue;
        group = filter->GetAnalysisTypeUtf8();
        EXPECT_TRUE(groups.insert(group).second)
            << filter->GetId() << ": the group \"" << group << "\" is torn apart";
    }
    for (const char* known : {"file-format", "error-level", "histogram"})
        EXPECT_TRUE(ids.contains(known)) << known;
}

// What a filter declares, word for word: names, defaults, bounds, choices, configurations, and what it says of itself.
TEST_F(EveryFilter, DeclaresWhatWasKept) {
    KeptResults kept("declared ");
    for (const auto& filter : CreateAllFilters()) {
        std::string all = filter->GetNameUtf8() + '|' + filter->GetAnalysisTypeUtf8() + '|' +
                          filter->GetDescriptionUtf8() + '|';
        for (const int number :
             {static_cast<int>(filter->GetPageKind()), filter->GetVersion(), int{filter->GivesVerdict()},
              int{filter->IsCacheable()}, int{filter->NeedsPicture()}, int{filter->ComparesFiles()},
              int{filter->ListsPictures()}, int{filter->HasSingleConfiguration()}})
            all += std::to_string(number) + ' ';
        for (const VecParameter& list : {filter->GetInputPrototype(), filter->GetPostProcessingPrototype(),
                                         filter->GetOutputPrototype()})
            for (const Parameter& one : list) {
                all += one.Name() + '|' + one.GetDescription() + '|' + one.GetToolTip() + '|' +
                       one.GetFileType() + '|' + one.GetValueAsString() + '|' + ToString(one.GetMinimum()) +
                       '|' + ToString(one.GetMaximum()) + '|' + std::to_string(one.GetType()) +
                       (one.IsHiddenFromGui() ? "hidden" : "");
                for (const std::string& choice : one.Strings()) all += '|' + choice;
                all += '\n';
            }
        for (const OrvFilterConfiguration& one : filter->GetConfigurations())
            all += GetParametersString(one.GetParameters(), false) + '\n';
        kept.Check("declared " + filter->GetId(), "text#" + Sha256(all).substr(0, 8));
    }
}

// Pictures about as small as an analysis takes, higher and wider, with parts of blocks at their edges: what is measured of them, or why not.
TEST_F(EveryFilter, MeasuresSmallPicturesAsWasKept) {
    KeptResults kept("small ");
    const struct {
        int width, height;
        const char* extension;
    } sizes[] = {{9, 16, "jpg"},  {16, 33, "jpg"},  {33, 17, "jpg"},
                 {64, 63, "png"}, {65, 130, "jpg"}, {130, 71, "png"}};
    std::vector<std::string> paths;
    for (const auto& size : sizes) {
        paths.push_back(m_folder / ("s" + std::to_string(size.width) + "." + size.extension));
        WriteImage(Image(Scene(CV_8UC3, size.width, size.height)), paths.back(), 80);
    }
    for (const auto& filter : CreateAllFilters()) {
        // What stands in the file is shown by the files of every format.
        if (filter->GetAnalysisTypeUtf8() == "File") continue;
        std::string digests;
        for (const std::string& path : paths)
            digests += (digests.empty() ? "" : " ") + DigestOf(*RunFilter(*filter, path), m_folder / "");
        kept.Check("small " + filter->GetId(), digests);
    }
}

// What the two files' results become side by side.
TEST_F(EveryFilter, MergesTwoFilesAsWasKept) {
    KeptResults kept("pair ");
    const std::pair<std::string, std::string> pairs[] = {
        {"colour.jpg", "grey.jpg"}, {"deep.tif", "colour.jpg"}, {"cut.jpg", "pixel.png"}, {"alpha.png", ""}};
    for (const auto& filter : CreateAllFilters())
        for (const auto& [evidence, reference] : pairs) {
            const OrvFilterResultPtr result =
                RunFilter(*filter, m_folder / evidence, reference.empty() ? "" : m_folder / reference);
            std::string text;
            bool hasDates = false;
            for (const Parameter& one : result->output) {
                if (one.Name() == "modified" || one.Name() == "created" || one.Name() == "accessed" ||
                    one.Name() == "changed") {
                    hasDates = true;
                    continue;
                }
                text += one.Name() + '|' + one.GetValueAsString() + '|' + one.GetValueAsString(true) + '\n';
            }
            // As a report and a table of text show it; pictures are named only.
            OrvReportSection section;
            section.filter = filter.get();
            section.result = result;
            section.note = "note";
            const auto named = [](const OrvResultPicture& picture) { return picture.name + ".png"; };
            // Dates of the file system differ or not as the test's files were written within one second or in two.
            if (!hasDates) text += HtmlReportSection(section, named) + BuildTsv(section);
            kept.Check("pair " + filter->GetId() + " " + evidence + " " + reference,
                       "text#" + Sha256(WithoutPlaceAndDates(text, m_folder.Path())).substr(0, 8) + " of " +
                           std::to_string(result->slot[OrvReference] != nullptr));
        }
}

TEST_F(EveryFilter, GivesTheSameBitsForAnyNumberOfThreads) {
    const std::string samples = PathJoin(GetAppDataPath(), "samples");
    const std::pair<std::string, std::string> pairs[] = {
        {m_folder / "colour.jpg", m_folder / "grey.jpg"},
        {m_folder / "deep.tif", m_folder / "grey.jpg"},
        {PathJoin(samples, "coffee-edited.jpg"), PathJoin(samples, "coffee.jpg")}};
    for (const auto& filter : CreateAllFilters())
        for (const auto& [evidence, reference] : pairs) {
            SetAnalysisThreads(1);
            const std::string first = Fingerprint(*RunFilter(*filter, evidence, reference));
            SetAnalysisThreads(5);
            EXPECT_TRUE(Fingerprint(*RunFilter(*filter, evidence, reference)) == first)
                << filter->GetId() << " on " << evidence;
        }
    SetAnalysisThreads(0);
}

// An option that is not read, or read as another one, changes nothing: every value of every option has to show in the result of some
// file, and no two choices of a list in the same way.
TEST_F(EveryFilter, TakesEveryOption) {
    // What matters only beside another option.
    const std::map<std::string, std::string> needs = {{"noise-residual/strength", "{\"filter\":2}"},
                                                      {"hex-view/findAs", "{\"find\":\"FF D8\"}"}};
    // What shows only in files that are made for it, in the filter's own tests.
    const std::set<std::string> others = {"metadata/show",
                                          "metadata/order",
                                          "metadata/search",
                                          "metadata/encoding",
                                          "thumbnails/number",
                                          "strings/encoding",
                                          "jpeg-dimples/window",
                                          "reference-comparison/model",
                                          "copy-move-keypoints/distance",
                                          "camera-identification/search",
                                          "camera-noise-map/window"};
    const std::pair<OrvFilePtr, OrvFilePtr> files[] = {
        {Loaded("colour.jpg"), Loaded("grey.jpg")},
        {Loaded("deep.tif"), Loaded("colour.png")},
        {LoadForTest(PathJoin(GetAppDataPath(), "samples/coffee.jpg")), Loaded("colour.jpg")}};
    constexpr std::size_t kMade = 2;  // the sample is larger, and asked only where these show nothing
    KeptResults kept("option ");
    for (const auto& filter : CreateAllFilters()) {
        const VecParameter prototypes[] = {filter->GetInputPrototype(), filter->GetPostProcessingPrototype()};
        std::map<std::pair<std::string, std::size_t>, std::vector<std::string>>
            untouched;  // by what is needed
        for (const VecParameter& prototype : prototypes) {
            const bool isInput = &prototype == &prototypes[0];
            for (const Parameter& option : prototype) {
                const std::string place = filter->GetId() + "/" + option.Name();
                if (others.contains(place)) continue;
                SCOPED_TRACE(place);
                VecParameter settings[] = {prototypes[0], prototypes[1]};
                const auto need = needs.find(place);
                std::vector<std::string> unfit;
                if (need != needs.end()) settings[0].FromJson(JsonFromText(need->second), unfit);
                std::string digest;  // on the first pair
                const auto prints = [&](std::size_t count) {
                    std::vector<std::string> all;
                    for (std::size_t i = 0; i < count; ++i) {
                        OrvFilterResult request;
                        request.input = settings[0];
                        request.postProcessing = settings[1];
                        request.file[OrvEvidence] = files[i].first;
                        request.file[OrvReference] = files[i].second;
                        const OrvFilterResultPtr result = filter->Run(request, {}, OrvJob(), nullptr);
                        if (i == 0) digest = DigestOf(*result, m_folder / "");
                        all.push_back(Fingerprint(*result));
                    }
                    return all;
                };
                const VecParameter start[] = {settings[0], settings[1]};
                const std::string needed = need == needs.end() ? "" : need->second;
                // What is wrong with the option as far as so many files show it.
                const auto problem = [&](std::size_t count) {
                    std::copy_n(start, 2, settings);
                    std::vector<std::string>& before = untouched[{needed, count}];
                    if (before.empty()) before = prints(count);
                    std::set<std::vector<std::string>> seen;
                    std::string wrong;
                    for (const Parameter& value : ValuesOf(option)) {
                        if (!settings[isInput ? 0 : 1].Find(option.Name())->Set(value))
                            return std::string("it cannot be set");
                        const std::vector<std::string> after = prints(count);
                        if (count == kMade)
                            kept.Check("option " + place + "=" + value.GetValueAsString(), digest);
                        if (after == before) wrong += " nothing changes with " + value.GetValueAsString();
                        if (option.Type() == ParameterType::Choice && !seen.insert(after).second)
                            wrong += " " + value.GetValueAsString() + " is like another";
                    }
                    return wrong;
                };
                if (problem(kMade).empty()) continue;
                EXPECT_EQ(problem(std::size(files)), "");
            }
        }
    }
}

// The pictures of the self-test are made so that each filter has something to find.
TEST_F(EveryFilter, FindsInThePicturesOfTheSelfTestWhatWasKept) {
    const std::string folder = PathJoin(GetAppDataPath(), "selftest");
    KeptResults kept("answer ");
    std::istringstream lines(ReadFile(PathJoin(folder, "answers.tsv")));
    std::set<std::string> asked;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream cells(line);
        std::string cell[4];
        for (std::string& one : cell) std::getline(cells, one, '\t');
        const std::string name = "answer " + cell[0] + " " + cell[1] + " " + cell[2] + " " + cell[3];
        if (!asked.insert(name).second) continue;
        const auto filter = MakeFilter(cell[0]);
        ASSERT_NE(filter, nullptr) << cell[0];
        std::string files[kFileSlots] = {cell[1], cell[2]};
        const auto check = [&](const std::string& what) {
            kept.Check(what, DigestOf(*RunOnSelfTestFiles(*filter, cell[3], files, folder, OrvJob()),
                                      PathJoin(folder, "")));
        };
        check(name);
        // A part of it that is higher than wide and lies away from the corner.
        if (!cell[1].ends_with(".png")) continue;
        const cv::Mat whole = DecodeImage(ReadFileBytes(PathJoin(folder, cell[1]))).image.GetMat();
        if (whole.rows < 256) continue;
        WriteImage(Image(whole(cv::Rect(8, 3, whole.cols - 40, whole.rows - 3)).clone()), m_folder / cell[1]);
        files[OrvEvidence] = std::filesystem::relative(m_folder / cell[1], folder).string();
        check("answer part of" + name.substr(6));
    }
    EXPECT_GT(asked.size(), 60U);
}

namespace {

// What the filters of the file itself say of it, in a line: a checksum for each.
std::string WordsOfFile(const std::vector<std::unique_ptr<OrvFilter>>& filters, const std::string& path,
                        const std::string& folder) {
    std::string line;
    const OrvFilePtr file = LoadForTest(path);
    for (const auto& filter : filters) {
        if (filter->GetAnalysisTypeUtf8() != "File" && filter->GetAnalysisTypeUtf8() != "JPEG") continue;
        OrvFilterResult request;
        request.input = filter->GetInputPrototype();
        request.postProcessing = filter->GetPostProcessingPrototype();
        request.file[OrvEvidence] = file;
        std::string found;
        try {
            found = DigestOf(*filter->Run(request, {}, OrvJob(), nullptr), folder);
        } catch (const ZorException& exception) {
            found = exception.GetMessage();
        }
        line += (line.empty() ? "" : " ") + filter->GetId() + "#" + Sha256(found).substr(0, 8);
    }
    return line;
}

}  // namespace

// Small files of every format in its variants, whole and cut: what is said of each field of their headers.
TEST_F(EveryFilter, SaysOfEveryVariantOfAFileWhatWasKept) {
    const std::string variants = std::string(ORVANE_SOURCES) + "/tests/zorimage/variants";
    const auto filters = CreateAllFilters();
    KeptResults kept("variant ");
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(variants)) {
        const std::string name = entry.path().filename().string();
        Bytes bytes = ReadFileBytes(entry.path().string());
        for (const char* part : {"whole", "cut"}) {
            const std::string path = m_folder / (part + ("-" + name));
            WriteFile(path, bytes);
            kept.Check("variant " + name + " " + part, WordsOfFile(filters, path, m_folder / ""));
            bytes.resize(bytes.size() * 3 / 5);
            ++count;
        }
    }
    EXPECT_GT(count, 60);
}

// Real files of few bytes; one of another size than the kept one is another file.
TEST_F(EveryFilter, SaysOfRealFilesWhatWasKept) {
    const char* folder = std::getenv("ORVANE_FIXTURES");
    if (folder == nullptr) GTEST_SKIP() << "ORVANE_FIXTURES is not set: no real files to read";
    constexpr std::uintmax_t kMostBytes = 30000;
    const auto filters = CreateAllFilters();
    KeptResults kept("real ");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        const std::string path = entry.path().string();
        if (!entry.is_regular_file() || entry.file_size() > kMostBytes ||
            path.find("/java/") != std::string::npos)
            continue;
        const std::string name =
            "real " + path.substr(std::string(folder).size() + 1) + " " + std::to_string(entry.file_size());
        if (kept.Knows(name)) kept.Check(name, WordsOfFile(filters, path, std::string(folder) + "/"));
    }
}
