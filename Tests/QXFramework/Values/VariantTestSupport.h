// VariantTestSupport.h - extended variants of one value, and variants with observable hooks.
#pragma once

#include <QX/VariantEx.h>

#include "Support/GuardedBytes.h"
#include "Support/StringTestSupport.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>

namespace QX {

using TestSupport::Bytes;
using TestSupport::FromHex;
using TestSupport::GuardedBytes;

inline constexpr bool kBigEndian = std::endian::native == std::endian::big;
inline constexpr uint32 kFailed = 0x80000008u;

/// Chooses the expected value where the machine's byte order shows.
template <class T>
constexpr T ByOrder(T littleEndian, T bigEndian)
{
    return kBigEndian ? bigEndian : littleEndian;
}

/// Returns the bytes that GetConstPointer reports.
inline Bytes Contents(const Variant& value)
{
    uint32 size = 0;
    const auto* const data = static_cast<const unsigned char*>(value.GetConstPointer(size));
    return size == 0 ? Bytes() : Bytes(data, data + size);
}

template <class T>
Variant::Type SetScalar(Variant& value, Variant::Type type, T scalar)
{
    return value.Set(type, &scalar, sizeof scalar);
}

/// Returns a setter of a scalar, for tables.
template <class T>
std::function<void(Variant&)> Scalar(Variant::Type type, T scalar)
{
    return [=](Variant& value) { SetScalar(value, type, scalar); };
}

/// Keeps its blocks by itself. Its journal gets "alloc N ", "free N " (the block's size) or
/// "free null " for each call.
class JournalVariant : public Variant
{
public:
    explicit JournalVariant(std::string& journal)
        : mJournal(journal)
    {}
    ~JournalVariant() override { Clear(); }

    using Variant::Clear;

    bool mFindsNoMemory = false;

    void* AllocBuffer(uint32 size) override
    {
        mJournal += "alloc " + std::to_string(size) + " ";
        if (mFindsNoMemory)
            return nullptr;
        auto* const block = new unsigned char[size + sizeof size];
        std::memcpy(block, &size, sizeof size);
        return block + sizeof size;
    }

    void FreeBuffer(void* pointer) override
    {
        if (pointer == nullptr) {
            mJournal += "free null ";
            return;
        }
        auto* const block = static_cast<unsigned char*>(pointer) - sizeof(uint32);
        uint32 size = 0;
        std::memcpy(&size, block, sizeof size);
        mJournal += "free " + std::to_string(size) + " ";
        delete[] block;
    }

private:
    std::string& mJournal;
};

/// Reports the data that it is told to, as a derived class may.
class ReportingVariant : public Variant
{
public:
    const void* mData = nullptr;
    uint32 mSize = 0;

    const void* GetConstPointer(uint32& size) const override
    {
        size = mSize;
        return mData;
    }
};

template <class T>
VariantEx OfScalar(Variant::Type type, T value)
{
    VariantEx variant;
    SetScalar(variant, type, value);
    return variant;
}

inline VariantEx OfBool(unsigned char value)
{
    return OfScalar(Variant::kBool, value);
}

inline VariantEx OfInt32(int32 value)
{
    return OfScalar(Variant::kInt32, value);
}

inline VariantEx OfInt64(int64 value)
{
    return OfScalar(Variant::kInt64, value);
}

inline VariantEx OfFloat(float value)
{
    return OfScalar(Variant::kFloat, value);
}

inline VariantEx OfDouble(double value)
{
    return OfScalar(Variant::kDouble, value);
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

inline VariantEx OfString(const String& text)
{
    VariantEx variant;
    variant.Set(text);
    return variant;
}

inline VariantEx OfBuffer(const RCPtr<LIBuffer>& bytes)
{
    VariantEx variant;
    variant.Set(bytes);
    return variant;
}

inline VariantEx OfPointer(void* pointer, uint32 size)
{
    VariantEx variant;
    variant.SetPointer(pointer, size);
    return variant;
}

inline std::string BytesOf(const Variant& variant)
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
