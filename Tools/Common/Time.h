// Time.h - the time of day, as a number and as text.
#pragma once

#include <CoreServices/CoreServices.h>

#include <optional>
#include <string>

namespace Tools {

/// The time by the real-time clock, in nanoseconds since the start of 1970.
UInt64 GetTime();

/// "2026-11-22T04:37:29.123456Z": date and time, in UTC.
std::string FormatUTC(UInt64 nanoseconds);

/// Reads what FormatUTC writes.
std::optional<UInt64> ParseUTC(const std::string& text);

/// "04:37:29.123": the time of day where the user is.
std::string FormatTimeOfDay(UInt64 nanoseconds);

} // namespace Tools
