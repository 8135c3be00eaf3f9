// AtomicsTest.cpp - the atomic operations return the value before and wrap around.

#include <CoreServices/CoreServices.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

TEST(Atomics, IncrementAndDecrementReturnTheValueBefore)
{
    SInt32 word = 5;

    EXPECT_EQ(IncrementAtomic(&word), 5);
    EXPECT_EQ(word, 6);
    EXPECT_EQ(DecrementAtomic(&word), 6);
    EXPECT_EQ(word, 5);
}

TEST(Atomics, WrapAroundAt32Bits)
{
    SInt32 word = 0x7FFFFFFF;

    EXPECT_EQ(IncrementAtomic(&word), 0x7FFFFFFF);
    EXPECT_EQ(word, -0x7FFFFFFF - 1);
    EXPECT_EQ(DecrementAtomic(&word), -0x7FFFFFFF - 1);
    EXPECT_EQ(word, 0x7FFFFFFF);
}

TEST(Atomics, CompareAndSwapStoresOnlyOverTheOldValue)
{
    UInt32 word = 1;

    EXPECT_TRUE(CompareAndSwap(1, 2, &word));
    EXPECT_EQ(word, 2u);
    EXPECT_FALSE(CompareAndSwap(1, 3, &word));
    EXPECT_EQ(word, 2u);
}

TEST(Atomics, CountExactlyFromManyThreads)
{
    SInt32 word = 0;
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index) {
        threads.emplace_back([&word] {
            for (int round = 0; round < 5000; ++round) {
                IncrementAtomic(&word);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_EQ(word, 20000);
}

} // namespace
