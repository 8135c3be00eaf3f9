// VariantDeserializeTest.cpp - what a record gives, and which records are refused.

#include <QX/Variant.h>

#include "VariantTestSupport.h"

#include <algorithm>
#include <optional>
#include <random>

namespace QX {
namespace {

uint32 DeserializeBytes(Variant& value, const Bytes& record)
{
    return Variant::Deserialize(value, record.data(), static_cast<uint32>(record.size()));
}

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

struct Row
{
    const char* what;
    const char* record;
    Variant::Type type;
    const char* contents; // of scalars as on a little-endian machine
};

const std::vector<Row>& Records()
{
    static const std::vector<Row> kRows = {
        {"empty", "0C000000 00000000 00000000", Variant::kEmpty, ""},
        {"bool", "0D000000 00000000 01000000 01", Variant::kBool, "01"},
        {"other truth", "0D000000 00000000 01000000 C8", Variant::kBool, "C8"},
        {"int32", "10000000 00000000 02000000 44332211", Variant::kInt32, "44332211"},
        {"int64", "14000000 00000000 03000000 8877665544332211", Variant::kInt64,
         "8877665544332211"},
        {"float", "10000000 00000000 04000000 0000003F", Variant::kFloat, "0000003F"},
        {"signalling float", "10000000 00000000 04000000 0100A07F", Variant::kFloat, "0100A07F"},
        {"double", "14000000 00000000 05000000 000000000000F03F", Variant::kDouble,
         "000000000000F03F"},
        {"pointer", "0F000000 00000000 06000000 78797A", Variant::kBuffer, "78797A"},
        {"const pointer", "10000000 00000000 07000000 78797A00", Variant::kBuffer, "78797A00"},
        {"buffer of 2", "0E000000 00000000 08000000 0102", Variant::kBuffer, "0102"},
        {"buffer of 4", "10000000 00000000 08000000 01020304", Variant::kBuffer, "01020304"},
        {"string", "10000000 00000000 09000000 61626300", Variant::kString, "61626300"},
        {"empty string", "0D000000 00000000 09000000 00", Variant::kString, "00"},
        {"string with more after its end", "12000000 00000000 09000000 616200636400",
         Variant::kString, "616200"},
        {"string with an unterminated rest", "10000000 00000000 09000000 61006263",
         Variant::kString, "6100"},
        {"const buffer", "10000000 00000000 0A000000 01020304", Variant::kConstBuffer, "01020304"},
        {"empty const buffer", "0C000000 00000000 0A000000", Variant::kConstBuffer, ""},
        {"int32 of 1 byte", "0D000000 00000000 02000000 01", Variant::kEmpty, ""},
        {"int32 of 2 bytes", "0E000000 00000000 02000000 0102", Variant::kEmpty, ""},
        {"int32 of 3 bytes", "0F000000 00000000 02000000 010203", Variant::kEmpty, ""},
        {"int32 of 8 bytes", "14000000 00000000 02000000 0102030405060708", Variant::kEmpty, ""},
        {"double of 4 bytes", "10000000 00000000 05000000 01020304", Variant::kEmpty, ""},
        {"bool of 2 bytes", "0E000000 00000000 01000000 0101", Variant::kEmpty, ""},
        {"float of 20 bytes", "20000000 00000000 04000000 0102030405060708090A0B0C0D0E0F1011121314",
         Variant::kEmpty, ""},
    };
    return kRows;
}

Bytes HostContents(const Row& row)
{
    Bytes contents = FromHex(row.contents);
    if (kBigEndian && row.type <= Variant::kDouble)
        std::reverse(contents.begin(), contents.end());
    return contents;
}

TEST(VariantDeserialize, UnderstandsTheRecordOfEveryTypeWhateverFollows)
{
    for (const Row& row : Records()) {
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
            EXPECT_EQ(Contents(value), HostContents(row));
        }
    }
}

TEST(VariantDeserialize, RefusesEveryTruncatedRecord)
{
    for (const Row& row : Records()) {
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
    for (const Row& row : Records()) {
        SCOPED_TRACE(row.what);
        const Bytes record = FromHex(row.record);
        Variant value;
        value.SetBuffer(record.data(), static_cast<uint32>(record.size()));
        uint32 size = 0;
        const auto* const own = static_cast<const unsigned char*>(value.GetConstPointer(size));

        EXPECT_EQ(Variant::Deserialize(value, own, size), 0u);
        EXPECT_EQ(value.GetType(), row.type);
        EXPECT_EQ(Contents(value), HostContents(row));
    }
}

TEST(VariantDeserialize, RefusesTheRecordOfAnEmptyBuffer)
{
    Variant value;
    value.SetBuffer(nullptr, 0);
    unsigned char record[12];

    EXPECT_EQ(Variant::Serialize(value, record, sizeof record), 12u);
    ExpectRefused(Bytes(record, record + 12));
}

// What a record must give, decoded without the product.
struct Decoded
{
    uint32 type;
    uint64 number; // of scalars
    Bytes bytes;   // of everything else
};

uint64 LittleEndian(const Bytes& bytes, size_t start, size_t count)
{
    uint64 number = 0;
    for (size_t index = count; index > 0; --index)
        number = number * 256 + bytes[start + index - 1];
    return number;
}

std::optional<Decoded> Decode(const Bytes& in)
{
    if (in.size() < 12)
        return std::nullopt;
    const uint64 total = LittleEndian(in, 0, 4);
    if (total < 12 || total > in.size() || LittleEndian(in, 4, 4) != 0)
        return std::nullopt;
    const auto type = static_cast<uint32>(LittleEndian(in, 8, 4));
    const auto count = static_cast<size_t>(total - 12);
    const Bytes data(in.begin() + 12, in.begin() + static_cast<ptrdiff_t>(total));
    static const size_t kSizes[] = {0, 1, 4, 8, 4, 8};
    if (type > 10 || (type == 0 && count > 0) || (count == 0 && type != 0 && type != 10))
        return std::nullopt;
    if (type <= 5)
        return kSizes[type] == count ? Decoded{type, LittleEndian(in, 12, count), {}} : Decoded{};
    if (type != 9)
        return Decoded{type == 10 ? 10u : 8u, 0, data};
    const auto end = std::find(data.begin(), data.end(), 0);
    if (end == data.end())
        return std::nullopt;
    return Decoded{9, 0, Bytes(data.begin(), end + 1)};
}

uint64 ScalarNumber(const Variant& value)
{
    const Bytes contents = Contents(value);
    uint64 number = 0;
    for (size_t index = 0; index < contents.size(); ++index)
        number = number * 256 + contents[kBigEndian ? index : contents.size() - 1 - index];
    return number;
}

// Mostly well-formed, so that every branch is taken often.
Bytes RandomRecord(std::mt19937& random)
{
    const auto below = [&random](uint32 limit) { return static_cast<unsigned>(random() % limit); };
    Bytes record(below(24) + (below(8) == 0 ? 0 : 12));
    for (unsigned char& byte : record)
        byte = static_cast<unsigned char>(below(3) == 0 ? 0 : below(256));
    if (record.size() < 12 || below(16) == 0)
        return record;
    const size_t exact = record.size() + (below(8) == 0 ? 1 : 0) - (below(4) == 0 ? below(4) : 0);
    std::fill(record.begin(), record.begin() + 12, static_cast<unsigned char>(0));
    record[0] = static_cast<unsigned char>(exact);
    record[8] = static_cast<unsigned char>(below(12));
    if (below(16) == 0)
        record[below(12)] ^= static_cast<unsigned char>(1u << below(8));
    return record;
}

TEST(VariantDeserialize, AgreesWithAnIndependentDecoder)
{
    std::mt19937 random(20);
    int acceptedCount = 0;
    for (int round = 0; round < 50000; ++round) {
        const Bytes record = RandomRecord(random);
        const std::optional<Decoded> expected = Decode(record);
        Variant value;
        value.Set("kept");

        const uint32 result = DeserializeBytes(value, record);

        ASSERT_EQ(result, expected ? 0u : kFailed) << testing::PrintToString(record);
        if (!expected) {
            ASSERT_STREQ(value.GetCStr(), "kept") << testing::PrintToString(record);
            continue;
        }
        ++acceptedCount;
        ASSERT_EQ(static_cast<uint32>(value.GetType()), expected->type)
            << testing::PrintToString(record);
        if (expected->type <= 5)
            ASSERT_EQ(ScalarNumber(value), expected->number) << testing::PrintToString(record);
        else
            ASSERT_EQ(Contents(value), expected->bytes) << testing::PrintToString(record);
    }
    EXPECT_GT(acceptedCount, 10000);
}

} // namespace
} // namespace QX
