#include "orvcore/filter/filterstore.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "orvcore/model/options.h"
#include "tests/support/testcore.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

class FilterStore : public CoreTest {
  protected:
    std::string Write(const std::string& text) {
        WriteFile(folder / "a.zof", text);
        return folder / "a.zof";
    }
    // Loads the file and returns the failure's text, "" when there was none.
    std::string LoadText(const std::string& text) {
        sink.seen.clear();
        core->LoadConfigurations(PathToWx(Write(text)));
        EXPECT_TRUE(sink.PumpUntilIdle());
        std::string told;
        int failures = 0;
        for (const TestSink::Seen& event : sink.seen)
            if (event.id == OrvEventActionCompleted && event.error != 0) {
                told = event.text;
                ++failures;
            }
        EXPECT_LE(failures, 1) << "one message for everything";
        return told;
    }
    // Starts the program again; what it tells. `change` then writes settings anew, and the program ends.
    std::string Restart(const std::function<void()>& change) {
        if (core) core->SetProgressHandler(nullptr);
        core.reset();
        sink.seen.clear();
        core = std::make_unique<OrvInterface>();
        core->SetProgressHandler(&sink);
        EXPECT_TRUE(sink.PumpUntilIdle());
        std::string told;
        for (const TestSink::Seen& event : sink.seen) told += event.text;
        core->SetProgressHandler(nullptr);
        change();
        core.reset();
        return told;
    }
    int ValueOf(int index) const { return probe->GetConfigurationParams(index).Get<int>("value"); }
};

std::string File(const std::string& filters, const std::string& version = "1") {
    return R"({"format":"orvane-filter-configurations","version":)" + version + R"(,"filters":)" + filters +
           "}";
}

}  // namespace

TEST_F(FilterStore, WhatIsSavedComesBack) {
    VecParameter parameters = probe->GetInputPrototype();
    parameters[0].SetValue(42);
    core->AddFilterConfiguration(probe, parameters, 1);
    core->EnableFilterConfiguration(probe, 1, false);
    core->SaveConfigurations(PathToWx(folder / "saved.zof"));
    ASSERT_TRUE(sink.PumpUntilIdle());
    core->DeleteAllFilterConfigurations(probe);
    EXPECT_EQ(probe->GetConfigurationsSize(), 0);

    EXPECT_EQ(LoadText(ReadFile(folder / "saved.zof")), "");
    ASSERT_EQ(probe->GetConfigurationsSize(), 2);
    EXPECT_EQ(ValueOf(1), 42);
    EXPECT_TRUE(probe->IsConfigurationEnabled(0));
    EXPECT_FALSE(probe->IsConfigurationEnabled(1));
}

TEST_F(FilterStore, WhatIsKnownIsTakenAndTheRestIsNamedOnce) {
    const std::string told = LoadText(File(R"({
        "no-such-filter": {"configurations": []},
        "probe": {"active": 7, "configurations": [
            {"parameters": {"value": 5, "sharpness": 3}},
            {"parameters": {"value": "many"}},
            {"parameters": {"value": 2000000}},
            "nonsense"]},
        "file-format": 3})"));
    for (const char* part :
         {"a.zof", "no-such-filter", "sharpness", "value", "without parameters", "File Format"})
        EXPECT_THAT(told, HasSubstr(part));
    ASSERT_EQ(probe->GetConfigurationsSize(), 2) << "what could be read joins what was there";
    EXPECT_EQ(ValueOf(0), 0);
    EXPECT_EQ(ValueOf(1), 5);
    EXPECT_EQ(probe->GetActiveConfiguration(), 0) << "the damaged list does not choose";
    LoadText(File(
        R"({"probe": {"active": 7, "configurations": [{"parameters": {"value": 5}}, {"parameters": {}}]}})"));
    EXPECT_EQ(probe->GetActiveConfiguration(), 1) << "an index beyond the end is the last one";
}

TEST_F(FilterStore, AFileThatIsNoneChangesNothing) {
    VecParameter parameters = probe->GetInputPrototype();
    parameters[0].SetValue(42);
    core->AddFilterConfiguration(probe, parameters, 0);
    const std::string good = File(R"({"probe": {"configurations": [{"parameters": {"value": 5}}]}})");
    const std::pair<std::string, const char*> files[] = {
        {"", "not loaded"},
        {"{", "not loaded"},
        {good.substr(0, good.size() / 2), "not loaded"},
        {"[]", "not a file of filter configurations"},
        {R"({"format":"orvane-project","version":1,"filters":{}})", "not a file of filter configurations"},
        {File("[]"), "not a file of filter configurations"},
        {File("{}", "\"1\""), "not a file of filter configurations"},
        {File("{}", "4294967297"), "newer version"},
        {File("{}", "18446744073709551615"), "newer version"},
        {std::string(100000, '['), "not loaded"},
        {std::string("\xFF\xFE\0x", 4), "not loaded"},
    };
    for (const auto& [text, expected] : files) {
        EXPECT_THAT(LoadText(text), HasSubstr(expected)) << text.substr(0, 60);
        ASSERT_EQ(probe->GetConfigurationsSize(), 2) << text.substr(0, 60);
        EXPECT_EQ(ValueOf(0), 42);
    }
    // Not one of these is readable as a list: what was configured stays.
    EXPECT_THAT(LoadText(File(R"({"probe": {"configurations": [1, 2]}})")), HasSubstr("without parameters"));
    EXPECT_EQ(probe->GetConfigurationsSize(), 2);
}

TEST_F(FilterStore, WhatCanBeReadOfADamagedOrNewerFileJoinsWhatIsThere) {
    VecParameter parameters = probe->GetInputPrototype();
    parameters[0].SetValue(42);
    core->AddFilterConfiguration(probe, parameters, 0);
    // A neighbour that cannot be read, and one of which no value is known.
    LoadText(File(
        R"({"probe": {"configurations": [7, {"parameters": {"colour": 1}}, {"parameters": {"value": 5}}]}})"));
    ASSERT_EQ(probe->GetConfigurationsSize(), 3);
    EXPECT_EQ(ValueOf(0), 42);
    EXPECT_EQ(ValueOf(2), 5);
    const std::string newer = File(R"({"probe": {"configurations": [{"parameters": {"value": 6}}]}})", "2");
    EXPECT_THAT(LoadText(newer), HasSubstr("newer version"));
    ASSERT_EQ(probe->GetConfigurationsSize(), 1);
    EXPECT_EQ(ValueOf(0), 6);
    // The same parameters a thousand times are one configuration.
    std::string many;
    for (int i = 0; i < 1000; ++i) many += std::string(i > 0 ? "," : "") + R"({"parameters": {"value": 9}})";
    LoadText(File(R"({"probe": {"configurations": [)" + many + "]}}"));
    EXPECT_EQ(probe->GetConfigurationsSize(), 1);
}

TEST_F(FilterStore, DamagedSettingsDoNotKeepTheProgramFromStarting) {
    core.reset();
    for (const char* text :
         {"", "{", "[1]", "{\"format\":\"orvane-filter-configurations\",\"version\":99}"}) {
        WriteFile(OrvFilterStore::SettingsPath(), text);
        core = std::make_unique<OrvInterface>();
        EXPECT_GT(core->GetFilters().size(), 0U);
        EXPECT_EQ(core->GetFilters().front()->GetConfigurationsSize(), 1);
        core.reset();
    }
}

TEST_F(FilterStore, OptionsThatCannotBeReadAreKeptForTheUserAloneAndToldOnce) {
    const std::string path = OrvOptions::Path();
    const std::string key = "my-secret-key";
    const auto start = [this] {
        return Restart([this] { core->SetProgramOptions(core->GetProgramOptions()); });
    };
    WriteFile(path, R"({"flickrKey": ")" + key + R"(", "jpegQuality": 50)");
    std::string told = start();
    EXPECT_THAT(told, AllOf(HasSubstr("program options"), HasSubstr("damaged"), HasSubstr(path + ".bak")));
    EXPECT_THAT(told, Not(HasSubstr(key)));
    EXPECT_THAT(ReadFile(path + ".bak"), HasSubstr(key));
    struct stat facts {};
    ASSERT_EQ(stat((path + ".bak").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0600u);
    EXPECT_EQ(start(), "") << "the file is sound again";

    WriteFile(path, R"({"jpegQuality": "much", "useCache": false, "strange": 1})");
    told = start();
    EXPECT_THAT(told, AllOf(HasSubstr("JPEG quality"), HasSubstr("\"strange\""), HasSubstr(path + ".2.bak")));
    OrvOptions options;
    options.Load();
    EXPECT_FALSE(options.IsCacheEnabled()) << "what fits is taken";
    EXPECT_EQ(options.GetJpegQuality(), 95);

    // Both files at once: one message tells of both.
    WriteFile(path, "[]");
    WriteFile(OrvFilterStore::SettingsPath(), "{ damaged");
    EXPECT_THAT(start(), AllOf(HasSubstr("program options"), HasSubstr("filter configurations")));
}

TEST_F(FilterStore, SettingsThatCannotBeReadAreKeptAndToldOnce) {
    const std::string path = OrvFilterStore::SettingsPath();
    const auto start = [this] { return Restart([this] { core->StoreSettings(); }); };
    WriteFile(path, "{ damaged");
    const std::string told = start();
    for (const std::string& part : {path, path + ".bak", std::string("could not be read")})
        EXPECT_THAT(told, HasSubstr(part));
    EXPECT_EQ(ReadFile(path + ".bak"), "{ damaged");
    EXPECT_EQ(start(), "") << "the file is sound again";

    WriteFile(path, "{ damaged");
    EXPECT_EQ(start(), "") << "the same file is kept and told already";

    WriteFile(path, File(R"({"of-a-newer-version": {"configurations": []}})"));
    EXPECT_THAT(start(), AllOf(HasSubstr("of-a-newer-version"), HasSubstr(path + ".2.bak")));
    EXPECT_THAT(ReadFile(path + ".2.bak"), HasSubstr("of-a-newer-version"));
    EXPECT_EQ(ReadFile(path + ".bak"), "{ damaged") << "an older copy is never overwritten";
}
