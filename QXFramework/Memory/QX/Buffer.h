// Buffer.h - growable blocks of bytes, alone (BufferT) and shared (LBufferT, used as LIBuffer).
//
//     RCPtr<LIBuffer> bytes = LByteBuffer::Create(4, 0, true); // 00 00 00 00
//     bytes->FillN('x', 1, -1);                                // 00 78 78 78
//     bytes->GetPtr<uint32>(1);                                // null: 4 bytes do not fit there
//
// The template's numbers say when a block is kept: every allocation is rounded up to a multiple of
// Granule, and ResizeBytes keeps a block that is at most max(Slack, Granule - 1) bytes too large.
//
// A null result of the allocator is stored like any block: the buffer has its new size and no
// bytes, and what it held is lost. Operations that use bytes then find none.
//
// Threads: a buffer is not safe for use by two threads at once; the number of its holders is.
#pragma once

#include <QX/Allocator.h>
#include <QX/RCPtr.h>
#include <QX/RefCountedObject.h>
#include <QX/Types.h>

namespace QX {

/// A block of bytes that can change its size.
class QX_API IBuffer
{
public:
    // Slot order is fixed; append only.

    /// Returns the logical size in bytes.
    virtual uint32 GetSizeBytes() const = 0;

    /// Makes the buffer `size` bytes large without keeping its contents, and returns `size`.
    /// A size of 0 frees the block. A refused allocation leaves `size` and no block.
    virtual int32 SetSizeBytes(uint32 size) = 0;

    /// Makes the buffer `size` bytes large, keeps the common prefix, and returns `size`. New bytes
    /// are not initialised. A size of 0 is a reallocation like any other. A refused
    /// reallocation leaves `size` and no block; the contents are lost.
    virtual int32 ResizeBytes(uint32 size) = 0;

    /// Stores `value` in `count` bytes, beginning at `offset`; a negative count means up to the
    /// end. Returns kResultSuccess.
    ///
    /// Fails: kResultOutOfRange for a range that leaves the buffer; nothing is written.
    virtual int32 FillN(char value, uint32 offset, int count) = 0;

    /// As FillN, with `count` 16-bit values in the machine's byte order; `offset` is in bytes and
    /// need not be even. A negative count means all that fit whole.
    virtual int32 FillW(uint16 value, uint32 offset, int count) = 0;

    /// Returns the size of the block in bytes: 0 before the first allocation, the size that was
    /// asked for after a refused one.
    virtual uint32 GetAllocatedSize() const = 0;

    /// Returns the block, or null when there is none. It stays valid until the size changes.
    virtual void* GetRawPtr() = 0;

    virtual ~IBuffer();

    /// Returns a pointer to the T at `byteOffset`, or null if it does not lie wholly inside. The
    /// pointer may be unaligned; it stays valid until the size changes.
    template <class T>
    T* GetPtr(uint32 byteOffset);
    template <class T>
    const T* GetPtr(uint32 byteOffset) const;

    /// Resizes to `count` elements of T and returns the new element count. A count whose bytes do
    /// not fit 32 bits changes nothing and returns the present count.
    template <class T>
    int32 Resize(uint32 count);

protected:
    /// What FillN and FillW have in common.
    template <class Unit>
    int32 Fill(Unit value, uint32 offset, int count);
};

/// A block of bytes owned by one object. No operation depends on Third.
template <uint32 Granule, uint32 Slack, uint32 Third, class T = char*,
          IAllocator* (*Allocator)() = &GetSystemAllocator>
class BufferT : public virtual IBuffer
{
public:
    /// Makes a buffer of `size` bytes, zeroed if `zero`. A larger `reserve` is allocated first; the
    /// keep rule then decides whether it stays.
    BufferT(uint32 size, uint32 reserve, bool zero);
    BufferT(const BufferT&) = delete;
    BufferT& operator=(const BufferT&) = delete;
    ~BufferT() override { BufferT::SetSizeBytes(0); }

    /// As IBuffer says.
    uint32 GetSizeBytes() const override { return mSize; }
    int32 SetSizeBytes(uint32 size) override;
    int32 ResizeBytes(uint32 size) override;
    int32 FillN(char value, uint32 offset, int count) override
    {
        return this->Fill(value, offset, count);
    }
    int32 FillW(uint16 value, uint32 offset, int count) override
    {
        return this->Fill(value, offset, count);
    }
    uint32 GetAllocatedSize() const override { return mAllocatedSize; }
    void* GetRawPtr() override { return mBlock; }

    /// As ResizeBytes, but a refusal of the allocator loses nothing: returns false with nothing
    /// changed if the buffer cannot grow; a block that cannot be made smaller is kept, and the
    /// result is true.
    bool TryResizeBytes(uint32 size)
    {
        if (KeepsBlock(size)) [[likely]] {
            mSize = size;
            return true;
        }
        return TryExchangeBlock(size) || TryUseLess(size);
    }

    /// Returns the block as its element pointer; null when there is none.
    T GetData() const noexcept { return mData; }

private:
    static_assert(Granule > 0);
    static constexpr uint32 kKeepThreshold = Slack > Granule - 1 ? Slack : Granule - 1;

    static constexpr uint32 RoundUp(uint32 size)
    {
        const uint64 rounded = (uint64{size} + Granule - 1) / Granule * Granule;
        return rounded > kUInt32Limit ? size : static_cast<uint32>(rounded);
    }
    bool KeepsBlock(uint32 size) const noexcept
    {
        return mBlock != nullptr && mAllocatedSize >= size &&
               mAllocatedSize - size <= kKeepThreshold;
    }
    bool TryExchangeBlock(uint32 size);
    bool TryUseLess(uint32 size) noexcept
    {
        if (mBlock == nullptr || size > mAllocatedSize) {
            return false;
        }
        mSize = size;
        return true;
    }
    void SetBlock(void* block, uint32 allocatedSize, uint32 size)
    {
        mAllocatedSize = allocatedSize;
        mSize = size;
        mBlock = block;
        mData = static_cast<T>(block);
    }

    T mData = nullptr;
    uint32 mSize = 0;
    void* mBlock = nullptr; ///< decides whether a block exists; the sizes alone do not
    uint32 mAllocatedSize = 0;
};

/// A buffer that several holders share through RCPtr<LIBuffer>. A marked one (SetUnshareable) is
/// copied for each further holder.
class QX_API LIBuffer : public virtual IBuffer, public virtual LRefCountedObject
{
public:
    using LRefCountedObject::CreateCopy;

    /// Returns a new buffer of `length` bytes that begins with this buffer's bytes from `offset`
    /// on; what they do not fill is zero. An offset at or past the end gives zeros only. The
    /// caller's is the only reference. Without memory the new buffer has its size and no bytes.
    ///
    /// Throws: std::bad_alloc if there is no memory for the object itself.
    virtual RCPtr<LIBuffer> CreateCopy(uint32 length, uint32 offset) const = 0;
};

/// The implementation of LIBuffer; its parameters are BufferT's.
template <uint32 Granule, uint32 Slack, uint32 Third, class T = char*,
          IAllocator* (*Allocator)() = &GetSystemAllocator>
class LBufferT : public BufferT<Granule, Slack, Third, T, Allocator>, public LIBuffer
{
public:
    /// Makes a buffer with BufferT's constructor arguments and one holder.
    ///
    /// Throws: std::bad_alloc if there is no memory for the object itself.
    static RCPtr<LIBuffer> Create(uint32 size, uint32 reserve, bool zero)
    {
        return RCPtr<LIBuffer>(new LBufferT(size, reserve, zero));
    }

    using LIBuffer::CreateCopy;
    /// Returns a copy of the whole buffer, as the other form does.
    RCPtr<LRefCountedObject> CreateCopy() const override
    {
        return CreateCopy(this->GetSizeBytes(), 0);
    }
    RCPtr<LIBuffer> CreateCopy(uint32 length, uint32 offset) const override;

private:
    using Base = BufferT<Granule, Slack, Third, T, Allocator>;

    // Private, because a buffer outside the heap would be deleted by its last smart pointer.
    LBufferT(uint32 size, uint32 reserve, bool zero)
        : Base(size, reserve, zero)
    {}
};

/// The exact one: no rounding, no slack. Messages and serialized records use it.
using LByteBuffer = LBufferT<1, 0, 8>;
/// The one for text, which keeps a block that is up to 128 bytes too large.
using LTextBuffer = LBufferT<1, 128, 8>;

} // namespace QX

#include <QX/Buffer.inl>
