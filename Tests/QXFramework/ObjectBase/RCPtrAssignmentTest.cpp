// RCPtrAssignmentTest.cpp - assignments that end objects which the pointers themselves live in.

#include "Support/Witness.h"

#include <QX/RCPtr.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

using QX::ConstRCPtr;
using QX::RCPtr;
using TestSupport::Witness;

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
