// VariantSerializeTest.cpp - the bytes of every type's record, and what cannot be written.

#include <QX/Variant.h>

#include "VariantRecords.h"

#include <algorithm>

namespace QX {
namespace {

// 0x01020304 bytes in all, so that each byte of the length tells where it is.
TEST(VariantSerialize, WritesAndReadsEveryByteOfALength)
{
    const Bytes data(0x01020304 - 12, 0x5A);
    Variant value;
    value.SetConstPointer(data.data(), static_cast<uint32>(data.size()));
    Bytes out(0x01020304, 0xA5);

    EXPECT_EQ(Variant::Serialize(value, out.data(), 0x01020304), 0x01020304u);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 13), FromHex("04030201 00000000 07000000 5A"));

    Variant read;
    EXPECT_EQ(Variant::Deserialize(read, out.data(), 0x01020303), kFailed);
    EXPECT_EQ(Variant::Deserialize(read, out.data(), 0x01020304), 0u);
    uint32 size = 0;
    read.GetConstPointer(size);
    EXPECT_EQ(size, 0x010202F8u);
}

TEST(VariantSerialize, WritesTheRecordOfEveryTypeOrNothing)
{
    for (const RecordRow& row : WrittenRecords()) {
        Variant value;
        row.set(value);
        const Bytes record = FromHex(row.record);
        for (uint32 capacity = 0; capacity <= record.size() + 4; ++capacity) {
            SCOPED_TRACE(std::string(row.what) + ", capacity " + std::to_string(capacity));
            const GuardedBytes out(Bytes(capacity, 0xA5));
            Bytes expected(capacity, 0xA5);
            const bool fits = capacity >= record.size();
            if (fits)
                std::copy(record.begin(), record.end(), expected.begin());

            const uint32 total = Variant::Serialize(value, out.Get(), capacity);

            EXPECT_EQ(total, fits ? record.size() : kFailed);
            EXPECT_EQ(Bytes(out.Get(), out.Get() + capacity), expected);
        }
    }
}

TEST(VariantSerialize, RefusesANullOutput)
{
    const Variant value;

    EXPECT_EQ(Variant::Serialize(value, nullptr, 100), 0x80000008u);
}

TEST(VariantSerialize, RefusesAPointerWithoutBytes)
{
    unsigned char out[32];
    std::memset(out, 0xA5, sizeof out);
    char memory[1] = {};
    Variant value;
    value.SetPointer(memory, 0);
    EXPECT_EQ(Variant::Serialize(value, out, sizeof out), kFailed);
    value.SetConstPointer(memory, 0);
    EXPECT_EQ(Variant::Serialize(value, out, sizeof out), kFailed);
    value.SetPointer(nullptr, 0);
    EXPECT_EQ(Variant::Serialize(value, out, sizeof out), kFailed);
    value.SetConstPointer(nullptr, 8);
    EXPECT_EQ(Variant::Serialize(value, out, sizeof out), kFailed);

    EXPECT_EQ(Bytes(out, out + sizeof out), Bytes(sizeof out, 0xA5));
}

TEST(VariantSerialize, RefusesALengthThatTheHeaderCannotHold)
{
    unsigned char byte = 1;
    unsigned char out[32];
    std::memset(out, 0xA5, sizeof out);
    ReportingVariant value;
    SetScalar(value, Variant::kInt32, int32{1});
    value.mData = &byte;
    // The sum wraps, or is the failure code itself.
    for (const uint32 size : {0xFFFFFFF4u, 0xFFFFFFF8u, 0xFFFFFFFFu, 0x7FFFFFFCu}) {
        SCOPED_TRACE(size);
        value.mSize = size;

        EXPECT_EQ(Variant::Serialize(value, out, 0xFFFFFFFFu), kFailed);
        EXPECT_EQ(Variant::Serialize(value, out, sizeof out), kFailed);
    }
    value.mSize = 0xFFFFFFF3u;
    EXPECT_EQ(Variant::Serialize(value, out, sizeof out), kFailed);

    EXPECT_EQ(Bytes(out, out + sizeof out), Bytes(sizeof out, 0xA5));
}

TEST(VariantSerialize, RefusesALengthWithoutBytes)
{
    unsigned char out[32];
    std::memset(out, 0xA5, sizeof out);
    ReportingVariant value;
    value.Set(Variant::kBuffer, "abc", 3);
    value.mSize = 1;

    EXPECT_EQ(Variant::Serialize(value, out, sizeof out), kFailed);
    EXPECT_EQ(Bytes(out, out + sizeof out), Bytes(sizeof out, 0xA5));
}

TEST(VariantSerialize, SwapsAScalarByItsLength)
{
    const struct
    {
        uint32 size;
        const char* little;
        const char* big;
    } rows[] = {
        {1, "01", "01"},
        {2, "0102", "0201"},
        {3, "010203", "010203"},
        {4, "01020304", "04030201"},
        {5, "0102030405", "0102030405"},
        {8, "0102030405060708", "0807060504030201"},
        {9, "010203040506070809", "010203040506070809"},
    };
    const unsigned char bytes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.size);
        ReportingVariant value;
        SetScalar(value, Variant::kInt32, int32{1});
        value.mData = bytes;
        value.mSize = row.size;
        unsigned char out[32];

        EXPECT_EQ(Variant::Serialize(value, out, sizeof out), row.size + 12);
        EXPECT_EQ(Bytes(out + 8, out + 12), FromHex("02000000"));
        EXPECT_EQ(Bytes(out + 12, out + 12 + row.size),
                  FromHex(ByOrder<const char*>(row.little, row.big)));
    }
}

TEST(VariantSerialize, AScalarWithoutBytesIsABareHeader)
{
    ReportingVariant value;
    SetScalar(value, Variant::kInt32, int32{1});
    unsigned char out[12];

    EXPECT_EQ(Variant::Serialize(value, out, sizeof out), 12u);
    EXPECT_EQ(Bytes(out, out + 12), FromHex("0C000000 00000000 02000000"));
}

TEST(VariantSerialize, WritesOverTheValuesOwnBytes)
{
    // The value's bytes stand at 12 in the array, the record goes to each place around them.
    for (size_t start = 0; start <= 24; ++start) {
        SCOPED_TRACE(start);
        Bytes memory(64, 0xA5);
        std::memcpy(memory.data() + 12, "0123456789", 10);
        Variant value;
        value.SetPointer(memory.data() + 12, 10);
        Bytes expected = memory;
        const Bytes record = FromHex("16000000 00000000 06000000 30313233343536373839");
        std::copy(record.begin(), record.end(), expected.begin() + static_cast<ptrdiff_t>(start));

        EXPECT_EQ(Variant::Serialize(value, memory.data() + start, 22), 22u);

        EXPECT_EQ(memory, expected);
    }
}

} // namespace
} // namespace QX
