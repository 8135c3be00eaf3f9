// StringTest.cpp - constant strings, formats and copies of the text.

#include "Platform/PlatformTesting.h"

#include <csignal>

namespace {

using String = Platform::LedgerTest;
using StringDeathTest = Platform::LedgerTest;

TEST_F(String, EqualLiteralsAreOneConstantObject)
{
    EXPECT_EQ(CFSTR("ParameterDataKey"), CFSTR("ParameterDataKey"));
    EXPECT_NE(CFSTR("ParameterDataKey"), CFSTR("parameterDataKey"));
    EXPECT_EQ(Platform::TextOf(CFSTR("ParameterDataKey")), "ParameterDataKey");
}

TEST_F(String, AForkedChildMakesLiteralsWhateverOtherThreadsWereDoing)
{
    EXPECT_EQ(Platform::CountChildrenThatAreFree([] { CFSTR("made often"); }), 100);
}

TEST_F(String, FormatsText)
{
    const char* const none = nullptr;
    struct
    {
        CFStringRef made;
        const char* expected;
    } const cases[] = {
        {CFStringCreateWithFormat(nullptr, nullptr, CFSTR("org.qxaudio.device.%s"),
                                  "{D4625471-DE74-400f-93D2-5E71BB706A64}"),
         "org.qxaudio.device.{D4625471-DE74-400f-93D2-5E71BB706A64}"},
        {CFStringCreateWithFormat(nullptr, nullptr, CFSTR("<%s>"), none), "<(null)>"},
        {CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%s%s 100%%"), "a", "b"), "ab 100%"},
        {CFStringCreateWithFormat(nullptr, nullptr, CFSTR("")), ""}};

    for (const auto& entry : cases) {
        ASSERT_NE(entry.made, nullptr) << entry.expected;
        EXPECT_EQ(Platform::TextOf(entry.made), entry.expected);
        CFRelease(entry.made);
    }
}

TEST_F(String, RefusesAFormatThatItCannotCarryOut)
{
    EXPECT_EQ(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%"), "a"), nullptr);
    EXPECT_EQ(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%d"), 1), nullptr);
    EXPECT_EQ(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%5s"), "a"), nullptr);
    EXPECT_EQ(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%s"), "\x80"), nullptr);
}

TEST_F(String, FitsABufferExactlyOrNotAtAll)
{
    char buffer[8] = "before";

    EXPECT_FALSE(CFStringGetCString(CFSTR("abcd"), buffer, 4, kCFStringEncodingUTF8));
    EXPECT_FALSE(CFStringGetCString(CFSTR(""), buffer, 0, kCFStringEncodingUTF8));
    EXPECT_FALSE(CFStringGetCString(CFSTR("abcd"), buffer, -1, kCFStringEncodingUTF8));
    EXPECT_FALSE(CFStringGetCString(CFSTR("abcd"), nullptr, 5, kCFStringEncodingUTF8));
    EXPECT_FALSE(CFStringGetCString(CFSTR("abcd"), buffer, 5, 0));
    EXPECT_STREQ(buffer, "before");
    EXPECT_TRUE(CFStringGetCString(CFSTR("abcd"), buffer, 5, kCFStringEncodingUTF8));
    EXPECT_STREQ(buffer, "abcd");
}

TEST_F(StringDeathTest, MisuseStopsTheProgramWithAMessage)
{
    EXPECT_EXIT(CFStringCreateWithFormat(nullptr, nullptr, nullptr),
                testing::KilledBySignal(SIGABRT),
                "Platform: CFStringCreateWithFormat: the object is null");
    EXPECT_EXIT(CFSTR("\x80"), testing::KilledBySignal(SIGABRT),
                "Platform: CFSTR: the literal has a character of more than 7 bits");
}

} // namespace
