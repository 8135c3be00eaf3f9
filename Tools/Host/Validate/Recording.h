// Recording.h - the calls and messages of a check as a file: one JSON object a line.
#pragma once

#include "Tools/Host/Validate/Journal.h"

#include <string>

namespace Validate {

/// What the first line of a recording says of its origin.
struct RecordingTitle
{
    std::string bundle;
    std::string check;
    std::string finding;
};

/// Writes a file. Returns what went wrong, or "".
std::string WriteRecording(const std::string& file, const RecordingTitle& title,
                           const Journal& journal);

} // namespace Validate
