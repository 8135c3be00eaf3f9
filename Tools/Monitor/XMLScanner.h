// XMLScanner.h - steps through the tags and texts of an XML document, with their offsets.
//
//     XMLScanner scanner("<a>x</a>");
//     scanner.Next(); // {kOpen, "a", 0}, then {kText, "x", 3}, {kClose, "a", 4}, {kEnd, "", 8}
//
// Comments, processing instructions and the document type are checked and passed over. A document
// is UTF-8; one that declares entities or elements of its own is refused. There is no recursion, so
// any input ends in time proportional to its length.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Monitor {

struct Token
{
    enum class Kind
    {
        kOpen,  ///< <name ...>
        kClose, ///< </name>
        kEmpty, ///< <name ... />
        kText,  ///< characters between tags, references resolved; never only white space
        kEnd,   ///< the document's end
        kError  ///< `text` says what is wrong; every later token is the same
    };

    Kind kind = Kind::kEnd;
    std::string_view
        text; ///< the tag's name, the text or the error; a text lasts until the next one
    std::size_t offset = 0;
};

class XMLScanner
{
public:
    /// The document's bytes must outlive the scanner and its tokens.
    explicit XMLScanner(std::string_view document);

    /// Returns the next tag or text. Adjacent characters and character data sections are one text.
    Token Next();

    /// Where the tag that was returned last ends.
    std::size_t GetPosition() const { return mPosition; }

private:
    struct Attribute
    {
        std::string_view name;
        std::string_view value;
    };

    Token ScanTag();
    Token ScanText();
    bool ScanRawText(std::string_view& text);
    bool JoinText();
    bool SkipMarkup();
    bool SkipComment();
    bool SkipInstruction();
    bool SkipDocumentType();
    bool SkipExternalID();
    bool ReadDeclaration(std::size_t start);
    bool ReadAttributes(std::vector<Attribute>& attributes);
    bool ReadAttribute(Attribute& attribute);
    bool ReadLiteral(std::string_view& literal);
    bool AppendReference(std::string& text);
    void AppendText(std::string_view text);
    bool TakeWhiteSpace();
    std::string_view TakeName();
    bool Take(std::string_view text);
    bool StartsWith(std::string_view prefix) const;
    bool IsAtEnd() const { return mPosition == mDocument.size(); }
    bool Fail(std::size_t offset, std::string text);
    Token MakeError() const { return {Token::Kind::kError, mError, mErrorOffset}; }

    std::string_view mDocument;
    std::size_t mPosition = 0;
    std::size_t mStart = 0; ///< after the byte order mark
    std::size_t mDepth = 0; ///< open tags
    bool mHasDocumentType = false;
    bool mHasTopElement = false;
    std::string mText; ///< of a text with references or sections, put together
    std::size_t mErrorOffset = 0;
    std::string mError; ///< empty as long as all is well
};

} // namespace Monitor
