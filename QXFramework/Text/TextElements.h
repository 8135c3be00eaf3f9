// TextElements.h - the elements of a string's buffer, without a virtual call for the usual buffer.
//
// Every string asks its buffer for the block and the size at each operation. The buffers that
// strings make are all of one class, whose answers are read without a call; a buffer of another
// class, which a string has adopted, is asked as any buffer is.
#pragma once

#include <QX/Buffer.h>

#include "Blocks.h"

#include <algorithm>
#include <cstring>
#include <typeinfo>

namespace QX {

/// Returns the buffer as one of `BufferType`, or null if it is not of that very class.
template <class BufferType>
BufferType* AsBuffer(LIBuffer& buffer)
{
    return typeid(buffer) == typeid(BufferType) ? static_cast<BufferType*>(&buffer) : nullptr;
}

/// A buffer's elements; null and 0 for one that has no element.
template <class CharT>
struct TextElements
{
    explicit TextElements(LIBuffer& buffer)
    {
        void* block = nullptr;
        uint32 size = 0;
        if (LTextBuffer* const text = AsBuffer<LTextBuffer>(buffer)) [[likely]] {
            block = text->LTextBuffer::GetRawPtr();
            size = text->LTextBuffer::GetSizeBytes();
        } else {
            block = buffer.GetRawPtr();
            size = buffer.GetSizeBytes();
        }
        if (block != nullptr && size >= sizeof(CharT)) {
            first = static_cast<CharT*>(block);
            count = size / static_cast<uint32>(sizeof(CharT));
        }
    }

    CharT* first = nullptr; ///< null if there is none
    uint32 count = 0;       ///< how many there are
};

/// Returns the number of elements before the first NUL, at most `count`. What comes after the NUL
/// need not exist.
inline uint32 LengthWithin(const char* text, uint32 count)
{
    const void* const end = std::memchr(text, 0, count);
    return end != nullptr ? static_cast<uint32>(static_cast<const char*>(end) - text) : count;
}

/// The same for 16 bits, by portions of 32 units, all `count` of which exist.
inline uint32 LengthWithin(const unsigned short* text, uint32 count)
{
    uint32 length = 0;
    for (; count - length >= 32; length += 32) {
        Words units[4];
        std::memcpy(units, text + length, sizeof units);
        if (!IsZero((units[0] == 0) | (units[1] == 0) | (units[2] == 0) | (units[3] == 0))) {
            break;
        }
    }
    return static_cast<uint32>(std::find(text + length, text + count, 0) - text);
}

} // namespace QX
