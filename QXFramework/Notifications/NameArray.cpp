// NameArray.cpp - strings over the characters of the notification names.

#include "NameArray.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace QX {
namespace {

/// A terminated text in a part of another buffer, which it holds. The text there never changes: the
/// first change gives this buffer bytes of its own.
///
/// Throws: std::bad_alloc out of the first change and where it cannot grow, with nothing changed.
class LLentText final : public LIBuffer
{
public:
    LLentText(const RCPtr<LIBuffer>& lender, const char* text)
        : mLender(lender)
        , mText(text)
        , mSize(static_cast<uint32>(std::strlen(text)) + 1)
    {}

    uint32 GetSizeBytes() const override { return mOwn ? mOwn->GetSizeBytes() : mSize; }
    uint32 GetAllocatedSize() const override { return mOwn ? mOwn->GetAllocatedSize() : mSize; }
    void* GetRawPtr() override { return mOwn ? mOwn->GetRawPtr() : const_cast<char*>(mText); }
    int32 SetSizeBytes(uint32 size) override { return Own().SetSizeBytes(size); }
    int32 ResizeBytes(uint32 size) override
    {
        // A buffer of text gives up what it has when it is refused more.
        if (!static_cast<LTextBuffer&>(Own()).TryResizeBytes(size)) {
            throw std::bad_alloc();
        }
        return static_cast<int32>(size);
    }
    int32 FillN(char value, uint32 offset, int count) override
    {
        return Own().FillN(value, offset, count);
    }
    int32 FillW(uint16 value, uint32 offset, int count) override
    {
        return Own().FillW(value, offset, count);
    }
    RCPtr<LRefCountedObject> CreateCopy() const override { return CreateCopy(GetSizeBytes(), 0); }
    RCPtr<LIBuffer> CreateCopy(uint32 length, uint32 offset) const override
    {
        if (mOwn) {
            return mOwn->CreateCopy(length, offset);
        }
        // Not the lender's copy, which would go on behind the text.
        RCPtr<LIBuffer> copy = LTextBuffer::Create(length, 0, true);
        if (offset < mSize && copy->GetRawPtr() != nullptr) {
            std::memcpy(copy->GetRawPtr(), mText + offset, std::min(mSize - offset, length));
        }
        return copy;
    }

private:
    LIBuffer& Own()
    {
        if (!mOwn) {
            RCPtr<LIBuffer> own = CreateCopy(mSize, 0);
            if (own->GetRawPtr() == nullptr) {
                throw std::bad_alloc();
            }
            mOwn = std::move(own);
            mLender = nullptr;
        }
        return *mOwn;
    }

    RCPtr<LIBuffer> mLender; ///< null from the first change on
    RCPtr<LIBuffer> mOwn;    ///< null until then
    const char* mText;       ///< in the lender
    uint32 mSize;
};

} // namespace

// The array changes by looking at it, and is made non-const for that.
NameArray& NameArray::UpToDate() const
{
    auto& self = const_cast<NameArray&>(*this);
    const MutexLock lock(mMutex);
    self.AddNewNames();
    return self;
}

void NameArray::AddNewNames()
{
    NameStore::Place place = mPlace;
    while (const char* const name = mNames.Next(place)) {
        const String string(RCPtr<LIBuffer>(new LLentText(mNames.GetChunk(place), name)));
        const uint32 index = Array::GetCount();
        Array::SetCount(index + 1);
        *Array::GetAt(index) = string;
        mPlace = place;
    }
}

} // namespace QX
