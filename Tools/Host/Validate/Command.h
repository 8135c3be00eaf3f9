// Command.h - qxhost validate.
#pragma once

namespace Validate {

/// Runs the subcommand with the words after it and returns the program's exit code.
int RunCommand(int count, const char* const* values);

} // namespace Validate
