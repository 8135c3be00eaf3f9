// Bytes.h - hashing of byte strings.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <string_view>

namespace Standin {

/// The FNV-1a hash.
inline CFHashCode HashBytes(std::string_view bytes)
{
    CFHashCode hash = 0x811C9DC5u;
    for (const char byte : bytes) {
        hash = static_cast<CFHashCode>((hash ^ static_cast<unsigned char>(byte)) * 0x01000193u);
    }
    return hash;
}

} // namespace Standin
