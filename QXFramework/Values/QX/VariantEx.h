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
// do strings that are stored or returned: a write through GetPointer of one holder is seen by all
// of them. No holder should resize such a buffer or overwrite the NUL of a text. If one does, every
// operation uses the buffer as it is at the call; a pointer to its bytes is valid until a resize.
// Several threads may call const operations at once while nobody resizes or writes.
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

    /// As Variant's, but for a kString: whether it is "true"; upper and lower case are the same.
    ///
    /// Throws, as the next four: std::bad_alloc for a kString whose last byte is not its first NUL,
    /// because it is copied.
    bool GetBool() const override;
    /// As Variant's, but for a kString: the number that it begins with, by the rules of atoi and
    /// within the limits of the type.
    int32 GetInt32() const override;
    /// As Variant's, but for a kString: the number that it begins with, by the rules of strtoull,
    /// taken as signed.
    int64 GetInt64() const override;
    /// As Variant's, but for a kString: the number that it begins with, by the rules of atof.
    float GetFloat() const override;
    double GetDouble() const override;

    /// As Variant's. The shared bytes are those of the buffer at the call, valid until this variant
    /// changes or any holder resizes the buffer.
    const void* GetConstPointer(uint32& size) const override;

protected:
    void* AllocBuffer(uint32 size) override;
    void FreeBuffer(void* block) override;

public:
    /// Returns GetString. Throws: std::bad_alloc.
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
    /// |                                  | in hexadecimal; a pointer of 32 bits is its upper  |
    /// |                                  | half                                               |
    /// | kString                          | the string up to its first NUL; it shares the data |
    /// |                                  | if that NUL is the last byte                       |
    ///
    /// Throws: std::bad_alloc.
    StringT<char> GetString() const;

    /// Returns a copy of GetString in which the five characters that XML reserves are replaced by
    /// their entities. It shares no data.
    ///
    /// Throws: std::bad_alloc.
    StringT<char> GetXMLString() const;

    /// Returns the data, lent for reading; the reference is valid until this variant changes.
    ///
    /// Throws: Exception<std::runtime_error> for other types than kBuffer and kString.
    const RCPtr<LIBuffer>& GetBuffer() const;

    using Variant::Set;

    /// Releases this variant's data and makes this variant equal to `other`. It shares the other's
    /// data, or has a copy of data that must not be shared; without memory for the copy's bytes it
    /// is empty. A variant set to itself stays as it is. Throws: std::bad_alloc and what the copy
    /// throws; this variant is then empty.
    Type Set(const VariantEx& other);
    /// Releases this variant's data and makes this variant a kString that shares the string's
    /// buffer. Of a locked string it takes the text, copied before the release. Throws:
    /// std::bad_alloc, for a locked string only; this variant is then unchanged.
    Type Set(const StringT<char>& text);
    /// Makes this variant a kBuffer with a copy of the bytes, made before its data is released;
    /// null leaves it empty, and so does a copy without memory for its bytes. Throws:
    /// std::bad_alloc; this variant is then unchanged.
    Type Set(const ConstRCPtr<LIBuffer>& bytes);

    using Variant::Deserialize;
    using Variant::Serialize;

    /// Writes the record of this variant into `out` from `offset` bytes on, and returns its length.
    /// A null `out` becomes a buffer of exactly offset + record bytes, and a smaller one grows to
    /// that size. Bytes before the offset stay; new ones are zero. If `out` is this
    /// variant's own buffer, it becomes a copy with the record.
    ///
    /// Requires: a kPointer or kConstPointer points to no bytes of `out`, which may move.
    /// Fails: kResultFailure (as uint32) for a sum that does not fit 32 bits; `out` is unchanged.
    /// Also for a pointer type without bytes, when `out` has been made or has grown; for a buffer
    /// of another class that does not grow; and when there is no memory: a buffer that could not
    /// grow has then lost its bytes; this variant's own is unchanged. Throws: std::bad_alloc; `out`
    /// is unchanged.
    uint32 Serialize(RCPtr<LIBuffer>& out, uint32 offset) const;

    /// As Variant::Deserialize into this variant. Without memory for the bytes of a record that was
    /// accepted, the result is 0 and this variant is empty. Throws: std::bad_alloc; this variant
    /// is then empty.
    uint32 Deserialize(const unsigned char* in, uint32 length);

    /// Returns whether type and value are equal: the byte of a kBool, the number (a NaN is not
    /// equal to itself), the address and size of a pointer, the bytes of data.
    bool operator==(const VariantEx& other) const;

    /// Returns whether this comes before `other`. An empty variant comes first, other values of two
    /// types are compared by GetDouble, and values of one type by value: pointers are less if the
    /// size or the address is less, buffers by size and then by bytes, strings by text. Every
    /// kConstBuffer is less than every kConstBuffer. Throws: std::bad_alloc, as GetDouble.
    bool operator<(const VariantEx& other) const;

    /// Returns -1 if this < other, else 1 if other < this, else 0. Throws: as operator<.
    int Compare(const VariantEx& other) const;

private:
    Type ShareData(Type type, const RCPtr<LIBuffer>& data);
    Type AdoptData(Type type);
    const void* GetBytes(uint32& size) const;
    std::string_view DataView() const;
    uint64 GetPointerBits() const;
    bool IsLessOfSameType(const VariantEx& other) const;

    RCPtr<LIBuffer> mData; ///< null unless the type is kBuffer, kString or kConstBuffer
};

} // namespace QX
