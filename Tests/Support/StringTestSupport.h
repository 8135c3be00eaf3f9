// StringTestSupport.h - what the tests of strings share: units, heap blocks, and buffers that fail.
#pragma once

#include <QX/String.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace QX {

/// The units of a text and a NUL after them.
inline std::vector<unsigned short> Units(std::u16string_view text)
{
    std::vector<unsigned short> units(text.size() + 1);
    std::copy(text.begin(), text.end(), units.begin());
    return units;
}

inline String16 Wide(std::u16string_view text)
{
    return Units(text).data();
}

/// The units of a string, for comparison with a literal.
inline std::u16string TextOf(const String16& text)
{
    return {text.CStr(), text.CStr() + text.GetLength()};
}

inline std::string TextOf(const String& text)
{
    return std::string(std::string_view(text));
}

template <class CharT, class OtherT>
LIBuffer* BufferOf(const StringT<CharT, OtherT>& text)
{
    return text.GetBuffer().Get();
}

template <class CharT, class OtherT>
int32 Holders(const StringT<CharT, OtherT>& text)
{
    return text.GetBuffer()->GetReferenceCount();
}

inline bool SharesEmpty(const String& text)
{
    return BufferOf(text) == BufferOf(String::Empty);
}

inline bool SharesEmpty(const String16& text)
{
    return BufferOf(text) == BufferOf(String16::Empty);
}

/// A heap block of exactly these elements, so that a sanitizer sees a read after them.
template <class CharT>
std::unique_ptr<CharT[]> ExactBlock(std::basic_string_view<CharT> elements)
{
    std::unique_ptr<CharT[]> block(new CharT[elements.size()]);
    std::copy(elements.begin(), elements.end(), block.get());
    return block;
}

inline RCPtr<LIBuffer> BufferWith(std::string_view bytes)
{
    RCPtr<LIBuffer> buffer = LByteBuffer::Create(static_cast<uint32>(bytes.size()), 0, true);
    if (!bytes.empty()) {
        std::memcpy(buffer->GetRawPtr(), bytes.data(), bytes.size());
    }
    return buffer;
}

/// How a HookedBuffer fails.
struct BufferFaults
{
    bool refusesGrowth = false;      ///< a larger size finds no memory
    bool ignoresGrowth = false;      ///< a larger size changes nothing
    bool copiesAreForeign = false;   ///< CreateCopy gives an object of another kind
    bool copiesThrow = false;        ///< CreateCopy throws a std::domain_error
    bool copiesHaveNoBlock = false;  ///< CreateCopy finds no memory
    bool copiesRefuseGrowth = false; ///< what CreateCopy gives finds no memory for a larger size
};

/// A counted byte buffer that can fail as if the heap were exhausted.
class HookedBuffer : public LIBuffer
{
public:
    static RCPtr<LIBuffer> Create(std::string_view bytes, BufferFaults faults)
    {
        return RCPtr<LIBuffer>(new HookedBuffer(bytes, faults));
    }

    uint32 GetSizeBytes() const override { return mSize; }
    int32 SetSizeBytes(uint32 size) override { return ResizeBytes(size); }
    int32 ResizeBytes(uint32 size) override
    {
        mWasShareable = IsShareable();
        if (size > mSize && mFaults.ignoresGrowth) {
            return static_cast<int32>(mSize);
        }
        if (size > mSize && mBlock != nullptr && mFaults.refusesGrowth) {
            mBlock.reset();
        } else {
            std::unique_ptr<char[]> block(new char[size]);
            std::memset(block.get(), '?', size);
            std::copy_n(mBlock.get(), mBlock != nullptr ? std::min(size, mSize) : 0, block.get());
            mBlock = std::move(block);
        }
        mSize = size;
        return static_cast<int32>(size);
    }
    int32 FillN(char, uint32, int) override { return kResultOutOfRange; }
    int32 FillW(uint16, uint32, int) override { return kResultOutOfRange; }
    uint32 GetAllocatedSize() const override { return mBlock != nullptr ? mSize : 0; }
    void* GetRawPtr() override { return mBlock.get(); }

    /// Returns whether the buffer was marked shareable when it was resized last.
    bool WasShareableWhenResized() const { return mWasShareable; }

    /// Makes the buffer claim a size that its block does not have.
    void ClaimSize(uint32 size) { mSize = size; }

    using LIBuffer::CreateCopy;
    RCPtr<LRefCountedObject> CreateCopy() const override
    {
        if (mFaults.copiesThrow) {
            throw std::domain_error("no copies");
        }
        if (mFaults.copiesAreForeign) {
            return RCPtr<LRefCountedObject>(new LRefCountedObject);
        }
        RCPtr<LIBuffer> copy(
            new HookedBuffer({mBlock.get(), mSize}, {.refusesGrowth = mFaults.copiesRefuseGrowth}));
        if (mFaults.copiesHaveNoBlock) {
            static_cast<HookedBuffer&>(*copy).mBlock.reset();
        }
        return copy;
    }
    RCPtr<LIBuffer> CreateCopy(uint32 length, uint32 offset) const override
    {
        RCPtr<LIBuffer> copy = LByteBuffer::Create(length, 0, true);
        std::copy_n(mBlock.get() + offset, std::min(length, mSize - offset),
                    static_cast<char*>(copy->GetRawPtr()));
        return copy;
    }

private:
    HookedBuffer(std::string_view bytes, BufferFaults faults)
        : mFaults(faults)
        , mBlock(ExactBlock(bytes))
        , mSize(static_cast<uint32>(bytes.size()))
    {}

    BufferFaults mFaults;
    std::unique_ptr<char[]> mBlock;
    uint32 mSize;
    bool mWasShareable = true;
};

} // namespace QX
