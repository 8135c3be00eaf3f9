// IterableTest.cpp - what the container interfaces do by themselves.

#include "ContainerFakes.h"
#include "Support/VirtualSlots.h"

#include <QX/Iterable.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <numeric>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using QX::int32;
using QX::uint32;
using TestSupport::SlotOf;

TEST(Iterable, GetAtWalksFromTheBeginningAndStopsAtTheEnd)
{
    FakeList list{10, 11, 12};
    const FakeList& reader = list;

    EXPECT_EQ(*list.GetAt(0), 10);
    EXPECT_EQ(*list.GetAt(2), 12);
    EXPECT_EQ(*reader.GetAt(1), 11);
    EXPECT_EQ(list.mSteps, 3u);
    EXPECT_EQ(list.GetAt(3), list.GetEndElement());
    EXPECT_EQ(list.GetAt(30), list.GetEndElement());
    EXPECT_EQ(reader.GetAt(4), list.GetEndElement());
}

TEST(Iterable, ConstFormsGiveTheSamePositionsAndElements)
{
    FakeList list{1, 2};
    const FakeList& reader = list;

    EXPECT_EQ(reader.GetBegin(), list.GetBegin());
    EXPECT_EQ(reader.GetEnd(), list.GetEnd());
    EXPECT_NE(list.GetBegin(), list.GetEnd());
    void* const handle = list.GetIteratorHandleBegin();
    EXPECT_EQ(reader.GetCurrent(handle), list.GetPtr());
}

TEST(Iterable, ClearReportsWhetherItCouldRemoveEverything)
{
    FakeList list{1, 2, 3};
    list.mSmallestCount = 1;

    EXPECT_EQ(list.Clear(), static_cast<int32>(0x80000008u));
    list.mSmallestCount = 0;
    EXPECT_EQ(list.Clear(), 0);
    EXPECT_EQ(list.GetCount(), 0u);
}

TEST(Iterable, InsertItemAndAppendItemReturnWhatInsertReturns)
{
    FakeList list{1, 2};

    EXPECT_EQ(list.InsertItem(1, 9), 3);
    EXPECT_EQ(list.Values(), (std::vector<int>{1, 9, 2}));
    EXPECT_EQ(list.AppendItem(7), 4);
    EXPECT_EQ(list.InsertItem(5, 9), static_cast<int32>(0x80000003u));
    EXPECT_EQ(list.Values(), (std::vector<int>{1, 9, 2, 7}));
}

TEST(Iterable, InsertItemTakesAnElementOfItself)
{
    FakeArray array{1, 2, 3};

    EXPECT_EQ(array.InsertItem(0, *array.GetAt(2)), 4);

    EXPECT_EQ(array.mValues, (std::vector<int>{3, 1, 2, 3}));
}

TEST(Iterable, RemovalsHandTheElementOut)
{
    FakeList list{1, 2, 3};
    int removed = 0;

    EXPECT_EQ(list.RemoveItem(1, removed), 2);
    EXPECT_EQ(removed, 2);
    EXPECT_EQ(list.RemoveLast(removed), 1);
    EXPECT_EQ(removed, 3);
    EXPECT_EQ(list.Values(), (std::vector<int>{1}));
}

TEST(Iterable, RemoveLastOfAnEmptyOneAsksForTheLargestIndex)
{
    FakeArray array;
    array.mValues.reserve(1);
    int removed = 0;
    array.mElementAtBadIndex = 77;

    EXPECT_EQ(array.RemoveLast(removed), static_cast<int32>(0x80000003u));
    EXPECT_EQ(array.mLastIndex, 0xFFFFFFFFu);
}

TEST(Iterable, AppendWritesFromTheFirstElementOn)
{
    for (const bool isArray : {false, true}) {
        SCOPED_TRACE(isArray);
        FakeList list{1, 2};
        FakeArray array{1, 2};
        QX::IIterable<int>& target = isArray ? static_cast<QX::IIterable<int>&>(array) : list;

        EXPECT_EQ(target.Append(FakeArray{9}), 3);

        EXPECT_EQ(*target.GetAt(0), 9);
        EXPECT_EQ(*target.GetAt(1), 2);
        EXPECT_EQ(*target.GetAt(2), 0);
    }
}

TEST(Iterable, AppendOfNothingReturnsTheCount)
{
    FakeList list{1, 2};
    FakeArray array{1, 2, 3};

    EXPECT_EQ(list.Append(FakeList()), 2);
    EXPECT_EQ(array.Append(FakeList()), 3);
    EXPECT_EQ(list.mSetCounts, 0u);
}

TEST(Iterable, AppendToItselfAddsDefaults)
{
    FakeList list{1, 2};
    FakeArray array{1, 2};
    array.mValues.shrink_to_fit();

    EXPECT_EQ(list.Append(list), 4);
    EXPECT_EQ(array.Append(array), 4);

    EXPECT_EQ(list.Values(), (std::vector<int>{1, 2, 0, 0}));
    EXPECT_EQ(array.mValues, (std::vector<int>{1, 2, 0, 0}));
}

TEST(Iterable, AppendRefusesATotalThatNoContainerHolds)
{
    struct Row
    {
        const char* what;
        uint32 otherCount;
    };
    const Row rows[] = {
        {"the sum is one above the largest count", 0x7FFFFFFE},
        {"the sum as an int32 is negative", 0x80000003},
        {"the sum wraps to a small number", 0xFFFFFFFF},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        FakeList list{1, 2};
        FakeArray array{1, 2};
        FakeList huge{5};
        huge.mReportedCount = row.otherCount;

        EXPECT_EQ(list.Append(huge), static_cast<int32>(0x80000008u));
        EXPECT_EQ(array.Append(huge), static_cast<int32>(0x80000008u));

        EXPECT_EQ(list.Values(), (std::vector<int>{1, 2}));
        EXPECT_EQ(array.mValues, (std::vector<int>{1, 2}));
        EXPECT_EQ(list.mSetCounts, 0u);
    }
}

TEST(Iterable, AppendReportsAContainerThatCannotGrow)
{
    FakeList list{1, 2};
    FakeArray array{1, 2};
    list.mLargestCount = 3;
    array.mLargestCount = 3;

    EXPECT_EQ(list.Append(FakeList{7, 8}), static_cast<int32>(0x80000008u));
    EXPECT_EQ(array.Append(FakeList{7, 8}), static_cast<int32>(0x80000008u));

    EXPECT_EQ(*list.GetAt(0), 1);
    EXPECT_EQ(*array.GetAt(0), 1);
}

TEST(Iterable, CopyLeavesExactlyTheOthersElements)
{
    FakeList list{1, 2, 3, 4, 5};
    FakeArray array{1, 2, 3, 4, 5};

    EXPECT_EQ(list.Copy(FakeArray{7, 8, 9}), 3);
    EXPECT_EQ(array.Copy(FakeArray{7, 8, 9}), 3);

    EXPECT_EQ(list.Values(), (std::vector<int>{7, 8, 9}));
    EXPECT_EQ(array.mValues, (std::vector<int>{7, 8, 9}));
}

TEST(Iterable, CopyToItselfEmptiesIt)
{
    FakeList list{1, 2};
    FakeArray array{1, 2};

    EXPECT_EQ(list.Copy(list), 0);
    EXPECT_EQ(array.Copy(array), 0);

    EXPECT_EQ(list.GetCount(), 0u);
    EXPECT_EQ(array.GetCount(), 0u);
}

TEST(Iterable, SwapChecksBothIndices)
{
    struct Row
    {
        const char* what;
        uint32 left;
        uint32 right;
        int32 result;
        std::vector<int> after;
    };
    const Row rows[] = {
        {"two elements", 0, 1, 0, {2, 1}},
        {"one element with itself", 1, 1, 0, {1, 2}},
        {"the right one is missing", 0, 2, static_cast<int32>(0x80000003u), {1, 2}},
        {"the left one is missing", 2, 0, static_cast<int32>(0x80000003u), {1, 2}},
        {"far outside", 0xFFFFFFFF, 0, static_cast<int32>(0x80000003u), {1, 2}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        FakeList list{1, 2};
        FakeArray array{1, 2};

        EXPECT_EQ(list.Swap(row.left, row.right), row.result);
        EXPECT_EQ(array.Swap(row.left, row.right), row.result);

        EXPECT_EQ(list.Values(), row.after);
        EXPECT_EQ(array.mValues, row.after);
    }
}

TEST(Iterable, KeepsTheOrderOfItsSlots)
{
    using I = QX::IIterable<int>;
    std::vector<size_t> slots = {
        SlotOf(&I::GetCount),
        SlotOf(&I::GetMaxCount),
        SlotOf<QX::IteratorT<int> (I::*)()>(&I::GetBegin),
        SlotOf<QX::IteratorT<int> (I::*)() const>(&I::GetBegin),
        SlotOf<QX::IteratorT<int> (I::*)()>(&I::GetEnd),
        SlotOf<QX::IteratorT<int> (I::*)() const>(&I::GetEnd),
        SlotOf<int* (I::*)(void* const&)>(&I::GetCurrent),
        SlotOf<const int* (I::*)(void* const&) const>(&I::GetCurrent),
        SlotOf<const int* (I::*)(uint32) const>(&I::GetAt),
        SlotOf<int* (I::*)(uint32)>(&I::GetAt),
        SlotOf(&I::OffsetIteratorHandle),
        SlotOf(&I::GetIteratorHandleBegin),
        SlotOf(&I::GetIteratorHandleEnd),
        SlotOf(&I::SetCount),
        SlotOf(&I::Insert),
        SlotOf(&I::Remove),
        SlotOf(&I::Clear),
        SlotOf(&I::InsertItem),
        SlotOf(&I::RemoveItem),
        SlotOf(&I::Append),
        SlotOf(&I::AppendItem),
        SlotOf(&I::RemoveLast),
        SlotOf(&I::Copy),
        SlotOf(&I::Swap),
        SlotOf<int* (I::*)()>(&I::GetPtr),
        SlotOf<const int* (I::*)() const>(&I::GetPtr),
    };

    std::vector<size_t> inOrder(26);
    std::iota(inOrder.begin(), inOrder.end(), size_t{0});
    EXPECT_EQ(slots, inOrder);
}

struct AfterIterable : FakeArray
{
    virtual void First() {}
};

TEST(Iterable, HasItsDestructorInTheLastSlotAndArraysAddNone)
{
    // The destructor takes two entries; the first new function follows them.
    EXPECT_EQ(SlotOf(&AfterIterable::First), 28u);
}

TEST(Iterator, IsTheContainerAndAHandle)
{
    EXPECT_EQ(sizeof(QX::IteratorT<int>), 2 * sizeof(void*));
    EXPECT_TRUE(std::is_trivially_copyable_v<QX::IteratorT<int>>);
}

TEST(Iterator, ReturnsWhatWasCurrentAndThenTheEndPosition)
{
    FakeArray array{4, 5};
    QX::IteratorT<int> walk = array.GetBegin();

    EXPECT_EQ(walk.GetCurrentMoveNext(), array.GetPtr());
    EXPECT_EQ(walk.GetCurrentMoveNext(), array.GetPtr() + 1);
    EXPECT_EQ(walk, array.GetEnd());
    EXPECT_EQ(walk.GetCurrentMoveNext(), array.GetPtr() + 2);
    EXPECT_EQ(walk.GetCurrentMoveNext(), array.GetPtr() + 2);
}

TEST(Iterator, DiffersBetweenContainers)
{
    const FakeArray left;
    const FakeArray right;

    EXPECT_NE(left.GetBegin(), right.GetBegin());
}

TEST(Array, EmptyOneHasNullHandles)
{
    FakeArray array;
    array.mValues.reserve(4);

    EXPECT_EQ(array.GetIteratorHandleBegin(), nullptr);
    EXPECT_EQ(array.GetIteratorHandleEnd(), nullptr);
    EXPECT_EQ(array.GetBegin(), array.GetEnd());
}

TEST(Array, HandlesAreAddressesOfElements)
{
    FakeArray array{1, 2, 3};

    EXPECT_EQ(array.GetIteratorHandleBegin(), array.GetPtr());
    EXPECT_EQ(array.GetIteratorHandleEnd(), array.GetPtr() + 3);
    EXPECT_EQ(array.GetAt(2), array.GetPtr() + 2);
    EXPECT_EQ(std::as_const(array).GetAt(1), array.GetPtr() + 1);
    EXPECT_EQ(std::as_const(array).GetPtr(), array.GetPtr());
    EXPECT_EQ(*array.GetCurrent(array.GetIteratorHandleBegin()), 1);
}

TEST(Array, OffsetsAreClampedToTheArray)
{
    FakeArray array{1, 2, 3};
    int* const begin = array.GetPtr();
    int* const end = begin + 3;
    const auto below = reinterpret_cast<std::uintptr_t>(begin) - sizeof(int);
    struct Row
    {
        const char* what;
        void* handle;
        int offset;
        void* result;
    };
    const Row rows[] = {
        {"one on", begin, 1, begin + 1},
        {"one back", end, -1, begin + 2},
        {"nowhere", begin + 1, 0, begin + 1},
        {"to the end", begin, 3, end},
        {"before the beginning", begin, -1, begin},
        {"after the end", end, 5, end},
        {"far after the end", begin, INT_MAX, end},
        {"far before the beginning", end, INT_MIN, begin},
        {"from null", nullptr, 3, begin},
        {"from a stale place below", reinterpret_cast<void*>(below), 3, begin + 2},
        {"from the highest address", reinterpret_cast<void*>(UINTPTR_MAX), -1, end},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(array.OffsetIteratorHandle(row.handle, row.offset), row.result);
    }
}

TEST(Array, OffsetsInAnEmptyOneAreNullWhateverTheHandle)
{
    FakeArray array;
    int elsewhere = 0;

    EXPECT_EQ(array.OffsetIteratorHandle(nullptr, 3), nullptr);
    EXPECT_EQ(array.OffsetIteratorHandle(nullptr, INT_MIN), nullptr);
    EXPECT_EQ(array.OffsetIteratorHandle(&elsewhere, INT_MAX), nullptr);
}

} // namespace
