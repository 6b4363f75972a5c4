#pragma once

#include <cstdint>
#include <ctime>
#include <optional>

// A moment as a calendar and a clock show it. Nothing here reads or sets the C library's time zone without a lock, so
// every thread may ask at any time.
struct CalendarTime {
    int year = 1970;
    int month = 1;  // 1..12
    int day = 1;    // 1..31
    int hour = 0;
    int minute = 0;
    int second = 0;         // 0..60
    int secondsOfZone = 0;  // how far the clock is ahead of UTC; negative west of it
};

CalendarTime UtcTime(std::time_t time);
// By the time zone of the user, which $TZ or the system names.
CalendarTime LocalTime(std::time_t time);

// Seconds since 1970-01-01 00:00 UTC; nothing where the calendar has no such day or the clock no such time.
std::optional<std::int64_t> SecondsOf(const CalendarTime& time);
