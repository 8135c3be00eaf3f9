// RCPtrTest.cpp - construction, access and release by the smart pointers.

#include "Support/Witness.h"

#include <QX/RCPtr.h>

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <utility>

namespace {

using QX::ConstRCPtr;
using QX::LRefCountedObject;
using QX::RCPtr;
using TestSupport::Witness;

static_assert(sizeof(RCPtr<Witness>) == sizeof(void*));
static_assert(sizeof(ConstRCPtr<Witness>) == sizeof(void*));

TEST(RCPtr, IsNullByDefaultAndFromNull)
{
    Witness* const nothing = nullptr;

    EXPECT_EQ(RCPtr<Witness>().Get(), nullptr);
    EXPECT_EQ(RCPtr<Witness>(nullptr).Get(), nullptr);
    EXPECT_EQ(RCPtr<Witness>(nothing).Get(), nullptr);
    EXPECT_EQ(ConstRCPtr<Witness>().Get(), nullptr);
    EXPECT_EQ(RCPtr<Witness>::Null.Get(), nullptr);
    EXPECT_FALSE(RCPtr<Witness>::Null);
}

TEST(RCPtr, TakesOneReferenceAndDropsItAtTheEnd)
{
    std::string journal;
    {
        const RCPtr<Witness> held(new Witness('a', journal));
        journal += "| ";
    }

    EXPECT_EQ(journal, "+a | -a ~a ");
}

TEST(RCPtr, ACopyTakesAReferenceOfItsOwn)
{
    std::string journal;
    const RCPtr<Witness> held(new Witness('a', journal));
    journal.clear();
    {
        const RCPtr<Witness> copy = held;
        EXPECT_EQ(copy->GetReferenceCount(), 2);
    }

    EXPECT_EQ(journal, "+a -a ");
}

TEST(RCPtr, ACopyOfNullIsNull)
{
    const RCPtr<Witness> null;
    const RCPtr<Witness> copy = null;
    const ConstRCPtr<Witness> reader = null;

    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(reader, nullptr);
}

TEST(RCPtr, MovingCountsNothingAndEmptiesTheSource)
{
    std::string journal;
    RCPtr<Witness> source(new Witness('a', journal));
    journal.clear();

    RCPtr<Witness> constructed = std::move(source);
    RCPtr<Witness> assigned;
    assigned = std::move(constructed);
    const ConstRCPtr<Witness> reader = std::move(assigned);

    EXPECT_EQ(journal, "");
    EXPECT_EQ(source, nullptr);
    EXPECT_EQ(constructed, nullptr);
    EXPECT_EQ(assigned, nullptr);
    EXPECT_EQ(reader->GetName(), 'a');
}

TEST(RCPtr, ReachesItsObject)
{
    std::string journal;
    auto* const witness = new Witness('a', journal);
    const RCPtr<Witness> held(witness);
    const ConstRCPtr<Witness> reader = held;

    EXPECT_EQ(held.Get(), witness);
    EXPECT_EQ(&*held, witness);
    EXPECT_EQ(held->GetName(), 'a');
    EXPECT_EQ(reader.Get(), witness);
    EXPECT_EQ(&*reader, witness);
    EXPECT_EQ(reader->GetName(), 'a');
    EXPECT_TRUE(held);
    EXPECT_TRUE(reader);
}

TEST(RCPtr, ComparesByIdentity)
{
    std::string journal;
    const RCPtr<Witness> a(new Witness('a', journal));
    const RCPtr<Witness> sameObject = a;
    const RCPtr<Witness> b(new Witness('b', journal));
    const ConstRCPtr<Witness> reader = a;
    const RCPtr<LRefCountedObject> base = a;

    EXPECT_TRUE(a == sameObject);
    EXPECT_TRUE(a == reader);
    EXPECT_TRUE(base == a);
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(reader != b);
    EXPECT_TRUE(a != nullptr);
    EXPECT_TRUE(nullptr == RCPtr<Witness>::Null);
    EXPECT_FALSE(a == RCPtr<Witness>::Null);
}

TEST(RCPtr, SwapCountsNothing)
{
    std::string journal;
    RCPtr<Witness> a(new Witness('a', journal));
    RCPtr<Witness> b(new Witness('b', journal));
    ConstRCPtr<Witness> readA = a;
    ConstRCPtr<Witness> readNull;
    journal.clear();

    a.Swap(b);
    a.Swap(a);
    readA.Swap(readNull);

    EXPECT_EQ(journal, "");
    EXPECT_EQ(a->GetName(), 'b');
    EXPECT_EQ(b->GetName(), 'a');
    EXPECT_EQ(readA, nullptr);
    EXPECT_EQ(readNull->GetName(), 'a');
}

TEST(RCPtr, ReleasesThroughTheVirtualOperation)
{
    std::string journal;
    RCPtr<LRefCountedObject> base(new Witness('a', journal));

    base = nullptr;

    EXPECT_EQ(journal, "+a -a ~a ");
}

RCPtr<Witness> OneOfTwo(bool first, const RCPtr<Witness>& model)
{
    std::string& journal = model->GetJournal();
    RCPtr<Witness> a(new Witness('a', journal));
    RCPtr<Witness> b(new Witness('b', journal));
    a->SetUnshareable(true);
    b->SetUnshareable(true);
    if (first) {
        return a;
    }
    return b;
}

TEST(RCPtr, IsReturnedFromAFunctionWithoutACopyOfAnUnshareableObject)
{
    std::string journal;
    const RCPtr<Witness> model(new Witness('m', journal));

    const RCPtr<Witness> first = OneOfTwo(true, model);
    const RCPtr<Witness> second = OneOfTwo(false, model);

    EXPECT_EQ(first->GetName(), 'a');
    EXPECT_EQ(second->GetName(), 'b');
    EXPECT_EQ(journal.find('='), std::string::npos) << journal;
}

} // namespace
