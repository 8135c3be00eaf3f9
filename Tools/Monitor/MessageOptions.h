// MessageOptions.h - the options that say which messages are taken, and which one is the last.
#pragma once

#include "Tools/Monitor/Arguments.h"

#include <CLI/CLI.hpp>

namespace Monitor {

/// Adds --device, --parameter, --message and --until, which write to `arguments` while the command
/// line is read.
void AddMessageOptions(CLI::App& app, Arguments& arguments);

} // namespace Monitor
