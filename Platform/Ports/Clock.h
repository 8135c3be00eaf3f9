// Clock.h - deadlines on the monotonic clock.
#pragma once

#include <CoreFoundation/CFDate.h>

#include <ctime>

namespace Standin {

/// Nanoseconds of the monotonic clock.
using Nanoseconds = SInt64;

inline Nanoseconds Now()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<Nanoseconds>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

/// The time `seconds` from `now`; a negative or undefined number counts as 0, and nothing counts
/// as more than about 30 years.
inline Nanoseconds DeadlineAfter(CFTimeInterval seconds, Nanoseconds now)
{
    constexpr CFTimeInterval kLongest = 1e9;
    if (!(seconds > 0)) {
        return now;
    }
    return now + static_cast<Nanoseconds>((seconds < kLongest ? seconds : kLongest) * 1e9);
}

inline timespec ToTimespec(Nanoseconds span)
{
    timespec time{};
    time.tv_sec = static_cast<time_t>(span / 1000000000);
    time.tv_nsec = static_cast<long>(span % 1000000000);
    return time;
}

} // namespace Standin
