// EarlyStringsTest.cpp - strings, null pointers and empty variants that are used before main, and
// empty strings that are used after it.
//
// The objects of this file are initialised before the library's, because it is linked first.

#include "Support/StringTestSupport.h"

#include <QX/VariantEx.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace QX {
namespace {

String Assigned()
{
    String text("abc");
    text.Assign("", String::kWholeText);
    return text;
}

String Released()
{
    String text;
    text.Lock(10);
    text.Release();
    return text;
}

/// Touches the empty strings when it is built, so that they outlive it.
struct EmptyAtExit
{
    EmptyAtExit()
    {
        String::GetEmpty();
        String16::GetEmpty();
    }
    ~EmptyAtExit()
    {
        const String text("");
        const String16 wide;
        if (!text.IsEmpty() || !String(wide).IsEmpty() ||
            BufferOf(text) != BufferOf(String::GetEmpty())) {
            std::abort();
        }
    }
};

const EmptyAtExit sEmptyAtExit;
const String sDefault;
const String sFromLiteral("");
const String sAssigned = Assigned();
const String sReleased = Released();
const String sConverted(Wide(u""));
const String sSubString = String("abc").GetSubString(3);
const String sText = String("abc") + "def";
const String16 sWideDefault;
const String16 sWideConverted("");
const RCPtr<LIBuffer> sNullCopy = RCPtr<LIBuffer>::Null;
const VariantEx sEmptyCopy = VariantEx::Empty;
const bool sEmptyWasEqual = VariantEx() == VariantEx::Empty;

TEST(EarlyStrings, ShareTheEmptyBuffer)
{
    EXPECT_TRUE(SharesEmpty(sDefault));
    EXPECT_TRUE(SharesEmpty(sFromLiteral));
    EXPECT_TRUE(SharesEmpty(sAssigned));
    EXPECT_TRUE(SharesEmpty(sReleased));
    EXPECT_TRUE(SharesEmpty(sConverted));
    EXPECT_TRUE(SharesEmpty(sSubString));
    EXPECT_TRUE(SharesEmpty(sWideDefault));
    EXPECT_TRUE(SharesEmpty(sWideConverted));
    EXPECT_EQ(TextOf(sText), "abcdef");
}

TEST(EarlyStrings, EmptyIsTheTextOfGetEmpty)
{
    EXPECT_EQ(BufferOf(String::Empty), BufferOf(String::GetEmpty()));
    EXPECT_EQ(BufferOf(String16::Empty), BufferOf(String16::GetEmpty()));
}

TEST(EarlyStrings, NullPointersAndEmptyVariantsExistBeforeThem)
{
    EXPECT_EQ(sNullCopy, nullptr);
    EXPECT_EQ(sEmptyCopy.GetType(), Variant::kEmpty);
    EXPECT_TRUE(sEmptyWasEqual);
}

} // namespace
} // namespace QX
