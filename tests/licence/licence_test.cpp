// Built once for each edition, with the licence manager's own source.

#include "zorbase/licence.h"

#include <gtest/gtest.h>

namespace {

using Edition = LicenceManager::Edition;
using Command = LicenceManager::Command;

#ifdef ORVANE_TRIAL
constexpr Edition kBuilt = Edition::Trial;
#else
constexpr Edition kBuilt = Edition::Full;
#endif

}  // namespace

TEST(Licence, TheBuildDecidesTheEdition) {
    LicenceManager& manager = LicenceManager::Get();
    EXPECT_EQ(kBuilt, LicenceManager::GetBuiltEdition());
    EXPECT_EQ(kBuilt, manager.GetEdition());
    EXPECT_EQ(kBuilt == Edition::Trial, manager.IsTrial());
    for (const Command command : {Command::SaveResult, Command::ExportTable})
        EXPECT_EQ(kBuilt == Edition::Full, manager.Allows(command));
    EXPECT_STREQ(kBuilt == Edition::Full ? "full edition" : "trial edition", manager.GetEditionName());
}

TEST(Licence, EachRefusalHasItsOwnWords) {
    EXPECT_STREQ("Command not available in trial version.", LicenceManager::GetRefusal(Command::SaveResult));
    EXPECT_STREQ("Command not available on trial version.", LicenceManager::GetRefusal(Command::ExportTable));
}
