// StringStorage.h - terminated text in a counted buffer, the part that strings of both widths
// share.
//
// A string holds a buffer that any number of strings may hold with it: copying costs one count.
// Locking gives its owner a private field of a fixed capacity to write into, which nobody shares
// until it is released:
//
//     String name("abc");
//     String copy = name;         // one buffer, two holders
//     char* field = name.Lock(8); // a private buffer of 8 bytes that begins with "abc"
//     std::strcpy(field, "ab");
//     name.Release();             // 3 bytes, shareable again; `copy` is still "abc"
//
// Unlocked, the buffer holds exactly the text and its terminator. Locked, it has the capacity, and
// the text ends at the first NUL or, if the owner left none, at the capacity.
//
// A string is not safe for use by two threads at once; strings that share a buffer are.
#pragma once

#include <QX/Buffer.h>
#include <QX/StringFwd.h>
#include <QX/Types.h>

namespace QX {

/// The base of the two string classes; nothing else derives from it. All counts, lengths and
/// capacities are in elements, and every capacity has room for the terminator.
///
/// Throws: std::bad_alloc wherever a string needs memory, with the string left as it was.
template <class CharT>
class StringStorageT
{
public:
    /// The count that stands for "up to the terminator".
    static constexpr uint32 kWholeText = 0x7FFFFFFE;

    virtual ~StringStorageT();

    /// Returns the smaller of the length of `text` and `max`, and never reads element `max`.
    /// A null pointer has length 0.
    static uint32 StrLen(const CharT* text, uint32 max);

    /// Copies a text into a field of `targetSize` elements; does nothing if there are none.
    ///
    /// 8-bit: copies what fits, fills the whole rest with NULs, and ignores `max`.
    /// 16-bit: copies at most `max` units and fills with NULs only as far as that count goes. So
    /// unlike the 8-bit form, it writes no terminator behind a text of `max` units or more.
    static void StrCopy(CharT* target, uint32 targetSize, const CharT* source, uint32 max);

    /// Returns the text, never null. It is terminated unless the owner of a locked buffer has
    /// overwritten the terminator; GetLength tells where it ends even then.
    const CharT* CStr() const;

    uint32 GetLength() const;
    /// Returns whether a NUL follows the text, as it does wherever nobody has overwritten it.
    bool IsTerminated() const;
    bool IsEmpty() const { return *CStr() == CharT{}; }
    bool IsLocked() const { return !mBuffer->IsShareable(); }

    /// Returns the buffer, which other strings may hold too. Never null.
    ///
    /// It is lent for reading: a holder who resizes it or takes its terminator away changes every
    /// string that shares it.
    const RCPtr<LIBuffer>& GetBuffer() const { return mBuffer; }

    /// Makes the first `count` elements of `text`, or all up to its terminator, this string's text.
    /// `text` may lie in this string. A null or empty text shares the one empty buffer.
    ///
    /// A locked string keeps its buffer, and the text is cut to the capacity less one. Its 8-bit
    /// form takes the whole of `text` whatever `count` says.
    void Assign(const CharT* text, uint32 count);

    /// Makes the string's buffer a private one of `size` elements, writes NUL into the last, and
    /// returns it for writing; a size of 0 means the text and its terminator. Text that fits stays,
    /// and elements gained are NUL. The pointer is valid until the next operation that changes the
    /// buffer: operator+= gives a locked string another capacity.
    ///
    /// Fails: null if the string is already locked; nothing changes.
    /// Throws: Exception<std::runtime_error> if the shared buffer cannot be copied.
    CharT* Lock(uint32 size);

    /// Trims a locked buffer to its text and makes it shareable again; an empty text gives it up
    /// for the one empty buffer. Returns 0, or 1 with nothing changed if the string is unlocked.
    int32 Release();

protected:
    /// Starts with a null buffer, which the constructor of the string must replace.
    StringStorageT() noexcept = default;

    /// Shares the buffer of an unlocked string; of a locked one it copies the text.
    StringStorageT(const StringStorageT& other);
    /// As copying. A locked target keeps its buffer and takes as much of the text as fits.
    StringStorageT& operator=(const StringStorageT& other);

    /// Makes the text one of `length` elements, none of which is NUL: in the locked field, or in a
    /// new buffer. A length of 0 shares the one empty buffer.
    void SetText(const CharT* text, uint32 length);

    /// Returns CStr and stores GetLength.
    const CharT* GetText(uint32& length) const;

    /// Returns a new buffer of exactly the text and its terminator.
    static RCPtr<LIBuffer> CreateTextBuffer(const CharT* text, uint32 length);

    /// Returns a new buffer of `size` elements with undefined contents.
    static RCPtr<LIBuffer> CreateBuffer(uint64 size);

    /// Returns the elements of a buffer that has some, else null.
    static CharT* ElementsOf(LIBuffer& buffer);

    /// Resizes a buffer in place; elements gained are NUL.
    static void ResizeBuffer(LIBuffer& buffer, uint64 size);

    /// Returns whether `text` lies in this string's buffer.
    bool PointsIntoBuffer(const CharT* text) const;

    RCPtr<LIBuffer> mBuffer;

private:
    bool HasLockedBuffer() const { return mBuffer != nullptr && IsLocked(); }
    RCPtr<LIBuffer> CreatePrivateBuffer() const;
    void WriteLocked(const CharT* text, uint32 length);
};

extern template class QX_API StringStorageT<char>;
extern template class QX_API StringStorageT<unsigned short>;

} // namespace QX
