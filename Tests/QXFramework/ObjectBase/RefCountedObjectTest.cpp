// RefCountedObjectTest.cpp - counts, defaults and layout of the counted base class.

#include "Support/VirtualSlots.h"
#include "Support/Witness.h"

#include <QX/Exception.h>
#include <QX/RCPtr.h>
#include <QX/String.h>

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>
#include <typeinfo>

namespace {

using QX::int32;
using QX::LRefCountedObject;
using QX::RCPtr;
using TestSupport::SlotOf;
using TestSupport::Witness;

using Object = RCPtr<LRefCountedObject>;

static_assert(sizeof(LRefCountedObject) == (sizeof(void*) == 8 ? 24 : 20));
static_assert(std::has_virtual_destructor_v<LRefCountedObject>);
static_assert(!std::has_virtual_destructor_v<QX::IStringable>);
static_assert(!std::has_virtual_destructor_v<QX::IUndoable>);
static_assert(!std::is_destructible_v<QX::IStringable>);
static_assert(std::is_nothrow_copy_constructible_v<LRefCountedObject>);
static_assert(std::is_same_v<QX::StringT<char>, QX::StringT<char, unsigned short>>);

Object MakeObject()
{
    return Object(new LRefCountedObject);
}

struct Words
{
    int32 references;
    int32 contained;
    int32 releasing;
    QX::uint32 isShareable;
};

Words WordsOf(const LRefCountedObject& object)
{
    Words words;
    std::memcpy(&words, reinterpret_cast<const char*>(&object) + sizeof(void*), sizeof(words));
    return words;
}

TEST(RefCountedObject, IsBornWithoutHoldersAndShareable)
{
    const LRefCountedObject object;

    EXPECT_EQ(object.GetReferenceCount(), 0);
    EXPECT_EQ(object.GetContainedReferenceCount(), 0);
    EXPECT_TRUE(object.IsShareable());
}

TEST(RefCountedObject, KeepsItsFourWordsInOrderAfterTheTable)
{
    const Object object = MakeObject();
    object->AddReference();
    object->ModifyNumContainedReferences(7);

    const Words words = WordsOf(*object);

    EXPECT_EQ(words.references, 2);
    EXPECT_EQ(words.contained, 7);
    EXPECT_EQ(words.releasing, 0);
    EXPECT_EQ(words.isShareable, 1u);
    object->RemoveReference();
}

TEST(RefCountedObject, AddAndRemoveReturnTheNewCount)
{
    const Object object = MakeObject();

    EXPECT_EQ(object->AddReference(), 2);
    EXPECT_EQ(object->AddReference(), 3);
    EXPECT_EQ(object->RemoveReference(), 2);
    EXPECT_EQ(object->RemoveReference(), 1);
}

TEST(RefCountedObject, EndsWithItsLastReferenceAndReturnsZero)
{
    std::string journal;
    auto* const witness = new Witness('a', journal);
    witness->AddReference();

    const int32 remaining = witness->RemoveReference();

    EXPECT_EQ(remaining, 0);
    EXPECT_EQ(journal, "+a -a ~a ");
}

TEST(RefCountedObject, ACopyStartsWithItsOwnCounters)
{
    const Object original = MakeObject();
    original->SetUnshareable(true);
    original->ModifyNumContainedReferences(3);

    const LRefCountedObject copy(*original);

    EXPECT_EQ(copy.GetReferenceCount(), 0);
    EXPECT_EQ(copy.GetContainedReferenceCount(), 0);
    EXPECT_TRUE(copy.IsShareable());
}

TEST(RefCountedObject, DescribesItselfByTheSameTextWhateverItIs)
{
    std::string journal;
    const RCPtr<Witness> witness(new Witness('a', journal));

    EXPECT_STREQ(MakeObject()->ToString().CStr(), "PKN2QX17LRefCountedObjectE");
    EXPECT_STREQ(witness->ToString().CStr(), "PKN2QX17LRefCountedObjectE");
    EXPECT_STREQ(typeid(const LRefCountedObject*).name(), "PKN2QX17LRefCountedObjectE");
}

TEST(SetUnshareable, IsAcceptedWithNoHolderAndWithOne)
{
    LRefCountedObject unheld;
    const Object held = MakeObject();

    unheld.SetUnshareable(true);
    held->SetUnshareable(true);

    EXPECT_FALSE(unheld.IsShareable());
    EXPECT_FALSE(held->IsShareable());
    EXPECT_EQ(WordsOf(*held).isShareable, 0u);
}

TEST(SetUnshareable, TakesTheMarkAwayWithAnyNumberOfHolders)
{
    const Object object = MakeObject();
    object->SetUnshareable(true);
    object->AddReference();
    object->AddReference();

    object->SetUnshareable(false);

    EXPECT_TRUE(object->IsShareable());
    object->SetUnshareable(false);
    EXPECT_TRUE(object->IsShareable());
    object->RemoveReference();
    object->RemoveReference();
}

// What a class that appends one operation to the base finds in front of it.
class LAppended : public LRefCountedObject
{
public:
    virtual void Appended() {}
};

TEST(RefCountedObject, KeepsItsOperationsInTheirSlots)
{
    EXPECT_EQ(SlotOf(&QX::IStringable::ToString), 0u);
    EXPECT_EQ(SlotOf(&QX::IUndoable::Undo), 1u);
    EXPECT_EQ(SlotOf(&LRefCountedObject::ToString), 0u);
    EXPECT_EQ(SlotOf(&LRefCountedObject::Undo), 1u);
    EXPECT_EQ(SlotOf(&LRefCountedObject::AddReference), 2u);
    EXPECT_EQ(SlotOf(&LRefCountedObject::RemoveReference), 3u);
    EXPECT_EQ(SlotOf(&LRefCountedObject::RemoveContainedReferences), 4u);
    EXPECT_EQ(SlotOf(&LRefCountedObject::CreateCopy), 5u);
    EXPECT_EQ(SlotOf(&LAppended::Appended), 8u) << "6 and 7 are the destructor's";
}

class LAppendedException : public QX::ExceptionBase
{
public:
    virtual void Appended() {}
};

TEST(ExceptionBase, KeepsItsOperationsInTheirSlots)
{
    EXPECT_EQ(SlotOf(&QX::ExceptionBase::What), 2u) << "0 and 1 are the destructor's";
    EXPECT_EQ(SlotOf(&LAppendedException::Appended), 3u);
}

} // namespace
