// RCPtrConversionTest.cpp - which smart pointers turn into which, and casts down the class tree.

#include "Support/Witness.h"

#include <QX/Buffer.h>
#include <QX/RCPtr.h>

#include <gtest/gtest.h>

#include <concepts>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using QX::ConstRCPtr;
using QX::LIBuffer;
using QX::LRefCountedObject;
using QX::RCPtr;
using TestSupport::Witness;

using Base = LRefCountedObject;
using Other = LIBuffer;

template <class From, class To>
constexpr bool kConverts = std::is_convertible_v<From, To>&& std::is_assignable_v<To&, From>&&
    std::is_constructible_v<To, From>;
template <class From, class To>
constexpr bool kIsUnrelatedTo =
    !std::is_constructible_v<To, From> && !std::is_assignable_v<To&, From>;

// To the same type and to a base class, with access kept or given up.
static_assert(kConverts<const RCPtr<Witness>&, RCPtr<Witness>>);
static_assert(kConverts<const RCPtr<Witness>&, ConstRCPtr<Witness>>);
static_assert(kConverts<const RCPtr<Witness>&, RCPtr<Base>>);
static_assert(kConverts<const RCPtr<Witness>&, ConstRCPtr<Base>>);
static_assert(kConverts<const ConstRCPtr<Witness>&, ConstRCPtr<Witness>>);
static_assert(kConverts<const ConstRCPtr<Witness>&, ConstRCPtr<Base>>);
static_assert(kConverts<RCPtr<Witness>, ConstRCPtr<Base>>);
static_assert(kConverts<std::nullptr_t, RCPtr<Witness>>);
static_assert(kConverts<std::nullptr_t, ConstRCPtr<Witness>>);

// Never to write access, to a derived class or across.
static_assert(kIsUnrelatedTo<const ConstRCPtr<Witness>&, RCPtr<Witness>>);
static_assert(kIsUnrelatedTo<ConstRCPtr<Witness>, RCPtr<Witness>>);
static_assert(kIsUnrelatedTo<const ConstRCPtr<Witness>&, RCPtr<Base>>);
static_assert(kIsUnrelatedTo<const RCPtr<Base>&, RCPtr<Witness>>);
static_assert(kIsUnrelatedTo<RCPtr<Base>, RCPtr<Witness>>);
static_assert(kIsUnrelatedTo<const ConstRCPtr<Base>&, ConstRCPtr<Witness>>);
static_assert(kIsUnrelatedTo<const RCPtr<Other>&, RCPtr<Witness>>);
static_assert(kIsUnrelatedTo<RCPtr<Other>, ConstRCPtr<Witness>>);
static_assert(kIsUnrelatedTo<std::string, RCPtr<Witness>>);
static_assert(kIsUnrelatedTo<const Witness*, ConstRCPtr<Witness>>);

// A raw pointer becomes a holder only where that is written out.
static_assert(std::is_constructible_v<RCPtr<Witness>, Witness*>);
static_assert(std::is_constructible_v<RCPtr<Base>, Witness*>);
static_assert(!std::is_convertible_v<Witness*, RCPtr<Witness>>);
static_assert(!std::is_convertible_v<Witness*, ConstRCPtr<Witness>>);
static_assert(!std::is_assignable_v<RCPtr<Witness>&, Witness*>);
static_assert(!std::is_convertible_v<RCPtr<Witness>, Witness*>);
static_assert(!std::is_convertible_v<RCPtr<Witness>, bool>);
static_assert(std::is_constructible_v<bool, RCPtr<Witness>>);

static_assert(std::is_nothrow_default_constructible_v<RCPtr<Witness>>);
static_assert(std::is_nothrow_move_constructible_v<RCPtr<Witness>>);
static_assert(std::is_nothrow_move_assignable_v<RCPtr<Witness>>);
static_assert(std::is_nothrow_move_constructible_v<ConstRCPtr<Witness>>);
static_assert(std::is_nothrow_move_assignable_v<ConstRCPtr<Witness>>);
static_assert(std::is_nothrow_constructible_v<RCPtr<Base>, RCPtr<Witness>>);
static_assert(std::is_nothrow_constructible_v<ConstRCPtr<Base>, RCPtr<Witness>>);
static_assert(std::is_nothrow_destructible_v<RCPtr<Witness>>);
static_assert(std::is_nothrow_swappable_v<RCPtr<Witness>>);

static_assert(std::is_same_v<decltype(std::declval<const RCPtr<Witness>&>().Get()), Witness*>);
static_assert(std::is_same_v<decltype(*std::declval<const RCPtr<Witness>&>()), Witness&>);
static_assert(std::is_same_v<decltype(std::declval<ConstRCPtr<Witness>&>().Get()), const Witness*>);
static_assert(std::is_same_v<decltype(*std::declval<ConstRCPtr<Witness>&>()), const Witness&>);

template <class Left, class Right>
concept CanSwap = requires(Left left, Right right)
{
    left.Swap(right);
};
static_assert(CanSwap<RCPtr<Witness>&, RCPtr<Witness>&>);
static_assert(CanSwap<ConstRCPtr<Witness>&, ConstRCPtr<Witness>&>);
static_assert(!CanSwap<RCPtr<Witness>&, ConstRCPtr<Witness>&>);
static_assert(!CanSwap<ConstRCPtr<Witness>&, RCPtr<Witness>&>);

template <class Left, class Right>
concept CanCompare = requires(const Left& left, const Right& right)
{
    left == right;
};
static_assert(CanCompare<RCPtr<Witness>, ConstRCPtr<Base>>);
static_assert(!CanCompare<RCPtr<Witness>, RCPtr<Other>>);

// The classes below the buffer interface share one base object, so only a dynamic cast goes down.
template <class To>
concept CanStaticCastFromBase = requires(Base* base)
{
    static_cast<To*>(base);
};
static_assert(!CanStaticCastFromBase<LIBuffer>);
static_assert(!CanStaticCastFromBase<QX::LByteBuffer>);

// Overloads on unrelated pointers stay apart.
char Pick(const RCPtr<Witness>&)
{
    return 'w';
}
char Pick(const RCPtr<LIBuffer>&)
{
    return 'b';
}

TEST(RCPtrConversion, DoesNotMakeOverloadsAmbiguous)
{
    EXPECT_EQ(Pick(RCPtr<Witness>()), 'w');
    EXPECT_EQ(Pick(RCPtr<LIBuffer>()), 'b');
}

TEST(RCPtrConversion, APointerToABaseClassTakesAReference)
{
    std::string journal;
    const RCPtr<Witness> witness(new Witness('a', journal));
    journal.clear();

    const RCPtr<Base> base = witness;
    const ConstRCPtr<Base> reader = witness;

    EXPECT_EQ(journal, "+a +a ");
    EXPECT_EQ(base.Get(), witness.Get());
    EXPECT_EQ(reader.Get(), witness.Get());
}

TEST(RCPtrConversion, APointerToAVirtualBaseClassIsAdjusted)
{
    const RCPtr<LIBuffer> buffer = QX::LByteBuffer::Create(1, 0, true);

    const RCPtr<Base> base = buffer;

    EXPECT_EQ(base.Get(), static_cast<Base*>(buffer.Get()));
    EXPECT_NE(static_cast<void*>(base.Get()), static_cast<void*>(buffer.Get()));
    EXPECT_EQ(base->GetReferenceCount(), 2);
}

TEST(RCPtrConversion, AnExpiringPointerHandsItsReferenceOver)
{
    std::string journal;
    RCPtr<Witness> witness(new Witness('a', journal));
    witness->SetUnshareable(true);
    journal.clear();

    RCPtr<Base> base = std::move(witness);
    const ConstRCPtr<Base> reader = std::move(base);

    EXPECT_EQ(journal, "");
    EXPECT_EQ(witness, nullptr);
    EXPECT_EQ(base, nullptr);
    EXPECT_EQ(reader->GetReferenceCount(), 1);
}

TEST(RCPtrConversion, NullStaysNull)
{
    const RCPtr<LIBuffer> null;

    const RCPtr<Base> base = null;

    EXPECT_EQ(base, nullptr);
}

TEST(Downcast, GivesASecondHolderOfTheSameObject)
{
    std::string journal;
    const RCPtr<Base> base(new Witness('a', journal));
    journal.clear();

    const RCPtr<Witness> witness = RCPtr<Witness>::Downcast(base);
    const ConstRCPtr<Witness> reader = ConstRCPtr<Witness>::Downcast(base);

    EXPECT_EQ(journal, "+a +a ");
    EXPECT_EQ(witness.Get(), base.Get());
    EXPECT_EQ(reader, witness);
}

TEST(Downcast, GoesBelowAVirtualBase)
{
    const RCPtr<LIBuffer> buffer = QX::LByteBuffer::Create(1, 0, true);
    const RCPtr<Base> base = buffer;

    EXPECT_EQ(RCPtr<LIBuffer>::Downcast(base), buffer);
    EXPECT_EQ(ConstRCPtr<LIBuffer>::Downcast(base), buffer);
    EXPECT_EQ(buffer->GetReferenceCount(), 2);
}

TEST(RCPtrConversion, AMovedNullStaysNullAsAVirtualBase)
{
    RCPtr<LIBuffer> null;

    const ConstRCPtr<Base> base = std::move(null);

    EXPECT_EQ(base, nullptr);
}

TEST(Downcast, AnswersAnotherTypeAndNullWithNull)
{
    std::string journal;
    const RCPtr<Base> base(new Witness('a', journal));
    const RCPtr<Base> null;
    journal.clear();

    EXPECT_EQ(RCPtr<LIBuffer>::Downcast(base), nullptr);
    EXPECT_EQ(ConstRCPtr<LIBuffer>::Downcast(base), nullptr);
    EXPECT_EQ(RCPtr<Witness>::Downcast(null), nullptr);
    EXPECT_EQ(ConstRCPtr<Witness>::Downcast(null), nullptr);
    EXPECT_EQ(journal, "");
}

TEST(Downcast, CopiesAPointerToTheBase)
{
    const RCPtr<Base> base(new Base);

    const RCPtr<Base> copy = RCPtr<Base>::Downcast(base);

    EXPECT_EQ(copy, base);
    EXPECT_EQ(base->GetReferenceCount(), 2);
}

TEST(Downcast, GivesAPrivateCopyOfAnUnshareableObject)
{
    std::string journal;
    const RCPtr<Base> base(new Witness('a', journal));
    base->SetUnshareable(true);

    const RCPtr<Witness> witness = RCPtr<Witness>::Downcast(base);

    EXPECT_EQ(witness->GetName(), 'A');
    EXPECT_EQ(base->GetReferenceCount(), 1);
    EXPECT_EQ(witness->GetReferenceCount(), 1);
}

// Downcast on RCPtr must not turn a pointer for reading into one for writing.
template <class From>
concept CanDowncastToWitness = requires(const From& from)
{
    RCPtr<Witness>::Downcast(from);
};
static_assert(CanDowncastToWitness<RCPtr<Base>>);
static_assert(!CanDowncastToWitness<ConstRCPtr<Base>>);

} // namespace
