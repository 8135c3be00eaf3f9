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

using Counted = LRefCountedObject;
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
static_assert(kConverts<const RCPtr<Witness>&, RCPtr<Counted>>);
static_assert(kConverts<const RCPtr<Witness>&, ConstRCPtr<Counted>>);
static_assert(kConverts<const ConstRCPtr<Witness>&, ConstRCPtr<Witness>>);
static_assert(kConverts<const ConstRCPtr<Witness>&, ConstRCPtr<Counted>>);
static_assert(kConverts<RCPtr<Witness>, ConstRCPtr<Counted>>);
static_assert(kConverts<std::nullptr_t, RCPtr<Witness>>);
static_assert(kConverts<std::nullptr_t, ConstRCPtr<Witness>>);

// Never to write access, to a derived class or across.
static_assert(kIsUnrelatedTo<const ConstRCPtr<Witness>&, RCPtr<Witness>>);
static_assert(kIsUnrelatedTo<ConstRCPtr<Witness>, RCPtr<Witness>>);
static_assert(kIsUnrelatedTo<const ConstRCPtr<Witness>&, RCPtr<Counted>>);
static_assert(kIsUnrelatedTo<const RCPtr<Counted>&, RCPtr<Witness>>);
static_assert(kIsUnrelatedTo<RCPtr<Counted>, RCPtr<Witness>>);
static_assert(kIsUnrelatedTo<const ConstRCPtr<Counted>&, ConstRCPtr<Witness>>);
static_assert(kIsUnrelatedTo<const RCPtr<Other>&, RCPtr<Witness>>);
static_assert(kIsUnrelatedTo<RCPtr<Other>, ConstRCPtr<Witness>>);
static_assert(kIsUnrelatedTo<std::string, RCPtr<Witness>>);
static_assert(kIsUnrelatedTo<const Witness*, ConstRCPtr<Witness>>);

// A raw pointer becomes a holder only where that is written out.
static_assert(std::is_constructible_v<RCPtr<Witness>, Witness*>);
static_assert(std::is_constructible_v<RCPtr<Counted>, Witness*>);
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
static_assert(std::is_nothrow_constructible_v<RCPtr<Counted>, RCPtr<Witness>>);
static_assert(std::is_nothrow_constructible_v<ConstRCPtr<Counted>, RCPtr<Witness>>);
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
static_assert(CanCompare<RCPtr<Witness>, ConstRCPtr<Counted>>);
static_assert(!CanCompare<RCPtr<Witness>, RCPtr<Other>>);

// The classes below the buffer interface share one base object, so only a dynamic cast goes down.
template <class To>
concept CanStaticCastFromBase = requires(Counted* base)
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

// Downcast on RCPtr must not turn a pointer for reading into one for writing.
template <class From>
concept CanDowncastToWitness = requires(const From& from)
{
    RCPtr<Witness>::Downcast(from);
};
static_assert(CanDowncastToWitness<RCPtr<Counted>>);
static_assert(!CanDowncastToWitness<ConstRCPtr<Counted>>);

} // namespace
