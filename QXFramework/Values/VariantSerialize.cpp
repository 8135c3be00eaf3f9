// VariantSerialize.cpp - the record in which a variant travels between processes.
//
//     offset 0: length of the record   4: zero   8: type   12: the value's bytes
//
// All words are little-endian. Scalars are reversed on a big-endian machine, as a whole and by
// their length; the bytes of pointers, buffers and strings stay as they are.

#include <QX/Variant.h>

#include "ByteOrder.h"

#include <cstring>

namespace QX {

namespace {

constexpr uint32 kHeaderSize = 12;
constexpr uint32 kTypeOffset = 8;
constexpr uint32 kFailed = static_cast<uint32>(kResultFailure);

// Returns the length of the record, or kFailed if it does not fit 32 bits. A length that is the
// same number as kFailed reads as the failure too.
uint32 RecordLength(uint32 dataLength)
{
    const uint64 total = uint64{dataLength} + kHeaderSize;
    return total <= kUInt32Limit ? static_cast<uint32>(total) : kFailed;
}

// Moves the bytes as memmove does, and the four of a number without a call.
void MoveBytes(unsigned char* to, const void* from, uint32 length)
{
    if (uint32 word; length == sizeof word) {
        std::memcpy(&word, from, sizeof word);
        std::memcpy(to, &word, sizeof word);
    } else {
        std::memmove(to, from, length);
    }
}

} // namespace

uint32 Variant::Serialize(const Variant& value, unsigned char* out, uint32 capacity)
{
    const Type type = value.mType;
    uint32 length = 0;
    const void* const data = value.GetConstPointer(length);
    if (length == 0 && (type == kPointer || type == kConstPointer)) {
        return kFailed;
    }
    if (data == nullptr && length > 0) {
        return kFailed;
    }
    const uint32 total = RecordLength(length);
    if (total == kFailed || out == nullptr || total > capacity) {
        return kFailed;
    }

    // The data goes first: `out` may lie over it, and the header would destroy it.
    if (length > 0) {
        MoveBytes(out + kHeaderSize, data, length);
        if (type <= kDouble) {
            SwapToLittleEndian(out + kHeaderSize, length);
        }
    }
    WriteLittleEndian(out, total);
    WriteLittleEndian(out + 4, 0);
    WriteLittleEndian(out + kTypeOffset, type);
    return total;
}

uint32 Variant::Deserialize(Variant& value, const unsigned char* in, uint32 length)
{
    if (in == nullptr || length < kHeaderSize) {
        return kFailed;
    }
    const uint32 total = ReadLittleEndian(in);
    if (total < kHeaderSize || length < total) {
        return kFailed;
    }
    if (ReadLittleEndian(in + 4) != 0) {
        return kFailed;
    }
    const uint32 typeNumber = ReadLittleEndian(in + kTypeOffset);
    if (typeNumber > kConstBuffer) {
        return kFailed;
    }

    const Type type = static_cast<Type>(typeNumber);
    const unsigned char* const data = in + kHeaderSize;
    const uint32 dataLength = total - kHeaderSize;
    if (dataLength == 0) {
        if (type != kEmpty && type != kConstBuffer) {
            return kFailed;
        }
        value.Clear();
        value.mType = type;
        return static_cast<uint32>(kResultSuccess);
    }
    if (type == kEmpty) {
        return kFailed;
    }
    if (type == kString && std::memchr(data, 0, dataLength) == nullptr) {
        return kFailed;
    }

    value.Set(type, data, dataLength);
    // The field is all zero when the length did not fit the type, so the swap does no harm.
    if (type <= kDouble) {
        SwapToLittleEndian(value.mValue, dataLength);
    }
    return static_cast<uint32>(kResultSuccess);
}

} // namespace QX
