// Calendar.h - the text form of dates in a property list: 2026-11-20T09:00:00Z.
#pragma once

#include <CoreFoundation/CFDate.h>

#include <string>
#include <string_view>

namespace Standin {

/// The text of a time, to the second below. Times outside the years 1 to 9999 give the nearest
/// second within.
std::string DateText(CFAbsoluteTime time);

/// The time of a text of exactly that form; false if it is no such text or no such day.
bool DateFromText(std::string_view text, CFAbsoluteTime& time);

} // namespace Standin
