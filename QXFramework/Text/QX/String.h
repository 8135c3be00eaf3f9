// String.h - the framework's strings: UTF-8 (String) and UTF-16 (String16).
//
//     String list(",,a,b,c");
//     String rest = list.SplitToken(","); // list "a", rest "b,c"
//     list += "xyz";                      // "axyz"
//     list.Insert(1, "--", 1);            // "a-xyz"
//     String::Format("%d dB", -6);        // "-6 dB"
//     String16 wide(list);                // the same text in UTF-16
//
// String is the working class; String16 stores, copies, converts and reverses. What both have in
// common (buffers, locking, Assign) is StringStorageT's. There is no move: a copy costs one count,
// and every string always has a buffer.
//
// `StringT(nullptr)` is ambiguous; a null pointer of a given type is an empty text.
//
// Threads: as StringStorage.h says. Throws: std::bad_alloc wherever a string needs memory.
#pragma once

#include <QX/StringStorage.h>

#include <compare>
#include <functional>
#include <iosfwd>
#include <string_view>

namespace QX {

template <>
class StringT<unsigned short, char>;

/// The 8-bit string. It holds UTF-8, but its operations work on bytes.
template <>
class QX_API StringT<char, unsigned short> : public StringStorageT<char>
{
public:
    /// An empty string. Code that may run before main or after it uses GetEmpty instead.
    static const StringT Empty;
    /// Returns the empty string whose buffer all empty strings share. It is made by the first call;
    /// static objects that are built after that call may use strings until they are destroyed.
    ///
    /// Threads: any.
    static const StringT& GetEmpty();

    /// Makes an empty string, or one of the text up to its NUL; null gives an empty one.
    StringT();
    StringT(const char* text);
    /// Makes a string of one character, or for a NUL an empty one with a buffer of its own.
    StringT(char character);
    StringT(const StringT& other) = default;
    /// Converts from UTF-16. What cannot be converted ends the text; null, and a text too long for
    /// the other width, give an empty string.
    StringT(const StringT<unsigned short, char>& other);
    StringT(const unsigned short* text);
    /// Adopts a buffer as text: shares it, or takes a private copy of an unshareable one, and trims
    /// it for all of its holders to the text up to its first NUL and one NUL. A buffer without any
    /// NUL grows by one byte; a null pointer gives an empty string.
    StringT(const RCPtr<LIBuffer>& buffer);
    /// Copies the text up to its first NUL. Throws: std::bad_alloc, also for a text whose size does
    /// not fit 32 bits with its NUL.
    explicit StringT(std::string_view text);
    ~StringT() override;

    /// Shares the text of `other`; a locked string takes as much of it as fits.
    StringT& operator=(const StringT& other) = default;

    /// Views GetText without copying it; valid as long as CStr is.
    operator std::string_view() const;

    /// Compares two texts as strcmp does; if `caseSensitive` is false, it compares what ToLower
    /// makes of them. Only the sign of the result has a meaning. A null pointer is an empty text.
    static int StrCompare(const char* left, const char* right, bool caseSensitive);
    int Compare(const char* text, bool caseSensitive) const;
    int Compare(const StringT& other, bool caseSensitive) const;

    /// Returns whether both texts are the same; a null pointer is an empty text.
    bool IsEqual(const char* text) const;
    bool IsEqual(const StringT& other) const;

    /// Returns the text with tolower of the current locale applied to each byte.
    StringT ToLower() const;
    /// Returns the text in reverse order of its UTF-16 units: other characters stay whole, but the
    /// two halves of a surrogate pair come out as U+FFFD each, and ill-formed text is cut.
    StringT Reverse() const;

    /// Returns `count` characters from `start` on, or as many as there are. A negative start counts
    /// from the end; characters that would lie before the text are taken off the count.
    StringT GetSubString(int start, uint32 count) const;
    /// As above, with all characters to the end.
    StringT GetSubString(int start) const;

    /// Keeps the first token, without the delimiters before it, and returns what follows the one
    /// delimiter that ended it. Without a token this string becomes empty and the rest is empty.
    StringT SplitToken(const StringT& delimiters);

    /// Replaces each character that occurs in `characters`; a NUL as `with` changes nothing.
    StringT& Replace(const char* characters, char with);

    /// Inserts a text, or its first `count` characters, before position `position`. At the end a
    /// locked string grows; elsewhere the result is cut to its capacity. The text may lie in this
    /// string. A null text inserts nothing.
    ///
    /// Fails: kResultOutOfRange for a position past the end; nothing changes.
    int32 Insert(uint32 position, const StringT& text);
    int32 Insert(uint32 position, const char* text, uint32 count);

    /// Appends. A locked string gets exactly the capacity of the result, which may be larger or
    /// smaller than before; strings that shared the buffer keep theirs.
    StringT& operator+=(const StringT& other);
    StringT& operator+=(char character);
    StringT operator+(const StringT& other) const;

    /// Returns the number at the start of the text by the rules of atoi, or 0; beyond the limits of
    /// int it is the nearer one.
    int ToInt() const;
    /// As ToInt, by the rules of atof.
    double ToDouble() const;

    /// Returns the formatted text, cut at 16383 characters without notice. The format is printf's,
    /// but I32 before d, i, o, u, x or X means 32 bits, and I64 or L means 64. A null or refused
    /// format gives an empty text. Uses about 20 KiB of stack.
    static StringT Format(const char* format, ...);
    /// Assigns what Format returns and returns this string, which may be one of the arguments.
    StringT& SetFormatted(const char* format, ...);

    /// Returns the number as printf writes it with `precision` decimals, six if that is negative
    /// and 16384 at most, cut as the text of Format is.
    static StringT FormatNumber(double value, int precision);
    static StringT FormatNumber(float value, int precision);
    /// Returns the number with a point before its last `decimals` digits, and with none below 1.
    /// No zero is put before the point, and a minus counts as a digit: 5 with two decimals is
    /// ".05", and -5 is ".-5".
    static StringT FormatNumber(long long value, int decimals);
    static StringT FormatNumber(int value, int decimals);
    static StringT FormatNumber(unsigned int value, int decimals);

    /// Replaces `buffer` by one that holds `count` units of `source` as UTF-8, terminated and cut
    /// at its first NUL. A negative count means the whole text with its terminator. Unpaired
    /// surrogates become U+FFFD. A null or empty source gives the buffer of GetEmpty, whatever
    /// `count` is. `source` may lie in the buffer. Returns 0.
    ///
    /// Requires: `source` is null, or has one unit and `count` of them.
    /// Fails: kResultFailure for a text that ends within a pair; what comes before is in `buffer`.
    /// Fails: kResultFailure for a text too long; `buffer` is unchanged.
    static int32 ConvertToCharType(RCPtr<LIBuffer>& buffer, const unsigned short* source,
                                   int count);
    /// As from UTF-16, but an empty source gives a buffer of its own.
    ///
    /// Requires: `source` is not null and has `count` units.
    /// Fails: kResultFailure for values above 0x10FFFF; each becomes U+FFFD and the whole text is
    /// in `buffer`.
    /// Fails: kResultFailure for a text too long; `buffer` is unchanged.
    static int32 ConvertToCharType(RCPtr<LIBuffer>& buffer, const wchar_t* source, int count);

    // The operators compare bytes. Like IsEqual, they end the text of a string where GetText does
    // and take a null pointer for an empty one; a std::string_view is compared to its end.

    friend bool operator==(const StringT& left, const StringT& right)
    {
        return left.IsEqual(right);
    }
    friend bool operator==(const StringT& left, std::string_view right)
    {
        return std::string_view(left) == right;
    }
    friend bool operator==(const StringT& left, const char* right) { return left.IsEqual(right); }

    friend std::strong_ordering operator<=>(const StringT& left, const StringT& right)
    {
        return std::string_view(left) <=> std::string_view(right);
    }
    friend std::strong_ordering operator<=>(const StringT& left, std::string_view right)
    {
        return std::string_view(left) <=> right;
    }
    friend std::strong_ordering operator<=>(const StringT& left, const char* right)
    {
        return left <=> (right != nullptr ? std::string_view(right) : std::string_view());
    }

private:
    void Append(const char* text, uint32 length);
};

/// The 16-bit string: UTF-16 in the machine's byte order. Format, SetFormatted, StrCSpn and
/// SplitToken throw Exception<std::domain_error>, and so does Replace unless `with` is NUL.
template <>
class QX_API StringT<unsigned short, char> : public StringStorageT<unsigned short>
{
public:
    /// As in the 8-bit class.
    static const StringT Empty;
    /// As in the 8-bit class.
    static const StringT& GetEmpty();

    /// As in the 8-bit class.
    StringT();
    StringT(const unsigned short* text);
    StringT(unsigned short unit);
    StringT(const StringT& other) = default;
    /// Converts from UTF-8. What cannot be converted ends the text; null, and a text too long for
    /// the other width, give an empty string.
    StringT(const StringT<char, unsigned short>& other);
    StringT(const char* text);
    ~StringT() override;

    /// As in the 8-bit class.
    StringT& operator=(const StringT& other) = default;

    /// Returns the units in reverse order; surrogate pairs are split.
    StringT Reverse() const;

    /// Returns the number text of the 8-bit class.
    static StringT FormatNumber(double value, int precision);
    static StringT FormatNumber(float value, int precision);
    static StringT FormatNumber(long long value, int decimals);
    static StringT FormatNumber(int value, int decimals);
    static StringT FormatNumber(unsigned int value, int decimals);

    /// As the 8-bit class, to UTF-16.
    ///
    /// Requires: `source` is null, or has one byte and `count` of them.
    /// Fails: kResultFailure for ill-formed or truncated UTF-8; what comes before is in `buffer`.
    /// Fails: kResultFailure for a text too long; `buffer` is unchanged.
    static int32 ConvertToCharType(RCPtr<LIBuffer>& buffer, const char* source, int count);
    /// As from UTF-8, but an empty source gives a buffer of its own. Unlike in UTF-8, a value above
    /// 0x10FFFF becomes U+FFFD without a failure.
    ///
    /// Requires: `source` is not null and has `count` units.
    /// Fails: kResultFailure for a text too long; `buffer` is unchanged.
    static int32 ConvertToCharType(RCPtr<LIBuffer>& buffer, const wchar_t* source, int count);

    /// Throws Exception<std::domain_error>, whatever the arguments; so do the next three.
    [[noreturn]] static StringT Format(const unsigned short* format, ...);
    [[noreturn]] StringT& SetFormatted(const unsigned short* format, ...);
    [[noreturn]] static uint32 StrCSpn(const unsigned short* text, const unsigned short* units);
    [[noreturn]] StringT SplitToken(const StringT& delimiters);
    /// Throws Exception<std::domain_error> unless `with` is NUL; nothing changes.
    StringT& Replace(const unsigned short* units, unsigned short with);

    /// Compares the texts, which end where GetText does, unit by unit.
    friend bool operator==(const StringT& left, const StringT& right)
    {
        return (left <=> right) == 0;
    }
    QX_API friend std::strong_ordering operator<=>(const StringT& left, const StringT& right);
};

/// The two strings, UTF-8 and UTF-16.
using String = StringT<char, unsigned short>;
using String16 = StringT<unsigned short, char>;

/// Writes the text as a std::string_view is written, with the stream's width and fill.
QX_API std::ostream& operator<<(std::ostream& stream, const String& text);

} // namespace QX

/// Equal texts have equal hashes, also as a std::string_view.
template <>
struct std::hash<QX::String>
{
    /// Returns the hash of the text.
    std::size_t operator()(const QX::String& text) const noexcept
    {
        return std::hash<std::string_view>{}(text);
    }
};

template <>
struct QX_API std::hash<QX::String16>
{
    /// Returns the hash of the units of the text.
    std::size_t operator()(const QX::String16& text) const noexcept;
};
