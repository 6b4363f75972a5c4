#include "zorbase/calendar.h"

#include <chrono>
#include <mutex>

CalendarTime UtcTime(std::time_t time) {
    using namespace std::chrono;
    const sys_seconds moment{seconds(time)};
    const sys_days day = floor<days>(moment);
    const year_month_day date(day);
    const hh_mm_ss clock(moment - day);
    CalendarTime result;
    result.year = static_cast<int>(date.year());
    result.month = static_cast<int>(static_cast<unsigned>(date.month()));
    result.day = static_cast<int>(static_cast<unsigned>(date.day()));
    result.hour = static_cast<int>(clock.hours().count());
    result.minute = static_cast<int>(clock.minutes().count());
    result.second = static_cast<int>(clock.seconds().count());
    return result;
}

CalendarTime LocalTime(std::time_t time) {
    // The C library keeps the time zone in variables of its own. Its lock guards them, but only against itself, and
    // tools that watch threads do not see it.
    static std::mutex s_mutex;
    std::tm local{};
    {
        const std::lock_guard lock(s_mutex);
        tzset();
        if (localtime_r(&time, &local) == nullptr) return UtcTime(time);
    }
    // From here on the language's own calendar: what the zone adds is all that is asked of the C library.
    CalendarTime result = UtcTime(time + local.tm_gmtoff);
    result.secondsOfZone = static_cast<int>(local.tm_gmtoff);
    return result;
}

std::optional<std::int64_t> SecondsOf(const CalendarTime& time) {
    using namespace std::chrono;
    const year_month_day date{year(time.year), month(static_cast<unsigned>(time.month)),
                              day(static_cast<unsigned>(time.day))};
    const bool isTime = time.hour >= 0 && time.hour < 24 && time.minute >= 0 && time.minute < 60 &&
                        time.second >= 0 && time.second <= 60;
    if (!date.ok() || !isTime) return std::nullopt;
    return std::int64_t{sys_days(date).time_since_epoch().count()} * 86400 + time.hour * 3600 +
           time.minute * 60 + time.second - time.secondsOfZone;
}
