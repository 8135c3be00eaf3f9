// FuzzVariantEx.cpp - arbitrary bytes as the record of an extended variant.
//
// An accepted record gives a value that its own record brings back, whose copies are equal to it,
// and whose text can be taken without changing it. All of this holds for the bytes that its buffer
// has after a resize too. The first byte is the offset of the record and the size of the buffer.

#include "FuzzCheck.h"

#include <QX/VariantEx.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

using QX::LIBuffer;
using QX::RCPtr;
using QX::String;
using QX::uint32;
using QX::Variant;
using QX::VariantEx;

bool IsNaN(const VariantEx& value)
{
    const bool real = value.GetType() == Variant::kFloat || value.GetType() == Variant::kDouble;
    return real && value.GetDouble() != value.GetDouble();
}

bool Equal(const VariantEx& left, const VariantEx& right)
{
    return left == right || (IsNaN(left) && IsNaN(right));
}

void CheckRoundTrip(const VariantEx& value, uint32 offset)
{
    RCPtr<LIBuffer> record;
    const uint32 length = value.Serialize(record, offset);
    FUZZ_CHECK(record->GetSizeBytes() == offset + length);
    VariantEx again;
    const auto* const bytes = static_cast<const unsigned char*>(record->GetRawPtr());
    const uint32 result = again.Deserialize(bytes + offset, length);
    uint32 size = 0;
    value.GetConstPointer(size);
    // A buffer without bytes has a record, but readers refuse it.
    const bool refused = size == 0 && value.GetType() == Variant::kBuffer;
    FUZZ_CHECK(result == (refused ? static_cast<uint32>(QX::kResultFailure) : 0));
    FUZZ_CHECK(refused || Equal(again, value));
}

void CheckTexts(const VariantEx& value)
{
    const VariantEx before(value);
    const String text = value.GetString();
    const String escaped = value.GetXMLString();
    FUZZ_CHECK(escaped.GetLength() >= text.GetLength());
    for (const char reserved : std::string_view("\"'<>")) {
        FUZZ_CHECK(std::string_view(escaped).find(reserved) == std::string_view::npos);
    }
    static_cast<void>(value.GetBool());
    static_cast<void>(value.GetInt32());
    static_cast<void>(value.GetInt64());
    static_cast<void>(value.GetFloat());
    static_cast<void>(value.GetDouble());
    FUZZ_CHECK(Equal(before, value));
}

// Another holder resizes the buffer; then the value is set from its own bytes.
void CheckResized(VariantEx& value, uint32 size)
{
    if (value.GetType() != Variant::kBuffer && value.GetType() != Variant::kString) {
        return;
    }
    const uint32 oldSize = value.GetBuffer()->GetSizeBytes();
    value.GetBuffer()->ResizeBytes(size);
    if (size > oldSize) {
        value.GetBuffer()->FillN('7', oldSize, -1);
    }
    CheckTexts(value);
    uint32 ownSize = 0;
    const void* const own = value.GetConstPointer(ownSize);
    FUZZ_CHECK(ownSize == size);
    VariantEx expected;
    expected.SetBuffer(own, size);
    value.SetBuffer(own, size);
    FUZZ_CHECK(value == expected);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) {
        return 0;
    }
    const uint32 offset = data[0];
    VariantEx value;
    value.Set("kept");

    const uint32 result = value.Deserialize(data + 1, static_cast<uint32>(size - 1));

    if (result != 0) {
        FUZZ_CHECK(value.GetString() == "kept");
    }
    CheckTexts(value);
    CheckRoundTrip(value, offset);
    CheckResized(value, offset);
    VariantEx own;
    own.SetBuffer(data + 1, static_cast<uint32>(size - 1));
    if (size > 1) {
        uint32 length = 0;
        const auto* const bytes = static_cast<const unsigned char*>(own.GetConstPointer(length));
        FUZZ_CHECK(own.Deserialize(bytes, length) == result);
    }
    return 0;
}
