// RCPtrArrayViewsTest.cpp - one block of slots seen as RCPtr and as ConstRCPtr.

#include "ContainerFakes.h"
#include "Support/Witness.h"

#include <QX/RCPtrArray.h>
#include <QX/RCPtrQueue.h>

#include <gtest/gtest.h>

#include <concepts>
#include <type_traits>
#include <utility>

namespace {

using QX::ConstRCPtr;
using QX::RCPtr;
using QX::uint32;
using TestSupport::MakeWitness;
using TestSupport::Witness;
using Array = QX::RCPtrArray<Witness, 1, 0>;
using ConstArray = QX::ConstRCPtrArray<Witness, 1, 0>;
using Queue = QX::RCPtrQueue<Witness, 256>;

// A copy of an array would own each reference twice.
static_assert(!std::is_copy_constructible_v<Array> && !std::is_copy_assignable_v<Array>);
static_assert(!std::is_move_constructible_v<Array> && !std::is_move_assignable_v<Array>);
static_assert(!std::is_copy_constructible_v<ConstArray> && !std::is_copy_assignable_v<ConstArray>);
static_assert(!std::is_move_constructible_v<ConstArray> && !std::is_move_assignable_v<ConstArray>);
static_assert(!std::is_copy_constructible_v<Queue> && !std::is_copy_assignable_v<Queue>);
static_assert(!std::is_move_constructible_v<Queue> && !std::is_move_assignable_v<Queue>);

template <class Container, class Pointer>
constexpr bool kTakes = requires(Container& container, Pointer& pointer)
{
    container.InsertItem(0u, pointer);
    container.AppendItem(pointer);
};
template <class Container, class Pointer>
constexpr bool kGives = requires(Container& container, Pointer& pointer)
{
    container.RemoveItem(0u, pointer);
};
template <class Container, class Other>
constexpr bool kCopies = requires(Container& container, const Other& other)
{
    container.Copy(other);
};

// What is only readable does not become writable by passing through an array.
static_assert(kTakes<Array, RCPtr<Witness>> && !kTakes<Array, ConstRCPtr<Witness>>);
static_assert(kTakes<ConstArray, RCPtr<Witness>> && kTakes<ConstArray, ConstRCPtr<Witness>>);
static_assert(kGives<Array, RCPtr<Witness>> && !kGives<Array, ConstRCPtr<Witness>>);
static_assert(kGives<ConstArray, ConstRCPtr<Witness>>);
static_assert(kCopies<Array, Array> && kCopies<Array, Queue> && kCopies<Queue, Array>);
static_assert(!kCopies<Array, ConstArray> && kCopies<ConstArray, ConstArray>);

static_assert(std::same_as<decltype(std::declval<Array&>().GetAt(0)), RCPtr<Witness>*>);
static_assert(std::same_as<decltype(std::declval<const Array&>().GetAt(0)), const RCPtr<Witness>*>);
static_assert(std::same_as<decltype(std::declval<Array&>().GetPtr()), RCPtr<Witness>*>);
static_assert(std::same_as<decltype(std::declval<ConstArray&>().GetAt(0)), ConstRCPtr<Witness>*>);
static_assert(
    std::same_as<decltype(std::declval<Array&>().GetBegin()), QX::IteratorT<RCPtr<Witness>>>);
static_assert(std::same_as<decltype(std::declval<ConstArray&>().GetBegin()),
                           QX::IteratorT<ConstRCPtr<Witness>>>);

/// Runs every operation of one view, with that view's own pointer type.
template <class View, class Pointer>
void UseEveryOperation(View& view)
{
    const View& reader = view;
    Pointer item(new Witness('I'));
    Pointer removed;

    EXPECT_EQ(view.SetCount(2), 2);
    EXPECT_EQ(reader.GetCount(), 2u);
    EXPECT_EQ(reader.GetMaxCount(), 0x7FFFFFFFu);
    EXPECT_EQ(view.InsertItem(0, item), 0);
    EXPECT_EQ(view.AppendItem(item), 3);
    EXPECT_EQ(view.Insert(1, 1), 5);
    EXPECT_EQ(NamesOf(reader), "I...I");
    EXPECT_EQ(view.Swap(0, 1), 0);
    EXPECT_EQ(NamesOf(reader), ".I..I");
    EXPECT_EQ(view.GetAt(1)->Get(), item.Get());
    EXPECT_EQ(reader.GetAt(1), view.GetAt(1));
    EXPECT_EQ(view.GetPtr() + 1, view.GetAt(1));
    EXPECT_EQ(reader.GetPtr(), view.GetPtr());
    EXPECT_EQ(view.GetBegin(), reader.GetBegin());
    EXPECT_EQ(view.GetEnd(), reader.GetEnd());
    void* const second = reader.OffsetIteratorHandle(reader.GetIteratorHandleBegin(), 1);
    EXPECT_EQ(view.GetCurrent(second), view.GetAt(1));
    EXPECT_EQ(reader.GetCurrent(second), reader.GetAt(1));
    EXPECT_EQ(reader.OffsetIteratorHandle(second, 9), reader.GetIteratorHandleEnd());
    auto walk = view.GetBegin();
    walk.GetCurrentMoveNext();
    EXPECT_EQ(walk.GetCurrentMoveNext(), view.GetAt(1));
    EXPECT_EQ(view.RemoveItem(1, removed), 4);
    EXPECT_EQ(removed, item);
    EXPECT_EQ(view.RemoveLast(removed), 3);
    EXPECT_EQ(removed, item);
    EXPECT_EQ(view.Remove(0, 1), 2);
    EXPECT_EQ(view.Append(view), 4);
    EXPECT_EQ(view.Copy(view), 0);
    EXPECT_EQ(view.Clear(), 0);
    EXPECT_EQ(item->GetReferenceCount(), 2);
}

TEST(RCPtrArrayViews, EveryOperationWorksThroughEveryStaticType)
{
    {
        Array array;
        UseEveryOperation<Array, RCPtr<Witness>>(array);
        UseEveryOperation<ConstArray, ConstRCPtr<Witness>>(array);
        UseEveryOperation<QX::IArray<RCPtr<Witness>>, RCPtr<Witness>>(array);
        UseEveryOperation<QX::IArray<ConstRCPtr<Witness>>, ConstRCPtr<Witness>>(array);
        UseEveryOperation<QX::IIterable<RCPtr<Witness>>, RCPtr<Witness>>(array);
        UseEveryOperation<QX::IIterable<ConstRCPtr<Witness>>, ConstRCPtr<Witness>>(array);
    }
    EXPECT_EQ(Witness::GetLiveCount(), 0);
}

TEST(RCPtrArrayViews, AStoreThroughOneIsReadThroughTheOther)
{
    Array array(3);
    ConstArray& readOnly = array;

    *array.GetAt(1) = MakeWitness('A');
    *readOnly.GetAt(2) = MakeWitness('B');

    EXPECT_EQ(NamesOf(readOnly), ".AB");
    EXPECT_EQ(NamesOf(array), ".AB");
    EXPECT_EQ(static_cast<void*>(array.GetPtr()), static_cast<void*>(readOnly.GetPtr()));
}

TEST(RCPtrArrayViews, DeletionThroughEachBaseDropsTheReferences)
{
    const RCPtr<Witness> item = MakeWitness('A');
    auto* first = new Array;
    first->AppendItem(item);
    auto* second = new Array;
    second->AppendItem(item);

    delete static_cast<QX::IIterable<RCPtr<Witness>>*>(first);
    delete static_cast<QX::IIterable<ConstRCPtr<Witness>>*>(second);

    EXPECT_EQ(item->GetReferenceCount(), 1);
}

TEST(RCPtrArrayViews, ExactlyTheBlockIsAddedToTheInterfaces)
{
    using Buffer = QX::BufferT<sizeof(void*), 0, 8, Witness**, &QX::GetSystemAllocator>;

    EXPECT_EQ(sizeof(ConstArray), sizeof(void*) + sizeof(Buffer));
    EXPECT_EQ(sizeof(Array), 2 * sizeof(void*) + sizeof(Buffer));
}

} // namespace
