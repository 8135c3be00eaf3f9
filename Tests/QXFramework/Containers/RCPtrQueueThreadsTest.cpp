// RCPtrQueueThreadsTest.cpp - the ring between threads.

#include <QX/RCPtrQueue.h>

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using QX::Mutex;
using QX::RCPtr;
using QX::uint32;

constexpr uint32 kCount = 3000;

/// A counted object with a producer and a place in that producer's order.
class Parcel : public virtual QX::LRefCountedObject
{
public:
    Parcel(uint32 producer, uint32 number)
        : mProducer(producer)
        , mNumber(number)
    {
        ++sLiveCount;
    }
    ~Parcel() override { --sLiveCount; }

    uint32 mProducer;
    uint32 mNumber;

    inline static std::atomic<int> sLiveCount = 0;
};

using ParcelQueue = QX::RCPtrQueue<Parcel, 4>;

void Produce(ParcelQueue& queue, uint32 producer)
{
    for (uint32 number = 0; number < kCount; ++number) {
        queue.Enqueue(RCPtr<Parcel>(new Parcel(producer, number)));
    }
}

TEST(RCPtrQueueThreads, TwoProducersAndAConsumerKeepEachProducersOrder)
{
    Mutex mutex;
    {
        ParcelQueue queue(&mutex, 0);
        std::thread first(Produce, std::ref(queue), 0);
        std::thread second(Produce, std::ref(queue), 1);

        std::vector<uint32> next(2, 0);
        for (uint32 taken = 0; taken < 2 * kCount;) {
            if (queue.GetQueuedObjectsCount() == 0) {
                std::this_thread::yield();
                continue;
            }
            const RCPtr<Parcel> parcel = queue.Dequeue(); // the only consumer: never empty
            ASSERT_EQ(parcel->mNumber, next[parcel->mProducer]);
            ++next[parcel->mProducer];
            ++taken;
        }
        first.join();
        second.join();

        EXPECT_EQ(queue.GetQueuedObjectsCount(), 0u);
    }
    EXPECT_EQ(Parcel::sLiveCount, 0);
}

TEST(RCPtrQueueThreads, TwoConsumersLoseNothingAndTakeNoNull)
{
    Mutex mutex;
    ParcelQueue queue(&mutex, 3);
    std::atomic<uint32> taken = 0;
    std::vector<std::atomic<int>> seen(kCount);
    const auto consume = [&](bool isThrowing) {
        while (taken < kCount) {
            RCPtr<Parcel> parcel;
            if (isThrowing) {
                try {
                    parcel = queue.Dequeue();
                } catch (const std::runtime_error&) {
                    std::this_thread::yield();
                    continue;
                }
            } else if (!queue.TryDequeue(parcel)) {
                std::this_thread::yield();
                continue;
            }
            ASSERT_NE(parcel, nullptr);
            ++seen[parcel->mNumber];
            ++taken;
        }
    };
    std::thread first(consume, true);
    std::thread second(consume, false);

    Produce(queue, 0);
    first.join();
    second.join();

    for (const std::atomic<int>& times : seen) {
        ASSERT_EQ(times, 1);
    }
    EXPECT_EQ(queue.GetQueuedObjectsCount(), 0u);
    queue.Enqueue(RCPtr<Parcel>(new Parcel(0, 7)));
    EXPECT_EQ(queue.Dequeue()->mNumber, 7u);
}

TEST(RCPtrQueueThreads, TheCountMayBeReadWhileOthersGrowTheRing)
{
    Mutex mutex;
    ParcelQueue queue(&mutex, 0);
    std::atomic<bool> isDone = false;
    std::thread reader([&] {
        uint32 last = 0;
        while (!isDone) {
            const uint32 count = queue.GetQueuedObjectsCount();
            ASSERT_GE(count, last);
            last = count;
            queue.IsFull();
        }
    });
    std::thread first(Produce, std::ref(queue), 0);
    Produce(queue, 1);
    first.join();
    isDone = true;
    reader.join();

    EXPECT_EQ(queue.GetQueuedObjectsCount(), 2 * kCount);
}

} // namespace
