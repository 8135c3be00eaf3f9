// VariantExLentBufferTest.cpp - extended variants whose buffer another holder has resized: every
// operation uses the bytes that the buffer has at the call.

#include "VariantTestSupport.h"

#include <vector>

namespace QX {
namespace {

// A kBuffer of 200 bytes '7', which a string has adopted since: its buffer has got a NUL and, as
// it had no room for one, another block.
VariantEx MovedBytes()
{
    VariantEx variant = OfBytes(std::string(200, '7'));
    const String text(variant.GetBuffer());
    return variant;
}

// A kString of 200 characters '7' whose buffer has since moved, as large as before.
VariantEx MovedText()
{
    VariantEx variant = OfText(std::string(200, '7').c_str());
    variant.GetBuffer()->ResizeBytes(4000);
    variant.GetBuffer()->ResizeBytes(201);
    return variant;
}

TEST(VariantExLentBuffer, AccessorsGiveItsBlockAndSize)
{
    for (const Variant::Type type : {Variant::kBuffer, Variant::kString}) {
        for (const uint32 size : {0u, 1u, 201u, 4000u}) {
            SCOPED_TRACE(testing::Message() << type << " resized to " << size);
            VariantEx variant;
            variant.Set(type, std::string(200, '7').c_str(), 200);
            variant.GetBuffer()->ResizeBytes(size);
            void* const block = variant.GetBuffer()->GetRawPtr();
            uint32 constSize = 99;
            uint32 writableSize = 99;

            EXPECT_EQ(variant.GetConstPointer(constSize), block);
            EXPECT_EQ(constSize, size);
            EXPECT_EQ(variant.GetPointer(writableSize), block);
            EXPECT_EQ(writableSize, size);
            EXPECT_EQ(variant.GetCStr(), type == Variant::kString ? block : nullptr);
        }
    }
}

TEST(VariantExLentBuffer, OperationsReadItsBytes)
{
    for (const Variant::Type type : {Variant::kBuffer, Variant::kString}) {
        for (const uint32 size : {0u, 1u, 4000u}) {
            SCOPED_TRACE(testing::Message() << type << " resized to " << size);
            VariantEx variant;
            variant.Set(type, std::string(200, '7').c_str(), 200);
            variant.GetBuffer()->ResizeBytes(size);
            variant.GetBuffer()->FillN('7', 0, -1);
            const bool isText = type == Variant::kString;
            const std::string digits(size, '7');
            RCPtr<LIBuffer> record;

            EXPECT_EQ(variant.GetBool(), !isText && size != 0);
            EXPECT_EQ(variant.GetDouble() != 0.0, size != 0);
            EXPECT_EQ(variant.GetFloat() != 0.0f, size != 0);
            EXPECT_EQ(variant.GetInt32() != 0, size != 0);
            EXPECT_EQ(variant.GetInt64() != 0, size != 0);
            if (isText) {
                EXPECT_EQ(TextOf(variant.GetString()), digits);
            }
            EXPECT_EQ(variant.GetXMLString(), variant.GetString());
            EXPECT_TRUE(variant == variant);
            EXPECT_FALSE(variant < variant);
            EXPECT_EQ(variant.Compare(VariantEx(variant)), 0);
            EXPECT_EQ(variant.Serialize(record, 0), size + 12);
            EXPECT_EQ(BytesOf(variant), digits);
        }
    }
}

TEST(VariantExLentBuffer, OperationsOfTheBaseReadItsBytes)
{
    const struct
    {
        uint32 size;
        int32 number;
        int64 wide;
    } rows[] = {{0, 0, 0}, {1, '7', '7'}, {4000, 0x37373737, 0x3737373737373737}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.size);
        VariantEx bytes = OfBytes(std::string(200, '7'));
        VariantEx text = OfText("old");
        for (const VariantEx* const variant : {&bytes, &text}) {
            variant->GetBuffer()->ResizeBytes(row.size);
            variant->GetBuffer()->FillN('7', 0, -1);
        }
        const int32 length = row.size == 0 ? 0 : static_cast<int32>(row.size) - 1;
        const bool isShort = row.size == 1;

        EXPECT_EQ(bytes.Variant::GetBool(), row.size != 0);
        EXPECT_EQ(bytes.Variant::GetInt32(), isShort ? ByOrder(0x37, 0x37000000) : row.number);
        EXPECT_EQ(bytes.Variant::GetInt64(),
                  isShort ? ByOrder<int64>(0x37, 0x3700000000000000) : row.wide);
        EXPECT_EQ(text.Variant::GetBool(), length != 0);
        EXPECT_EQ(text.Variant::GetInt32(), length);
        EXPECT_EQ(text.Variant::GetInt64(), length);
    }
}

TEST(VariantExLentBuffer, StaticSerializeWritesItsBytes)
{
    unsigned char record[400];

    EXPECT_EQ(Variant::Serialize(MovedBytes(), record, sizeof record), 213u);

    EXPECT_EQ(std::string(record + 12, record + 212), std::string(200, '7'));
    EXPECT_EQ(record[212], 0);
}

TEST(VariantExLentBuffer, SettersTakeItsBytes)
{
    const std::string digits(200, '7');
    VariantEx variant = MovedBytes();
    EXPECT_EQ(variant.SetBuffer(PointerOf(variant), 200), Variant::kBuffer);
    EXPECT_EQ(BytesOf(variant), digits);

    variant = MovedBytes();
    EXPECT_EQ(variant.Set(Variant::kConstBuffer, PointerOf(variant), 200), Variant::kConstBuffer);
    EXPECT_EQ(BytesOf(variant), digits);

    variant = MovedText();
    EXPECT_EQ(variant.Set(variant.GetCStr()), Variant::kString);
    EXPECT_EQ(TextOf(variant.GetString()), digits);

    variant = MovedText();
    EXPECT_EQ(variant.Set(variant.GetBuffer()), Variant::kBuffer);
    EXPECT_EQ(BytesOf(variant), std::string(digits.c_str(), 201));
}

TEST(VariantExLentBuffer, DeserializeReadsARecordInItsBytes)
{
    const std::string digits(200, '7');
    for (const bool isStatic : {false, true}) {
        RCPtr<LIBuffer> record;
        OfBytes(digits).Serialize(record, 0);
        VariantEx variant;
        variant.Set(record);
        variant.GetBuffer()->ResizeBytes(4000);
        const auto* const own = static_cast<const unsigned char*>(PointerOf(variant));

        EXPECT_EQ(isStatic ? Variant::Deserialize(variant, own, 4000)
                           : variant.Deserialize(own, 4000),
                  0u);

        EXPECT_EQ(BytesOf(variant), digits);
    }
}

TEST(VariantExLentBuffer, TheTextOfABufferIsItsNewAddress)
{
    const VariantEx variant = MovedBytes();
    VariantEx expected;
    expected.SetConstPointer(variant.GetBuffer()->GetRawPtr(), 4);

    EXPECT_EQ(variant.GetString(), expected.GetString());
}

TEST(VariantExLentBuffer, HasNoBytesAfterARefusedResize)
{
    const VariantEx variant =
        OfString(HookedBuffer::Create(std::string_view("7.5", 4), {.refusesGrowth = true}));

    variant.GetBuffer()->ResizeBytes(100);

    EXPECT_EQ(BytesOf(variant), "");
    EXPECT_EQ(TextOf(variant.GetString()), "");
    EXPECT_EQ(variant.GetDouble(), 0.0);
}

TEST(VariantExLentBuffer, AnAdoptingStringTrimsIt)
{
    const VariantEx variant = OfBytes(std::string_view("ab\0cdef", 7));

    const String text(variant.GetBuffer());

    EXPECT_EQ(BytesOf(variant), std::string("ab\0", 3));
    EXPECT_EQ(TextOf(text), "ab");
}

} // namespace
} // namespace QX
