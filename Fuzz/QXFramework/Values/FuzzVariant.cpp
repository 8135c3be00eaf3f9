// FuzzVariant.cpp - arbitrary bytes as a variant's record.
//
// A refused record leaves the variant alone. An accepted one gives a value whose own record is
// accepted and gives an equal value.

#include <QX/Variant.h>

#include "FuzzCheck.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using QX::uint32;
using QX::Variant;

constexpr uint32 kFailed = static_cast<uint32>(QX::kResultFailure);
constexpr uint32 kHeaderSize = 12;

bool Equal(const Variant& left, const Variant& right)
{
    uint32 leftSize = 0;
    uint32 rightSize = 0;
    const void* const leftBytes = left.GetConstPointer(leftSize);
    const void* const rightBytes = right.GetConstPointer(rightSize);
    return left.GetType() == right.GetType() && leftSize == rightSize &&
           (leftSize == 0 || std::memcmp(leftBytes, rightBytes, leftSize) == 0);
}

void UseEveryGetter(const Variant& value)
{
    static_cast<void>(value.GetBool());
    static_cast<void>(value.GetInt32());
    static_cast<void>(value.GetInt64());
    static_cast<void>(value.GetFloat());
    static_cast<void>(value.GetDouble());
    if (const char* const text = value.GetCStr()) {
        uint32 size = 0;
        value.GetConstPointer(size);
        FUZZ_CHECK(std::strlen(text) + 1 == size);
    }
}

void CheckRoundTrip(const Variant& value)
{
    uint32 size = 0;
    value.GetConstPointer(size);
    std::vector<unsigned char> record(kHeaderSize + size, 0xA5);
    const uint32 capacity = kHeaderSize + size;

    FUZZ_CHECK(Variant::Serialize(value, record.data(), capacity - 1) == kFailed);
    FUZZ_CHECK(record == std::vector<unsigned char>(capacity, 0xA5));
    FUZZ_CHECK(Variant::Serialize(value, record.data(), capacity) == capacity);
    Variant again;
    FUZZ_CHECK(Variant::Deserialize(again, record.data(), capacity) == 0);
    FUZZ_CHECK(Equal(value, again));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const uint32 length = static_cast<uint32>(size);
    Variant value;
    value.Set("kept");

    const uint32 result = Variant::Deserialize(value, data, length);

    FUZZ_CHECK(result == 0 || result == kFailed);
    if (result == kFailed)
        FUZZ_CHECK(value.GetCStr() != nullptr && std::strcmp(value.GetCStr(), "kept") == 0);
    UseEveryGetter(value);
    CheckRoundTrip(value);

    // A record in the variant's own block is read before that block goes.
    Variant own;
    own.SetBuffer(data, length);
    uint32 ownSize = 0;
    const auto* const ownBytes = static_cast<const unsigned char*>(own.GetConstPointer(ownSize));
    if (ownBytes != nullptr)
        FUZZ_CHECK(Variant::Deserialize(own, ownBytes, ownSize) == result);
    Variant untouched;
    untouched.SetBuffer(data, length);
    FUZZ_CHECK(Equal(own, result == 0 ? value : untouched));
    return 0;
}
