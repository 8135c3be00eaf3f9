// ArrayTest.cpp - arrays of plain pointers.

#include "Platform/PlatformTesting.h"

#include <csignal>

namespace {

using Array = Platform::LedgerTest;
using ArrayDeathTest = Platform::LedgerTest;
using Platform::Pointer;

TEST_F(Array, HoldsMoreValuesThanItsCapacityInOrder)
{
    CFMutableArrayRef array = CFArrayCreateMutable(nullptr, 1, nullptr);

    for (std::size_t number = 0; number < 100; ++number) {
        CFArrayAppendValue(array, Pointer(number * 3));
    }

    ASSERT_EQ(CFArrayGetCount(array), 100);
    for (CFIndex index = 0; index < 100; ++index) {
        EXPECT_EQ(CFArrayGetValueAtIndex(array, index),
                  Pointer(static_cast<std::size_t>(index) * 3));
    }
    CFRelease(array);
}

TEST_F(Array, TakesNullAndWildPointersAndTouchesNone)
{
    CFMutableArrayRef array = CFArrayCreateMutable(nullptr, 0, nullptr);

    CFArrayAppendValue(array, nullptr);
    CFArrayAppendValue(array, Pointer(1));

    EXPECT_EQ(CFArrayGetValueAtIndex(array, 0), nullptr);
    EXPECT_EQ(CFArrayGetValueAtIndex(array, 1), Pointer(1));
    CFRelease(array);
}

TEST_F(Array, RemovalClosesTheGapAndKeepsTheOrder)
{
    struct
    {
        const char* what;
        CFIndex removed;
        std::size_t left[2];
    } const cases[] = {{"first", 0, {2, 3}}, {"middle", 1, {1, 3}}, {"last", 2, {1, 2}}};

    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.what);
        CFMutableArrayRef array = CFArrayCreateMutable(nullptr, 1, nullptr);
        for (std::size_t number = 1; number <= 3; ++number) {
            CFArrayAppendValue(array, Pointer(number));
        }

        CFArrayRemoveValueAtIndex(array, entry.removed);

        ASSERT_EQ(CFArrayGetCount(array), 2);
        EXPECT_EQ(CFArrayGetValueAtIndex(array, 0), Pointer(entry.left[0]));
        EXPECT_EQ(CFArrayGetValueAtIndex(array, 1), Pointer(entry.left[1]));
        CFRelease(array);
    }
}

TEST_F(ArrayDeathTest, MisuseStopsTheProgramWithAMessage)
{
    EXPECT_EXIT(CFArrayAppendValue(nullptr, nullptr), testing::KilledBySignal(SIGABRT),
                "Platform: CFArrayAppendValue: the object is null");
    EXPECT_EXIT(CFArrayGetCount(nullptr), testing::KilledBySignal(SIGABRT),
                "Platform: CFArrayGetCount: the object is null");
    EXPECT_EXIT(CFArrayCreateMutable(nullptr, -1, nullptr), testing::KilledBySignal(SIGABRT),
                "Platform: CFArrayCreateMutable: the capacity is negative");
    for (const CFIndex index : {-1, 0, 1}) {
        EXPECT_EXIT(CFArrayGetValueAtIndex(CFArrayCreateMutable(nullptr, 1, nullptr), index),
                    testing::KilledBySignal(SIGABRT),
                    "Platform: CFArrayGetValueAtIndex: the index is outside the array");
        EXPECT_EXIT(CFArrayRemoveValueAtIndex(CFArrayCreateMutable(nullptr, 1, nullptr), index),
                    testing::KilledBySignal(SIGABRT),
                    "Platform: CFArrayRemoveValueAtIndex: the index is outside the array");
    }
}

} // namespace
