// Both editions as the window knows them, and the library's entry points.

#include <gtest/gtest.h>

#include "orvgui/common/forwarding.h"
#include "tests/orvgui/framefixture.h"
#include "zorbase/licence.h"

namespace {

class Editions : public FrameTest {
  protected:
    ~Editions() override { LicenceManager::Get().SetEdition(LicenceManager::Edition::Full); }
};

}  // namespace

TEST_F(Editions, OnlyTheTrialRefusesToSaveAResult) {
    Load(folder.WritePicture("a.png"));
    chosen = folder / "result.tsv";
    LicenceManager::Get().SetEdition(LicenceManager::Edition::Trial);
    {
        DialogAnswers answers{wxID_OK};
        Command(6003);
        EXPECT_EQ(std::vector<std::string>{"|Command not available in trial version."}, answers.Seen());
    }
    Settle();
    EXPECT_TRUE(asked.empty()) << "no name is asked for";
    EXPECT_FALSE(FileExists(chosen));

    LicenceManager::Get().SetEdition(LicenceManager::Edition::Full);
    Command(6003);
    Settle();
    EXPECT_EQ(1U, asked.size());
    EXPECT_TRUE(FileExists(chosen));
}

TEST_F(Editions, TheEntryPointsForwardAndDecideNothing) {
    const struct {
        LicenceManager::Edition edition;
        int style;
        const char* caption;
    } editions[] = {{LicenceManager::Edition::Full, 0, "full edition"},
                    {LicenceManager::Edition::Trial, 1, "trial edition"}};
    for (const auto& one : editions) {
        LicenceManager::Get().SetEdition(one.edition);
        EXPECT_EQ(one.style, OrvPaneStyle());
        EXPECT_STREQ(one.caption, OrvPaneCaption());
        for (const int command : {0, 1}) EXPECT_EQ(one.style == 0, OrvPaneAccepts(command));
        for (const int unknown : {-1, 2, 6003}) {
            EXPECT_TRUE(OrvPaneAccepts(unknown));
            EXPECT_STREQ("", OrvPaneHint(unknown));
        }
    }
    EXPECT_STREQ("Command not available in trial version.", OrvPaneHint(0));
    EXPECT_STREQ("Command not available on trial version.", OrvPaneHint(1));
}
