#include "zorbase/appversion.h"

#include <gtest/gtest.h>

#include "tests/support/temporaryfolder.h"
#include "zorbase/licence.h"

namespace {

TEST(AppVersion, EditionIsChosenByTheEnvironment) {
    const std::pair<const char*, bool> cases[] = {{nullptr, false}, {"", false}, {"de", false}, {"jp", true}};
    for (const auto& [value, isJapanese] : cases) {
        const ScopedVariable edition("ORVANE_EDITION", value);
        EXPECT_EQ(ZorHasJapaneseCustomization(), isJapanese) << (value != nullptr ? value : "unset");
    }
    EXPECT_EQ(AppVersion().GetAppName(), "Orvane");
}

TEST(Licence, TheTrialRefusesWhatTheFullEditionAllows) {
    LicenceManager& manager = LicenceManager::Get();
    const LicenceManager::Edition before = manager.GetEdition();
    const std::pair<LicenceManager::Command, std::string> refusals[] = {
        {LicenceManager::Command::SaveResult, "Command not available in trial version."},
        {LicenceManager::Command::ExportTable, "Command not available on trial version."}};
    for (const bool isTrial : {false, true}) {
        manager.SetEdition(isTrial ? LicenceManager::Edition::Trial : LicenceManager::Edition::Full);
        EXPECT_EQ(manager.IsTrial(), isTrial);
        EXPECT_EQ(manager.GetEditionName(), std::string(isTrial ? "trial edition" : "full edition"));
        for (const auto& [command, text] : refusals) {
            EXPECT_EQ(manager.Allows(command), !isTrial);
            EXPECT_EQ(LicenceManager::GetRefusal(command), text);
        }
    }
    manager.SetEdition(before);
}

}  // namespace
