// A folder's table is made by threads of its own, while others watch its progress and stop it.

#include <unistd.h>

#include <stop_token>
#include <thread>

#include "orvcore/tools/folder/foldertable.h"
#include "tests/support/testcore.h"
#include "zorbase/progress.h"

namespace {

constexpr int kFiles = 300;

// Reads what a window shows, for as long as it lives.
class ProgressReader {
  private:
    std::jthread m_thread{[](const std::stop_token& stop) {
        while (!stop.stop_requested())
            EXPECT_GE(acvGetProgress() + static_cast<double>(acvGetProgressString().size()), 0);
    }};
};

class FolderScanThreads : public CoreTest {
  protected:
    FolderScanThreads() {
        const std::string first = folder.WritePicture("case/0.jpg", 50, 64);
        for (int i = 1; i < kFiles; ++i)
            EXPECT_EQ(link(first.c_str(), (folder / ("case/" + std::to_string(i) + ".jpg")).c_str()), 0);
        WriteFile(folder / "case/empty.jpg", std::string());
        options.threads = 4;
    }
    FolderScanOptions options;
};

}  // namespace

TEST_F(FolderScanThreads, AWatchedScanIsWholeAndInOrder) {
    FolderTable result;
    {
        const ProgressReader reader;
        result = ScanFolder(folder / "case", options, OrvJob());
    }
    ASSERT_EQ(result.table.size(), kFiles + 2U);
    EXPECT_EQ(result.thumbnails.size(), static_cast<std::size_t>(kFiles));
    for (int i = 0; i < kFiles; ++i) EXPECT_EQ(result.table[i + 1U][1], std::to_string(i) + ".jpg");
}

TEST_F(FolderScanThreads, AStopAtAnyMomentEndsEveryThread) {
    options.allHashes = true;
    for (int round = 0; round < 20; ++round) {
        std::stop_source stop;
        std::jthread user([&stop, round] {
            std::this_thread::sleep_for(std::chrono::milliseconds(round));
            stop.request_stop();
        });
        try {
            const ProgressReader reader;
            const FolderTable result = ScanFolder(folder / "case", options, OrvJob(stop.get_token()));
            EXPECT_EQ(result.table.size(), kFiles + 2U) << "a table that is given is whole";
        } catch (const ZorException& exception) {
            EXPECT_EQ(exception.GetKind(), ZorException::Kind::Aborted);
        }
    }
}

TEST_F(FolderScanThreads, TheWindowStopsTheCoresBatchAndStartsAnother) {
    const VecParameter where = {Parameter::Path(ParameterType::Folder, "folder", "Folder", folder / "case")};
    int failed = 0;
    std::size_t rows = 0;
    sink.handle = [&](OrvCommandEvent& event) {
        if (event.GetId() == OrvEventCommandExecuted) {
            if (event.GetError() != 0) ++failed;
            if (!event.GetParameters().empty()) rows = event.GetParameters()[0].Get<TableString>().size();
        }
        core->PostResponse();
    };
    const ProgressReader reader;
    for (int round = 0; round < 5; ++round) {
        core->CallGenericAction(OrvActionBatchAnalysis, "Batch", where);
        std::this_thread::sleep_for(std::chrono::milliseconds(4 * round));
        core->AbortProcessing();
        ASSERT_TRUE(sink.PumpUntilIdle());
    }
    core->CallGenericAction(OrvActionBatchAnalysis, "Batch", where);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(rows, kFiles + 2U);
    EXPECT_EQ(core->GetContext().GetThumbnails().size(), static_cast<std::size_t>(kFiles));
    EXPECT_LE(failed, 5);
}
