// RCPtrArrayTest.cpp - slots, counts and results of the smart-pointer arrays.

#include "Support/Witness.h"

#include <QX/RCPtrArray.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace {

using QX::ConstRCPtr;
using QX::int32;
using QX::RCPtr;
using QX::uint32;
using TestSupport::MakeWitness;
using TestSupport::Witness;
using Array = QX::RCPtrArray<Witness, 1, 0>;
using ConstArray = QX::ConstRCPtrArray<Witness, 1, 0>;

constexpr int32 kOutOfRange = static_cast<int32>(0x80000003u);
constexpr int32 kFailure = static_cast<int32>(0x80000008u);

/// Arrays of witnesses that all write to one journal.
class RCPtrArrayTest : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(Witness::GetLiveCount(), 0); }

    void Fill(Array& array, const std::string& names)
    {
        for (const char name : names) {
            array.AppendItem(MakeWitness(name, mJournal));
        }
        mJournal.clear();
    }

    std::string mJournal;
};

/// What a class that derives from an array can do.
class DerivedArray : public Array
{
public:
    using Array::RemoveInternal;
};

using RCPtrArrayInsert = RCPtrArrayTest;
using RCPtrArrayRemove = RCPtrArrayTest;
using RCPtrArrayRemoveItem = RCPtrArrayTest;
using RCPtrArrayRemoveLast = RCPtrArrayTest;
using RCPtrArraySetCount = RCPtrArrayTest;
using RCPtrArraySwap = RCPtrArrayTest;
using RCPtrArrayAppend = RCPtrArrayTest;
using RCPtrArrayLife = RCPtrArrayTest;

TEST_F(RCPtrArrayInsert, MovesSlotsAndNoCounts)
{
    Array array;
    Fill(array, "AB");

    EXPECT_EQ(array.Insert(0, 1), 3);

    EXPECT_EQ(NamesOf(array), ".AB");
    EXPECT_EQ(mJournal, "");
}

TEST_F(RCPtrArrayInsert, OpensNullSlotsAfterTheLastOne)
{
    Array array;
    Fill(array, "ABC");

    EXPECT_EQ(array.Insert(3, 2), 5);

    EXPECT_EQ(NamesOf(array), "ABC..");
}

TEST_F(RCPtrArrayInsert, RefusesCountsThatNoMemoryHolds)
{
    for (const uint32 count : {0xFFFFFFFFu, 0xFFFFFFFEu, 0x80000000u, 0x7FFFFFFFu, 0x40000000u}) {
        SCOPED_TRACE(count);
        Array array;
        Fill(array, "ABC");

        EXPECT_EQ(array.Insert(0, count), kFailure);
        EXPECT_EQ(array.Insert(1, count), kFailure);
        EXPECT_EQ(array.Insert(3, count), kFailure);
        EXPECT_EQ(array.Insert(4, count), kOutOfRange);
        EXPECT_EQ(array.SetCount(count), kFailure);

        EXPECT_EQ(NamesOf(array), "ABC");
    }
}

TEST_F(RCPtrArrayInsert, TakesOneReferenceToAnItemAndReturnsTheIndex)
{
    Array array;
    Fill(array, "AB");
    const RCPtr<Witness> item = MakeWitness('C', mJournal);
    mJournal.clear();

    EXPECT_EQ(array.InsertItem(1, item), 1);

    EXPECT_EQ(NamesOf(array), "ACB");
    EXPECT_EQ(mJournal, "+C ");
    EXPECT_EQ(array.AppendItem(item), 3);
    EXPECT_EQ(array.AppendItem(RCPtr<Witness>::Null), 4);
    EXPECT_EQ(NamesOf(array), "ACBC.");
    EXPECT_EQ(item->GetReferenceCount(), 3);
}

TEST_F(RCPtrArrayRemove, DropsEachReferenceAfterItsSlotIsClosed)
{
    std::string seen; // outlives the array, whose end writes to it
    Array array;
    Fill(array, "ABCD");
    for (uint32 index = 0; index < 4; ++index) {
        (*array.GetAt(index))->onDestruction = [&] { seen += NamesOf(array) + ' '; };
    }

    EXPECT_EQ(array.Remove(1, 2), 2);

    // The reference to B goes when C has been asked for, but before C's slot is closed.
    EXPECT_EQ(mJournal, "-B ~B -C ~C ");
    EXPECT_EQ(seen, "ACD AD ");
    EXPECT_EQ(NamesOf(array), "AD");
}

TEST_F(RCPtrArrayRemove, RemovesTheRestAndThrowsIfThereAreFewer)
{
    Array array;
    Fill(array, "ABC");
    const RCPtr<Witness> last = *array.GetAt(2);

    try {
        array.Remove(1, 5);
        FAIL() << "nothing was thrown";
    } catch (const QX::Exception<std::out_of_range>& error) {
        // The removal is the base's, for the view with write access too.
        EXPECT_STREQ(error.what(),
                     "Out of Range :  : Utilities/Storage/ConstRCPtrArray : Line 218");
    }

    EXPECT_EQ(NamesOf(array), "A");
    EXPECT_EQ(last->GetReferenceCount(), 1);
    EXPECT_EQ(Witness::GetLiveCount(), 2);
}

TEST_F(RCPtrArrayRemoveItem, HandsTheReferenceOver)
{
    Array array;
    Fill(array, "ABC");
    RCPtr<Witness> removed = MakeWitness('X', mJournal);
    mJournal.clear();

    EXPECT_EQ(array.RemoveItem(1, removed), 2);

    EXPECT_EQ(mJournal, "-X ~X ");
    EXPECT_EQ(removed->GetName(), 'B');
    EXPECT_EQ(removed->GetReferenceCount(), 1);
    EXPECT_EQ(NamesOf(array), "AC");
}

TEST_F(RCPtrArrayRemoveItem, ThrowsAfterTheEndWithNothingChanged)
{
    Array array;
    Fill(array, "ABC");
    RCPtr<Witness> removed = MakeWitness('X');
    ConstRCPtr<Witness> readOnly = removed;

    for (const uint32 index : {3u, 5u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(index);
        try {
            array.RemoveItem(index, removed);
            FAIL() << "nothing was thrown";
        } catch (const QX::Exception<std::out_of_range>& error) {
            EXPECT_STREQ(error.what(), "Out of Range :  : Utilities/Storage/RCPtrArray : Line 177");
        }
        try {
            static_cast<ConstArray&>(array).RemoveItem(index, readOnly);
            FAIL() << "nothing was thrown";
        } catch (const std::out_of_range& error) {
            EXPECT_STREQ(error.what(),
                         "Out of Range :  : Utilities/Storage/ConstRCPtrArray : Line 218");
        }
    }

    EXPECT_EQ(removed->GetName(), 'X');
    EXPECT_EQ(readOnly->GetName(), 'X');
    EXPECT_EQ(NamesOf(array), "ABC");
}

TEST_F(RCPtrArrayRemoveItem, TestsTheIndexAgainAfterTheOldReferenceIsDropped)
{
    for (const uint32 left : {1u, 2u}) {
        SCOPED_TRACE(left);
        Array array;
        Fill(array, "ABC");
        RCPtr<Witness> removed = MakeWitness('X');
        removed->onDestruction = [&] { array.SetCount(left); };

        EXPECT_THROW(array.RemoveItem(2, removed), QX::Exception<std::out_of_range>);

        EXPECT_EQ(removed, nullptr);
        EXPECT_EQ(NamesOf(array), std::string("AB", left));
    }
}

TEST_F(RCPtrArrayRemoveItem, FillsAnElementWhoseDestructorMovesTheArray)
{
    Array array;
    Fill(array, "ABCD");
    (*array.GetAt(2))->onDestruction = [&] { array.Insert(4, 1000); };

    EXPECT_EQ(array.RemoveItem(0, *array.GetAt(2)), 1003);

    EXPECT_EQ(NamesOf(array).substr(0, 4), "BAD.");
}

TEST_F(RCPtrArrayRemoveItem, ThrowsIfTheElementThatItFillsEmptiesTheArray)
{
    Array array;
    Fill(array, "ABCD");
    (*array.GetAt(2))->onDestruction = [&] { array.SetCount(0); };

    EXPECT_THROW(array.RemoveItem(0, *array.GetAt(2)), QX::Exception<std::out_of_range>);

    EXPECT_EQ(array.GetCount(), 0u);
}

TEST_F(RCPtrArrayRemoveItem, ReplacesWhatTheEndOfTheFormerObjectHasStored)
{
    for (const bool isLast : {false, true}) {
        SCOPED_TRACE(isLast);
        Array array;
        Fill(array, "AB");
        RCPtr<Witness> removed = MakeWitness('X');
        removed->onDestruction = [&] { removed = MakeWitness('Y'); };

        EXPECT_EQ(isLast ? array.RemoveLast(removed) : array.RemoveItem(1, removed), 1);

        EXPECT_EQ(removed->GetName(), 'B');
        EXPECT_EQ(Witness::GetLiveCount(), 2);
    }
}

TEST_F(RCPtrArrayRemove, ClosesOnlyARangeInside)
{
    DerivedArray array;
    Fill(array, "abc");

    EXPECT_EQ(array.RemoveInternal(1, 0), 3);
    EXPECT_EQ(array.RemoveInternal(4, 1), kOutOfRange);
    EXPECT_EQ(array.RemoveInternal(1, 3), kOutOfRange);
    EXPECT_EQ(array.RemoveInternal(1, 0xFFFFFFFF), kOutOfRange);

    EXPECT_EQ(array.GetCount(), 3u);
    EXPECT_EQ(mJournal, "");
}

TEST_F(RCPtrArrayRemoveLast, FillsAnElementOfItsOwn)
{
    Array array;
    Fill(array, "ABC");

    EXPECT_EQ(array.RemoveLast(*array.GetAt(0)), 2);
    EXPECT_EQ(NamesOf(array), "CB");
    EXPECT_EQ(array.RemoveLast(*array.GetAt(1)), 1);
    EXPECT_EQ(NamesOf(array), "C");
}

TEST_F(RCPtrArrayRemoveLast, FailsForAnEmptyArrayAndLeavesNull)
{
    Array array;
    RCPtr<Witness> removed = MakeWitness('X', mJournal);
    mJournal.clear();

    EXPECT_EQ(array.RemoveLast(removed), kFailure);

    EXPECT_EQ(removed, nullptr);
    EXPECT_EQ(mJournal, "-X ~X ");
}

TEST_F(RCPtrArrayRemoveLast, FailsIfTheElementThatItFillsEmptiesTheArray)
{
    Array array;
    Fill(array, "ABC");
    (*array.GetAt(1))->onDestruction = [&] { array.SetCount(0); };

    EXPECT_EQ(array.RemoveLast(*array.GetAt(1)), kFailure);

    EXPECT_EQ(array.GetCount(), 0u);
}

TEST_F(RCPtrArraySetCount, DropsTheLastReferencesInOrder)
{
    Array array;
    Fill(array, "ABC");

    EXPECT_EQ(array.SetCount(1), 1);

    EXPECT_EQ(mJournal, "-B ~B -C ~C ");
    EXPECT_EQ(NamesOf(array), "A");
}

TEST_F(RCPtrArraySetCount, ThrowsIfADestructorTakesTheRestAway)
{
    Array array;
    Fill(array, "ABCDE");
    (*array.GetAt(1))->onDestruction = [&] { array.SetCount(1); };

    EXPECT_THROW(array.SetCount(1), QX::Exception<std::out_of_range>);

    EXPECT_EQ(NamesOf(array), "A");
}

TEST_F(RCPtrArraySwap, MovesNoCountInTheReadOnlyView)
{
    Array array;
    Fill(array, "AB");

    EXPECT_EQ(static_cast<ConstArray&>(array).Swap(1, 0), 0);

    EXPECT_EQ(NamesOf(array), "BA");
    EXPECT_EQ(mJournal, "");
}

TEST_F(RCPtrArraySwap, ChecksAndCopiesOnTheArray)
{
    Array array;
    Fill(array, "AB");

    EXPECT_EQ(array.Swap(0, 9), kOutOfRange);
    EXPECT_EQ(static_cast<QX::IArray<RCPtr<Witness>>&>(array).Swap(9, 0), kOutOfRange);
    EXPECT_EQ(mJournal, "");
    EXPECT_EQ(array.Swap(0, 1), 0);

    EXPECT_EQ(NamesOf(array), "BA");
    EXPECT_EQ(mJournal, "+A +B -A +A -B -A ");
    EXPECT_EQ(array.Swap(1, 1), 0);
    EXPECT_EQ(NamesOf(array), "BA");
}

TEST_F(RCPtrArrayAppend, SurvivesADestructorThatEmptiesTheArray)
{
    Array array;
    Fill(array, "ABC");
    Array other;
    Fill(other, "XYZ");
    (*array.GetAt(1))->onDestruction = [&] { array.SetCount(0); };

    EXPECT_EQ(array.Append(other), 6);

    EXPECT_EQ(array.GetCount(), 0u);
    EXPECT_EQ(NamesOf(other), "XYZ");
}

TEST_F(RCPtrArrayLife, DestructorDropsEveryReferenceInOrder)
{
    {
        Array array;
        Fill(array, "ABC");
        array.Insert(1, 1);
    }

    EXPECT_EQ(mJournal, "-A ~A -B ~B -C ~C ");
}

TEST_F(RCPtrArrayLife, StartsWithTheCountsThatItIsGiven)
{
    const Array empty;
    const Array three(3, 10);
    const QX::RCPtrArray<Witness, 256, 256> reserved;

    EXPECT_EQ(empty.GetCount(), 0u);
    EXPECT_EQ(empty.GetPtr(), nullptr);
    EXPECT_EQ(empty.GetAt(0), nullptr);
    EXPECT_EQ(empty.GetAt(7), nullptr);
    EXPECT_EQ(Array().GetAt(7), nullptr);
    EXPECT_EQ(NamesOf(three), "...");
    EXPECT_EQ(reserved.GetCount(), 0u);
    EXPECT_EQ(reserved.GetIteratorHandleBegin(), nullptr);
}

TEST_F(RCPtrArrayLife, RefusesAnImpossibleFirstCount)
{
    EXPECT_THROW(Array(0xFFFFFFFF), std::bad_alloc);
    EXPECT_THROW(Array(0x40000000), std::bad_alloc);
    EXPECT_THROW(Array(0, 0x40000000), std::bad_alloc);
}

/// Tells what an array looks like when it asks for a reference.
class Onlooker : public Witness
{
public:
    Onlooker(char name, const Array& array)
        : Witness(name)
        , mArray(array)
    {}
    int32 AddReference() override
    {
        seen += NamesOf(mArray) + ' ';
        return Witness::AddReference();
    }

    std::string seen;

private:
    const Array& mArray;
};

TEST_F(RCPtrArrayInsert, AsksForTheReferenceWhenTheItemIsInItsSlot)
{
    Array array;
    Fill(array, "AB");
    const RCPtr<Onlooker> item(new Onlooker('N', array));
    item->seen.clear();

    array.InsertItem(1, RCPtr<Witness>(item.Get()));
    array.AppendItem(*array.GetAt(1));
    array.InsertItem(1, *array.GetAt(1));
    array.InsertItem(1, *array.GetAt(0));

    EXPECT_EQ(item->seen, "AB ANB ANBN ANNBN ");
    EXPECT_EQ(NamesOf(array), "AANNBN");
    EXPECT_EQ(item->GetReferenceCount(), 4);
}

/// An object that cannot be shared, and whose copies are ordinary witnesses.
class Unshareable : public Witness
{
public:
    Unshareable(char name, bool isCopyable)
        : Witness(name)
        , mIsCopyable(isCopyable)
    {
        SetUnshareable(true);
    }
    RCPtr<LRefCountedObject> CreateCopy() const override
    {
        if (!mIsCopyable) {
            return LRefCountedObject::CreateCopy();
        }
        return RCPtr<LRefCountedObject>(new Witness('c'));
    }

private:
    bool mIsCopyable;
};

TEST_F(RCPtrArrayLife, AnUnshareableObjectGoesInAsACopy)
{
    Array array;
    const RCPtr<Witness> item(new Unshareable('U', true));

    EXPECT_EQ(array.AppendItem(item), 0);

    EXPECT_EQ(NamesOf(array), "c");
    EXPECT_EQ(item->GetReferenceCount(), 1);
}

TEST_F(RCPtrArrayLife, ARefusedIndexMakesNoCopy)
{
    Array array;
    Fill(array, "AB");
    const RCPtr<Witness> item(new Unshareable('U', false));

    EXPECT_EQ(array.InsertItem(3, item), kOutOfRange);

    EXPECT_EQ(NamesOf(array), "AB");
    EXPECT_EQ(item->GetReferenceCount(), 1);
}

TEST_F(RCPtrArrayLife, ACopyThatEmptiesTheArrayLeavesItEmpty)
{
    class Emptying : public Witness
    {
    public:
        explicit Emptying(Array& array)
            : Witness('E')
            , mArray(array)
        {
            SetUnshareable(true);
        }
        RCPtr<LRefCountedObject> CreateCopy() const override
        {
            mArray.SetCount(0);
            return RCPtr<LRefCountedObject>(new Witness('e'));
        }

    private:
        Array& mArray;
    };
    Array array;
    Fill(array, "AB");
    const RCPtr<Witness> item(new Emptying(array));

    EXPECT_EQ(array.InsertItem(1, item), 1);

    EXPECT_EQ(array.GetCount(), 0u);
    EXPECT_EQ(item->GetReferenceCount(), 1);
}

TEST_F(RCPtrArrayLife, AFailedCopyOpensNoSlot)
{
    Array array;
    Fill(array, "AB");
    const RCPtr<Witness> item(new Unshareable('U', false));

    EXPECT_THROW(array.InsertItem(1, item), QX::Exception<std::logic_error>);

    EXPECT_EQ(NamesOf(array), "AB");
    EXPECT_EQ(item->GetReferenceCount(), 1);
}

TEST_F(RCPtrArrayLife, AFailedCopyLeavesTheSlotThatItFilled)
{
    class Filling : public Witness
    {
    public:
        explicit Filling(Array& array)
            : Witness('F')
            , mArray(array)
        {
            SetUnshareable(true);
        }
        RCPtr<LRefCountedObject> CreateCopy() const override
        {
            *mArray.GetAt(1) = MakeWitness('X');
            throw std::runtime_error("no copy");
        }

    private:
        Array& mArray;
    };
    Array array;
    Fill(array, "AB");
    const RCPtr<Witness> item(new Filling(array));

    EXPECT_THROW(array.InsertItem(1, item), std::runtime_error);

    EXPECT_EQ(NamesOf(array), "AXB");
}

} // namespace
