#pragma once

#include <ctime>

#include <cstdint>

// Nanoseconds of the clock that two processes share, so that a parent can tell a child when it was started.
inline std::int64_t SharedNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}
