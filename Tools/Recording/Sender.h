// Sender.h - sends the messages of a recording to the server of today.
#pragma once

#include "Tools/Recording/Event.h"

#include <functional>
#include <optional>

namespace Recording {

/// Sends messages to the process that holds the server's port, one after the other without a pause,
/// and tells of the status of each. Returns how many were refused, or nothing if no process holds
/// the port. Requires: no message is cut.
std::optional<std::size_t>
SendMessages(const Events& messages,
             const std::function<void(const Event& message, SInt32 status)>& show);

} // namespace Recording
