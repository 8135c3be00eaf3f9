// Arguments.h - what the command line of the monitor asks for.
#pragma once

#include "Tools/Monitor/Expression.h"
#include "Tools/Monitor/Fault.h"
#include "Tools/Monitor/Filter.h"

#include <cstddef>
#include <optional>
#include <string>

namespace Monitor {

enum ExitCode : int
{
    kExitDone = 0,
    kExitMalformed = 1,
    kExitUsage = 2,
    kExitPortTaken = 3,
    kExitUnreadable = 4,
    kExitUnwritten = 5,
    kExitNoMemory = 6,
    kExitReaderGone = 7, ///< the reader of the standard output
    kExitUnmatched = 8   ///< no message was the one that --until waits for
};

struct Arguments
{
    bool hasBytes = false;
    bool isJSON = false;
    bool isLive = false; ///< a full-screen view
    bool isOnce = false; ///< its picture as text instead, at the end
    Filter filter;
    std::optional<Expression> until;   ///< end after a message that it holds for
    std::optional<std::size_t> count;  ///< end after that many messages
    std::optional<double> seconds;     ///< end after that time
    std::optional<std::string> record; ///< write what arrives to this file too
    std::optional<Fault> fault;        ///< be a server with this fault
    std::optional<std::string> decode; ///< decode this file instead; "-" is the standard input
    std::optional<std::string> replay; ///< show this recording instead
    bool isSent = false;               ///< send the recording instead of showing it
    std::optional<std::string> diff;   ///< compare this recording instead
    std::string other;                 ///< with this one
};

/// Reads the command line. Returns nothing, with the exit code to end with, when that is all there
/// is to do: after --help, or after telling what is wrong.
std::optional<Arguments> ReadArguments(int count, const char* const* values, int& exitCode);

} // namespace Monitor
