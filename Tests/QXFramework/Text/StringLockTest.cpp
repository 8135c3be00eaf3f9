// StringLockTest.cpp - locking and releasing, adopted buffers, and memory that runs out.

#include "Support/StringTestSupport.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <thread>

namespace QX {
namespace {

TEST(StringLock, GivesAPrivateFieldOfTheCapacity)
{
    String text("abc");
    const LIBuffer* const buffer = BufferOf(text);

    char* const field = text.Lock(10);

    EXPECT_EQ(field, text.CStr());
    EXPECT_STREQ(field, "abc");
    EXPECT_TRUE(text.IsLocked());
    EXPECT_EQ(text.GetLength(), 3u);
    EXPECT_EQ(text.GetBuffer()->GetSizeBytes(), 10u);
    EXPECT_EQ(BufferOf(text), buffer);
    EXPECT_EQ(Holders(text), 1);
}

TEST(StringLock, MakesRoomForTheTextWithoutASize)
{
    String text("abc");
    String16 wide = Wide(u"abc");

    text.Lock(0);
    const unsigned short* const field = wide.Lock(0);

    EXPECT_EQ(text.GetBuffer()->GetSizeBytes(), 4u);
    EXPECT_EQ(wide.GetBuffer()->GetSizeBytes(), 8u);
    EXPECT_EQ(field[3], 0);
    EXPECT_EQ(TextOf(wide), u"abc");
}

TEST(StringLock, RefusesACapacityWhoseBytesExceed32Bits)
{
    String16 wide = Wide(u"abc");

    EXPECT_THROW(wide.Lock(0x80000000u), std::bad_alloc);

    EXPECT_FALSE(wide.IsLocked());
    EXPECT_EQ(TextOf(wide), u"abc");
}

TEST(StringLock, AFieldThatAnotherHolderHasEmptiedTakesNoText)
{
    String text("abc");
    text.Lock(10);
    text.GetBuffer()->SetSizeBytes(0);

    text = String("de");
    text.Assign("de", 2);

    EXPECT_TRUE(text.IsLocked());
    EXPECT_EQ(TextOf(text), "");
    EXPECT_EQ(text.GetBuffer()->GetSizeBytes(), 0u);
}

TEST(StringAdoption, ThrowsForABufferThatHasLostItsBlock)
{
    const RCPtr<LIBuffer> buffer = HookedBuffer::Create("abc", {.refusesGrowth = true});
    buffer->ResizeBytes(10);

    EXPECT_THROW(String{buffer}, std::bad_alloc);

    EXPECT_EQ(buffer->GetReferenceCount(), 1);
}

TEST(StringLock, AppendingBeyond32BitsThrows)
{
    const RCPtr<LIBuffer> buffer = HookedBuffer::Create(std::string_view("abc", 4), {});
    String text(buffer);
    static_cast<HookedBuffer&>(*buffer).ClaimSize(0xFFFFFFFF);

    EXPECT_THROW(text += "de", std::bad_alloc);

    EXPECT_FALSE(text.IsLocked());
}

TEST(StringLock, GivesAnEmptyFieldForATextThatAnotherHolderHasEmptied)
{
    String text("abc");
    const RCPtr<LIBuffer> other = text.GetBuffer();
    other->SetSizeBytes(0);

    EXPECT_STREQ(text.Lock(4), "");
    EXPECT_EQ(text.GetBuffer()->GetSizeBytes(), 4u);
}

TEST(StringLock, CountsElementsOf16Bits)
{
    String16 wide = Wide(u"abc");

    wide.Lock(2);

    EXPECT_EQ(TextOf(wide), u"a");
    EXPECT_EQ(wide.GetBuffer()->GetSizeBytes(), 4u);
}

TEST(StringLock, ZeroesWhatItGains)
{
    for (const uint32 size : {20u, 3000u}) {
        SCOPED_TRACE(size);
        String text("ab");

        const char* const field = text.Lock(size);

        EXPECT_EQ(std::string(field + 2, size - 2), std::string(size - 2, '\0'));
    }
}

TEST(StringLock, MarksTheBufferBeforeItIsResizedAndReleaseUnmarksItBefore)
{
    String text(HookedBuffer::Create(std::string_view("abc", 4), {}));
    const auto& hooked = static_cast<const HookedBuffer&>(*text.GetBuffer());

    text.Lock(9);
    EXPECT_FALSE(hooked.WasShareableWhenResized());

    text.Release();
    EXPECT_TRUE(hooked.WasShareableWhenResized());
}

TEST(StringRelease, DoesNothingToAnUnlockedString)
{
    String text("abc");
    const LIBuffer* const buffer = BufferOf(text);

    EXPECT_EQ(text.Release(), 1);

    EXPECT_EQ(BufferOf(text), buffer);
}

TEST(StringRelease, Trims16BitBuffersToUnits)
{
    String16 wide = Wide(u"abc");
    wide.Lock(50)[2] = 0;

    EXPECT_EQ(wide.Release(), 0);

    EXPECT_EQ(wide.GetBuffer()->GetSizeBytes(), 6u);
    EXPECT_EQ(TextOf(wide), u"ab");
}

TEST(StringRelease, SharesTheEmptyBufferForAnEmptyText)
{
    String text("abc");
    text.Lock(0)[0] = '\0';
    String16 wide = Wide(u"abc");
    wide.Lock(0)[0] = 0;

    EXPECT_EQ(text.Release(), 0);
    EXPECT_EQ(wide.Release(), 0);

    EXPECT_TRUE(SharesEmpty(text));
    EXPECT_TRUE(SharesEmpty(wide));
}

// Everything that reads a locked string whose owner has overwritten the terminator.
TEST(StringUnterminated, IsReadToItsCapacityAndNoFurther)
{
    String locked;
    std::memset(locked.Lock(4), 'x', 4);

    EXPECT_EQ(locked.GetLength(), 4u);
    EXPECT_EQ(TextOf(String16(locked)), u"xxxx");
    EXPECT_EQ(TextOf(locked.Reverse()), "xxxx");
    EXPECT_EQ(TextOf(locked.ToLower()), "xxxx");
    EXPECT_EQ(TextOf(locked + "y"), "xxxxy");
    EXPECT_TRUE(locked.IsEqual("xxxx"));
    EXPECT_TRUE(String("xxxx").IsEqual(locked));
    EXPECT_EQ(locked.Compare("xxxx", false), 0);
    EXPECT_EQ(String("xxxx").Compare(locked, true), 0);
}

TEST(StringUnterminated, NumbersEndAtTheCapacity)
{
    String locked;
    std::memcpy(locked.Lock(4), "12.5", 4);

    EXPECT_EQ(locked.ToInt(), 12);
    EXPECT_EQ(locked.ToDouble(), 12.5);
}

TEST(StringUnterminated, SixteenBitStringsAreReadToTheirCapacity)
{
    String16 locked = Wide(u"abc");
    locked.Lock(4)[3] = 'd';

    EXPECT_EQ(TextOf(String16(locked)), u"abcd");
    EXPECT_EQ(TextOf(String(locked)), "abcd");
    EXPECT_EQ(TextOf(locked.Reverse()), u"dcba");
    EXPECT_EQ(locked.Release(), 0);
    EXPECT_EQ(TextOf(locked), u"abcd");
}

TEST(StringAdoption, SharesABufferThatIsATextAlready)
{
    const RCPtr<LIBuffer> buffer = BufferWith(std::string_view("ab", 3));
    const void* const block = buffer->GetRawPtr();

    const String text(buffer);

    EXPECT_EQ(BufferOf(text), buffer.Get());
    EXPECT_EQ(buffer->GetReferenceCount(), 2);
    EXPECT_EQ(buffer->GetRawPtr(), block);
    EXPECT_EQ(TextOf(text), "ab");
}

TEST(StringAdoption, SurvivesAHolderWhoEmptiesTheBuffer)
{
    const RCPtr<LIBuffer> buffer = BufferWith(std::string_view("ab", 3));
    const String text(buffer);

    buffer->SetSizeBytes(0);

    EXPECT_EQ(text.GetLength(), 0u);
    EXPECT_STREQ(text.CStr(), "");
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(TextOf(text + "x"), "x");
    EXPECT_EQ(TextOf(text.ToLower()), "");
    EXPECT_EQ(TextOf(String16(text)), u"");
    EXPECT_EQ(text.ToInt(), 0);
}

TEST(StringAdoption, SurvivesAHolderWhoCutsTheBuffer)
{
    const RCPtr<LIBuffer> buffer = BufferWith(std::string_view("1234", 5));
    const String text(buffer);

    buffer->ResizeBytes(2);

    EXPECT_EQ(TextOf(text), "1");
    EXPECT_EQ(text.ToInt(), 1);
    EXPECT_EQ(text.ToDouble(), 1.0);
    EXPECT_EQ(TextOf(text + "x"), "1x");
    EXPECT_EQ(TextOf(String16(text)), u"1");
    EXPECT_TRUE(text.IsEqual("1"));
}

TEST(StringAdoption, DoesNotWriteToATextThatTwoThreadsAdopt)
{
    const RCPtr<LIBuffer> buffer = BufferWith(std::string_view("abc", 4));
    const auto adopt = [&buffer] {
        for (int round = 0; round < 100; ++round) {
            const String text(buffer);
            EXPECT_EQ(text.GetLength(), 3u);
        }
    };

    std::thread other(adopt);
    adopt();
    other.join();

    EXPECT_EQ(buffer->GetReferenceCount(), 1);
}

TEST(StringSharing, ThreadsMayHoldOneBuffer)
{
    const String text("abc");
    const auto useCopies = [&text] {
        for (int round = 0; round < 1000; ++round) {
            String copy(text);
            copy += "d";
            EXPECT_EQ(copy.GetLength(), 4u);
        }
    };

    std::thread other(useCopies);
    useCopies();
    other.join();

    EXPECT_EQ(Holders(text), 1);
    EXPECT_EQ(TextOf(text), "abc");
}

TEST(StringFailure, ABufferOfAForeignClassThatLosesItsBlockLeavesAnEmptyText)
{
    String text(HookedBuffer::Create(std::string_view("abc", 4), {.refusesGrowth = true}));

    EXPECT_THROW(text.Lock(100), std::bad_alloc);

    EXPECT_FALSE(text.IsLocked());
    EXPECT_STREQ(text.CStr(), "");
    EXPECT_EQ(text.GetLength(), 0u);
    text = "usable";
    EXPECT_EQ(TextOf(text), "usable");
}

TEST(StringFailure, ABufferOfAForeignClassThatDoesNotGrowKeepsItsText)
{
    String text(HookedBuffer::Create(std::string_view("abc", 4), {.ignoresGrowth = true}));

    EXPECT_THROW(text.Lock(100), std::bad_alloc);
    EXPECT_THROW(text += 'd', std::bad_alloc);

    EXPECT_FALSE(text.IsLocked());
    EXPECT_EQ(TextOf(text), "abc");
}

TEST(StringFailure, ALockedFieldOfAForeignClassThatCannotGrowStaysLocked)
{
    String text(HookedBuffer::Create(std::string_view("abc", 4), {.refusesGrowth = true}));
    std::memset(text.Lock(0), 'x', 4);

    EXPECT_THROW(text.Release(), std::bad_alloc);

    EXPECT_TRUE(text.IsLocked());
}

TEST(StringFailure, ASharedStringThatGetsNoBufferOfItsOwnStaysAsItWas)
{
    const struct
    {
        BufferFaults faults;
        const char* thrown;
    } rows[] = {
        {{.copiesAreForeign = true}, "Runtime Error :  : Utilities/Storage/StringT : Line 744"},
        {{.copiesThrow = true}, "no copies"},
        {{.copiesHaveNoBlock = true}, std::bad_alloc().what()},
        {{.copiesRefuseGrowth = true}, std::bad_alloc().what()},
    };
    for (const auto& [faults, thrown] : rows) {
        SCOPED_TRACE(thrown);
        String text(HookedBuffer::Create(std::string_view("abc", 4), faults));
        const String sharer(text);

        try {
            text.Lock(100);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::exception& error) {
            EXPECT_STREQ(error.what(), thrown);
        }

        EXPECT_EQ(BufferOf(text), BufferOf(sharer));
        EXPECT_EQ(Holders(text), 2);
        EXPECT_FALSE(text.IsLocked());
        EXPECT_EQ(TextOf(text), "abc");
    }
}

} // namespace
} // namespace QX
