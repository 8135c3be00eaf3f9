// Text.h - how the tools write numbers, codes and bytes.
#pragma once

#include <CoreServices/CoreServices.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Tools {

/// Returns what printf would print.
[[gnu::format(printf, 1, 2)]] std::string FormatText(const char* format, ...);

/// Returns the four characters of a code, such as SLLM, or "" unless all four are printable.
std::string FormatFourCharCode(UInt32 code);

/// Reads a code of any four bytes, in single quotes or bare.
std::optional<UInt32> ParseFourCharCode(std::string_view text);

/// Returns "-3", or the number with its four characters: "1970171760 'unop'".
std::string FormatStatus(SInt32 status);

/// Returns the bytes as two hexadecimal digits each, with `separator` between them.
std::string FormatHex(const unsigned char* bytes, std::size_t size, const char* separator = "");

/// Returns a number and what is counted: "1 message", "2 messages", "0 bytes".
std::string Count(UInt64 number, const char* noun);

/// Returns the number with that many decimals, so that its shortest text has no more of them.
double RoundDecimals(double number, int decimals);

/// Returns the shortest decimal text that reads back as the same number; "nan", "inf", "-inf".
std::string FormatNumber(double number);

/// Returns `text` with control characters, those above the ASCII ones too, written as \n, \t or the
/// numbers of their bytes: it is then one line, and no terminal does anything but show it.
std::string EscapeControls(const std::string& text);

/// Returns a word of a command line as a shell takes it: in quotes if that is needed.
std::string QuoteForShell(const std::string& word);

/// Returns `text`, or the first characters of a long one and "...". Nothing of UTF-8 is cut apart.
std::string Shorten(std::string_view text);

} // namespace Tools
