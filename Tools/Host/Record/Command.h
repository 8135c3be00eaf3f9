// Command.h - qxhost record, replay and diff.
#pragma once

namespace Record {

/// Tells whether a word is one of these commands.
bool IsCommand(const char* word);

/// Runs the command that is the first of the words, and returns the program's exit code.
int RunCommand(int count, const char* const* values);

} // namespace Record
