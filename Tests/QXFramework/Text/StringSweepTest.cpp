// StringSweepTest.cpp - every operation of 8-bit strings with each of its requests for memory
// refused: it throws, and the string is as it was.

#include "Support/FailureSweep.h"

#include <QX/String.h>

#include <cstring>
#include <string>
#include <string_view>

namespace QX {
namespace {

using TestSupport::SweepRefusals;
using TestSupport::SweptOperation;

struct Strings
{
    String text = "abcdef";
    String sharer;
    String other = "xyz";
    String made;
    int32 result = 0;

    /// "text x holders [capacity if locked] > what was made".
    std::string Describe() const
    {
        std::string seen(static_cast<std::string_view>(text));
        seen += " x" + std::to_string(text.GetBuffer()->GetReferenceCount());
        if (text.IsLocked()) {
            seen += " [" + std::to_string(text.GetBuffer()->GetSizeBytes()) + "]";
        }
        if (!made.IsEmpty()) {
            seen.append(" > ").append(std::string_view(made));
        }
        if (result != 0) {
            seen += " = " + std::to_string(result);
        }
        return seen;
    }
};

void Share(Strings& strings)
{
    strings.sharer = strings.text;
}

void Lock(Strings& strings)
{
    strings.text.Lock(10);
}

// Fills a locked field to its last byte.
void LockWithoutEnd(Strings& strings)
{
    std::memcpy(strings.text.Lock(7), "abcdefg", 7);
}

// Writes over the terminator of an unlocked text, as any holder of its buffer can.
void TakeEndAway(Strings& strings)
{
    static_cast<char*>(strings.text.GetBuffer()->GetRawPtr())[6] = '!';
}

TEST(StringSweep, AStringThatCannotBeMadeIsNotMade)
{
    const SweptOperation<Strings> operations[] = {
        {.what = "of characters",
         .run = [](Strings& strings) { strings.made = String("new"); },
         .done = "abcdef x1 > new",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "of one character",
         .run = [](Strings& strings) { strings.made = String('n'); },
         .done = "abcdef x1 > n",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "of a NUL",
         .run = [](Strings& strings) { strings.made = String('\0'); },
         .done = "abcdef x1",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "of a view",
         .run = [](Strings& strings) { strings.made = String(std::string_view("newer", 3)); },
         .done = "abcdef x1 > new",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "of nothing",
         .run = [](Strings& strings) { strings.made = String(); },
         .done = "abcdef x1"},
        {.what = "as a copy",
         .run = [](Strings& strings) { strings.made = String(strings.text); },
         .done = "abcdef x2 > abcdef"},
        {.what = "as a copy of a locked one",
         .prepare = &Lock,
         .run = [](Strings& strings) { strings.made = String(strings.text); },
         .done = "abcdef x1 [10] > abcdef",
         .thrown = "abcdef x1 [10]",
         .least = 2},
        {.what = "in lower case",
         .run = [](Strings& strings) { strings.made = strings.text.ToLower(); },
         .done = "abcdef x1 > abcdef",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "in reverse",
         .run = [](Strings& strings) { strings.made = strings.text.Reverse(); },
         .done = "abcdef x1 > fedcba",
         .thrown = "abcdef x1",
         .least = 6},
        {.what = "of a part",
         .run = [](Strings& strings) { strings.made = strings.text.GetSubString(1, 3); },
         .done = "abcdef x1 > bcd",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "as a sum",
         .run = [](Strings& strings) { strings.made = strings.text + strings.other; },
         .done = "abcdef x1 > abcdefxyz",
         .thrown = "abcdef x1",
         .least = 2},
    };

    SweepRefusals<Strings>(operations);
}

TEST(StringSweep, AFormattedTextThatCannotBeMadeIsNotMade)
{
    const SweptOperation<Strings> operations[] = {
        {.what = "a double",
         .run = [](Strings& strings) { strings.made = String::FormatNumber(3.14159, 2); },
         .done = "abcdef x1 > 3.14",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "an integer",
         .run = [](Strings& strings) { strings.made = String::FormatNumber(-1234, 2); },
         .done = "abcdef x1 > -12.34",
         .thrown = "abcdef x1",
         .least = 3},
        {.what = "a short integer",
         .run = [](Strings& strings) { strings.made = String::FormatNumber(5u, 3); },
         .done = "abcdef x1 > .005",
         .thrown = "abcdef x1",
         .least = 3},
    };

    SweepRefusals<Strings>(operations);
}

TEST(StringSweep, AnUnlockedStringThatCannotChangeIsAsItWas)
{
    const SweptOperation<Strings> operations[] = {
        {.what = "assign characters",
         .run = [](Strings& strings) { strings.text.Assign("uvwxyz", 3); },
         .done = "uvw x1",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "assign none",
         .run = [](Strings& strings) { strings.text.Assign("uvwxyz", 0); },
         .done = " x1",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "assign a part of itself",
         .run = [](Strings& strings) { strings.text.Assign(strings.text.CStr() + 3, 2); },
         .done = "de x1",
         .thrown = "abcdef x1",
         .again = "de x1",
         .least = 2},
        {.what = "assign an unlocked string",
         .run = [](Strings& strings) { strings.text = strings.other; },
         .done = "xyz x2"},
        {.what = "assign a locked string",
         .prepare = [](Strings& strings) { strings.other.Lock(8); },
         .run = [](Strings& strings) { strings.text = strings.other; },
         .done = "xyz x1",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "append a string",
         .run = [](Strings& strings) { strings.text += strings.other; },
         .done = "abcdefxyz x1",
         .thrown = "abcdef x1",
         .least = 1},
        {.what = "append to a shared string",
         .prepare = &Share,
         .run = [](Strings& strings) { strings.text += strings.other; },
         .done = "abcdefxyz x1",
         .thrown = "abcdef x2",
         .least = 2},
        {.what = "append itself",
         .run = [](Strings& strings) { strings.text += strings.text; },
         .done = "abcdefabcdef x1",
         .thrown = "abcdef x1",
         .least = 1},
        {.what = "append a character",
         .run = [](Strings& strings) { strings.text += '!'; },
         .done = "abcdef! x1",
         .thrown = "abcdef x1",
         .least = 1},
        {.what = "append characters",
         .run = [](Strings& strings) { strings.text += "uvw"; },
         .done = "abcdefuvw x1",
         .thrown = "abcdef x1",
         .least = 3},
        {.what = "insert a string at the front",
         .run = [](Strings& strings) { strings.result = strings.text.Insert(0, strings.other); },
         .done = "xyzabcdef x1",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "insert a string at the end",
         .run = [](Strings& strings) { strings.result = strings.text.Insert(6, strings.other); },
         .done = "abcdefxyz x1",
         .thrown = "abcdef x1",
         .least = 1},
        {.what = "insert characters",
         .run = [](Strings& strings) { strings.result = strings.text.Insert(1, "xyz", 2); },
         .done = "axybcdef x1",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "insert characters at the end",
         .run = [](Strings& strings) { strings.result = strings.text.Insert(6, "xyz", 2); },
         .done = "abcdefxy x1",
         .thrown = "abcdef x1",
         .least = 1},
        {.what = "insert a part of itself at the end",
         .run =
             [](Strings& strings) {
                 strings.result = strings.text.Insert(6, strings.text.CStr() + 4, 2);
             },
         .done = "abcdefef x1",
         .thrown = "abcdef x1",
         .least = 3},
        {.what = "insert after the end",
         .run = [](Strings& strings) { return strings.text.Insert(7, strings.other) < 0; },
         .done = "abcdef x1"},
        {.what = "split",
         .run = [](Strings& strings) { strings.made = strings.text.SplitToken("c"); },
         .done = "ab x1 > def",
         .thrown = "abcdef x1",
         .least = 6},
        {.what = "replace",
         .run = [](Strings& strings) { strings.text.Replace("bd", '-'); },
         .done = "a-c-ef x1",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "SetFormatted",
         .run = [](Strings& strings) { strings.text.SetFormatted("%s!", strings.text.CStr()); },
         .done = "abcdef! x1",
         .thrown = "abcdef x1",
         .least = 2},
        {.what = "lock",
         .run = [](Strings& strings) { strings.text.Lock(300); },
         .done = "abcdef x1 [300]",
         .thrown = "abcdef x1",
         .least = 1},
        {.what = "lock a shared string",
         .prepare = &Share,
         .run = [](Strings& strings) { strings.text.Lock(300); },
         .done = "abcdef x1 [300]",
         .thrown = "abcdef x2",
         .least = 3},
        {.what = "lock a shared string for less",
         .prepare = &Share,
         .run = [](Strings& strings) { strings.text.Lock(3); },
         .done = "ab x1 [3]",
         .thrown = "abcdef x2",
         .least = 2},
    };

    SweepRefusals<Strings>(operations);
}

TEST(StringSweep, ALockedStringThatCannotChangeKeepsItsField)
{
    const SweptOperation<Strings> operations[] = {
        {.what = "assign",
         .prepare = &Lock,
         .run = [](Strings& strings) { strings.text.Assign("uvwxyzuvwxyz", 1); },
         .done = "uvwxyzuvw x1 [10]"},
        {.what = "assign a string",
         .prepare = &Lock,
         .run = [](Strings& strings) { strings.text = strings.other; },
         .done = "xyz x1 [10]"},
        {.what = "append",
         .prepare = &Lock,
         .run = [](Strings& strings) { strings.text += strings.other; },
         .done = "abcdefxyz x1 [10]"},
        {.what = "append what does not fit",
         .prepare = &Lock,
         .run = [](Strings& strings) { strings.text += strings.text; },
         .done = "abcdefabcdef x1 [13]",
         .thrown = "abcdef x1 [10]",
         .least = 1},
        {.what = "insert at the front",
         .prepare = &Lock,
         .run = [](Strings& strings) { strings.result = strings.text.Insert(0, strings.other); },
         .done = "xyzabcdef x1 [10]",
         .thrown = "abcdef x1 [10]",
         .least = 2},
        {.what = "insert at the end",
         .prepare = &Lock,
         .run = [](Strings& strings) { strings.result = strings.text.Insert(6, "uvwxyz", 6); },
         .done = "abcdefuvwxyz x1 [13]",
         .thrown = "abcdef x1 [10]",
         .least = 1},
        {.what = "split",
         .prepare = &Lock,
         .run = [](Strings& strings) { strings.made = strings.text.SplitToken("c"); },
         .done = "ab x1 [10] > def",
         .thrown = "abcdef x1 [10]",
         .least = 4},
        {.what = "replace",
         .prepare = &Lock,
         .run = [](Strings& strings) { strings.text.Replace("bd", '-'); },
         .done = "a-c-ef x1 [10]",
         .thrown = "abcdef x1 [10]",
         .least = 2},
        {.what = "SetFormatted",
         .prepare = &Lock,
         .run = [](Strings& strings) { strings.text.SetFormatted("%s!", "uvw"); },
         .done = "uvw! x1 [10]"},
        {.what = "lock again",
         .prepare = &Lock,
         .run = [](Strings& strings) { return strings.text.Lock(20) == nullptr; },
         .done = "abcdef x1 [10]"},
        {.what = "release",
         .prepare = [](Strings& strings) { strings.text.Lock(300); },
         .run = [](Strings& strings) { return strings.text.Release() == 0; },
         .done = "abcdef x1",
         .least = 1},
        {.what = "release without an end",
         .prepare = &LockWithoutEnd,
         .run = [](Strings& strings) { return strings.text.Release() == 0; },
         .done = "abcdefg x1",
         .thrown = "abcdefg x1 [7]",
         .least = 1},
    };

    SweepRefusals<Strings>(operations);
}

TEST(StringSweep, WhatOnlyReadsOfAStringChangesNothing)
{
    const SweptOperation<Strings> operations[] = {
        {.what = "compare without case",
         .run = [](Strings& strings) { return strings.text.Compare("ABCDEF", false) == 0; },
         .done = "abcdef x1"},
        {.what = "hash",
         .run =
             [](Strings& strings) {
                 return std::hash<String>()(strings.text) ==
                        std::hash<std::string_view>()("abcdef");
             },
         .done = "abcdef x1"},
        {.what = "ToInt",
         .run = [](Strings& strings) { return strings.text.ToInt() == 0; },
         .done = "abcdef x1"},
        {.what = "numbers of a locked text",
         .prepare = [](Strings& strings) { std::memcpy(strings.text.Lock(10), "42", 3); },
         .run =
             [](Strings& strings) {
                 return strings.text.ToInt() == 42 && strings.text.ToDouble() == 42.0;
             },
         .done = "42 x1 [10]"},
        {.what = "ToInt of a locked text without an end",
         .prepare = &LockWithoutEnd,
         .run = [](Strings& strings) { return strings.text.ToInt() == 0; },
         .done = "abcdefg x1 [7]",
         .thrown = "abcdefg x1 [7]",
         .least = 2},
        {.what = "ToDouble of a text whose end was taken away",
         .prepare = &TakeEndAway,
         .run = [](Strings& strings) { return strings.text.ToDouble() == 0.0; },
         .done = "abcdef x1",
         .thrown = "abcdef x1",
         .least = 2},
    };

    SweepRefusals<Strings>(operations);
}

} // namespace
} // namespace QX
