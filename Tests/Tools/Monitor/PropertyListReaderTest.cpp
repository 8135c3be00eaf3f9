// PropertyListReaderTest.cpp - dictionaries of a document, and where a document is wrong.

#include "Tools/Monitor/PropertyListReader.h"

#include "Tests/Tools/Monitor/Messages.h"

#include <gtest/gtest.h>

namespace {

using Monitor::Entry;
using Monitor::Finding;
using Monitor::PropertyList;
using ToolsTests::FromHex;

std::string Describe(const std::vector<Finding>& findings)
{
    std::string text;
    for (const Finding& finding : findings) {
        text += std::to_string(finding.offset) + ": " + finding.text + "\n";
    }
    return text;
}

/// Reads a dictionary with those entries and describes what is wrong.
std::string ReadEntries(const std::string& entries, PropertyList& list)
{
    std::vector<Finding> findings;
    list = Monitor::ReadPropertyList("<plist><dict>" + entries + "</dict></plist>", findings);
    return Describe(findings);
}

TEST(PropertyListReader, ReadsADocumentOfThePlatform)
{
    std::vector<Finding> findings;

    const PropertyList list = Monitor::ReadPropertyList(
        ToolsTests::MakeDocument("-2", ToolsTests::kBigEndianStateText), findings);

    EXPECT_EQ(Describe(findings), "");
    EXPECT_TRUE(list.isDictionary);
    ASSERT_EQ(list.entries.size(), 2u);
    EXPECT_EQ(list.entries[0].key, "CoreAudioDeviceIDKey");
    EXPECT_EQ(list.entries[0].integer, -2);
    EXPECT_EQ(list.entries[1].data, FromHex(ToolsTests::kBigEndianState));
}

TEST(PropertyListReader, KeepsTheOffsetsOfKeysAndValues)
{
    PropertyList list;

    ReadEntries("<key>a</key> <integer>1</integer>", list);

    EXPECT_EQ(list.offset, 7u);
    EXPECT_EQ(list.Find("a")->keyOffset, 13u);
    EXPECT_EQ(list.Find("a")->valueOffset, 26u);
    EXPECT_EQ(list.Find("b"), nullptr);
}

/// The elements of a document, one a line.
std::string ListElements(const std::string& document)
{
    std::vector<Finding> findings;
    std::string text;
    for (const Monitor::Field& element :
         Monitor::ListElements(Monitor::ReadPropertyList(document, findings))) {
        text += std::to_string(element.offset) + "+" + std::to_string(element.size) + " " +
                element.name + " " + element.meaning + "\n";
    }
    return text;
}

TEST(PropertyListReader, ListsEveryElementWithItsPlace)
{
    EXPECT_EQ(ListElements("<plist> <dict><key>a</key> <integer> 1 </integer><key/><true/>"
                           "<key>c</key><data>AAAA</data><key>d</key><array><true/></array >"
                           "</dict></plist>"),
              "8+125 <dict> 4 keys\n"
              "14+12 <key> a\n"
              "27+22 <integer> 1\n"
              "49+6 <key> \n"
              "55+7 <true> \n"
              "62+12 <key> c\n"
              "74+17 <data> 3 bytes\n"
              "91+12 <key> d\n"
              "103+23 <array> \n");
    EXPECT_EQ(ListElements("<plist><dict/></plist>"), "7+7 <dict> 0 keys\n");
    // What is before the end of a document that has lost it.
    EXPECT_EQ(ListElements("<plist><dict><key>a</key><true/><key>b</key>"), "13+12 <key> a\n"
                                                                            "25+7 <true> \n");
    EXPECT_EQ(ListElements(""), "");
}

TEST(PropertyListReader, ReadsEveryKindOfValue)
{
    PropertyList list;

    const std::string findings = ReadEntries(
        "<key>a</key><string>&lt;</string><key>b</key><real>1</real><key>c</key><true/>"
        "<key>d</key><false/><key>e</key><date>2026</date><key>f</key><array><dict><key>x</key>"
        "<array/></dict></array><key>g</key><dict/><key/><data/><key>i</key><integer> +7 "
        "</integer>",
        list);

    EXPECT_EQ(findings, "");
    std::string kinds;
    for (const Entry& entry : list.entries) {
        kinds += entry.key + "=" + entry.kind + " ";
    }
    EXPECT_EQ(kinds, "a=string b=real c=true d=false e=date f=array g=dict =data i=integer ");
    EXPECT_EQ(list.Find("")->data, Monitor::Bytes());
    EXPECT_EQ(list.Find("i")->integer, 7);
}

TEST(PropertyListReader, ReadsTheEmptyDictionary)
{
    std::vector<Finding> findings;

    EXPECT_TRUE(Monitor::ReadPropertyList("<plist><dict/></plist>", findings).isDictionary);
    EXPECT_TRUE(Monitor::ReadPropertyList("<plist><dict></dict></plist>", findings).isDictionary);
    EXPECT_EQ(Describe(findings), "");
}

TEST(PropertyListReader, ReadsBase64AcrossLines)
{
    const struct
    {
        const char* text;
        const char* bytes;
    } kCases[] = {
        {"", ""},
        {"AA==", "00"},
        {"AAE=", "0001"},
        {"AAEC", "000102"},
        {" A\tA\nE\r\nC ", "000102"},
        {"+/+/", "FBFFBF"},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.text);
        PropertyList list;

        const std::string findings =
            ReadEntries("<key>a</key><data>" + std::string(entry.text) + "</data>", list);

        EXPECT_EQ(findings, "");
        EXPECT_EQ(list.Find("a")->data, FromHex(entry.bytes));
    }
}

TEST(PropertyListReader, NamesAValueThatDoesNotFitItsTag)
{
    const struct
    {
        const char* what;
        const char* value;
        const char* expected;
    } kCases[] = {
        {"no digits", "<integer>x</integer>",
         "34: <integer> of the key \"a\" holds no decimal number of 64 bits\n"},
        {"empty", "<integer/>",
         "35: <integer> of the key \"a\" holds no decimal number of 64 bits\n"},
        {"too long", "<integer>9223372036854775808</integer>",
         "34: <integer> of the key \"a\" holds no decimal number of 64 bits\n"},
        {"digits and more", "<integer>1 2</integer>",
         "34: <integer> of the key \"a\" holds no decimal number of 64 bits\n"},
        {"not base64", "<data>AA-A</data>",
         "31: <data> of the key \"a\": a character is not of base64\n"},
        {"padding first", "<data>====</data>",
         "31: <data> of the key \"a\": more than two characters of padding\n"},
        {"half a group", "<data>AAAAA</data>",
         "31: <data> of the key \"a\": its length is not a multiple of four base64 characters\n"},
        {"after the padding", "<data>AA==AAAA</data>",
         "31: <data> of the key \"a\": there is base64 after its padding\n"},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.what);
        PropertyList list;

        EXPECT_EQ(ReadEntries("<key>a</key>" + std::string(entry.value), list), entry.expected);
        EXPECT_TRUE(list.isDictionary);
    }
}

TEST(PropertyListReader, NamesWhatIsNoPropertyList)
{
    const struct
    {
        const char* what;
        const char* document;
        const char* expected;
    } kCases[] = {
        {"empty", "", "0: no property list: the document is empty\n"},
        {"blank", " \n", "0: no property list: the document is empty\n"},
        {"text", "bplist00", "0: no property list: <plist> is expected, but text is there\n"},
        {"other root", "<html/>",
         "0: no property list: <plist> is expected, but <html/> is there\n"},
        {"array", "<plist><array/></plist>",
         "7: wrong type: the top value is <array>, not a dictionary\n"},
        {"nothing", "<plist></plist>", "7: a <dict> is expected, but </plist> is there\n"},
        {"cut", "<plist><dict><key>a</key>",
         "25: a value for the key \"a\" is expected, but the end is there\n"},
        {"cut in a tag", "<plist><dict><ke", "13: the tag <ke has no end\n"},
        {"no key", "<plist><dict><true/></dict></plist>",
         "13: a <key> or </dict> is expected, but <true/> is there\n"},
        {"two keys", "<plist><dict><key>a</key><key>b</key></dict></plist>",
         "25: a value for the key \"a\" is expected, but <key> is there\n"},
        {"tag in a key", "<plist><dict><key>a<b/></key></dict></plist>",
         "19: </key> is expected, but <b/> is there\n"},
        {"tag in a number", "<plist><dict><key>a</key><integer>1<b></dict></plist>",
         "35: </integer> is expected, but <b> is there\n"},
        {"wrong end", "<plist><dict><key>a</key><array><dict></array></plist>",
         "38: </dict> is expected, but </array> is there\n"},
        {"nested and cut", "<plist><dict><key>a</key><array><dict>",
         "38: </dict> is expected, but the end is there\n"},
        {"no end", "<plist><dict></dict>",
         "20: </plist> after the dictionary is expected, but the end is there\n"},
        {"two values", "<plist><dict/><dict/></plist>",
         "14: </plist> after the dictionary is expected, but <dict/> is there\n"},
        {"more after the end", "<plist><dict/></plist>x", "22: unexpected text after </plist>\n"},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.what);
        std::vector<Finding> findings;

        Monitor::ReadPropertyList(entry.document, findings);

        EXPECT_EQ(Describe(findings), entry.expected);
    }
}

TEST(PropertyListReader, StopsAtMoreKeysThanAMessageCanHave)
{
    std::string entries;
    for (int index = 0; index < 64; ++index) {
        entries += "<key>a</key><true/>";
    }
    PropertyList list;

    EXPECT_EQ(ReadEntries(entries, list), "");
    EXPECT_EQ(ReadEntries(entries + "<key>a</key><true/>", list),
              "1229: the dictionary has more than 64 keys\n");
    EXPECT_FALSE(list.isDictionary);
}

TEST(PropertyListReader, QuotesTheBeginningOfALongKey)
{
    const std::string key(59, 'a');
    PropertyList list;

    EXPECT_EQ(ReadEntries("<key>" + key + "\xC3\xA9</key>", list),
              "85: a value for the key \"" + key + "...\" is expected, but </dict> is there\n");
}

TEST(PropertyListReader, AcceptsOnlyTagsOfPropertyListsInAContainer)
{
    PropertyList list;

    EXPECT_EQ(ReadEntries("<key>a</key><array><b></b></array>", list),
              "32: a value is expected, but <b> is there\n");
}

TEST(PropertyListReader, EndsOnEveryTruncatedDocument)
{
    const std::string document = ToolsTests::MakeDocument("258", ToolsTests::kBigEndianStateText);

    // The line end after </plist> is the one byte that a document can do without.
    for (std::size_t size = 0; size + 1 < document.size(); ++size) {
        SCOPED_TRACE(size);
        std::vector<Finding> findings;

        const PropertyList list = Monitor::ReadPropertyList(document.substr(0, size), findings);

        EXPECT_FALSE(list.isDictionary);
        EXPECT_EQ(findings.size(), 1u);
    }
}

TEST(PropertyListReader, ReadsNestingOfAnyDepth)
{
    constexpr int kDepth = 100000;
    std::string arrays;
    for (int depth = 0; depth < kDepth; ++depth) {
        arrays += "<array>";
    }
    PropertyList list;

    const std::string findings = ReadEntries("<key>a</key>" + arrays, list);

    EXPECT_EQ(findings, "700025: </array> is expected, but </dict> is there\n");
}

} // namespace
