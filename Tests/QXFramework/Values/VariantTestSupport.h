// VariantTestSupport.h - bytes, guarded memory and a variant with observable hooks.
#pragma once

#include <QX/Variant.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace VariantTesting {

using QX::int32;
using QX::int64;
using QX::uint32;
using QX::uint64;
using QX::Variant;

using Bytes = std::vector<unsigned char>;

inline constexpr bool kBigEndian = std::endian::native == std::endian::big;
inline constexpr uint32 kFailed = 0x80000008u;

/// Chooses the expected value where the machine's byte order shows.
template <class T>
constexpr T ByOrder(T littleEndian, T bigEndian)
{
    return kBigEndian ? bigEndian : littleEndian;
}

/// Turns pairs of hexadecimal digits into bytes; blanks between pairs are ignored.
inline Bytes FromHex(std::string_view text)
{
    Bytes bytes;
    for (size_t index = 0; index < text.size(); ++index) {
        if (text[index] == ' ')
            continue;
        bytes.push_back(
            static_cast<unsigned char>(std::stoi(std::string(text.substr(index, 2)), nullptr, 16)));
        ++index;
    }
    return bytes;
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

/// A copy of some bytes that ends where readable memory ends.
class GuardedBytes
{
public:
    explicit GuardedBytes(const Bytes& bytes)
        : mPageSize(static_cast<size_t>(sysconf(_SC_PAGESIZE)))
        , mSize(bytes.size())
    {
        mPages = mmap(nullptr, 2 * mPageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS,
                      -1, 0);
        if (mPages == MAP_FAILED)
            throw std::bad_alloc();
        if (!bytes.empty())
            std::memcpy(Get(), bytes.data(), bytes.size());
        mprotect(static_cast<unsigned char*>(mPages) + mPageSize, mPageSize, PROT_NONE);
    }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;
    ~GuardedBytes() { munmap(mPages, 2 * mPageSize); }

    unsigned char* Get() const { return static_cast<unsigned char*>(mPages) + mPageSize - mSize; }

private:
    size_t mPageSize;
    size_t mSize;
    void* mPages;
};

/// Keeps its blocks by itself, and writes "alloc N " and "free N " (the block's size) or "free null
/// ".
class JournalVariant : public Variant
{
public:
    enum class Allocation
    {
        Succeeds,
        GivesNull,
        Throws
    };

    explicit JournalVariant(std::string& journal)
        : mJournal(journal)
    {}
    ~JournalVariant() override { Clear(); }

    using Variant::Adopt;
    using Variant::Clear;
    using Variant::CopyFields;
    using Variant::FollowBlock;
    using Variant::GetValueBits;

    Allocation mAllocation = Allocation::Succeeds;

    void* AllocBuffer(uint32 size) override
    {
        mJournal += "alloc " + std::to_string(size) + " ";
        if (mAllocation == Allocation::Throws)
            throw std::bad_alloc();
        if (mAllocation == Allocation::GivesNull)
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

} // namespace VariantTesting
