// Columns.h - text that fits a terminal of 80 columns.
//
// A character from U+1100 on counts as two columns, which no terminal exceeds; a colour counts as
// none, and so does the rest of a character in UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Monitor {

inline constexpr std::size_t kTerminalColumns = 80;

std::size_t CountColumns(std::string_view text);

/// Returns `text`, or as much of its start as fits with "..." into that many columns, three or
/// more.
std::string CutToColumns(std::string_view text, std::size_t columns);

/// Returns the lines that `line` becomes: it is broken at blanks, and inside a word that is too
/// long for a line. Every line but the first starts with `indent` blanks, fewer than `columns` by
/// two or more.
std::vector<std::string> WrapToColumns(std::string_view line, std::size_t columns,
                                       std::size_t indent);

} // namespace Monitor
