// XMLScanner.h - steps through the tags and texts of an XML document, with their offsets.
//
//     XMLScanner scanner("<a>x</a>");
//     scanner.Next(); // {kOpen, "a", 0}, then {kText, "x", 3}, {kClose, "a", 4}, {kEnd, "", 8}
//
// Comments, processing instructions and the document type are passed over. There is no recursion
// and no copy but of texts, so any input ends in time proportional to its length.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Monitor {

struct Token
{
    enum class Kind
    {
        kOpen,  ///< <name ...>
        kClose, ///< </name>
        kEmpty, ///< <name ... />
        kText,  ///< characters between tags, entities resolved; never only white space
        kEnd,   ///< the document's end
        kError  ///< `text` says what is wrong; every later token is the same
    };

    Kind kind = Kind::kEnd;
    std::string text; ///< the tag's name, the text or the error
    std::size_t offset = 0;
};

class XMLScanner
{
public:
    /// The document's bytes must outlive the scanner.
    explicit XMLScanner(std::string_view document);

    /// Returns the next tag or text. Adjacent characters and character data sections are one text.
    Token Next();

private:
    Token ScanTag();
    Token ScanText();
    bool SkipMarkup();
    bool SkipPast(std::string_view end, const char* what);
    bool SkipDocumentType();
    bool AppendEntity(std::string& text);
    bool StartsWith(std::string_view prefix) const;
    Token MakeError(std::size_t offset, std::string text);

    std::string_view mDocument;
    std::size_t mPosition = 0;
    std::size_t mErrorOffset = 0;
    std::string mError; ///< empty as long as all is well
};

} // namespace Monitor
