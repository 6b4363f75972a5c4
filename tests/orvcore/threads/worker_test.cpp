// The worker: what is computed how often, what an abort leaves behind, and that nothing hangs under pressure.

#include <algorithm>
#include <random>

#include "orvcore/facade/commandqueue.h"
#include "tests/support/testcore.h"

namespace {

class Worker : public CoreTest {
  protected:
    // A configure request that is being computed, and takes its time.
    void ConfigureSlowly(int value, int milliseconds) {
        probe->sleepMs = milliseconds;
        const int started = probe->started;
        Configure(value);
        ASSERT_TRUE(sink.PumpUntil([&] { return probe->started > started; }));
    }
    int Asked() const { return probe->GetParametersInput().Get<int>("value"); }
    int Shown() const { return probe->GetResult() ? probe->GetResult()->input.Get<int>("value") : -1; }
};

std::int64_t SumOf(const OrvFilter& filter) {
    return filter.GetParametersOutput().Find("sum")->Get<std::int64_t>();
}

}  // namespace

TEST_F(Worker, NewerConfigureRequestReplacesAWaitingOne) {
    Load(folder.WritePicture("a.png"));
    probe->runs = 0;
    probe->sleepMs = 50;
    Configure(1);
    ASSERT_TRUE(sink.PumpUntil([&] { return probe->started > 1; }));
    for (int value = 2; value <= 40; ++value) Configure(value);
    EXPECT_EQ(probe->GetParametersInput().Get<int>("value"), 40)
        << "getters answer the newest request at once";
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(probe->runs, 2) << "the first, and the newest of the waiting";
    EXPECT_EQ(SumOf(*probe), 40 + static_cast<std::int64_t>(core->GetFile(OrvEvidence)->GetBytes().size()));
}

TEST_F(Worker, SameRequestIsComputedOnceAndAnsweredEachTime) {
    Load(folder.WritePicture("a.png"));
    probe->runs = 0;
    sink.seen.clear();
    for (int i = 0; i < 5; ++i) {
        Configure(7);
        ASSERT_TRUE(sink.PumpUntilIdle());
    }
    EXPECT_EQ(probe->runs, 1);
    EXPECT_EQ(sink.Count(OrvEventConfigureStarted), 5);
    EXPECT_EQ(sink.Count(OrvEventConfigureCompleted), 5);
    Configure(7, 3);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(probe->runs, 1) << "post-processing alone does not compute again";
    Configure(7, 3, true);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(probe->runs, 2) << "unless it is forced";
}

TEST_F(Worker, ASlotCommandBetweenThemKeepsRequestsApart) {
    const std::string a = folder.WritePicture("a.png", 10);
    probe->sleepMs = 20;
    Configure(1);
    core->SetFile(PathToWx(a), OrvEvidence);
    Configure(2);
    core->SetFile("", OrvEvidence);
    Configure(3);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_GE(sink.Count(OrvEventConfigureCompleted), 5);
    EXPECT_FALSE(core->HasFile(OrvEvidence));
}

TEST_F(Worker, SwitchingTheSlotsComputesNothing) {
    Load(folder.WritePicture("a.png", 10));
    Load(folder.WritePicture("b.png", 200, 32), OrvReference);
    const std::string evidence = probe->GetParametersOutput().Find("file")->GetValueAsString();
    probe->runs = 0;
    core->SwitchFiles();
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(probe->runs, 0);
    EXPECT_EQ(evidence, "a.png");
    EXPECT_EQ(probe->GetParametersOutput().Find("file")->GetValueAsString(false), "b.png");
    EXPECT_EQ(probe->GetParametersOutput().Find("file")->GetValueAsString(true), "a.png");
    core->EnableReference(false);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_FALSE(core->HasFile(OrvReference));
    EXPECT_FALSE(probe->GetParametersOutput().Find("file")->IsRefSet());
}

TEST_F(Worker, AbortKeepsThePreviousResult) {
    Load(folder.WritePicture("a.png"));
    Configure(1);
    ASSERT_TRUE(sink.PumpUntilIdle());
    const OrvFilterResultPtr before = probe->GetResult();
    probe->sleepMs = 5000;
    const int started = probe->started;
    Configure(2);
    ASSERT_TRUE(sink.PumpUntil([&] { return probe->started > started; }));
    const auto start = std::chrono::steady_clock::now();
    core->AbortProcessing();
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_EQ(probe->GetResult(), before);
    EXPECT_EQ(sink.seen.back().id, OrvEventConfigureInterrupted);
    EXPECT_FALSE(probe->GetErrorMessage().empty());
}

// Neither what is held nor what was asked for before may stand under values that came later.
TEST_F(Worker, ActivatingAKnownConfigurationWaitsForItsTurn) {
    Load(folder.WritePicture("a.png"));
    Configure(90);
    ASSERT_TRUE(sink.PumpUntilIdle());
    core->AddFilterConfiguration(probe, probe->GetParametersInput(), 0);
    ConfigureSlowly(20, 100);
    EXPECT_TRUE(core->ActivateFilter(probe, 0));
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(Shown(), 90);
    EXPECT_EQ(Asked(), 90);
    EXPECT_EQ(probe->GetActiveConfiguration(), 0);
}

TEST_F(Worker, ACancelledRunGivesItsValuesBack) {
    const struct {
        const char* what;
        std::vector<int> waiting;  // requests behind the one that is cancelled
        int left;                  // what is shown and asked for in the end
        bool fails;                // instead of being cancelled
    } cases[] = {
        {"nothing newer", {}, 90, false},
        {"the same once more: a page asks once per parameter", {89, 89}, 90, false},
        {"something newer", {70}, 70, false},
        {"a failure", {}, 90, true},
    };
    Load(folder.WritePicture("a.png"));
    for (const auto& c : cases) {
        Configure(90);
        ASSERT_TRUE(sink.PumpUntilIdle());
        const std::size_t before = sink.seen.size();
        ConfigureSlowly(89, 400);
        for (const int value : c.waiting) Configure(value);
        if (c.fails) {
            probe->fails = true;
        } else {
            core->AbortProcessing();
        }
        // What waits behind it may have begun by the time that it is looked.
        EXPECT_TRUE(sink.PumpUntil([&] {
            return std::any_of(sink.seen.begin() + static_cast<std::ptrdiff_t>(before), sink.seen.end(),
                               [](const auto& event) { return event.id == OrvEventConfigureInterrupted; });
        }));
        probe->sleepMs = 0;
        ASSERT_TRUE(sink.PumpUntilIdle());
        EXPECT_EQ(Shown(), c.left) << c.what;
        EXPECT_EQ(Asked(), c.left) << c.what;
        probe->fails = false;
    }
}

TEST_F(Worker, ReprocessingForgetsOnlyWhenTheNewResultIsThere) {
    Load(folder.WritePicture("a.png"));
    Configure(5);
    ASSERT_TRUE(sink.PumpUntilIdle());
    const OrvFilterResultPtr before = probe->GetResult();
    for (const bool isForced : {false, true}) {
        probe->sleepMs = 5000;
        const int started = probe->started;
        if (isForced) {
            Configure(5, 1, true);
        } else {
            core->ReprocessCurrent(OrvEvidence);
        }
        ASSERT_TRUE(sink.PumpUntil([&] { return probe->started > started; }));
        core->AbortProcessing();
        ASSERT_TRUE(sink.PumpUntilIdle());
        EXPECT_EQ(probe->GetResult(), before) << isForced;
        EXPECT_EQ(probe->GetConfigurations().size(), 1U);
    }
    probe->sleepMs = 0;
    probe->runs = 0;
    core->ReprocessCurrent(OrvEvidence);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(probe->runs, 1);
    EXPECT_NE(probe->GetResult(), before);
    EXPECT_EQ(Shown(), 5);
}

// Files and values are those of the moment in which something was asked for, whatever is asked for before its turn comes.
TEST_F(Worker, SavesReportsAndBookmarksTakeWhatWasThereWhenAsked) {
    const std::string first = folder.WritePicture("first.png");
    const std::string table = folder / "table.tsv";
    const std::string report = folder / "report.html";
    Load(first);
    const std::int64_t bytes = static_cast<std::int64_t>(core->GetFile(OrvEvidence)->GetBytes().size());
    ConfigureSlowly(1000, 50);
    Configure(2000);
    core->SaveFilterResult(PathToWx(table));
    core->GenerateReport(PathToWx(report));
    core->AddBookmark("mark", "");
    Configure(3000);  // overtakes the waiting one before the table
    core->SetFile(PathToWx(folder.WritePicture("second.png", 7, 64)), OrvEvidence);
    ASSERT_TRUE(sink.PumpUntilIdle());
    const std::string sum = ToString(2000 + bytes);
    EXPECT_NE(ReadFile(table).find(sum), std::string::npos) << ReadFile(table);
    EXPECT_NE(ReadFile(report).find(sum), std::string::npos);
    ASSERT_EQ(core->GetProject().GetBookmarks().size(), 1U);
    EXPECT_EQ(core->GetProject().GetBookmarks()[0].file[OrvEvidence].path, first);
    EXPECT_EQ(Shown(), 3000);
    EXPECT_EQ(Asked(), 3000);
    EXPECT_EQ(probe->GetResult()->file[OrvEvidence], core->GetFile(OrvEvidence));
}

TEST_F(Worker, ABookmarkDoesNotTakeTheUsersNewerChoiceAway) {
    auto* second =
        static_cast<ProbeFilter*>(core->GetContext().RegisterFilter(std::make_unique<ProbeFilter>("second")));
    ProbePage secondPage;
    second->SetAnalysisFilterGui(&secondPage);
    Load(folder.WritePicture("a.png"));
    Configure(7);
    core->AddBookmark("seven", "");
    ASSERT_TRUE(sink.PumpUntilIdle());
    const struct {
        const char* what;
        std::function<void()> choose;
        OrvFilter* active;
        int value;  // of the bookmark's filter; 0: what it was at work on
    } cases[] = {
        {"nothing", [] {}, probe, 7},
        {"another filter", [&] { core->ActivateFilter(second, -1); }, second, 0},
        {"another filter, on the way to a third", [&] { core->GetContext().SetActiveFilter(second); }, second,
         0},
        {"other values", [&] { Configure(8); }, probe, 8},
        {"the bookmark once more", [&] { core->ShowBookmark(0); }, probe, 7},
    };
    int busyWith = 100;
    for (const auto& c : cases) {
        core->GetContext().SetActiveFilter(probe);
        ConfigureSlowly(++busyWith, 50);
        core->ShowBookmark(0);
        c.choose();
        ASSERT_TRUE(sink.PumpUntilIdle());
        EXPECT_EQ(core->GetActiveFilter(), c.active) << c.what;
        EXPECT_EQ(Asked(), c.value != 0 ? c.value : busyWith) << c.what;
        EXPECT_EQ(Shown(), Asked()) << c.what;
    }
}

TEST(CommandQueue, AnAbortIsForOnePieceOfWork) {
    std::atomic<std::uint64_t> begun{0};
    std::atomic<bool> isReleased{false};
    std::atomic<int> stopped{0};
    OrvCommandQueue queue([&begun](std::uint64_t work) { begun = work; }, [] {});
    for (int i = 0; i < 2; ++i) {
        OrvCommand command;
        command.run = [&](const OrvJob& job) {
            while (!isReleased) {
                job.CheckAbort();
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        };
        command.fail = [&](int, const std::string&) { ++stopped; };
        queue.Push(std::move(command));
    }
    const auto waitFor = [&begun](std::uint64_t work) {
        while (begun < work) std::this_thread::yield();
    };
    waitFor(1);
    queue.Abort(1);
    waitFor(2);
    for (int i = 0; i < 5; ++i) queue.Abort(1);  // a cancelled dialog's ticks go on
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    isReleased = true;
    EXPECT_TRUE(queue.WaitIdle(10000));
    EXPECT_EQ(stopped, 1);
}

TEST_F(Worker, FailureKeepsThePreviousResultAndIsTold) {
    Load(folder.WritePicture("a.png"));
    const OrvFilterResultPtr before = probe->GetResult();
    probe->fails = true;
    Configure(2);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(probe->GetResult(), before);
    EXPECT_TRUE(probe->GetErrorMessage().Contains("\"a.png\": It failed on purpose."));
    probe->fails = false;
    Configure(2);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_TRUE(probe->GetErrorMessage().empty());
}

TEST_F(Worker, NothingIsAnsweredForFilesThatHaveBeenReplaced) {
    Load(folder.WritePicture("a.png"));
    ASSERT_NE(probe->GetResult(), nullptr);
    probe->fails = true;
    Load(folder.WritePicture("b.png", 20));
    EXPECT_EQ(probe->GetResult(), nullptr) << "the result is of another file";
    EXPECT_FALSE(probe->GetParametersOutput().Find("file")->IsSet());
    probe->fails = false;
    Load("");
    EXPECT_TRUE(probe->GetErrorMessage().empty()) << "an error of a file that is gone";
}

TEST_F(Worker, ReprocessingOneSlotComputesThatFileOnly) {
    Load(folder.WritePicture("a.png"));
    Load(folder.WritePicture("b.png", 20), OrvReference);
    probe->runs = 0;
    core->ReprocessCurrent(OrvReference);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(probe->runs, 1);
    EXPECT_EQ(probe->GetParametersOutput().Find("file")->GetValueAsString(true), "b.png");
}

TEST_F(Worker, SavesAreCarriedOutWhenTheProgramEnds) {
    Load(folder.WritePicture("a.png"));
    const std::string project = folder / "case.zop";
    probe->sleepMs = 5000;
    const int started = probe->started;
    Configure(3);
    ASSERT_TRUE(sink.PumpUntil([&] { return probe->started > started; }));
    core->SaveProject(PathToWx(project));
    core->SetFile("", OrvEvidence);
    core.reset();
    EXPECT_TRUE(FileExists(project));
}

TEST_F(Worker, ASnapshotOutlivesItsSlot) {
    Load(folder.WritePicture("a.png"));
    const OrvFilePtr held = core->GetFile(OrvEvidence);
    Load("");
    EXPECT_FALSE(core->HasFile(OrvEvidence));
    EXPECT_EQ(held->GetInfo().width, 16);
    EXPECT_TRUE(held->GetDecoded(OrvJob())->image.IsValid());
}

// A thousand alternating requests, aborts and slot changes; then the end while work is running.
TEST_F(Worker, NothingHangsUnderAThousandRequests) {
    const std::string paths[] = {folder.WritePicture("a.png", 10), folder.WritePicture("b.jpg", 90),
                                 folder.WritePicture("c.tif", 200), ""};
    ProbeFilter* second =
        static_cast<ProbeFilter*>(core->GetContext().RegisterFilter(std::make_unique<ProbeFilter>("second")));
    ProbePage secondPage;
    second->SetAnalysisFilterGui(&secondPage);
    probe->sleepMs = 5;
    std::mt19937 random(42);
    const auto pick = [&random](int below) {
        return static_cast<int>(random() % static_cast<unsigned>(below));
    };
    for (int i = 0; i < 1000; ++i) {
        switch (pick(8)) {
            case 0:
                core->SetFile(PathToWx(paths[pick(4)]), static_cast<OrvFileId>(pick(2)));
                break;
            case 1:
                core->AbortProcessing();
                break;
            case 2:
                core->SwitchFiles();
                break;
            case 3:
                core->EnableReference(pick(2) == 0);
                break;
            case 4:
                core->ActivateFilter(pick(2) == 0 ? probe : second, -1);
                break;
            case 5:
                core->AddFilterConfiguration(second, second->GetParametersInput(), 0);
                core->DeleteFilterConfiguration(second, 0);
                break;
            default:
                Configure(pick(5), 1 + pick(3));
                break;
        }
        // Readers at any moment.
        probe->GetParametersOutput();
        core->GetFileList(OrvEvidence).size();
        core->GetFileId(OrvReference);
        core->GetProject();
        if (pick(3) == 0) wxTheApp->ProcessPendingEvents();
    }
    EXPECT_TRUE(sink.PumpUntilIdle(60000));
    for (const ProbeFilter* filter : {probe, second}) {
        const OrvFilterResultPtr result = filter->GetResult();
        if (!result) continue;
        EXPECT_EQ(result->input, filter->GetParametersInput());
        EXPECT_EQ(result->postProcessing, filter->GetParametersPostProcessing());
    }

    core->GetContext().SetActiveFilter(probe);
    probe->sleepMs = 0;
    Load(paths[0]);
    probe->sleepMs = 60000;
    const int started = probe->started;
    Configure(99);
    ASSERT_TRUE(sink.PumpUntil([&] { return probe->started > started; }));
    const auto start = std::chrono::steady_clock::now();
    core.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}
