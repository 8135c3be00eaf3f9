// StringCompareTest.cpp - comparison, case, numbers, and what strings share with the standard
// library.

#include "Support/StringTestSupport.h"

#include <gtest/gtest.h>

#include <cctype>
#include <climits>
#include <concepts>
#include <cstring>
#include <iomanip>
#include <map>
#include <sstream>
#include <unordered_set>

namespace QX {
namespace {

int Sign(int value)
{
    return (value > 0) - (value < 0);
}

TEST(StringIsEqual, ComparesStringsOfOneAndOfTwoBuffers)
{
    const String text("abc");

    EXPECT_TRUE(text.IsEqual(String(text)));
    EXPECT_TRUE(text.IsEqual(String("abc")));
    EXPECT_FALSE(text.IsEqual(String("abd")));
    EXPECT_TRUE(String().IsEqual(String('\0')));
}

TEST(StringIsEqual, ComparesTextsWhateverElseTheirBuffersHold)
{
    String left("abc");
    String right("abc");
    right.GetBuffer()->GetPtr<char>(3)[0] = 'x';
    EXPECT_TRUE(left == right);
    left.GetBuffer()->GetPtr<char>(3)[0] = 'x';
    EXPECT_TRUE(left == right);

    // The same three bytes: a text of two characters, and one of three that fills its field.
    String cut("ab");
    cut.GetBuffer()->GetPtr<char>(2)[0] = 'c';
    String full;
    std::memcpy(full.Lock(3), "abc", 3);
    EXPECT_FALSE(cut == full);
    EXPECT_TRUE(cut == String("ab"));

    left.GetBuffer()->ResizeBytes(0);
    right.GetBuffer()->ResizeBytes(0);
    EXPECT_TRUE(left == right);
    EXPECT_TRUE(left == String());
}

TEST(StringIsEqual, ComparesTextsInBuffersOfAnyClass)
{
    const RCPtr<LIBuffer> bytes = LByteBuffer::Create(4, 0, true);
    std::memcpy(bytes->GetRawPtr(), "abc", 3);
    const String adopted(bytes);

    EXPECT_TRUE(adopted == String("abc"));
    EXPECT_TRUE(String("abc") == adopted);
    EXPECT_FALSE(adopted == String("abd"));
    EXPECT_FALSE(String("ab") == adopted);
}

TEST(StringCompare, HasTheSignOfStrcmpAndAgreesWithTheOperators)
{
    struct
    {
        const char* left;
        const char* right;
        bool caseSensitive;
        int expected;
    } const cases[] = {
        {"abc", "abc", true, 0},  {"abc", "abd", true, -1}, {"abd", "abc", true, 1},
        {"ab", "abc", true, -1},  {"abc", "ab", true, 1},   {"ABC", "abc", true, -1},
        {"ABC", "abc", false, 0}, {"ABD", "abc", false, 1}, {"AB", "abc", false, -1},
        {"\xE9", "z", true, 1},   {"\xE9", "z", false, 1},  {"Z", "_", false, 1},
        {"", "", true, 0},        {"", "a", false, -1},     {"abc", nullptr, true, 1},
        {"", nullptr, true, 0},   {"", nullptr, false, 0},
    };

    for (const auto& [left, right, caseSensitive, expected] : cases) {
        SCOPED_TRACE(testing::Message() << left << " | " << (right != nullptr ? right : "null"));
        EXPECT_EQ(Sign(String(left).Compare(right, caseSensitive)), expected);
        EXPECT_EQ(Sign(String(left).Compare(String(right), caseSensitive)), expected);
        EXPECT_EQ(Sign(String::StrCompare(left, right, caseSensitive)), expected);
        EXPECT_EQ(Sign(String::StrCompare(right, left, caseSensitive)), -expected);
        if (caseSensitive) {
            EXPECT_EQ(String(left).IsEqual(right), expected == 0);
            EXPECT_EQ(String(left) == right, expected == 0);
            EXPECT_EQ(String(left) == String(right), expected == 0);
            EXPECT_EQ(String(left) < right, expected < 0);
            EXPECT_EQ(String(left) > right, expected > 0);
        }
    }
}

TEST(StringToLower, AppliesTolowerToEveryByte)
{
    for (int byte = 1; byte <= UCHAR_MAX; ++byte) {
        SCOPED_TRACE(byte);
        const String text(static_cast<char>(byte));

        const String lower = text.ToLower();

        EXPECT_EQ(static_cast<unsigned char>(lower.CStr()[0]), std::tolower(byte));
        EXPECT_EQ(lower.GetLength(), 1u);
    }
}

TEST(StringToLower, LeavesItsSourceAlone)
{
    const String text("AbC");

    EXPECT_EQ(TextOf(text.ToLower()), "abc");

    EXPECT_EQ(TextOf(text), "AbC");
    EXPECT_TRUE(SharesEmpty(String().ToLower()));
}

TEST(StringNumbers, ToIntFollowsAtoiWithinTheLimitsOfInt)
{
    struct
    {
        const char* text;
        int expected;
    } const cases[] = {
        {"42", 42},
        {" \t-7x", -7},
        {"+5", 5},
        {"", 0},
        {"abc", 0},
        {"0x10", 0},
        {"2147483647", INT_MAX},
        {"2147483648", INT_MAX},
        {"99999999999", INT_MAX},
        {"-2147483648", INT_MIN},
        {"-99999999999", INT_MIN},
        {"99999999999999999999", INT_MAX},
        {"-99999999999999999999", INT_MIN},
    };

    for (const auto& [text, expected] : cases) {
        SCOPED_TRACE(text);
        EXPECT_EQ(String(text).ToInt(), expected);
    }
}

TEST(StringNumbers, ToDoubleFollowsAtof)
{
    EXPECT_EQ(String(" 2.5x").ToDouble(), 2.5);
    EXPECT_EQ(String("-1e3").ToDouble(), -1000.0);
    EXPECT_EQ(String("abc").ToDouble(), 0.0);
    EXPECT_EQ(String().ToDouble(), 0.0);
}

TEST(StringView, IsTheTextItself)
{
    const String text("abc");

    const std::string_view view = text;

    EXPECT_EQ(view.data(), text.CStr());
    EXPECT_EQ(view, "abc");
}

TEST(StringView, MakesAStringUpToItsFirstNul)
{
    using namespace std::string_view_literals;
    const auto unterminated = ExactBlock<char>("abc");

    EXPECT_EQ(TextOf(String("abcdef"sv.substr(1, 3))), "bcd");
    EXPECT_EQ(TextOf(String("ab\0c"sv)), "ab");
    EXPECT_EQ(TextOf(String(std::string("abc"))), "abc");
    EXPECT_EQ(TextOf(String(std::string_view(unterminated.get(), 3))), "abc");
    EXPECT_TRUE(SharesEmpty(String("abc"sv.substr(3))));
}

TEST(StringOperators, CompareWithEverythingThatHasATextWithoutCopying)
{
    const String text("abc");

    EXPECT_TRUE("abc" == text);
    EXPECT_TRUE(text == std::string("abc"));
    EXPECT_TRUE(std::string_view("abc") == text);
    EXPECT_TRUE(text != "abd");
    EXPECT_TRUE(Wide(u"abc") == Wide(u"abc"));
    EXPECT_TRUE(Wide(u"abc") != Wide(u"abd"));
    EXPECT_TRUE(Wide(u"abc") != Wide(u"ab"));
}

TEST(StringOperators, OrderAsBytes)
{
    EXPECT_TRUE(String("abc") < String("abd"));
    EXPECT_TRUE("abd" > String("abc"));
    EXPECT_TRUE(String("b") >= std::string("a"));
    EXPECT_TRUE(Wide(u"ab") < Wide(u"abc"));
    EXPECT_TRUE(Wide(u"\uFFFD") > Wide(u"\xD83D\xDE00"));
}

TEST(StringOperators, MakeStringsKeys)
{
    std::map<String, int> ordered{{"b", 2}, {"a", 1}};
    std::unordered_set<String> hashed{"a", "b", "a"};

    EXPECT_EQ(TextOf(ordered.begin()->first), "a");
    EXPECT_EQ(hashed.size(), 2u);
    EXPECT_TRUE(hashed.contains("b"));
}

TEST(StringHash, IsEqualForEqualTexts)
{
    const String text("abc");

    EXPECT_EQ(std::hash<String>{}(text), std::hash<String>{}(String("abc")));
    EXPECT_EQ(std::hash<String>{}(text), std::hash<std::string_view>{}("abc"));
    EXPECT_EQ(std::hash<String16>{}(Wide(u"abc")), std::hash<String16>{}(Wide(u"abc")));
    EXPECT_NE(std::hash<String16>{}(Wide(u"abc")), std::hash<String16>{}(Wide(u"abd")));
}

TEST(StringStream, WritesTheTextWithTheWidthOfTheStream)
{
    std::ostringstream stream;

    stream << String("abc") << std::setw(6) << std::left << String("de") << '|';

    EXPECT_EQ(stream.str(), "abcde    |");
}

template <class StringType>
constexpr bool kTakesZero = requires
{
    StringType(0);
};
template <class Number>
constexpr bool kFormatsNumber = requires(Number value)
{
    String::FormatNumber(value, 0);
};
template <class Left, class Right>
constexpr bool kEqual = requires(const Left& left, const Right& right)
{
    left == right;
};

TEST(StringOverloads, KeepAmbiguousCallsFromCompiling)
{
    static_assert(!std::constructible_from<String, std::nullptr_t>);
    static_assert(!std::constructible_from<String16, std::nullptr_t>);
    static_assert(!kTakesZero<String>);
    static_assert(!kTakesZero<String16>);
    static_assert(!std::constructible_from<String, const char16_t*>);
    static_assert(!std::convertible_to<std::string_view, String>);
    static_assert(!std::convertible_to<std::string, String>);
    static_assert(std::convertible_to<const char*, String>);
    static_assert(std::convertible_to<const unsigned short*, String>);
    static_assert(std::convertible_to<const String16&, String>);
    static_assert(std::convertible_to<const String&, String16>);
    static_assert(std::convertible_to<const String&, std::string_view>);
    static_assert(kFormatsNumber<int> && kFormatsNumber<long long>);
    static_assert(!kFormatsNumber<long> && !kFormatsNumber<unsigned long>);
    static_assert(kEqual<String, const char*>);
    static_assert(!kEqual<String, String16>);
}

/// What the 16-bit class does not have.
template <class StringType>
constexpr bool kEdits = requires(StringType text)
{
    text += text;
}
|| requires(StringType text)
{
    text.Insert(0, text);
}
|| requires(StringType text)
{
    text.GetSubString(0);
}
|| requires(StringType text)
{
    text.ToLower();
}
|| requires(StringType text)
{
    text.ToInt();
}
|| requires(StringType text)
{
    text.Compare(text, true);
};

TEST(StringOverloads, EditOneWidthOnly)
{
    static_assert(kEdits<String>);
    static_assert(!kEdits<String16>);
    static_assert(!std::convertible_to<const RCPtr<LIBuffer>&, String16>);
}

} // namespace
} // namespace QX
