// RCPtrArrayMemoryTest.cpp - what the arrays ask of the heap, and what a refusal does.

#include "Support/FailingHeap.h"
#include "Support/Witness.h"

#include <QX/RCPtrArray.h>
#include <QX/RCPtrQueue.h>

#include <gtest/gtest.h>

#include <memory>
#include <new>

namespace {

using QX::int32;
using QX::RCPtr;
using QX::uint32;
using TestSupport::FailingHeap;
using TestSupport::LimitedHeap;
using TestSupport::MakeWitness;
using TestSupport::Witness;
using Array = QX::RCPtrArray<Witness, 1, 0>;

constexpr uint32 kSlot = sizeof(void*);
constexpr int32 kRefused = static_cast<int32>(0x80000008u);

class RCPtrArrayMemory : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(Witness::GetLiveCount(), 0); }

    static void Fill(Array& array, const std::string& names)
    {
        for (const char name : names) {
            array.AppendItem(MakeWitness(name));
        }
    }
};

TEST_F(RCPtrArrayMemory, TheLargeOneStartsWithRoomForItsReserve)
{
    const FailingHeap heap(2);
    QX::RCPtrArray<Witness, 256, 256> array;
    EXPECT_EQ(heap.CountRequests(), 1);

    EXPECT_EQ(array.SetCount(256), 256);
    EXPECT_EQ(array.SetCount(0), 0);

    // 256 null slots were opened and closed in the first block, which the slack keeps.
    EXPECT_EQ(heap.CountRequests(), 1);
    EXPECT_EQ(array.Insert(0, 257), kRefused);
}

TEST_F(RCPtrArrayMemory, TheLargeOneGrowsBy256Slots)
{
    QX::RCPtrArray<Witness, 256, 256> array;
    array.SetCount(257);
    {
        const LimitedHeap heap(768 * kSlot - 1);
        EXPECT_EQ(array.SetCount(512), 512);
        EXPECT_EQ(heap.CountRequests(), 0);
        EXPECT_EQ(array.SetCount(513), kRefused);
    }
    const LimitedHeap heap(768 * kSlot);
    EXPECT_EQ(array.SetCount(513), 513);
}

TEST_F(RCPtrArrayMemory, TheSmallOneHoldsExactlyItsSlots)
{
    const LimitedHeap heap(3 * kSlot);
    Array array;
    EXPECT_EQ(heap.CountRequests(), 0);

    EXPECT_EQ(array.SetCount(3), 3);
    EXPECT_EQ(array.SetCount(4), kRefused);
}

TEST_F(RCPtrArrayMemory, NullSlotsAreClosedInOneStep)
{
    Array array(1000);
    const FailingHeap heap(0);

    EXPECT_EQ(array.SetCount(10), 10);
    EXPECT_EQ(heap.CountRequests(), 1);
    EXPECT_EQ(array.Remove(2, 5), 5);
    EXPECT_EQ(heap.CountRequests(), 2);
}

TEST_F(RCPtrArrayMemory, NullSlotsBetweenObjectsAreClosedTogether)
{
    Array array(1000);
    array.InsertItem(500, MakeWitness('A'));
    const FailingHeap heap(0);

    EXPECT_EQ(array.SetCount(0), 0);

    // The slots before the object, its own, and one after it; dropping the rest frees the block.
    EXPECT_EQ(heap.CountRequests(), 3);
}

TEST_F(RCPtrArrayMemory, ADestructorMovesNothing)
{
    const FailingHeap heap(0);
    int requests = 0;
    {
        Array array;
        Fill(array, "ABC");
        array.SetCount(1000);
        requests = heap.CountRequests();
    }

    EXPECT_EQ(heap.CountRequests(), requests);
}

TEST_F(RCPtrArrayMemory, NullSlotsCostNoRequestAtTheEnd)
{
    auto small = std::make_unique<Array>(10000);
    auto large = std::make_unique<QX::RCPtrArray<Witness, 256, 256>>(10000);
    const FailingHeap heap(0);

    small = nullptr;
    large = nullptr;

    EXPECT_EQ(heap.CountRequests(), 0);
}

TEST_F(RCPtrArrayMemory, ARingThatHeld80000CostsNoRequestAtItsEnd)
{
    auto ring = std::make_unique<QX::RCPtrQueue<Witness, 256>>(nullptr, 80001);
    const RCPtr<Witness> item = MakeWitness('A');
    for (int count = 0; count < 80000; ++count) {
        ring->Enqueue(item);
    }
    ASSERT_TRUE(ring->IsFull());
    for (int count = 0; count < 80000; ++count) {
        ring->Dequeue();
    }
    const FailingHeap heap(0);

    ring = nullptr;

    EXPECT_EQ(heap.CountRequests(), 0);
}

TEST_F(RCPtrArrayMemory, ARingOf256SlotsIsOneBlock)
{
    const FailingHeap heap(2);
    QX::RCPtrQueue<Witness, 256> queue(nullptr, 256);

    EXPECT_EQ(heap.CountRequests(), 1);
    EXPECT_EQ(queue.GetCount(), 256u);
}

} // namespace
