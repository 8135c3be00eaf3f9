// VariantExTextTest.cpp - extended variants as text, text as values, and comparison.

#include "VariantTestSupport.h"

#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>

namespace QX {
namespace {

TEST(VariantExText, ShowsTheValueOfEveryType)
{
    struct
    {
        const char* what;
        VariantEx variant;
        const char* expected;
    } const cases[] = {
        {"empty", VariantEx(), ""},
        {"false", OfBool(0), "false"},
        {"true", OfBool(2), "true"},
        {"int32", OfInt32(42), "42"},
        {"lowest int32", OfInt32(INT_MIN), "-2147483648"},
        {"int64", OfInt64(5000000000LL), "5000000000"},
        {"lowest int64", OfInt64(LLONG_MIN), "-9223372036854775808"},
        {"float", OfFloat(2.5f), "2.500000"},
        {"double", OfDouble(-0.1), "-0.100000"},
        {"string", OfText("abc"), "abc"},
        {"empty string", OfText(""), ""},
        {"const buffer", OfConstBytes("abc"), ""},
    };

    for (const auto& [what, variant, expected] : cases) {
        SCOPED_TRACE(what);
        EXPECT_EQ(TextOf(variant.GetString()), expected);
        EXPECT_EQ(TextOf(static_cast<const IStringable&>(variant).ToString()), expected);
    }
}

TEST(VariantExText, ShowsTheValueFieldOfAPointer)
{
    const std::uintptr_t address = 0x12345678;
    const VariantEx pointer = OfPointer(reinterpret_cast<void*>(address), 4);
    VariantEx constPointer;
    constPointer.SetConstPointer(reinterpret_cast<const void*>(address), 4);
    const char* const expected = sizeof(void*) == 8 ? "12345678" : "1234567800000000";

    EXPECT_EQ(TextOf(pointer.GetString()), expected);
    EXPECT_EQ(TextOf(constPointer.GetString()), expected);
    EXPECT_EQ(TextOf(OfPointer(nullptr, 0).GetString()), "0");
}

TEST(VariantExText, ShowsTheAddressOfABuffer)
{
    VariantEx variant = OfBytes("abc");
    const auto address =
        static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(PointerOf(variant)));
    const unsigned long long field = sizeof(void*) == 8 ? address : address << 32;

    EXPECT_EQ(variant.GetString(), String::Format("%llX", field));
}

TEST(VariantExText, EndsAtAnInnerNulAndLeavesTheDataAlone)
{
    VariantEx variant = OfText(std::string(300, 'x').c_str());
    static_cast<char*>(PointerOf(variant))[2] = '\0';
    const void* const block = variant.GetBuffer()->GetRawPtr();

    EXPECT_EQ(TextOf(variant.GetString()), "xx");
    EXPECT_EQ(TextOf(variant.GetString()), "xx");

    EXPECT_EQ(variant.GetBuffer()->GetSizeBytes(), 301u);
    EXPECT_EQ(variant.GetBuffer()->GetRawPtr(), block);
}

TEST(VariantExText, EndsWithTheDataThatHasNoTerminator)
{
    VariantEx variant = OfText("123");
    static_cast<char*>(PointerOf(variant))[3] = '4';

    EXPECT_EQ(TextOf(variant.GetString()), "1234");
    EXPECT_EQ(variant.GetInt32(), 1234);
    EXPECT_EQ(variant.GetInt64(), 1234);
    EXPECT_EQ(variant.GetDouble(), 1234.0);
    EXPECT_FALSE(variant.GetBool());
    EXPECT_EQ(variant.GetBuffer()->GetSizeBytes(), 4u);
}

TEST(VariantExXMLText, ReplacesFiveCharacters)
{
    EXPECT_EQ(TextOf(OfText("a<b & \"c\"").GetXMLString()), "a&lt;b &amp; &quot;c&quot;");
    EXPECT_EQ(TextOf(OfText("'>").GetXMLString()), "&apos;&gt;");
    EXPECT_EQ(TextOf(OfText("").GetXMLString()), "");
    EXPECT_EQ(TextOf(OfInt32(-3).GetXMLString()), "-3");
}

TEST(VariantExXMLText, IsUnlocked)
{
    const String text = OfText("<").GetXMLString();

    EXPECT_EQ(TextOf(text), "&lt;");
    EXPECT_FALSE(text.IsLocked());
    EXPECT_EQ(text.GetBuffer()->GetSizeBytes(), 5u);
}

TEST(VariantExXMLText, ChangesNoOtherByte)
{
    for (int byte = 1; byte <= UCHAR_MAX; ++byte) {
        if (std::strchr("\"&'<>", byte) != nullptr) {
            continue;
        }
        SCOPED_TRACE(byte);
        const std::string text(1, static_cast<char>(byte));

        EXPECT_EQ(TextOf(OfText(text.c_str()).GetXMLString()), text);
    }
}

TEST(VariantExXMLText, StaysAsItIsWhenAHolderWritesIntoTheData)
{
    VariantEx variant = OfText("abc");
    const String text = variant.GetXMLString();

    *static_cast<char*>(PointerOf(variant)) = '<';

    EXPECT_EQ(TextOf(text), "abc");
    EXPECT_EQ(TextOf(variant.GetXMLString()), "&lt;bc");
}

TEST(VariantExGetters, ReadTruthsFromText)
{
    EXPECT_TRUE(OfText("TRUE").GetBool());
    EXPECT_TRUE(OfText("true").GetBool());
    EXPECT_TRUE(OfText("True").GetBool());
    EXPECT_FALSE(OfText("1").GetBool());
    EXPECT_FALSE(OfText("true ").GetBool());
    EXPECT_FALSE(OfText("").GetBool());
}

TEST(VariantExGetters, ReadNumbersFromText)
{
    struct
    {
        const char* text;
        int32 number;
        int64 wide;
        double real;
    } const cases[] = {
        {" 42abc", 42, 42, 42.0},
        {"-1", -1, -1, -1.0},
        {"", 0, 0, 0.0},
        {"abc", 0, 0, 0.0},
        {"2.75", 2, 2, 2.75},
        {"4294967297", INT_MAX, 4294967297LL, 4294967297.0},
        {"-4294967297", INT_MIN, -4294967297LL, -4294967297.0},
        {"99999999999999999999", INT_MAX, -1, 1e20},
        {"18446744073709551615", INT_MAX, -1, 18446744073709551615.0},
    };

    for (const auto& [text, number, wide, real] : cases) {
        SCOPED_TRACE(text);
        const VariantEx variant = OfText(text);
        EXPECT_EQ(static_cast<const Variant&>(variant).GetInt32(), number);
        EXPECT_EQ(variant.GetInt64(), wide);
        EXPECT_EQ(variant.GetDouble(), real);
        EXPECT_EQ(variant.GetFloat(), static_cast<float>(real));
    }
}

TEST(VariantExGetters, NarrowToTheInfinityOfFloat)
{
    EXPECT_EQ(OfText("1e300").GetFloat(), std::numeric_limits<float>::infinity());
    EXPECT_EQ(OfText("1e300").GetDouble(), 1e300);
}

TEST(VariantExGetters, AnswerForOtherTypesAsAVariantDoes)
{
    EXPECT_EQ(OfDouble(2.5).GetInt32(), 3);
    EXPECT_EQ(OfInt32(7).GetDouble(), 7.0);
    EXPECT_EQ(OfFloat(1.5f).GetFloat(), 1.5f);
    EXPECT_EQ(OfInt64(-1).GetInt64(), -1);
    EXPECT_TRUE(OfBytes("a").GetBool());
    EXPECT_FALSE(OfBytes("").GetBool());
}

TEST(VariantExEquality, ComparesTypeAndValue)
{
    int first = 0;
    int second = 0;
    const double notANumber = std::nan("");
    struct
    {
        const char* what;
        VariantEx left;
        VariantEx right;
        bool equal;
    } const cases[] = {
        {"empty", VariantEx(), VariantEx(), true},
        {"types differ", OfInt32(1), OfInt64(1), false},
        {"truths", OfBool(1), OfBool(1), true},
        {"different truths", OfBool(1), OfBool(2), false},
        {"int32", OfInt32(1), OfInt32(1), true},
        {"int64", OfInt64(1), OfInt64(2), false},
        {"zeros of float", OfFloat(0.0f), OfFloat(-0.0f), true},
        {"zeros of double", OfDouble(0.0), OfDouble(-0.0), true},
        {"NaNs", OfDouble(notANumber), OfDouble(notANumber), false},
        {"float NaNs", OfFloat(std::nanf("")), OfFloat(std::nanf("")), false},
        {"pointers", OfPointer(&first, 4), OfPointer(&first, 4), true},
        {"pointers of two sizes", OfPointer(&first, 4), OfPointer(&first, 2), false},
        {"two pointers", OfPointer(&first, 4), OfPointer(&second, 4), false},
        {"buffers", OfBytes("abc"), OfBytes("abc"), true},
        {"empty buffers", OfBytes(""), OfBytes(""), true},
        {"buffers of two sizes", OfBytes("abc"), OfBytes("ab"), false},
        {"different buffers", OfBytes("abc"), OfBytes("abd"), false},
        {"strings", OfText("abc"), OfText("abc"), true},
        {"different strings", OfText("abc"), OfText("ABC"), false},
        {"const buffers", OfConstBytes("abc"), OfConstBytes("abc"), true},
    };

    for (const auto& [what, left, right, equal] : cases) {
        SCOPED_TRACE(what);
        EXPECT_EQ(left == right, equal);
        EXPECT_EQ(right != left, !equal);
    }
}

TEST(VariantExCompare, OrdersValues)
{
    int words[2] = {};
    struct
    {
        const char* what;
        VariantEx left;
        VariantEx right;
        int expected;
        int reversed;
    } const cases[] = {
        {"empty values", VariantEx(), VariantEx(), 0, 0},
        {"empty first", VariantEx(), OfInt32(-5), -1, 1},
        {"empty before a text", VariantEx(), OfText("-5"), -1, 1},
        {"truths by byte", OfBool(1), OfBool(2), -1, 1},
        {"truths unsigned", OfBool(1), OfBool(200), -1, 1},
        {"int32", OfInt32(-1), OfInt32(1), -1, 1},
        {"int64", OfInt64(LLONG_MIN), OfInt64(LLONG_MAX), -1, 1},
        {"float", OfFloat(1.0f), OfFloat(1.5f), -1, 1},
        {"double", OfDouble(2.0), OfDouble(2.0), 0, 0},
        {"equal truths", OfBool(1), OfBool(1), 0, 0},
        {"equal int32", OfInt32(7), OfInt32(7), 0, 0},
        {"equal int64", OfInt64(7), OfInt64(7), 0, 0},
        {"equal float", OfFloat(1.5f), OfFloat(1.5f), 0, 0},
        {"equal number and double", OfInt32(3), OfDouble(3.0), 0, 0},
        {"equal texts", OfText("abc"), OfText("abc"), 0, 0},
        {"NaN", OfDouble(std::nan("")), OfDouble(1.0), 0, 0},
        {"number and double", OfInt32(3), OfDouble(2.5), 1, -1},
        {"number and text", OfInt32(3), OfText("3.5"), -1, 1},
        {"text and number", OfText("10"), OfInt64(9), 1, -1},
        {"pointers", OfPointer(words, 4), OfPointer(words + 1, 4), -1, 1},
        {"pointers by size", OfPointer(words, 2), OfPointer(words, 4), -1, 1},
        {"pointers and sizes that cross", OfPointer(words, 4), OfPointer(words + 1, 2), -1, -1},
        {"shorter buffer", OfBytes("b"), OfBytes("aa"), -1, 1},
        {"buffers unsigned", OfBytes("a"), OfBytes("\xE9"), -1, 1},
        {"equal buffers", OfBytes("ab"), OfBytes("ab"), 0, 0},
        {"empty buffers", OfBytes(""), OfBytes(""), 0, 0},
        {"texts", OfText("abc"), OfText("abd"), -1, 1},
        {"texts in case", OfText("ABC"), OfText("abc"), -1, 1},
        {"texts not by size", OfText("b"), OfText("aa"), 1, -1},
        {"const buffers", OfConstBytes("b"), OfConstBytes("a"), -1, -1},
    };

    for (const auto& [what, left, right, expected, reversed] : cases) {
        SCOPED_TRACE(what);
        EXPECT_EQ(left.Compare(right), expected);
        EXPECT_EQ(right.Compare(left), reversed);
        EXPECT_EQ(left < right, expected < 0);
    }
    const VariantEx constBuffer = OfConstBytes("abc");
    EXPECT_EQ(constBuffer.Compare(constBuffer), -1);
}

} // namespace
} // namespace QX
