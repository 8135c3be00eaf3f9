// NameArrayTest.cpp - the names as strings, made when somebody looks.

#include "NameArray.h"

#include "Support/Threads.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace {

using QX::LIBuffer;
using QX::Mutex;
using QX::NameArray;
using QX::NameStore;
using QX::RCPtr;
using QX::String;
using QX::StringArrayT;
using QX::uint32;

/// A store of "one" and "two", and the array of its names.
struct Names
{
    NameStore store;
    Mutex mutex;
    NameArray array{store, mutex};

    const char* one = store.Add("one");
    const char* two = store.Add("two");
};

struct Look
{
    const char* what;
    std::function<std::string(Names&)> run;
    const char* seen;
};

// Each is the first to look.
const Look kLooks[] = {
    {"GetCount", [](Names& names) { return std::to_string(names.array.GetCount()); }, "2"},
    {"GetPtr", [](Names& names) { return std::string(names.array.GetPtr()[1]); }, "two"},
    {"const GetPtr",
     [](Names& names) { return std::string(std::as_const(names.array).GetPtr()[1]); }, "two"},
    {"GetAt", [](Names& names) { return std::string(*names.array.GetAt(1)); }, "two"},
    {"const GetAt", [](Names& names) { return std::string(*std::as_const(names.array).GetAt(1)); },
     "two"},
    {"FindString",
     [](Names& names) { return std::to_string(names.array.FindString("TWO", false)); }, "1"},
    {"FindContained",
     [](Names& names) { return std::to_string(names.array.FindContained(names.two)); }, "1"},
    {"an iterator",
     [](Names& names) {
         auto iterator = names.array.GetBegin();
         iterator.GetCurrentMoveNext();
         return std::string(*iterator.GetCurrentMoveNext());
     },
     "two"},
    {"SetCount", [](Names& names) { return std::to_string(names.array.SetCount(3)); }, "3"},
    {"a copy",
     [](Names& names) {
         const StringArrayT<char> copy(names.array);
         return std::string(*copy.GetAt(1));
     },
     "two"},
    {"an assignment",
     [](Names& names) {
         StringArrayT<char> copy;
         copy = names.array;
         return std::string(*copy.GetAt(1));
     },
     "two"},
    {"AppendItem", [](Names& names) { return std::to_string(names.array.AppendItem("own")); }, "2"},
};

TEST(NameArray, ShowsTheNamesWhoeverLooksFirst)
{
    for (const Look& look : kLooks) {
        SCOPED_TRACE(look.what);
        Names names;

        EXPECT_EQ(look.run(names), look.seen);
        EXPECT_EQ(names.array.GetAt(0)->CStr(), names.one);
        EXPECT_EQ(names.array.GetAt(1)->CStr(), names.two);
    }
}

TEST(NameArray, GoesOnWhereItHasStopped)
{
    Names names;

    EXPECT_EQ(names.array.GetCount(), 2u);
    const char* const three = names.store.Add("three");

    EXPECT_EQ(names.array.GetCount(), 3u);
    EXPECT_EQ(names.array.GetAt(2)->CStr(), three);
    EXPECT_EQ(names.array.GetAt(2)->GetLength(), 5u);
    EXPECT_THROW(names.array.GetAt(3), std::out_of_range);
}

TEST(NameArray, ShowsEachNameOnceWhenManyThreadsLookFirst)
{
    constexpr uint32 kNames = 5000;
    NameStore store;
    Mutex mutex;
    NameArray array{store, mutex};
    for (uint32 number = 0; number < kNames; ++number) {
        store.Add(std::to_string(number));
    }
    std::array<uint32, 4> counts{};

    TestSupport::RunOnThreads(counts.size(),
                              [&](std::size_t thread) { counts[thread] = array.GetCount(); });

    EXPECT_EQ(counts, (std::array<uint32, 4>{kNames, kNames, kNames, kNames}));
    EXPECT_EQ(*array.GetAt(kNames - 1), "4999");
}

TEST(NameArray, DropsTheNamesThatNobodyHasSeenWhenItIsReplaced)
{
    Names names;
    StringArrayT<char> other;
    other.AppendItem("other");
    StringArrayT<char>& array = names.array;

    array = other;

    ASSERT_EQ(array.GetCount(), 1u);
    EXPECT_STREQ(array.GetAt(0)->CStr(), "other");
}

TEST(NameArray, LendsTextThatOutlivesIt)
{
    String kept;
    {
        Names names;
        kept = *names.array.GetAt(1);
    }

    EXPECT_STREQ(kept.CStr(), "two");
}

struct Change
{
    const char* what;
    std::function<void(String&)> run;
    std::string_view text; ///< afterwards
};

// The string is the only one that holds its buffer.
const Change kChanges[] = {
    {"operator+=", [](String& text) { text += "more"; }, "onemore"},
    {"Insert", [](String& text) { text.Insert(1, "--"); }, "o--ne"},
    {"Replace", [](String& text) { text.Replace("n", 'N'); }, "oNe"},
    {"Lock",
     [](String& text) {
         text.Lock(8)[0] = 'O';
         text.Release();
     },
     "One"},
    {"FillN", [](String& text) { text.GetBuffer()->FillN('x', 0, 2); }, "xxe"},
    {"FillW", [](String& text) { text.GetBuffer()->FillW(0x7878, 0, 1); }, "xxe"},
    {"ResizeBytes",
     [](String& text) {
         text.GetBuffer()->ResizeBytes(2);
         text.GetBuffer()->FillN('\0', 1, 1);
     },
     "o"},
    {"SetSizeBytes",
     [](String& text) {
         text.GetBuffer()->SetSizeBytes(3);
         text.GetBuffer()->FillN('y', 0, 2);
         text.GetBuffer()->FillN('\0', 2, 1);
     },
     "yy"},
};

TEST(NameArray, LendsTextThatNoStringCanChange)
{
    for (const Change& change : kChanges) {
        SCOPED_TRACE(change.what);
        Names names;
        String taken;
        names.array.RemoveItem(0, taken);
        ASSERT_EQ(taken.GetBuffer()->GetReferenceCount(), 1);

        change.run(taken);

        EXPECT_EQ(std::string_view(taken), change.text);
        EXPECT_EQ(taken.GetBuffer()->GetSizeBytes(), change.text.size() + 1);
        EXPECT_GE(taken.GetBuffer()->GetAllocatedSize(), change.text.size() + 1);
        EXPECT_STREQ(names.one, "one");
        EXPECT_STREQ(names.two, "two");
    }
}

TEST(NameArray, LendsBuffersThatAreCopiedLikeAnyOther)
{
    Names names;
    const RCPtr<LIBuffer> buffer = names.array.GetAt(1)->GetBuffer();

    const RCPtr<LIBuffer> whole = RCPtr<LIBuffer>::Downcast(buffer->CreateCopy());
    const RCPtr<LIBuffer> longer = buffer->CreateCopy(6, 1);
    const RCPtr<LIBuffer> behind = buffer->CreateCopy(3, 5);

    EXPECT_EQ(buffer->GetSizeBytes(), 4u);
    EXPECT_EQ(buffer->GetAllocatedSize(), 4u);
    EXPECT_EQ(whole->GetSizeBytes(), 4u);
    EXPECT_STREQ(whole->GetPtr<char>(0), "two");
    ASSERT_EQ(longer->GetSizeBytes(), 6u);
    EXPECT_EQ(std::string_view(longer->GetPtr<char>(0), 6), std::string_view("wo\0\0\0\0", 6));
    EXPECT_EQ(std::string_view(behind->GetPtr<char>(0), 3), std::string_view("\0\0\0", 3));

    buffer->FillN('x', 0, 1);
    const RCPtr<LIBuffer> changed = buffer->CreateCopy(2, 0);
    EXPECT_EQ(std::string_view(changed->GetPtr<char>(0), 2), "xw");
}

TEST(NameArray, LendsBuffersThatAnswerLikeAnyOther)
{
    Names names;
    const RCPtr<LIBuffer> buffer = names.array.GetAt(0)->GetBuffer();

    EXPECT_EQ(buffer->FillN('x', 0, 5), QX::kResultOutOfRange);
    EXPECT_EQ(buffer->FillN('x', 0, 1), 0);
    EXPECT_EQ(buffer->FillW(0x7878, 3, 1), QX::kResultOutOfRange);
    EXPECT_EQ(buffer->FillW(0x7878, 0, 1), 0);
    EXPECT_EQ(buffer->ResizeBytes(7), 7);
    EXPECT_EQ(buffer->SetSizeBytes(5), 5);
    EXPECT_EQ(buffer->SetSizeBytes(0), 0);
}

TEST(NameArray, HoldsAChunkForEachStringThatHasNotChanged)
{
    Names names;
    const LIBuffer& chunk = *names.store.GetChunk({});
    EXPECT_EQ(chunk.GetReferenceCount(), 1);

    names.array.GetCount();
    EXPECT_EQ(chunk.GetReferenceCount(), 3);

    names.array.GetAt(0)->GetBuffer()->FillN('x', 0, 1);
    EXPECT_EQ(chunk.GetReferenceCount(), 2);
}

} // namespace
