// Arguments.h - what the command line of the host asks for.
#pragma once

#include "Tools/Host/ExitCode.h"
#include "Tools/Host/Step.h"

#include <optional>
#include <string>
#include <vector>

namespace Host {

struct Arguments
{
    std::string plugIn; ///< "" for the default
    bool isJSON = false;
    bool isQuiet = false;      ///< shows only calls that differ from what is expected
    std::vector<Step> opening; ///< once, first
    std::vector<Step> repeated;
    std::vector<Step> closing; ///< once, last
    std::size_t repeat = 1;
    bool isInProcess = false;
    double callSeconds = 60; ///< the longest that a call may take
};

/// Reads the command line, and the script if it names one. Returns nothing, with the exit code to
/// end with, when that is all there is to do: after --help, or after telling what is wrong.
std::optional<Arguments> ReadArguments(int count, const char* const* values, int& exitCode);

} // namespace Host
