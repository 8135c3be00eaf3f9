// StringSharingTest.cpp - construction, copies and assignment: the text, and who shares a buffer.

#include "Support/StringTestSupport.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

namespace QX {
namespace {

static_assert(sizeof(String) == 2 * sizeof(void*), "a virtual table and one buffer");
static_assert(sizeof(String16) == 2 * sizeof(void*));
static_assert(sizeof(String().GetLength()) == 4);
static_assert(std::has_virtual_destructor_v<String>);
static_assert(std::is_same_v<StringT<char>, String>);
static_assert(std::is_same_v<StringT<unsigned short>, String16>);

constexpr const char* kNullText = nullptr;
constexpr const unsigned short* kNullUnits = nullptr;

TEST(StringConstruction, TakesTheWholeText)
{
    EXPECT_STREQ(String("abc").CStr(), "abc");
    EXPECT_EQ(String("abc").GetLength(), 3u);
    EXPECT_EQ(String("abc").GetBuffer()->GetSizeBytes(), 4u);
    EXPECT_EQ(TextOf(Wide(u"abc")), u"abc");
    EXPECT_EQ(Wide(u"abc").GetBuffer()->GetSizeBytes(), 8u);
}

TEST(StringConstruction, HoldsACharacterAlone)
{
    const String letter('x');
    const String16 unit(static_cast<unsigned short>('x'));

    EXPECT_EQ(TextOf(letter), "x");
    EXPECT_EQ(letter.GetBuffer()->GetSizeBytes(), 2u);
    EXPECT_EQ(TextOf(unit), u"x");
    EXPECT_EQ(unit.GetBuffer()->GetSizeBytes(), 4u);
}

TEST(StringConstruction, KeepsAnEmptyBufferOfItsOwnForANul)
{
    const String letter('\0');
    const String16 unit(static_cast<unsigned short>(0));

    EXPECT_TRUE(letter.IsEmpty());
    EXPECT_FALSE(SharesEmpty(letter));
    EXPECT_EQ(letter.GetBuffer()->GetSizeBytes(), 1u);
    EXPECT_TRUE(unit.IsEmpty());
    EXPECT_FALSE(SharesEmpty(unit));
    EXPECT_EQ(unit.GetBuffer()->GetSizeBytes(), 2u);
}

TEST(StringEmpty, EveryOrdinaryEmptyStringSharesOneBuffer)
{
    EXPECT_TRUE(SharesEmpty(String()));
    EXPECT_TRUE(SharesEmpty(String("")));
    EXPECT_TRUE(SharesEmpty(String(kNullText)));
    EXPECT_TRUE(SharesEmpty(String(kNullUnits)));
    EXPECT_TRUE(SharesEmpty(String(Wide(u""))));
    EXPECT_TRUE(SharesEmpty(String(String16())));
    EXPECT_TRUE(SharesEmpty(String(std::string_view())));
    EXPECT_TRUE(SharesEmpty(String(RCPtr<LIBuffer>())));
    EXPECT_TRUE(SharesEmpty(String::GetEmpty()));
    EXPECT_TRUE(SharesEmpty(String16()));
    EXPECT_TRUE(SharesEmpty(String16("")));
    EXPECT_TRUE(SharesEmpty(String16(kNullText)));
    EXPECT_TRUE(SharesEmpty(String16(kNullUnits)));
    EXPECT_TRUE(SharesEmpty(String16(String())));
    EXPECT_TRUE(SharesEmpty(Wide(u"")));
    EXPECT_TRUE(SharesEmpty(String16::GetEmpty()));
}

TEST(StringEmpty, HasLengthZeroAndATerminator)
{
    EXPECT_EQ(String::Empty.GetLength(), 0u);
    EXPECT_STREQ(String::Empty.CStr(), "");
    EXPECT_TRUE(String::Empty.IsEmpty());
    EXPECT_FALSE(String("a").IsEmpty());
    EXPECT_EQ(String16::Empty.GetLength(), 0u);
    EXPECT_EQ(String16::Empty.CStr()[0], 0);
    EXPECT_FALSE(Wide(u"a").IsEmpty());
}

TEST(StringCopy, SharesTheBufferOfAnUnlockedString)
{
    const String text("abc");
    const String16 wide = Wide(u"abc");

    const String copy(text);
    const String16 wideCopy(wide);

    EXPECT_EQ(BufferOf(copy), BufferOf(text));
    EXPECT_EQ(Holders(text), 2);
    EXPECT_EQ(BufferOf(wideCopy), BufferOf(wide));
    EXPECT_EQ(Holders(wide), 2);
}

TEST(StringCopy, SharesTheEmptyBufferForALockedEmptyString)
{
    String locked;
    locked.Lock(100);
    String16 wide;
    wide.Lock(100);

    String target("abc");

    target = locked;

    EXPECT_TRUE(SharesEmpty(target));
    EXPECT_TRUE(SharesEmpty(String(locked)));
    EXPECT_TRUE(SharesEmpty(String16(wide)));
}

TEST(StringCopy, MovingLeavesTheSourceUsable)
{
    String source("abc");

    const String target(std::move(source));

    EXPECT_EQ(TextOf(source), "abc");
    EXPECT_EQ(BufferOf(target), BufferOf(source));
}

TEST(StringAssignment, SharesTheBufferOfAnUnlockedString)
{
    const String text("abc");
    String target("other");

    target = text;

    EXPECT_EQ(BufferOf(target), BufferOf(text));
    EXPECT_EQ(Holders(text), 2);
}

TEST(StringAssignment, KeepsALockedFieldForAnEmptyText)
{
    String locked("abc");
    const char* const field = locked.Lock(6);

    locked = String();

    EXPECT_TRUE(locked.IsEmpty());
    EXPECT_TRUE(locked.IsLocked());
    EXPECT_EQ(locked.CStr(), field);
    EXPECT_EQ(field[1], 'b');
}

TEST(StringAssignment, ChangesNothingForTheStringItself)
{
    String text("abc");
    String locked("abc");
    const char* const field = locked.Lock(10);
    const String& alias = text;
    const String& lockedAlias = locked;
    const LIBuffer* const buffer = BufferOf(text);

    text = alias;
    locked = lockedAlias;

    EXPECT_EQ(BufferOf(text), buffer);
    EXPECT_EQ(Holders(text), 1);
    EXPECT_EQ(locked.CStr(), field);
    EXPECT_EQ(TextOf(locked), "abc");
    EXPECT_TRUE(locked.IsLocked());
}

TEST(StringAssign, SharesTheEmptyBufferForNothing)
{
    String text("abc");
    String other("abc");
    String16 wide = Wide(u"abc");

    text.Assign(nullptr, String::kWholeText);
    other.Assign("", 0);
    wide.Assign(Units(u"").data(), 0);

    EXPECT_TRUE(SharesEmpty(text));
    EXPECT_TRUE(SharesEmpty(other));
    EXPECT_TRUE(SharesEmpty(wide));
}

TEST(StringAssign, SharesTheEmptyBufferForNullWithoutACount)
{
    String text("abc");
    String16 wide = Wide(u"abc");

    text.Assign(nullptr, 0);
    wide.Assign(nullptr, 0);

    EXPECT_TRUE(SharesEmpty(text));
    EXPECT_TRUE(SharesEmpty(wide));
}

TEST(StringAssign, ReadsTheNULOfAnEmptyTextAndNoMore)
{
    for (const uint32 count : {uint32{0}, uint32{1}, String::kWholeText}) {
        SCOPED_TRACE(count);
        const auto nul = ExactBlock<char>(std::string_view("", 1));
        const unsigned short unit = 0;
        const auto wideNul = ExactBlock<unsigned short>({&unit, 1});
        String text("abc");
        String16 wide = Wide(u"abc");

        text.Assign(nul.get(), count);
        wide.Assign(wideNul.get(), count);

        EXPECT_TRUE(SharesEmpty(text));
        EXPECT_TRUE(SharesEmpty(wide));
    }
}

TEST(StringAssign, EmptiesALockedFieldForNothingAndKeepsIt)
{
    for (const char* const nothing : {kNullText, ""}) {
        for (const uint32 count : {uint32{0}, String::kWholeText}) {
            SCOPED_TRACE(count);
            String text("abc");
            const char* const field = text.Lock(10);

            text.Assign(nothing, count);

            EXPECT_TRUE(text.IsLocked());
            EXPECT_TRUE(text.IsEmpty());
            EXPECT_EQ(text.CStr(), field);
            EXPECT_EQ(text.GetBuffer()->GetSizeBytes(), 10u);
            EXPECT_EQ(std::string_view(field, 4), std::string_view("\0bc\0", 4));
        }
    }
}

TEST(StringAssign, EmptiesALocked16BitFieldForNothingAndKeepsIt)
{
    const std::vector<unsigned short> empty = Units(u"");
    for (const unsigned short* const nothing : {kNullUnits, empty.data()}) {
        String16 wide = Wide(u"abc");
        const unsigned short* const field = wide.Lock(10);

        wide.Assign(nothing, 0);

        EXPECT_TRUE(wide.IsLocked());
        EXPECT_EQ(wide.CStr(), field);
        EXPECT_EQ(wide.GetBuffer()->GetSizeBytes(), 20u);
        EXPECT_EQ(std::u16string(field, field + 4), std::u16string(u"\0bc\0", 4));
    }
}

TEST(StringAssign, KeepsABufferOfItsOwnForNoCharactersOfAText)
{
    String text("xyz");
    String16 wide = Wide(u"xyz");

    text.Assign("abc", 0);
    wide.Assign(Units(u"abc").data(), 0);

    EXPECT_TRUE(text.IsEmpty());
    EXPECT_FALSE(SharesEmpty(text));
    EXPECT_EQ(text.GetBuffer()->GetSizeBytes(), 1u);
    EXPECT_TRUE(wide.IsEmpty());
    EXPECT_FALSE(SharesEmpty(wide));
    EXPECT_EQ(wide.GetBuffer()->GetSizeBytes(), 2u);
}

TEST(StringAssign, ReadsNoMoreThanItsCount)
{
    for (uint32 count = 1; count < 40; ++count) {
        SCOPED_TRACE(count);
        const std::string expected(count, 'x');
        const std::u16string expectedUnits(count, u'x');
        const auto block = ExactBlock<char>(expected);
        const auto units =
            ExactBlock<unsigned short>(std::basic_string_view(Units(expectedUnits).data(), count));
        String text;
        String16 wide;

        text.Assign(block.get(), count);
        wide.Assign(units.get(), count);

        EXPECT_EQ(TextOf(text), expected);
        EXPECT_EQ(TextOf(wide), expectedUnits);
    }
}

TEST(StringAssign, ReadsNoMoreThanALockedFieldHasRoomFor)
{
    const auto unterminated = ExactBlock<char>("yyyy");
    String locked;
    locked.Lock(5);

    locked.Assign(unterminated.get(), 10);

    EXPECT_STREQ(locked.CStr(), "yyyy");
}

TEST(StringAssign, ClearsTheRestOfALockedField)
{
    String locked;
    char* const field = locked.Lock(8);
    std::memset(field, 'z', 8);

    locked.Assign("ab", String::kWholeText);

    EXPECT_EQ(std::string_view(field, 8), std::string_view("ab\0\0\0\0\0\0", 8));
}

TEST(StringAssign, TerminatesTheTextOfALocked16BitField)
{
    String16 locked = Wide(u"abcdef");
    const unsigned short* const field = locked.Lock(10);

    locked.Assign(Units(u"xy").data(), String16::kWholeText);

    EXPECT_EQ(locked.GetLength(), 2u);
    EXPECT_EQ(TextOf(locked), u"xy");
    EXPECT_EQ(locked.CStr(), field);
    EXPECT_EQ(field[3], 'd');
}

TEST(StringAssign, TakesCountOrCapacityIntoALocked16BitField)
{
    String16 locked;
    locked.Lock(4);

    locked.Assign(Units(u"abcdef").data(), 2);
    EXPECT_EQ(TextOf(locked), u"ab");

    locked.Assign(Units(u"abcdef").data(), 5);
    EXPECT_EQ(TextOf(locked), u"abc");

    locked.Assign(Units(u"abcdef").data(), 0);
    EXPECT_TRUE(locked.IsEmpty());
    EXPECT_TRUE(locked.IsLocked());
}

TEST(StringAssign, TakesItsOwnUnits)
{
    String16 wide = Wide(u"abcdef");
    String16 lockedWide = Wide(u"abcdef");
    lockedWide.Lock(7);

    wide.Assign(wide.CStr() + 2, 3);
    lockedWide.Assign(lockedWide.CStr() + 2, 3);

    EXPECT_EQ(TextOf(wide), u"cde");
    EXPECT_EQ(TextOf(lockedWide), u"cde");
}

TEST(StringAssign, StopsAtTheUnterminatedEndOfItsOwnField)
{
    String locked;
    std::memcpy(locked.Lock(6), "abcdef", 6);

    locked.Assign(locked.CStr() + 3, String::kWholeText);

    EXPECT_EQ(TextOf(locked), "def");
}

TEST(StringStrLen, IsBoundedByItsLimit)
{
    const auto unterminated = ExactBlock<char>("abc");

    EXPECT_EQ(String::StrLen("abc", 0xFFFFFFFE), 3u);
    EXPECT_EQ(String::StrLen("abc", 2), 2u);
    EXPECT_EQ(String::StrLen("abc", 0), 0u);
    EXPECT_EQ(String::StrLen(unterminated.get(), 3), 3u);
    EXPECT_EQ(String::StrLen(nullptr, 9), 0u);
    EXPECT_EQ(String16::StrLen(Units(u"abc").data(), 0xFFFFFFFE), 3u);
    EXPECT_EQ(String16::StrLen(Units(u"abc").data(), 2), 2u);
    EXPECT_EQ(String16::StrLen(nullptr, 9), 0u);
}

TEST(StringStrCopy, PadsAFieldOfBytesAndIgnoresTheMaximum)
{
    struct
    {
        uint32 size;
        const char* source;
        std::string_view expected;
    } const cases[] = {
        {0, "abc", "######"},
        {1, "abc", std::string_view("\0#####", 6)},
        {3, "abc", std::string_view("ab\0###", 6)},
        {4, "abc", std::string_view("abc\0##", 6)},
        {6, "ab", std::string_view("ab\0\0\0\0", 6)},
    };

    for (const auto& [size, source, expected] : cases) {
        SCOPED_TRACE(size);
        char field[] = "########";

        String::StrCopy(field + 1, size, source, 1);

        EXPECT_EQ(std::string_view(field + 1, 6), expected);
        EXPECT_EQ(field[0], '#');
        EXPECT_EQ(field[7], '#');
    }
}

TEST(StringStrCopy, WritesNoTerminatorForUnitsUpToTheMaximum)
{
    struct
    {
        uint32 size;
        uint32 max;
        const char16_t* source;
        std::u16string_view expected;
    } const cases[] = {
        {0, 9, u"abc", u"######"},
        {1, 9, u"abc", u"######"},
        {6, 2, u"abc", u"ab####"},
        {3, 9, u"abc", u"ab####"},
        {6, 9, u"ab", std::u16string_view(u"ab\0\0\0#", 6)},
        {6, 4, u"ab", std::u16string_view(u"ab\0\0##", 6)},
    };

    for (const auto& [size, max, source, expected] : cases) {
        SCOPED_TRACE(size);
        std::vector<unsigned short> field = Units(u"########");

        String16::StrCopy(field.data() + 1, size, Units(source).data(), max);

        EXPECT_EQ(std::u16string(field.begin() + 1, field.begin() + 7), expected);
        EXPECT_EQ(field[0], '#');
        EXPECT_EQ(field[7], '#');
    }
}

} // namespace
} // namespace QX
