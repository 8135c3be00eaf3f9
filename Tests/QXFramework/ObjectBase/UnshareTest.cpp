// UnshareTest.cpp - objects without a copy, and a copy that ends the object that holds the pointer.

#include "Support/Witness.h"

#include <QX/Exception.h>
#include <QX/RCPtr.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

using QX::LRefCountedObject;
using QX::RCPtr;
using TestSupport::Witness;

// Gives null for a copy.
class LSterile : public LRefCountedObject
{
public:
    RCPtr<LRefCountedObject> CreateCopy() const override { return nullptr; }
};

TEST(Unshare, EndsNullAndNamesTheTypeIfThereIsNoCopy)
{
    const RCPtr<LRefCountedObject> alias(new LSterile);
    RCPtr<LRefCountedObject> held = alias;

    try {
        held.Unshare();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const QX::Exception<std::logic_error>& error) {
        EXPECT_STREQ(error.what(), "Logic Error : N2QX17LRefCountedObjectE :  : "
                                   "ObjectBase/RefCountedObject : Line 363");
    }

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

TEST(UnshareableObject, KeepsItsCountWhenThereIsNoCopy)
{
    const RCPtr<LSterile> source(new LSterile);
    source->SetUnshareable(true);
    RCPtr<LSterile> target(new LSterile);
    const LSterile* const object = target.Get();

    EXPECT_THROW(RCPtr<LSterile> copy(source), QX::Exception<std::logic_error>);
    EXPECT_THROW(target = source, QX::Exception<std::logic_error>);

    EXPECT_EQ(source->GetReferenceCount(), 1);
    EXPECT_EQ(target.Get(), object);
    EXPECT_EQ(target->GetReferenceCount(), 1);
}

} // namespace
