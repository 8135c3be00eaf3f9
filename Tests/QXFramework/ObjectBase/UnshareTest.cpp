// UnshareTest.cpp - private copies: on demand, and of objects that must not be shared.

#include "Support/Witness.h"

#include <QX/Buffer.h>
#include <QX/Exception.h>
#include <QX/RCPtr.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

using QX::ConstRCPtr;
using QX::LIBuffer;
using QX::LRefCountedObject;
using QX::RCPtr;
using TestSupport::Witness;

template <class Body>
std::string LogicErrorOf(const Body& body)
{
    try {
        body();
    } catch (const QX::Exception<std::logic_error>& thrown) {
        return thrown.What();
    }
    return "nothing thrown";
}

const char* const kNotCopyable = "Logic Error : CreateCopy() not implemented for RefCountedObject "
                                 ":  : ObjectBase/RefCountedObject : Line 225";

// Its copies are counted objects, but not of its own type.
class LStranger : public LRefCountedObject
{
public:
    RCPtr<LRefCountedObject> CreateCopy() const override
    {
        return RCPtr<LRefCountedObject>(new LRefCountedObject);
    }
};

// Has no copy to give at all.
class LSterile : public LRefCountedObject
{
public:
    RCPtr<LRefCountedObject> CreateCopy() const override { return nullptr; }
};

TEST(Unshare, DoesNothingForNullAndForTheOnlyHolder)
{
    std::string journal;
    RCPtr<Witness> null;
    RCPtr<Witness> held(new Witness('a', journal));
    journal.clear();

    null.Unshare();
    held.Unshare();

    EXPECT_EQ(null, nullptr);
    EXPECT_EQ(held->GetName(), 'a');
    EXPECT_EQ(journal, "");
}

TEST(Unshare, MakesExactlyOneCopyAndLeavesTheSharedObject)
{
    std::string journal;
    RCPtr<Witness> held(new Witness('a', journal));
    const RCPtr<Witness> alias = held;
    journal.clear();

    held.Unshare();

    EXPECT_EQ(journal, "=a +A +A +A -a -A -A ");
    EXPECT_EQ(held->GetName(), 'A');
    EXPECT_EQ(held->GetReferenceCount(), 1);
    EXPECT_EQ(alias->GetName(), 'a');
    EXPECT_EQ(alias->GetReferenceCount(), 1);
}

TEST(Unshare, WorksForReadersAndThroughAVirtualBase)
{
    const RCPtr<LIBuffer> original = QX::LByteBuffer::Create(3, 0, true);
    original->FillN('x', 0, -1);
    ConstRCPtr<LIBuffer> reader = original;

    reader.Unshare();

    EXPECT_NE(reader, original);
    EXPECT_EQ(*reader->GetPtr<char>(2), 'x');
    EXPECT_EQ(original->GetReferenceCount(), 1);
}

TEST(Unshare, WorksThroughAPointerToTheBase)
{
    std::string journal;
    RCPtr<LRefCountedObject> held(new Witness('a', journal));
    const RCPtr<LRefCountedObject> alias = held;

    held.Unshare();

    EXPECT_EQ(RCPtr<Witness>::Downcast(held)->GetName(), 'A');
}

TEST(Unshare, ChangesNothingIfTheObjectCannotBeCopied)
{
    RCPtr<LRefCountedObject> held(new LRefCountedObject);
    const RCPtr<LRefCountedObject> alias = held;

    EXPECT_EQ(LogicErrorOf([&] { held.Unshare(); }), kNotCopyable);

    EXPECT_EQ(held, alias);
    EXPECT_EQ(held->GetReferenceCount(), 2);
}

TEST(Unshare, EndsNullAndNamesTheTypeIfTheCopyIsOfAnother)
{
    const RCPtr<LStranger> alias(new LStranger);
    RCPtr<LStranger> held = alias;
    const std::string type = typeid(LStranger).name();

    EXPECT_EQ(LogicErrorOf([&] { held.Unshare(); }),
              "Logic Error : " + type + " :  : ObjectBase/RefCountedObject : Line 363");

    EXPECT_EQ(held, nullptr);
    EXPECT_EQ(alias->GetReferenceCount(), 1);
}

TEST(Unshare, EndsNullAndNamesTheTypeIfThereIsNoCopy)
{
    const RCPtr<LRefCountedObject> alias(new LSterile);
    RCPtr<LRefCountedObject> held = alias;

    EXPECT_EQ(LogicErrorOf([&] { held.Unshare(); }),
              "Logic Error : N2QX17LRefCountedObjectE :  : ObjectBase/RefCountedObject : Line 363");

    EXPECT_EQ(held, nullptr);
    EXPECT_EQ(alias->GetReferenceCount(), 1);
}

TEST(Unshare, MayDestroyThePointerThatItIsCalledOn)
{
    std::string journal;
    auto* const holder = new Witness('h', journal);
    auto* const owner = new Witness('o', journal);
    owner->next = RCPtr<Witness>(holder);
    holder->next = RCPtr<Witness>(owner);
    owner->AddContainedReference();
    owner->onDismantling = [&] {
        owner->ModifyNumContainedReferences(-1);
        owner->next = nullptr; // the last reference to the holder, and so to the pointer
        return owner->LRefCountedObject::RemoveReference();
    };
    journal.clear();

    holder->next.Unshare();

    EXPECT_EQ(journal, "=o +O +O +O -o !o -h ~h -O ~o -O -O ~O ");
}

TEST(UnshareableObject, IsNotCopiedForItsFirstHolder)
{
    std::string journal;
    auto* const witness = new Witness('a', journal);
    witness->SetUnshareable(true);

    const RCPtr<Witness> first(witness);

    EXPECT_EQ(journal, "+a ");
    EXPECT_EQ(first->GetReferenceCount(), 1);
}

TEST(UnshareableObject, IsCopiedAtOnceForEveryFurtherHolder)
{
    std::string journal;
    const RCPtr<Witness> first(new Witness('a', journal));
    first->SetUnshareable(true);
    journal.clear();

    const RCPtr<Witness> second = first;

    EXPECT_EQ(journal, "+a =a +A +A +A -a -A -A ");
    EXPECT_EQ(second->GetName(), 'A');
    EXPECT_EQ(second->GetReferenceCount(), 1);
    EXPECT_TRUE(second->IsShareable());
    EXPECT_EQ(first->GetReferenceCount(), 1);
    EXPECT_FALSE(first->IsShareable());
}

TEST(UnshareableObject, IsCopiedForEveryWayToTakeAHolder)
{
    std::string journal;
    const RCPtr<Witness> first(new Witness('a', journal));
    first->SetUnshareable(true);
    RCPtr<LRefCountedObject> assigned;

    const RCPtr<Witness> raw(first.Get());
    const RCPtr<LRefCountedObject> converted = first;
    const ConstRCPtr<Witness> reader = first;
    assigned = first;

    EXPECT_EQ(raw->GetName(), 'A');
    EXPECT_EQ(RCPtr<Witness>::Downcast(converted)->GetName(), 'A');
    EXPECT_EQ(reader->GetName(), 'A');
    EXPECT_EQ(RCPtr<Witness>::Downcast(assigned)->GetName(), 'A');
    EXPECT_EQ(first->GetReferenceCount(), 1);
}

TEST(UnshareableObject, IsSharedAgainOnceTheMarkIsGone)
{
    std::string journal;
    const RCPtr<Witness> first(new Witness('a', journal));
    first->SetUnshareable(true);
    first->SetUnshareable(false);

    const RCPtr<Witness> second = first;

    EXPECT_EQ(second, first);
}

TEST(UnshareableObject, KeepsItsCountWhenItCannotBeCopied)
{
    const RCPtr<LRefCountedObject> source(new LRefCountedObject);
    source->SetUnshareable(true);

    EXPECT_EQ(LogicErrorOf([&] { RCPtr<LRefCountedObject> copy(source); }), kNotCopyable);
    EXPECT_EQ(LogicErrorOf([&] { RCPtr<LRefCountedObject> raw(source.Get()); }), kNotCopyable);
    EXPECT_EQ(LogicErrorOf([&] { RCPtr<LRefCountedObject>::Downcast(source); }), kNotCopyable);

    EXPECT_EQ(source->GetReferenceCount(), 1);
}

TEST(UnshareableObject, LeavesTheTargetOfAFailedAssignmentUnchanged)
{
    std::string journal;
    const RCPtr<LRefCountedObject> source(new LRefCountedObject);
    source->SetUnshareable(true);
    RCPtr<LRefCountedObject> target(new Witness('t', journal));
    const LRefCountedObject* const object = target.Get();
    journal.clear();

    EXPECT_EQ(LogicErrorOf([&] { target = source; }), kNotCopyable);

    EXPECT_EQ(target.Get(), object);
    EXPECT_EQ(journal, "");
    EXPECT_EQ(source->GetReferenceCount(), 1);
}

TEST(UnshareableObject, KeepsItsCountWhenItsCopyIsOfAnotherType)
{
    const RCPtr<LStranger> source(new LStranger);
    source->SetUnshareable(true);
    RCPtr<LStranger> target(new LStranger);
    const LStranger* const object = target.Get();

    EXPECT_THROW(RCPtr<LStranger> copy(source), QX::Exception<std::logic_error>);
    EXPECT_THROW(target = source, QX::Exception<std::logic_error>);

    EXPECT_EQ(source->GetReferenceCount(), 1);
    EXPECT_EQ(target.Get(), object);
    EXPECT_EQ(target->GetReferenceCount(), 1);
}

} // namespace
