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

/// Throws: CLI::ValidationError with that text.
[[noreturn]] void Refuse(const std::string& text);

/// What a tool prints of a wrong command line.
std::string FormatFailure(const CLI::App* app, const CLI::Error& error);

} // namespace Tools
