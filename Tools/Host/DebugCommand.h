// DebugCommand.h - the command line that shows in gdb what the plug-in has done.
#pragma once

#include <string>

namespace Host {

/// Returns the command line of this program with gdb before it and with all the time that it needs.
/// The plug-in is loaded into the program itself.
std::string MakeDebugCommand(int count, const char* const* values);

/// The same for a command that always runs the plug-in in a process of its own.
std::string MakeDebugCommandForChildren(int count, const char* const* values);

} // namespace Host
