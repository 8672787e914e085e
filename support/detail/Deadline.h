#pragma once

#include <sys/time.h>

#include <cstdint>
#include <ctime>

/// The time of day `milliseconds` from now, for pthread_cond_timedwait.
inline timespec ASDeadlineFromNow(uint32_t milliseconds) {
    timeval now = {};
    gettimeofday(&now, nullptr);
    const long rest = static_cast<long>(milliseconds % 1000);
    timespec deadline = {};
    deadline.tv_sec =
        now.tv_sec + static_cast<time_t>(milliseconds / 1000) + (rest + now.tv_usec / 1000) / 1000;
    deadline.tv_nsec = (rest * 1000 + now.tv_usec) % 1'000'000 * 1000;
    return deadline;
}
