// Command.h - qxhost record, replay and diff.
#pragma once

namespace Record {

/// Tells whether a word is one of these commands.
bool IsCommand(const char* word);

/// Runs the command that is the first word after the program's name. Returns the exit code.
int RunCommand(int count, const char* const* values);

} // namespace Record
