#pragma once

#include <ctime>

// Seconds that the calling thread has had a processor: what it took by itself, however busy the machine is.
inline double ThreadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}
