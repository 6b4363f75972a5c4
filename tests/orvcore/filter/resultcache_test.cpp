#include "orvcore/filter/resultcache.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <limits>
#include <tuple>

#include "tests/support/runfilter.h"
#include "tests/support/testcore.h"

namespace {

// A filter whose result has something of every kind that a cache must keep.
class RichFilter : public ProbeFilter {
  public:
    using ProbeFilter::ProbeFilter;
    int GetVersion() const override { return version; }
    int version = 1;

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        ProbeFilter::Compute(file, input, job, result);
        result.status = FilterStatus::StandsOut;
        result.verdict = OrvVerdict::StrongSign;
        result.verdictText = "ä <b>";
        result.findings = {"One.", "Two \xF0\x9F\x93\xB7."};
        cv::Mat picture(20, 30, CV_16UC3);
        cv::randu(picture, 0, 65535);
        result.outputImage = Image(picture);
        result.plot.x = {0.1F, 2e30F};
        result.plot.curves = {{1, 2}, {3, -4}};
        result.plot.layerCount = 2;
        result.plot.counts = {1, ~0ULL, 3, 4};
        result.plot.marks = {{1}, {2}};
        result.plot.helpLines = {{0, 0, 1, 1}};
        result.plot.xLabel = "x";
        result.morePlots = {result.plot};
        result.inputImage = Image(picture);
        OrvMap map;
        map.name = "Map";
        map.unit = "levels";
        map.values = cv::Mat(7, 5, CV_32F);
        cv::randu(map.values, -3, 3);
        map.values.at<float>(1, 1) = std::numeric_limits<float>::quiet_NaN();
        map.mask = cv::Mat(7, 5, CV_8U, cv::Scalar(0));
        map.mask.at<std::uint8_t>(6, 4) = 255;
        map.scale = OrvMapScale::Diverging;
        map.block = {4, 3};
        map.origin = {-2, 1};
        map.floor = {-1, 1};
        map.threshold = 2.5;
        map.thresholdSide = OrvMapSide::Above;
        map.lines = {{{1, 2}, {3.5F, 4}}};
        map.regions = {{Roi(1, 2, 3, 4), "here"}};
        result.AddMap(map);
        map.name = "Grids";
        map.values = cv::Mat(2, 2, CV_16S, cv::Scalar(-7));
        map.mask.release();
        map.scale = OrvMapScale::Classes;
        map.classNames = {"a", "b"};
        map.classColours = {{1, OrvClassColour::Green}};
        result.AddMap(map);
    }
};

std::string OnlyFileBelow(const std::string& folder) {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        if (entry.is_regular_file()) files.push_back(entry.path().string());
    EXPECT_EQ(files.size(), 1U);
    return files.empty() ? std::string() : files.front();
}

std::string BytesOf(const cv::Mat& mat) {
    return std::string(mat.ptr<char>(), mat.total() * mat.elemSize());
}

struct CacheRun {
    CacheRun() {
        filter.cacheable = true;
        request.file[OrvEvidence] = LoadForTest(folder.WritePicture("a.png"));
    }
    OrvSlotResultPtr Run() {
        request.input = filter.GetInputPrototype();
        request.postProcessing = filter.GetPostProcessingPrototype();
        const OrvFilterResultPtr result = filter.Run(request, {}, OrvJob(), &cache);
        filter.KeepFresh(*result, cache);
        return result->computed[OrvEvidence];
    }
    CaseFolder folder;
    RichFilter filter;
    OrvResultCache cache{folder / "cache"};
    OrvFilterResult request;
};

}  // namespace

TEST(ResultCache, AKeptResultIsTheResult) {
    CacheRun c;
    const OrvSlotResultPtr made = c.Run();
    const OrvSlotResultPtr kept = c.Run();
    EXPECT_EQ(c.filter.runs, 1);
    EXPECT_EQ(kept->output, made->output);
    EXPECT_EQ(kept->status, made->status);
    EXPECT_EQ(kept->verdict, made->verdict);
    EXPECT_EQ(kept->verdictText, made->verdictText);
    EXPECT_EQ(kept->findings, made->findings);
    EXPECT_TRUE(kept->outputImage.IsEqual(made->outputImage));
    EXPECT_FALSE(kept->inputImage.IsValid());
    EXPECT_EQ(kept->plot.x, made->plot.x);
    EXPECT_EQ(kept->plot.curves, made->plot.curves);
    EXPECT_EQ(kept->plot.counts, made->plot.counts);
    EXPECT_EQ(kept->plot.helpLines, made->plot.helpLines);
    EXPECT_EQ(kept->morePlots.size(), 1U);
    ASSERT_EQ(kept->maps.size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        const OrvMap& a = made->maps[i];
        const OrvMap& b = kept->maps[i];
        EXPECT_EQ(BytesOf(a.values), BytesOf(b.values)) << "bit by bit, what is no number too";
        EXPECT_EQ(BytesOf(a.mask), BytesOf(b.mask));
        EXPECT_EQ(std::tie(a.name, a.unit, a.scale, a.block, a.origin, a.image, a.floor, a.range,
                           a.isAutomatic, a.threshold, a.thresholdSide, a.classNames, a.classColours),
                  std::tie(b.name, b.unit, b.scale, b.block, b.origin, b.image, b.floor, b.range,
                           b.isAutomatic, b.threshold, b.thresholdSide, b.classNames, b.classColours));
        ASSERT_EQ(b.lines.size(), 1U);
        EXPECT_EQ(b.lines[0].to, a.lines[0].to);
        ASSERT_EQ(b.regions.size(), 1U);
        EXPECT_EQ(b.regions[0].box, a.regions[0].box);
        EXPECT_EQ(b.regions[0].text, a.regions[0].text);
    }
    c.filter.version = 2;
    c.Run();
    EXPECT_EQ(c.filter.runs, 2) << "another version of the filter is another result";
}

TEST(ResultCache, WhatWasNotLookedAtForLongestGoesFirst) {
    CacheRun c;
    c.Run();
    const std::string oldest = OnlyFileBelow(c.folder / "cache");
    const std::uint64_t size = c.cache.GetSize();
    EXPECT_EQ(size, std::filesystem::file_size(oldest));
    WriteFile(PathJoin(PathFolder(oldest), "extracted.jpg"), std::string(100, 'x'));
    using namespace std::chrono_literals;
    const auto age = [](const std::string& path, auto by) {
        std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() - by);
    };
    age(oldest, 2h);
    c.filter.version = 2;
    c.Run();
    for (const auto& entry : std::filesystem::recursive_directory_iterator(c.folder / "cache"))
        if (entry.path().extension() == ".result" && entry.path() != oldest) age(entry.path().string(), 1h);
    c.filter.version = 1;
    c.Run();  // read, so used now
    c.cache.SetLimit(size * 5 / 2);
    c.filter.version = 3;
    c.Run();
    EXPECT_TRUE(FileExists(oldest)) << "it was read last";
    EXPECT_LE(c.cache.GetSize(), size * 5 / 2);
    const int runs = c.filter.runs;
    c.filter.version = 2;
    c.Run();
    EXPECT_EQ(c.filter.runs, runs + 1) << "that one had to go";
    c.cache.Clear();
    EXPECT_EQ(c.cache.GetSize(), 0U);
    EXPECT_TRUE(FileExists(PathJoin(PathFolder(oldest), "extracted.jpg"))) << "what is not the cache's stays";
}

// A table that is a parameter counts by what is in it.
TEST(ResultCache, AChangedFileThatIsAParameterIsAnotherQuestion) {
    class TableFilter : public ProbeFilter {
      public:
        TableFilter() : ProbeFilter("table") {
            SetParameters({Parameter::Int("value", "Value", 0, 0, 9),
                           Parameter::Path(ParameterType::FileLoad, "table", "Table", "")},
                          {Parameter::Int("gain", "Gain", 1, 1, 9)}, GetOutputPrototype());
            cacheable = true;
        }
    };
    CaseFolder folder;
    TableFilter filter;
    const OrvResultCache cache(folder / "cache");
    WriteFile(folder / "table.txt", std::string("one"));
    OrvFilterResult request;
    request.file[OrvEvidence] = LoadForTest(folder.WritePicture("a.png"));
    request.input = filter.GetInputPrototype();
    request.postProcessing = filter.GetPostProcessingPrototype();
    ASSERT_TRUE(request.input.Find("table")->SetValue(folder / "table.txt"));
    std::vector<OrvFilterResultPtr> held;
    const auto run = [&](bool fromMemory) {
        held.push_back(
            filter.Run(request, fromMemory ? held : std::vector<OrvFilterResultPtr>(), OrvJob(), &cache));
        filter.KeepFresh(*held.back(), cache);
        return filter.runs.load();
    };
    EXPECT_EQ(run(true), 1);
    EXPECT_EQ(run(true), 1) << "held";
    EXPECT_EQ(run(false), 1) << "on disk";
    WriteFile(folder / "table.txt", std::string("two"));  // as long as before
    EXPECT_EQ(run(true), 2);
    WriteFile(folder / "table.txt", std::string("one"));
    EXPECT_EQ(run(false), 2) << "the content of the beginning is on disk, whatever its date";
}

TEST(ResultCache, DamagedAndForeignFilesAreIgnoredAndWrittenAgain) {
    CacheRun c;
    c.Run();
    const std::string path = OnlyFileBelow(c.folder / "cache");
    const std::string good = ReadFile(path);
    std::vector<std::string> damaged = {"", "orvane-result 1\n", "a foreign file", good + "x",
                                        std::string(5000, '\0')};
    for (std::size_t size = 1; size < good.size(); size += good.size() / 30)
        damaged.push_back(good.substr(0, size));
    for (std::size_t place = 0; place < good.size(); place += good.size() / 50) {
        damaged.push_back(good);
        damaged.back()[place] = static_cast<char>(damaged.back()[place] ^ 4);
    }
    // A block that claims more than there is, with a checksum that is right.
    std::string body(8, '\xFF');
    damaged.push_back("orvane-result 2\n" + Sha256(body) + body);
    int runs = c.filter.runs;
    for (const std::string& text : damaged) {
        WriteFile(path, text);
        c.Run();
        ASSERT_EQ(c.filter.runs, ++runs) << text.size() << " bytes were believed";
        c.Run();
        ASSERT_EQ(c.filter.runs, runs) << "written again";
    }
}

TEST(ResultCache, AFolderThatCannotBeWrittenIsNoCache) {
    CacheRun c;
    WriteFile(c.folder / "cache", std::string("a file in the way"));
    c.Run();
    c.Run();
    EXPECT_EQ(c.filter.runs, 2);
}
