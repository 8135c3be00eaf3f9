// NameArraySweepTest.cpp - looking at the names, and changing what they lend, with each request for
// memory refused.

#include "NameArray.h"

#include "Support/FailureSweep.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using QX::Mutex;
using QX::NameArray;
using QX::NameStore;
using QX::String;
using QX::uint32;
using TestSupport::SweepRefusals;

struct Names
{
    NameStore store;
    Mutex mutex;
    NameArray array{store, mutex};
    String taken;

    Names()
    {
        store.Add("one");
        store.Add("two");
    }

    std::string Describe() const
    {
        std::string seen;
        for (uint32 index = 0; index < array.GetCount(); ++index) {
            seen.append(std::string_view(*array.GetAt(index))).append(",");
        }
        return taken.IsEmpty() ? seen : seen + " > " + std::string(std::string_view(taken));
    }
};

using Operation = TestSupport::SweptOperation<Names>;

TEST(NameArraySweep, ALookThatFindsNoMemoryThrowsAndIsMadeLater)
{
    const Operation operations[] = {
        {.what = "GetCount",
         .run = [](Names& names) { return names.array.GetCount() == 2; },
         .done = "one,two,",
         .thrown = "one,two,",
         .least = 3},
        {.what = "GetAt, of a name that came later",
         .prepare =
             [](Names& names) {
                 names.array.GetCount();
                 names.store.Add("three");
             },
         .run = [](Names& names) { return names.array.GetAt(2)->GetLength() == 5; },
         .done = "one,two,three,",
         .thrown = "one,two,three,",
         .least = 2},
    };

    SweepRefusals<Names>(operations);
}

void TakeTheFirst(Names& names)
{
    names.array.RemoveItem(0, names.taken);
}

void ShareTheFirst(Names& names)
{
    names.taken = *names.array.GetAt(0);
}

void Append(Names& names)
{
    names.taken += 'x';
}

void LockAndRelease(Names& names)
{
    names.taken.Lock(8);
    names.taken.Release();
}

TEST(NameArraySweep, AChangeThatFindsNoMemoryThrowsAndLeavesTheText)
{
    const Operation operations[] = {
        {.what = "operator+=",
         .prepare = TakeTheFirst,
         .run = Append,
         .done = "two, > onex",
         .thrown = "two, > one",
         .least = 2},
        {.what = "Lock",
         .prepare = TakeTheFirst,
         .run = LockAndRelease,
         .done = "two, > one",
         .thrown = "two, > one",
         .least = 2},
        {.what = "FillN",
         .prepare = TakeTheFirst,
         .run = [](Names& names) { return names.taken.GetBuffer()->FillN('x', 0, 1) == 0; },
         .done = "two, > xne",
         .thrown = "two, > one",
         .least = 2},
    };

    SweepRefusals<Names>(operations);
}

TEST(NameArraySweep, AChangeOfASharedStringThatFindsNoMemoryThrowsAndLeavesTheText)
{
    const Operation operations[] = {
        {.what = "operator+=",
         .prepare = ShareTheFirst,
         .run = Append,
         .done = "one,two, > onex",
         .thrown = "one,two, > one",
         .least = 2},
        {.what = "Lock",
         .prepare = ShareTheFirst,
         .run = LockAndRelease,
         .done = "one,two, > one",
         .thrown = "one,two, > one",
         .least = 2},
    };

    SweepRefusals<Names>(operations);
}

} // namespace
