// BufferLayoutTest.cpp - slots, fields and bases of the buffers, which other binaries rely on.

#include "Support/VirtualSlots.h"

#include <QX/Buffer.h>

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

namespace {

using QX::IBuffer;
using QX::LBufferT;
using QX::LByteBuffer;
using QX::LIBuffer;
using QX::LRefCountedObject;
using QX::RCPtr;
using QX::uint32;
using TestSupport::SlotOf;

using Buffer = QX::BufferT<1, 0, 8>;

static_assert(std::is_base_of_v<IBuffer, Buffer>);
static_assert(std::is_base_of_v<Buffer, LByteBuffer>);
static_assert(std::is_base_of_v<LIBuffer, LByteBuffer>);
static_assert(std::is_base_of_v<LRefCountedObject, LIBuffer>);
static_assert(!std::is_copy_assignable_v<LByteBuffer> &&
              !std::is_copy_constructible_v<LByteBuffer>);
// A counted buffer outside the heap would delete itself with its last smart pointer.
static_assert(!std::is_constructible_v<LByteBuffer, uint32, uint32, bool>);
static_assert(std::is_abstract_v<LIBuffer>);

// Only a virtual base cannot be left again by a static cast.
template <class From, class To>
concept CanStaticCast = requires(From* from)
{
    static_cast<To*>(from);
};
static_assert(!CanStaticCast<IBuffer, Buffer>);
static_assert(!CanStaticCast<IBuffer, LIBuffer>);
static_assert(!CanStaticCast<LRefCountedObject, LIBuffer>);
static_assert(CanStaticCast<Buffer, LByteBuffer>);
static_assert(CanStaticCast<LIBuffer, LByteBuffer>);

static_assert(std::is_same_v<decltype(&IBuffer::GetSizeBytes), uint32 (IBuffer::*)() const>);
static_assert(std::is_same_v<decltype(&IBuffer::SetSizeBytes), QX::int32 (IBuffer::*)(uint32)>);
static_assert(std::is_same_v<decltype(&IBuffer::GetAllocatedSize), uint32 (IBuffer::*)() const>);
static_assert(std::is_same_v<decltype(&IBuffer::GetRawPtr), void* (IBuffer::*)()>);

class AppendedInterface : public IBuffer
{
public:
    virtual void Appended() {}
};

TEST(BufferLayout, TheInterfaceKeepsItsOperationsInTheirSlots)
{
    EXPECT_EQ(SlotOf(&IBuffer::GetSizeBytes), 0u);
    EXPECT_EQ(SlotOf(&IBuffer::SetSizeBytes), 1u);
    EXPECT_EQ(SlotOf(&IBuffer::ResizeBytes), 2u);
    EXPECT_EQ(SlotOf(&IBuffer::FillN), 3u);
    EXPECT_EQ(SlotOf(&IBuffer::FillW), 4u);
    EXPECT_EQ(SlotOf(&IBuffer::GetAllocatedSize), 5u);
    EXPECT_EQ(SlotOf(&IBuffer::GetRawPtr), 6u);
    EXPECT_EQ(SlotOf(&AppendedInterface::Appended), 9u) << "7 and 8 are the destructor's";
}

TEST(BufferLayout, TheCountedBufferAppendsItsTwoCopies)
{
    using Whole = RCPtr<LRefCountedObject> (LByteBuffer::*)() const;
    using Part = RCPtr<LIBuffer> (LByteBuffer::*)(uint32, uint32) const;

    EXPECT_EQ(SlotOf(static_cast<Whole>(&LByteBuffer::CreateCopy)), 9u);
    EXPECT_EQ(SlotOf(static_cast<Part>(&LByteBuffer::CreateCopy)), 10u);
}

TEST(BufferLayout, FieldsLieInOrderAfterTheTable)
{
    struct Fields
    {
        char* data;
        uint32 size;
        void* block;
        uint32 allocatedSize;
    };
    QX::BufferT<1, 128, 8> buffer(3, 5, true);
    Fields fields;

    std::memcpy(&fields, reinterpret_cast<const char*>(&buffer) + sizeof(void*), sizeof(fields));

    EXPECT_EQ(sizeof(buffer), sizeof(void*) + sizeof(Fields));
    EXPECT_EQ(fields.data, buffer.GetRawPtr());
    EXPECT_EQ(fields.size, 3u);
    EXPECT_EQ(fields.block, buffer.GetRawPtr());
    EXPECT_EQ(fields.allocatedSize, 5u);
}

} // namespace
