// Clock.h - the time of day beside each message.
#pragma once

#include <string>

namespace Monitor {

/// Returns the local time to the millisecond, such as 09:41:07.250.
std::string FormatLocalTime();

} // namespace Monitor
