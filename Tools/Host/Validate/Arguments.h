// Arguments.h - what the command line of qxhost validate asks for.
#pragma once

#include "Tools/Host/Validate/Run.h"

#include <optional>
#include <string>
#include <vector>

namespace Validate {

struct Arguments
{
    Plan plan;
    std::vector<std::string> only; ///< as given, for the command that repeats a check
    bool isList = false;
    bool isJSON = false;
    bool isQuiet = false;
    std::string junit;                            ///< a file, or ""
    std::string recordings = "qxhost-recordings"; ///< a folder
};

/// Reads the command line and the profile. Returns nothing, with the exit code to end with, when
/// that is all there is to do.
std::optional<Arguments> ReadArguments(int count, const char* const* values, int& exitCode);

} // namespace Validate
