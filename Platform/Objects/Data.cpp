// Data.cpp - byte strings.

#include "Objects/Data.h"

#include <cstring>

constinit const Standin::Type __CFData::kType = {Standin::kDataType, "CFData",
                                                 &Standin::Destroy<__CFData>};

CFTypeID CFDataGetTypeID(void)
{
    return Standin::kDataType;
}

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length)
{
    if (length < 0) {
        Standin::Misuse("CFDataCreate", "the length is negative");
    }
    if (length > 0 && bytes == nullptr) {
        Standin::Misuse("CFDataCreate", "the bytes are null and the length is not 0");
    }
    const auto size = static_cast<std::size_t>(length);
    auto* data = Standin::MakeWithRoom<__CFData>(size, length);
    if (data != nullptr && size > 0) {
        std::memcpy(data->GetBytes(), bytes, size);
    }
    return data;
}

CFIndex CFDataGetLength(CFDataRef theData)
{
    return Standin::As<const __CFData>(theData, "CFDataGetLength").mLength;
}

const UInt8* CFDataGetBytePtr(CFDataRef theData)
{
    return Standin::As<const __CFData>(theData, "CFDataGetBytePtr").GetBytes();
}
