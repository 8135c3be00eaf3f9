// XMLScannerTest.cpp - tags and texts with their offsets, and what is no XML.

#include "Tools/Monitor/XMLScanner.h"

#include "Tools/Common/Text.h"
#ifdef QX_HAS_EXPAT
#include "Tests/Tools/Monitor/Expat.h"
#endif

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
        const std::string text(token.text);
        const std::string offset = Tools::FormatText("@%zu ", token.offset);
        switch (token.kind) {
        case Token::Kind::kOpen:
            journal += "<" + text + ">" + offset;
            break;
        case Token::Kind::kClose:
            journal += "</" + text + ">" + offset;
            break;
        case Token::Kind::kEmpty:
            journal += "<" + text + "/>" + offset;
            break;
        case Token::Kind::kText:
            journal += '"' + text + '"' + offset;
            break;
        case Token::Kind::kEnd:
            return journal + "end" + offset;
        case Token::Kind::kError:
            return journal + text + offset;
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
    EXPECT_EQ(Scan("<?xml version='1.0' encoding='utf-8' standalone='no'?><!-- <b> -->"
                   "<!DOCTYPE a PUBLIC \"-//A//B 1.0\" 'c>d' ><?e f?><a/>"),
              "<a/>@113 end@117 ");
    EXPECT_EQ(Scan("<!DOCTYPE a SYSTEM 'b'><a/>"), "<a/>@23 end@27 ");
    EXPECT_EQ(Scan("\xEF\xBB\xBF<?xml version=\"1.0\"?><a/>"), "<a/>@24 end@28 ");
    EXPECT_EQ(Scan("<!-->--><a/>"), "<a/>@8 end@12 ");
}

TEST(XMLScanner, JoinsTextAcrossCommentsSectionsAndInstructions)
{
    EXPECT_EQ(Scan("<a>x<!-- y -->z<![CDATA[<&]]><?b?>w</a>"), "<a>@0 \"xz<&w\"@3 </a>@35 end@39 ");
}

TEST(XMLScanner, ReadsEveryLineEndAsALineFeed)
{
    EXPECT_EQ(Scan("<a>x\r\ny\rz\n<![CDATA[\r]]></a>"), "<a>@0 \"x\ny\nz\n\n\"@3 </a>@23 end@27 ");
}

TEST(XMLScanner, ResolvesReferences)
{
    EXPECT_EQ(Scan("<a>&lt;&gt;&amp;&quot;&apos;</a>"), "<a>@0 \"<>&\"'\"@3 </a>@28 end@32 ");
    EXPECT_EQ(Scan("<a>&#65;&#x42;&#xE9;&#x20AC;&#x1F600;</a>"),
              "<a>@0 \"AB\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\"@3 </a>@37 end@41 ");
}

struct ErrorCase
{
    const char* what;
    std::string document;
    const char* expected;
};

const ErrorCase kErrors[] = {
    {"tag without end", "<a", "the tag <a has no end@0 "},
    {"tag inside a tag", "<a <b>", "the tag <a has no end@0 "},
    {"open quote", "<a b='>", "the tag <a has no end@0 "},
    {"no name", "< a>", "'<' begins no tag@0 "},
    {"name that begins with a digit", "<1a>", "'<' begins no tag@0 "},
    {"lone bracket", "<", "'<' begins no tag@0 "},
    {"unquoted attribute", "<a b=c>", "the tag <a is malformed@0 "},
    {"attribute without value", "<a b>", "the tag <a is malformed@0 "},
    {"attributes without a space", "<a b='1'c='2'/>", "the tag <a is malformed@0 "},
    {"repeated attribute", "<a b='1' b='2'/>", "the tag <a is malformed@0 "},
    {"bracket in an attribute", "<a b='<'/>", "the tag <a is malformed@0 "},
    {"ampersand in an attribute", "<a b='&'/>", "'&' begins no character reference@6 "},
    {"closing tag with more", "<a></a !!>", "<a>@0 the tag <a is malformed@3 "},
    {"closing tag with an attribute", "<a></a b='c'>", "<a>@0 the tag <a is malformed@3 "},
    {"comment without end", "<!-- ->", "the comment has no end@0 "},
    {"shortest wrong comment", "<!--->", "the comment has no end@0 "},
    {"hyphens in a comment", "<!-- a -- b --><a/>", "the comment contains \"--\"@0 "},
    {"instruction without end", "<?xml", "the processing instruction has no end@0 "},
    {"instruction without name", "<? a?>", "the processing instruction has no name@0 "},
    {"declaration after the start", " <?xml version='1.0'?>",
     "<?xml ...?> is allowed at the document's start only@1 "},
    {"declaration of another encoding", "<?xml version='1.0' encoding='UTF-16'?>",
     "the declared encoding is not UTF-8@0 "},
    {"declaration without version", "<?xml encoding='UTF-8'?>", "<?xml ...?> is malformed@0 "},
    {"declaration of another version", "<?xml version='2.0'?>", "<?xml ...?> is malformed@0 "},
    {"declaration with more", "<?xml version='1.0' a='b'?>", "<?xml ...?> is malformed@0 "},
    {"document type without end", "<!DOCTYPE a ", "the document type has no end@0 "},
    {"document type without name", "<!DOCTYPE>", "the document type is malformed@0 "},
    {"document type without literal", "<!DOCTYPE a PUBLIC>", "the document type is malformed@0 "},
    {"document type with declarations", "<!DOCTYPE a [<!ENTITY b 'c'>]>",
     "a document type with declarations of its own is not read@12 "},
    {"second document type", "<!DOCTYPE a><!DOCTYPE a>",
     "a document type is allowed once, before the top element@12 "},
    {"document type in the element", "<a><!DOCTYPE a></a>",
     "<a>@0 a document type is allowed once, before the top element@3 "},
    {"other markup", "<!ELEMENT a>", "'<!' begins neither a comment nor a document type@0 "},
    {"section without end", "<a><![CDATA[x]]", "<a>@0 the character data section has no end@3 "},
    {"section outside", "<![CDATA[x]]>", "a character data section outside the top element@0 "},
    {"end of no section", "<a>x]]></a>", "<a>@0 \"]]>\" ends no character data section@4 "},
    {"unknown entity", "<a>a&b;", "<a>@0 '&' begins no character reference@4 "},
    {"bare ampersand", "<a>a & b", "<a>@0 '&' begins no character reference@5 "},
    {"surrogate", "<a>&#xD800;", "<a>@0 '&' begins no character reference@3 "},
    {"beyond Unicode", "<a>&#x110000;", "<a>@0 '&' begins no character reference@3 "},
    {"zero", "<a>&#0;", "<a>@0 '&' begins no character reference@3 "},
    {"control", "<a>&#7;", "<a>@0 '&' begins no character reference@3 "},
    {"no digits", "<a>&#;", "<a>@0 '&' begins no character reference@3 "},
    {"reference without end", "<a>&lt", "<a>@0 '&' begins no character reference@3 "},
    {"NUL in a comment", std::string("<!-- \0 --><a/>", 14),
     "a byte that is not UTF-8, or a character that XML does not allow@5 "},
    {"lone second byte", "<a>\x80</a>",
     "a byte that is not UTF-8, or a character that XML does not allow@3 "},
    {"longer form", "<!-- \xC0\xAF --><a/>",
     "a byte that is not UTF-8, or a character that XML does not allow@5 "},
    {"surrogate in UTF-8", "<!-- \xED\xA0\x80 --><a/>",
     "a byte that is not UTF-8, or a character that XML does not allow@5 "},
    {"half a character", "<a>\xE2\x82",
     "a byte that is not UTF-8, or a character that XML does not "
     "allow@3 "},
    {"not a character", "<a>\xEF\xBF\xBF</a>",
     "a byte that is not UTF-8, or a character that XML does not allow@3 "},
};

TEST(XMLScanner, NamesTheFirstErrorAndStaysThere)
{
    for (const ErrorCase& entry : kErrors) {
        SCOPED_TRACE(entry.what);
        EXPECT_EQ(Scan(entry.document), entry.expected);
    }

    XMLScanner scanner("<");
    scanner.Next();
    EXPECT_EQ(scanner.Next().text, "'<' begins no tag");
}

TEST(XMLScanner, CallsTextOutsideTheTopElementText)
{
    EXPECT_EQ(Scan("&#32;<a/>"), "\"&#32;\"@0 <a/>@5 end@9 ");
    EXPECT_EQ(Scan("<a/>x"), "<a/>@0 \"x\"@4 end@5 ");
}

#ifdef QX_HAS_EXPAT
// Expat is stricter or as strict: it also compares the names of opening and closing tags.
TEST(XMLScanner, FindsAnErrorWhereExpatDoes)
{
    for (const ErrorCase& entry : kErrors) {
        SCOPED_TRACE(entry.what);
        const bool hasDeclarations = entry.document.find('[') != std::string::npos &&
                                     entry.document.find("<!DOCTYPE") != std::string::npos;
        if (!hasDeclarations) {
            EXPECT_FALSE(ToolsTests::ExpatAccepts(entry.document));
        }
    }
    EXPECT_TRUE(ToolsTests::ExpatAccepts("<!-->--><a/>"));
}
#endif

} // namespace
