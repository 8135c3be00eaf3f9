// EventFile.h - reads recordings of calls and messages; Validate/Recording.h writes them.
#pragma once

#include "Tools/Host/Validate/Journal.h"

#include <string>
#include <vector>

namespace Record {

using Events = std::vector<Validate::Event>;

/// Reads a recording. Returns what is wrong with it, and in which line, or "".
std::string ReadEvents(const std::string& text, Events& events);

} // namespace Record
