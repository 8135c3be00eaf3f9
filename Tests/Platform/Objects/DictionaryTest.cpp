// DictionaryTest.cpp - dictionaries of plain pointers and of objects.

#include "Platform/PlatformTesting.h"

#include <csignal>
#include <map>
#include <random>

namespace {

using Dictionary = Platform::LedgerTest;
using DictionaryDeathTest = Platform::LedgerTest;

const void* Pointer(std::size_t number)
{
    return reinterpret_cast<const void*>(number);
}

TEST_F(Dictionary, WithNullCallbacksComparesKeysByAddress)
{
    CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(nullptr, 2, nullptr, nullptr);
    CFStringRef one = Platform::MakeString("key");
    CFStringRef other = Platform::MakeString("key");

    CFDictionaryAddValue(dictionary, one, Pointer(1));
    CFDictionaryAddValue(dictionary, other, Pointer(2));

    EXPECT_EQ(CFDictionaryGetCount(dictionary), 2);
    EXPECT_EQ(CFDictionaryGetValue(dictionary, one), Pointer(1));
    EXPECT_EQ(CFDictionaryGetValue(dictionary, other), Pointer(2));
    EXPECT_EQ(CFGetRetainCount(one), 1);
    CFRelease(one);
    CFRelease(other);
    CFRelease(dictionary);
}

TEST_F(Dictionary, WithNullCallbacksReleasesNothingAndReadsNoEntryAtItsEnd)
{
    CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(nullptr, 2, nullptr, nullptr);
    CFDataRef value = Platform::MakeData("abc");
    CFDictionaryAddValue(dictionary, CFSTR("key"), value);
    CFDictionaryAddValue(dictionary, Pointer(1), Pointer(3));
    CFDictionaryAddValue(dictionary, nullptr, nullptr);
    EXPECT_EQ(CFGetRetainCount(value), 1);

    CFRelease(value);
    CFRelease(dictionary);
}

TEST_F(Dictionary, WithObjectCallbacksComparesKeysByContentAndRetains)
{
    CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(
        nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    CFStringRef key = Platform::MakeString("key");
    CFDataRef value = Platform::MakeData("abc");

    CFDictionaryAddValue(dictionary, key, value);

    EXPECT_EQ(CFGetRetainCount(key), 2);
    EXPECT_EQ(CFGetRetainCount(value), 2);
    EXPECT_EQ(CFDictionaryGetValue(dictionary, CFSTR("key")), value);
    EXPECT_EQ(CFDictionaryGetValue(dictionary, CFSTR("Key")), nullptr);
    CFRelease(dictionary);
    EXPECT_EQ(CFGetRetainCount(key), 1);
    CFRelease(key);
    CFRelease(value);
}

TEST_F(Dictionary, AddKeepsAPresentKeyAndSetReplacesIt)
{
    CFMutableDictionaryRef dictionary =
        CFDictionaryCreateMutable(nullptr, 0, nullptr, &kCFTypeDictionaryValueCallBacks);
    CFDataRef first = Platform::MakeData("first");
    CFDataRef second = Platform::MakeData("second");

    CFDictionaryAddValue(dictionary, Pointer(1), first);
    CFDictionaryAddValue(dictionary, Pointer(1), second);
    EXPECT_EQ(CFDictionaryGetValue(dictionary, Pointer(1)), first);

    CFDictionarySetValue(dictionary, Pointer(1), second);
    EXPECT_EQ(CFDictionaryGetValue(dictionary, Pointer(1)), second);
    EXPECT_EQ(CFDictionaryGetCount(dictionary), 1);
    EXPECT_EQ(CFGetRetainCount(first), 1);
    CFRelease(dictionary);
    CFRelease(first);
    CFRelease(second);
}

TEST_F(Dictionary, AgreesWithAMapForManyKeys)
{
    CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(nullptr, 2, nullptr, nullptr);
    std::map<const void*, const void*> expected;
    std::mt19937 random(7);

    for (std::size_t step = 0; step < 3000; ++step) {
        const void* key = Pointer((random() % 1000) * 16);
        if (step % 2 == 0) {
            CFDictionaryAddValue(dictionary, key, Pointer(step));
            expected.emplace(key, Pointer(step));
        } else {
            CFDictionarySetValue(dictionary, key, Pointer(step));
            expected[key] = Pointer(step);
        }
    }

    ASSERT_EQ(CFDictionaryGetCount(dictionary), static_cast<CFIndex>(expected.size()));
    std::vector<const void*> keys(expected.size());
    std::vector<const void*> values(expected.size());
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    for (std::size_t index = 0; index < keys.size(); ++index) {
        EXPECT_EQ(expected.at(keys[index]), values[index]);
        EXPECT_EQ(CFDictionaryGetValue(dictionary, keys[index]), values[index]);
    }
    EXPECT_EQ(CFDictionaryGetValue(dictionary, Pointer(7)), nullptr);
    CFRelease(dictionary);
}

TEST_F(DictionaryDeathTest, MisuseStopsTheProgramWithAMessage)
{
    EXPECT_EXIT(CFDictionaryAddValue(nullptr, nullptr, nullptr), testing::KilledBySignal(SIGABRT),
                "Platform: CFDictionaryAddValue: the object is null");
    EXPECT_EXIT(CFDictionaryCreateMutable(nullptr, -1, nullptr, nullptr),
                testing::KilledBySignal(SIGABRT),
                "Platform: CFDictionaryCreateMutable: the capacity is negative");
}

} // namespace
