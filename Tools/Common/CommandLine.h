// CommandLine.h - what the command lines of the tools share: how they refuse, in words that a
// person can use.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace Tools {

/// Accepts whole decimal numbers from `least` to `most`.
CLI::Validator MakeNumberCheck(unsigned least, unsigned most);

/// Accepts decimal numbers of seconds from `least` to `most`.
CLI::Validator MakeSecondsCheck(double least, double most);

/// Accepts names of files and folders: any text but "".
CLI::Validator MakeNameCheck();

/// Accepts names of files and folders that are to be written: any but "" and "-", which would look
/// like the standard output and be a file.
CLI::Validator MakeOutputNameCheck();

/// The end of the help of each tool: the environment variables that count.
inline constexpr const char* kEnvironmentHelp =
    "\n"
    "Environment:\n"
    "  XDG_RUNTIME_DIR  the port is in the folder qx-ports of this folder, else of\n"
    "                   /run/user/UID or ~/.cache: the same for qxhost and qxmon, and\n"
    "                   for programs of one user only\n"
    "  NO_COLOR         if it is set, nothing is coloured\n";

/// Refuses the first word that the command line has nothing for.
void RefuseExtras(const CLI::App& app);

/// Throws: CLI::ValidationError with that text.
[[noreturn]] void Refuse(const std::string& text);

/// What a tool prints of a wrong command line.
std::string FormatFailure(const CLI::App* app, const CLI::Error& error);

} // namespace Tools
