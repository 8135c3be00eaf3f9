// Bytes.h - bytes as text, and the contents of a sent document.
#pragma once

#include <CoreServices/CoreServices.h>

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

inline constexpr bool kIsBigEndian = std::endian::native == std::endian::big;

/// Returns upper-case digits, with a blank after every fourth byte.
std::string ToHex(std::string_view bytes);

/// The two entries of a document that the plug-in sends. It is taken apart by searching for the
/// elements, not by the code that wrote it.
struct Document
{
    std::string deviceID; ///< the text of the integer
    std::string message;  ///< the decoded bytes of the data element
};
Document TakeApart(std::string_view document);

/// A set-parameter message, taken apart.
struct Message
{
    std::uint32_t length; ///< in host order, as the next two
    std::uint32_t reserved;
    std::uint32_t parameter;
    std::uint32_t valueLength; ///< little-endian on the wire, as the next two
    std::uint32_t valueReserved;
    std::uint32_t type;
    std::string data;
};
Message TakeMessageApart(std::string_view message);
