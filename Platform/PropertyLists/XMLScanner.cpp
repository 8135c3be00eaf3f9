// XMLScanner.cpp - the tags and the text of a small XML document.

#include "PropertyLists/XMLScanner.h"

#include "Objects/Utf8.h"

#include <algorithm>
#include <charconv>

namespace Standin {

namespace {

bool IsNameCharacter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_' || character == '-' ||
           character == '.' || character == ':';
}

bool IsXMLCharacter(UInt32 codePoint)
{
    return codePoint == 0x9 || codePoint == 0xA || codePoint == 0xD ||
           (codePoint >= 0x20 && codePoint <= 0xD7FF) ||
           (codePoint >= 0xE000 && codePoint <= 0xFFFD) ||
           (codePoint >= 0x10000 && codePoint <= 0x10FFFF);
}

} // namespace

XMLScanner::XMLScanner(std::string_view document)
    : mDocument(document)
    , mRest(document)
{}

std::size_t XMLScanner::GetLine() const
{
    const std::string_view read = mDocument.substr(0, mDocument.size() - mRest.size());
    return 1 + static_cast<std::size_t>(std::count(read.begin(), read.end(), '\n'));
}

void XMLScanner::SkipPast(std::string_view end, const char* what)
{
    const std::size_t place = mRest.find(end);
    if (place == std::string_view::npos) {
        throw XMLError{std::string("the document ends within ") + what};
    }
    mRest.remove_prefix(place + end.size());
}

void XMLScanner::SkipSpace()
{
    while (!mRest.empty() && IsXMLSpace(mRest[0])) {
        mRest.remove_prefix(1);
    }
}

void XMLScanner::SkipMisc()
{
    for (;;) {
        SkipSpace();
        if (StartsWith("<!--")) {
            mRest.remove_prefix(4);
            SkipPast("-->", "a comment");
        } else if (StartsWith("<?")) {
            SkipPast("?>", "a processing instruction");
        } else {
            return;
        }
    }
}

void XMLScanner::SkipDocumentType()
{
    bool inSubset = false;
    while (!mRest.empty()) {
        const char character = mRest[0];
        mRest.remove_prefix(1);
        if (character == '"' || character == '\'') {
            SkipPast({&character, 1}, "the document type");
        } else if (character == '[') {
            inSubset = true;
        } else if (character == ']') {
            inSubset = false;
        } else if (character == '>' && !inSubset) {
            return;
        }
    }
    throw XMLError{"the document ends within the document type"};
}

void XMLScanner::SkipProlog()
{
    if (StartsWith("\xEF\xBB\xBF")) {
        mRest.remove_prefix(3);
    }
    if (!IsUtf8(mRest)) {
        throw XMLError{"the document is not UTF-8 text"};
    }
    SkipMisc();
    if (StartsWith("<!DOCTYPE")) {
        SkipDocumentType();
    }
}

std::string XMLScanner::TakeName()
{
    std::size_t length = 0;
    while (length < mRest.size() && IsNameCharacter(mRest[length])) {
        ++length;
    }
    if (length == 0) {
        throw XMLError{"a tag has no name"};
    }
    std::string name(mRest.substr(0, length));
    mRest.remove_prefix(length);
    return name;
}

void XMLScanner::SkipAttributes()
{
    for (SkipSpace(); !mRest.empty() && IsNameCharacter(mRest[0]); SkipSpace()) {
        const std::string name = TakeName();
        SkipSpace();
        if (!StartsWith("=")) {
            throw XMLError{"an attribute has no value: " + name};
        }
        mRest.remove_prefix(1);
        SkipSpace();
        if (!StartsWith("\"") && !StartsWith("'")) {
            throw XMLError{"the value of an attribute is not in quotes: " + name};
        }
        const char quote = mRest[0];
        mRest.remove_prefix(1);
        SkipPast({&quote, 1}, "an attribute");
    }
}

XMLTag XMLScanner::TakeTag()
{
    SkipMisc();
    if (mRest.empty()) {
        throw XMLError{"the document ends where a tag is expected"};
    }
    if (mRest[0] != '<') {
        throw XMLError{"there is text where a tag is expected"};
    }
    mRest.remove_prefix(1);
    XMLTag tag{XMLTag::kOpening, {}};
    if (StartsWith("/")) {
        mRest.remove_prefix(1);
        tag.mKind = XMLTag::kClosing;
        tag.mName = TakeName();
        SkipSpace();
    } else {
        tag.mName = TakeName();
        SkipAttributes();
        if (StartsWith("/")) {
            mRest.remove_prefix(1);
            tag.mKind = XMLTag::kEmpty;
        }
    }
    if (!StartsWith(">")) {
        throw XMLError{"a tag has no end: " + tag.mName};
    }
    mRest.remove_prefix(1);
    return tag;
}

void XMLScanner::AppendReference(std::string& text)
{
    const std::size_t end = mRest.substr(0, 12).find(';');
    if (end == std::string_view::npos) {
        throw XMLError{"a character reference has no end"};
    }
    const std::string_view name = mRest.substr(1, end - 1);
    UInt32 codePoint = 0;
    if (name == "lt" || name == "gt" || name == "amp" || name == "quot" || name == "apos") {
        codePoint = name == "lt"     ? '<'
                    : name == "gt"   ? '>'
                    : name == "amp"  ? '&'
                    : name == "quot" ? '"'
                                     : '\'';
    } else {
        const bool isHex = name.substr(0, 2) == "#x";
        const std::string_view digits = name.substr(isHex ? 2 : std::min<std::size_t>(1, end - 1));
        const auto [last, error] = std::from_chars(digits.data(), digits.data() + digits.size(),
                                                   codePoint, isHex ? 16 : 10);
        if (name.substr(0, 1) != "#" || error != std::errc() ||
            last != digits.data() + digits.size() || !IsXMLCharacter(codePoint)) {
            throw XMLError{"a character reference is unknown"};
        }
    }
    AppendUtf8(text, codePoint);
    mRest.remove_prefix(end + 1);
}

std::string XMLScanner::TakeTextUntilEnd(std::string_view name)
{
    std::string text;
    for (;;) {
        const std::size_t plain = std::min(mRest.find_first_of("<&"), mRest.size());
        text += mRest.substr(0, plain);
        mRest.remove_prefix(plain);
        if (mRest.empty()) {
            throw XMLError{"the document ends within an element: " + std::string(name)};
        }
        if (mRest[0] == '&') {
            AppendReference(text);
        } else if (StartsWith("<!--")) {
            mRest.remove_prefix(4);
            SkipPast("-->", "a comment");
        } else if (StartsWith("<![CDATA[")) {
            const std::string_view section = mRest.substr(9);
            SkipPast("]]>", "a CDATA section");
            text += section.substr(0, section.size() - mRest.size() - 3);
        } else {
            const XMLTag tag = TakeTag();
            if (tag.mKind != XMLTag::kClosing || tag.mName != name) {
                throw XMLError{"an element within another that holds text: " + tag.mName};
            }
            return text;
        }
    }
}

void XMLScanner::ExpectEnd()
{
    SkipMisc();
    if (!mRest.empty()) {
        throw XMLError{"unexpected text after the end of the property list"};
    }
}

} // namespace Standin
