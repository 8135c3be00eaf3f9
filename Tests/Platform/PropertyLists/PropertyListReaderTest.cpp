// PropertyListReaderTest.cpp - reads documents as property lists, and refuses other bytes.

#include "Platform/PlatformTesting.h"

namespace {

using PropertyListReader = Platform::LedgerTest;

/// Reads a document; stores in `error` what is wrong.
CFPropertyListRef Read(std::string_view document, std::string* error = nullptr)
{
    CFDataRef data = Platform::MakeData(document);
    CFStringRef text = CFSTR("not touched");
    CFPropertyListRef read =
        CFPropertyListCreateFromXMLData(nullptr, data, kCFPropertyListImmutable, &text);
    CFRelease(data);
    EXPECT_EQ(read == nullptr, text != nullptr) << document;
    if (text != nullptr) {
        if (error != nullptr) {
            *error = Platform::TextOf(text);
        }
        CFRelease(text);
    }
    return read;
}

std::string ErrorOf(std::string_view document)
{
    std::string error = "<none>";
    CFPropertyListRef read = Read(document, &error);
    if (read != nullptr) {
        CFRelease(read);
    }
    return error;
}

/// Reads a document and writes the list again, without the first three lines and the last.
std::string Rewritten(std::string_view document)
{
    CFPropertyListRef read = Read(document);
    if (read == nullptr) {
        return "<null>";
    }
    CFDataRef written = CFPropertyListCreateXMLData(nullptr, read);
    std::string text = Platform::BytesOf(written);
    CFRelease(written);
    CFRelease(read);
    const std::string start = "<plist version=\"1.0\">\n";
    text = text.substr(text.find(start) + start.size());
    return text.substr(0, text.find("</plist>"));
}

TEST_F(PropertyListReader, ReadsWhatTheWriterWrites)
{
    const std::string document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                 "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                 "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                 "<plist version=\"1.0\">\n"
                                 "<dict>\n"
                                 "\t<key>CoreAudioDeviceIDKey</key>\n"
                                 "\t<integer>258</integer>\n"
                                 "\t<key>ParameterDataKey</key>\n"
                                 "\t<data>\n"
                                 "\tAAAAHAAAAAD///8FEAAAAAAAAAACAAAAAQAAAA==\n"
                                 "\t</data>\n"
                                 "</dict>\n"
                                 "</plist>\n";

    CFPropertyListRef read = Read(document);

    ASSERT_NE(read, nullptr);
    ASSERT_EQ(CFGetTypeID(read), CFDictionaryGetTypeID());
    const auto dictionary = static_cast<CFDictionaryRef>(read);
    const auto number =
        static_cast<CFNumberRef>(CFDictionaryGetValue(dictionary, CFSTR("CoreAudioDeviceIDKey")));
    SInt32 device = 0;
    EXPECT_TRUE(CFNumberGetValue(number, kCFNumberSInt32Type, &device));
    EXPECT_EQ(device, 258);
    const auto data =
        static_cast<CFDataRef>(CFDictionaryGetValue(dictionary, CFSTR("ParameterDataKey")));
    EXPECT_EQ(Platform::BytesOf(data),
              std::string_view("\x00\x00\x00\x1C\x00\x00\x00\x00\xFF\xFF\xFF\x05"
                               "\x10\x00\x00\x00\x00\x00\x00\x00\x02\x00\x00\x00"
                               "\x01\x00\x00\x00",
                               28));
    CFRelease(read);
}

TEST_F(PropertyListReader, ReadsEveryElementThatItSupports)
{
    struct
    {
        const char* document;
        const char* expected;
    } const cases[] = {
        {"<plist><string>a &lt;&amp;&gt; &#65;&#x42;&apos;&quot;</string></plist>",
         "<string>a &lt;&amp;&gt; AB'\"</string>\n"},
        {"<string>&#x7f;&#x80;&#x7FF;&#x800;&#xFFFD;&#x10000;&#x10FFFF;</string>",
         "<string>\u007F\u0080\u07FF\u0800\uFFFD\U00010000\U0010FFFF</string>\n"},
        {"<plist><string><![CDATA[<raw> & ]]>x<!-- y --></string></plist>",
         "<string>&lt;raw&gt; &amp; x</string>\n"},
        {"<plist><string/></plist>", "<string></string>\n"},
        {"<integer> -12 </integer>", "<integer>-12</integer>\n"},
        {"<integer>+0x1F</integer>", "<integer>31</integer>\n"},
        {"<integer>-9223372036854775808</integer>", "<integer>-9223372036854775808</integer>\n"},
        {"<integer>9223372036854775807</integer>", "<integer>9223372036854775807</integer>\n"},
        {"<data/>", "<data>\n</data>\n"},
        {"<data>QU\n\t JD</data>", "<data>\nQUJD\n</data>\n"},
        {"<data>QQ==</data>", "<data>\nQQ==\n</data>\n"},
        {"<dict><key>a</key><dict/></dict>", "<dict>\n\t<key>a</key>\n\t<dict/>\n</dict>\n"},
        {"<dict><key>b</key><string/><key>a</key><integer>1</integer>"
         "<key>b</key><integer>2</integer></dict>",
         "<dict>\n\t<key>a</key>\n\t<integer>1</integer>\n"
         "\t<key>b</key>\n\t<integer>2</integer>\n</dict>\n"},
        {"\xEF\xBB\xBF<?xml version='1.0'?><!-- c --><!DOCTYPE plist [<!ENTITY e \"]>\">]>"
         "<plist version = '1.0' ><string /></plist > <!-- end -->\n",
         "<string></string>\n"}};

    for (const auto& entry : cases) {
        EXPECT_EQ(Rewritten(entry.document), entry.expected) << entry.document;
    }
}

TEST_F(PropertyListReader, RefusesElementsThatItDoesNotSupport)
{
    for (const std::string name : {"array", "real", "true", "false", "date", "key", "unknown"}) {
        EXPECT_EQ(ErrorOf("<" + name + "/>"), "line 1: an element that is not supported: " + name);
        EXPECT_EQ(ErrorOf("<dict><key>a</key>\n<" + name + "/></dict>"),
                  "line 2: an element that is not supported: " + name);
    }
}

TEST_F(PropertyListReader, TellsWhatIsWrongAndWhere)
{
    struct
    {
        const char* document;
        const char* expected;
    } const cases[] = {
        {"", "line 1: the document ends where a tag is expected"},
        {"bplist00", "line 1: there is text where a tag is expected"},
        {"<plist/>", "line 1: the property list is empty"},
        {"<plist>\n</plist>", "line 2: the property list is empty"},
        {"<plist>\n<dict/>\n<dict/></plist>", "line 3: the property list has more than one object"},
        {"<plist><dict/></plist>x", "line 1: unexpected text after the end of the property list"},
        {"<plist><dict></plist>",
         "line 1: a dictionary has an element where a key is expected: plist"},
        {"<dict><key>a</key></dict>", "line 1: a key of a dictionary has no value"},
        {"<dict><data/></dict>",
         "line 1: a dictionary has an element where a key is expected: data"},
        {"</dict>", "line 1: an end tag without a start tag: dict"},
        {"<dict>", "line 1: the document ends where a tag is expected"},
        {"<integer/>", "line 1: an integer element holds no integer"},
        {"<integer>12a</integer>", "line 1: an integer element holds no integer"},
        {"<integer>--1</integer>", "line 1: an integer element holds no integer"},
        {"<integer>9223372036854775808</integer>", "line 1: an integer has more than 64 bits"},
        {"<integer>-9223372036854775809</integer>", "line 1: an integer has more than 64 bits"},
        {"<integer>99999999999999999999999</integer>", "line 1: an integer has more than 64 bits"},
        {"<data>Q!==</data>", "line 1: a data element does not hold base64 text"},
        {"<data>QUJ</data>", "line 1: a data element does not hold base64 text"},
        {"<data>Q===</data>", "line 1: a data element does not hold base64 text"},
        {"<data>Q=J=</data>", "line 1: a data element does not hold base64 text"},
        {"<data>QQ==QQ==</data>", "line 1: a data element does not hold base64 text"},
        {"<string>&unknown;</string>", "line 1: a character reference is unknown"},
        {"<string>&#0;</string>", "line 1: a character reference is unknown"},
        {"<string>&#xD800;</string>", "line 1: a character reference is unknown"},
        {"<string>&#x110000;</string>", "line 1: a character reference is unknown"},
        {"<string>&;</string>", "line 1: a character reference is unknown"},
        {"<string>& </string>", "line 1: a character reference has no end"},
        {"<string><b/></string>", "line 1: an element within another that holds text: b"},
        {"<string>a", "line 1: the document ends within an element: string"},
        {"<!-- a", "line 1: the document ends within a comment"},
        {"<?xml", "line 1: the document ends within a processing instruction"},
        {"<!DOCTYPE plist", "line 1: the document ends within the document type"},
        {"<!DOCTYPE plist \"x", "line 1: the document ends within the document type"},
        {"<string><![CDATA[x", "line 1: the document ends within a CDATA section"},
        {"<plist version></plist>", "line 1: an attribute has no value: version"},
        {"<plist version=1></plist>",
         "line 1: the value of an attribute is not in quotes: version"},
        {"<plist version=\"1", "line 1: the document ends within an attribute"},
        {"<", "line 1: a tag has no name"},
        {"<dict", "line 1: a tag has no end: dict"}};

    for (const auto& entry : cases) {
        EXPECT_EQ(ErrorOf(entry.document), entry.expected) << entry.document;
    }
}

TEST_F(PropertyListReader, RefusesMalformedUtf8)
{
    for (const char* text : {"\x80", "\xC3",
                             "\xC3"
                             "A",
                             "\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                             "\xF8\x88\x80\x80\x80", "a\xFF"}) {
        EXPECT_EQ(ErrorOf(std::string("<string>\n") + text),
                  "line 1: the document is not UTF-8 text");
    }
    for (const char* text :
         {"\u0080", "\u07FF", "\u0800", "\uD7FF", "\uE000", "\U00010000", "\U0010FFFF"}) {
        EXPECT_EQ(ErrorOf(std::string("<string>") + text + "</string>"), "<none>") << text;
    }
}

TEST_F(PropertyListReader, TakesANullPlaceForTheError)
{
    CFDataRef data = Platform::MakeData("garbage");

    EXPECT_EQ(CFPropertyListCreateFromXMLData(nullptr, data, 0, nullptr), nullptr);

    CFRelease(data);
}

TEST_F(PropertyListReader, RefusesElementsThatAreNestedTooDeep)
{
    const auto nested = [](int depth) {
        std::string document;
        for (int level = 0; level < depth; ++level) {
            document += "<dict><key/>";
        }
        document += "<data/>";
        for (int level = 0; level < depth; ++level) {
            document += "</dict>";
        }
        return document;
    };

    EXPECT_EQ(ErrorOf(nested(128)), "<none>");
    EXPECT_EQ(ErrorOf(nested(129)), "line 1: the elements are nested too deep");
    EXPECT_EQ(ErrorOf(nested(100000)), "line 1: the elements are nested too deep");
}

TEST_F(PropertyListReader, RefusesEveryTruncatedDocument)
{
    const std::string document = "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>k</key>"
                                 "<data>QUJD</data><key>l</key><integer>5</integer></dict></plist>";

    for (std::size_t length = 0; length < document.size(); ++length) {
        EXPECT_NE(ErrorOf(document.substr(0, length)), "<none>") << length;
    }
    EXPECT_EQ(ErrorOf(document), "<none>");
}

} // namespace
