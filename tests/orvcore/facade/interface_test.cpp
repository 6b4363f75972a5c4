#include "orvcore/facade/interface.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <map>
#include <set>

#include "orvcore/model/collections.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/testcore.h"

using testing::HasSubstr;

namespace {

class Interface : public CoreTest {};

struct Stamp {
    std::int64_t size = 0;
    std::int64_t modifiedSeconds = 0;
    std::int64_t modifiedNanoseconds = 0;
    std::string sha256;
    bool operator==(const Stamp&) const = default;
};

Stamp StampOf(const std::string& path) {
    struct stat facts {};
    EXPECT_EQ(stat(path.c_str(), &facts), 0) << path;
    return {facts.st_size, facts.st_mtim.tv_sec, facts.st_mtim.tv_nsec, Sha256(ReadFile(path))};
}

// Image filters may refuse what cannot be decoded, with a reason; the others have an answer for every file.
bool MayRefuse(const OrvFilter& filter, const OrvLoadedFile& file) {
    static const std::set<std::string> kAlwaysAnswer = {"file-format", "metadata", "hex-view", "histogram",
                                                        "probe"};
    if (kAlwaysAnswer.contains(filter.GetId())) return false;
    try {
        return !file.GetDecoded(OrvJob())->image.IsValid();
    } catch (const ZorException&) {
        return true;
    }
}

bool IsAboutTheFile(const OrvFilter& filter) {
    return filter.GetAnalysisTypeUtf8() == "File" || filter.GetAnalysisTypeUtf8() == "JPEG";
}

}  // namespace

TEST_F(Interface, ConfigurationsMoveAndTheActiveOneStaysActive) {
    const struct {
        int from, to;
        const char* expected;  // their values, and which is active
    } cases[] = {{0, 2, "1203 0"},  {2, 0, "2013 2"},  {1, 3, "0231 3"}, {3, 1, "0312 2"}, {0, 0, "0123 1"},
                 {-1, 2, "0123 1"}, {0, -1, "0123 1"}, {4, 0, "0123 1"}, {0, 4, "0123 1"}, {2, 3, "0132 1"}};
    for (const auto& c : cases) {
        core->DeleteAllFilterConfigurations(probe);
        for (const int value : {0, 2, 3, 1}) {  // the last one added is the active one
            VecParameter input = probe->GetParametersInput();
            input.Find("value")->SetValue(value);
            core->AddFilterConfiguration(probe, input, value);
        }
        core->MoveFilterConfiguration(probe, c.from, c.to);
        std::string found;
        for (const OrvFilterConfiguration& one : probe->GetConfigurations())
            found += ToString(one.GetParameters().Get<int>("value"));
        EXPECT_EQ(found + " " + ToString(probe->GetActiveConfiguration()), c.expected)
            << c.from << " " << c.to;
    }
}

TEST_F(Interface, AFailedLoadLeavesTheSlotAndIsToldOnce) {
    const std::string good = folder.WritePicture("good.png");
    MakeFolder(folder / "folder.png");
    Load(good);
    const OrvFilePtr before = core->GetFile(OrvEvidence);
    for (const char* name : {"missing.png", "folder.png", "no/such/folder.png"}) {
        sink.seen.clear();
        Load(folder / name);
        ASSERT_EQ(sink.seen.size(), 1U) << name;
        EXPECT_EQ(sink.seen[0].id, OrvEventActionCompleted);
        EXPECT_NE(sink.seen[0].error, 0);
        EXPECT_THAT(sink.seen[0].text, HasSubstr(name));
        EXPECT_EQ(core->GetFile(OrvEvidence), before) << name;
        EXPECT_EQ(core->GetProject().GetFilePath(OrvEvidence), good);
    }
}

TEST_F(Interface, EveryFilterRunsOnAnythingAndTheEvidenceStaysAsItIs) {
    const Bytes jpeg = formatsupport::MakeJpeg();
    std::vector<std::string> paths = {folder.WritePicture("a.png"), folder.WritePicture("b.tif", 30, 64)};
    const std::pair<const char*, Bytes> odd[] = {
        {"empty.jpg", {}},
        {"one byte.jpg", {0xFF}},
        {"cut.jpg", Bytes(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(jpeg.size() / 2))},
        {"text.txt", formatsupport::ToBytes("no picture")}};
    for (const auto& [name, bytes] : odd) {
        WriteFile(folder / name, bytes);
        paths.push_back(folder / name);
    }
    for (const std::string& path : paths) {
        const Stamp before = StampOf(path);
        Load(path);
        Load(path, OrvReference);
        for (OrvFilter* filter : core->GetFilters()) {
            core->Configure(filter, -1, filter->GetParametersInput(), filter->GetParametersPostProcessing(),
                            false);
            ASSERT_TRUE(sink.PumpUntilIdle());
            EXPECT_TRUE(filter->GetErrorMessage().empty() || MayRefuse(*filter, *core->GetFile(OrvEvidence)))
                << path << ": " << FromWx(filter->GetErrorMessage());
        }
        core->GenerateReport(PathToWx(folder / "report.html"));
        core->AddBookmark("x", "y");
        core->SaveProject(PathToWx(folder / "case.zop"));
        core->DeleteCache(OrvEvidence);
        ASSERT_TRUE(sink.PumpUntilIdle());
        EXPECT_EQ(StampOf(path), before) << path;
    }
}

// Every real file, as evidence and as reference; small ones through every filter that reads the file and one of those that read its
// pixels, in turn.
TEST_F(Interface, EveryRealFileIsOpenedAndLeftAsItIs) {
    NEED_FIXTURES();
    const std::vector<std::string> paths = formatsupport::FilesBelow(formatsupport::Fixtures());
    ASSERT_GT(paths.size(), 100U);
    probe->SetAnalysisFilterGui(nullptr);
    core->GetContext().SetActiveFilter(nullptr);
    std::vector<std::string> failures;
    std::vector<OrvFilter*> pixelFilters;
    for (OrvFilter* filter : core->GetFilters())
        if (!IsAboutTheFile(*filter)) pixelFilters.push_back(filter);
    ASSERT_GT(pixelFilters.size(), 10U);
    std::size_t turn = 0;
    std::map<std::string, int> alike;  // files of a folder and an extension: of many, some
    for (const std::string& path : paths) {
        const int order = alike[PathFolder(path) + "/*." + PathExtension(path)]++;
        if (order >= 4 && order % 4 != 0) continue;
        const Stamp before = StampOf(path);
        core->SetFile(PathToWx(path), OrvEvidence);
        core->SetFile(PathToWx(path), OrvReference);
        ASSERT_TRUE(sink.PumpUntilIdle(120000)) << path;
        ASSERT_TRUE(core->HasFile(OrvEvidence) && core->HasFile(OrvReference)) << path;
        // Large pictures take seconds in each.
        const ImageInfo& info = core->GetFile(OrvEvidence)->GetInfo();
        const double pixels = static_cast<double>(info.width) * info.height;
        std::vector<OrvFilter*> filters;
        for (OrvFilter* filter : core->GetFilters())
            if (IsAboutTheFile(*filter) && (pixels <= 5e5 || (pixels <= 4e6 && filters.size() <= turn % 4)))
                filters.push_back(filter);
        if (pixels <= 5e5) filters.push_back(pixelFilters[turn % pixelFilters.size()]);
        ++turn;
        for (OrvFilter* filter : filters) {
            core->Configure(filter, -1, filter->GetParametersInput(), filter->GetParametersPostProcessing(),
                            false);
            ASSERT_TRUE(sink.PumpUntilIdle(120000)) << path << " " << filter->GetNameUtf8();
            if (!filter->GetErrorMessage().empty() && !MayRefuse(*filter, *core->GetFile(OrvEvidence)))
                failures.push_back(path + ": " + FromWx(filter->GetErrorMessage()));
        }
        ASSERT_EQ(StampOf(path), before) << path;
    }
    EXPECT_GT(turn, 100U);
    EXPECT_THAT(failures, testing::IsEmpty());
}

TEST_F(Interface, AReportIsOpenedOrItsPlaceIsTold) {
    Load(folder.WritePicture("a.png"));
    std::string opened;
    std::string told;
    sink.handle = [&](OrvCommandEvent& event) {
        if (event.GetId() == OrvEventGenerateReport) {
            opened = PathFromWx(event.GetString());
            told = FromWx(event.GetMessage());
        }
        core->PostResponse();
    };
    core->GenerateReport();
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_TRUE(FileExists(opened)) << opened;
    EXPECT_EQ(told, "");
    VecVecParameter options = core->GetProgramOptions();
    for (VecParameter& group : options)
        if (Parameter* option = group.Find("openReports")) option->SetValue(false);
    core->SetProgramOptions(options);
    core->GenerateReport();
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(opened, "");
    EXPECT_TRUE(FileExists(told)) << told;
}

// Examiner, organisation, logo and the place of reports come from the options; a case that names its examiner keeps that one.
TEST_F(Interface, OptionsNameWhoReportsAndWhere) {
    Load(folder.WritePicture("a.png"));
    const auto set = [this](const char* name, const std::string& value) {
        VecVecParameter options = core->GetProgramOptions();
        for (VecParameter& group : options)
            if (Parameter* option = group.Find(name)) option->SetValue(value);
        core->SetProgramOptions(options);
    };
    const auto report = [this] {
        std::string path;
        sink.handle = [&](OrvCommandEvent& event) {
            if (event.GetId() == OrvEventGenerateReport) path = PathFromWx(event.GetString());
            core->PostResponse();
        };
        core->GenerateReport();
        EXPECT_TRUE(sink.PumpUntilIdle());
        EXPECT_EQ(PathFolder(path), folder / "elsewhere");
        return ReadFile(path);
    };
    set("examiner", " E. Xaminer ");
    set("organisation", "Laboratory <3>");
    set("logo", folder.WritePicture("logo.png"));
    set("reportFolder", folder / "elsewhere");
    const std::string first = report();
    EXPECT_THAT(first, HasSubstr(">E. Xaminer<"));
    EXPECT_THAT(first, HasSubstr("Laboratory &lt;3&gt;"));
    EXPECT_THAT(first, HasSubstr("alt=\"Logo\""));
    OrvCaseData data;
    data.examiner = "Somebody else";
    core->SetCaseData(data);
    ASSERT_TRUE(sink.PumpUntilIdle());
    set("logo", folder / "missing.png");
    const std::string second = report();
    EXPECT_THAT(second, HasSubstr("Somebody else"));
    EXPECT_THAT(second, testing::Not(HasSubstr("E. Xaminer")));
    EXPECT_THAT(second, HasSubstr("The logo is missing"));
    EXPECT_NE(FingerprintFolder(), folder / "kept/fingerprints");
    set("collectionFolder", folder / "kept");
    EXPECT_EQ(FingerprintFolder(), folder / "kept/fingerprints");
    EXPECT_EQ(SignatureCollectionFile(), folder / "kept/signatures.db");
    set("collectionFolder", "");
}
