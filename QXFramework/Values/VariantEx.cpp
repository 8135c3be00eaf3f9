// VariantEx.cpp - shared data of extended variants, and their records.

#include <QX/VariantEx.h>

#include <QX/ThrowSites.h>

namespace QX {

namespace {

// Returns whether there is no buffer, or one whose bytes the heap has refused.
bool HasNoMemory(const RCPtr<LIBuffer>& buffer)
{
    return buffer == nullptr || (buffer->GetSizeBytes() != 0 && buffer->GetRawPtr() == nullptr);
}

// Makes `record` at least `size` bytes large. Its bytes stay; new bytes before `offset` are zero.
void MakeRoom(RCPtr<LIBuffer>& record, uint32 offset, uint32 size)
{
    if (record == nullptr) {
        record = LByteBuffer::Create(size, 0, true);
        return;
    }
    // A buffer whose bytes the heap has refused has none to keep, whatever its size is.
    const uint32 oldSize = HasNoMemory(record) ? 0 : record->GetSizeBytes();
    if (oldSize >= size) {
        return;
    }
    record->ResizeBytes(size);
    if (oldSize < offset && record->GetRawPtr() != nullptr) {
        record->FillN(0, oldSize, static_cast<int>(offset - oldSize));
    }
}

} // namespace

constinit const VariantEx VariantEx::Empty;

VariantEx::VariantEx(const VariantEx& other)
{
    Set(other);
}

VariantEx& VariantEx::operator=(const VariantEx& other)
{
    Set(other);
    return *this;
}

VariantEx::~VariantEx()
{
    Clear();
}

void* VariantEx::AllocBuffer(uint32 size)
{
    mData = LTextBuffer::Create(size, 0, true);
    void* const block = mData->GetRawPtr();
    if (block == nullptr && size != 0) {
        mData = nullptr;
    }
    return block;
}

void VariantEx::FreeBuffer(void*)
{
    RCPtr<LIBuffer> released;
    released.Swap(mData);
}

StringT<char> VariantEx::ToString() const
{
    return GetString();
}

const RCPtr<LIBuffer>& VariantEx::GetBuffer() const
{
    if (GetType() != kBuffer && GetType() != kString) {
        ThrowException<std::runtime_error>("", ThrowSites::kVariantExGetBuffer);
    }
    return mData;
}

const void* VariantEx::GetConstPointer(uint32& size) const
{
    return OwnsBlock() ? GetBytes(size) : Variant::GetConstPointer(size);
}

Variant::Type VariantEx::Set(const VariantEx& other)
{
    if (this == &other) {
        return GetType();
    }
    Clear();
    if (!other.OwnsBlock()) {
        CopyFields(other);
        return GetType();
    }
    return ShareData(other.GetType(), other.mData);
}

Variant::Type VariantEx::Set(const StringT<char>& text)
{
    if (text.IsLocked()) {
        return Set(String(text)); // a copy is unlocked and as long as the text
    }
    Clear();
    return ShareData(kString, text.GetBuffer());
}

Variant::Type VariantEx::Set(const ConstRCPtr<LIBuffer>& bytes)
{
    // Copied before the release: this variant's own buffer may be the source.
    RCPtr<LIBuffer> copy;
    if (bytes != nullptr) {
        copy = bytes->CreateCopy(bytes->GetSizeBytes(), 0);
    }
    Clear();
    if (HasNoMemory(copy)) {
        return GetType();
    }
    mData.Swap(copy);
    return AdoptData(kBuffer);
}

uint32 VariantEx::Serialize(RCPtr<LIBuffer>& out, uint32 offset) const
{
    constexpr uint32 kHeaderSize = 12;
    uint32 length = 0;
    GetConstPointer(length);
    const uint64 needed = uint64{length} + kHeaderSize + offset;
    if (needed > kUInt32Limit) {
        return static_cast<uint32>(kResultFailure);
    }
    const auto size = static_cast<uint32>(needed);
    if (out != nullptr && out == mData) {
        // Growing it would move the bytes that are to be written.
        const RCPtr<LIBuffer> own = out->CreateCopy(size, 0);
        if (HasNoMemory(own)) {
            return static_cast<uint32>(kResultFailure);
        }
        out = own;
    } else {
        MakeRoom(out, offset, size);
    }
    // Without memory, or in a buffer that has not grown so far, the pointer is null and refused.
    return Variant::Serialize(*this, out->GetPtr<unsigned char>(offset),
                              out->GetSizeBytes() - offset);
}

uint32 VariantEx::Deserialize(const unsigned char* in, uint32 length)
{
    return Variant::Deserialize(*this, in, length);
}

// Takes `data`, or a copy of data that must not be shared, as the data of an owning type. Without
// memory for the copy this variant stays empty.
//
// Requires: this variant is empty.
Variant::Type VariantEx::ShareData(Type type, const RCPtr<LIBuffer>& data)
{
    mData = data;
    if (mData != data && HasNoMemory(mData)) {
        mData = nullptr;
        return GetType();
    }
    return AdoptData(type);
}

// Makes this variant one of an owning type whose bytes are in mData.
Variant::Type VariantEx::AdoptData(Type type)
{
    uint32 size = 0;
    const void* const bytes = GetBytes(size);
    return Adopt(type, bytes, size);
}

// Returns the block of the data buffer and stores its size; null and 0 when there is none.
const void* VariantEx::GetBytes(uint32& size) const
{
    void* const block = mData != nullptr ? mData->GetRawPtr() : nullptr;
    size = block != nullptr ? mData->GetSizeBytes() : 0;
    return block;
}

// Returns the bytes of the data, or of the value of another type.
std::string_view VariantEx::DataView() const
{
    uint32 size = 0;
    const void* const bytes = GetConstPointer(size);
    return {static_cast<const char*>(bytes), size};
}

} // namespace QX
