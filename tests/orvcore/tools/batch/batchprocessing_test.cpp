#include "orvcore/tools/batch/batchprocessing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "orvcore/tables/tablemarkup.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/fulldisk.h"
#include "tests/support/testcore.h"
#include "zorbase/progress.h"

using namespace formatsupport;
using testing::HasSubstr;
using testing::Not;

namespace {

// A filter whose result is a picture, and which fails on pictures of odd width.
class PictureFilter : public OrvFilterImage {
  public:
    PictureFilter() : OrvFilterImage(wxString("Negative <b>"), "negative") {
        Describe("Test", "Turns the picture round.");
        SetParameters({Parameter::Int("value", "Value", 7, 0, 100)}, {},
                      {Parameter::Output(ParameterType::OutputString, "name", "Name")});
    }
    bool IsCacheable() const override { return true; }

    mutable std::vector<std::pair<double, std::string>>
        progress;  // as the user sees it at the end of each file

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        job.SetProgress(1.0, "Turning");
        progress.emplace_back(acvGetProgress(), acvGetProgressString());
        if (file.GetInfo().width % 2 == 1) ZOR_THROW(Format, "It failed on purpose.");
        result.output.Find("name")->SetValue("=" + PathName(file.GetPath()));
        result.outputImage = Image(cv::Mat(20, 200, CV_8UC3, cv::Scalar::all(input.Get<int>("value"))));
        result.verdict = OrvVerdict::WorthALook;
        result.verdictText = "Look here";
    }
};

class BatchProcessing : public CoreTest {
  protected:
    BatchProcessing() : cache(folder / "documents/cache") {
        filter =
            static_cast<PictureFilter*>(core->GetContext().RegisterFilter(std::make_unique<PictureFilter>()));
        core->GetContext().SetActiveFilter(filter);
        files[OrvEvidence] = Read(folder.WritePicture("case/a b.png", 10));
        folder.WritePicture("case/b.png", 20, 15);
        folder.WritePicture("case/c.jpg", 30);
        WriteFile(folder / "case/notes.txt", std::string("Notes.\n"));
        parameters = BatchProcessingParameters(folder / "out/report.html");
    }
    static OrvFilePtr Read(const std::string& path) { return OrvLoadedFile::Load(path, 1 << 20, OrvJob()); }
    void Choose(BatchFiles what, BatchWork work = BatchWork::FillCacheAndReport) {
        parameters[0].SetValue(static_cast<int>(what));
        parameters[2].SetValue(static_cast<int>(work));
    }
    FolderTable Run() {
        return RunBatchProcessing(parameters, files, core->GetContext().GetFilters(),
                                  core->GetContext().GetActiveFilter(), options, cache, OrvJob());
    }

    OrvFilePtr files[kFileSlots];
    OrvOptions options;
    OrvResultCache cache;
    VecParameter parameters;
    PictureFilter* filter = nullptr;
};

}  // namespace

TEST_F(BatchProcessing, AFolderBecomesOnePageWithItsImages) {
    Choose(BatchFiles::EvidenceFolder);
    WriteFile(folder / "case/d.jpg", std::string());
    const FolderTable result = Run();
    ASSERT_EQ(result.table.size(), 5U) << "three pictures and an empty file; the text is no image";
    EXPECT_EQ(result.table[4][4], "!The file is empty.");
    EXPECT_EQ(result.table[1][0], "*IMG*0");
    EXPECT_EQ(result.table[1][4], "?Look here");
    EXPECT_EQ(result.table[2][4], "!\"b.png\": It failed on purpose.");
    EXPECT_EQ(ParseCell(result.table[3][6]).text, folder / "case/c.jpg");
    ASSERT_EQ(result.thumbnails.size(), 2U);
    EXPECT_EQ(result.thumbnails[0].GetWidth(), 96);

    const std::string page = ReadFile(folder / "out/report.html");
    EXPECT_THAT(page, HasSubstr(files[OrvEvidence]->GetSha256()));
    EXPECT_THAT(page, HasSubstr("<img src=\"report-images/1-negative-1-evidence.png\""));
    EXPECT_THAT(page, HasSubstr("No result: &quot;b.png&quot;: It failed on purpose."));
    EXPECT_THAT(page, AllOf(HasSubstr("Negative &lt;b&gt;"), Not(HasSubstr("Negative <b>"))));
    EXPECT_THAT(page, testing::EndsWith("</html>\n"));
    const Image kept =
        DecodeImage(ReadFileBytes(folder / "out/report-images/1-negative-1-evidence.png")).image;
    EXPECT_EQ(kept.GetMat().at<cv::Vec3b>(5, 5)[0], 7);

    // A second run leaves the images of the first page alone.
    Run();
    EXPECT_THAT(ReadFile(folder / "out/report.html"), HasSubstr("src=\"report-images-2/1-"));
    EXPECT_TRUE(FileExists(folder / "out/report-images/1-negative-1-evidence.png"));
}

TEST_F(BatchProcessing, AFiltersProgressIsAPieceOfTheBatchs) {
    Choose(BatchFiles::EvidenceFolder);
    Run();
    ASSERT_EQ(filter->progress.size(), 3u);
    const std::string names[] = {"a b.png", "b.png", "c.jpg"};
    for (int i = 0; i < 3; ++i) {
        const auto& [done, text] = filter->progress[static_cast<std::size_t>(i)];
        EXPECT_NEAR(done, (i + 1) / 4.0, 1e-9) << "the notes are the fourth file";
        EXPECT_EQ(text, "File " + std::to_string(i + 1) + " of 4: " + names[i] + ", Negative <b>, Turning");
    }
}

TEST_F(BatchProcessing, ATableIsInertInASpreadsheet) {
    parameters[3].SetValue(folder / "out/report.tsv");
    Run();
    const std::vector<std::string> lines = StringToVecString(ReadFile(folder / "out/report.tsv"), "\n");
    ASSERT_EQ(lines.size(), 4U);
    const std::vector<std::string> cells = StringToVecString(lines[1], "\t");
    ASSERT_EQ(cells.size(), 9U);
    EXPECT_EQ(cells[0], folder / "case/a b.png");
    EXPECT_EQ(cells[1], files[OrvEvidence]->GetSha256());
    EXPECT_EQ(cells[6], "'=a b.png");
    EXPECT_THAT(lines[2], HasSubstr("report-images/1-negative-1-evidence.png"));
}

TEST_F(BatchProcessing, ATableTellsWhatFailed) {
    parameters[3].SetValue(folder / "out/report.tsv");
    files[OrvEvidence] = Read(folder / "case/b.png");
    Run();
    const std::vector<std::string> lines = StringToVecString(ReadFile(folder / "out/report.tsv"), "\n");
    ASSERT_GE(lines.size(), 2U);
    const std::vector<std::string> cells = StringToVecString(lines[1], "\t", SplitMode::KeepEmpty);
    ASSERT_EQ(cells.size(), 9U) << lines[1];
    EXPECT_EQ(cells[5], "No result");
    EXPECT_EQ(cells[6], "'\"b.png\": It failed on purpose.");
    EXPECT_EQ(cells[7], "");
}

TEST_F(BatchProcessing, ResultsAreKeptOnDiskOnlyWhereTheOptionsSaySo) {
    for (const bool keeps : {false, true}) {
        VecVecParameter chosen = options.Get();
        chosen[0].Find("useCache")->SetValue(keeps);
        options.Set(chosen);
        for (const BatchFiles what : {BatchFiles::Evidence, BatchFiles::EvidenceFolder}) {
            Choose(what);
            Run();
            EXPECT_EQ(
                static_cast<bool>(cache.Load(*filter, *files[OrvEvidence], filter->GetInputPrototype())),
                keeps);
        }
    }
}

TEST_F(BatchProcessing, TheCacheIsFilledAndReadAsChosen) {
    Choose(BatchFiles::Evidence, BatchWork::ReportFromCache);
    EXPECT_EQ(Run().table[1][4], "!Not processed yet: the cache holds no result.");
    Choose(BatchFiles::Evidence, BatchWork::FillCache);
    std::filesystem::remove_all(folder / "out");
    EXPECT_EQ(Run().table[1][4], "?Look here");
    EXPECT_FALSE(FolderExists(folder / "out")) << "no report was asked for";
    Choose(BatchFiles::Evidence, BatchWork::ReportFromCache);
    EXPECT_EQ(Run().table[1][4], "?Look here");

    VecVecParameter off = options.Get();
    off[0].Find("useCache")->SetValue(false);
    options.Set(off);
    EXPECT_THROW(Run(), ZorException);
}

TEST_F(BatchProcessing, NeverWritesToWhatItWorksOn) {
    const std::string evidence = files[OrvEvidence]->GetPath();
    std::filesystem::create_hard_link(folder / "case/c.jpg", folder / "other-name.html");
    Choose(BatchFiles::EvidenceFolder);
    for (const std::string& target : {evidence, folder / "case/../case/b.png", folder / "other-name.html"}) {
        parameters[3].SetValue(target);
        EXPECT_THROW(Run(), ZorException) << target;
    }
    EXPECT_EQ(Read(evidence)->GetSha256(), files[OrvEvidence]->GetSha256());
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / "case"), {}), 4);
}

TEST_F(BatchProcessing, AFailureLeavesNothingBehind) {
    // The report's name is taken by a folder: everything before it can be written, the report cannot.
    MakeFolder(folder / "out/report.html/full");
    EXPECT_THROW(Run(), ZorException);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / "out"), {}), 1);

    // No room for the images, then for the page.
    for (const rlim_t room : {50, 1000}) {
        const FullDisk full(room);
        parameters[3].SetValue(folder / "full/report.html");
        EXPECT_THROW(Run(), ZorException);
        EXPECT_TRUE(std::filesystem::is_empty(folder / "full")) << room;
    }

    Choose(BatchFiles::EvidenceAndReference);
    EXPECT_THROW(Run(), ZorException) << "there is no reference";
    parameters[3].SetValue(std::string());
    Choose(BatchFiles::Evidence);
    EXPECT_THROW(Run(), ZorException);
    files[OrvEvidence].reset();
    EXPECT_THROW(Run(), ZorException);
}

TEST_F(BatchProcessing, AnswersTheWindowWithATable) {
    Load(files[OrvEvidence]->GetPath());
    VecParameter results;
    sink.handle = [&](OrvCommandEvent& event) {
        if (event.GetId() == OrvEventCommandExecuted) results = event.GetParameters();
        GetInterface()->PostResponse();
    };
    core->CallGenericAction(OrvActionBatchProcessing, "Batch", parameters);
    ASSERT_TRUE(sink.PumpUntilIdle());
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(results[0].Get<TableString>().size(), 2U);
    EXPECT_EQ(core->GetContext().GetThumbnails().size(), 1U);

    const VecParameter where = {Parameter::Path(ParameterType::Folder, "folder", "Folder", folder / "case")};
    for (const OrvActionId action : {OrvActionBatchAnalysis, OrvActionBatchComparison}) {
        core->CallGenericAction(action, "Batch", where);
        ASSERT_TRUE(sink.PumpUntilIdle());
        ASSERT_EQ(results.size(), 1U);
        EXPECT_EQ(results[0].Get<TableString>().size(), action == OrvActionBatchAnalysis ? 5U : 6U);
        EXPECT_FALSE(core->GetContext().GetThumbnails().empty());
    }
}
