// LowerCase.h - the C library's tolower on char.
#pragma once

#include <cctype>

namespace QX {

inline char LowerCase(char character)
{
    // Where char is signed, a negative one lies outside of tolower's domain.
    return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
}

} // namespace QX
