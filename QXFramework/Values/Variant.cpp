// Variant.cpp - storage of variants: setters, pointers and the two hooks.

#include <QX/Variant.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace QX {

namespace {

constexpr uint32 ScalarSize(Variant::Type type)
{
    switch (type) {
    case Variant::kBool:
        return 1;
    case Variant::kInt32:
    case Variant::kFloat:
        return 4;
    default:
        return 8;
    }
}

bool Overlap(const void* left, size_t leftSize, const void* right, size_t rightSize)
{
    const auto leftStart = reinterpret_cast<std::uintptr_t>(left);
    const auto rightStart = reinterpret_cast<std::uintptr_t>(right);
    if (leftStart < rightStart) {
        return rightStart - leftStart < leftSize;
    }
    return leftStart - rightStart < rightSize;
}

} // namespace

Variant::~Variant()
{
    Clear();
}

void* Variant::AllocBuffer(uint32 size)
{
    return new unsigned char[size];
}

void Variant::FreeBuffer(void* block)
{
    delete[] static_cast<unsigned char*>(block);
}

const void* Variant::GetConstPointer(uint32& size) const
{
    switch (mType) {
    case kBool:
    case kInt32:
    case kInt64:
    case kFloat:
    case kDouble:
        size = ScalarSize(mType);
        return mValue;
    case kPointer:
    case kConstPointer:
    case kBuffer:
    case kString:
    case kConstBuffer:
        size = mSize;
        return GetBlock();
    case kEmpty:
        break;
    }
    size = 0;
    return nullptr;
}

void* Variant::GetPointer(uint32& size)
{
    switch (mType) {
    case kBool:
    case kInt32:
    case kInt64:
    case kFloat:
    case kDouble:
        size = 4;
        return mValue;
    case kPointer:
    case kBuffer:
    case kString:
        return const_cast<void*>(GetConstPointer(size));
    case kEmpty:
    case kConstPointer:
    case kConstBuffer:
        break;
    }
    size = 0;
    return nullptr;
}

const char* Variant::GetCStr() const
{
    uint32 size = 0;
    return mType == kString ? static_cast<const char*>(GetConstPointer(size)) : nullptr;
}

// A word has a fixed size, and so needs no call.
template <class Word>
inline Variant::Type Variant::StoreScalar(Type type, Word word)
{
    std::memset(mValue, 0, sizeof mValue);
    std::memcpy(mValue, &word, sizeof word);
    mSize = 0;
    mType = type;
    return type;
}

Variant::Type Variant::Set(Type type, const void* data, uint32 size)
{
    // Most values are numbers of four bytes, set where there is no block to release.
    const bool hasFourBytes = ((type == kInt32) | (type == kFloat)) & (size == sizeof(uint32));
    if (hasFourBytes & (data != nullptr) & !OwnsBlock()) {
        uint32 word;
        std::memcpy(&word, data, sizeof word);
        return StoreScalar(type, word);
    }
    switch (type) {
    case kBool:
    case kInt32:
    case kInt64:
    case kFloat:
    case kDouble:
        return SetScalar(type, data, size);
    case kPointer:
    case kConstPointer:
    case kBuffer:
        return SetCopy(kBuffer, data, size);
    case kConstBuffer:
        return SetCopy(kConstBuffer, data, size);
    case kString:
        return Set(static_cast<const char*>(data));
    case kEmpty:
        break;
    }
    Clear();
    return mType;
}

Variant::Type Variant::Set(const char* text)
{
    const size_t length = text != nullptr ? std::strlen(text) : kUInt32Limit;
    if (length >= kUInt32Limit) {
        Clear();
        return mType;
    }
    return SetCopy(kString, text, static_cast<uint32>(length + 1));
}

Variant::Type Variant::SetBuffer(const void* data, uint32 size)
{
    return SetCopy(kBuffer, data, size);
}

Variant::Type Variant::SetPointer(void* data, uint32 size)
{
    Clear();
    return Adopt(kPointer, data, size);
}

Variant::Type Variant::SetConstPointer(const void* data, uint32 size)
{
    Clear();
    return Adopt(kConstPointer, data, size);
}

void Variant::Clear()
{
    if (OwnsBlock()) {
        FreeBuffer(GetBlock());
    }
    std::memset(mValue, 0, sizeof mValue);
    mSize = 0;
    mType = kEmpty;
}

Variant::Type Variant::Adopt(Type type, const void* data, uint32 size)
{
    std::memcpy(mValue, &data, sizeof data);
    mSize = size;
    mType = type;
    return mType;
}

void Variant::CopyFields(const Variant& other)
{
    std::memcpy(mValue, other.mValue, sizeof mValue);
    mSize = other.mSize;
    mType = other.mType;
}

void* Variant::GetBlock() const
{
    void* block;
    std::memcpy(&block, mValue, sizeof block);
    return block;
}

bool Variant::OverlapsStorage(const void* data, uint32 size) const
{
    uint32 ownSize = 0;
    const void* const own = OwnsBlock() ? GetConstPointer(ownSize) : nullptr;
    return Overlap(data, size, own, ownSize) || Overlap(data, size, this, sizeof *this);
}

Variant::Type Variant::SetScalar(Type type, const void* data, uint32 size)
{
    if (data == nullptr || size != ScalarSize(type)) {
        Clear();
        return mType;
    }
    // Read before the release, because the source may lie in the block.
    const auto store = [this, type, data](auto word) {
        std::memcpy(&word, data, sizeof word);
        if (OwnsBlock()) {
            Clear();
        }
        return StoreScalar(type, word);
    };
    switch (size) {
    case 1:
        return store(uint8{});
    case 4:
        return store(uint32{});
    default:
        return store(uint64{});
    }
}

Variant::Type Variant::SetCopy(Type type, const void* data, uint32 size)
{
    // The release comes before the allocation, so a source that the release destroys is copied
    // aside. Keeping the old block until afterwards would not do: a derived class that holds one
    // block at a time would release the new one.
    std::unique_ptr<unsigned char[]> aside;
    if (data != nullptr && size > 0 && OverlapsStorage(data, size)) {
        aside.reset(new (std::nothrow) unsigned char[size]);
        if (aside == nullptr) {
            Clear();
            throw std::bad_alloc();
        }
        std::memcpy(aside.get(), data, size);
        data = aside.get();
    }

    Clear();
    if (data == nullptr && size > 0) {
        return mType;
    }
    void* const block = AllocBuffer(size);
    if (block == nullptr && size > 0) {
        return mType;
    }
    if (size > 0) {
        std::memcpy(block, data, size);
    }
    return Adopt(type, block, size);
}

} // namespace QX
