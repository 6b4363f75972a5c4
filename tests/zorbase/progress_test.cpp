#include "zorbase/progress.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <thread>

namespace {

TEST(Progress, TwoLevelsAreApart) {
    acvSetProgress(0.25, "outer");
    {
        const ProgressInner inner("inner");
        EXPECT_TRUE(acvProgressRunning2());
        acvSetProgress2(0.5);
        EXPECT_EQ(acvGetProgress2(), 0.5);
        EXPECT_EQ(acvGetProgressString2(), "inner");
    }
    EXPECT_FALSE(acvProgressRunning2());
    EXPECT_EQ(acvGetProgress2(), 0);
    EXPECT_EQ(acvGetProgressString2(), "");
    EXPECT_EQ(acvGetProgress(), 0.25);
    EXPECT_EQ(acvGetProgressString(), "outer");

    acvSetProgress2(0.75, "more");
    EXPECT_EQ(acvGetProgress2(), 0.75);
    EXPECT_EQ(acvGetProgressString2(), "more");
    acvSetProgress2(0.25);
    {
        const ProgressInner inner("again");
        EXPECT_EQ(acvGetProgress2(), 0) << "starts at its beginning";
        acvSetProgress2(0.5);
        acvResetProgress();
        EXPECT_FALSE(acvProgressRunning2());
        EXPECT_EQ(acvGetProgress2(), 0);
        EXPECT_EQ(acvGetProgressString2(), "");
    }
    acvSetProgress(-1);
    EXPECT_EQ(acvGetProgress(), 0);
    acvSetProgress(7);
    EXPECT_EQ(acvGetProgress(), 1);
    acvSetProgress(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(acvGetProgress(), 0);

    acvSetProgress(0.5);
    acvResetProgress();
    EXPECT_EQ(acvGetProgress(), 0);
    EXPECT_EQ(acvGetProgressString(), "");
}

// Texts are whole while somebody else writes them; the thread sanitizer looks at the rest.
TEST(Progress, ReaderSeesWholeTexts) {
    std::atomic<bool> stop{false};
    acvSetProgress(0, std::string(200, 'a'));
    std::thread writer([&stop] {
        for (int i = 0; !stop; ++i) acvSetProgress(i % 2, std::string(200, i % 2 == 0 ? 'a' : 'b'));
    });
    for (int i = 0; i < 20000; ++i) {
        const std::string text = acvGetProgressString();
        ASSERT_EQ(text, std::string(200, text[0]));
    }
    stop = true;
    writer.join();
    acvResetProgress();
}

}  // namespace
