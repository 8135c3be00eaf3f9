// CommandOptions.h - the commands of the monitor that have options of their own.
#pragma once

#include "Tools/Monitor/Arguments.h"

#include <CLI/CLI.hpp>

namespace Monitor {

/// Adds record, replay, diff and serve, which write to `arguments` while the command line is read.
void AddCommands(CLI::App& app, Arguments& arguments);

/// Throws CLI::ValidationError for a word that is no command or option, and for an option that has
/// no effect on the command.
void RefuseExtras(const CLI::App& app, const Arguments& arguments);

} // namespace Monitor
