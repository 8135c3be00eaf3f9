// Buffer.inl - the bodies of the buffers; included by Buffer.h.
#pragma once

#include <algorithm>
#include <cstring>

namespace QX {

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

template <class Unit>
int32 IBuffer::Fill(Unit value, uint32 offset, int count)
{
    const uint32 size = GetSizeBytes();
    if (offset > size) {
        return kResultOutOfRange;
    }
    const uint32 most = (size - offset) / uint32{sizeof(Unit)};
    const uint32 units = count < 0 ? most : static_cast<uint32>(count);
    if (units > most) {
        return kResultOutOfRange;
    }
    if (units == 0) {
        return kResultSuccess;
    }
    if (GetRawPtr() == nullptr) {
        return kResultOutOfRange;
    }
    // Unit by unit through memcpy: the offset may be odd, and the slots may hold pointers.
    char* next = static_cast<char*>(GetRawPtr()) + offset;
    for (uint32 left = units; left != 0; --left) {
        std::memcpy(next, &value, sizeof(Unit));
        next += sizeof(Unit);
    }
    return kResultSuccess;
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
int32 BufferT<Granule, Slack, Third, T, Allocator>::SetSizeBytes(uint32 size)
{
    const uint32 rounded = RoundUp(size);
    if (size != 0 && mBlock != nullptr && rounded == mAllocatedSize) {
        mSize = size;
        return static_cast<int32>(size);
    }
    if (size == 0) {
        mSize = 0;
        mData = nullptr;
    }
    if (mBlock != nullptr) {
        Allocator()->Free(mBlock);
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
    if (!KeepsBlock(size) && !TryExchangeBlock(size)) {
        Allocator()->Free(mBlock); // a refused reallocation leaves the old block to its owner
        SetBlock(nullptr, RoundUp(size), size);
    }
    mSize = size;
    return static_cast<int32>(size);
}

// Moves the contents into a block of the rounded size. A refusal changes nothing.
template <uint32 Granule, uint32 Slack, uint32 Third, class T, IAllocator* (*Allocator)()>
bool BufferT<Granule, Slack, Third, T, Allocator>::TryExchangeBlock(uint32 size)
{
    const uint32 rounded = RoundUp(size);
    void* block = nullptr;
    if (mBlock != nullptr) {
        block = Allocator()->Realloc(mBlock, rounded);
    } else if (rounded != 0) {
        block = Allocator()->Alloc(rounded);
    }
    if (block == nullptr && rounded != 0) {
        return false;
    }
    SetBlock(block, rounded, size);
    return true;
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
