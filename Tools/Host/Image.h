// Image.h - which machine a loadable file is for.
#pragma once

#include <string>

namespace Host {

/// Says for which machine a file is if that is another one than this program's, such as "it is for
/// 32-bit PowerPC, and this qxhost is for x86-64"; "" if it fits or is no loadable file at all.
/// Reads the first bytes of the file and loads nothing.
std::string DescribeForeignImage(const std::string& path);

} // namespace Host
