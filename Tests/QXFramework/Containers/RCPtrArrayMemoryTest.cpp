// RCPtrArrayMemoryTest.cpp - what the arrays ask of the allocator, and what a refusal does.
//
// The program replaces the framework's allocator function by the one below, which only this file
// tells to refuse.

#include "Support/RefusingAllocator.h"
#include "Witness.h"

#include <QX/RCPtrArray.h>
#include <QX/RCPtrQueue.h>

#include <gtest/gtest.h>

#include <new>

namespace {

// Never destroyed: static arrays may still free their blocks.
RefusingAllocator& Allocator()
{
    static RefusingAllocator& allocator = *new RefusingAllocator;
    return allocator;
}

} // namespace

extern "C" QX::IAllocator* __wrap__ZN2QX18GetSystemAllocatorEv()
{
    return &Allocator();
}

namespace {

using QX::int32;
using QX::RCPtr;
using QX::uint32;
using Array = QX::RCPtrArray<Witness, 1, 0>;

constexpr uint32 kSlot = sizeof(void*);
constexpr int32 kFailure = static_cast<int32>(0x80000008u);

class RCPtrArrayMemory : public testing::Test
{
protected:
    void SetUp() override { Reset(); }
    void TearDown() override
    {
        Reset();
        EXPECT_EQ(Witness::GetLiveCount(), 0);
    }
    static void Reset() { Allocator() = RefusingAllocator(); }

    static void Fill(Array& array, const std::string& names)
    {
        for (const char name : names) {
            array.AppendItem(MakeWitness(name));
        }
    }
};

TEST_F(RCPtrArrayMemory, TheLargeOneStartsWithRoomForItsReserve)
{
    QX::RCPtrArray<Witness, 256, 256> array;
    EXPECT_EQ(Allocator().mRequests, 1u);
    Allocator().mLargest = 0;

    EXPECT_EQ(array.SetCount(256), 256);
    EXPECT_EQ(array.SetCount(0), 0);

    // 256 null slots were opened and closed in the first block, which the slack keeps.
    EXPECT_EQ(Allocator().mRequests, 1u);
    EXPECT_EQ(array.Insert(0, 257), kFailure);
}

TEST_F(RCPtrArrayMemory, TheLargeOneGrowsBy256Slots)
{
    QX::RCPtrArray<Witness, 256, 256> array;
    array.SetCount(257);
    const uint32 requests = Allocator().mRequests;

    array.SetCount(512);

    EXPECT_EQ(Allocator().mRequests, requests);
    Allocator().mLargest = 768 * kSlot - 1;
    EXPECT_EQ(array.SetCount(513), kFailure);
    Allocator().mLargest = 768 * kSlot;
    EXPECT_EQ(array.SetCount(513), 513);
}

TEST_F(RCPtrArrayMemory, TheSmallOneHoldsExactlyItsSlots)
{
    Array array;
    EXPECT_EQ(Allocator().mRequests, 0u);

    Allocator().mLargest = 3 * kSlot;

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
    Allocator().mLargest = 3 * kSlot;

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
    Allocator().mLargest = 0;
    RCPtr<Witness> removed;

    EXPECT_EQ(array.RemoveItem(0, removed), 3);
    EXPECT_EQ(array.Remove(0, 1), 2);

    EXPECT_EQ(NamesOf(array), "CD");
}

TEST_F(RCPtrArrayMemory, AConstructorThrowsWhenItsSlotsAreRefused)
{
    Allocator().mLargest = 4 * kSlot - 1;

    EXPECT_THROW(Array(4), std::bad_alloc);
    EXPECT_NO_THROW(Array(3));
}

TEST_F(RCPtrArrayMemory, ARefusedReserveLeavesAnEmptyArray)
{
    Allocator().mLargest = 0;
    QX::RCPtrArray<Witness, 256, 256> array;
    EXPECT_EQ(array.GetCount(), 0u);
    Reset();

    EXPECT_EQ(array.AppendItem(MakeWitness('A')), 0);

    EXPECT_EQ(NamesOf(array), "A");
}

TEST_F(RCPtrArrayMemory, ARingThatCannotGrowThrowsWithNothingChanged)
{
    QX::RCPtrQueue<Witness, 1> queue(nullptr, 3);
    const RCPtr<Witness> item = MakeWitness('C');
    queue.Enqueue(MakeWitness('A'));
    queue.Enqueue(MakeWitness('B'));
    Allocator().mLargest = 3 * kSlot;

    EXPECT_THROW(queue.Enqueue(item), std::bad_alloc);

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
    Allocator().mLargest = kSlot;

    EXPECT_THROW(queue.Enqueue(MakeWitness('A')), std::bad_alloc);

    EXPECT_EQ(queue.GetQueuedObjectsCount(), 0u);
    Reset();
    EXPECT_EQ(queue.Enqueue(MakeWitness('B')), 0);
    EXPECT_EQ(queue.Dequeue()->GetName(), 'B');
}

TEST_F(RCPtrArrayMemory, ARingOf256SlotsIsOneBlock)
{
    QX::RCPtrQueue<Witness, 256> queue(nullptr, 256);

    EXPECT_EQ(Allocator().mRequests, 1u);
    EXPECT_EQ(queue.GetCount(), 256u);
}

} // namespace
