// Nearest.h - what a user who mistyped a word may have meant.
#pragma once

#include <string>
#include <vector>

namespace Tools {

/// Returns the word that is written most like `word`, or "" if none is much like it.
std::string FindNearest(const std::string& word, const std::vector<std::string>& words);

/// "did you mean level? ", or "" if no word is much like it.
std::string SuggestNearest(const std::string& word, const std::vector<std::string>& words);

/// Says what is wrong with a word that a command line has nothing for: that there is no such
/// option, or no such command if there are commands to choose from.
std::string DescribeUnexpected(const std::string& word, const std::vector<std::string>& options,
                               const std::vector<std::string>& commands);

/// "info, get and set", or with another word before the last.
std::string JoinWords(const std::vector<std::string>& words, const std::string& last = "and");

} // namespace Tools
