// ValueDecoder.cpp - the value's own header, its data by type, and the level record.

#include "Tools/Monitor/ValueDecoder.h"

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/Text.h"
#include "Tools/Monitor/ValueText.h"

#include <algorithm>
#include <bit>

namespace Monitor {
namespace {

using Tools::FormatText;

enum Type : UInt32
{
    kEmpty,
    kBool,
    kInt32,
    kInt64,
    kFloat,
    kDouble,
    kPointer,
    kConstPointer,
    kBuffer,
    kString,
    kConstBuffer
};

/// Escapes make a text up to six times as long, and no parameter takes a string.
constexpr std::size_t kLongestString = 65536;

/// How many bytes of data a scalar type has; 0 for a type of any size.
std::size_t GetScalarSize(UInt32 type)
{
    switch (type) {
    case kBool:
        return 1;
    case kInt32:
    case kFloat:
        return 4;
    case kInt64:
    case kDouble:
        return 8;
    default:
        return 0;
    }
}

/// Reads the value's three header words. Returns false if there is no data to read after them.
bool ReadHeader(DecodedMessage& message, FieldReader& fields, std::size_t& dataSize)
{
    const UInt64 room = fields.GetRemaining();
    UInt64 total = 0;
    UInt64 reserved = 0;
    UInt64 type = 0;
    if (!fields.Read("value length", 4, ByteOrder::kLittle, total)) {
        return false;
    }
    if (total != room) {
        fields.Report(
            FormatText("wrong length word: the value says %s, the message has %llu for it",
                       Tools::Count(total, "byte").c_str(), room));
    }
    if (!fields.Read("value reserved", 4, ByteOrder::kLittle, reserved)) {
        return false;
    }
    if (reserved != 0) {
        fields.Report("the value's reserved word is not 0");
    }
    if (!fields.Read("value type", 4, ByteOrder::kLittle, type)) {
        return false;
    }
    message.type = static_cast<UInt32>(type);
    const char* const name = GetTypeName(*message.type);
    fields.SetMeaning(FormatText("%llu, %s", type, name != nullptr ? name : "unknown"));
    if (name == nullptr) {
        fields.Report(FormatText("unknown type %llu", type));
    }
    const std::size_t left = fields.GetRemaining();
    const bool isLengthPlausible = total >= kSerializedValueHeaderSize;
    dataSize =
        isLengthPlausible
            ? static_cast<std::size_t>(std::min<UInt64>(total - kSerializedValueHeaderSize, left))
            : left;
    return true;
}

void ReadLevelRecord(DecodedMessage& message, FieldReader& fields)
{
    const ByteOrder order = *message.byteOrder;
    UInt64 first = 0;
    UInt64 second = 0;
    UInt64 index = 0;
    fields.Read("first level", 8, order, first);
    const double firstLevel = std::bit_cast<double>(first);
    fields.SetMeaning(FormatDecibels(firstLevel));
    fields.Read("second level", 8, order, second);
    const double secondLevel = std::bit_cast<double>(second);
    fields.SetMeaning(FormatDecibels(secondLevel));
    fields.Read("channel index", 4, order, index);
    const UInt32 channelIndex = static_cast<UInt32>(index);
    fields.SetMeaning(FormatText("%llu, %s", index, FormatChannel(channelIndex).c_str()));
    message.value = Levels{firstLevel, secondLevel, channelIndex};
}

void ReadScalar(DecodedMessage& message, FieldReader& fields)
{
    const std::size_t size = GetScalarSize(*message.type);
    UInt64 bits = 0;
    fields.Read("value", size, ByteOrder::kLittle, bits);
    switch (*message.type) {
    case kFloat:
        message.value = static_cast<double>(std::bit_cast<float>(static_cast<unsigned int>(bits)));
        break;
    case kDouble:
        message.value = std::bit_cast<double>(bits);
        break;
    case kInt32:
        message.value = static_cast<SInt64>(static_cast<SInt32>(static_cast<UInt32>(bits)));
        break;
    default:
        message.value = static_cast<SInt64>(bits);
        break;
    }
    fields.SetMeaning(FormatValue(message.value));
}

void ReadBlock(DecodedMessage& message, FieldReader& fields, std::size_t size)
{
    if (size == 0) {
        message.value = Bytes();
        return;
    }
    const unsigned char* bytes = nullptr;
    fields.ReadBytes("value", size, bytes);
    if (*message.type != kString) {
        message.value = Bytes(bytes, bytes + size);
        return;
    }
    if (size > kLongestString) {
        message.value = Bytes(bytes, bytes + size);
        fields.Report("the string is too long to be shown");
        return;
    }
    const unsigned char* const end = std::find(bytes, bytes + size, 0);
    message.value = std::string(bytes, end);
    fields.SetMeaning(FormatValue(message.value));
    if (end != bytes + size - 1) {
        fields.Report(end == bytes + size ? "the string has no terminating NUL"
                                          : "there are bytes after the string's NUL");
    }
}

/// Checks the type and the size against what the parameter takes. Returns true if the data can be
/// read as the type.
bool CheckType(const DecodedMessage& message, FieldReader& fields, std::size_t dataSize)
{
    const UInt32 type = *message.type;
    const char* const typeName = GetTypeName(type);
    if (typeName == nullptr) {
        return false;
    }
    if (const char* const parameter = GetParameterName(*message.parameter)) {
        const bool isLevel =
            static_cast<UInt32>(*message.parameter) == kDirectMonitorLevelParameter;
        const UInt32 expected = isLevel ? kBuffer : kInt32;
        if (type != expected) {
            fields.Report(FormatText("wrong type: %s takes %s, not %s", parameter,
                                     GetTypeName(expected), typeName));
        }
    }
    const std::size_t scalarSize = GetScalarSize(type);
    const bool isScalarOfOtherSize = scalarSize != 0 && dataSize != scalarSize;
    if (isScalarOfOtherSize || (type == kEmpty && dataSize != 0)) {
        fields.ReportAt(fields.GetOffset(),
                        FormatText("%s has %s of data, not %zu", typeName,
                                   Tools::Count(scalarSize, "byte").c_str(), dataSize));
        return false;
    }
    return true;
}

} // namespace

void DecodeValue(DecodedMessage& message, FieldReader& fields)
{
    std::size_t size = 0;
    if (!ReadHeader(message, fields, size)) {
        return;
    }
    const bool isReadable = CheckType(message, fields, size);
    const bool isLevel = static_cast<UInt32>(*message.parameter) == kDirectMonitorLevelParameter;
    const unsigned char* rest = nullptr;
    if (isReadable && isLevel && *message.type == kBuffer) {
        if (size == kLevelRecordSize) {
            ReadLevelRecord(message, fields);
        } else {
            fields.ReportAt(fields.GetOffset(),
                            "the level record has " + Tools::Count(size, "byte") + ", not 20");
            ReadBlock(message, fields, size);
        }
    } else if (isReadable && GetScalarSize(*message.type) != 0) {
        ReadScalar(message, fields);
    } else if (isReadable && *message.type != kEmpty) {
        ReadBlock(message, fields, size);
    } else if (size > 0) {
        fields.ReadBytes("value", size, rest);
    }
    if (fields.GetRemaining() > 0) {
        fields.ReadBytes("left over", fields.GetRemaining(), rest);
    }
}

} // namespace Monitor
