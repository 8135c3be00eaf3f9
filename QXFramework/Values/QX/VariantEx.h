// VariantEx.h - the variant for application code: shared data, text, parsing and comparison.
//
//     VariantEx value;
//     value.Set(" 42abc");        // kString
//     value.GetInt32();           // 42: text is parsed, where a Variant gives its length
//     VariantEx copy(value);      // shares the bytes
//     value.Set("a<b");           // `copy` keeps " 42abc"
//     value.GetXMLString();       // "a&lt;b"
//
// The bytes of kBuffer, kString and kConstBuffer are in a counted buffer. Copies share it, and so
// do strings that are set or got: a write through GetPointer of one holder is seen by all of them.
// Whoever resizes such a buffer or takes the terminator of a text away is in error. The operations
// of this class follow the buffer then and read nothing outside of it; pointers got before, and
// those that GetConstPointer, GetPointer and GetCStr give, are the caller's affair.
//
// The order below is for display: kPointer, kConstPointer, kConstBuffer, NaNs and mixed types have
// no strict weak order, so values that may hold them cannot be sorted or be keys of a map.
#pragma once

#include <QX/String.h>
#include <QX/Stringable.h>
#include <QX/Variant.h>

namespace QX {

class QX_API VariantEx : public Variant, public IStringable
{
public:
    /// An empty variant that exists before any dynamic initialisation.
    static const VariantEx Empty;

    constexpr VariantEx() noexcept {}
    /// A copy is Set(other).
    VariantEx(const VariantEx& other);
    VariantEx& operator=(const VariantEx& other);
    ~VariantEx() override;

    /// As Variant's, but of a kString: whether it is "true" in any case.
    bool GetBool() const override;
    /// As Variant's, but of a kString: the number that it begins with, by the rules of atoi and
    /// within the limits of the type.
    int32 GetInt32() const override;
    /// As Variant's, but of a kString: the number that it begins with, by the rules of strtoull,
    /// taken as signed.
    int64 GetInt64() const override;
    /// As Variant's, but of a kString: the number that it begins with, by the rules of atof.
    float GetFloat() const override;
    double GetDouble() const override;

protected:
    void* AllocBuffer(uint32 size) override;
    void FreeBuffer(void* block) override;

public:
    /// Returns GetString.
    StringT<char> ToString() const override;

    /// Returns the text of the value.
    ///
    /// | type                             | text                                               |
    /// |----------------------------------|----------------------------------------------------|
    /// | kEmpty, kConstBuffer             | ""                                                 |
    /// | kBool                            | "true" or "false"                                  |
    /// | kInt32, kInt64                   | decimal                                            |
    /// | kFloat, kDouble                  | with six decimals                                  |
    /// | kPointer, kConstPointer, kBuffer | the eight bytes of the value field as one number   |
    /// |                                  | in hexadecimal: of 32 bits, the pointer is above   |
    /// | kString                          | the string; it shares the data if it can           |
    StringT<char> GetString() const;

    /// Returns GetString with the five characters that XML reserves replaced by their entities.
    StringT<char> GetXMLString() const;

    /// Returns the data, lent for reading.
    ///
    /// Throws: Exception<std::runtime_error> for other types than kBuffer and kString.
    const RCPtr<LIBuffer>& GetBuffer() const;

    using Variant::Set;

    // Without memory for a copy of the bytes, the three leave this variant empty. Throws:
    // std::bad_alloc, with this variant unchanged.

    /// Makes this variant an equal one that shares the other's data, or has a copy of data that
    /// must not be shared.
    Type Set(const VariantEx& other);
    /// Makes this variant a kString that shares the string's buffer; of a locked string it takes
    /// the text.
    Type Set(const StringT<char>& text);
    /// Makes this variant a kBuffer with a copy of the bytes; null leaves it empty.
    Type Set(const ConstRCPtr<LIBuffer>& bytes);

    using Variant::Deserialize;
    using Variant::Serialize;

    /// Writes the record of this variant into `out` from `offset` on, and returns its length. A
    /// null `out` becomes a buffer that it just fits, and a smaller one grows; bytes before the
    /// offset stay, and are zero where there were none.
    ///
    /// Fails: kResultFailure (as uint32) for a sum beyond 32 bits, with `out` unchanged, for a
    /// pointer type without bytes, and for want of memory. A buffer that could not grow has lost
    /// its bytes then, except this variant's own, for which `out` stands unchanged.
    uint32 Serialize(RCPtr<LIBuffer>& out, uint32 offset) const;

    /// As Variant::Deserialize into this variant, which is empty if there was no memory for the
    /// bytes of a record that was understood.
    uint32 Deserialize(const unsigned char* in, uint32 length);

    /// Equal in type and value. Two truths with different bytes are different; pointers are equal
    /// in address and size, and data in its bytes.
    bool operator==(const VariantEx& other) const;

    /// Orders an empty variant first and other types by GetDouble; values of one type by value,
    /// pointers by size or address (either may decide), buffers by size and then by bytes, strings
    /// by text. Every kConstBuffer is less than every kConstBuffer.
    bool operator<(const VariantEx& other) const;

    /// Returns -1 if this < other, else 1 if other < this, else 0.
    int Compare(const VariantEx& other) const;

private:
    bool OwnsData() const { return GetType() > kConstPointer; }
    const VariantEx& Followed() const;
    Type AdoptData(Type type, RCPtr<LIBuffer>& data);
    std::string_view DataView() const;
    bool IsLessOfSameType(const VariantEx& other) const;

    RCPtr<LIBuffer> mData; ///< null unless the type is kBuffer, kString or kConstBuffer
};

} // namespace QX
