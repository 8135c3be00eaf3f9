// ValueText.h - how the monitor writes values, levels and channels.
#pragma once

#include "Tools/Monitor/Message.h"

namespace Monitor {

/// "-6.02 dB", "-999.00 dB (silent)"; a level that is no number stays readable as "nan dB".
std::string FormatDecibels(double level);

/// The same in at most ten columns, for a table: "-6.02 dB", "-1e+300 dB", "silent".
std::string FormatShortDecibels(double level);

/// The property's channel of a channel index: "channel 1" for 0, "master channel" for 0xFFFFFFFF.
std::string FormatChannel(UInt32 channelIndex);

/// The same for a table: "ch 1", "master".
std::string FormatShortChannel(UInt32 channelIndex);

/// A whole value: an integer, a number, a quoted string, the two levels, or the size of a block.
std::string FormatValue(const Value& value);

} // namespace Monitor
