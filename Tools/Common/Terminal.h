// Terminal.h - colours where a person reads, plain text where a program does.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace Tools {

enum class Colour
{
    kGood,  ///< as expected
    kBad,   ///< not as expected
    kFaint, ///< detail
    kStrong
};

/// Tells whether colours belong on the standard output: it is a terminal, and the environment
/// neither sets NO_COLOR nor says that the terminal is dumb.
bool WantsColours();

/// Wraps `text` in a colour, or returns it unchanged if `isColoured` is false.
std::string Paint(std::string_view text, Colour colour, bool isColoured);

/// Gives the tool other streams than the standard ones, which something else in the process writes
/// to. All that is said here of the standard output holds for `output` from then on.
void SetOutput(std::FILE* output, std::FILE* errors);

/// The standard error, or what has been given in its place.
std::FILE* GetErrors();

/// Tells whether the stream in place of the standard output is a terminal.
bool IsOutputTerminal();
bool IsErrorTerminal();

/// Writes a part of a line to the standard output, which may keep it until the line ends.
void Print(std::string_view text);

/// Writes one line, or the end of one, to the standard output at once, also into a pipe.
void PrintLine(std::string_view line);

/// Tells whether every line so far has gone out.
bool IsOutputWritten();

/// Waits that long for the reader of the standard output to go; -1 is for ever. Returns true if it
/// has gone: the output is a pipe or socket that no one reads any more, or a terminal that is gone.
bool AwaitReaderGone(int milliseconds);

/// Tells, in the name of `tool`, that the standard output could not be written.
void ShowUnwrittenOutput(const char* tool);

/// Returns `exitCode` if all of the output has gone out. If not, returns `readerGone` if its reader
/// has gone; or else `unwritten`, after telling so in the name of `tool`.
int ConcludeOutput(const char* tool, int exitCode, int unwritten, int readerGone);

} // namespace Tools
