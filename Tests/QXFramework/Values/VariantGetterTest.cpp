// VariantGetterTest.cpp - every conversion of every type, rounding and its limits.

#include <QX/Variant.h>

#include "VariantTestSupport.h"

#include <cmath>
#include <functional>
#include <limits>

namespace QX {
namespace {

constexpr int32 kMin32 = std::numeric_limits<int32>::min();
constexpr int32 kMax32 = std::numeric_limits<int32>::max();
constexpr int64 kMin64 = std::numeric_limits<int64>::min();
constexpr int64 kMax64 = std::numeric_limits<int64>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const unsigned char kNine[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
constexpr int32 kFirstFour = ByOrder<int32>(0x04030201, 0x01020304);
constexpr int64 kFirstEight = ByOrder<int64>(0x0807060504030201, 0x0102030405060708);

struct Row
{
    const char* what;
    std::function<void(Variant&)> set;
    bool asBool;
    int32 asInt32;
    int64 asInt64;
    float asFloat;
    double asDouble;
};

void ExpectConversions(const std::vector<Row>& rows)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Variant value;
        row.set(value);

        EXPECT_EQ(value.GetBool(), row.asBool);
        EXPECT_EQ(value.GetInt32(), row.asInt32);
        EXPECT_EQ(value.GetInt64(), row.asInt64);
        EXPECT_EQ(value.GetFloat(), row.asFloat);
        EXPECT_EQ(value.GetDouble(), row.asDouble);
    }
}

std::function<void(Variant&)> Block(Variant::Type type, uint32 size)
{
    return [=](Variant& value) { value.Set(type, kNine, size); };
}

TEST(VariantGetters, ScalarsConvert)
{
    ExpectConversions({
        {"empty", [](Variant&) {}, false, 0, 0, 0, 0},
        {"false", Scalar(Variant::kBool, uint8_t{0}), false, 0, 0, 0, 0},
        {"true", Scalar(Variant::kBool, uint8_t{1}), true, 1, 1, 1, 1},
        {"another truth", Scalar(Variant::kBool, uint8_t{0xC8}), true, 200, 200, 200, 200},
        {"int32 0", Scalar(Variant::kInt32, int32{0}), false, 0, 0, 0, 0},
        {"int32 -7", Scalar(Variant::kInt32, int32{-7}), true, -7, -7, -7, -7},
        {"int32 lowest", Scalar(Variant::kInt32, kMin32), true, kMin32, -2147483648LL,
         -2147483648.0f, -2147483648.0},
        {"int32 16777217", Scalar(Variant::kInt32, int32{16777217}), true, 16777217, 16777217,
         16777216.0f, 16777217.0},
        {"int64 0", Scalar(Variant::kInt64, int64{0}), false, 0, 0, 0, 0},
        {"int64 -1", Scalar(Variant::kInt64, int64{-1}), true, -1, -1, -1, -1},
        {"int64 in both halves", Scalar(Variant::kInt64, int64{0x1122334455667788}), true,
         0x55667788, 0x1122334455667788, 1234605616436508552.0f, 1234605616436508552.0},
        {"int64 with a negative low half", Scalar(Variant::kInt64, int64{0x00000001FFFFFFFE}), true,
         -2, 0x00000001FFFFFFFE, 8589934590.0f, 8589934590.0},
        {"int64 with an empty low half", Scalar(Variant::kInt64, int64{0x0000000100000000}), true,
         0, 4294967296, 4294967296.0f, 4294967296.0},
        {"float 0", Scalar(Variant::kFloat, 0.0f), false, 0, 0, 0, 0},
        {"float -0", Scalar(Variant::kFloat, -0.0f), false, 0, 0, 0, 0},
        {"float 0.1", Scalar(Variant::kFloat, 0.1f), true, 0, 0, 0.1f, 0.10000000149011612},
        {"double 0", Scalar(Variant::kDouble, 0.0), false, 0, 0, 0, 0},
        {"double -0", Scalar(Variant::kDouble, -0.0), false, 0, 0, 0, 0},
        {"double 0.1", Scalar(Variant::kDouble, 0.1), true, 0, 0, 0.1f, 0.1},
        {"double beyond float", Scalar(Variant::kDouble, 1e300), true, kMax32, kMax64,
         std::numeric_limits<float>::infinity(), 1e300},
        {"double below float", Scalar(Variant::kDouble, 1e-300), true, 0, 0, 0, 1e-300},
    });
}

TEST(VariantGetters, ANaNIsTrueAndConvertsToANaN)
{
    Variant value;
    SetScalar(value, Variant::kDouble, kNaN);
    EXPECT_TRUE(value.GetBool());
    EXPECT_TRUE(std::isnan(value.GetFloat()));
    EXPECT_TRUE(std::isnan(value.GetDouble()));

    SetScalar(value, Variant::kFloat, static_cast<float>(kNaN));
    EXPECT_TRUE(value.GetBool());
    EXPECT_TRUE(std::isnan(value.GetFloat()));
    EXPECT_TRUE(std::isnan(value.GetDouble()));
}

TEST(VariantGetters, BlocksConvertByTheirFirstBytes)
{
    const auto four = static_cast<float>(kFirstFour);
    const auto eight = static_cast<double>(kFirstEight);
    unsigned char memory[9];
    std::memcpy(memory, kNine, 9);
    ExpectConversions({
        {"pointer", [&](Variant& value) { value.SetPointer(memory, 9); }, true, kFirstFour,
         kFirstEight, four, eight},
        {"unaligned pointer",
         [&](Variant& value) {
             std::memmove(memory + 1, kNine, 8);
             value.SetPointer(memory + 1, 8);
         },
         true, kFirstFour, kFirstEight, four, eight},
        {"const pointer", [](Variant& value) { value.SetConstPointer(kNine, 9); }, true, kFirstFour,
         kFirstEight, four, eight},
        {"pointer to no bytes", [](Variant& value) { value.SetConstPointer(kNine, 0); }, true, 0, 0,
         0, 0},
        {"null pointer", [](Variant& value) { value.SetPointer(nullptr, 0); }, false, 0, 0, 0, 0},
        {"null pointer with a size", [](Variant& value) { value.SetPointer(nullptr, 8); }, false, 0,
         0, 0, 0},
        {"null const pointer", [](Variant& value) { value.SetConstPointer(nullptr, 8); }, false, 0,
         0, 0, 0},
        {"buffer", Block(Variant::kBuffer, 9), true, kFirstFour, kFirstEight, four, eight},
        {"empty buffer", Block(Variant::kBuffer, 0), false, 0, 0, 0, 0},
        {"const buffer", Block(Variant::kConstBuffer, 9), true, 0, 0, 0, 0},
        {"empty const buffer", Block(Variant::kConstBuffer, 0), false, 0, 0, 0, 0},
    });
}

TEST(VariantGetters, StringsConvertToTheirLength)
{
    ExpectConversions({
        {"empty", [](Variant& value) { value.Set(""); }, false, 0, 0, 0, 0},
        {"abc", [](Variant& value) { value.Set("abc"); }, true, 3, 3, 3, 3},
        {"digits are not parsed", [](Variant& value) { value.Set("42"); }, true, 2, 2, 2, 2},
        {"zero is text", [](Variant& value) { value.Set("0"); }, true, 1, 1, 1, 1},
    });
}

TEST(VariantGetters, AShortBlockCountsItsMissingBytesAsZero)
{
    const int64 little[] = {0,
                            0x01,
                            0x0201,
                            0x030201,
                            0x04030201,
                            0x0504030201,
                            0x060504030201,
                            0x07060504030201,
                            0x0807060504030201};
    const int64 big[] = {0,
                         0x0100000000000000,
                         0x0102000000000000,
                         0x0102030000000000,
                         0x0102030400000000,
                         0x0102030405000000,
                         0x0102030405060000,
                         0x0102030405060700,
                         0x0102030405060708};
    for (uint32 size = 0; size <= 8; ++size) {
        SCOPED_TRACE(size);
        const GuardedBytes guarded(Bytes(kNine, kNine + size));
        Variant pointer;
        pointer.SetPointer(guarded.Get(), size);
        Variant buffer;
        buffer.SetBuffer(kNine, size);
        const int64 expected = ByOrder(little[size], big[size]);
        const auto expected32 = static_cast<int32>(ByOrder(expected, expected >> 32));

        EXPECT_EQ(pointer.GetInt64(), expected);
        EXPECT_EQ(buffer.GetInt64(), expected);
        EXPECT_EQ(pointer.GetInt32(), expected32);
        EXPECT_EQ(buffer.GetInt32(), expected32);
        EXPECT_EQ(buffer.GetFloat(), static_cast<float>(expected32));
        EXPECT_EQ(buffer.GetDouble(), static_cast<double>(expected));
    }
}

TEST(VariantRounding, TakesADoubleHalfAwayFromZero)
{
    const struct
    {
        double value;
        int32 as32;
        int64 as64;
    } rows[] = {
        {0.0, 0, 0},
        {-0.0, 0, 0},
        {0.4, 0, 0},
        {0.5, 1, 1},
        {-0.4, 0, 0},
        {-0.5, -1, -1},
        {2.5, 3, 3},
        {-2.5, -3, -3},
        {2.4999, 2, 2},
        {-2.4999, -2, -2},
        {1.5, 2, 2},
        {0.49999999999999994, 1, 1},
        {-0.49999999999999994, -1, -1},
        {2147483646.5, kMax32, 2147483647},
        {2147483647.0, kMax32, 2147483647},
        {2147483647.4, kMax32, 2147483647},
        {2147483647.5, kMax32, 2147483648},
        {-2147483647.5, kMin32, -2147483648},
        {-2147483648.0, kMin32, -2147483648},
        {-2147483648.4, kMin32, -2147483648},
        {-2147483648.5, kMin32, -2147483649},
        {3e9, kMax32, 3000000000},
        {-3e9, kMin32, -3000000000},
        {4503599627370497.0, kMax32, 4503599627370498},
        {-4503599627370497.0, kMin32, -4503599627370498},
        {9223372036854774784.0, kMax32, 9223372036854774784},
        {9.3e18, kMax32, kMax64},
        {9223372036854775808.0, kMax32, kMax64},
        {-9223372036854775808.0, kMin32, kMin64},
        {-9.3e18, kMin32, kMin64},
        {1e30, kMax32, kMax64},
        {-1e30, kMin32, kMin64},
        {kInfinity, kMax32, kMax64},
        {-kInfinity, kMin32, kMin64},
        {kNaN, kMin32, kMin64},
        {-kNaN, kMin32, kMin64},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.value));
        Variant value;
        SetScalar(value, Variant::kDouble, row.value);

        EXPECT_EQ(value.GetInt32(), row.as32);
        EXPECT_EQ(value.GetInt64(), row.as64);
    }
}

TEST(VariantRounding, AddsToAFloatInSinglePrecisionFor64Bits)
{
    const struct
    {
        float value;
        int32 as32;
        int64 as64;
    } rows[] = {
        {0.0f, 0, 0},
        {-0.0f, 0, 0},
        {0.5f, 1, 1},
        {-0.5f, -1, -1},
        {2.5f, 3, 3},
        {-2.5f, -3, -3},
        {2.4999f, 2, 2},
        {-2.4999f, -2, -2},
        {0.49999997f, 0, 1},
        {-0.49999997f, 0, -1},
        {8388609.0f, 8388609, 8388610},
        {-8388609.0f, -8388609, -8388610},
        {2147483520.0f, 2147483520, 2147483520},
        {2147483648.0f, kMax32, 2147483648},
        {-2147483648.0f, kMin32, -2147483648},
        {3e9f, kMax32, 3000000000},
        {-3e9f, kMin32, -3000000000},
        {9223371487098961920.0f, kMax32, 9223371487098961920},
        {9.3e18f, kMax32, kMax64},
        {-9223372036854775808.0f, kMin32, kMin64},
        {-9.3e18f, kMin32, kMin64},
        {1e30f, kMax32, kMax64},
        {-1e30f, kMin32, kMin64},
        {static_cast<float>(kInfinity), kMax32, kMax64},
        {static_cast<float>(-kInfinity), kMin32, kMin64},
        {static_cast<float>(kNaN), kMin32, kMin64},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.value));
        Variant value;
        SetScalar(value, Variant::kFloat, row.value);

        EXPECT_EQ(value.GetInt32(), row.as32);
        EXPECT_EQ(value.GetInt64(), row.as64);
    }
}

TEST(VariantPointers, GiveTheValueFieldOrTheBlock)
{
    static unsigned char memory[9];
    enum Place
    {
        kNull,
        kField,
        kSame // as the read-only pointer
    };
    const struct
    {
        const char* what;
        std::function<void(Variant&)> set;
        uint32 constSize;
        uint32 size;
        Place writable;
        bool isText = false;
    } rows[] = {
        {"empty", [](Variant&) {}, 0, 0, kNull},
        {"bool", Scalar(Variant::kBool, true), 1, 4, kField},
        {"int32", Scalar(Variant::kInt32, int32{1}), 4, 4, kField},
        {"int64", Scalar(Variant::kInt64, int64{1}), 8, 4, kField},
        {"float", Scalar(Variant::kFloat, 1.0f), 4, 4, kField},
        {"double", Scalar(Variant::kDouble, 1.0), 8, 4, kField},
        {"pointer", [](Variant& value) { value.SetPointer(memory, 9); }, 9, 9, kSame},
        {"const pointer", [](Variant& value) { value.SetConstPointer(memory, 9); }, 9, 0, kNull},
        {"buffer", Block(Variant::kBuffer, 9), 9, 9, kSame},
        {"string", [](Variant& value) { value.Set("abc"); }, 4, 4, kSame, true},
        {"const buffer", Block(Variant::kConstBuffer, 9), 9, 0, kNull},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Variant value;
        row.set(value);
        uint32 constSize = 99;
        uint32 size = 99;
        const void* const field = reinterpret_cast<const char*>(&value) + sizeof(void*);

        const void* const bytes = value.GetConstPointer(constSize);
        const void* const writable = value.GetPointer(size);

        EXPECT_EQ(constSize, row.constSize);
        EXPECT_EQ(size, row.size);
        EXPECT_EQ(bytes == field, row.writable == kField);
        EXPECT_EQ(bytes == nullptr, row.constSize == 0);
        EXPECT_EQ(writable, row.writable == kNull ? nullptr : bytes);
        EXPECT_EQ(value.GetCStr(), row.isText ? bytes : nullptr);
    }
}

TEST(VariantPointers, BytesWrittenThroughThemAreTheValue)
{
    uint32 size = 0;
    Variant value;
    SetScalar(value, Variant::kInt32, int32{1});
    const int32 number = -5;
    std::memcpy(value.GetPointer(size), &number, 4);
    EXPECT_EQ(value.GetInt32(), -5);

    value.Set("abc");
    static_cast<char*>(value.GetPointer(size))[0] = 'X';
    EXPECT_STREQ(value.GetCStr(), "Xbc");
}

} // namespace
} // namespace QX
