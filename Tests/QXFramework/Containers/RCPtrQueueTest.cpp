// RCPtrQueueTest.cpp - order, growth and counts of the ring.

#include "Support/FailingHeap.h"
#include "Support/RegionProbe.h"
#include "Support/Witness.h"

#include <QX/RCPtrQueue.h>

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using QX::Mutex;
using QX::RCPtr;
using QX::uint32;
using TestSupport::MakeWitness;
using TestSupport::Witness;
using Queue = QX::RCPtrQueue<Witness, 256>;

class RCPtrQueueTest : public testing::Test
{
protected:
    void SetUp() override { RegionProbe::Reset(); }
    void TearDown() override
    {
        EXPECT_EQ(Witness::GetLiveCount(), 0);
        EXPECT_EQ(RegionProbe::sEntries, RegionProbe::sExits);
    }

    static void Enqueue(Queue& queue, const std::string& names)
    {
        for (const char name : names) {
            EXPECT_EQ(queue.Enqueue(MakeWitness(name)), 0);
        }
    }

    static std::string Drain(Queue& queue)
    {
        std::string names;
        RCPtr<Witness> item;
        while (queue.TryDequeue(item)) {
            names += item ? item->GetName() : '.';
        }
        return names;
    }
};

TEST_F(RCPtrQueueTest, IsFullWithOneSlotLeftAndThenGrowsByOne)
{
    Mutex mutex;
    Queue queue(&mutex, 256);
    std::vector<RCPtr<Witness>> items;
    EXPECT_EQ(queue.GetQueuedObjectsCount(), 0u);
    EXPECT_EQ(queue.GetCount(), 256u);

    for (int index = 0; index < 255; ++index) {
        EXPECT_FALSE(queue.IsFull());
        items.push_back(MakeWitness('A'));
        queue.Enqueue(items.back());
    }
    EXPECT_TRUE(queue.IsFull());
    EXPECT_EQ(queue.GetCount(), 256u);
    items.push_back(MakeWitness('B'));
    queue.Enqueue(items.back());

    EXPECT_EQ(queue.GetCount(), 257u);
    EXPECT_TRUE(queue.IsFull());
    EXPECT_EQ(queue.GetQueuedObjectsCount(), 256u);
    for (const RCPtr<Witness>& item : items) {
        EXPECT_EQ(queue.Dequeue(), item);
    }
    EXPECT_EQ(queue.GetQueuedObjectsCount(), 0u);
}

TEST_F(RCPtrQueueTest, ARingWithoutSlotsGetsTwoOnItsFirstObject)
{
    Queue queue(nullptr, 0);
    EXPECT_EQ(queue.GetQueuedObjectsCount(), 0u);
    EXPECT_FALSE(queue.IsFull());

    Enqueue(queue, "A");

    EXPECT_EQ(queue.GetCount(), 2u);
    EXPECT_EQ(queue.GetQueuedObjectsCount(), 1u);
    EXPECT_TRUE(queue.IsFull());
    Enqueue(queue, "B");
    EXPECT_EQ(queue.GetCount(), 3u);
    EXPECT_EQ(Drain(queue), "AB");
}

TEST_F(RCPtrQueueTest, DequeueOfAnEmptyOneThrowsAndChangesNothing)
{
    Mutex mutex;
    for (const uint32 slots : {0u, 1u, 4u}) {
        SCOPED_TRACE(slots);
        Queue queue(&mutex, slots);

        try {
            queue.Dequeue();
            FAIL() << "nothing was thrown";
        } catch (const QX::Exception<std::runtime_error>& error) {
            EXPECT_STREQ(error.what(),
                         "Runtime Error :  : Utilities/Storage/RCPtrQueue : Line 106");
        }

        EXPECT_EQ(queue.GetQueuedObjectsCount(), 0u);
        EXPECT_EQ(queue.GetCount(), slots);
        Enqueue(queue, "A");
        EXPECT_EQ(queue.Dequeue()->GetName(), 'A');
    }
}

TEST_F(RCPtrQueueTest, TryDequeueTakesTheOldestOrTellsThatThereIsNone)
{
    Queue queue(nullptr, 4);
    Enqueue(queue, "AB");
    RCPtr<Witness> item;

    EXPECT_TRUE(queue.TryDequeue(item));
    EXPECT_EQ(item->GetName(), 'A');
    EXPECT_TRUE(queue.TryDequeue(item));
    EXPECT_FALSE(queue.TryDequeue(item));
    EXPECT_EQ(item->GetName(), 'B');
    Queue withoutSlots(nullptr, 0);
    EXPECT_FALSE(withoutSlots.TryDequeue(item));
}

TEST_F(RCPtrQueueTest, EnqueueAndDequeueEnterTheMutexTwice)
{
    Mutex mutex;
    Queue queue(&mutex, 4);

    RegionProbe::Reset();
    Enqueue(queue, "A");
    EXPECT_EQ(RegionProbe::sEntries, 2) << "once for IsFull, inside the mutex";
    RegionProbe::Reset();
    EXPECT_FALSE(queue.IsFull());
    EXPECT_EQ(RegionProbe::sEntries, 1);
    RegionProbe::Reset();
    queue.Dequeue();
    EXPECT_EQ(RegionProbe::sEntries, 2);
    RegionProbe::Reset();
    EXPECT_THROW(queue.Dequeue(), std::runtime_error);
    EXPECT_EQ(RegionProbe::sEntries, 1);
}

TEST_F(RCPtrQueueTest, GrowsInsideTheMutexAndEntersItNoMoreThanWithRoom)
{
    static int sDepthThen = 0;
    Mutex mutex;
    Queue queue(&mutex, 256);
    Enqueue(queue, std::string(255, 'A'));
    ASSERT_TRUE(queue.IsFull());
    const RCPtr<Witness> item = MakeWitness('B');

    RegionProbe::Reset();
    {
        const TestSupport::FailingHeap heap([] { sDepthThen = RegionProbe::sDepth; });
        queue.Enqueue(item);
        EXPECT_EQ(heap.CountRequests(), 1);
    }

    EXPECT_EQ(queue.GetCount(), 257u);
    EXPECT_EQ(sDepthThen, 1);
    EXPECT_EQ(RegionProbe::sEntries, 2);
    EXPECT_EQ(RegionProbe::sExits, 2);
}

TEST_F(RCPtrQueueTest, PushHandsTheReferenceOver)
{
    Queue queue(nullptr, 2);
    Enqueue(queue, "A");
    std::string journal;
    RCPtr<Witness> item = MakeWitness('B', journal);
    journal.clear();

    queue.Push(item);

    EXPECT_EQ(journal, "");
    EXPECT_EQ(item, nullptr);
    EXPECT_EQ(queue.Dequeue()->GetName(), 'A');
    EXPECT_EQ(queue.Dequeue()->GetName(), 'B');
}

TEST_F(RCPtrQueueTest, KeepsOneReferenceToAQueuedObjectAndNoneToOneThatHasLeft)
{
    std::string journal;
    Queue queue(nullptr, 4);
    RCPtr<Witness> item = MakeWitness('A', journal);
    journal.clear();

    queue.Enqueue(item);
    EXPECT_EQ(journal, "+A ");
    journal.clear();
    RCPtr<Witness> left = queue.Dequeue();

    EXPECT_EQ(journal, "");
    EXPECT_EQ(left->GetReferenceCount(), 2);
    EXPECT_EQ(NamesOf(queue), "....");
}

TEST_F(RCPtrQueueTest, TryDequeueDropsWhatTheItemHeldAfterTheRemoval)
{
    Mutex mutex;
    Queue queue(&mutex, 4);
    Enqueue(queue, "AB");
    RCPtr<Witness> item = MakeWitness('X');
    uint32 countThen = 99;
    int depthThen = 99;
    item->onDestruction = [&] {
        countThen = queue.GetQueuedObjectsCount();
        depthThen = RegionProbe::sDepth;
    };

    EXPECT_TRUE(queue.TryDequeue(item));

    EXPECT_EQ(item->GetName(), 'A');
    EXPECT_EQ(countThen, 1u);
    EXPECT_EQ(depthThen, 0);
}

TEST_F(RCPtrQueueTest, TakesOneOfItsOwnSlotsWhileItGrows)
{
    Queue queue(nullptr, 3);
    Enqueue(queue, "AB");
    ASSERT_TRUE(queue.IsFull());

    queue.Enqueue(*queue.GetAt(0));

    EXPECT_EQ(Drain(queue), "ABA");
}

TEST_F(RCPtrQueueTest, EntersNoLockWithoutSlots)
{
    Mutex mutex;
    Queue queue(&mutex, 0);

    EXPECT_EQ(queue.GetQueuedObjectsCount(), 0u);
    EXPECT_FALSE(queue.IsFull());
    EXPECT_THROW(queue.Dequeue(), std::runtime_error);

    EXPECT_EQ(RegionProbe::sEntries, 0);
    Enqueue(queue, "A");
    EXPECT_GT(RegionProbe::sEntries, 0);
}

TEST_F(RCPtrQueueTest, WorksWhileTheCallerHoldsItsMutex)
{
    Mutex mutex;
    Queue queue(&mutex, 2);
    const QX::MutexLock lock(mutex);

    Enqueue(queue, "ABC");

    EXPECT_TRUE(queue.IsFull());
    EXPECT_EQ(Drain(queue), "ABC");
    EXPECT_EQ(RegionProbe::sDepth, 1);
}

/// Fails if a count changes while the thread is inside a region.
class OutsideOnly : public Witness
{
public:
    using Witness::Witness;
    QX::int32 AddReference() override
    {
        EXPECT_EQ(RegionProbe::sDepth, 0);
        return Witness::AddReference();
    }
    QX::int32 RemoveReference() override
    {
        EXPECT_EQ(RegionProbe::sDepth, 0);
        return Witness::RemoveReference();
    }
};

TEST_F(RCPtrQueueTest, ChangesNoCountUnderItsMutex)
{
    Mutex mutex;
    Queue queue(&mutex, 2);
    for (int round = 0; round < 10; ++round) {
        queue.Enqueue(RCPtr<Witness>(new OutsideOnly('A')));
        queue.Enqueue(RCPtr<Witness>(new OutsideOnly('B')));
        queue.Dequeue();
    }
    queue.Enqueue(*queue.GetAt(0));

    EXPECT_EQ(queue.GetQueuedObjectsCount(), 11u);
}

TEST_F(RCPtrQueueTest, CountsRoundAnArrayThatWasShortened)
{
    const struct
    {
        const char* what;
        const char* queued;
        int dequeued;
        const char* queuedLater;
        uint32 slots;
        uint32 expected;
    } rows[] = {
        {"the write index at the end", "ABCD", 0, "", 4, 0},
        {"both indices at the end", "ABCD", 4, "", 4, 0},
        {"the read index at the end", "ABCDE", 4, "", 4, 1},
        {"the read index alone at the end", "ABCDEFG", 5, "HI", 5, 1},
        {"the write index after the end", "ABCDE", 2, "", 4, 3},
        {"both indices after the end", "ABCDEFG", 5, "", 4, 2},
        {"nothing queued after the end", "ABCDEF", 6, "", 4, 0},
        {"a single slot", "ABCD", 2, "", 1, 0},
        {"no slots", "AB", 1, "", 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Queue queue(nullptr, 8);
        Enqueue(queue, row.queued);
        for (int count = 0; count < row.dequeued; ++count) {
            queue.Dequeue();
        }
        Enqueue(queue, row.queuedLater);

        queue.SetCount(row.slots);

        EXPECT_EQ(queue.GetQueuedObjectsCount(), row.expected);
        for (uint32 count = 0; count < row.expected; ++count) {
            RCPtr<Witness> taken;
            EXPECT_TRUE(queue.TryDequeue(taken));
        }
        EXPECT_EQ(queue.GetQueuedObjectsCount(), 0u);
        Enqueue(queue, "JKLMN");
        EXPECT_EQ(Drain(queue), "JKLMN");
    }
}

TEST_F(RCPtrQueueTest, BehavesAsADequeUnderRandomTraffic)
{
    for (uint32 slots = 0; slots <= 6; ++slots) {
        for (uint32 seed = 0; seed < 20; ++seed) {
            SCOPED_TRACE(slots * 100 + seed);
            std::mt19937 random(seed);
            QX::RCPtrQueue<Witness, 4> queue(nullptr, slots);
            std::deque<RCPtr<Witness>> model;
            const uint32 bias = 30 + seed * 2;

            for (int step = 0; step < 300; ++step) {
                if (random() % 100 < bias) {
                    const RCPtr<Witness> item = random() % 16 == 0 ? nullptr : MakeWitness('A');
                    queue.Enqueue(item);
                    model.push_back(item);
                } else if (!model.empty()) {
                    ASSERT_EQ(queue.Dequeue(), model.front());
                    model.pop_front();
                } else {
                    ASSERT_THROW(queue.Dequeue(), std::runtime_error);
                }
                ASSERT_EQ(queue.GetQueuedObjectsCount(), model.size());
                ASSERT_EQ(queue.IsFull(), model.size() + 1 == queue.GetCount());
            }
            int held = 0;
            for (uint32 index = 0; index < queue.GetCount(); ++index) {
                held += *queue.GetAt(index) != nullptr ? 1 : 0;
            }
            for (const RCPtr<Witness>& item : model) {
                held -= item != nullptr ? 1 : 0;
                ASSERT_EQ(queue.Dequeue(), item);
            }
            ASSERT_EQ(held, 0);
        }
    }
}

} // namespace
