#include "orvgui/tables/listctrlresults.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "orvcore/facade/interface.h"
#include "orvgui/common/fileselectors.h"
#include "orvgui/common/progressdialog.h"
#include "orvgui/common/spreadsheet.h"
#include "orvgui/tables/listctrlview.h"
#include "tests/orvgui/tables/listctrlfixture.h"
#include "tests/support/guitest.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/testcore.h"
#include "zorbase/gui/shell.h"
#include "zorbase/licence.h"

namespace {

// Answers the choosers of files and folders.
class SelectorAnswer {
  public:
    explicit SelectorAnswer(const std::string& answer) {
        m_before = SetSelectorAnswer([this, answer](OrvSelectorKind, const wxString& message, const wxString&,
                                                    const wxString& name, const wxString& filter) {
            asked.push_back(FromWx(message) + "|" + FromWx(name) + "|" + FromWx(filter));
            return PathToWx(answer);
        });
    }
    ~SelectorAnswer() { SetSelectorAnswer(m_before); }
    std::vector<std::string> asked;

  private:
    OrvSelectorAnswer m_before;
};

// Sends an export command and waits for the end of the export.
void Export(OrvListCtrlResults& list, int id) {
    Send(list, id);
    ASSERT_TRUE(PumpUntil([&list] { return !list.IsExporting(); }));
}

// Rows so long that writing them takes a while.
ListCtrlView::Source LongRows(int rows) {
    TableString table = {{"Number", "Text"}};
    for (int i = 0; i < rows; ++i) table.push_back({ToString(i), std::string(1 << 16, '<')});
    return Share(std::move(table));
}

}  // namespace

TEST_F(ListCtrlTest, ExportsWriteTheWholeTableInItsOrder) {
    const TemporaryFolder folder;
    const Launches launches;
    auto* list = MakeBatch({{"n", "s"}, {"2", "!b"}, {"1", "a"}, {"3", "c"}});
    list->SortCol(0);
    list->SelectRow(0);
    list->SetRowFilter("a");
    {
        const SelectorAnswer answer(folder / "t.tsv");
        Export(*list, OrvListDataAsTsv);
        ASSERT_EQ(answer.asked.size(), 1u);
        EXPECT_TRUE(answer.asked[0].find("|export-20") != std::string::npos) << answer.asked[0];
    }
    EXPECT_EQ(ReadFile(folder / "t.tsv"), "n\ts\n1\ta\n2\tb\n3\tc\n");
    EXPECT_TRUE(launches.seen.empty());
    {
        const SelectorAnswer answer(folder / "t.html");
        Export(*list, OrvListDataAsHtml);
    }
    EXPECT_TRUE(FileExists(folder / "t.html"));
    EXPECT_TRUE(FileExists(folder / "style.css"));
    EXPECT_EQ(launches.seen.size(), 1u);
    {
        const SelectorAnswer cancelled("");
        Export(*list, OrvListDataAsHtml);
        Export(*list, OrvListDataAsTsv);
    }
    EXPECT_EQ(launches.seen.size(), 1u);
    {
        // A folder stands where the file should.
        std::filesystem::create_directory(folder / "taken.tsv");
        const SelectorAnswer answer(folder / "taken.tsv");
        DialogAnswers answers{wxID_OK};
        Export(*list, OrvListDataAsTsv);
        ASSERT_EQ(answers.Seen().size(), 1u);
        EXPECT_TRUE(answers.Seen()[0].starts_with("Error|")) << answers.Seen()[0];
    }
}

TEST_F(ListCtrlTest, ExportShowsHowFarItIsAndCanBeStopped) {
    const TemporaryFolder folder;
    const Launches launches;
    auto* list = new OrvListCtrlBatch(Frame(), LongRows(12000), 0, wxHORIZONTAL);
    ShowFrame();
    const SelectorAnswer answer(folder / "t.html");
    Send(*list, OrvListDataAsHtml);
    EXPECT_TRUE(list->IsExporting());
    {
        DialogAnswers answers{wxID_OK};
        Send(*list, OrvListDataAsTsv);
        EXPECT_EQ(answers.Seen()[0], "|The table is still being written.");
    }
    ASSERT_TRUE(PumpUntil([&] { return list->GetExport().GetDialog() != nullptr; }));
    EXPECT_EQ(list->GetExport().GetDialog()->GetTitle(), "Export");
    list->GetExport().Abort();
    ASSERT_TRUE(PumpUntil([&] { return !list->IsExporting(); }, 2000));
    EXPECT_EQ(list->GetExport().GetDialog(), nullptr);
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path())) << "nothing is left of a stopped export";
    EXPECT_TRUE(launches.seen.empty());

    Send(*list, OrvListDataAsHtml);
    PumpFrames();
    list->Destroy();  // while it writes
    Pump();
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST_F(ListCtrlTest, ExportNeverWritesToAFileOfTheTable) {
    const TemporaryFolder folder;
    const std::string photo = folder / "photo \xFF.html";
    WriteFile(photo, std::string("evidence"));
    std::filesystem::create_hard_link(photo, folder / "other name.html");
    auto* list = MakeBatch({{"Full Path"}, {"/somewhere/else"}, {FromWx(PathToWx(photo))}});
    for (const char* name : {"photo \xFF.html", "other name.html"}) {
        const SelectorAnswer answer(folder / name);
        DialogAnswers answers{wxID_OK, wxID_OK, wxID_OK};
        Export(*list, OrvListDataAsTsv);
        Export(*list, OrvListDataAsHtml);
        wxCommandEvent event;
        list->OnExportReportAsHtml(event);
        ASSERT_TRUE(PumpUntil([list] { return !list->IsExporting(); }));
        ASSERT_EQ(answers.Seen().size(), 3u);
        for (const std::string& seen : answers.Seen())
            EXPECT_NE(seen.find("which are never written to"), std::string::npos) << seen;
    }
    EXPECT_EQ(ReadFile(photo), "evidence");
}

TEST_F(ListCtrlTest, ReportHoldsTheSelectedRowsAndShownColumns) {
    const TemporaryFolder folder;
    const Launches launches;
    auto* list = MakeBatch({{"Picture", "Full Path", "Make"},
                            {"*IMG*0", "/photos/a&b.jpg", "!Canon"},
                            {"*IMG*1", "/photos/c.jpg", "Nikon"}});
    list->SetThumbnails({Image(cv::Mat(30, 60, CV_8UC3)), Image(cv::Mat(60, 30, CV_8UC3))});
    list->HideCol(1);
    list->SelectRow(0);
    const SelectorAnswer answer(folder / "r.html");
    wxCommandEvent event;
    list->OnExportReportAsHtml(event);
    ASSERT_TRUE(PumpUntil([list] { return !list->IsExporting(); }));
    const std::string page = ReadFile(folder / "r.html");
    EXPECT_NE(
        page.find("<h2>Exported Images</h2>\n<h3>Id 1</h3>\n"
                  "<img src=\"file:///photos/a%26b.jpg\" alt=\"a&amp;b.jpg\" width=\"320\" height=\"160\"/>\n"
                  "<p>Make Canon</p>\n</body>"),
        std::string::npos)
        << page;
    EXPECT_EQ(launches.seen.size(), 1u);
}

TEST_F(ListCtrlTest, SpreadsheetGetsTheTableOrAMessageSaysWhy) {
    const TemporaryFolder home;
    const ScopedVariable homeVariable("HOME", home.Path().c_str());
    std::filesystem::create_directory(home / "Desktop");
    auto* list = MakeBatch({{"n"}, {"=1+1"}});
    {
        DialogAnswers answers{wxID_OK};
        Export(*list, OrvListOpenInExcel);
        EXPECT_EQ(answers.Seen()[0],
                  "|Failed to create Excel instance. Excel must be installed for this function to work.");
        EXPECT_TRUE(std::filesystem::is_empty(home / "Desktop")) << "what nobody opened does not stay";
    }
    wxString opened;
    SetSpreadsheetOpener([&opened](const wxString& file) {
        opened = file;
        return SpreadsheetResult::NotOpened;
    });
    {
        DialogAnswers answers{wxID_OK};
        Export(*list, OrvListOpenInExcel);
        EXPECT_EQ(answers.Seen()[0], "|Failed to open " + FromWx(opened) + ".");
        EXPECT_FALSE(FileExists(PathFromWx(opened)));
    }
    SetSpreadsheetOpener([&opened](const wxString& file) {
        opened = file;
        return SpreadsheetResult::Opened;
    });
    Export(*list, OrvListOpenInExcel);
    EXPECT_EQ(ReadFile(PathFromWx(opened)), "n\n'=1+1\n");
    // No desktop folder: the documents folder.
    std::filesystem::remove_all(home / "Desktop");
    const ScopedVariable documents("ORVANE_DOCUMENTS", (home / "documents").c_str());
    std::filesystem::create_directory(home / "documents");
    Export(*list, OrvListOpenInExcel);
    EXPECT_EQ(PathFolder(PathFromWx(opened)), home / "documents");
    SetSpreadsheetOpener({});
}

TEST_F(ListCtrlTest, TrialEditionRefusesEveryExport) {
    auto* list = MakeBatch({{"Full Path"}, {"/x"}});
    auto* web = new OrvListCtrlWeb(Frame(), Share({{"url"}, {"http://x/y"}}), 0, wxHORIZONTAL);
    LicenceManager::Get().SetEdition(LicenceManager::Edition::Trial);
    const SelectorAnswer answer("/nowhere/t");
    {
        DialogAnswers answers{wxID_OK, wxID_OK, wxID_OK, wxID_OK, wxID_OK, wxID_OK};
        for (const int id : {OrvListImages, OrvListDataAsHtml, OrvListDataAsTsv, OrvListOpenInExcel})
            Send(*list, id);
        wxCommandEvent event;
        list->OnExportReportAsHtml(event);
        Send(*web, OrvListImages);
        for (const std::string& seen : answers.Seen())
            EXPECT_EQ(seen, "|Command not available on trial version.");
    }
    LicenceManager::Get().SetEdition(LicenceManager::Edition::Full);
    EXPECT_TRUE(answer.asked.empty());
}

TEST_F(ListCtrlTest, CommandsOfTheCoreAreAskedForWithTheRowsValues) {
    OrvInterface core;
    TestSink sink;
    core.SetProgressHandler(&sink);
    CaseFolder folder;
    const std::string first = folder.WritePicture("first.png", 10);
    const std::string second = folder.WritePicture("second \xFF.png", 20);
    auto* list = MakeBatch({{"n", "FULL PATH"}, {"1", first}, {"2", FromWx(PathToWx(second))}});

    wxGridEvent plain(list->GetId(), wxEVT_GRID_CELL_LEFT_DCLICK, list, 0, 0);
    list->ProcessWindowEvent(plain);
    ASSERT_TRUE(sink.PumpUntilIdle());
    ASSERT_TRUE(core.HasFile(OrvEvidence));
    EXPECT_EQ(core.GetFile(OrvEvidence)->GetPath(), first);
    wxGridEvent shifted(list->GetId(), wxEVT_GRID_CELL_LEFT_DCLICK, list, 1, 0, -1, -1, true,
                        wxKeyboardState(false, true));
    list->ProcessWindowEvent(shifted);  // the row that was clicked, not the one that has the cursor
    ASSERT_TRUE(sink.PumpUntilIdle());
    ASSERT_TRUE(core.HasFile(OrvReference));
    EXPECT_EQ(core.GetFile(OrvReference)->GetPath(), second) << "a name that is not UTF-8 comes through";

    list->SelectAll();
    const SelectorAnswer answer(folder / "copies");
    Send(*list, OrvListImages);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(ReadFile(folder / "copies/first.png"), ReadFile(first));
    EXPECT_TRUE(FileExists(folder / "copies/second \xFF.png"));
    EXPECT_EQ(sink.Count(OrvEventDumpEmbeddedJpgs), 1);

    auto* web =
        new OrvListCtrlWeb(Frame(), Share({{"Link"}, {"http://127.0.0.1:1/a/b.jpg"}, {""}}), 0, wxHORIZONTAL);
    {
        DialogAnswers consent{wxID_NO};
        Send(*web, OrvListImages);
        ASSERT_TRUE(sink.PumpUntilIdle());
        EXPECT_EQ(sink.Count(OrvEventCommandExecuted), 0) << "the user does not want it";
    }
    const DialogAnswers consent{wxID_YES};
    Send(*web, OrvListImages);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(sink.Count(OrvEventCommandExecuted), 1);
    EXPECT_EQ(answer.asked.back().substr(0, 52), "Select the directory where to download the images||");
}
