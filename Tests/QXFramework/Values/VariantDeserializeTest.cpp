// VariantDeserializeTest.cpp - what a record gives, and which records are refused.

#include <QX/Variant.h>

#include "VariantRecords.h"

namespace QX {
namespace {

// Expects that `record` is refused, from memory that ends with it, and changes nothing.
void ExpectRefused(const Bytes& record)
{
    const GuardedBytes guarded(record);
    std::string journal;
    JournalVariant value(journal);
    value.Set("kept");
    const char* const text = value.GetCStr();

    EXPECT_EQ(Variant::Deserialize(value, guarded.Get(), static_cast<uint32>(record.size())),
              0x80000008u);
    EXPECT_EQ(value.GetType(), Variant::kString);
    EXPECT_EQ(value.GetCStr(), text);
    EXPECT_STREQ(value.GetCStr(), "kept");
    EXPECT_EQ(journal, "alloc 5 ");
}

TEST(VariantDeserialize, UnderstandsTheRecordOfEveryTypeWhateverFollows)
{
    for (const RecordRow& row : ReadableRecords()) {
        for (size_t rest = 0; rest < 8; ++rest) {
            SCOPED_TRACE(std::string(row.what) + " and " + std::to_string(rest) + " bytes");
            Bytes memory = FromHex(row.record);
            memory.insert(memory.end(), rest, 0xEE);
            const GuardedBytes guarded(memory);
            Variant value;
            value.Set("before");

            EXPECT_EQ(
                Variant::Deserialize(value, guarded.Get(), static_cast<uint32>(memory.size())), 0u);
            EXPECT_EQ(value.GetType(), row.type);
            EXPECT_EQ(Contents(value), row.HostContents());
        }
    }
}

TEST(VariantDeserialize, RefusesEveryTruncatedRecord)
{
    for (const RecordRow& row : ReadableRecords()) {
        const Bytes record = FromHex(row.record);
        for (size_t length = 0; length < record.size(); ++length) {
            SCOPED_TRACE(std::string(row.what) + " cut to " + std::to_string(length));
            ExpectRefused(Bytes(record.begin(), record.begin() + static_cast<ptrdiff_t>(length)));
        }
    }
}

TEST(VariantDeserialize, RefusesMalformedRecords)
{
    const struct
    {
        const char* what;
        const char* record;
    } rows[] = {
        {"total 0", "00000000 00000000 08000000 01000000"},
        {"total 11", "0B000000 00000000 08000000 01000000"},
        {"total one too large", "11000000 00000000 02000000 01000000"},
        {"total in the wrong order", "00000010 00000000 02000000 01000000"},
        {"largest total", "FFFFFFFF 00000000 02000000 01000000"},
        {"first reserved byte", "10000000 01000000 02000000 01000000"},
        {"second reserved byte", "10000000 00010000 02000000 01000000"},
        {"third reserved byte", "10000000 00000100 02000000 01000000"},
        {"last reserved byte", "10000000 00000001 02000000 01000000"},
        {"type 11", "10000000 00000000 0B000000 01000000"},
        {"type 11 without data", "0C000000 00000000 0B000000"},
        {"type 256", "10000000 00000000 00010000 01000000"},
        {"type in the wrong order", "10000000 00000000 00000002 01000000"},
        {"largest type", "10000000 00000000 FFFFFFFF 01000000"},
        {"buffer without data", "0C000000 00000000 08000000"},
        {"empty with data", "10000000 00000000 00000000 01000000"},
        {"empty with a byte", "0D000000 00000000 00000000 00"},
        {"string without its end", "0E000000 00000000 09000000 6162"},
        {"string whose end lies after the record", "0E000000 00000000 09000000 616200"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);

        ExpectRefused(FromHex(row.record));
    }
}

TEST(VariantDeserialize, RefusesANullInput)
{
    Variant value;
    value.Set("kept");

    EXPECT_EQ(Variant::Deserialize(value, nullptr, 0), kFailed);
    EXPECT_EQ(Variant::Deserialize(value, nullptr, 100), kFailed);
    EXPECT_STREQ(value.GetCStr(), "kept");
}

TEST(VariantDeserialize, ReadsARecordInTheOwnBlock)
{
    for (const RecordRow& row : ReadableRecords()) {
        SCOPED_TRACE(row.what);
        const Bytes record = FromHex(row.record);
        Variant value;
        value.SetBuffer(record.data(), static_cast<uint32>(record.size()));
        uint32 size = 0;
        const auto* const own = static_cast<const unsigned char*>(value.GetConstPointer(size));

        EXPECT_EQ(Variant::Deserialize(value, own, size), 0u);
        EXPECT_EQ(value.GetType(), row.type);
        EXPECT_EQ(Contents(value), row.HostContents());
    }
}

} // namespace
} // namespace QX
