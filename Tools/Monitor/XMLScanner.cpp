// XMLScanner.cpp - tags and texts of an XML document.

#include "Tools/Monitor/XMLScanner.h"

#include "Tools/Monitor/XMLCharacters.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace Monitor {
namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";
constexpr std::string_view kCommentStart = "<!--";
constexpr std::string_view kSectionStart = "<![CDATA[";
constexpr std::string_view kSectionEnd = "]]>";
/// Far more than a property list has; each is compared with those before it.
constexpr std::size_t kMostAttributes = 16;

bool IsLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool BeginsName(char character)
{
    return IsLetter(character) || character == '_' || character == ':';
}

bool IsNameCharacter(char character)
{
    return BeginsName(character) || (character >= '0' && character <= '9') || character == '-' ||
           character == '.';
}

bool EqualsIgnoringCase(std::string_view text, std::string_view lowerCase)
{
    return std::equal(text.begin(), text.end(), lowerCase.begin(), lowerCase.end(),
                      [](char left, char right) {
                          return (left >= 'A' && left <= 'Z' ? left + ('a' - 'A') : left) == right;
                      });
}

/// Reads what is between "&#" and ";". Returns false unless it is a character of XML.
bool ReadCharacterReference(std::string_view digits, char32_t& codePoint)
{
    int base = 10;
    if (!digits.empty() && digits.front() == 'x') {
        base = 16;
        digits.remove_prefix(1);
    }
    unsigned int number = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, base);
    codePoint = number;
    return error == std::errc() && stop == end && IsXMLCharacter(codePoint);
}

} // namespace

XMLScanner::XMLScanner(std::string_view document)
    : mDocument(document)
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    Take(kByteOrderMark);
    mStart = mPosition;
    const std::size_t forbidden = FindForbiddenCharacter(document);
    if (forbidden != std::string_view::npos) {
        Fail(forbidden, "a byte that is not UTF-8, or a character that XML does not allow");
    }
}

Token XMLScanner::Next()
{
    while (mError.empty() && !IsAtEnd()) {
        if (mDocument[mPosition] != '<' || StartsWith(kSectionStart)) {
            const Token token = ScanText();
            if (token.kind == Token::Kind::kError ||
                token.text.find_first_not_of(kWhiteSpace) != std::string_view::npos) {
                return token;
            }
        } else if (StartsWith("<?") || StartsWith("<!")) {
            SkipMarkup();
        } else {
            return ScanTag();
        }
    }
    return mError.empty() ? Token{Token::Kind::kEnd, {}, mPosition} : MakeError();
}

Token XMLScanner::ScanTag()
{
    const std::size_t start = mPosition;
    const bool isClosing = Take("</");
    if (!isClosing) {
        Take("<");
    }
    const std::string_view name = TakeName();
    if (name.empty()) {
        Fail(start, "'<' begins no tag");
        return MakeError();
    }
    std::vector<Attribute> attributes;
    const bool hasAttributes = ReadAttributes(attributes);
    const bool isEmpty = hasAttributes && !isClosing && Take("/");
    if (!hasAttributes || (isClosing && !attributes.empty()) || !Take(">")) {
        const bool hasNoEnd = IsAtEnd() || mDocument[mPosition] == '<';
        Fail(start, "the tag <" + std::string(name) + (hasNoEnd ? " has no end" : " is malformed"));
        return MakeError();
    }
    mHasTopElement = true;
    if (isClosing) {
        mDepth -= mDepth > 0 ? 1 : 0;
        return {Token::Kind::kClose, name, start};
    }
    mDepth += isEmpty ? 0 : 1;
    return {isEmpty ? Token::Kind::kEmpty : Token::Kind::kOpen, name, start};
}

Token XMLScanner::ScanText()
{
    const std::size_t start = mPosition;
    std::string_view text;
    if (ScanRawText(text)) {
        return {Token::Kind::kText, text, start};
    }
    mPosition = start;
    if (!JoinText()) {
        return MakeError();
    }
    return {Token::Kind::kText, mText, start};
}

// Most texts have no references, and need no copy.
bool XMLScanner::ScanRawText(std::string_view& text)
{
    const std::size_t start = mPosition;
    // Outside the top element there are no references; anything but white space is an error there.
    const std::size_t end = mDocument.find_first_of(mDepth > 0 ? "<&\r" : "<", start);
    mPosition = std::min(end, mDocument.size());
    text = mDocument.substr(start, mPosition - start);
    const bool isWhole =
        IsAtEnd() || (mDocument[mPosition] == '<' && !StartsWith("<!") && !StartsWith("<?"));
    return mDepth == 0 ? !text.empty() : isWhole && text.find(kSectionEnd) == text.npos;
}

/// Puts a text together from characters, references and sections, without the comments in it.
bool XMLScanner::JoinText()
{
    mText.clear();
    while (!IsAtEnd()) {
        const std::size_t start = mPosition;
        if (StartsWith(kSectionStart)) {
            const std::size_t begin = mPosition + kSectionStart.size();
            const std::size_t end = mDocument.find(kSectionEnd, begin);
            if (mDepth == 0) {
                return Fail(start, "a character data section outside the top element");
            }
            if (end == std::string_view::npos) {
                return Fail(start, "the character data section has no end");
            }
            AppendText(mDocument.substr(begin, end - begin));
            mPosition = end + kSectionEnd.size();
        } else if (StartsWith("<!") || StartsWith("<?")) {
            if (!SkipMarkup()) {
                return false;
            }
        } else if (mDocument[mPosition] == '<') {
            break;
        } else if (mDocument[mPosition] == '&') {
            if (!AppendReference(mText)) {
                return false;
            }
        } else {
            const std::size_t end =
                std::min(mDocument.find_first_of("<&", start), mDocument.size());
            const std::string_view run = mDocument.substr(start, end - start);
            if (const std::size_t found = run.find(kSectionEnd); found != run.npos) {
                return Fail(start + found, "\"]]>\" ends no character data section");
            }
            AppendText(run);
            mPosition = end;
        }
    }
    return true;
}

bool XMLScanner::SkipMarkup()
{
    if (StartsWith(kCommentStart)) {
        return SkipComment();
    }
    if (StartsWith("<?")) {
        return SkipInstruction();
    }
    if (StartsWith("<!DOCTYPE")) {
        return SkipDocumentType();
    }
    return Fail(mPosition, "'<!' begins neither a comment nor a document type");
}

bool XMLScanner::SkipComment()
{
    const std::size_t start = mPosition;
    const std::size_t end = mDocument.find("--", start + kCommentStart.size());
    if (end == std::string_view::npos) {
        return Fail(start, "the comment has no end");
    }
    mPosition = end;
    return Take("-->") || Fail(start, "the comment contains \"--\"");
}

bool XMLScanner::SkipInstruction()
{
    const std::size_t start = mPosition;
    const std::size_t end = mDocument.find("?>", start + 2);
    if (end == std::string_view::npos) {
        return Fail(start, "the processing instruction has no end");
    }
    mPosition += 2;
    const std::string_view target = TakeName();
    if (EqualsIgnoringCase(target, "xml")) {
        return ReadDeclaration(start);
    }
    if (target.empty() || (mPosition != end && !TakeWhiteSpace())) {
        return Fail(start, "the processing instruction has no name");
    }
    mPosition = end + 2;
    return true;
}

/// Reads the rest of <?xml ...?>, of which the name has been read.
bool XMLScanner::ReadDeclaration(std::size_t start)
{
    if (start != mStart) {
        return Fail(start, "<?xml ...?> is allowed at the document's start only");
    }
    std::vector<Attribute> attributes;
    const bool isRead = mDocument.substr(start, 5) == "<?xml" && ReadAttributes(attributes) &&
                        Take("?>") && !attributes.empty() && attributes[0].name == "version" &&
                        attributes[0].value == "1.0";
    std::size_t next = 1;
    if (isRead && next < attributes.size() && attributes[next].name == "encoding") {
        if (!EqualsIgnoringCase(attributes[next].value, "utf-8")) {
            return Fail(start, "the declared encoding is not UTF-8");
        }
        ++next;
    }
    if (isRead && next < attributes.size() && attributes[next].name == "standalone" &&
        (attributes[next].value == "yes" || attributes[next].value == "no")) {
        ++next;
    }
    return (isRead && next == attributes.size()) || Fail(start, "<?xml ...?> is malformed");
}

bool XMLScanner::SkipDocumentType()
{
    const std::size_t start = mPosition;
    if (mHasTopElement || mHasDocumentType) {
        return Fail(start, "a document type is allowed once, before the top element");
    }
    mHasDocumentType = true;
    Take("<!DOCTYPE");
    if (TakeWhiteSpace() && !TakeName().empty() && SkipExternalID()) {
        TakeWhiteSpace();
        if (StartsWith("[")) {
            return Fail(mPosition, "a document type with declarations of its own is not read");
        }
        if (Take(">")) {
            return true;
        }
    }
    return Fail(start,
                IsAtEnd() ? "the document type has no end" : "the document type is malformed");
}

/// Passes over PUBLIC "..." "..." or SYSTEM "...", if one of them is there.
bool XMLScanner::SkipExternalID()
{
    constexpr std::string_view kPublicCharacters = " \r\n-'()+,./:=?;!*#@$_%";
    const std::size_t before = mPosition;
    std::string_view literal;
    const bool hasSpace = TakeWhiteSpace();
    if (Take("SYSTEM")) {
        return hasSpace && TakeWhiteSpace() && ReadLiteral(literal);
    }
    if (!Take("PUBLIC")) {
        mPosition = before;
        return true;
    }
    if (!hasSpace || !TakeWhiteSpace() || !ReadLiteral(literal)) {
        return false;
    }
    const bool isPublic = std::all_of(literal.begin(), literal.end(), [=](char character) {
        return IsLetter(character) || (character >= '0' && character <= '9') ||
               kPublicCharacters.find(character) != kPublicCharacters.npos;
    });
    return isPublic && TakeWhiteSpace() && ReadLiteral(literal);
}

/// Reads name="value" as often as it is there, and the white space after it.
bool XMLScanner::ReadAttributes(std::vector<Attribute>& attributes)
{
    while (TakeWhiteSpace() && !IsAtEnd() && BeginsName(mDocument[mPosition])) {
        Attribute attribute;
        if (!ReadAttribute(attribute)) {
            return false;
        }
        const bool isRepeated = std::any_of(
            attributes.begin(), attributes.end(),
            [&attribute](const Attribute& earlier) { return earlier.name == attribute.name; });
        if (isRepeated || attributes.size() == kMostAttributes) {
            return false;
        }
        attributes.push_back(attribute);
    }
    return true;
}

bool XMLScanner::ReadAttribute(Attribute& attribute)
{
    attribute.name = TakeName();
    TakeWhiteSpace();
    if (!Take("=")) {
        return false;
    }
    TakeWhiteSpace();
    if (!ReadLiteral(attribute.value) || attribute.value.find('<') != attribute.value.npos) {
        return false;
    }
    // References are checked as in a text, and not resolved.
    const std::size_t end = mPosition;
    const auto start = static_cast<std::size_t>(attribute.value.data() - mDocument.data());
    std::string resolved;
    for (std::size_t found = 0;
         (found = attribute.value.find('&', found)) != std::string_view::npos; ++found) {
        mPosition = start + found;
        if (!AppendReference(resolved)) {
            return false;
        }
    }
    mPosition = end;
    return true;
}

bool XMLScanner::ReadLiteral(std::string_view& literal)
{
    if (!StartsWith("\"") && !StartsWith("'")) {
        return false;
    }
    const std::size_t start = mPosition + 1;
    const std::size_t end = mDocument.find(mDocument[mPosition], start);
    mPosition = std::min(end, mDocument.size() - 1) + 1;
    literal = mDocument.substr(start, end - start);
    return end != std::string_view::npos;
}

bool XMLScanner::AppendReference(std::string& text)
{
    static constexpr std::array<std::pair<std::string_view, char>, 5> kEntities = {
        {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}}};
    constexpr std::size_t kLongestReference = 16;
    const std::string_view rest = mDocument.substr(mPosition + 1, kLongestReference);
    const std::string_view name = rest.substr(0, rest.find(';'));
    if (name.size() < rest.size()) {
        for (const auto& [entity, character] : kEntities) {
            if (name == entity) {
                text.push_back(character);
                mPosition += name.size() + 2;
                return true;
            }
        }
        char32_t codePoint = 0;
        if (name.starts_with('#') && ReadCharacterReference(name.substr(1), codePoint)) {
            AppendUTF8(text, codePoint);
            mPosition += name.size() + 2;
            return true;
        }
    }
    return Fail(mPosition, "'&' begins no character reference");
}

// Each of the three line ends is read as a line feed.
void XMLScanner::AppendText(std::string_view text)
{
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = std::min(text.find('\r', start), text.size());
        mText += text.substr(start, end - start);
        if (end < text.size()) {
            mText.push_back('\n');
        }
        start = end + (text.substr(end, 2) == "\r\n" ? 2 : 1);
    }
}

bool XMLScanner::TakeWhiteSpace()
{
    const std::size_t start = mPosition;
    mPosition = std::min(mDocument.find_first_not_of(kWhiteSpace, start), mDocument.size());
    return mPosition > start;
}

std::string_view XMLScanner::TakeName()
{
    const std::size_t start = mPosition;
    if (!IsAtEnd() && BeginsName(mDocument[mPosition])) {
        while (!IsAtEnd() && IsNameCharacter(mDocument[mPosition])) {
            ++mPosition;
        }
    }
    return mDocument.substr(start, mPosition - start);
}

bool XMLScanner::Take(std::string_view text)
{
    const bool isThere = StartsWith(text);
    mPosition += isThere ? text.size() : 0;
    return isThere;
}

bool XMLScanner::StartsWith(std::string_view prefix) const
{
    return mDocument.substr(mPosition).starts_with(prefix);
}

bool XMLScanner::Fail(std::size_t offset, std::string text)
{
    // The first error is the one that counts.
    if (mError.empty()) {
        mError = std::move(text);
        mErrorOffset = offset;
    }
    return false;
}

} // namespace Monitor
