// ObjectTest.cpp - reference counts, the number of live objects, and the end of programs that
// miscount.

#include "Platform/PlatformTesting.h"

#include <csignal>
#include <set>
#include <thread>
#include <vector>

namespace {

using Object = Platform::LedgerTest;
using ObjectDeathTest = Platform::LedgerTest;

TEST_F(Object, LivesUntilItsLastReferenceIsReleased)
{
    const SInt32 data = StandinGetLiveObjectCount(CFDataGetTypeID());
    const SInt32 total = StandinGetTotalLiveObjectCount();

    CFDataRef object = Platform::MakeData("abc");
    EXPECT_EQ(CFRetain(object), object);
    CFRelease(object);

    EXPECT_EQ(StandinGetLiveObjectCount(CFDataGetTypeID()), data + 1);
    EXPECT_EQ(StandinGetTotalLiveObjectCount(), total + 1);
    CFRelease(object);
    EXPECT_EQ(StandinGetLiveObjectCount(CFDataGetTypeID()), data);
    EXPECT_EQ(StandinGetTotalLiveObjectCount(), total);
    EXPECT_EQ(StandinGetLiveObjectCount(0xFFFFFFFF), 0);
}

TEST_F(Object, TellsItsType)
{
    const SInt32 seven = 7;
    CFDataRef data = Platform::MakeData("abc");
    CFNumberRef number = CFNumberCreate(nullptr, kCFNumberSInt32Type, &seven);
    CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr);

    EXPECT_EQ(CFGetTypeID(data), CFDataGetTypeID());
    EXPECT_EQ(CFGetTypeID(number), CFNumberGetTypeID());
    EXPECT_EQ(CFGetTypeID(dictionary), CFDictionaryGetTypeID());

    const std::set<CFTypeID> types = {CFDataGetTypeID(), CFNumberGetTypeID(),
                                      CFDictionaryGetTypeID(), CFGetTypeID(CFSTR("text"))};
    EXPECT_EQ(types.size(), 4u);
    for (CFTypeRef object : {CFTypeRef(data), CFTypeRef(number), CFTypeRef(dictionary)}) {
        CFRelease(object);
    }
}

TEST_F(Object, ConstantObjectsAreNeverDestroyed)
{
    for (int round = 0; round < 3; ++round) {
        CFRelease(CFSTR("constant"));
        CFRelease(kCFRunLoopDefaultMode);
    }

    EXPECT_EQ(Platform::TextOf(CFSTR("constant")), "constant");
    EXPECT_EQ(Platform::TextOf(kCFRunLoopDefaultMode), "kCFRunLoopDefaultMode");
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

    EXPECT_EQ(Platform::BytesOf(data), "abc");
    CFRelease(data);
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
