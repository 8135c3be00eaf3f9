// Status.h - statuses of the entry points: as text, from text, and what they mean.
#pragma once

#include "Tools/Common/Text.h"

#include <CoreServices/CoreServices.h>

#include <optional>
#include <string>
#include <string_view>

namespace Host {

using Tools::FormatStatus;

/// Says in plain words what a status of a driver plug-in means.
const char* ExplainStatus(SInt32 status);

/// Reads "ok", a decimal or hexadecimal number, or a four-character code with or without single
/// quotes. A hexadecimal number may be a negative status's bits: 0xE00002BC.
std::optional<SInt32> ParseStatus(std::string_view text);

/// Reads a decimal or hexadecimal number of 32 bits. Negative numbers stand for their bits.
std::optional<UInt32> ParseWord(std::string_view text);

/// Reads a code of four printable characters, in single quotes or bare.
std::optional<UInt32> ParseFourCharCode(std::string_view text);

} // namespace Host
