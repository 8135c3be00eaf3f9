// Nearest.cpp - the distance of words, by a table of the distances of their beginnings.

#include "Tools/Common/Nearest.h"

#include <algorithm>
#include <string_view>

namespace Tools {
namespace {

/// How many letters of one word are to be added, left out, changed or swapped with the next to get
/// the other.
std::size_t MeasureDistance(std::string_view one, std::string_view other)
{
    const std::size_t width = other.size() + 1;
    std::vector<std::size_t> table((one.size() + 1) * width);
    const auto at = [&](std::size_t line, std::size_t column) -> std::size_t& {
        return table.at(line * width + column);
    };
    for (std::size_t line = 0; line <= one.size(); ++line) {
        for (std::size_t column = 0; column < width; ++column) {
            if (line == 0 || column == 0) {
                at(line, column) = line + column;
                continue;
            }
            const bool isEqual = one[line - 1] == other[column - 1];
            at(line, column) = std::min({at(line - 1, column) + 1, at(line, column - 1) + 1,
                                         at(line - 1, column - 1) + (isEqual ? 0 : 1)});
            if (line > 1 && column > 1 && one[line - 1] == other[column - 2] &&
                one[line - 2] == other[column - 1]) {
                at(line, column) = std::min(at(line, column), at(line - 2, column - 2) + 1);
            }
        }
    }
    return table.back();
}

} // namespace

std::string FindNearest(const std::string& word, const std::vector<std::string>& words)
{
    // A third of the letters may be wrong; more is another word.
    std::size_t most = std::max<std::size_t>(1, word.size() / 3);
    std::string nearest;
    for (const std::string& candidate : words) {
        const std::size_t distance = MeasureDistance(word, candidate);
        if (distance < most || (distance == most && nearest.empty())) {
            most = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

std::string SuggestNearest(const std::string& word, const std::vector<std::string>& words)
{
    const std::string nearest = FindNearest(word, words);
    return nearest.empty() ? "" : "did you mean " + nearest + "? ";
}

std::string DescribeUnexpected(const std::string& word, const std::vector<std::string>& options,
                               const std::vector<std::string>& commands)
{
    if (word.starts_with("-")) {
        return "there is no option " + word + "; " +
               SuggestNearest(word.substr(0, word.find('=')), options) + "see --help";
    }
    if (commands.empty()) {
        return "\"" + word + "\" is unexpected";
    }
    return "there is no command \"" + word + "\"; " + SuggestNearest(word, commands) +
           "there are " + JoinWords(commands);
}

std::string JoinWords(const std::vector<std::string>& words, const std::string& last)
{
    std::string text;
    for (std::size_t index = 0; index < words.size(); ++index) {
        const bool isLast = index + 1 == words.size();
        text += (index == 0 ? "" : isLast ? " " + last + " " : ", ") + words[index];
    }
    return text;
}

} // namespace Tools
