// XMLScannerTest.cpp - tags and texts with their offsets, and what is no XML.

#include "Tools/Monitor/XMLScanner.h"

#include "Tools/Common/Text.h"

#include <gtest/gtest.h>

namespace {

using Monitor::Token;
using Monitor::XMLScanner;

/// All tokens in short: <a>@0 for a tag, "x"@3 for a text, the error's text at its offset.
std::string Scan(std::string_view document)
{
    XMLScanner scanner(document);
    std::string journal;
    while (true) {
        const Token token = scanner.Next();
        const std::string offset = Tools::FormatText("@%zu ", token.offset);
        switch (token.kind) {
        case Token::Kind::kOpen:
            journal += "<" + token.text + ">" + offset;
            break;
        case Token::Kind::kClose:
            journal += "</" + token.text + ">" + offset;
            break;
        case Token::Kind::kEmpty:
            journal += "<" + token.text + "/>" + offset;
            break;
        case Token::Kind::kText:
            journal += '"' + token.text + '"' + offset;
            break;
        case Token::Kind::kEnd:
            return journal + "end" + offset;
        case Token::Kind::kError:
            return journal + token.text + offset;
        }
    }
}

TEST(XMLScanner, GivesTagsAndTextsWithTheirOffsets)
{
    EXPECT_EQ(Scan("<a>x</a>"), "<a>@0 \"x\"@3 </a>@4 end@8 ");
    EXPECT_EQ(Scan("<a b='>' c=\"/>\"/>"), "<a/>@0 end@17 ");
    EXPECT_EQ(Scan(""), "end@0 ");
}

TEST(XMLScanner, PassesOverWhiteSpaceBetweenTags)
{
    EXPECT_EQ(Scan(" \n<a>\t<b/>\r\n</a>\n"), "<a>@2 <b/>@6 </a>@12 end@17 ");
}

TEST(XMLScanner, PassesOverDeclarationCommentAndDocumentType)
{
    EXPECT_EQ(Scan("<?xml version='1.0'?><!-- <b> --><!DOCTYPE a [<!ENTITY b \">]\">]><a/>"),
              "<a/>@64 end@68 ");
    EXPECT_EQ(Scan("\xEF\xBB\xBF<a/>"), "<a/>@3 end@7 ");
}

TEST(XMLScanner, JoinsTextAcrossCommentsAndSections)
{
    EXPECT_EQ(Scan("<a>x<!-- y -->z<![CDATA[<&]]></a>"), "<a>@0 \"xz<&\"@3 </a>@29 end@33 ");
}

TEST(XMLScanner, ResolvesReferences)
{
    EXPECT_EQ(Scan("&lt;&gt;&amp;&quot;&apos;"), "\"<>&\"'\"@0 end@25 ");
    EXPECT_EQ(Scan("&#65;&#x42;&#xE9;&#x20AC;&#x1F600;"),
              "\"AB\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\"@0 end@34 ");
}

TEST(XMLScanner, NamesTheFirstErrorAndStaysThere)
{
    const struct
    {
        const char* what;
        const char* document;
        const char* expected;
    } kCases[] = {
        {"tag without end", "x<a", "\"x\"@0 the tag <a has no end@1 "},
        {"tag inside a tag", "<a <b>", "the tag <a has no end@0 "},
        {"open quote", "<a b='>", "the tag <a has no end@0 "},
        {"no name", "< a>", "'<' begins no tag@0 "},
        {"lone bracket", "<", "'<' begins no tag@0 "},
        {"comment without end", "<!-- ->", "the comment has no end@0 "},
        {"instruction without end", "<?xml", "the processing instruction has no end@0 "},
        {"document type without end", "<!DOCTYPE a [", "the document type has no end@0 "},
        {"other markup", "<!ELEMENT a>", "'<!' begins neither a comment nor a document type@0 "},
        {"section without end", "<![CDATA[x]]", "the character data section has no end@0 "},
        {"unknown entity", "a&b;", "'&' begins no character reference@1 "},
        {"bare ampersand", "a & b", "'&' begins no character reference@2 "},
        {"surrogate", "&#xD800;", "'&' begins no character reference@0 "},
        {"beyond Unicode", "&#x110000;", "'&' begins no character reference@0 "},
        {"zero", "&#0;", "'&' begins no character reference@0 "},
        {"no digits", "&#;", "'&' begins no character reference@0 "},
        {"reference without end", "&lt", "'&' begins no character reference@0 "},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.what);
        EXPECT_EQ(Scan(entry.document), entry.expected);
    }

    XMLScanner scanner("<");
    scanner.Next();
    EXPECT_EQ(scanner.Next().text, "'<' begins no tag");
}

} // namespace
