// NumberCheck.h - checks of numbers on the command line, with messages that a person can use.
#pragma once

#include <CLI/CLI.hpp>

namespace Tools {

/// Accepts whole decimal numbers from `least` to `most`.
CLI::Validator MakeNumberCheck(unsigned least, unsigned most);

/// Accepts decimal numbers of seconds from `least` to `most`.
CLI::Validator MakeSecondsCheck(double least, double most);

} // namespace Tools
