// StringNulTest.cpp - unlocked texts into which another holder of the buffer has written a NUL.
// They keep their length; all that copies, changes, compares or converts them ends at the NUL.

#include "Support/StringTestSupport.h"

#include <gtest/gtest.h>

#include <sstream>

namespace QX {
namespace {

/// "abcdef" with a NUL at `position`.
String Cut(std::size_t position = 2)
{
    String text("abcdef");
    static_cast<char*>(text.GetBuffer()->GetRawPtr())[position] = '\0';
    return text;
}

String16 WideCut()
{
    String16 text = Wide(u"abcdef");
    static_cast<unsigned short*>(text.GetBuffer()->GetRawPtr())[2] = 0;
    return text;
}

std::string FieldOf(const String& text)
{
    return {text.CStr(), text.GetBuffer()->GetSizeBytes()};
}

TEST(StringNul, LeavesTheLengthAsItWas)
{
    EXPECT_EQ(Cut().GetLength(), 6u);
    EXPECT_EQ(WideCut().GetLength(), 6u);
    EXPECT_EQ(Cut().GetText().size(), 2u);
    EXPECT_EQ(String(Cut()).GetLength(), 6u);
}

TEST(StringNul, EndsTheTextThatIsAppended)
{
    String text("X");

    text += Cut();
    EXPECT_EQ(FieldOf(text), std::string("Xab\0", 4));

    text += "Y";
    EXPECT_EQ(FieldOf(text), std::string("XabY\0", 5));
    EXPECT_FALSE(text.IsLocked());
}

TEST(StringNul, EndsATextThatIsAppendedTo)
{
    String text = Cut();
    String letter = Cut();
    String itself = Cut();
    String empty = Cut(0);

    text += "Y";
    letter += 'Y';
    itself += itself;
    empty += "Y";

    for (const String& result : {text, letter, itself}) {
        EXPECT_EQ(FieldOf(result), std::string("ab\0", 3));
        EXPECT_FALSE(result.IsLocked());
    }
    EXPECT_TRUE(SharesEmpty(empty));
}

TEST(StringNul, MakesATextEmptyThatBeginsWithIt)
{
    String text("X");
    const LIBuffer* const buffer = BufferOf(text);
    String locked("X");
    locked.Lock(2);

    text += Cut(0);
    locked += Cut(0);

    EXPECT_EQ(BufferOf(text), buffer);
    EXPECT_EQ(FieldOf(locked), std::string("X\0", 2));
    EXPECT_EQ(TextOf(text + Cut(0)), "X");
    EXPECT_TRUE(SharesEmpty(Cut(0).ToLower()));
    EXPECT_TRUE(SharesEmpty(Cut(0).GetSubString(0, 5)));
}

TEST(StringNul, EndsSums)
{
    EXPECT_EQ(FieldOf(String("X") + Cut()), std::string("Xab\0", 4));
    EXPECT_EQ(FieldOf(Cut() + "X"), std::string("ab\0", 3));
}

TEST(StringNul, CountsForTheCapacityOfALockedStringThatGrows)
{
    String text("X");
    text.Lock(2);

    text += Cut();

    EXPECT_EQ(FieldOf(text), std::string("Xab\0\0\0\0\0", 8));
}

TEST(StringNul, EndsSubStringsThatBeginBeforeIt)
{
    EXPECT_EQ(FieldOf(Cut().GetSubString(0, 5)), std::string("ab\0", 3));
    EXPECT_EQ(FieldOf(Cut().GetSubString(1)), std::string("b\0", 2));
    EXPECT_EQ(FieldOf(Cut().GetSubString(4)), std::string("ef\0", 3));
}

TEST(StringNul, EndsTheTextInLowerCaseAndInReverse)
{
    String text("ABCDEF");
    static_cast<char*>(text.GetBuffer()->GetRawPtr())[2] = '\0';

    EXPECT_EQ(FieldOf(text.ToLower()), std::string("ab\0", 3));
    EXPECT_EQ(FieldOf(text.Reverse()), std::string("BA\0", 3));
    EXPECT_EQ(TextOf(WideCut().Reverse()), u"ba");
}

TEST(StringNul, EndsTheTextWhoseCharactersAreReplaced)
{
    String text = Cut();

    text.Replace("abdef", 'x');

    EXPECT_EQ(FieldOf(text), std::string("xx\0", 3));
}

TEST(StringNul, EndsTheTextThatIsSplit)
{
    String last = Cut();
    String first = Cut();
    String byCut("fcbg");

    const String rest = last.SplitToken("e");
    const String second = first.SplitToken("a");
    byCut.SplitToken(Cut());

    EXPECT_EQ(FieldOf(last), std::string("ab\0", 3));
    EXPECT_TRUE(SharesEmpty(rest));
    EXPECT_EQ(FieldOf(first), std::string("b\0", 2));
    EXPECT_TRUE(SharesEmpty(second));
    EXPECT_EQ(TextOf(byCut), "fc");
}

TEST(StringNul, EndsTextThatIsInserted)
{
    String front("pq");
    String middle("pq");
    String end("pq");
    String target = Cut();

    EXPECT_EQ(front.Insert(0, Cut()), 0);
    EXPECT_EQ(middle.Insert(1, Cut()), 0);
    EXPECT_EQ(end.Insert(2, Cut()), 0);
    EXPECT_EQ(target.Insert(4, "x"), 0);

    EXPECT_EQ(FieldOf(front), std::string("ab\0", 3)); // as the sum of both
    EXPECT_EQ(FieldOf(middle), std::string("pabq\0", 5));
    EXPECT_EQ(FieldOf(end), std::string("pqab\0", 5));
    EXPECT_EQ(FieldOf(target), std::string("abxef\0", 6));
}

TEST(StringNul, EndsTheTextThatALockedStringTakes)
{
    String text("zzzzzzzzzzz");
    text.Lock(12);
    String16 wide = Wide(u"zzzzz");
    wide.Lock(5);

    text = Cut();
    wide = WideCut();

    EXPECT_EQ(FieldOf(text), "ab" + std::string(10, '\0'));
    EXPECT_EQ(TextOf(wide), u"ab");
    EXPECT_EQ(TextOf(String(text)), "ab");
}

TEST(StringNul, EndsWhatIsComparedHashedAndWritten)
{
    const String text = Cut();
    std::ostringstream stream;

    stream << text;

    EXPECT_TRUE(text.IsEqual("ab"));
    EXPECT_TRUE(text == "ab");
    EXPECT_TRUE(text.IsEqual(String("ab")));
    EXPECT_TRUE(String("ab") == text);
    EXPECT_TRUE(text < "abc");
    EXPECT_EQ(text.Compare("ab", true), 0);
    EXPECT_EQ(text.Compare(String("AB"), false), 0);
    EXPECT_EQ(std::hash<String>{}(text), std::hash<String>{}("ab"));
    EXPECT_EQ(stream.str(), "ab");
    EXPECT_TRUE(WideCut() == Wide(u"ab"));
    EXPECT_EQ(std::hash<String16>{}(WideCut()), std::hash<String16>{}(Wide(u"ab")));
}

TEST(StringNul, EndsAWideTextWhereverItStands)
{
    // Longer than any portion that is looked through at once, each time on a new block.
    for (uint32 length = 0; length < 130; ++length) {
        String16 text = Wide(std::u16string(130, u'x'));
        text.GetBuffer()->GetPtr<unsigned short>(0)[length] = 0;

        ASSERT_EQ(text.GetText().size(), length);
        ASSERT_TRUE(text == Wide(std::u16string(length, u'x')));
    }
}

TEST(StringNul, EndsWhatIsConverted)
{
    String number("123456");
    static_cast<char*>(number.GetBuffer()->GetRawPtr())[2] = '\0';

    EXPECT_EQ(TextOf(String16(Cut())), u"ab");
    EXPECT_EQ(TextOf(String(WideCut())), "ab");
    EXPECT_EQ(number.ToInt(), 12);
    EXPECT_EQ(number.ToDouble(), 12.0);
}

} // namespace
} // namespace QX
