// RCPtrTest.cpp - construction, assignment, access and release by the smart pointers.

#include "Support/Witness.h"

#include <QX/Buffer.h>
#include <QX/RCPtr.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

using QX::ConstRCPtr;
using QX::LIBuffer;
using QX::LRefCountedObject;
using QX::RCPtr;
using TestSupport::MakeWitness;
using TestSupport::Witness;

using Base = RCPtr<LRefCountedObject>;

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

/// Five pointers of four kinds, two of them to one object, and a null pointer.
struct Pointers
{
    std::string journal;
    RCPtr<Witness> a = MakeWitness('a', journal);
    RCPtr<Witness> alias = a;
    RCPtr<Witness> b = MakeWitness('b', journal);
    Base base = MakeWitness('c', journal);
    ConstRCPtr<Witness> reader = MakeWitness('d', journal);
    RCPtr<Witness> null;

    std::string Names() const
    {
        const Witness* const witnesses[] = {a.Get(),      alias.Get(),
                                            b.Get(),      dynamic_cast<const Witness*>(base.Get()),
                                            reader.Get(), null.Get()};
        std::string names;
        for (const Witness* const witness : witnesses) {
            names += witness != nullptr ? witness->GetName() : '.';
        }
        return names;
    }
};

template <class T>
T& Same(T& object)
{
    return object;
}

struct Row
{
    const char* what;
    void (*run)(Pointers&);
    const char* journal;
    /// The objects of the six pointers afterwards.
    const char* names = "aabcd.";
};

void CheckRows(std::initializer_list<Row> rows)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Pointers pointers;
        pointers.journal.clear();

        row.run(pointers);

        EXPECT_EQ(pointers.journal, row.journal);
        EXPECT_EQ(pointers.Names(), row.names);
    }
}

TEST(RCPtr, TakesAReferenceAtItsBeginningAndDropsItAtItsEnd)
{
    CheckRows({
        {"of a new object", [](Pointers& p) { MakeWitness('n', p.journal); }, "+n -n ~n "},
        {"of an object with holders", [](Pointers& p) { RCPtr<Witness> held(p.b.Get()); },
         "+b -b "},
        {"a copy", [](Pointers& p) { RCPtr<Witness> copy(p.b); }, "+b -b "},
        {"a copy for reading", [](Pointers& p) { ConstRCPtr<Witness> copy(p.b); }, "+b -b "},
        {"a copy of a reader", [](Pointers& p) { ConstRCPtr<Witness> copy(p.reader); }, "+d -d "},
        {"a copy of a base class", [](Pointers& p) { Base copy(p.b); }, "+b -b "},
        {"a reader of a base class",
         [](Pointers& p) { ConstRCPtr<LRefCountedObject> copy(p.reader); }, "+d -d "},
        {"a copy of null",
         [](Pointers& p) {
             RCPtr<Witness> copy(p.null);
             Base base(p.null);
         },
         ""},
        {"a downcast", [](Pointers& p) { p.null = RCPtr<Witness>::Downcast(p.base); }, "+c ",
         "aabcdc"},
        {"a downcast for reading",
         [](Pointers& p) { p.reader = ConstRCPtr<Witness>::Downcast(p.base); }, "+c -d ~d ",
         "aabcc."},
        {"a downcast to the same class", [](Pointers& p) { Base::Downcast(p.base); }, "+c -c "},
        {"a downcast to another class",
         [](Pointers& p) {
             EXPECT_EQ(RCPtr<LIBuffer>::Downcast(p.base), nullptr);
             EXPECT_EQ(ConstRCPtr<LIBuffer>::Downcast(p.base), nullptr);
         },
         ""},
        {"a downcast of null", [](Pointers&) { RCPtr<Witness>::Downcast(Base()); }, ""},
    });
}

TEST(RCPtr, AnAssignmentTakesTheNewReferenceBeforeItDropsTheOld)
{
    CheckRows({
        {"to the same class", [](Pointers& p) { p.b = p.a; }, "+a -b ~b ", "aaacd."},
        {"to a base class", [](Pointers& p) { p.base = p.a; }, "+a -c ~c ", "aabad."},
        {"to a reader", [](Pointers& p) { p.reader = p.a; }, "+a -d ~d ", "aabca."},
        {"to null", [](Pointers& p) { p.null = p.a; }, "+a ", "aabcda"},
        {"of null",
         [](Pointers& p) {
             p.b = p.null;
             p.base = p.null;
             p.reader = nullptr;
         },
         "-b ~b -c ~c -d ~d ", "aa...."},
        {"of the same object", [](Pointers& p) { p.a = p.alias; }, ""},
        {"of itself", [](Pointers& p) { p.a = Same(p.a); }, ""},
    });
}

TEST(RCPtr, AMoveCountsNothingAndEmptiesTheSource)
{
    CheckRows({
        {"into a new pointer",
         [](Pointers& p) {
             RCPtr<Witness> moved(std::move(p.b));
             p.null = std::move(moved);
         },
         "", "aa.cdb"},
        {"to a base class", [](Pointers& p) { p.base = std::move(p.b); }, "-c ~c ", "aa.bd."},
        {"to a reader", [](Pointers& p) { p.reader = std::move(p.b); }, "-d ~d ", "aa.cb."},
        {"of null to a base class", [](Pointers& p) { p.base = std::move(p.null); }, "-c ~c ",
         "aab.d."},
        {"of an alias", [](Pointers& p) { p.a = std::move(p.alias); }, "-a ", "a.bcd."},
        {"to itself", [](Pointers& p) { p.a = std::move(Same(p.a)); }, ""},
        {"by a swap", [](Pointers& p) { p.a.Swap(p.b); }, "", "baacd."},
        {"by a swap with itself", [](Pointers& p) { p.a.Swap(p.a); }, ""},
        {"by a swap with null",
         [](Pointers& p) {
             ConstRCPtr<Witness> empty;
             p.reader.Swap(empty);
         },
         "-d ~d ", "aabc.."},
    });
}

TEST(RCPtr, AnUnshareableObjectIsCopiedForEachFurtherHolder)
{
    CheckRows({
        {"only for a further one",
         [](Pointers& p) {
             auto* const witness = new Witness('n', p.journal);
             witness->SetUnshareable(true);
             RCPtr<Witness> first(witness);
         },
         "+n -n ~n "},
        {"an assignment",
         [](Pointers& p) {
             p.b->SetUnshareable(true);
             p.null = p.b;
             EXPECT_FALSE(p.b->IsShareable());
             EXPECT_TRUE(p.null->IsShareable());
         },
         "+b =b +B +B +B -b -B -B ", "aabcdB"},
        {"a raw pointer",
         [](Pointers& p) {
             p.b->SetUnshareable(true);
             p.null = RCPtr<Witness>(p.b.Get());
         },
         "+b =b +B +B +B -b -B -B ", "aabcdB"},
        {"a base class",
         [](Pointers& p) {
             p.b->SetUnshareable(true);
             p.base = p.b;
         },
         "+b =b +B +B +B -b -B -B -c ~c ", "aabBd."},
        {"a reader",
         [](Pointers& p) {
             p.b->SetUnshareable(true);
             p.reader = p.b;
         },
         "+b =b +B +B +B -b -B -B -d ~d ", "aabcB."},
        {"a downcast",
         [](Pointers& p) {
             p.base->SetUnshareable(true);
             p.null = RCPtr<Witness>::Downcast(p.base);
         },
         "+c =c +C +C +C -c -C -C ", "aabcdC"},
        {"not for the same pointer",
         [](Pointers& p) {
             p.b->SetUnshareable(true);
             p.b = Same(p.b);
         },
         ""},
        {"not for a move",
         [](Pointers& p) {
             p.b->SetUnshareable(true);
             p.base = std::move(p.b);
         },
         "-c ~c ", "aa.bd."},
        {"not without the mark",
         [](Pointers& p) {
             p.b->SetUnshareable(true);
             p.b->SetUnshareable(false);
             p.null = p.b;
         },
         "+b ", "aabcdb"},
    });
}

TEST(RCPtr, UnshareMakesOneCopyOfAnObjectWithOtherHolders)
{
    CheckRows({
        {"of one of two", [](Pointers& p) { p.a.Unshare(); }, "=a +A +A +A -a -A -A ", "Aabcd."},
        {"of a base class",
         [](Pointers& p) {
             p.base = p.a;
             p.journal.clear();
             p.base.Unshare();
         },
         "=a +A +A +A -a -A -A ", "aabAd."},
        {"of a reader",
         [](Pointers& p) {
             p.reader = p.a;
             p.journal.clear();
             p.reader.Unshare();
         },
         "=a +A +A +A -a -A -A ", "aabcA."},
        {"not of the only holder", [](Pointers& p) { p.b.Unshare(); }, ""},
        {"not of null", [](Pointers& p) { p.null.Unshare(); }, ""},
    });
}

TEST(RCPtr, ReachesItsObject)
{
    auto* const witness = new Witness('a');
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
    const RCPtr<Witness> a = MakeWitness('a');
    const RCPtr<Witness> sameObject = a;
    const RCPtr<Witness> b = MakeWitness('a');
    const ConstRCPtr<Witness> reader = a;
    const Base base = a;

    EXPECT_TRUE(a == sameObject);
    EXPECT_TRUE(a == reader);
    EXPECT_TRUE(base == a);
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(reader != b);
    EXPECT_TRUE(a != nullptr);
    EXPECT_TRUE(nullptr == RCPtr<Witness>::Null);
    EXPECT_FALSE(a == RCPtr<Witness>::Null);
}

RCPtr<Witness> OneOfTwo(bool first, std::string& journal)
{
    RCPtr<Witness> a = MakeWitness('a', journal);
    RCPtr<Witness> b = MakeWitness('b', journal);
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

    const RCPtr<Witness> first = OneOfTwo(true, journal);
    const RCPtr<Witness> second = OneOfTwo(false, journal);

    EXPECT_EQ(first->GetName(), 'a');
    EXPECT_EQ(second->GetName(), 'b');
    EXPECT_EQ(journal.find('='), std::string::npos) << journal;
}

} // namespace
