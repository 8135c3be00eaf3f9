// StringStorage.h - terminated text in a counted buffer, the part that strings of both widths
// share.
//
// A string holds a buffer that any number of strings may hold with it: copying costs one count.
// Locking gives its owner a private field of a fixed capacity to write into, which no other
// string shares until it is released:
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
// Another holder of the buffer can write a NUL into an unlocked text. GetLength does not see it;
// all that copies, compares or converts the text ends there.
//
// Several threads may read one string. While one changes it no other may use it. Strings that share
// a buffer may be used and changed on different threads, as long as nobody writes into the buffer
// itself; adopting a buffer as text writes into it unless it is exactly a text already.
#pragma once

#include <QX/Buffer.h>
#include <QX/StringFwd.h>
#include <QX/Types.h>

#include <span>

namespace QX {

/// The base of the two string classes; nothing else derives from it. All counts, lengths and
/// capacities are in elements, and every capacity has room for the terminator.
///
/// Throws: std::bad_alloc wherever a string needs memory, with the string left as it was. An
/// adopted buffer of a class that is not the framework's is the exception: what its ResizeBytes
/// loses is lost, and without a block the text is empty.
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
    /// 8-bit: copies at most `targetSize` - 1 characters and fills the rest of the field with NULs.
    /// `max` is ignored.
    /// 16-bit: copies at most the smaller of `max` and `targetSize` - 1 units, and fills up to that
    /// count with NULs. A text of that length or more gets no terminator.
    static void StrCopy(CharT* target, uint32 targetSize, const CharT* source, uint32 max);

    /// Returns the elements of the buffer, never null; valid until this string changes. They are
    /// terminated unless the owner of a locked buffer, or another holder, has overwritten the
    /// terminator; GetText tells where the text ends even then.
    const CharT* CStr() const;

    /// Returns the elements before the terminator: of an unlocked string what the buffer has, of a
    /// locked one what lies before the first NUL.
    uint32 GetLength() const;

    /// Returns the text: what lies before the first NUL, at most GetLength() elements. It is valid
    /// as long as CStr is.
    std::span<const CharT> GetText() const;

    /// Returns whether the first element is NUL.
    bool IsEmpty() const { return *CStr() == CharT{}; }
    /// Returns whether the string has a field from Lock that was not released yet.
    bool IsLocked() const { return !mBuffer->IsShareable(); }

    /// Returns the buffer, which other strings may hold too. Never null.
    ///
    /// It is lent for reading: a holder who resizes it or takes its terminator away changes every
    /// string that shares it.
    const RCPtr<LIBuffer>& GetBuffer() const { return mBuffer; }

    /// Makes the first `count` elements of `text`, or all up to its terminator, this string's text.
    /// `text` may lie in this string. A null or empty text shares the one empty buffer, whatever
    /// `count` is; no elements of any other text make an empty buffer of the string's own.
    ///
    /// A locked string keeps its buffer, and the text is cut to the capacity less one. Its 8-bit
    /// form takes as much of `text` as fits, whatever `count` says.
    ///
    /// Requires: `text` is null or has one element, and is terminated or has `count` elements; for
    /// a locked 8-bit string it is terminated or has the capacity less one.
    void Assign(const CharT* text, uint32 count);

    /// Makes the string's buffer a private one of `size` elements, writes NUL into the last, and
    /// returns it for writing; a size of 0 means the text and its terminator. Text that fits stays,
    /// and elements gained are NUL. The pointer is valid until the next operation that changes the
    /// buffer: operator+= gives a locked string another capacity.
    ///
    /// Fails: null if the string is already locked; nothing changes.
    /// Throws: Exception<std::runtime_error> if the shared buffer's CreateCopy gives no buffer, and
    /// whatever CreateCopy throws.
    CharT* Lock(uint32 size);

    /// Trims a locked buffer to its text and makes it shareable again; an empty text shares the
    /// empty buffer instead. Returns 0, or 1 with nothing changed if the string is unlocked.
    int32 Release();

protected:
    /// Starts with a null buffer, which the constructor of the string must replace.
    StringStorageT() noexcept = default;

    /// Shares the buffer of an unlocked string; of a locked one it copies the text.
    StringStorageT(const StringStorageT& other);
    /// As copying. A locked target keeps its buffer and takes as much of the text as fits.
    StringStorageT& operator=(const StringStorageT& other);

    /// Makes what lies before the first NUL of `text`, at most `limit` elements, the string's text:
    /// in the locked field, or in a new buffer. An empty text shares the one empty buffer.
    void SetText(const CharT* text, uint32 limit);

    /// Returns a new buffer of exactly the text and its terminator.
    static RCPtr<LIBuffer> CreateTextBuffer(const CharT* text, uint32 length);

    /// Returns the elements of a buffer that has some, else null.
    static CharT* ElementsOf(LIBuffer& buffer);

    /// Resizes a buffer in place; elements gained are NUL.
    static void ResizeBuffer(LIBuffer& buffer, uint64 size);

    /// The text and its terminator. Never null once the string is built.
    RCPtr<LIBuffer> mBuffer;

private:
    bool HasLockedBuffer() const { return mBuffer != nullptr && IsLocked(); }
    RCPtr<LIBuffer> CreatePrivateBuffer() const;

    /// Marks the buffer, then resizes it; if that throws, the mark is the old one again.
    static void ResizeAs(LIBuffer& buffer, bool unshareable, uint64 size);

    void WriteLocked(const CharT* text, uint32 limit);
};

extern template class QX_API StringStorageT<char>;
extern template class QX_API StringStorageT<unsigned short>;

} // namespace QX
