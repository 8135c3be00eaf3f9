// Clock.h - deadlines on the monotonic clock.
#pragma once

#include <CoreFoundation/CFDate.h>

#include <ctime>
#include <limits>

namespace Standin {

/// Nanoseconds of the monotonic clock.
using Nanoseconds = SInt64;

inline Nanoseconds Now()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<Nanoseconds>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

/// About 30 years. A wait of this length or more never ends.
inline constexpr CFTimeInterval kForeverSeconds = 1e9;
inline constexpr Nanoseconds kNever = std::numeric_limits<Nanoseconds>::max();

/// The time `seconds` after `now`. A negative number or NaN counts as 0, and a number above
/// kForeverSeconds as kForeverSeconds.
inline Nanoseconds DeadlineAfter(CFTimeInterval seconds, Nanoseconds now)
{
    if (!(seconds > 0)) {
        return now;
    }
    const CFTimeInterval bounded = seconds < kForeverSeconds ? seconds : kForeverSeconds;
    return now + static_cast<Nanoseconds>(bounded * 1e9);
}

inline timespec ToTimespec(Nanoseconds span)
{
    timespec time{};
    time.tv_sec = static_cast<time_t>(span / 1000000000);
    time.tv_nsec = static_cast<long>(span % 1000000000);
    return time;
}

} // namespace Standin
