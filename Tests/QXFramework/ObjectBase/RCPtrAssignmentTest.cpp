// RCPtrAssignmentTest.cpp - order and safety of smart-pointer assignment.

#include "Support/Witness.h"

#include <QX/RCPtr.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

using QX::ConstRCPtr;
using QX::LRefCountedObject;
using QX::RCPtr;
using TestSupport::Witness;

TEST(RCPtrAssignment, TakesTheNewReferenceBeforeDroppingTheOld)
{
    std::string journal;
    RCPtr<Witness> held(new Witness('a', journal));
    const RCPtr<Witness> other(new Witness('b', journal));
    journal.clear();

    held = other;

    EXPECT_EQ(journal, "+b -a ~a ");
}

TEST(RCPtrAssignment, KeepsItsOrderForAnotherType)
{
    std::string journal;
    RCPtr<LRefCountedObject> held(new Witness('a', journal));
    const RCPtr<Witness> other(new Witness('b', journal));
    journal.clear();

    held = other;

    EXPECT_EQ(journal, "+b -a ~a ");
    EXPECT_EQ(other->GetReferenceCount(), 2);
}

TEST(RCPtrAssignment, CountsNothingForTheSameObject)
{
    std::string journal;
    RCPtr<Witness> held(new Witness('a', journal));
    const RCPtr<Witness> alias = held;
    RCPtr<Witness>& self = held;
    journal.clear();

    held = alias;
    held = self;

    EXPECT_EQ(journal, "");
    EXPECT_EQ(held->GetReferenceCount(), 2);
}

TEST(RCPtrAssignment, MakesNoCopyForTheSameUnshareableObject)
{
    std::string journal;
    RCPtr<Witness> held(new Witness('a', journal));
    RCPtr<Witness>& self = held;
    held->SetUnshareable(true);
    journal.clear();

    held = self;

    EXPECT_EQ(journal, "");
}

TEST(RCPtrAssignment, KeepsAnObjectThatIsMovedToItself)
{
    std::string journal;
    RCPtr<Witness> held(new Witness('a', journal));
    RCPtr<Witness>& self = held;
    journal.clear();

    held = std::move(self);

    EXPECT_EQ(journal, "");
    EXPECT_EQ(held->GetName(), 'a');
}

TEST(RCPtrAssignment, DropsOneReferenceWhenAnAliasIsMoved)
{
    std::string journal;
    RCPtr<Witness> held(new Witness('a', journal));
    RCPtr<Witness> alias = held;
    journal.clear();

    held = std::move(alias);

    EXPECT_EQ(journal, "-a ");
    EXPECT_EQ(alias, nullptr);
    EXPECT_EQ(held->GetReferenceCount(), 1);
}

TEST(RCPtrAssignment, DropsTheReferenceForNull)
{
    std::string journal;
    RCPtr<Witness> held(new Witness('a', journal));
    RCPtr<Witness> other(new Witness('b', journal));
    journal.clear();

    held = nullptr;
    other = RCPtr<Witness>::Null;

    EXPECT_EQ(journal, "-a ~a -b ~b ");
    EXPECT_FALSE(held);
    EXPECT_FALSE(other);
}

TEST(RCPtrAssignment, TakesTheReferenceForANullPointer)
{
    std::string journal;
    const RCPtr<Witness> other(new Witness('b', journal));
    ConstRCPtr<Witness> reader;
    journal.clear();

    reader = other;

    EXPECT_EQ(journal, "+b ");
}

TEST(RCPtrAssignment, StepsAlongAList)
{
    std::string journal;
    RCPtr<Witness> position(new Witness('a', journal));
    position->next = RCPtr<Witness>(new Witness('b', journal));
    position->next->next = RCPtr<Witness>(new Witness('c', journal));
    journal.clear();

    position = position->next;
    position = std::move(position->next);

    EXPECT_EQ(journal, "+b -a ~a -b -b ~b ");
    EXPECT_EQ(position->GetName(), 'c');
    EXPECT_EQ(position->GetReferenceCount(), 1);
}

TEST(RCPtrAssignment, MayDestroyThePointerThatItAssignsTo)
{
    std::string journal;
    auto* const owner = new Witness('a', journal);
    owner->next = RCPtr<Witness>(owner);
    const RCPtr<Witness> other(new Witness('b', journal));
    journal.clear();

    owner->next = other;

    EXPECT_EQ(journal, "+b -a ~a -b ");
    EXPECT_EQ(other->GetReferenceCount(), 1);
}

TEST(RCPtrAssignment, MayDestroyThePointerThatItSetsToNull)
{
    std::string journal;
    auto* const owner = new Witness('a', journal);
    owner->next = RCPtr<Witness>(owner);
    journal.clear();

    owner->next = nullptr;

    EXPECT_EQ(journal, "-a ~a ");
}

TEST(RCPtrAssignment, MayDestroyThePointerThatItAssignsFrom)
{
    std::string journal;
    RCPtr<Witness> held(new Witness('a', journal));
    held->next = RCPtr<Witness>(new Witness('b', journal));
    ConstRCPtr<Witness> reader = held;
    held = nullptr;
    journal.clear();

    reader = reader->next;

    EXPECT_EQ(journal, "+b -a ~a -b ");
    EXPECT_EQ(reader->GetName(), 'b');
}

TEST(RCPtrAssignment, LeavesThePointerUsableForTheDyingObject)
{
    std::string journal;
    RCPtr<Witness> held(new Witness('a', journal));
    const RCPtr<Witness> other(new Witness('b', journal));
    char seenByTheDying = '?';
    held->onDestruction = [&] { seenByTheDying = held->GetName(); };

    held = other;

    EXPECT_EQ(seenByTheDying, 'b');
}

} // namespace
