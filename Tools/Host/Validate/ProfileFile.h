// ProfileFile.h - reads a profile from a JSON file. Docs/Tools.md describes it.
#pragma once

#include "Tools/Host/Validate/Profile.h"

#include <string>

namespace Validate {

/// Reads a profile. Returns what is wrong with the text and where, such as "properties[0].value:
/// \"float\" is not one of word, gains", or "".
std::string ReadProfile(const std::string& text, Profile& profile);

} // namespace Validate
