// RCPtrArrayEndsTest.cpp - elements whose ends change the arrays around them.

#include "Support/Witness.h"

#include <QX/RCPtrArray.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using QX::RCPtr;
using TestSupport::MakeWitness;
using TestSupport::Witness;
using Array = QX::RCPtrArray<Witness, 1, 0>;

class RCPtrArrayEnds : public testing::Test
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

TEST_F(RCPtrArrayEnds, AppendStopsWhereOneHasShortenedTheOther)
{
    Array array;
    Fill(array, "ABC");
    Array other;
    Fill(other, "XYZ");
    (*array.GetAt(1))->onDestruction = [&] { other.SetCount(1); };

    EXPECT_EQ(array.Append(other), 6);

    EXPECT_EQ(NamesOf(array), "XYC...");
}

TEST_F(RCPtrArrayEnds, AppendGoesOnInAnotherThatOneHasMoved)
{
    for (const QX::uint32 mover : {0u, 1u, 2u}) {
        SCOPED_TRACE(mover);
        Array array;
        Fill(array, "ABCD");
        Array other;
        Fill(other, "WXYZ");
        (*array.GetAt(mover))->onDestruction = [&] { other.Insert(4, 1000); };

        EXPECT_EQ(array.Append(other), 8);

        EXPECT_EQ(NamesOf(array), "WXYZ....");
    }
}

TEST_F(RCPtrArrayEnds, NullSlotsStandUntilTheObjectBeforeThemHasGone)
{
    Array array;
    Fill(array, "AB");
    array.Insert(1, 3);
    std::string seen;
    (*array.GetAt(0))->onDestruction = [&] { seen += NamesOf(array) + ' '; };
    (*array.GetAt(4))->onDestruction = [&] { seen += NamesOf(array) + '|'; };

    EXPECT_EQ(array.SetCount(0), 0);

    EXPECT_EQ(seen, "...B |");
}

TEST_F(RCPtrArrayEnds, ADyingArrayDropsWhatTheyInsertIntoItToo)
{
    std::string journal;
    const RCPtr<Witness> late = MakeWitness('L', journal);
    journal.clear();
    {
        Array array;
        for (const char name : {'A', 'B', 'C', 'D'}) {
            array.AppendItem(MakeWitness(name, journal));
        }
        journal.clear();
        (*array.GetAt(0))->onDestruction = [&] { array.Remove(0, 2); };
        (*array.GetAt(2))->onDestruction = [&] { array.InsertItem(0, late); };
    }

    EXPECT_EQ(journal, "-A ~A -B ~B -D ~D -C ~C +L -L ");
    EXPECT_EQ(late->GetReferenceCount(), 1);
}

/// A witness whose array may hold it.
class OwnerOfAnArray : public Witness
{
public:
    using Witness::Witness;

    Array mArray;
};

TEST_F(RCPtrArrayEnds, AnObjectThatItsOwnArrayHeldEndsAfterItWasTakenOut)
{
    std::string journal;
    for (const bool isLast : {false, true}) {
        SCOPED_TRACE(isLast);
        RCPtr<OwnerOfAnArray> owner(new OwnerOfAnArray('O', journal));
        Array& array = owner->mArray;
        array.AppendItem(MakeWitness('A', journal));
        array.AppendItem(RCPtr<Witness>(owner));
        owner = nullptr;
        journal.clear();

        RCPtr<Witness> removed;
        EXPECT_EQ(isLast ? array.RemoveLast(removed) : array.RemoveItem(1, removed), 1);
        EXPECT_EQ(journal, "");
        removed = nullptr;

        EXPECT_EQ(journal, "-O -A ~A ~O ");
        journal.clear();
    }
}

} // namespace
