// DictionaryTest.cpp - dictionaries of plain pointers, and those that were read from a document.

#include "Platform/PlatformTesting.h"

#include <csignal>

namespace {

using Dictionary = Platform::LedgerTest;
using DictionaryDeathTest = Platform::LedgerTest;
using Platform::Pointer;

/// Reads a document that is a dictionary.
CFDictionaryRef Read(std::string_view document)
{
    CFDataRef data = Platform::MakeData(document);
    CFPropertyListRef list = CFPropertyListCreateFromXMLData(nullptr, data, 0, nullptr);
    CFRelease(data);
    return static_cast<CFDictionaryRef>(list);
}

TEST_F(Dictionary, ComparesKeysByAddress)
{
    CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(nullptr, 2, nullptr, nullptr);
    CFStringRef one = Platform::MakeString("key");
    CFStringRef other = Platform::MakeString("key");

    CFDictionaryAddValue(dictionary, one, Pointer(1));
    CFDictionaryAddValue(dictionary, other, Pointer(2));

    EXPECT_EQ(CFDictionaryGetValue(dictionary, one), Pointer(1));
    EXPECT_EQ(CFDictionaryGetValue(dictionary, other), Pointer(2));
    EXPECT_EQ(CFDictionaryGetValue(dictionary, CFSTR("key")), nullptr);
    CFRelease(one);
    CFRelease(other);
    CFRelease(dictionary);
}

TEST_F(Dictionary, TakesMoreEntriesThanItsCapacityAndTouchesNone)
{
    CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(nullptr, 2, nullptr, nullptr);

    for (std::size_t number = 0; number < 100; ++number) {
        CFDictionaryAddValue(dictionary, Pointer(number), Pointer(number + 1));
    }

    EXPECT_EQ(CFDictionaryGetValue(dictionary, nullptr), Pointer(1));
    EXPECT_EQ(CFDictionaryGetValue(dictionary, Pointer(99)), Pointer(100));
    EXPECT_EQ(CFDictionaryGetValue(dictionary, Pointer(100)), nullptr);
    CFRelease(dictionary);
}

TEST_F(Dictionary, AddingAPresentKeyKeepsItsValue)
{
    CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr);

    CFDictionaryAddValue(dictionary, Pointer(1), Pointer(2));
    CFDictionaryAddValue(dictionary, Pointer(1), Pointer(3));

    EXPECT_EQ(CFDictionaryGetValue(dictionary, Pointer(1)), Pointer(2));
    CFRelease(dictionary);
}

TEST_F(Dictionary, ReadFromADocumentComparesKeysByTextAndOwnsItsEntries)
{
    CFDictionaryRef dictionary = Read("<dict><key>a</key><data>QUJD</data></dict>");
    ASSERT_NE(dictionary, nullptr);
    CFStringRef key = Platform::MakeString("a");

    const void* const value = CFDictionaryGetValue(dictionary, key);

    ASSERT_NE(value, nullptr);
    EXPECT_EQ(Platform::BytesOf(static_cast<CFDataRef>(value)), "ABC");
    EXPECT_EQ(CFDictionaryGetValue(dictionary, CFSTR("a")), value);
    EXPECT_EQ(CFDictionaryGetValue(dictionary, CFSTR("A")), nullptr);
    CFRelease(key);
    CFRelease(dictionary);
}

TEST_F(DictionaryDeathTest, MisuseStopsTheProgramWithAMessage)
{
    EXPECT_EXIT(CFDictionaryAddValue(nullptr, nullptr, nullptr), testing::KilledBySignal(SIGABRT),
                "Platform: CFDictionaryAddValue: the object is null");
    EXPECT_EXIT(CFDictionaryCreateMutable(nullptr, -1, nullptr, nullptr),
                testing::KilledBySignal(SIGABRT),
                "Platform: CFDictionaryCreateMutable: the capacity is negative");
    EXPECT_EXIT(
        CFDictionaryAddValue(const_cast<CFMutableDictionaryRef>(Read("<dict/>")), nullptr, nullptr),
        testing::KilledBySignal(SIGABRT),
        "Platform: CFDictionaryAddValue: the dictionary was read from a document");
}

} // namespace
