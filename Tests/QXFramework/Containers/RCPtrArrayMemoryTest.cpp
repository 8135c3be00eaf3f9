// RCPtrArrayMemoryTest.cpp - what the arrays ask of the heap, and what a refusal does.

#include "Support/FailingHeap.h"
#include "Support/Witness.h"

#include <QX/RCPtrArray.h>
#include <QX/RCPtrQueue.h>

#include <gtest/gtest.h>

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
constexpr int32 kFailure = static_cast<int32>(0x80000008u);

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
    EXPECT_EQ(array.Insert(0, 257), kFailure);
}

TEST_F(RCPtrArrayMemory, TheLargeOneGrowsBy256Slots)
{
    QX::RCPtrArray<Witness, 256, 256> array;
    array.SetCount(257);
    {
        const LimitedHeap heap(768 * kSlot - 1);
        EXPECT_EQ(array.SetCount(512), 512);
        EXPECT_EQ(heap.CountRequests(), 0);
        EXPECT_EQ(array.SetCount(513), kFailure);
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
    EXPECT_EQ(array.SetCount(4), kFailure);
}

TEST_F(RCPtrArrayMemory, ARefusalLosesNothing)
{
    Array array;
    Fill(array, "ABC");
    Array other;
    Fill(other, "XY");
    const RCPtr<Witness> item = MakeWitness('N');
    const LimitedHeap heap(3 * kSlot);

    EXPECT_EQ(array.SetCount(4), kFailure);
    EXPECT_EQ(array.Insert(0, 1), kFailure);
    EXPECT_EQ(array.Insert(3, 1), kFailure);
    EXPECT_EQ(array.InsertItem(1, item), kFailure);
    EXPECT_EQ(array.AppendItem(item), kFailure);
    EXPECT_EQ(array.Append(other), kFailure);

    EXPECT_EQ(NamesOf(array), "ABC");
    EXPECT_EQ(item->GetReferenceCount(), 1);
    EXPECT_EQ((*array.GetAt(0))->GetReferenceCount(), 1);
}

TEST_F(RCPtrArrayMemory, ABlockThatCannotBeMadeSmallerIsKept)
{
    Array array;
    Fill(array, "ABCD");
    const LimitedHeap heap(0);
    RCPtr<Witness> removed;

    EXPECT_EQ(array.RemoveItem(0, removed), 3);
    EXPECT_EQ(array.Remove(0, 1), 2);

    EXPECT_EQ(NamesOf(array), "CD");
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

TEST_F(RCPtrArrayMemory, AConstructorThrowsWhenItsSlotsAreRefused)
{
    const LimitedHeap heap(4 * kSlot - 1);

    EXPECT_THROW(Array(4), std::bad_alloc);
    EXPECT_NO_THROW(Array(3));
}

TEST_F(RCPtrArrayMemory, ARefusedReserveLeavesAnEmptyArray)
{
    const FailingHeap heap(1);
    QX::RCPtrArray<Witness, 256, 256> array;
    EXPECT_EQ(array.GetCount(), 0u);

    EXPECT_EQ(array.AppendItem(MakeWitness('A')), 0);

    EXPECT_EQ(NamesOf(array), "A");
}

TEST_F(RCPtrArrayMemory, ARingThatCannotGrowThrowsWithNothingChanged)
{
    QX::RCPtrQueue<Witness, 1> queue(nullptr, 3);
    const RCPtr<Witness> item = MakeWitness('C');
    queue.Enqueue(MakeWitness('A'));
    queue.Enqueue(MakeWitness('B'));
    {
        const FailingHeap heap(1);
        EXPECT_THROW(queue.Enqueue(item), std::bad_alloc);
    }

    EXPECT_EQ(item->GetReferenceCount(), 1);
    EXPECT_EQ(queue.GetQueuedObjectsCount(), 2u);
    EXPECT_EQ(queue.Dequeue()->GetName(), 'A');
    queue.Enqueue(item);
    EXPECT_EQ(queue.Dequeue()->GetName(), 'B');
    EXPECT_EQ(queue.Dequeue()->GetName(), 'C');
}

TEST_F(RCPtrArrayMemory, ARingWithoutSlotsThrowsWhenItsFirstOnesAreRefused)
{
    QX::RCPtrQueue<Witness, 1> queue(nullptr, 0);
    const RCPtr<Witness> item = MakeWitness('A');
    {
        const LimitedHeap heap(kSlot);
        EXPECT_THROW(queue.Enqueue(item), std::bad_alloc);
    }

    EXPECT_EQ(queue.GetQueuedObjectsCount(), 0u);
    EXPECT_EQ(queue.Enqueue(MakeWitness('B')), 0);
    EXPECT_EQ(queue.Dequeue()->GetName(), 'B');
}

TEST_F(RCPtrArrayMemory, ARingOf256SlotsIsOneBlock)
{
    const FailingHeap heap(2);
    QX::RCPtrQueue<Witness, 256> queue(nullptr, 256);

    EXPECT_EQ(heap.CountRequests(), 1);
    EXPECT_EQ(queue.GetCount(), 256u);
}

} // namespace
