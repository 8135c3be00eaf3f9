// Columns.cpp - the width of text, and where it is broken.

#include "Tools/Monitor/Columns.h"

#include <algorithm>

namespace Monitor {
namespace {

/// What takes its place on a line as a whole: a character with the colour before it.
struct Piece
{
    std::size_t bytes = 0;
    std::size_t columns = 0;
};

/// Returns the piece that a text begins with.
Piece GetFirstPiece(std::string_view text)
{
    Piece piece;
    while (text.substr(piece.bytes).starts_with('\x1B')) {
        piece.bytes = std::min(text.find('m', piece.bytes), text.size() - 1) + 1;
    }
    if (piece.bytes == text.size()) {
        return piece;
    }
    const unsigned char first = static_cast<unsigned char>(text[piece.bytes++]);
    const unsigned char second =
        piece.bytes < text.size() ? static_cast<unsigned char>(text[piece.bytes]) : 0;
    // U+1100 is E1 84 80.
    const bool isWide = first > 0xE1 || (first == 0xE1 && second >= 0x84);
    piece.columns = isWide ? 2 : 1;
    while (first >= 0xC0 && piece.bytes < text.size() &&
           (static_cast<unsigned char>(text[piece.bytes]) & 0xC0) == 0x80) {
        ++piece.bytes;
    }
    return piece;
}

/// Returns how many bytes at the start of a text fit into that many columns.
std::size_t Fit(std::string_view text, std::size_t columns)
{
    std::size_t bytes = 0;
    while (bytes < text.size()) {
        const Piece piece = GetFirstPiece(text.substr(bytes));
        if (piece.columns > columns) {
            break;
        }
        columns -= piece.columns;
        bytes += piece.bytes;
    }
    return bytes;
}

} // namespace

std::size_t CountColumns(std::string_view text)
{
    std::size_t columns = 0;
    while (!text.empty()) {
        const Piece piece = GetFirstPiece(text);
        columns += piece.columns;
        text.remove_prefix(piece.bytes);
    }
    return columns;
}

std::string CutToColumns(std::string_view text, std::size_t columns)
{
    constexpr std::string_view kMark = "...";
    if (Fit(text, columns) == text.size()) {
        return std::string(text);
    }
    return std::string(text.substr(0, Fit(text, columns - kMark.size()))) + std::string(kMark);
}

std::vector<std::string> WrapToColumns(std::string_view line, std::size_t columns,
                                       std::size_t indent)
{
    std::vector<std::string> lines;
    std::string start;
    for (;;) {
        const std::size_t room = columns - start.size();
        std::size_t end = Fit(line, room);
        if (end == line.size()) {
            lines.push_back(start + std::string(line));
            return lines;
        }
        std::size_t next = end;
        // Blanks at the start of the line are no place to break it.
        const std::size_t first = std::min(line.find_first_not_of(' '), line.size());
        const std::size_t blank = line.rfind(' ', end);
        if (blank != std::string_view::npos && blank > first) {
            end = line.find_last_not_of(' ', blank) + 1;
            next = std::min(line.find_first_not_of(' ', blank), line.size());
        }
        lines.push_back(start + std::string(line.substr(0, end)));
        line.remove_prefix(next);
        start.assign(indent, ' ');
    }
}

} // namespace Monitor
