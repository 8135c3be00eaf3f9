// Variant.h - a small tagged value: a scalar, a pointer, a block of bytes or a string.
//
//     Variant value;
//     value.Set("abc");                       // kString, size 4: the NUL counts
//     value.GetInt32();                       // 3, its length; text is never parsed here
//     double gain = 2.5;
//     value.Set(Variant::kDouble, &gain, 8);  // the string's block is released first
//     value.GetInt32();                       // 3, rounded half away from zero
//
// Every getter answers for every type: a conversion that does not exist gives 0, false or null.
// kBuffer, kString and kConstBuffer own their block. It comes from AllocBuffer and goes back
// through FreeBuffer. A derived class that keeps its blocks elsewhere overrides these two; if such
// a block can move, it overrides GetConstPointer too, which everything that reads the block asks.
//
// A variant is not copyable. Several threads may call const operations at once; anything else
// needs a lock.
#pragma once

#include <QX/Types.h>

namespace QX {

class QX_API Variant
{
public:
    /// The values are part of the serialized record.
    enum Type : uint32
    {
        kEmpty = 0,
        kBool = 1,         ///< one byte, zero or not
        kInt32 = 2,        ///< signed
        kInt64 = 3,        ///< signed
        kFloat = 4,        ///< 32 bits
        kDouble = 5,       ///< 64 bits
        kPointer = 6,      ///< the caller's memory, writable
        kConstPointer = 7, ///< the caller's memory, read-only
        kBuffer = 8,       ///< an owned block, writable
        kString = 9,       ///< an owned string; its size counts the terminating NUL
        kConstBuffer = 10, ///< an owned block, read-only
    };

    /// Makes an empty variant.
    Variant() noexcept = default;
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;

    // Slot order is fixed; append only.

    /// Releases an owned block through this class's FreeBuffer. A derived class that overrides
    /// AllocBuffer and FreeBuffer calls Clear in its own destructor: here its FreeBuffer is gone.
    virtual ~Variant();

    /// Returns whether the number differs from zero (a NaN does), the pointer is not null, the
    /// buffer has bytes, or the string has characters.
    virtual bool GetBool() const;

    /// Returns the value as a signed integer.
    ///
    /// | type                             | GetInt32                 | GetInt64              |
    /// |----------------------------------|--------------------------|-----------------------|
    /// | kBool                            | the byte, 0 to 255       | the same              |
    /// | kInt32, kInt64                   | the low 32 bits          | sign-extended         |
    /// | kFloat, kDouble                  | rounded half away from 0 | the same              |
    /// | kPointer, kConstPointer, kBuffer | the first 4 bytes        | the first 8 bytes     |
    /// | kString                          | the string's length      | the same              |
    /// | kEmpty, kConstBuffer             | 0                        | 0                     |
    ///
    /// Rounding adds or subtracts 0.5 and truncates; GetInt64 of a float does so in single
    /// precision. A number outside the result's type becomes its nearest limit, and a NaN its
    /// lowest value. The bytes are read in the machine's order; missing ones count as zero.
    virtual int32 GetInt32() const;
    virtual int64 GetInt64() const;

    /// Returns a scalar converted to the floating type. For a pointer, a buffer or a string it
    /// converts the result of GetInt32 (to float) or GetInt64 (to double).
    virtual float GetFloat() const;
    virtual double GetDouble() const;

    /// Returns the address of the value's bytes and stores their number in `size`; null and 0 for
    /// an empty variant. The variant keeps the bytes, or for kPointer and kConstPointer the caller;
    /// the variant's own are valid until it changes.
    virtual const void* GetConstPointer(uint32& size) const;

    /// As GetConstPointer, for writing: null and 0 for read-only types.
    ///
    /// Unlike GetConstPointer, it reports 4 bytes for every scalar type.
    virtual void* GetPointer(uint32& size);

    /// Returns the text of a kString, valid as GetConstPointer's bytes are, else null.
    virtual const char* GetCStr() const;

protected:
    /// Returns a block of `size` bytes, which may be 0.
    ///
    /// Null for a size above 0 means that there is no memory: the variant is then empty, and
    /// FreeBuffer is not called for that block. An exception passes through the setter, which has
    /// emptied the variant before.
    virtual void* AllocBuffer(uint32 size);

    /// Takes back what AllocBuffer returned, which can be null for 0 bytes.
    virtual void FreeBuffer(void* block);

public:
    /// Returns the type of the value that the variant holds.
    Type GetType() const noexcept { return mType; }

    // Every setter releases an owned block, empties the variant, and then stores the new value. Its
    // source may lie in the variant itself or in the block that it releases. It returns the
    // resulting type: kEmpty when there was nothing that it could store.

    /// Stores a copy of `size` bytes at `data` as a value of `type`.
    ///
    /// A scalar needs exactly its size: 1, 4 or 8. The pointer types never keep the caller's
    /// pointer: they become a kBuffer with a copy. A kString is read up to its NUL whatever `size`
    /// says. Any other type leaves the variant empty. Throws: std::bad_alloc; the variant is then
    /// empty.
    Type Set(Type type, const void* data, uint32 size);

    /// Stores a copy of `text` with its NUL as a kString. Null leaves the variant empty, and so
    /// does a text whose size does not fit 32 bits. Throws: std::bad_alloc; the variant is then
    /// empty.
    Type Set(const char* text);

    /// Stores a copy of `size` bytes at `data` as a kBuffer. No bytes make an empty kBuffer; null
    /// with a size above 0 leaves the variant empty. Throws: std::bad_alloc; the variant is then
    /// empty.
    Type SetBuffer(const void* data, uint32 size);

    /// Stores the caller's pointer as a kPointer or a kConstPointer; the memory stays the caller's.
    ///
    /// Requires: the memory outlives the value. A pointer into the variant's own block does not:
    /// the block is released here.
    Type SetPointer(void* data, uint32 size);
    Type SetConstPointer(const void* data, uint32 size);

    /// Writes `value` to `out` as a record: 12 bytes of header (the record's length, zero, the
    /// type) and the value's bytes, little-endian on every machine. Returns the record's length.
    ///
    /// `out` may overlap the value's bytes. Fails: kResultFailure (as uint32) for a `capacity`
    /// below the record's length, for a null `out`, for a kPointer or kConstPointer without bytes,
    /// for a length whose bytes are at null, and for a record's length that does not fit 32 bits or
    /// is the failure code itself (0x80000008); nothing is written.
    static uint32 Serialize(const Variant& value, unsigned char* out, uint32 capacity);

    /// Sets `value` from the record in the `length` bytes at `in`; bytes after the record are
    /// ignored. Returns 0.
    ///
    /// The pointer types arrive as a kBuffer. A scalar whose length does not fit its type is
    /// accepted and gives an empty variant. `in` may lie in the value's own block. Fails:
    /// kResultFailure (as uint32) for a null `in` and for a record that is cut short, malformed or
    /// of an unknown type; `value` is unchanged. Throws: std::bad_alloc, for a record that was
    /// accepted; `value` is then empty.
    static uint32 Deserialize(Variant& value, const unsigned char* in, uint32 length);

protected:
    /// Releases an owned block and makes the variant empty.
    void Clear();

    /// Stores `type`, one of kPointer to kConstBuffer, with its pointer and size, and returns it.
    /// Nothing is copied.
    ///
    /// Requires: the variant is empty. If the type owns its block, FreeBuffer can release it.
    Type Adopt(Type type, const void* data, uint32 size);

    /// Stores a copy of the value, size and type fields of `other`, with its pointer as it is.
    ///
    /// Requires: the variant is empty, and `other` owns no block.
    void CopyFields(const Variant& other);

    /// Returns whether the type is kBuffer, kString or kConstBuffer.
    bool OwnsBlock() const noexcept { return mType > kConstPointer; }

private:
    void* GetBlock() const;
    uint32 GetDataSize() const;
    uint32 GetTextLength() const;
    bool OverlapsStorage(const void* data, uint32 size) const;
    template <class Word>
    Type StoreScalar(Type type, Word word);
    Type SetScalar(Type type, const void* data, uint32 size);
    Type SetCopy(Type type, const void* data, uint32 size);
    template <class T>
    T LoadValue() const;
    template <class T>
    T LoadFromData() const;

    // Bytes instead of a union: eight-byte alignment would widen the object on 32-bit machines.
    unsigned char mValue[8] = {}; ///< the scalar, or the data pointer in the first word
    uint32 mSize = 0;             ///< the data's length; 0 for scalars
    Type mType = kEmpty;
};

static_assert(sizeof(Variant) == sizeof(void*) + 16);

} // namespace QX
