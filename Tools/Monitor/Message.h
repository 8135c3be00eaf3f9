// Message.h - one message to the server as the monitor understands it.
//
// A DecodedMessage holds whatever could be read, and a finding for each thing that is wrong. A
// message without findings is well formed, and only such a message changes the table of states.
#pragma once

#include <CoreServices/CoreServices.h>

#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Monitor {

using Bytes = std::vector<unsigned char>;

enum class ByteOrder
{
    kBig,
    kLittle
};

/// What an offset counts from.
enum class Place
{
    kRequest,  ///< the request itself: its message ID
    kDocument, ///< the data that came with it: the XML property list
    kMessage   ///< the set-parameter message inside the document
};

/// One thing that is wrong, and where.
struct Finding
{
    Place place;
    std::size_t offset;
    std::string text;
};

/// One field of the set-parameter message, or one element of the document: where it lies and what
/// it says.
struct Field
{
    std::size_t offset;
    std::size_t size;
    std::string name;
    std::string meaning;
};

/// The two levels of one channel. The property's channel is the index plus 1, so the master
/// channel 0 travels as the index 0xFFFFFFFF.
struct Levels
{
    double first;  ///< decibels
    double second; ///< decibels
    UInt32 channelIndex;
};

using Value = std::variant<std::monostate, SInt64, double, std::string, Bytes, Levels>;

struct DecodedMessage
{
    SInt32 id = 0;
    std::size_t dataSize = 0; ///< the bytes that came with the message ID
    std::optional<UInt32> device;
    Bytes bytes; ///< the set-parameter message
    std::optional<ByteOrder> byteOrder;
    std::optional<SInt32> parameter;
    std::optional<UInt32> type;
    Value value;
    std::vector<Field> fields;
    std::vector<Field> elements; ///< of the document, as far as it could be read
    std::vector<Finding> findings;

    bool IsWellFormed() const { return findings.empty(); }
};

/// "big-endian" or "little-endian".
const char* GetName(ByteOrder order);

/// "request", "document" or "message".
const char* GetName(Place place);

/// "state", "enable" or "level", or null for any other parameter.
const char* GetParameterName(SInt32 parameter);

/// "kEmpty" to "kConstBuffer", or null for a type that does not exist.
const char* GetTypeName(UInt32 type);

/// What a message ID announces, or null for an ID outside the protocol.
const char* GetMessageMeaning(SInt32 id);

} // namespace Monitor
