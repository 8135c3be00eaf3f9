// ContainedReferencesTest.cpp - references that an object's own members hold on it.

#include "Support/Witness.h"

#include <QX/RCPtr.h>
#include <QX/Types.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

using QX::int32;
using QX::LRefCountedObject;
using QX::RCPtr;
using TestSupport::Witness;

// A holder outside and two contained references: count 3, contained 2.
RCPtr<Witness> MakeWithTwoContained(std::string& journal)
{
    RCPtr<Witness> outside(new Witness('a', journal));
    outside->AddContainedReference();
    outside->AddContainedReference();
    return outside;
}

// Gives all contained references back, the count of them first. Without a holder outside, these
// releases look like the last one's and dismantle again, so an onDismantling that throws has to be
// taken off before.
int32 GiveBackContained(Witness& witness)
{
    while (witness.GetContainedReferenceCount() > 0) {
        witness.ModifyNumContainedReferences(-1);
        if (witness.RemoveReference() == 0) {
            break;
        }
    }
    return QX::kResultSuccess;
}

TEST(RemoveContainedReferences, SucceedsByDefaultForOneHolderAndNothingContainedOnly)
{
    constexpr auto kFailure = static_cast<int32>(0x80000008u);
    LRefCountedObject object;

    EXPECT_EQ(object.RemoveContainedReferences(), kFailure) << "no holder";
    object.AddReference();
    EXPECT_EQ(object.RemoveContainedReferences(), 0);
    object.ModifyNumContainedReferences(1);
    EXPECT_EQ(object.RemoveContainedReferences(), kFailure) << "one contained";
    object.ModifyNumContainedReferences(-1);
    object.AddReference();
    EXPECT_EQ(object.RemoveContainedReferences(), kFailure) << "two holders";
}

TEST(ModifyNumContainedReferences, AddsTheDeltaAndWrapsAround)
{
    LRefCountedObject object;

    EXPECT_TRUE(object.ModifyNumContainedReferences(5));
    EXPECT_EQ(object.GetContainedReferenceCount(), 5);
    EXPECT_TRUE(object.ModifyNumContainedReferences(-7));
    EXPECT_EQ(object.GetContainedReferenceCount(), -2);
    EXPECT_TRUE(object.ModifyNumContainedReferences(0));
    EXPECT_EQ(object.GetContainedReferenceCount(), -2);
    EXPECT_TRUE(object.ModifyNumContainedReferences(std::numeric_limits<int32>::min()));
    EXPECT_EQ(object.GetContainedReferenceCount(), std::numeric_limits<int32>::max() - 1);
}

/// Notes how many of its holders are contained when one more is counted.
class NotesContained : public LRefCountedObject
{
public:
    int32 AddReference() override
    {
        containedThen = GetContainedReferenceCount();
        return LRefCountedObject::AddReference();
    }

    int32 containedThen = -1;
};

TEST(AddContainedReference, CountsTheHolderBeforeItCountsItAsContained)
{
    const RCPtr<NotesContained> object(new NotesContained);

    object->AddContainedReference();

    EXPECT_EQ(object->containedThen, 0);
    EXPECT_EQ(object->GetContainedReferenceCount(), 1);
    object->ModifyNumContainedReferences(-1);
    object->RemoveReference();
}

TEST(AddContainedReference, CountsOnBothSidesAndCallsTheVirtualAddReference)
{
    std::string journal;
    const RCPtr<Witness> witness(new Witness('a', journal));
    journal.clear();

    const int32 references = witness->AddContainedReference();

    EXPECT_EQ(references, 2);
    EXPECT_EQ(witness->GetReferenceCount(), 2);
    EXPECT_EQ(witness->GetContainedReferenceCount(), 1);
    EXPECT_EQ(journal, "+a ");
    witness->onDismantling = [&] { return GiveBackContained(*witness.Get()); };
    witness->RemoveContainedReferences();
}

TEST(RemoveReference, DismantlesWhenTheLastHolderOutsideLetsGo)
{
    std::string journal;
    RCPtr<Witness> outside = MakeWithTwoContained(journal);
    Witness& witness = *outside;
    witness.onDismantling = [&] { return GiveBackContained(witness); };
    journal.clear();

    outside = nullptr;

    EXPECT_EQ(journal, "-a !a -a -a ~a ");
}

TEST(RemoveReference, DoesNotDismantleWhileASecondHolderIsOutside)
{
    std::string journal;
    const RCPtr<Witness> outside = MakeWithTwoContained(journal);
    RCPtr<Witness> second = outside;
    outside->onDismantling = [&] { return GiveBackContained(*outside); };
    journal.clear();

    second = nullptr;

    EXPECT_EQ(journal, "-a ");
    EXPECT_EQ(outside->GetReferenceCount(), 3);
}

TEST(RemoveReference, DoesNotDismantleAgainWhileItDismantles)
{
    std::string journal;
    RCPtr<Witness> outside = MakeWithTwoContained(journal);
    Witness& witness = *outside;
    witness.onDismantling = [&] {
        // The reference first: this release meets the same counts as the one that led here.
        witness.RemoveReference();
        witness.ModifyNumContainedReferences(-1);
        return GiveBackContained(witness);
    };
    journal.clear();

    outside = nullptr;

    EXPECT_EQ(journal, "-a !a -a -a ~a ");
}

TEST(RemoveReference, IgnoresTheResultOfDismantling)
{
    std::string journal;
    RCPtr<Witness> outside = MakeWithTwoContained(journal);
    Witness& witness = *outside;

    outside = nullptr;

    EXPECT_EQ(witness.GetReferenceCount(), 2);
    GiveBackContained(witness);
}

// As MakeWithTwoContained, and dismantling it throws.
RCPtr<Witness> MakeThrowing(std::string& journal)
{
    RCPtr<Witness> outside = MakeWithTwoContained(journal);
    outside->onDismantling = []() -> int32 { throw std::length_error("client"); };
    journal.clear();
    return outside;
}

// The word after the two counts, which is raised while an object is dismantled.
int32 GuardOf(const LRefCountedObject& object)
{
    int32 guard;
    std::memcpy(&guard, reinterpret_cast<const char*>(&object) + sizeof(void*) + 2 * sizeof(int32),
                sizeof(guard));
    return guard;
}

TEST(RemoveReference, RaisesTheGuardOnlyWhileItDismantles)
{
    std::string journal;
    RCPtr<Witness> outside = MakeWithTwoContained(journal);
    Witness& witness = *outside;
    int32 guardInside = -1;
    witness.onDismantling = [&] {
        guardInside = GuardOf(witness);
        return QX::kResultFailure;
    };

    outside = nullptr;

    EXPECT_EQ(guardInside, 1);
    EXPECT_EQ(GuardOf(witness), 0);
    GiveBackContained(witness);
}

TEST(ThrowingDismantling, StillDropsTheReferenceAndLetsTheExceptionPass)
{
    std::string journal;
    RCPtr<Witness> outside = MakeThrowing(journal);
    Witness& witness = *outside;
    witness.ModifyNumContainedReferences(1);
    witness.AddReference();

    EXPECT_THROW(witness.RemoveReference(), std::length_error);

    EXPECT_EQ(witness.GetReferenceCount(), 3);
    EXPECT_EQ(GuardOf(witness), 0);
    witness.ModifyNumContainedReferences(-1);
    outside = nullptr;
    witness.onDismantling = nullptr;
    GiveBackContained(witness);
}

TEST(ThrowingDismantling, LeavesAnAssignmentDoneAndLetsTheExceptionPass)
{
    std::string journal;
    RCPtr<Witness> outside = MakeThrowing(journal);
    Witness& witness = *outside;
    const RCPtr<Witness> other(new Witness('b', journal));

    EXPECT_THROW(outside = other, std::length_error);

    EXPECT_EQ(outside, other);
    EXPECT_EQ(other->GetReferenceCount(), 2);
    EXPECT_EQ(witness.GetReferenceCount(), 2);
    witness.onDismantling = nullptr;
    GiveBackContained(witness);
}

TEST(ThrowingDismantling, DoesNotLeaveADestructorOrAMove)
{
    std::string journal;
    RCPtr<Witness> outside = MakeThrowing(journal);
    Witness& witness = *outside;
    {
        const RCPtr<Witness> dropped = std::move(outside);
    }
    outside = RCPtr<Witness>(&witness);

    outside = nullptr;

    EXPECT_EQ(journal, "-a !a +a -a !a ");
    EXPECT_EQ(witness.GetReferenceCount(), 2);
    witness.onDismantling = nullptr;
    GiveBackContained(witness);
}

TEST(ThrowingDismantling, EndsTheObjectIfItGaveEverythingBackFirst)
{
    std::string journal;
    RCPtr<Witness> outside = MakeThrowing(journal);
    Witness& witness = *outside;
    witness.onDismantling = [&]() -> int32 {
        GiveBackContained(witness);
        throw std::length_error("client");
    };
    const RCPtr<Witness> empty;

    EXPECT_THROW(outside = empty, std::length_error);

    EXPECT_EQ(journal, "-a !a -a -a ~a ");
    EXPECT_EQ(outside, nullptr);
}

} // namespace
