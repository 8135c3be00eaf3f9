// File.h - whole files, the standard input among them.
#pragma once

#include <cstddef>
#include <string>

namespace Tools {

/// What the tools read is far smaller; what is longer is something else, and may have no end.
inline constexpr std::size_t kLargestFile = std::size_t{16} << 20;

/// Stores the bytes of a file, or of the standard input for "-". Returns what went wrong, or "".
std::string ReadWholeFile(const std::string& name, std::string& bytes);

/// Returns whether both names are of the same file; "-" is the standard input.
bool IsSameFile(const std::string& first, const std::string& second);

} // namespace Tools
