// Script.h - the host's line language.
//
//     open 258              # becomes the device of the lines below
//     set state on
//     set level 1.0 0.5 channel=2
//     get enable
//     expect unop           # the status that the call above is to give
//     close
//
// One statement a line; '#' begins a comment. Docs/Tools.md has the grammar.
#pragma once

#include "Tools/Host/Step.h"

#include <string>
#include <string_view>
#include <vector>

namespace Host {

struct Script
{
    std::vector<Step> steps;
    std::string error; ///< what is wrong with the first wrong line, or ""
    int errorLine = 0; ///< its number, 1 for the first
};

/// Reads a whole script. After an error, `steps` holds the lines above it.
Script ParseScript(std::string_view text);

} // namespace Host
