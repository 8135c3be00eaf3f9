// XMLScanner.h - the tags and the text of a small XML document.
//
// It knows what property lists use: tags with attributes, comments, processing instructions, a
// document type, character data with references, and CDATA sections. Everything else is an error.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <string>
#include <string_view>

namespace Standin {

/// What is wrong with a document. XMLScanner::GetLine tells the line.
struct XMLError
{
    std::string mWhat;
};

struct XMLTag
{
    enum Kind
    {
        kOpening,
        kClosing,
        kEmpty
    };

    Kind mKind;
    std::string mName;
};

inline bool IsXMLSpace(char character)
{
    return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

/// Reads a document from front to back. Every operation throws XMLError on what it cannot read.
class XMLScanner
{
public:
    /// `document` must live as long as the scanner.
    explicit XMLScanner(std::string_view document);

    /// Skips the XML declaration and the document type. Throws: also if the document is not UTF-8.
    void SkipProlog();
    /// Takes the next tag. Nothing but white space and comments may come before it.
    XMLTag TakeTag();
    /// Takes the character data up to the end tag `name`, and the tag.
    std::string TakeTextUntilEnd(std::string_view name);
    /// Nothing but white space and comments may be left.
    void ExpectEnd();

    /// The line of the place that was read last, from 1.
    std::size_t GetLine() const;

private:
    bool StartsWith(std::string_view text) const { return mRest.substr(0, text.size()) == text; }
    void SkipPast(std::string_view end, const char* what);
    void SkipSpace();
    void SkipMisc();
    void SkipDocumentType();
    void SkipAttributes();
    std::string TakeName();
    void AppendReference(std::string& text);

    std::string_view mDocument;
    std::string_view mRest;
};

} // namespace Standin
