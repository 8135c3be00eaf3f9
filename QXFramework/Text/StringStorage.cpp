// StringStorage.cpp - sharing, locking and assignment of strings of both widths.

#include <QX/StringStorage.h>

#include <QX/String.h>
#include <QX/ThrowSites.h>

#include "ByteCount.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <new>
#include <typeinfo>
#include <utility>

namespace QX {
namespace {

/// The text of a buffer that has no element at all.
template <class CharT>
constexpr CharT kNoText{};

/// A buffer of another class with more bytes does not have them saved before it grows in place.
constexpr uint32 kSavedBytes = 1024;

// Resizes a buffer of a class that gives its block up when it cannot get a larger one. The bytes
// of a small one go back into the block that the failure has just freed; a large one loses them.
void ResizeForeign(LIBuffer& buffer, uint32 size)
{
    std::array<char, kSavedBytes> saved;
    const uint32 oldSize = buffer.GetRawPtr() != nullptr ? buffer.GetSizeBytes() : 0;
    const bool isSaved = oldSize != 0 && oldSize <= saved.size();
    if (isSaved) {
        std::memcpy(saved.data(), buffer.GetRawPtr(), oldSize);
    }
    buffer.ResizeBytes(size);
    if (buffer.GetRawPtr() != nullptr) {
        return;
    }
    buffer.ResizeBytes(oldSize);
    if (void* const block = buffer.GetRawPtr()) {
        if (isSaved) {
            std::memcpy(block, saved.data(), oldSize);
        } else {
            std::memset(block, 0, oldSize);
        }
    }
    throw std::bad_alloc();
}

// Resizes a buffer in place and zeroes the bytes gained. The strings' own buffers keep their text
// when the heap refuses; only an adopted one can be of another class.
void ResizeInPlace(LIBuffer& buffer, uint32 size)
{
    const uint32 oldSize = buffer.GetRawPtr() != nullptr ? buffer.GetSizeBytes() : 0;
    if (typeid(buffer) != typeid(LTextBuffer)) {
        ResizeForeign(buffer, size);
    } else if (!static_cast<LTextBuffer&>(buffer).TryResizeBytes(size)) {
        throw std::bad_alloc();
    }
    if (size > oldSize) {
        std::memset(static_cast<char*>(buffer.GetRawPtr()) + oldSize, 0, size - oldSize);
    }
}

template <class CharT>
uint32 ElementCount(const LIBuffer& buffer)
{
    return buffer.GetSizeBytes() / static_cast<uint32>(sizeof(CharT));
}

} // namespace

template <class CharT>
StringStorageT<CharT>::~StringStorageT() = default;

template <class CharT>
StringStorageT<CharT>::StringStorageT(const StringStorageT& other)
    : mBuffer(other.IsLocked() ? RCPtr<LIBuffer>() : other.mBuffer)
{
    if (mBuffer == nullptr) {
        SetText(other.CStr(), other.GetLength());
    }
}

template <class CharT>
StringStorageT<CharT>& StringStorageT<CharT>::operator=(const StringStorageT& other)
{
    if (this == &other) {
        return *this;
    }
    if (IsLocked() || other.IsLocked()) {
        SetText(other.CStr(), other.GetLength());
    } else {
        mBuffer = other.mBuffer;
    }
    return *this;
}

template <class CharT>
uint32 StringStorageT<CharT>::StrLen(const CharT* text, uint32 max)
{
    if (text == nullptr) {
        return 0;
    }
    if constexpr (sizeof(CharT) == 1) {
        const void* const end = std::memchr(text, 0, max);
        return end != nullptr ? static_cast<uint32>(static_cast<const char*>(end) - text) : max;
    } else {
        uint32 length = 0;
        while (length < max && text[length] != 0) {
            ++length;
        }
        return length;
    }
}

template <class CharT>
void StringStorageT<CharT>::StrCopy(CharT* target, uint32 targetSize, const CharT* source,
                                    [[maybe_unused]] uint32 max)
{
    if (targetSize == 0) {
        return;
    }
    uint32 limit = 0x7FFFFFF0;
    if constexpr (sizeof(CharT) == 1) {
        target[targetSize - 1] = 0;
    } else {
        limit = std::min(max, uint32{0x7FFFFFFF});
    }
    const uint32 count = std::min(targetSize - 1, limit);
    const uint32 length = StrLen(source, count);
    std::copy_n(source, length, target);
    std::fill_n(target + length, count - length, CharT{});
}

template <class CharT>
const CharT* StringStorageT<CharT>::CStr() const
{
    const CharT* const text = ElementsOf(*mBuffer);
    return text != nullptr ? text : &kNoText<CharT>;
}

template <class CharT>
uint32 StringStorageT<CharT>::GetLength() const
{
    uint32 length = 0;
    GetText(length);
    return length;
}

template <class CharT>
const CharT* StringStorageT<CharT>::GetText(uint32& length) const
{
    const CharT* const text = ElementsOf(*mBuffer);
    if (text == nullptr) {
        length = 0;
        return &kNoText<CharT>;
    }
    const uint32 count = ElementCount<CharT>(*mBuffer);
    length = IsLocked() ? StrLen(text, count) : count - 1;
    return text;
}

template <class CharT>
bool StringStorageT<CharT>::IsTerminated() const
{
    const CharT* const text = ElementsOf(*mBuffer);
    const uint32 length = GetLength();
    return text == nullptr || (length < ElementCount<CharT>(*mBuffer) && text[length] == 0);
}

template <class CharT>
void StringStorageT<CharT>::Assign(const CharT* text, uint32 count)
{
    const bool locked = HasLockedBuffer();
    if (text == nullptr) {
        SetText(nullptr, 0);
        return;
    }
    if (!locked && count == 0) {
        // Reading nothing of the text, this cannot tell that it is the empty one.
        mBuffer = CreateTextBuffer(text, 0);
        return;
    }
    uint32 limit = sizeof(CharT) == 1 && locked ? kWholeText : count;
    if (locked && PointsIntoBuffer(text)) {
        const CharT* const end = ElementsOf(*mBuffer) + ElementCount<CharT>(*mBuffer);
        limit = std::min(limit, static_cast<uint32>(end - text));
    }
    SetText(text, StrLen(text, limit));
}

template <class CharT>
CharT* StringStorageT<CharT>::Lock(uint32 size)
{
    if (IsLocked()) {
        return nullptr;
    }
    const uint64 capacity = size != 0 ? size : uint64{GetLength()} + 1;
    if (mBuffer->GetReferenceCount() >= 2) {
        RCPtr<LIBuffer> own = CreatePrivateBuffer();
        ResizeBuffer(*own, capacity);
        mBuffer = std::move(own);
    } else {
        ResizeBuffer(*mBuffer, capacity);
    }
    mBuffer->SetUnshareable(true);
    CharT* const field = ElementsOf(*mBuffer);
    field[capacity - 1] = 0;
    return field;
}

template <class CharT>
int32 StringStorageT<CharT>::Release()
{
    if (!HasLockedBuffer()) {
        return kResultNothingDone;
    }
    const uint32 length = GetLength();
    if (length == 0) {
        mBuffer = StringT<CharT>::GetEmpty().GetBuffer();
        return kResultSuccess;
    }
    // The text ends at a NUL already, or at the capacity, and what a buffer gains is NUL.
    ResizeBuffer(*mBuffer, uint64{length} + 1);
    mBuffer->SetUnshareable(false);
    return kResultSuccess;
}

template <class CharT>
void StringStorageT<CharT>::SetText(const CharT* text, uint32 length)
{
    if (HasLockedBuffer()) {
        WriteLocked(text, length);
    } else if (length == 0) {
        mBuffer = StringT<CharT>::GetEmpty().GetBuffer();
    } else {
        // The text may lie in the present buffer, which goes only now.
        mBuffer = CreateTextBuffer(text, length);
    }
}

// The text may lie in the field itself.
template <class CharT>
void StringStorageT<CharT>::WriteLocked(const CharT* text, uint32 length)
{
    CharT* const field = ElementsOf(*mBuffer);
    if (field == nullptr) {
        return;
    }
    if (length == 0) {
        field[0] = 0;
        return;
    }
    const uint32 capacity = ElementCount<CharT>(*mBuffer);
    const uint32 count = std::min(length, capacity - 1);
    std::memmove(field, text, count * sizeof(CharT));
    // The 8-bit form clears the whole rest of the field, the 16-bit form only terminates the text.
    const uint32 end = sizeof(CharT) == 1 ? capacity : count + 1;
    std::fill(field + count, field + end, CharT{});
}

template <class CharT>
RCPtr<LIBuffer> StringStorageT<CharT>::CreateTextBuffer(const CharT* text, uint32 length)
{
    RCPtr<LIBuffer> buffer = CreateBuffer(uint64{length} + 1);
    auto* const target = static_cast<CharT*>(buffer->GetRawPtr());
    std::copy_n(text, length, target);
    target[length] = 0;
    return buffer;
}

template <class CharT>
RCPtr<LIBuffer> StringStorageT<CharT>::CreateBuffer(uint64 size)
{
    RCPtr<LIBuffer> buffer = LTextBuffer::Create(CheckedByteCount(size, sizeof(CharT)), 0, false);
    if (buffer->GetRawPtr() == nullptr) {
        throw std::bad_alloc();
    }
    return buffer;
}

template <class CharT>
CharT* StringStorageT<CharT>::ElementsOf(LIBuffer& buffer)
{
    return buffer.GetSizeBytes() >= sizeof(CharT) ? static_cast<CharT*>(buffer.GetRawPtr())
                                                  : nullptr;
}

template <class CharT>
void StringStorageT<CharT>::ResizeBuffer(LIBuffer& buffer, uint64 size)
{
    ResizeInPlace(buffer, CheckedByteCount(size, sizeof(CharT)));
}

template <class CharT>
bool StringStorageT<CharT>::PointsIntoBuffer(const CharT* text) const
{
    const CharT* const start = ElementsOf(*mBuffer);
    // The comparison objects order pointers into different arrays; the operators need not.
    return start != nullptr && !std::less<>()(text, start) &&
           std::less<>()(text, start + ElementCount<CharT>(*mBuffer));
}

template <class CharT>
RCPtr<LIBuffer> StringStorageT<CharT>::CreatePrivateBuffer() const
{
    RCPtr<LIBuffer> own = RCPtr<LIBuffer>::Downcast(mBuffer->CreateCopy());
    if (own == nullptr) {
        ThrowException<std::runtime_error>("", ThrowSites::kStringLock);
    }
    if (own->GetSizeBytes() != 0 && own->GetRawPtr() == nullptr) {
        throw std::bad_alloc();
    }
    return own;
}

template class StringStorageT<char>;
template class StringStorageT<unsigned short>;

} // namespace QX
