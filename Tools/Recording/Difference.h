// Difference.h - where two recordings differ.
#pragma once

#include "Tools/Recording/Event.h"

namespace Recording {

/// Compares calls with calls and messages with messages, each in their order and field by field;
/// times and senders may differ. Returns the first difference in words, with the first recording's
/// value first, or "".
std::string FindDifference(const Events& first, const Events& second);

} // namespace Recording
