// The acknowledgement of events: the worker goes on exactly when the window says so or cannot say so any
// more.

#include "tests/support/testcore.h"

namespace {

using std::chrono::milliseconds;

void Settle() {
    std::this_thread::sleep_for(milliseconds(60));
}

class Handshake : public CoreTest {};

}  // namespace

TEST_F(Handshake, WorkerWaitsForTheAcknowledgementOfEachEvent) {
    bool acknowledge = false;
    std::unique_ptr<OrvCommandEvent> kept;
    sink.handle = [&](OrvCommandEvent& event) {
        if (acknowledge)
            core->PostResponse();
        else if (event.GetId() == OrvEventConfigureCompleted)
            kept.reset(static_cast<OrvCommandEvent*>(event.Clone()));  // neither acknowledged nor ended
    };
    Configure(1);
    Configure(2);
    ASSERT_TRUE(sink.PumpUntil([&] { return kept != nullptr; }));
    const int ran = sink.Count(OrvEventConfigureStarted);
    core->SetFile(PathToWx(folder.WritePicture("a.png")), OrvEvidence);
    Settle();
    wxTheApp->ProcessPendingEvents();
    EXPECT_EQ(sink.Count(OrvEventConfigureStarted), ran) << "the worker went on without an acknowledgement";
    EXPECT_TRUE(core->IsBusy());

    acknowledge = true;
    kept.reset();  // the end of the last copy is an acknowledgement
    EXPECT_TRUE(sink.PumpUntilIdle());
    EXPECT_TRUE(core->HasFile(OrvEvidence));
}

TEST_F(Handshake, HandlerThatReturnsEarlyReleasesTheWorker) {
    sink.handle = [](OrvCommandEvent&) {};
    for (int i = 0; i < 20; ++i) {
        Configure(i, 1, true);
        ASSERT_TRUE(sink.PumpUntilIdle()) << i;
    }
    EXPECT_EQ(sink.Count(OrvEventConfigureCompleted), 20);
}

TEST_F(Handshake, StrayAcknowledgementIsNoCredit) {
    int handled = 0;
    std::unique_ptr<OrvCommandEvent> kept;
    sink.handle = [&](OrvCommandEvent& event) {
        if (event.GetId() != OrvEventConfigureCompleted) return;
        if (++handled == 1) {
            core->PostResponse();
            // The worker may by now have posted the next event: these must not acknowledge it.
            Settle();
            core->PostResponse();
            core->PostResponse();
        } else {
            kept.reset(static_cast<OrvCommandEvent*>(event.Clone()));
        }
    };
    core->PostResponse();
    // A slot command between them keeps the two requests from becoming one.
    Configure(1);
    core->SwitchFiles();
    ASSERT_TRUE(sink.PumpUntil([&] { return handled == 2; }));
    core->GenerateReport();
    Settle();
    wxTheApp->ProcessPendingEvents();
    EXPECT_TRUE(core->IsBusy()) << "a stray acknowledgement released the second event";
    EXPECT_EQ(sink.Count(OrvEventActionCompleted), 0);
    core->PostResponse();
    EXPECT_TRUE(sink.PumpUntil([&] { return sink.Count(OrvEventActionCompleted) == 1; }));
}

TEST_F(Handshake, EventOfAPageThatHasGoneIsConsumed) {
    Configure(1);
    probe->SetAnalysisFilterGui(nullptr);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_TRUE(sink.seen.empty());
    EXPECT_EQ(probe->GetParametersInput().Get<int>("value"), 1);
}

TEST_F(Handshake, EventCarriesItsPage) {
    wxObject* object = nullptr;
    OrvFilterGuiBase* seenPage = nullptr;
    sink.handle = [&](OrvCommandEvent& event) {
        object = event.GetEventObject();
        seenPage = event.GetPage();
        core->PostResponse();
    };
    Configure(1);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(object, static_cast<wxObject*>(&page));
    EXPECT_EQ(seenPage, &page);
}

TEST_F(Handshake, ShutdownReleasesEveryWait) {
    for (const bool deliver : {false, true}) {
        std::unique_ptr<OrvCommandEvent> kept;
        sink.handle = [&](OrvCommandEvent& event) {
            if (event.GetId() == OrvEventConfigureCompleted)
                kept.reset(static_cast<OrvCommandEvent*>(event.Clone()));
        };
        Configure(1, 1, true);
        if (deliver) {
            ASSERT_TRUE(sink.PumpUntil([&] { return kept != nullptr; }));
        } else {
            Settle();
        }
        const auto start = std::chrono::steady_clock::now();
        core.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(2000));
        wxTheApp->ProcessPendingEvents();
        core = std::make_unique<OrvInterface>();
        core->SetProgressHandler(&sink);
        probe = static_cast<ProbeFilter*>(core->GetContext().RegisterFilter(std::make_unique<ProbeFilter>()));
        probe->SetAnalysisFilterGui(&page);
    }
}

TEST_F(Handshake, SinkThatGoesAwayReleasesTheWorker) {
    Configure(1);
    Settle();
    core->SetProgressHandler(nullptr);
    EXPECT_TRUE(core->WaitIdle(2000));
}

TEST_F(Handshake, ProgressReachesTheHandlerOnThisThread) {
    Configure(1);
    ASSERT_TRUE(sink.PumpUntilIdle());
    ASSERT_TRUE(sink.PumpUntil([&] { return sink.destroyed >= 1; }));
    EXPECT_EQ(sink.created, 1);
}
