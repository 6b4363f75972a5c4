// All filters one after the other, from the summary.

#include "orvgui/pages/filtersummary.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/filterspanel.h"
#include "orvgui/tables/listctrl.h"
#include "tests/orvgui/framefixture.h"

namespace {

class RunAllTest : public FrameTest {
  protected:
    void SetUp() override {
        frame->SelectFirstItem();  // so that nothing is known of the file yet
        Load(folder.WritePicture("evidence.jpg", 90, 96));
        page = dynamic_cast<FilterSummaryPanel*>(frame->GetViewerPanel()->GetShownPage());
        ASSERT_NE(page, nullptr);
    }

    FilterSummaryPanel* page = nullptr;
};

}  // namespace

TEST_F(RunAllTest, ComputesWhatIsMissingWithoutTurningPages) {
    probe->fails = true;  // one that fails keeps the others from nothing
    page->RunAll();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (core->IsBusy() && std::chrono::steady_clock::now() < end) {
        PumpFor(5);
        ASSERT_EQ(frame->GetViewerPanel()->GetShownPage(), page);
    }
    Settle();
    int run = 0;
    for (const auto& group : page->GetStatusGroups()) {
        EXPECT_NE(group->GetStatus(), "not run yet") << group->GetFilter()->GetId();
        ++run;
    }
    EXPECT_GT(run, 20);
    EXPECT_TRUE(probe->GetErrorMessage().Contains("on purpose")) << probe->GetErrorMessage();
    // The tree tells of every result.
    wxTreeCtrl* tree = frame->GetFiltersPanel()->GetTree();
    OrvFilter* ghosts = core->GetContext().FindFilter("jpeg-ghosts");
    ASSERT_NE(ghosts, nullptr);
    auto* ghostsPage = dynamic_cast<OrvFilterGui*>(ghosts->GetAnalsyisFilterGui());
    const wxTreeItemId item = frame->GetFiltersPanel()->FindItem(tree->GetRootItem(), ghostsPage, -1);
    ASSERT_TRUE(item.IsOk());
    EXPECT_TRUE(tree->IsBold(item));
    // What is known is not computed again.
    probe->fails = false;
    page->RunAll();
    Settle();
    const int runs = probe->runs;
    EXPECT_EQ(runs, 1);
    page->RunAll();
    Settle();
    EXPECT_EQ(probe->runs, runs);
    EXPECT_TRUE(probe->GetErrorMessage().empty());
}

TEST_F(RunAllTest, CanBeStopped) {
    probe->sleepMs = 20000;
    page->RunAll();
    ASSERT_TRUE(PumpUntil([this] { return probe->started > 0; }, 60000));
    const auto begin = std::chrono::steady_clock::now();
    core->AbortProcessing();
    ASSERT_TRUE(PumpUntil([this] { return !core->IsBusy(); }));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(3));
    Settle();
    EXPECT_EQ(probe->runs, 0);
    EXPECT_EQ(frame->GetViewerPanel()->GetShownPage(), page);
}

TEST_F(RunAllTest, AFindingLeadsToItsPage) {
    // A name that does not agree with the content.
    const std::string path = folder.WritePicture("photograph.png", 90, 96);
    std::filesystem::rename(path, folder / "photograph.jpg");
    Load(folder / "photograph.jpg");
    EXPECT_EQ(page->GetFindingsList()->GetNumRows(), 0);
    page->RunAll();
    ASSERT_TRUE(PumpUntil([this] { return !core->IsBusy(); }, 60000));
    Settle();
    OrvListCtrl* list = page->GetFindingsList();
    ASSERT_GT(list->GetNumRows(), 0);
    int index = -1;
    for (int i = 0; i < list->GetNumRows(); ++i)
        if (list->GetCellValue(i, 1) == "File Format") index = i;
    ASSERT_GE(index, 0);
    EXPECT_TRUE(list->GetCellValue(index, 0).Contains("worth a look"));
    EXPECT_FALSE(list->GetCellValue(index, 0).Contains("Evidence")) << "there is no other";
    EXPECT_TRUE(list->GetCellValue(index, 2).Contains("PNG")) << list->GetCellValue(index, 2);
    for (const int size : {1280, 1024, 960}) {
        frame->SetClientSize(size, 700);
        PumpFrames();
        const auto columns = [list] {
            int width = 0;
            for (int column = 0; column < list->GetNumCols(); ++column) width += list->GetColSize(column);
            return width;
        };
        EXPECT_TRUE(PumpUntil([&] { return columns() <= list->GetSize().x; }, 2000))
            << "sentences are broken, not cut: " << columns() << " of " << list->GetSize().x;
    }
    page->OpenFinding(static_cast<std::size_t>(index));
    Settle();
    EXPECT_EQ(frame->GetViewerPanel()->GetShownPage()->GetFilter()->GetId(), "file-format");
    page->OpenFinding(1000);  // there is none
}
