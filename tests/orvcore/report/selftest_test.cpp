#include "orvcore/report/selftest.h"

#include <gmock/gmock.h>

#include "orvcore/report/selftestrecord.h"
#include "tests/support/testcore.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

using testing::HasSubstr;

namespace {

std::string Pictures() {
    return PathJoin(GetAppDataPath(), "selftest");
}

// The answers to a list of the caller's own about the installed pictures.
SelfTestRun Ask(const std::string& list) {
    const TemporaryFolder folder;
    WriteFile(folder / "ramps.png", ReadFile(PathJoin(Pictures(), "ramps.png")));
    WriteFile(folder / "answers.tsv", list);
    return RunSelfTest(folder / "", OrvJob(), {});
}

std::string Asked(const std::string& what, const std::string& relation, const std::string& expected) {
    return "bit-planes\tramps.png\t\tchannel=Red;bit=2\t" + what + "\t" + relation + "\t" + expected +
           "\twhy\n";
}

}  // namespace

TEST(SelfTest, EveryFilterGivesItsKnownAnswers) {
    const SelfTestRun run = RunSelfTest({}, OrvJob(), {});
    for (const SelfTestAnswer& answer : run.answers) EXPECT_TRUE(answer.isRight) << SelfTestLine(answer);
    EXPECT_THAT(run.untested, testing::IsEmpty());
    EXPECT_TRUE(run.IsGood());
}

TEST(SelfTest, AWrongAnswerIsNotTakenForARightOne) {
    // Half of the bits are set, and each differs from its neighbour: everything else is wrong.
    for (const auto& [what, relation, expected, isRight] :
         {std::tuple{"row:Set (%)", "is", "50.00", true}, std::tuple{"row:Set (%)", "is", "50.01", false},
          std::tuple{"row:Set (%)", "from", "49 to 51", true},
          std::tuple{"row:Set (%)", "from", "51 to 99", false},
          std::tuple{"row:Set (%):7", "is", "50.00", false}, std::tuple{"row:No such row", "is", "", false},
          std::tuple{"tables", "has", "50.00", true}, std::tuple{"tables", "lacks", "50.00", false},
          std::tuple{"picture:64,0", "is", "0 0 0", false}, std::tuple{"map:0,0,9", "from", "0 to 9", false},
          std::tuple{"nonsense", "is", "", false}, std::tuple{"row:Set (%)", "near", "50", false},
          std::tuple{"row:Set (%)", "from", "50", false}, std::tuple{"verdict", "from", "0 to 9", false}}) {
        const SelfTestRun run = Ask(Asked(what, relation, expected));
        ASSERT_EQ(run.answers.size(), 1U);
        EXPECT_EQ(run.answers[0].isRight, isRight) << SelfTestLine(run.answers[0]);
        EXPECT_FALSE(run.IsGood()) << "the other filters have no answer";
        EXPECT_GT(run.untested.size(), 40U);
    }
}

TEST(SelfTest, WhatCannotBeAskedIsToldAndEndsNothing) {
    const SelfTestRun run =
        Ask("# comment\nnonsense\tramps.png\t\t\tverdict\tis\tNone\tw\n"
            "histogram\tgone.png\t\t\tverdict\tis\tNone\tw\n"
            "bit-planes\tramps.png\t\tbit=99\tverdict\tis\tNone\tw\n" +
            Asked("row:Set (%)", "is", "50.00"));
    ASSERT_EQ(run.answers.size(), 4U);
    EXPECT_THAT(run.answers[0].found, HasSubstr("no such filter"));
    EXPECT_THAT(run.answers[1].found, HasSubstr("gone.png"));
    EXPECT_THAT(run.answers[2].found, HasSubstr("bit=99"));
    EXPECT_TRUE(run.answers[3].isRight);
    EXPECT_THROW(Ask("too\tfew\tcells\n"), ZorException);
    EXPECT_THROW(Ask("\n"), ZorException);
    EXPECT_THROW(RunSelfTest("/nonexistent", OrvJob(), {}), ZorException);
}

TEST(SelfTest, TheLastOneIsKeptWithItsDate) {
    const CaseFolder documents;
    EXPECT_THAT(SelfTestSummary(), HasSubstr("No self-test"));
    SelfTestRun run = Ask(Asked("row:Set (%)", "is", "50.00") + Asked("row:Set (%)", "is", "1"));
    run.date = "2026-01-02 03:04:05 +0000";
    run.untested.clear();
    KeepSelfTest(run);
    EXPECT_EQ(SelfTestSummary(),
              "On 2026-01-02 03:04:05 +0000, with " + run.program +
                  ": 1 known answers were not found (of 2): bit-planes on ramps.png (row:Set (%)).");
    run.answers.pop_back();
    run.program = "Orvane 0.0.1";
    KeepSelfTest(run);
    EXPECT_THAT(SelfTestSummary(),
                HasSubstr("all 1 known answers were found. Program or libraries have changed"));
    for (const char* damaged : {"", "{}", "[1]", "{\"answers\": \"x\"}", "\xFF"}) {
        WriteFile(SelfTestRecordPath(), std::string(damaged));
        EXPECT_THAT(SelfTestSummary(), HasSubstr("cannot be read"));
    }
}
