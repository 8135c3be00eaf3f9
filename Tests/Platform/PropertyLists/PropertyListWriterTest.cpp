// PropertyListWriterTest.cpp - the exact bytes of property-list documents.

#include "Platform/PlatformTesting.h"

#include <vector>

namespace {

using PropertyListWriter = Platform::LedgerTest;

const std::string kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                          "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                          "<plist version=\"1.0\">\n";
const std::string kTail = "</plist>\n";

/// The document of an object, which is released; "<null>" if none is made.
std::string Document(CFTypeRef object)
{
    CFDataRef document = CFPropertyListCreateXMLData(nullptr, object);
    CFRelease(object);
    if (document == nullptr) {
        return "<null>";
    }
    const std::string bytes = Platform::BytesOf(document);
    CFRelease(document);
    return bytes;
}

/// The document that the plug-in sends for one message of a device.
std::string MessageDocument(std::string_view message, UInt32 device)
{
    CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(nullptr, 2, nullptr, nullptr);
    CFNumberRef number = CFNumberCreate(nullptr, kCFNumberSInt32Type, &device);
    CFDataRef data = Platform::MakeData(message);
    // The keys are sorted in the document, whatever the order of insertion.
    CFDictionaryAddValue(dictionary, CFSTR("ParameterDataKey"), data);
    CFDictionaryAddValue(dictionary, CFSTR("CoreAudioDeviceIDKey"), number);
    CFRetain(dictionary);
    std::string document = Document(dictionary);
    CFRelease(data);
    CFRelease(number);
    CFRelease(dictionary);
    return document;
}

TEST_F(PropertyListWriter, WritesTheDocumentOfAStateMessage)
{
    const std::string_view message("\x00\x00\x00\x1C\x00\x00\x00\x00\xFF\xFF\xFF\x05"
                                   "\x10\x00\x00\x00\x00\x00\x00\x00\x02\x00\x00\x00"
                                   "\x01\x00\x00\x00",
                                   28);

    const std::string document = MessageDocument(message, 258);

    EXPECT_EQ(document, kHead +
                            "<dict>\n"
                            "\t<key>CoreAudioDeviceIDKey</key>\n"
                            "\t<integer>258</integer>\n"
                            "\t<key>ParameterDataKey</key>\n"
                            "\t<data>\n"
                            "\tAAAAHAAAAAD///8FEAAAAAAAAAACAAAAAQAAAA==\n"
                            "\t</data>\n"
                            "</dict>\n" +
                            kTail);
    EXPECT_EQ(document.size(), 333u);
}

TEST_F(PropertyListWriter, WritesTheDocumentOfALevelMessage)
{
    const std::string_view message("\x00\x00\x00\x2C\x00\x00\x00\x00\xFF\xFF\xFF\x07"
                                   "\x20\x00\x00\x00\x00\x00\x00\x00\x08\x00\x00\x00"
                                   "\x00\x00\x00\x00\x00\x00\x00\x00\xC0\x18\x15\x18"
                                   "\x24\xC7\x58\x7F\x00\x00\x00\x00",
                                   44);

    const std::string document = MessageDocument(message, 258);

    EXPECT_EQ(document, kHead +
                            "<dict>\n"
                            "\t<key>CoreAudioDeviceIDKey</key>\n"
                            "\t<integer>258</integer>\n"
                            "\t<key>ParameterDataKey</key>\n"
                            "\t<data>\n"
                            "\tAAAALAAAAAD///8HIAAAAAAAAAAIAAAAAAAAAAAAAADAGBUYJMdYfwAAAAA=\n"
                            "\t</data>\n"
                            "</dict>\n" +
                            kTail);
    EXPECT_EQ(document.size(), 353u);
}

TEST_F(PropertyListWriter, WritesALargeDeviceNumberAsANegativeInteger)
{
    struct
    {
        UInt32 device;
        const char* expected;
    } const cases[] = {{0, "<integer>0</integer>"},
                       {0xFFFFFFFE, "<integer>-2</integer>"},
                       {0xFFFFFFFB, "<integer>-5</integer>"},
                       {0x80000000, "<integer>-2147483648</integer>"},
                       {0x7FFFFFFF, "<integer>2147483647</integer>"}};

    for (const auto& entry : cases) {
        EXPECT_NE(MessageDocument("", entry.device).find(entry.expected), std::string::npos)
            << entry.expected;
    }
}

TEST_F(PropertyListWriter, BreaksTheLinesOfDataByTheirIndent)
{
    const auto lines = [](std::size_t bytes, CFIndex nesting) {
        std::vector<CFTypeRef> objects = {Platform::MakeData(std::string(bytes, '\0'))};
        for (CFIndex level = 0; level < nesting; ++level) {
            CFMutableDictionaryRef outer = CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr);
            CFDictionaryAddValue(outer, CFSTR("key"), objects.back());
            objects.push_back(outer);
        }
        const std::string document = Document(objects.back());
        objects.pop_back();
        for (CFTypeRef object : objects) {
            CFRelease(object);
        }
        const std::size_t start = document.find("<data>\n") + 7;
        return document.substr(start, document.find("</data>") - start);
    };
    const std::string line = std::string("\t").append(68, 'A') + "\n\t";

    EXPECT_EQ(lines(0, 1), "\t");
    EXPECT_EQ(lines(51, 1), line);
    EXPECT_EQ(lines(52, 1), line + "AA==\n\t");
    EXPECT_EQ(lines(53, 1), line + "AAA=\n\t");
    EXPECT_EQ(lines(50, 1), std::string("\t").append(67, 'A') + "=\n\t");
    EXPECT_EQ(lines(102, 1), line + line.substr(1));
    EXPECT_EQ(lines(58, 0), std::string(76, 'A') + "\nAA==\n");
    EXPECT_EQ(lines(10, 9).substr(0, 23), std::string(9, '\t') + std::string(12, 'A') + "\n\t");
}

TEST_F(PropertyListWriter, UsesTheStandardAlphabet)
{
    std::string bytes;
    for (unsigned group = 0; group < 64; group += 4) {
        const unsigned word = group << 18 | (group + 1) << 12 | (group + 2) << 6 | (group + 3);
        bytes += static_cast<char>(word >> 16 & 0xFF);
        bytes += static_cast<char>(word >> 8 & 0xFF);
        bytes += static_cast<char>(word & 0xFF);
    }

    EXPECT_NE(Document(Platform::MakeData(bytes))
                  .find("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"),
              std::string::npos);
}

TEST_F(PropertyListWriter, WritesAnEmptyDictionaryAsOneTag)
{
    EXPECT_EQ(Document(CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr)),
              kHead + "<dict/>\n" + kTail);
}

TEST_F(PropertyListWriter, EscapesThreeCharactersOfKeysAndStrings)
{
    CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr);
    CFDictionaryAddValue(dictionary, CFSTR("a<b"), CFSTR("<a> & \"b\" 'c'"));

    EXPECT_EQ(Document(dictionary), kHead +
                                        "<dict>\n"
                                        "\t<key>a&lt;b</key>\n"
                                        "\t<string>&lt;a&gt; &amp; \"b\" 'c'</string>\n"
                                        "</dict>\n" +
                                        kTail);
}

TEST_F(PropertyListWriter, SortsKeysAndKeepsTheOrderOfEqualOnes)
{
    CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr);
    CFStringRef other = Platform::MakeString("b");
    CFDictionaryAddValue(dictionary, CFSTR("b"), CFSTR("1"));
    CFDictionaryAddValue(dictionary, CFSTR("ab"), CFSTR("2"));
    CFDictionaryAddValue(dictionary, other, CFSTR("3"));
    CFDictionaryAddValue(dictionary, CFSTR("C"), CFSTR("4"));
    CFDictionaryAddValue(dictionary, CFSTR("a"), CFSTR("5"));

    EXPECT_EQ(Document(dictionary), kHead +
                                        "<dict>\n"
                                        "\t<key>C</key>\n\t<string>4</string>\n"
                                        "\t<key>a</key>\n\t<string>5</string>\n"
                                        "\t<key>ab</key>\n\t<string>2</string>\n"
                                        "\t<key>b</key>\n\t<string>1</string>\n"
                                        "\t<key>b</key>\n\t<string>3</string>\n"
                                        "</dict>\n" +
                                        kTail);
    CFRelease(other);
}

TEST_F(PropertyListWriter, GivesNullForWhatItCannotWrite)
{
    CFMutableArrayRef array = CFArrayCreateMutable(nullptr, 0, nullptr);
    CFDataRef data = Platform::MakeData("abc");
    struct
    {
        const char* what;
        const void* key;
        const void* value;
    } const cases[] = {{"a key that is no string", data, data},
                       {"a null key", nullptr, data},
                       {"a value of another type", CFSTR("key"), array},
                       {"a null value", CFSTR("key"), nullptr}};

    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.what);
        CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr);
        CFDictionaryAddValue(dictionary, entry.key, entry.value);
        EXPECT_EQ(Document(dictionary), "<null>");
    }
    CFMutableDictionaryRef ring = CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr);
    CFDictionaryAddValue(ring, CFSTR("key"), ring);
    EXPECT_EQ(Document(ring), "<null>");
    EXPECT_EQ(Document(array), "<null>");
    EXPECT_EQ(CFPropertyListCreateXMLData(nullptr, nullptr), nullptr);
    CFRelease(data);
}

} // namespace
