#include "orvcore/model/log.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "tests/support/fulldisk.h"
#include "tests/support/testcore.h"
#include "zorbase/hash.h"

using testing::HasSubstr;

namespace {

// Three starts of the program, each with some lines.
class Logs : public testing::Test {
  protected:
    Logs() {
        for (int i = 1; i <= 3; ++i) {
            OrvLog log(logs);
            log.Note(OrvLogLevel::Info, "Start " + ToString(i) + ": a\tb\nc\\d");
            log.Note(OrvLogLevel::Warning, "second");
            places.push_back(log.GetPlace());
            log.Note(OrvLogLevel::Error, "third");
        }
    }
    std::string PathOf(int number) const { return logs + "/orvane-00000" + ToString(number) + ".log"; }
    // What is wrong, one line each; "" when all holds.
    std::string Check(const std::vector<OrvLogPlace>& stated = {}) const {
        const OrvLogCheck check = VerifyLogs(logs, stated);
        std::string wrong;
        for (const std::string& line : check.lines)
            if (line.starts_with("NOT")) wrong += line + "\n";
        EXPECT_EQ(check.isGood, wrong.empty());
        return wrong;
    }
    void Replace(int number, const std::string& what, const std::string& with) const {
        std::string text = ReadFile(PathOf(number));
        const std::size_t at = text.find(what);
        ASSERT_NE(at, std::string::npos) << what;
        WriteFile(PathOf(number), text.replace(at, what.size(), with));
    }

    TemporaryFolder folder;
    std::string logs = folder / "logs";
    std::vector<OrvLogPlace> places;
};

}  // namespace

TEST_F(Logs, AreOneChainOfLines) {
    EXPECT_EQ(Check(places), "");
    const std::vector<std::string> lines = StringToVecString(ReadFile(PathOf(2)), "\n", SplitMode::SkipEmpty);
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_THAT(lines[0], HasSubstr("orvane-000001.log, line 5, SHA-256 "));
    EXPECT_THAT(lines[1], HasSubstr("Start 2: a\\tb\\nc\\\\d")) << "one line whatever the text";
    EXPECT_THAT(lines[4], HasSubstr("Ended."));
    // By hand: each hash is that of the former one, a tab and the line before its own hash.
    const auto split = [](const std::string& line) {
        const std::size_t at = line.rfind('\t');
        return std::pair(line.substr(0, at), line.substr(at + 1));
    };
    for (std::size_t i = 1; i < lines.size(); ++i)
        EXPECT_EQ(split(lines[i]).second, Sha256(split(lines[i - 1]).second + "\t" + split(lines[i]).first));
    EXPECT_THAT(lines[2], testing::ContainsRegex(
                              "^3\t20[0-9-]+T[0-9:]+\\.[0-9]{3}Z\t[+-][0-9]{2}:[0-9]{2}\tWARNING\tsecond\t"));
}

TEST_F(Logs, EveryChangeIsNoticed) {
    struct Case {
        const char* what;
        std::function<void()> change;
        const char* found;
    };
    const auto lineOf = [this](int number, std::size_t line) {
        return StringToVecString(ReadFile(PathOf(number)), "\n")[line - 1] + "\n";
    };
    const auto rehash = [](const std::string& former, std::string line) {
        line.erase(line.rfind('\t'));
        return line + "\t" + Sha256(former + "\t" + line) + "\n";
    };
    const Case cases[] = {
        {"a word", [&] { Replace(1, "second", "fourth"); },
         "orvane-000001.log: 2 lines hold; line 3 was changed"},
        {"a time", [&] { Replace(2, "T", " "); }, "line 1 was changed"},
        {"a level", [&] { Replace(2, "WARNING", "INFO"); }, "line 3 was changed"},
        {"a line removed", [&] { Replace(2, lineOf(2, 3), ""); }, "line 3 says that it is line 4"},
        {"a line twice", [&] { Replace(2, lineOf(2, 3), lineOf(2, 3) + lineOf(2, 3)); },
         "line 4 says that it is line 3"},
        {"two lines exchanged", [&] { Replace(2, lineOf(2, 3) + lineOf(2, 4), lineOf(2, 4) + lineOf(2, 3)); },
         "line 3 says"},
        {"a log removed", [&] { std::filesystem::remove(PathOf(2)); }, "orvane-000002.log is missing"},
        {"the first log removed", [&] { std::filesystem::remove(PathOf(1)); },
         "orvane-000001.log is missing"},
        {"the end cut off", [&] { Replace(1, lineOf(1, 5), ""); }, "follows orvane-000001.log, line 5"},
        {"half a line",
         [&] { std::filesystem::resize_file(PathOf(3), std::filesystem::file_size(PathOf(3)) - 9); },
         "is not whole"},
        {"nothing left", [&] { WriteFile(PathOf(2), ""); }, "is empty"},
        {"noise", [&] { WriteFile(PathOf(2), std::string("\0\xff\t\t\t\t\t\n", 8)); }, "line 1 is no line"},
        // The last lines written anew with good hashes: only who stated the old ones can tell.
        {"an end forged",
         [&] {
             const std::string line = lineOf(1, 5);
             Replace(1, line,
                     rehash(lineOf(1, 4).substr(lineOf(1, 4).rfind('\t') + 1, 64),
                            line.substr(0, line.find("Ended.")) + "Ended well.\t"));
         },
         "the line there has another hash"},
        {"the newest log cut", [&] { Replace(3, lineOf(3, 3) + lineOf(3, 4) + lineOf(3, 5), ""); },
         "stated: orvane-000003.log, line 3, SHA-256"},
    };
    for (const Case& one : cases) {
        const std::string kept = folder / "kept";
        std::filesystem::remove_all(kept);
        std::filesystem::copy(logs, kept);
        one.change();
        EXPECT_THAT(Check(places), HasSubstr(one.found)) << one.what;
        std::filesystem::remove_all(logs);
        std::filesystem::rename(kept, logs);
        ASSERT_EQ(Check(places), "");
    }
}

TEST_F(Logs, ACrashAndAClockThatWentBackAreWrittenDown) {
    // A last line that was not written to its end: the next log names the one before it.
    std::filesystem::resize_file(PathOf(3), std::filesystem::file_size(PathOf(3)) - 3);
    // A log that ends in the future.
    {
        const std::string lines = "1\t2999-01-01T00:00:00.000Z\t+00:00\tINFO\torvane-log 1\t";
        const std::string body = lines.substr(0, lines.size() - 1);
        WriteFile(PathOf(4), lines + Sha256(std::string(64, '0') + "\t" + body) + "\n");
    }
    OrvLog log(logs);
    ASSERT_GE(log.GetLines().size(), 2U);
    EXPECT_THAT(log.GetLines()[1].text, HasSubstr("clock went back: the log before ends at 2999-01-01"));
    EXPECT_EQ(log.GetLines()[1].level, OrvLogLevel::Warning);
    EXPECT_THAT(Check(), HasSubstr("orvane-000003.log: 4 lines hold; line 5 is not whole"));

    std::filesystem::remove(PathOf(4));
    std::filesystem::remove(PathOf(5));
    OrvLog next(logs);
    EXPECT_THAT(next.GetLines()[0].text, HasSubstr("orvane-000003.log, line 4, SHA-256"));
}

TEST_F(Logs, AFolderThatCannotBeWrittenCostsOnlyTheFile) {
    WriteFile(folder / "file", "in the way");
    OrvLog log(folder / "file/logs");
    EXPECT_NE(log.GetProblem(), "");
    log.Note(OrvLogLevel::Info, "goes on");
    EXPECT_EQ(log.GetPlace(), OrvLogPlace());
    EXPECT_EQ(log.GetLines().back().text, "goes on");
    EXPECT_EQ(log.GetLines(log.GetLastNumber()).size(), 0U);

    OrvLog full(logs);
    {
        const FullDisk disk(600);
        for (int i = 0; i < 5; ++i) full.Note(OrvLogLevel::Info, std::string(200, 'x'));
    }
    EXPECT_NE(full.GetProblem(), "");
    full.Note(OrvLogLevel::Info, "later");
    EXPECT_EQ(full.GetPlace(), OrvLogPlace()) << "nothing is stated that is not there";
    EXPECT_THAT(Check(), HasSubstr("orvane-000004.log"));
}

TEST_F(Logs, TwoProgramsAndManyThreadsWriteWholeLines) {
    {
        OrvLog one(logs);
        OrvLog two(logs);
        EXPECT_NE(one.GetPath(), two.GetPath());
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                for (int line = 0; line < 200; ++line)
                    one.Note(OrvLogLevel::Info, std::string(static_cast<std::size_t>(line), 'x'));
            });
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(one.GetLastNumber(), 801);
    }
    EXPECT_EQ(Check(), "");
}

TEST(LogPlace, IsFoundInAnyText) {
    const OrvLogPlace place{"orvane-000012.log", 45, std::string(64, 'a')};
    EXPECT_EQ(FindLogPlaces("<p>" + LogPlaceText(place) + "</p>" + LogPlaceText(place)), std::vector{place});
    for (const char* text :
         {"", "orvane-", "orvane-12.log", "orvane-12.log, line , SHA-256 ",
          "orvane-1.log, line 1, SHA-256 abc", "orvane-99999999999999999999.log, line 1, SHA-256 ",
          "orvane-orvane-1.log, line 99999999999999, SHA-256 "})
        EXPECT_TRUE(FindLogPlaces(text).empty()) << text;
}

// The core writes down what it did, so that somebody else can repeat it.
class CoreLog : public CoreTest {
  protected:
    std::string Lines() {
        std::string all;
        for (const OrvLogLine& line : core->GetLog().GetLines()) all += line.text + "\n";
        return all;
    }
};

TEST_F(CoreLog, NamesLoadsRunsAndExportsWithHashes) {
    const std::string evidence = folder.WritePicture("a.png", 10);
    Load(evidence);
    Configure(41, 2);
    ASSERT_TRUE(sink.PumpUntilIdle());
    core->SaveFilterResult(PathToWx(folder / "out.tsv"));
    core->SaveProject(PathToWx(folder / "case.zop"));
    ASSERT_TRUE(sink.PumpUntilIdle());
    const std::string hash = core->GetFile(OrvEvidence)->GetSha256();
    const std::string lines = Lines();
    EXPECT_THAT(lines, HasSubstr("Loaded as evidence: \"" + evidence + "\""));
    EXPECT_THAT(lines, HasSubstr("bytes, SHA-256 " + hash));
    EXPECT_THAT(lines, HasSubstr("Filter probe, version 1, {\"value\":41} {\"gain\":2}, evidence SHA-256 " +
                                 hash + ": computed in"));
    EXPECT_THAT(lines, HasSubstr("Libraries: "));
    for (const char* name : {"out.tsv", "case.zop"})
        EXPECT_THAT(lines, HasSubstr(std::string("/") + name + "\", " +
                                     ToString(static_cast<int>(std::filesystem::file_size(folder / name))) +
                                     " bytes, SHA-256 " + Sha256(ReadFile(folder / name))))
            << name;
    // The project states where in the log it was saved.
    const OrvLogPlace place = OrvProject::FromText(ReadFile(folder / "case.zop")).GetState().logPlace;
    EXPECT_TRUE(VerifyLogs(LogFolder(), {place}).isGood);
    const std::size_t runs = lines.find("computed in");
    Configure(41, 2);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(Lines().find("computed in", runs + 1), lines.find("computed in", runs + 1))
        << "what is known is not run";
}

TEST_F(CoreLog, AFileThatIsNotTheExpectedOneIsToldBeforeItIsShown) {
    const std::string evidence = folder.WritePicture("a.png", 10);
    Load(evidence);
    const FileHashes hashes = core->GetFile(OrvEvidence)->GetHashes(OrvJob());
    OrvCaseData data;
    data.Set({core->GetProject().GetFile(OrvEvidence), "7", "", "", "MD5 " + hashes.md5});
    core->SetCaseData(data);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(sink.seen.back().error, 0);
    EXPECT_THAT(Lines(), HasSubstr("Exhibit 7 (\"a.png\"): The MD5 is the expected one."));
    EXPECT_EQ(core->GetKnownHashes(core->GetProject().GetFile(OrvEvidence)).md5, hashes.md5);
    Load("");
    folder.WritePicture("a.png", 11);
    bool wasShown = true;
    std::string told;
    sink.handle = [&](OrvCommandEvent& event) {
        if (event.GetError() != 0) {
            told = FromWx(event.GetMessage());
            wasShown = core->HasFile(OrvEvidence);
        }
        core->PostResponse();
    };
    Load(evidence);
    EXPECT_THAT(told, testing::AllOf(HasSubstr("Exhibit 7"), HasSubstr("not the expected " + hashes.md5)));
    EXPECT_FALSE(wasShown);
    EXPECT_TRUE(core->HasFile(OrvEvidence));
}

TEST(CoreLogWithoutFolder, IsToldAndTheProgramRuns) {
    if (wxTheApp == nullptr) wxAppConsole::SetInstance(new wxAppConsole);
    const TemporaryFolder folder;
    WriteFile(folder / "file", "in the way");
    const ScopedVariable documents("ORVANE_DOCUMENTS", (folder / "file").c_str());
    WriteFile(folder / "a.png", EncodeImage(Image(cv::Mat(8, 8, CV_8UC3)), "png"));
    OrvInterface core;
    TestSink sink;
    core.SetProgressHandler(&sink);
    core.SetFile(PathToWx(folder / "a.png"), OrvEvidence);
    ASSERT_TRUE(sink.PumpUntilIdle());
    std::string told;
    for (const TestSink::Seen& event : sink.seen) told += event.text;
    EXPECT_THAT(told, HasSubstr("The log cannot be written"));
    EXPECT_TRUE(core.HasFile(OrvEvidence));
    core.SaveProject(PathToWx(folder / "case.zop"));
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(OrvProject::FromText(ReadFile(folder / "case.zop")).GetState().logPlace, OrvLogPlace());
}
