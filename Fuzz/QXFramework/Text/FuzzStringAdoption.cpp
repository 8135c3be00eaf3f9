// FuzzStringAdoption.cpp - arbitrary bytes as a buffer that strings adopt, and as UTF-8.
//
// The first byte chooses who else holds the buffer; the others are its contents.

#include "FuzzCheck.h"

#include <QX/String.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

using QX::LIBuffer;
using QX::RCPtr;
using QX::String;
using QX::String16;
using QX::uint32;

RCPtr<LIBuffer> BufferWith(const std::string& bytes)
{
    RCPtr<LIBuffer> buffer = QX::LTextBuffer::Create(static_cast<uint32>(bytes.size()), 0, true);
    if (!bytes.empty()) {
        std::memcpy(buffer->GetRawPtr(), bytes.data(), bytes.size());
    }
    return buffer;
}

std::string BytesOf(const RCPtr<LIBuffer>& buffer)
{
    return {static_cast<const char*>(buffer->GetRawPtr()), buffer->GetSizeBytes()};
}

// Text that came from a well-formed source goes to the other width and back unchanged.
void CheckConversion(const String& text)
{
    const String16 wide(text);
    const String converted(wide);

    FUZZ_CHECK(String16(converted) == wide);
    FUZZ_CHECK(std::string_view(text).substr(0, converted.GetLength()) == converted);
    FUZZ_CHECK(String(String16(text.Reverse()).Reverse()).GetLength() <= 3 * text.GetLength());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) {
        return 0;
    }
    const bool unshareable = (data[0] & 1) != 0;
    const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::string expected(bytes.c_str());
    const RCPtr<LIBuffer> buffer = BufferWith(bytes);
    buffer->SetUnshareable(unshareable);

    const String text(buffer);
    const String second(buffer);

    FUZZ_CHECK(text == expected && second == expected);
    FUZZ_CHECK(text.GetLength() == expected.size());
    FUZZ_CHECK(text.CStr()[expected.size()] == '\0');
    FUZZ_CHECK(!text.IsLocked());
    FUZZ_CHECK(BytesOf(text.GetBuffer()) == expected + '\0');
    FUZZ_CHECK((text.GetBuffer() == buffer) == !unshareable);
    if (unshareable) {
        FUZZ_CHECK(BytesOf(buffer) == bytes);
    }
    CheckConversion(text);
    return 0;
}
