// Buffer.inl - the bodies of the buffers; included by Buffer.h.
#pragma once

#include <algorithm>
#include <cstring>

namespace QX {

inline constexpr uint64 kUInt32Limit = 0xFFFFFFFF;

template <class T>
T* IBuffer::GetPtr(uint32 byteOffset)
{
    if (uint64{byteOffset} + sizeof(T) > GetSizeBytes() || GetRawPtr() == nullptr) {
        return nullptr;
    }
    return reinterpret_cast<T*>(static_cast<char*>(GetRawPtr()) + byteOffset);
}

template <class T>
const T* IBuffer::GetPtr(uint32 byteOffset) const
{
    // GetRawPtr changes nothing; it is not const because it lends the bytes for writing.
    return const_cast<IBuffer*>(this)->GetPtr<T>(byteOffset);
}

template <class T>
int32 IBuffer::Resize(uint32 count)
{
    constexpr uint32 kElementSize = sizeof(T);
    if (uint64{count} * kElementSize > kUInt32Limit) {
        return static_cast<int32>(GetSizeBytes() / kElementSize);
    }
    return static_cast<int32>(static_cast<uint32>(ResizeBytes(count * kElementSize)) /
                              kElementSize);
}

template <uint32 Granule, uint32 Slack, uint32 Third, class T, IAllocator* (*Allocator)()>
BufferT<Granule, Slack, Third, T, Allocator>::BufferT(uint32 size, uint32 reserve, bool zero)
{
    if (reserve > size) {
        SetBlock(Allocator()->Alloc(reserve), reserve, 0);
    }
    BufferT::ResizeBytes(size);
    if (zero && size != 0 && mBlock != nullptr) {
        std::memset(mBlock, 0, size);
    }
}

template <uint32 Granule, uint32 Slack, uint32 Third, class T, IAllocator* (*Allocator)()>
BufferT<Granule, Slack, Third, T, Allocator>::~BufferT()
{
    if (mBlock != nullptr) {
        Allocator()->Free(mBlock);
    }
    SetBlock(nullptr, 0, 0);
}

template <uint32 Granule, uint32 Slack, uint32 Third, class T, IAllocator* (*Allocator)()>
int32 BufferT<Granule, Slack, Third, T, Allocator>::SetSizeBytes(uint32 size)
{
    const uint32 rounded = RoundUp(size);
    if (size != 0 && mBlock != nullptr && rounded == mAllocatedSize) {
        mSize = size;
        return static_cast<int32>(size);
    }
    if (void* const block = mBlock) {
        SetBlock(nullptr, 0, 0);
        Allocator()->Free(block);
    }
    SetBlock(size != 0 ? Allocator()->Alloc(rounded) : nullptr, rounded, size);
    return static_cast<int32>(size);
}

template <uint32 Granule, uint32 Slack, uint32 Third, class T, IAllocator* (*Allocator)()>
int32 BufferT<Granule, Slack, Third, T, Allocator>::ResizeBytes(uint32 size)
{
    if (mBlock == nullptr) {
        return this->SetSizeBytes(size);
    }
    if (KeepsBlock(size)) {
        mSize = size;
        return static_cast<int32>(size);
    }
    const uint32 rounded = RoundUp(size);
    void* const old = mBlock;
    void* const block = Allocator()->Realloc(old, rounded);
    if (block == nullptr && rounded != 0) {
        Allocator()->Free(old); // a refused reallocation leaves the old block to its owner
    }
    SetBlock(block, rounded, size);
    return static_cast<int32>(size);
}

template <uint32 Granule, uint32 Slack, uint32 Third, class T, IAllocator* (*Allocator)()>
bool BufferT<Granule, Slack, Third, T, Allocator>::TryExchangeBlock(uint32 size)
{
    const uint32 rounded = RoundUp(size);
    if (mBlock == nullptr && rounded == 0) {
        SetBlock(nullptr, 0, 0);
        return true;
    }
    void* const block =
        mBlock != nullptr ? Allocator()->Realloc(mBlock, rounded) : Allocator()->Alloc(rounded);
    if (block != nullptr || rounded == 0) {
        SetBlock(block, rounded, size);
        return true;
    }
    if (mBlock == nullptr || size > mAllocatedSize) {
        return false;
    }
    mSize = size;
    return true;
}

template <uint32 Granule, uint32 Slack, uint32 Third, class T, IAllocator* (*Allocator)()>
int32 BufferT<Granule, Slack, Third, T, Allocator>::FillN(char value, uint32 offset, int count)
{
    if (offset > mSize || (count >= 0 && static_cast<uint32>(count) > mSize - offset)) {
        return kResultOutOfRange;
    }
    const uint32 bytes = count < 0 ? mSize - offset : static_cast<uint32>(count);
    if (bytes == 0) {
        return kResultSuccess;
    }
    if (mBlock == nullptr) {
        return kResultOutOfRange;
    }
    std::memset(static_cast<char*>(mBlock) + offset, value, bytes);
    return kResultSuccess;
}

template <uint32 Granule, uint32 Slack, uint32 Third, class T, IAllocator* (*Allocator)()>
int32 BufferT<Granule, Slack, Third, T, Allocator>::FillW(uint16 value, uint32 offset, int count)
{
    if (offset > mSize || (count >= 0 && static_cast<uint32>(count) > (mSize - offset) / 2)) {
        return kResultOutOfRange;
    }
    const uint32 units = count < 0 ? (mSize - offset) / 2 : static_cast<uint32>(count);
    if (units == 0) {
        return kResultSuccess;
    }
    if (mBlock == nullptr) {
        return kResultOutOfRange;
    }
    // Unit by unit through memcpy: the offset may be odd, and the slots may hold pointers.
    char* const start = static_cast<char*>(mBlock) + offset;
    for (uint32 unit = 0; unit < units; ++unit) {
        std::memcpy(start + sizeof(value) * unit, &value, sizeof(value));
    }
    return kResultSuccess;
}

template <uint32 Granule, uint32 Slack, uint32 Third, class T, IAllocator* (*Allocator)()>
uint32 BufferT<Granule, Slack, Third, T, Allocator>::RoundUp(uint32 size)
{
    const uint64 rounded = (uint64{size} + Granule - 1) / Granule * Granule;
    return rounded > kUInt32Limit ? size : static_cast<uint32>(rounded);
}

template <uint32 Granule, uint32 Slack, uint32 Third, class T, IAllocator* (*Allocator)()>
void BufferT<Granule, Slack, Third, T, Allocator>::SetBlock(void* block, uint32 allocatedSize,
                                                            uint32 size)
{
    mData = static_cast<T>(block);
    mSize = size;
    mBlock = block;
    mAllocatedSize = allocatedSize;
}

template <uint32 Granule, uint32 Slack, uint32 Third, class T, IAllocator* (*Allocator)()>
RCPtr<LIBuffer> LBufferT<Granule, Slack, Third, T, Allocator>::Create(uint32 size, uint32 reserve,
                                                                      bool zero)
{
    return RCPtr<LIBuffer>(new LBufferT(size, reserve, zero));
}

template <uint32 Granule, uint32 Slack, uint32 Third, class T, IAllocator* (*Allocator)()>
RCPtr<LRefCountedObject> LBufferT<Granule, Slack, Third, T, Allocator>::CreateCopy() const
{
    return CreateCopy(this->GetSizeBytes(), 0);
}

template <uint32 Granule, uint32 Slack, uint32 Third, class T, IAllocator* (*Allocator)()>
RCPtr<LIBuffer> LBufferT<Granule, Slack, Third, T, Allocator>::CreateCopy(uint32 length,
                                                                          uint32 offset) const
{
    RCPtr<LIBuffer> copy = Create(length, 0, true);
    const uint32 size = this->GetSizeBytes();
    if (offset >= size) {
        return copy;
    }
    const uint32 bytes = std::min(size - offset, length);
    const auto* const source = reinterpret_cast<const char*>(this->GetData());
    void* const target = copy->GetRawPtr();
    if (bytes != 0 && source != nullptr && target != nullptr) {
        std::memcpy(target, source + offset, bytes);
    }
    return copy;
}

} // namespace QX
