// XMLScanner.cpp - tags and texts of an XML document.

#include "Tools/Monitor/XMLScanner.h"

#include <array>
#include <charconv>
#include <utility>

namespace Monitor {
namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";
constexpr std::string_view kCommentStart = "<!--";
constexpr std::string_view kSectionStart = "<![CDATA[";

bool IsNameCharacter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_' || character == '-' ||
           character == '.' || character == ':';
}

void AppendUTF8(std::string& text, unsigned int codePoint)
{
    const auto append = [&text](unsigned int byte) { text.push_back(static_cast<char>(byte)); };
    if (codePoint < 0x80) {
        append(codePoint);
    } else if (codePoint < 0x800) {
        append(0xC0 | codePoint >> 6);
        append(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        append(0xE0 | codePoint >> 12);
        append(0x80 | (codePoint >> 6 & 0x3F));
        append(0x80 | (codePoint & 0x3F));
    } else {
        append(0xF0 | codePoint >> 18);
        append(0x80 | (codePoint >> 12 & 0x3F));
        append(0x80 | (codePoint >> 6 & 0x3F));
        append(0x80 | (codePoint & 0x3F));
    }
}

/// Reads what stands between "&#" and ";". Returns false unless it is a character of Unicode.
bool ReadCharacterReference(std::string_view digits, unsigned int& codePoint)
{
    int base = 10;
    if (!digits.empty() && digits.front() == 'x') {
        base = 16;
        digits.remove_prefix(1);
    }
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, codePoint, base);
    const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return error == std::errc() && stop == end && codePoint != 0 && codePoint <= 0x10FFFF &&
           !isSurrogate;
}

} // namespace

XMLScanner::XMLScanner(std::string_view document)
    : mDocument(document)
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (StartsWith(kByteOrderMark)) {
        mPosition = kByteOrderMark.size();
    }
}

Token XMLScanner::Next()
{
    while (mError.empty() && mPosition < mDocument.size()) {
        if (mDocument[mPosition] != '<' || StartsWith(kSectionStart)) {
            Token text = ScanText();
            if (!mError.empty() || text.text.find_first_not_of(kWhiteSpace) != std::string::npos) {
                return text;
            }
        } else if (StartsWith("<?") || StartsWith("<!")) {
            SkipMarkup();
        } else {
            return ScanTag();
        }
    }
    if (!mError.empty()) {
        return {Token::Kind::kError, mError, mErrorOffset};
    }
    return {Token::Kind::kEnd, {}, mPosition};
}

Token XMLScanner::ScanTag()
{
    const std::size_t start = mPosition;
    const bool isClosing = StartsWith("</");
    std::size_t nameEnd = start + (isClosing ? 2 : 1);
    const std::size_t nameStart = nameEnd;
    while (nameEnd < mDocument.size() && IsNameCharacter(mDocument[nameEnd])) {
        ++nameEnd;
    }
    if (nameEnd == nameStart) {
        return MakeError(start, "'<' begins no tag");
    }
    // A '>' inside an attribute's quotes does not end the tag.
    char quote = 0;
    std::size_t end = nameEnd;
    for (; end < mDocument.size(); ++end) {
        const char character = mDocument[end];
        if (quote != 0) {
            quote = character == quote ? '\0' : quote;
        } else if (character == '"' || character == '\'') {
            quote = character;
        } else if (character == '>' || character == '<') {
            break;
        }
    }
    std::string name(mDocument.substr(nameStart, nameEnd - nameStart));
    if (end == mDocument.size() || mDocument[end] != '>') {
        return MakeError(start, "the tag <" + name + " has no end");
    }
    mPosition = end + 1;
    if (isClosing) {
        return {Token::Kind::kClose, std::move(name), start};
    }
    const bool isEmpty = end > nameEnd && mDocument[end - 1] == '/';
    return {isEmpty ? Token::Kind::kEmpty : Token::Kind::kOpen, std::move(name), start};
}

Token XMLScanner::ScanText()
{
    Token token{Token::Kind::kText, {}, mPosition};
    while (mPosition < mDocument.size()) {
        if (StartsWith(kSectionStart)) {
            const std::size_t begin = mPosition + kSectionStart.size();
            if (!SkipPast("]]>", "the character data section")) {
                return {Token::Kind::kError, mError, mErrorOffset};
            }
            token.text += mDocument.substr(begin, mPosition - 3 - begin);
        } else if (StartsWith(kCommentStart)) {
            if (!SkipMarkup()) {
                return {Token::Kind::kError, mError, mErrorOffset};
            }
        } else if (mDocument[mPosition] == '<') {
            break;
        } else if (mDocument[mPosition] == '&') {
            if (!AppendEntity(token.text)) {
                return {Token::Kind::kError, mError, mErrorOffset};
            }
        } else {
            token.text.push_back(mDocument[mPosition++]);
        }
    }
    return token;
}

bool XMLScanner::SkipMarkup()
{
    if (StartsWith(kCommentStart)) {
        return SkipPast("-->", "the comment");
    }
    if (StartsWith("<?")) {
        return SkipPast("?>", "the processing instruction");
    }
    if (StartsWith("<!DOCTYPE")) {
        return SkipDocumentType();
    }
    MakeError(mPosition, "'<!' begins neither a comment nor a document type");
    return false;
}

bool XMLScanner::SkipPast(std::string_view end, const char* what)
{
    const std::size_t found = mDocument.find(end, mPosition + 2);
    if (found == std::string_view::npos) {
        MakeError(mPosition, std::string(what) + " has no end");
        return false;
    }
    mPosition = found + end.size();
    return true;
}

bool XMLScanner::SkipDocumentType()
{
    char quote = 0;
    int depth = 0;
    for (std::size_t position = mPosition; position < mDocument.size(); ++position) {
        const char character = mDocument[position];
        if (quote != 0) {
            quote = character == quote ? '\0' : quote;
        } else if (character == '"' || character == '\'') {
            quote = character;
        } else if (character == '<' || character == '[') {
            ++depth;
        } else if (character == ']') {
            --depth;
        } else if (character == '>' && --depth <= 0) {
            mPosition = position + 1;
            return true;
        }
    }
    MakeError(mPosition, "the document type has no end");
    return false;
}

bool XMLScanner::AppendEntity(std::string& text)
{
    static constexpr std::array<std::pair<std::string_view, char>, 5> kEntities = {
        {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}}};
    constexpr std::size_t kLongestReference = 10;
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
        unsigned int codePoint = 0;
        if (name.starts_with('#') && ReadCharacterReference(name.substr(1), codePoint)) {
            AppendUTF8(text, codePoint);
            mPosition += name.size() + 2;
            return true;
        }
    }
    MakeError(mPosition, "'&' begins no character reference");
    return false;
}

bool XMLScanner::StartsWith(std::string_view prefix) const
{
    return mDocument.substr(mPosition).starts_with(prefix);
}

Token XMLScanner::MakeError(std::size_t offset, std::string text)
{
    mError = std::move(text);
    mErrorOffset = offset;
    return {Token::Kind::kError, mError, mErrorOffset};
}

} // namespace Monitor
