// Nearest.cpp - the distance of words: how many letters to add, to leave out or to change.

#include "Tools/Common/Nearest.h"

#include <algorithm>
#include <numeric>

namespace Tools {
namespace {

std::size_t MeasureDistance(const std::string& one, const std::string& other)
{
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t line = 1; line <= one.size(); ++line) {
        std::size_t diagonal = row[0];
        row[0] = line;
        for (std::size_t column = 1; column <= other.size(); ++column) {
            const std::size_t changed = diagonal + (one[line - 1] == other[column - 1] ? 0 : 1);
            diagonal = row[column];
            row[column] = std::min({changed, row[column] + 1, row[column - 1] + 1});
        }
    }
    return row.back();
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

} // namespace Tools
