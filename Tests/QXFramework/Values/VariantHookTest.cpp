// VariantHookTest.cpp - the virtual operations, and what a derived class builds on.

#include "Support/VirtualSlots.h"

#include <QX/Variant.h>

#include "VariantTestSupport.h"

namespace QX {
namespace {
using TestSupport::SlotOf;

TEST(VariantHooks, VirtualOperationsKeepTheirSlots)
{
    // The two variants of the destructor take slots 0 and 1.
    EXPECT_EQ(SlotOf(&Variant::GetBool), 2u);
    EXPECT_EQ(SlotOf(&Variant::GetInt32), 3u);
    EXPECT_EQ(SlotOf(&Variant::GetInt64), 4u);
    EXPECT_EQ(SlotOf(&Variant::GetFloat), 5u);
    EXPECT_EQ(SlotOf(&Variant::GetDouble), 6u);
    EXPECT_EQ(SlotOf(&Variant::GetConstPointer), 7u);
    EXPECT_EQ(SlotOf(&Variant::GetPointer), 8u);
    EXPECT_EQ(SlotOf(&Variant::GetCStr), 9u);
    EXPECT_EQ(SlotOf(&JournalVariant::AllocBuffer), 10u);
    EXPECT_EQ(SlotOf(&JournalVariant::FreeBuffer), 11u);
}

TEST(VariantHooks, EverySetterReleasesBeforeItAllocates)
{
    const struct
    {
        const char* what;
        void (*set)(Variant&);
        const char* expected;
    } rows[] = {
        {"buffer", [](Variant& value) { value.SetBuffer("wxyz", 2); }, "free 4 alloc 2 "},
        {"no bytes", [](Variant& value) { value.SetBuffer(nullptr, 0); }, "free 4 alloc 0 "},
        {"text", [](Variant& value) { value.Set("x"); }, "free 4 alloc 2 "},
        {"null text", [](Variant& value) { value.Set(nullptr); }, "free 4 "},
        {"string", [](Variant& value) { value.Set(Variant::kString, "xy", 9); }, "free 4 alloc 3 "},
        {"pointer copy", [](Variant& value) { value.Set(Variant::kPointer, "wxyz", 3); },
         "free 4 alloc 3 "},
        {"const buffer", [](Variant& value) { value.Set(Variant::kConstBuffer, "wxyz", 1); },
         "free 4 alloc 1 "},
        {"null bytes", [](Variant& value) { value.SetBuffer(nullptr, 1); }, "free 4 "},
        {"scalar", [](Variant& value) { value.Set(Variant::kInt32, "wxyz", 4); }, "free 4 "},
        {"misfit scalar", [](Variant& value) { value.Set(Variant::kInt32, "wxyz", 3); }, "free 4 "},
        {"empty", [](Variant& value) { value.Set(Variant::kEmpty, "wxyz", 4); }, "free 4 "},
        {"pointer", [](Variant& value) { value.SetPointer(nullptr, 4); }, "free 4 "},
        {"const pointer", [](Variant& value) { value.SetConstPointer("wxyz", 4); }, "free 4 "},
        {"own block", [](Variant& value) { value.Set(value.GetCStr() + 1); }, "free 4 alloc 3 "},
        {"own block as a scalar",
         [](Variant& value) { value.Set(Variant::kInt32, value.GetCStr(), 4); }, "free 4 "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        std::string journal;
        JournalVariant value(journal);
        value.Set("abc");
        journal.clear();

        row.set(value);

        EXPECT_EQ(journal, row.expected);
    }
}

TEST(VariantHooks, OwnedBlocksAndNothingElseAreReleased)
{
    std::string journal;
    {
        JournalVariant value(journal);
        value.Set(Variant::kBool, "abcdefgh", 1);
        value.Set(Variant::kInt64, "abcdefgh", 8);
        value.SetPointer(nullptr, 1);
        value.SetConstPointer("abc", 4);
        value.Set(Variant::kEmpty, nullptr, 0);
        EXPECT_EQ(journal, "");
        value.SetBuffer("abcde", 5);
        value.Set("abc");
        value.Set(Variant::kConstBuffer, "abc", 3);
    }

    EXPECT_EQ(journal, "alloc 5 free 5 alloc 4 free 4 alloc 3 free 3 ");
}

TEST(VariantHooks, NullForNoBytesIsABlock)
{
    std::string journal;
    {
        JournalVariant value(journal);
        value.mFindsNoMemory = true;

        EXPECT_EQ(value.SetBuffer("abc", 0), Variant::kBuffer);
        EXPECT_EQ(value.GetType(), Variant::kBuffer);
        EXPECT_FALSE(value.GetBool());
        EXPECT_EQ(value.GetInt32(), 0);
        EXPECT_EQ(Contents(value), Bytes());
    }

    EXPECT_EQ(journal, "alloc 0 free null ");
}

TEST(VariantHooks, NullForBytesLeavesTheVariantEmpty)
{
    for (const Variant::Type type :
         {Variant::kPointer, Variant::kBuffer, Variant::kString, Variant::kConstBuffer}) {
        SCOPED_TRACE(type);
        std::string journal;
        {
            JournalVariant value(journal);
            value.Set("before");
            value.mFindsNoMemory = true;

            EXPECT_EQ(value.Set(type, "abc", 4), Variant::kEmpty);
            EXPECT_EQ(value.GetType(), Variant::kEmpty);
            EXPECT_EQ(Contents(value), Bytes());
            EXPECT_EQ(value.Set(type, "", 1), Variant::kEmpty) << "a single byte";
        }

        EXPECT_EQ(journal, "alloc 7 free 7 alloc 4 alloc 1 ");
    }
}

TEST(VariantDerived, ClearReleasesAndEmpties)
{
    std::string journal;
    JournalVariant value(journal);
    value.Set("abc");

    value.Clear();
    value.Clear();

    EXPECT_EQ(value.GetType(), Variant::kEmpty);
    EXPECT_EQ(Contents(value), Bytes());
    EXPECT_EQ(journal, "alloc 4 free 4 ");
}

TEST(VariantDerived, GetConstPointerIsAskedForEveryBlock)
{
    char moved[] = "wxyz";
    uint32 size = 0;
    ReportingVariant value;
    value.Set("a");
    value.mData = moved;
    value.mSize = 5;

    EXPECT_TRUE(value.GetBool());
    EXPECT_EQ(value.GetInt32(), 4);
    EXPECT_EQ(value.GetInt64(), 4);
    EXPECT_EQ(value.GetFloat(), 4.0f);
    EXPECT_EQ(value.GetDouble(), 4.0);
    EXPECT_EQ(value.GetPointer(size), moved);
    EXPECT_EQ(size, 5u);
    EXPECT_STREQ(value.GetCStr(), "wxyz");
}

} // namespace
} // namespace QX
