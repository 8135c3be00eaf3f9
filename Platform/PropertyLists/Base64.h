// Base64.h - the text form of bytes in a property list.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <memory_resource>
#include <string>
#include <string_view>

namespace Standin {

/// Appends `bytes` in lines that each begin with `indent` tabs and end with a line feed. A line has
/// 76 characters, less 8 for each tab; only the first 8 tabs count.
void AppendBase64Lines(std::pmr::string& text, std::string_view bytes, CFIndex indent);

/// Appends the bytes of `text`, in which white space has no meaning; false if another character
/// is not of the alphabet or the padding is wrong.
bool AppendFromBase64(std::string& bytes, std::string_view text);

} // namespace Standin
