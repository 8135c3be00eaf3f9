// Difference.h - where two recordings differ.
#pragma once

#include "Tools/Host/Record/EventFile.h"

#include <string>

namespace Record {

/// Compares calls with calls and messages with messages, each in their order; times and senders may
/// differ. Returns the first difference in words, with the first recording's value first, or "".
std::string FindDifference(const Events& first, const Events& second);

/// The calls of a recording, or its messages.
Events SelectEvents(const Events& events, bool areMessages);

} // namespace Record
