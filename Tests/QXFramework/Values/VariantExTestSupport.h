// VariantExTestSupport.h - extended variants made of one value.
#pragma once

#include <QX/VariantEx.h>

#include "Support/StringTestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace QX {

inline VariantEx OfBool(unsigned char value)
{
    VariantEx variant;
    variant.Set(Variant::kBool, &value, 1);
    return variant;
}

inline VariantEx OfInt32(int32 value)
{
    VariantEx variant;
    variant.Set(Variant::kInt32, &value, 4);
    return variant;
}

inline VariantEx OfInt64(int64 value)
{
    VariantEx variant;
    variant.Set(Variant::kInt64, &value, 8);
    return variant;
}

inline VariantEx OfFloat(float value)
{
    VariantEx variant;
    variant.Set(Variant::kFloat, &value, 4);
    return variant;
}

inline VariantEx OfDouble(double value)
{
    VariantEx variant;
    variant.Set(Variant::kDouble, &value, 8);
    return variant;
}

inline VariantEx OfText(const char* text)
{
    VariantEx variant;
    variant.Set(text);
    return variant;
}

inline VariantEx OfBytes(std::string_view bytes)
{
    VariantEx variant;
    variant.SetBuffer(bytes.data(), static_cast<uint32>(bytes.size()));
    return variant;
}

inline VariantEx OfConstBytes(std::string_view bytes)
{
    VariantEx variant;
    variant.Set(Variant::kConstBuffer, bytes.data(), static_cast<uint32>(bytes.size()));
    return variant;
}

inline VariantEx OfPointer(void* pointer, uint32 size)
{
    VariantEx variant;
    variant.SetPointer(pointer, size);
    return variant;
}

inline std::string BytesOf(const VariantEx& variant)
{
    uint32 size = 0;
    const void* const bytes = variant.GetConstPointer(size);
    return {static_cast<const char*>(bytes), size};
}

inline void* PointerOf(VariantEx& variant)
{
    uint32 size = 0;
    return variant.GetPointer(size);
}

} // namespace QX
