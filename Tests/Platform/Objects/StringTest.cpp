// StringTest.cpp - constant strings, formats, encodings and comparison.

#include "Platform/PlatformTesting.h"

#include <csignal>

namespace {

using String = Platform::LedgerTest;
using StringDeathTest = Platform::LedgerTest;

std::string Released(CFStringRef string)
{
    if (string == nullptr) {
        return "<null>";
    }
    const std::string text = Platform::TextOf(string);
    CFRelease(string);
    return text;
}

TEST_F(String, EqualLiteralsAreOneConstantObject)
{
    EXPECT_EQ(CFSTR("ParameterDataKey"), CFSTR("ParameterDataKey"));
    EXPECT_NE(CFSTR("ParameterDataKey"), CFSTR("parameterDataKey"));
    EXPECT_EQ(Platform::TextOf(CFSTR("ParameterDataKey")), "ParameterDataKey");
}

TEST_F(String, ModesAreStringsOfTheirOwnNames)
{
    EXPECT_EQ(Platform::TextOf(kCFRunLoopDefaultMode), "kCFRunLoopDefaultMode");
    EXPECT_EQ(Platform::TextOf(kCFRunLoopCommonModes), "kCFRunLoopCommonModes");
}

TEST_F(String, FormatsTheNameOfAServerPort)
{
    CFStringRef name = CFStringCreateWithFormat(nullptr, nullptr, CFSTR("org.qxaudio.device.%s"),
                                                "{D4625471-DE74-400f-93D2-5E71BB706A64}");

    EXPECT_EQ(Released(name), "org.qxaudio.device.{D4625471-DE74-400f-93D2-5E71BB706A64}");
}

TEST_F(String, FormatsTextWithWidthAndPrecision)
{
    const char* const none = nullptr;

    EXPECT_EQ(Released(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("<%s>"), none)),
              "<(null)>");
    EXPECT_EQ(Released(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("<%6s>"), "abc")),
              "<   abc>");
    EXPECT_EQ(Released(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("<%-6s>"), "abc")),
              "<abc   >");
    EXPECT_EQ(Released(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("<%.2s>"), "abc")), "<ab>");
    EXPECT_EQ(Released(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("<%+s>"), "abc")), "<abc>");
    EXPECT_EQ(Released(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("100%%"))), "100%");
}

TEST_F(String, ReadsFormattedTextAsMacRoman)
{
    EXPECT_EQ(Released(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%s"), "\x8A\xD0")),
              "\u00E4\u2013");
}

TEST_F(String, FormatsIntegers)
{
    EXPECT_EQ(Released(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%d %i %u"), -5, 7, 9u)),
              "-5 7 9");
    EXPECT_EQ(Released(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%08x %X"), 0xBEEFu, 0xAu)),
              "0000beef A");
    EXPECT_EQ(Released(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%lld %ld"),
                                                -9223372036854775807LL - 1, -1L)),
              "-9223372036854775808 -1");
    EXPECT_EQ(Released(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%05d|%-5d|"), -42, 42)),
              "-0042|42   |");
}

TEST_F(String, RefusesAFormatThatItCannotCarryOut)
{
    EXPECT_EQ(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%"), 1), nullptr);
    EXPECT_EQ(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%n"), 1), nullptr);
    EXPECT_EQ(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%5"), 1), nullptr);
}

TEST_F(String, ComesFromEachEncoding)
{
    EXPECT_EQ(
        Released(CFStringCreateWithCString(nullptr, "a\u00E4\U0001F600", kCFStringEncodingUTF8)),
        "a\u00E4\U0001F600");
    EXPECT_EQ(Released(CFStringCreateWithCString(nullptr, "\x8A", kCFStringEncodingMacRoman)),
              "\u00E4");
    EXPECT_EQ(Released(CFStringCreateWithCString(nullptr, "abc", kCFStringEncodingASCII)), "abc");
    EXPECT_EQ(CFStringCreateWithCString(nullptr, "\x8A", kCFStringEncodingASCII), nullptr);
}

TEST_F(String, RefusesMalformedUtf8)
{
    for (const char* text : {"\x80", "\xC3", "\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80",
                             "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "a\xFF"}) {
        EXPECT_EQ(CFStringCreateWithCString(nullptr, text, kCFStringEncodingUTF8), nullptr);
    }
}

TEST_F(String, CountsUtf16Units)
{
    CFStringRef string = Platform::MakeString("a\u00E4\U0001F600");

    EXPECT_EQ(CFStringGetLength(string), 4);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(4, kCFStringEncodingUTF8), 12);
    CFRelease(string);
}

TEST_F(String, FitsABufferExactlyOrNotAtAll)
{
    char buffer[5];

    EXPECT_TRUE(CFStringGetCString(CFSTR("abcd"), buffer, 5, kCFStringEncodingUTF8));
    EXPECT_STREQ(buffer, "abcd");
    EXPECT_TRUE(CFStringGetCString(CFSTR("abcd"), buffer, 5, kCFStringEncodingASCII));
    EXPECT_FALSE(CFStringGetCString(CFSTR("abcd"), buffer, 4, kCFStringEncodingUTF8));
    EXPECT_FALSE(CFStringGetCString(CFSTR("abcd"), buffer, 4, kCFStringEncodingASCII));
    EXPECT_FALSE(CFStringGetCString(CFSTR("abcd"), buffer, 0, kCFStringEncodingUTF8));
}

TEST_F(String, LeavesAnEncodingOnlyWithItsOwnCharacters)
{
    char buffer[8];
    CFStringRef umlaut = Platform::MakeString("\u00E4");
    CFStringRef face = Platform::MakeString("\U0001F600");

    EXPECT_TRUE(CFStringGetCString(umlaut, buffer, 8, kCFStringEncodingMacRoman));
    EXPECT_STREQ(buffer, "\x8A");
    EXPECT_FALSE(CFStringGetCString(umlaut, buffer, 8, kCFStringEncodingASCII));
    EXPECT_FALSE(CFStringGetCString(face, buffer, 8, kCFStringEncodingMacRoman));
    CFRelease(umlaut);
    CFRelease(face);
}

TEST_F(String, ComparesByUtf16Units)
{
    struct
    {
        const char* what;
        const char* left;
        const char* right;
        CFComparisonResult expected;
    } const cases[] = {
        {"equal", "abc", "abc", kCFCompareEqualTo},
        {"prefix", "ab", "abc", kCFCompareLessThan},
        {"longer", "abc", "ab", kCFCompareGreaterThan},
        {"case", "B", "a", kCFCompareLessThan},
        {"the keys of a message", "CoreAudioDeviceIDKey", "ParameterDataKey", kCFCompareLessThan},
        {"a surrogate pair against a late unit", "\U0001F600", "\uFF01", kCFCompareLessThan},
        {"two surrogate pairs", "\U0001F600", "\U0001F601", kCFCompareLessThan}};

    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.what);
        CFStringRef left = Platform::MakeString(entry.left);
        CFStringRef right = Platform::MakeString(entry.right);

        EXPECT_EQ(CFStringCompare(left, right, 0), entry.expected);
        EXPECT_EQ(CFEqual(left, right), entry.expected == kCFCompareEqualTo);
        CFRelease(left);
        CFRelease(right);
    }
}

TEST_F(StringDeathTest, MisuseStopsTheProgramWithAMessage)
{
    EXPECT_EXIT(CFStringCreateWithCString(nullptr, nullptr, kCFStringEncodingUTF8),
                testing::KilledBySignal(SIGABRT), "Platform: CFStringCreateWithCString: the text");
    EXPECT_EXIT(CFStringCompare(CFSTR("a"), CFSTR("b"), 1), testing::KilledBySignal(SIGABRT),
                "Platform: CFStringCompare: the comparison options are not supported");
    EXPECT_EXIT(CFStringCreateWithFormat(nullptr, nullptr, nullptr),
                testing::KilledBySignal(SIGABRT),
                "Platform: CFStringCreateWithFormat: the object is null");
}

} // namespace
