// StringArraySweepTest.cpp - every operation of arrays of strings with each of its requests for
// memory refused: it throws, and the array is as it was.

#include "Support/FailureSweep.h"

#include <QX/StringArray.h>

#include <string>
#include <string_view>

namespace QX {
namespace {

using TestSupport::SweepRefusals;
using TestSupport::SweptOperation;

using Iterable = IIterable<String>;

/// An array of "a", "b" and "c" that is full.
struct Texts
{
    StringArrayT<char> array;
    StringArrayT<char> other;
    String text = "new";
    String removed;

    Texts()
    {
        // The vector grows to the power of two that this is.
        for (const char* const element : {"a", "b", "c", "d"}) {
            array.AppendItem(element);
        }
        for (const char* const element : {"x", "y"}) {
            other.AppendItem(element);
        }
    }

    std::string Describe() const
    {
        std::string seen;
        for (uint32 index = 0; index < array.GetCount(); ++index) {
            seen.append(std::string_view(*array.GetAt(index))).append(",");
        }
        return removed.IsEmpty() ? seen : seen + " > " + std::string(std::string_view(removed));
    }
};

using Operation = SweptOperation<Texts>;

TEST(StringArraySweep, AnArrayThatCannotGrowThrowsAndIsAsItWas)
{
    const Operation operations[] = {
        {.what = "SetCount",
         .run = [](Texts& texts) { return texts.array.SetCount(6) == 6; },
         .done = "a,b,c,d,,,",
         .thrown = "a,b,c,d,",
         .least = 1},
        {.what = "Insert",
         .run = [](Texts& texts) { return texts.array.Insert(1, 2) == 6; },
         .done = "a,,,b,c,d,",
         .thrown = "a,b,c,d,",
         .least = 1},
        {.what = "InsertItem",
         .run = [](Texts& texts) { return texts.array.InsertItem(1, texts.text) == 1; },
         .done = "a,new,b,c,d,",
         .thrown = "a,b,c,d,",
         .least = 1},
        {.what = "InsertItem of a locked string",
         .prepare = [](Texts& texts) { texts.text.Lock(10); },
         .run = [](Texts& texts) { return texts.array.InsertItem(1, texts.text) == 1; },
         .done = "a,new,b,c,d,",
         .thrown = "a,b,c,d,",
         .least = 3},
        {.what = "InsertItem where there is room, of a locked string",
         .prepare =
             [](Texts& texts) {
                 texts.array.RemoveItem(0, texts.removed);
                 texts.text.Lock(10);
             },
         .run = [](Texts& texts) { return texts.array.InsertItem(1, texts.text) == 1; },
         .done = "b,new,c,d, > a",
         .thrown = "b,c,d, > a",
         .least = 2},
        {.what = "InsertItem of characters",
         .run = [](Texts& texts) { return texts.array.InsertItem(4, "made") == 4; },
         .done = "a,b,c,d,made,",
         .thrown = "a,b,c,d,",
         .least = 3},
        {.what = "AppendItem",
         .run = [](Texts& texts) { return texts.array.AppendItem(texts.text) >= 0; },
         .done = "a,b,c,d,new,",
         .thrown = "a,b,c,d,",
         .least = 1},
        {.what = "Append, which begins at the front",
         .run = [](Texts& texts) { return texts.array.Append(texts.other) == 6; },
         .done = "x,y,c,d,,,",
         .thrown = "a,b,c,d,",
         .least = 1},
        {.what = "Append as any iterable",
         .run = [](Texts& texts) { return texts.array.Iterable::Append(texts.other) == 6; },
         .done = "x,y,c,d,,,",
         .thrown = "a,b,c,d,",
         .least = 1},
        {.what = "InsertItem as any iterable",
         .run = [](Texts& texts) { return texts.array.Iterable::InsertItem(0, texts.text) == 5; },
         .done = "new,a,b,c,d,",
         .thrown = "a,b,c,d,",
         .least = 1},
        {.what = "Copy of a longer one, which begins with nothing",
         .prepare = [](Texts& texts) { texts.other.SetCount(9); },
         .run = [](Texts& texts) { return texts.array.Copy(texts.other) == 9; },
         .done = "x,y,,,,,,,,",
         .thrown = "",
         .least = 1},
    };

    SweepRefusals<Texts>(operations);
}

TEST(StringArraySweep, WhatLeavesOrLooksNeedsNoMemory)
{
    const Operation operations[] = {
        {.what = "SetCount to less",
         .run = [](Texts& texts) { return texts.array.SetCount(1) == 1; },
         .done = "a,"},
        {.what = "Remove",
         .run = [](Texts& texts) { return texts.array.Remove(1, 2) == 2; },
         .done = "a,d,"},
        {.what = "RemoveItem",
         .run = [](Texts& texts) { return texts.array.RemoveItem(1, texts.removed) == 3; },
         .done = "a,c,d, > b"},
        {.what = "RemoveItem as any iterable",
         .run =
             [](Texts& texts) { return texts.array.Iterable::RemoveItem(1, texts.removed) == 3; },
         .done = "a,c,d, > b"},
        {.what = "RemoveLast",
         .run = [](Texts& texts) { return texts.array.RemoveLast(texts.removed) == 3; },
         .done = "a,b,c, > d"},
        {.what = "Swap",
         .run = [](Texts& texts) { return texts.array.Swap(0, 3) == kResultSuccess; },
         .done = "d,b,c,a,"},
        {.what = "Clear",
         .run = [](Texts& texts) { return texts.array.Clear() == kResultSuccess; },
         .done = ""},
        {.what = "Copy of a shorter one",
         .run = [](Texts& texts) { return texts.array.Copy(texts.other) == 2; },
         .done = "x,y,"},
        {.what = "FindString",
         .run = [](Texts& texts) { return texts.array.FindString(texts.text, true) == -1; },
         .done = "a,b,c,d,"},
        {.what = "FindString without case",
         .run = [](Texts& texts) { return texts.array.FindString(texts.text, false) == -1; },
         .done = "a,b,c,d,"},
        {.what = "FindContained",
         .run =
             [](Texts& texts) {
                 return texts.array.FindContained(texts.array.GetAt(2)->CStr()) == 2;
             },
         .done = "a,b,c,d,"},
        {.what = "a walk",
         .run =
             [](Texts& texts) {
                 auto iterator = texts.array.GetBegin();
                 iterator.GetCurrentMoveNext();
                 texts.removed = *iterator.GetCurrentMoveNext();
             },
         .done = "a,b,c,d, > b"},
    };

    SweepRefusals<Texts>(operations);
}

} // namespace
} // namespace QX
