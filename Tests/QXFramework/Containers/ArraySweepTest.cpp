// ArraySweepTest.cpp - every operation of smart-pointer arrays with each of its requests for memory
// refused: what cannot grow answers so, and everything that leaves an array needs no memory.

#include "Support/FailureSweep.h"
#include "Support/SweepNumber.h"

#include <QX/RCPtrArray.h>

#include <memory>
#include <string>
#include <type_traits>

namespace QX {
namespace {

using TestSupport::SweepRefusals;
using TestSupport::SweptOperation;

using SmallArray = RCPtrArray<LSweepNumber, 1, 0>;
using LargeArray = RCPtrArray<LSweepNumber, 256, 256>;
using ReadOnlyArray = ConstRCPtrArray<LSweepNumber, 1, 0>;

/// An array that begins with 1, 2 and 3, ends with null, and is full.
template <class Array>
struct Arrays
{
    using Pointer = std::remove_reference_t<decltype(*std::declval<Array>().GetPtr())>;

    static constexpr uint32 kCount = std::is_same_v<Array, LargeArray> ? 256 : 4;

    Array array{kCount};
    Array other{2};
    std::unique_ptr<Array> made;
    RCPtr<LSweepNumber> number = MakeNumber(7);
    Pointer item = number;
    Pointer removed;

    Arrays()
    {
        for (int index = 0; index < 3; ++index) {
            *array.GetAt(static_cast<uint32>(index)) = MakeNumber(index + 1);
        }
        *other.GetAt(0) = MakeNumber(8);
        *other.GetAt(1) = MakeNumber(9);
    }

    /// What the count has gained and the elements with their holders, one "." for any number of
    /// nulls; > what was removed.
    std::string Describe() const
    {
        std::string seen =
            std::to_string(static_cast<int>(array.GetCount()) - static_cast<int>(kCount));
        for (uint32 index = 0; index < array.GetCount(); ++index) {
            const std::string element = QX::Describe(*array.GetAt(index));
            if (element != "." || seen.back() != '.') {
                seen += " " + element;
            }
        }
        if (removed != nullptr) {
            seen += " > " + QX::Describe(removed);
        }
        if (made != nullptr) {
            seen += " > " + std::to_string(made->GetCount());
        }
        return seen;
    }
};

template <class Array>
void SweepGrowth()
{
    using State = Arrays<Array>;
    const SweptOperation<State> operations[] = {
        {.what = "construct",
         .run = [](State& state) { state.made = std::make_unique<Array>(600u); },
         .done = "0 1x1 2x1 3x1 . > 600",
         .thrown = "0 1x1 2x1 3x1 .",
         .least = 2},
        {.what = "construct with a reserve, which it can do without",
         .run = [](State& state) { state.made = std::make_unique<Array>(0u, 600u); },
         .done = "0 1x1 2x1 3x1 . > 0",
         .thrown = "0 1x1 2x1 3x1 .",
         .least = 2},
        {.what = "SetCount",
         .run =
             [](State& state) {
                 return state.array.SetCount(State::kCount + 2) == int32{State::kCount + 2};
             },
         .done = "2 1x1 2x1 3x1 .",
         .failed = "0 1x1 2x1 3x1 .",
         .least = 1},
        {.what = "Insert at the front",
         .run = [](State& state) { return state.array.Insert(0, 2) >= 0; },
         .done = "2 . 1x1 2x1 3x1 .",
         .failed = "0 1x1 2x1 3x1 .",
         .least = 1},
        {.what = "Insert at the end",
         .run = [](State& state) { return state.array.Insert(State::kCount, 2) >= 0; },
         .done = "2 1x1 2x1 3x1 .",
         .failed = "0 1x1 2x1 3x1 .",
         .least = 1},
        {.what = "InsertItem",
         .run = [](State& state) { return state.array.InsertItem(1, state.item) == 1; },
         .done = "1 1x1 7x3 2x1 3x1 .",
         .failed = "0 1x1 2x1 3x1 .",
         .least = 1},
        {.what = "InsertItem of its own",
         .run = [](State& state) { return state.array.InsertItem(0, *state.array.GetAt(2)) == 0; },
         .done = "1 3x2 1x1 2x1 3x2 .",
         .failed = "0 1x1 2x1 3x1 .",
         .least = 1},
        {.what = "AppendItem",
         .run = [](State& state) { return state.array.AppendItem(state.item) >= 0; },
         .done = "1 1x1 2x1 3x1 . 7x3",
         .failed = "0 1x1 2x1 3x1 .",
         .least = 1},
        {.what = "InsertItem of what must not be shared",
         .prepare =
             [](State& state) {
                 state.item = nullptr;
                 state.number->SetUnshareable(true);
             },
         .run = [](State& state) { return state.array.InsertItem(1, state.number) == 1; },
         .done = "1 1x1 7x1 2x1 3x1 .",
         .failed = "0 1x1 2x1 3x1 .",
         .thrown = "0 1x1 2x1 3x1 .",
         .least = 2},
        {.what = "AppendItem of what must not be shared",
         .prepare =
             [](State& state) {
                 state.item = nullptr;
                 state.number->SetUnshareable(true);
             },
         .run = [](State& state) { return state.array.AppendItem(state.number) >= 0; },
         .done = "1 1x1 2x1 3x1 . 7x1",
         .failed = "0 1x1 2x1 3x1 .",
         .thrown = "0 1x1 2x1 3x1 .",
         .least = 2},
        {.what = "Append, which begins at the front",
         .run = [](State& state) { return state.array.Append(state.other) >= 0; },
         .done = "2 8x2 9x2 3x1 .",
         .failed = "0 1x1 2x1 3x1 .",
         .least = 1},
        {.what = "Append of itself",
         .run =
             [](State& state) {
                 return state.array.Append(state.array) >= 0 && state.array.SetCount(4) == 4 &&
                        state.array.SetCount(State::kCount) == int32{State::kCount};
             },
         .done = "0 1x1 2x1 3x1 .",
         .failed = "0 1x1 2x1 3x1 .",
         .least = 1},
    };

    SweepRefusals<State>(operations);
}

TEST(ArraySweep, AnArrayThatCannotGrowAnswersSoAndIsAsItWas)
{
    {
        SCOPED_TRACE("small");
        SweepGrowth<SmallArray>();
    }
    {
        SCOPED_TRACE("large");
        SweepGrowth<LargeArray>();
    }
    {
        SCOPED_TRACE("read-only");
        SweepGrowth<ReadOnlyArray>();
    }
}

template <class Array>
void SweepRemoval()
{
    using State = Arrays<Array>;
    const SweptOperation<State> operations[] = {
        {.what = "SetCount to less",
         .run = [](State& state) { return state.array.SetCount(1) == 1; },
         .done = "-3 1x1",
         .least = 1},
        {.what = "SetCount to nothing",
         .run = [](State& state) { return state.array.SetCount(0) == 0; },
         .done = "-4",
         .least = 1},
        {.what = "RemoveItem",
         .run = [](State& state) { return state.array.RemoveItem(1, state.removed) == 3; },
         .done = "-1 1x1 3x1 . > 2x1",
         .least = 1},
        {.what = "RemoveLast",
         .run = [](State& state) { return state.array.RemoveLast(state.removed) == 3; },
         .done = "-1 1x1 2x1 3x1",
         .least = 1},
        {.what = "Remove",
         .run = [](State& state) { return state.array.Remove(0, 2) == 2; },
         .done = "-2 3x1 .",
         .least = 2},
        {.what = "Clear",
         .run = [](State& state) { return state.array.Clear() == kResultSuccess; },
         .done = "-4",
         .least = 1},
        {.what = "Copy, which begins with nothing",
         .run = [](State& state) { return state.array.Copy(state.other) == 2; },
         .done = "-2 8x2 9x2",
         .failed = "-4",
         .least = 1},
        {.what = "Swap",
         .run = [](State& state) { return state.array.Swap(0, 2) == kResultSuccess; },
         .done = "0 3x1 2x1 1x1 ."},
        {.what = "a walk",
         .run =
             [](State& state) {
                 auto iterator = state.array.GetBegin();
                 iterator.GetCurrentMoveNext();
                 state.removed = *iterator.GetCurrentMoveNext();
             },
         .done = "0 1x1 2x2 3x1 . > 2x2"},
    };

    SweepRefusals<State>(operations);
}

TEST(ArraySweep, WhatLeavesAnArrayNeedsNoMemory)
{
    {
        SCOPED_TRACE("read and write");
        SweepRemoval<SmallArray>();
    }
    {
        SCOPED_TRACE("read-only");
        SweepRemoval<ReadOnlyArray>();
    }
}

} // namespace
} // namespace QX
