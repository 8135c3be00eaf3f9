// Sender.h - sends the messages of a recording to the server of today.
#pragma once

#include "Tools/Recording/Event.h"

#include <functional>
#include <optional>
#include <string>

namespace Recording {

/// Sends messages to the process that holds the server's port, one after the other without a pause.
/// Shows a line for each: "    1  'SLLM'  device 258  -> 0", with its number, ID, device and
/// status. Returns how many were refused, or nothing if no process holds the port. Requires: no
/// message is cut.
std::optional<std::size_t> SendMessages(const Events& messages,
                                        const std::function<void(const std::string& line)>& show);

} // namespace Recording
