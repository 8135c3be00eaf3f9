// SetParamMessageTest.cpp - the bytes of a set-parameter message.

#include "DriverPlugIn/DeviceMessageSerializer.h"
#include "DriverPlugIn/Support/Bytes.h"
#include "DriverPlugIn/Support/PlugInFixture.h"

#include <cstring>
#include <type_traits>

namespace {

static_assert(!std::is_default_constructible_v<DeviceMessageSerializer>);

/// Fails to serialize, with a size of the test's choice.
class OddVariant : public QX::Variant
{
public:
    OddVariant(const void* data, UInt32 size)
        : mData(data)
        , mOddSize(size)
    {}

    const void* GetConstPointer(UInt32& size) const override
    {
        size = mOddSize;
        return mData;
    }

private:
    const void* mData;
    UInt32 mOddSize;
};

/// A buffer that keeps its size, whatever it is asked, in a block of 64 bytes.
class StubbornBuffer : public QX::BufferT<1, 128, 8>, public QX::LIBuffer
{
public:
    explicit StubbornBuffer(UInt32 size)
        : BufferT(64, 0, true)
    {
        BufferT::ResizeBytes(size);
    }

    QX::int32 SetSizeBytes(QX::uint32) override { return static_cast<QX::int32>(GetSizeBytes()); }

    using LIBuffer::CreateCopy;
    QX::RCPtr<QX::LIBuffer> CreateCopy(QX::uint32, QX::uint32) const override { return nullptr; }
};

QX::RCPtr<QX::LIBuffer> MakeBuffer(UInt32 size = 0)
{
    return QX::LByteBuffer::Create(size, 0, true);
}

std::string GetBytes(const QX::RCPtr<QX::LIBuffer>& buffer)
{
    return std::string(static_cast<const char*>(buffer->GetRawPtr()), buffer->GetSizeBytes());
}

class SetParamMessage : public PlugInFixture
{
protected:
    static UInt32 Create(UInt32 parameter, const QX::Variant& value,
                         const QX::RCPtr<QX::LIBuffer>& buffer)
    {
        return DeviceMessageSerializer::CreateSetParamMessage(parameter, value, buffer);
    }

    QX::Variant mValue;
};

TEST_F(SetParamMessage, AnIntegerMakes28Bytes)
{
    const SInt32 one = 1;
    mValue.Set(QX::Variant::kInt32, &one, 4);
    const auto buffer = MakeBuffer();

    EXPECT_EQ(Create(0xFFFFFF05, mValue, buffer), 16u);

    EXPECT_EQ(ToHex(GetBytes(buffer)),
              kIsBigEndian ? "0000001C 00000000 FFFFFF05 10000000 00000000 02000000 01000000"
                           : "1C000000 00000000 05FFFFFF 10000000 00000000 02000000 01000000");
}

TEST_F(SetParamMessage, AnyValueMakes24BytesMoreThanItsData)
{
    const double number = 1.0;
    const std::string bytes(1000, 'x');
    const auto buffer = MakeBuffer();

    EXPECT_EQ(Create(1, mValue, buffer), 12u);
    EXPECT_EQ(buffer->GetSizeBytes(), 24u);
    mValue.Set(QX::Variant::kDouble, &number, 8);
    EXPECT_EQ(Create(1, mValue, buffer), 20u);
    EXPECT_EQ(buffer->GetSizeBytes(), 32u);
    mValue.Set("abc");
    EXPECT_EQ(Create(1, mValue, buffer), 16u);
    EXPECT_EQ(buffer->GetSizeBytes(), 28u);
    mValue.SetBuffer(bytes.data(), 1000);
    EXPECT_EQ(Create(1, mValue, buffer), 1012u);
    EXPECT_EQ(buffer->GetSizeBytes(), 1024u);
    EXPECT_EQ(GetBytes(buffer).substr(24), bytes);
}

TEST_F(SetParamMessage, NullBufferIsRefused)
{
    EXPECT_EQ(Create(1, mValue, QX::RCPtr<QX::LIBuffer>()), 0x80000008u);
}

TEST_F(SetParamMessage, BufferThatStaysTooSmallIsRefusedAndNotWritten)
{
    for (UInt32 size = 0; size < 24; ++size) {
        SCOPED_TRACE(size);
        const QX::RCPtr<QX::LIBuffer> buffer(new StubbornBuffer(size));

        EXPECT_EQ(Create(1, mValue, buffer), 0x80000008u);
        EXPECT_EQ(std::string(static_cast<const char*>(buffer->GetRawPtr()), 64),
                  std::string(64, '\0'));
    }
}

TEST_F(SetParamMessage, LengthAbove32BitsIsRefusedAndTheBufferStays)
{
    const auto buffer = MakeBuffer(4);

    for (const UInt32 size : {0xFFFFFFE8u, 0xFFFFFFF0u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(size);
        EXPECT_EQ(Create(1, OddVariant("", size), buffer), 0x80000008u);
        EXPECT_EQ(ToHex(GetBytes(buffer)), "00000000");
    }
}

TEST_F(SetParamMessage, LargestMessageIsRequestedAndItsBufferIsFilledAgain)
{
    const auto buffer = MakeBuffer(4);
    PlatformCalls::RefuseMemory(0xFFFFFFFF);

    EXPECT_EQ(Create(1, OddVariant("", 0xFFFFFFE7), buffer), 0x80000008u);

    EXPECT_EQ(buffer->GetSizeBytes(), 0xFFFFFFFFu);
    EXPECT_EQ(buffer->GetRawPtr(), nullptr);
    const SInt32 one = 1;
    mValue.Set(QX::Variant::kInt32, &one, 4);
    EXPECT_EQ(Create(1, mValue, buffer), 16u);
    EXPECT_EQ(buffer->GetSizeBytes(), 28u);
}

TEST_F(SetParamMessage, BufferThatFoundNoMemoryIsFilledAgain)
{
    const auto buffer = MakeBuffer();
    PlatformCalls::RefuseMemory(24);

    EXPECT_EQ(Create(1, mValue, buffer), 0x80000008u);

    EXPECT_EQ(buffer->GetRawPtr(), nullptr);
    EXPECT_EQ(Create(1, mValue, buffer), 12u);
    EXPECT_EQ(buffer->GetSizeBytes(), 24u);
}

TEST_F(SetParamMessage, ValueInsideTheBufferIsRefusedAndTheBufferStays)
{
    const auto buffer = MakeBuffer(8);
    const auto* const bytes = static_cast<const char*>(buffer->GetRawPtr());

    EXPECT_EQ(Create(1, OddVariant(bytes, 8), buffer), 0x80000008u);
    EXPECT_EQ(Create(1, OddVariant(bytes + 7, 1), buffer), 0x80000008u);

    EXPECT_EQ(ToHex(GetBytes(buffer)), "00000000 00000000");
}

TEST_F(SetParamMessage, ValueThatDoesNotSerializeLeavesItsBytesUninitialised)
{
    QX::Variant pointer;
    pointer.SetPointer(&pointer, 0);
    const auto buffer = MakeBuffer();
    PlatformCalls::PoisonAllocations();

    EXPECT_EQ(Create(0xFFFFFF05, pointer, buffer), 0x80000008u);

    EXPECT_EQ(ToHex(GetBytes(buffer)),
              kIsBigEndian ? "00000018 00000000 FFFFFF05 A5A5A5A5 A5A5A5A5 A5A5A5A5"
                           : "18000000 00000000 05FFFFFF A5A5A5A5 A5A5A5A5 A5A5A5A5");
}

} // namespace
