// ObjectTest.cpp - reference counts, the ledger, and the end of programs that miscount.

#include "Platform/PlatformTesting.h"

#include <csignal>
#include <thread>
#include <vector>

namespace {

using Object = Platform::LedgerTest;
using ObjectDeathTest = Platform::LedgerTest;

TEST_F(Object, CreateGivesOneReferenceAndReleaseEndsTheObject)
{
    const SInt32 before = StandinGetLiveObjectCount(CFDataGetTypeID());

    CFDataRef data = Platform::MakeData("abc");

    EXPECT_EQ(CFGetRetainCount(data), 1);
    EXPECT_EQ(StandinGetLiveObjectCount(CFDataGetTypeID()), before + 1);
    CFRelease(data);
    EXPECT_EQ(StandinGetLiveObjectCount(CFDataGetTypeID()), before);
}

TEST_F(Object, RetainReturnsItsArgumentAndNeedsItsOwnRelease)
{
    CFDataRef data = Platform::MakeData("abc");

    EXPECT_EQ(CFRetain(data), data);

    EXPECT_EQ(CFGetRetainCount(data), 2);
    CFRelease(data);
    EXPECT_EQ(CFGetRetainCount(data), 1);
    CFRelease(data);
}

TEST_F(Object, EachTypeHasItsOwnIdentifier)
{
    const CFTypeID types[] = {CFStringGetTypeID(),      CFArrayGetTypeID(),
                              CFDictionaryGetTypeID(),  CFNumberGetTypeID(),
                              CFDataGetTypeID(),        CFBooleanGetTypeID(),
                              CFDateGetTypeID(),        CFRunLoopGetTypeID(),
                              CFMessagePortGetTypeID(), CFRunLoopSourceGetTypeID()};

    for (std::size_t one = 0; one < std::size(types); ++one) {
        EXPECT_NE(types[one], 0u);
        for (std::size_t other = one + 1; other < std::size(types); ++other) {
            EXPECT_NE(types[one], types[other]);
        }
    }
    EXPECT_EQ(CFGetTypeID(kCFBooleanTrue), CFBooleanGetTypeID());
    EXPECT_EQ(CFGetTypeID(kCFRunLoopDefaultMode), CFStringGetTypeID());
    EXPECT_EQ(CFGetTypeID(CFRunLoopGetCurrent()), CFRunLoopGetTypeID());
}

TEST_F(Object, ConstantObjectsAreNeverDestroyed)
{
    CFRelease(CFSTR("constant"));
    CFRelease(CFSTR("constant"));
    CFRelease(kCFRunLoopDefaultMode);
    CFRelease(kCFBooleanTrue);

    EXPECT_EQ(CFStringGetLength(CFSTR("constant")), 8);
    EXPECT_EQ(CFGetRetainCount(kCFRunLoopDefaultMode), 0x7FFFFFFF);
    EXPECT_TRUE(CFBooleanGetValue(kCFBooleanTrue));
}

TEST_F(Object, CountsSurviveManyThreads)
{
    CFDataRef data = Platform::MakeData("abc");
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index) {
        threads.emplace_back([data] {
            for (int round = 0; round < 2000; ++round) {
                CFRetain(data);
                CFRelease(data);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_EQ(CFGetRetainCount(data), 1);
    CFRelease(data);
}

TEST_F(Object, EqualityIsByContentForLeavesAndByIdentityForPlainContainers)
{
    CFDataRef one = Platform::MakeData("abc");
    CFDataRef same = Platform::MakeData("abc");
    CFDataRef other = Platform::MakeData("abd");
    CFMutableArrayRef array = CFArrayCreateMutable(nullptr, 0, nullptr);
    CFMutableArrayRef alike = CFArrayCreateMutable(nullptr, 0, nullptr);

    EXPECT_TRUE(CFEqual(one, same));
    EXPECT_EQ(CFHash(one), CFHash(same));
    EXPECT_FALSE(CFEqual(one, other));
    EXPECT_FALSE(CFEqual(one, CFSTR("abc")));
    EXPECT_TRUE(CFEqual(array, array));
    EXPECT_FALSE(CFEqual(array, alike));

    for (CFTypeRef object :
         {CFTypeRef(one), CFTypeRef(same), CFTypeRef(other), CFTypeRef(array), CFTypeRef(alike)}) {
        CFRelease(object);
    }
}

TEST_F(ObjectDeathTest, NullStopsTheProgramWithAMessage)
{
    EXPECT_EXIT(CFRelease(nullptr), testing::KilledBySignal(SIGABRT),
                "Platform: CFRelease: the object is null");
    EXPECT_EXIT(CFRetain(nullptr), testing::KilledBySignal(SIGABRT),
                "Platform: CFRetain: the object is null");
    EXPECT_EXIT(CFGetTypeID(nullptr), testing::KilledBySignal(SIGABRT),
                "Platform: CFGetTypeID: the object is null");
}

TEST_F(ObjectDeathTest, OneReleaseTooManyStopsTheProgramWithAMessage)
{
    EXPECT_EXIT(
        {
            CFDataRef data = Platform::MakeData("abc");
            CFRelease(data);
            CFRelease(data);
        },
        testing::KilledBySignal(SIGABRT),
        "Platform: CFRelease: the object has already been released for the last time");
}

TEST_F(ObjectDeathTest, UseOfAReleasedObjectStopsTheProgramWithAMessage)
{
    EXPECT_EXIT(
        {
            CFDataRef data = Platform::MakeData("abc");
            CFRelease(data);
            CFDataGetLength(data);
        },
        testing::KilledBySignal(SIGABRT), "Platform: CFDataGetLength: the object has already");
}

TEST_F(ObjectDeathTest, AnObjectOfAnotherTypeStopsTheProgramWithAMessage)
{
    EXPECT_EXIT(CFDataGetLength(reinterpret_cast<CFDataRef>(CFSTR("text"))),
                testing::KilledBySignal(SIGABRT),
                "Platform: CFDataGetLength: the object is a CFString, not a CFData");
}

} // namespace
