#include "zorbase/calendar.h"

#include <gtest/gtest.h>

#include <tuple>

TEST(Calendar, TellsDatesInUtc) {
    struct Case {
        std::time_t seconds;
        std::tuple<int, int, int, int, int, int> date;
    };
    // By date(1).
    const Case cases[] = {{0, {1970, 1, 1, 0, 0, 0}},
                          {-1, {1969, 12, 31, 23, 59, 59}},
                          {951782400, {2000, 2, 29, 0, 0, 0}},
                          {1795266239, {2026, 11, 21, 13, 3, 59}},
                          {4107542400, {2100, 3, 1, 0, 0, 0}}};
    for (const Case& one : cases) {
        const CalendarTime time = UtcTime(one.seconds);
        EXPECT_EQ(std::tuple(time.year, time.month, time.day, time.hour, time.minute, time.second), one.date);
        EXPECT_EQ(SecondsOf(time), one.seconds);
    }
    EXPECT_EQ(SecondsOf({2026, 11, 21, 14, 3, 59, 3600}), 1795266239);
    EXPECT_EQ(SecondsOf({2016, 12, 31, 23, 59, 60}), 1483228800) << "a leap second";
}

TEST(Calendar, RefusesWhatIsNoDate) {
    const CalendarTime wrong[] = {{2023, 2, 29},       {2100, 2, 29},          {2024, 0, 1},
                                  {2024, 13, 1},       {2024, 4, 31},          {2024, 1, 1, 24},
                                  {2024, 1, 1, 0, 60}, {2024, 1, 1, 0, 0, 61}, {2024, 1, 1, -1}};
    for (const CalendarTime& time : wrong)
        EXPECT_FALSE(SecondsOf(time).has_value()) << time.month << "-" << time.day;
}
