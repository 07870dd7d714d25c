#pragma once

#include <algorithm>
#include <ctime>

/// The time of `clock` in `milliseconds` from now, as timed waits take it. Ends at a hundred years,
/// so that sums of nanoseconds fit 64 bits.
inline timespec deadlineIn(unsigned long milliseconds, clockid_t clock)
{
    constexpr unsigned long farthest = 100UL * 366 * 24 * 3600 * 1000;
    milliseconds = std::min(milliseconds, farthest);
    timespec time;
    clock_gettime(clock, &time);
    const long nanoseconds = time.tv_nsec + long(milliseconds % 1000) * 1000000;
    time.tv_sec += time_t(milliseconds / 1000) + nanoseconds / 1000000000;
    time.tv_nsec = nanoseconds % 1000000000;
    return time;
}

/// The milliseconds left until `deadline`, rounded up; 0 when it is past. By the clock that nobody
/// sets.
inline unsigned long millisecondsUntil(const timespec& deadline)
{
    const timespec now = deadlineIn(0, CLOCK_MONOTONIC);
    const long long left =
        (deadline.tv_sec - now.tv_sec) * 1000000000LL + deadline.tv_nsec - now.tv_nsec;
    return left <= 0 ? 0 : static_cast<unsigned long>((left + 999999) / 1000000);
}
