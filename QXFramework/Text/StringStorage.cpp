// StringStorage.cpp - sharing, locking and assignment of strings of both widths.

#include <QX/StringStorage.h>

#include <QX/String.h>
#include <QX/ThrowSites.h>

#include "ByteCount.h"
#include "TextElements.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>

namespace QX {
namespace {

/// The text of a buffer that has no element at all.
template <class CharT>
constexpr CharT kNoText{};

// Returns whether the buffer has room for `size` bytes now. The framework's own buffers keep their
// bytes when the heap refuses; another class does what its ResizeBytes does.
bool TryResize(LIBuffer& buffer, uint32 size)
{
    if (LTextBuffer* const text = AsBuffer<LTextBuffer>(buffer)) {
        return text->TryResizeBytes(size);
    }
    if (LByteBuffer* const bytes = AsBuffer<LByteBuffer>(buffer)) {
        return bytes->TryResizeBytes(size);
    }
    buffer.ResizeBytes(size);
    return TextElements<char>(buffer).count >= size;
}

// Resizes a buffer in place and zeroes the bytes gained.
void ResizeInPlace(LIBuffer& buffer, uint32 size)
{
    const uint32 oldSize = TextElements<char>(buffer).count;
    if (!TryResize(buffer, size)) {
        throw std::bad_alloc();
    }
    if (size > oldSize) {
        std::memset(TextElements<char>(buffer).first + oldSize, 0, size - oldSize);
    }
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
        return LengthWithin(text, max);
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
    const TextElements<CharT> elements(*mBuffer);
    if (elements.count == 0) {
        return 0;
    }
    return IsLocked() ? LengthWithin(elements.first, elements.count) : elements.count - 1;
}

template <class CharT>
std::span<const CharT> StringStorageT<CharT>::GetText() const
{
    const TextElements<CharT> elements(*mBuffer);
    if (elements.count == 0) {
        return {&kNoText<CharT>, 0};
    }
    return {elements.first, LengthWithin(elements.first, elements.count - (IsLocked() ? 0 : 1))};
}

template <class CharT>
void StringStorageT<CharT>::Assign(const CharT* text, uint32 count)
{
    const bool locked = HasLockedBuffer();
    if (text == nullptr || *text == 0) {
        SetText(nullptr, 0);
    } else if (locked) {
        WriteLocked(text, sizeof(CharT) == 1 ? kWholeText : count);
    } else {
        mBuffer = CreateTextBuffer(text, StrLen(text, count));
    }
}

template <class CharT>
CharT* StringStorageT<CharT>::Lock(uint32 size)
{
    if (IsLocked()) {
        return nullptr;
    }
    const uint64 capacity = size != 0 ? size : uint64{GetLength()} + 1;
    RCPtr<LIBuffer> own;
    if (mBuffer->GetReferenceCount() >= 2) {
        own = CreatePrivateBuffer();
    }
    LIBuffer& buffer = own != nullptr ? *own : *mBuffer;
    ResizeAs(buffer, true, capacity);
    if (own != nullptr) {
        mBuffer.Swap(own);
    }
    CharT* const field = ElementsOf(buffer);
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
    ResizeAs(*mBuffer, false, uint64{length} + 1);
    return kResultSuccess;
}

template <class CharT>
void StringStorageT<CharT>::ResizeAs(LIBuffer& buffer, bool unshareable, uint64 size)
{
    buffer.SetUnshareable(unshareable);
    try {
        ResizeBuffer(buffer, size);
    } catch (...) {
        buffer.SetUnshareable(!unshareable);
        throw;
    }
}

template <class CharT>
void StringStorageT<CharT>::SetText(const CharT* text, uint32 limit)
{
    if (HasLockedBuffer()) {
        WriteLocked(text, limit);
    } else if (const uint32 length = StrLen(text, limit); length == 0) {
        mBuffer = StringT<CharT>::GetEmpty().GetBuffer();
    } else {
        // The text may lie in the present buffer, which goes only now.
        mBuffer = CreateTextBuffer(text, length);
    }
}

template <class CharT>
void StringStorageT<CharT>::WriteLocked(const CharT* text, uint32 limit)
{
    const auto [field, capacity] = TextElements<CharT>(*mBuffer);
    if (field == nullptr) {
        return;
    }
    limit = std::min(limit, capacity - 1);
    // The text may lie in the field itself. The comparison objects order pointers into different
    // arrays; the operators need not.
    if (!std::less<>()(text, field) && std::less<>()(text, field + capacity)) {
        limit = std::min(limit, static_cast<uint32>(field + capacity - text));
    }
    const uint32 count = StrLen(text, limit);
    if (count == 0) {
        field[0] = 0;
        return;
    }
    std::memmove(field, text, count * sizeof(CharT));
    // The 8-bit form clears the whole rest of the field, the 16-bit form only terminates the text.
    const uint32 end = sizeof(CharT) == 1 ? capacity : count + 1;
    std::fill(field + count, field + end, CharT{});
}

template <class CharT>
RCPtr<LIBuffer> StringStorageT<CharT>::CreateTextBuffer(const CharT* text, uint32 length)
{
    RCPtr<LIBuffer> buffer =
        LTextBuffer::Create(CheckedByteCount(uint64{length} + 1, sizeof(CharT)), 0, false);
    CharT* const target = ElementsOf(*buffer);
    if (target == nullptr) {
        throw std::bad_alloc();
    }
    std::copy_n(text, length, target);
    target[length] = 0;
    return buffer;
}

template <class CharT>
CharT* StringStorageT<CharT>::ElementsOf(LIBuffer& buffer)
{
    return TextElements<CharT>(buffer).first;
}

template <class CharT>
void StringStorageT<CharT>::ResizeBuffer(LIBuffer& buffer, uint64 size)
{
    ResizeInPlace(buffer, CheckedByteCount(size, sizeof(CharT)));
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
