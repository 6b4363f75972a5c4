#include "orvcore/filter/resultcache.h"

#include <gtest/gtest.h>

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
    }
};

std::string OnlyFileBelow(const std::string& folder) {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        if (entry.is_regular_file()) files.push_back(entry.path().string());
    EXPECT_EQ(files.size(), 1U);
    return files.empty() ? std::string() : files.front();
}

struct CacheRun {
    CacheRun() { request.file[OrvEvidence] = LoadForTest(folder.WritePicture("a.png")); }
    OrvSlotResultPtr Run() {
        request.input = filter.GetInputPrototype();
        request.postProcessing = filter.GetPostProcessingPrototype();
        return filter.Run(request, {}, OrvJob(), &cache)->computed[OrvEvidence];
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
    c.filter.version = 2;
    c.Run();
    EXPECT_EQ(c.filter.runs, 2) << "another version of the filter is another result";
}

TEST(ResultCache, DamagedAndForeignFilesAreIgnoredAndWrittenAgain) {
    CacheRun c;
    c.Run();
    const std::string path = OnlyFileBelow(c.folder / "cache");
    const std::string good = ReadFile(path);
    std::vector<std::string> damaged = {"", "orvane-result 1\n", "a foreign file", good + "x",
                                        std::string(5000, '\0')};
    for (std::size_t size = 1; size < good.size(); size += 97) damaged.push_back(good.substr(0, size));
    for (std::size_t place = 0; place < good.size(); place += 61) {
        damaged.push_back(good);
        damaged.back()[place] = static_cast<char>(damaged.back()[place] ^ 4);
    }
    // A block that claims more than there is, with a checksum that is right.
    std::string body(8, '\xFF');
    damaged.push_back("orvane-result 1\n" + Sha256(body) + body);
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
