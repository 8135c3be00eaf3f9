// PropertyListReader.cpp - the grammar of property lists over the tokens of XMLScanner.

#include "Tools/Monitor/PropertyListReader.h"

#include "Tools/Monitor/XMLScanner.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace Monitor {
namespace {

using Kind = Token::Kind;

bool IsContainer(std::string_view tag)
{
    return tag == "dict" || tag == "array";
}

bool IsValueTag(std::string_view tag)
{
    constexpr std::string_view kScalars[] = {"integer", "data", "string", "real",
                                             "date",    "true", "false"};
    return IsContainer(tag) ||
           std::find(std::begin(kScalars), std::end(kScalars), tag) != std::end(kScalars);
}

std::string Describe(const Token& token)
{
    switch (token.kind) {
    case Kind::kOpen:
        return "<" + token.text + ">";
    case Kind::kEmpty:
        return "<" + token.text + "/>";
    case Kind::kClose:
        return "</" + token.text + ">";
    case Kind::kText:
        return "text";
    case Kind::kEnd:
    case Kind::kError:
        break;
    }
    return "the end";
}

std::optional<SInt64> ReadInteger(std::string_view text)
{
    constexpr std::string_view kWhiteSpace = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    if (first == std::string_view::npos) {
        return std::nullopt;
    }
    text = text.substr(first, text.find_last_not_of(kWhiteSpace) + 1 - first);
    if (text.front() == '+' && text.size() > 1 && text[1] != '-') {
        text.remove_prefix(1);
    }
    SInt64 value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return value;
}

int ReadBase64Digit(char character)
{
    constexpr std::string_view kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t digit = kAlphabet.find(character);
    return digit == std::string_view::npos ? -1 : static_cast<int>(digit);
}

/// Decodes base64 with white space anywhere. Returns nothing, and the reason, if it is not that.
std::optional<Bytes> ReadBase64(std::string_view text, std::string& problem)
{
    Bytes bytes;
    unsigned int group = 0;
    int digits = 0;
    int padding = 0;
    for (const char character : text) {
        if (character == ' ' || character == '\t' || character == '\r' || character == '\n') {
            continue;
        }
        const bool isPadding = character == '=';
        const int digit = isPadding ? 0 : ReadBase64Digit(character);
        if (digit < 0) {
            problem = "a character is not of base64";
            return std::nullopt;
        }
        if (!isPadding && padding > 0) {
            problem = "base64 goes on behind its padding";
            return std::nullopt;
        }
        if (isPadding && padding == 2) {
            problem = "more than two characters of padding";
            return std::nullopt;
        }
        padding += isPadding ? 1 : 0;
        group = group << 6 | static_cast<unsigned int>(digit);
        if (++digits % 4 == 0) {
            for (int index = 0; index < 3 - padding; ++index) {
                bytes.push_back(static_cast<unsigned char>(group >> (16 - 8 * index) & 0xFF));
            }
            group = 0;
        }
    }
    if (digits % 4 != 0) {
        problem = "its length is no multiple of four base64 characters";
        return std::nullopt;
    }
    return bytes;
}

/// One pass over a document; stops at the first token that no property list has there.
class Reader
{
public:
    Reader(std::string_view document, std::vector<Finding>& findings)
        : mScanner(document)
        , mFindings(findings)
    {
        Advance();
    }

    PropertyList Read();

private:
    bool ReadEntries(PropertyList& list);
    bool ReadValue(Entry& entry);
    bool ReadText(std::string_view tag, std::string& text, std::size_t& textOffset);
    bool SkipContainer();
    void InterpretScalar(Entry& entry, std::string_view text, std::size_t textOffset);

    void Advance() { mToken = mScanner.Next(); }
    bool Is(Kind kind, std::string_view tag) const
    {
        return mToken.kind == kind && mToken.text == tag;
    }
    bool Expect(Kind kind, std::string_view tag, const char* wanted);
    bool Refuse(const std::string& wanted);
    void Report(std::size_t offset, std::string text)
    {
        mFindings.push_back({Place::kDocument, offset, std::move(text)});
    }

    XMLScanner mScanner;
    std::vector<Finding>& mFindings;
    Token mToken;
};

PropertyList Reader::Read()
{
    PropertyList list;
    if (mToken.kind == Kind::kEnd) {
        Report(0, "no property list: the document is empty");
        return list;
    }
    if (!Is(Kind::kOpen, "plist")) {
        Refuse("no property list: <plist>");
        return list;
    }
    Advance();
    list.offset = mToken.offset;
    const bool isEmptyDictionary = Is(Kind::kEmpty, "dict");
    if (!isEmptyDictionary && !Is(Kind::kOpen, "dict")) {
        const bool isOtherValue =
            (mToken.kind == Kind::kOpen || mToken.kind == Kind::kEmpty) && IsValueTag(mToken.text);
        if (isOtherValue) {
            Report(mToken.offset,
                   "wrong type: the top value is <" + mToken.text + ">, not a dictionary");
        } else {
            Refuse("a <dict>");
        }
        return list;
    }
    Advance();
    if (!isEmptyDictionary && !ReadEntries(list)) {
        return list;
    }
    if (!Expect(Kind::kClose, "plist", "</plist> behind the dictionary")) {
        return list;
    }
    list.isDictionary = true;
    if (mToken.kind != Kind::kEnd) {
        Refuse("nothing behind </plist>");
    }
    return list;
}

bool Reader::ReadEntries(PropertyList& list)
{
    while (!Is(Kind::kClose, "dict")) {
        Entry entry;
        entry.keyOffset = mToken.offset;
        std::size_t textOffset = 0;
        if (Is(Kind::kEmpty, "key")) {
            Advance();
        } else if (!Expect(Kind::kOpen, "key", "a <key> or </dict>") ||
                   !ReadText("key", entry.key, textOffset)) {
            return false;
        }
        if (!ReadValue(entry)) {
            return false;
        }
        list.entries.push_back(std::move(entry));
    }
    Advance();
    return true;
}

bool Reader::ReadValue(Entry& entry)
{
    const bool isOpen = mToken.kind == Kind::kOpen;
    if ((!isOpen && mToken.kind != Kind::kEmpty) || !IsValueTag(mToken.text)) {
        return Refuse("a value for the key \"" + entry.key + "\"");
    }
    entry.kind = mToken.text;
    entry.valueOffset = mToken.offset;
    if (isOpen && IsContainer(entry.kind)) {
        return SkipContainer();
    }
    Advance();
    std::string text;
    std::size_t textOffset = mToken.offset;
    if (isOpen && !ReadText(entry.kind, text, textOffset)) {
        return false;
    }
    InterpretScalar(entry, text, textOffset);
    return true;
}

bool Reader::ReadText(std::string_view tag, std::string& text, std::size_t& textOffset)
{
    textOffset = mToken.offset;
    if (mToken.kind == Kind::kText) {
        text = std::move(mToken.text);
        Advance();
    }
    return Expect(Kind::kClose, tag, ("</" + std::string(tag) + ">").c_str());
}

bool Reader::SkipContainer()
{
    std::vector<std::string> open;
    do {
        if (mToken.kind == Kind::kOpen) {
            open.push_back(mToken.text);
        } else if (mToken.kind == Kind::kClose) {
            if (mToken.text != open.back()) {
                return Refuse("</" + open.back() + ">");
            }
            open.pop_back();
        } else if (mToken.kind == Kind::kEnd || mToken.kind == Kind::kError) {
            return Refuse("</" + open.back() + ">");
        }
        Advance();
    } while (!open.empty());
    return true;
}

void Reader::InterpretScalar(Entry& entry, std::string_view text, std::size_t textOffset)
{
    if (entry.kind == "integer") {
        entry.integer = ReadInteger(text);
        if (!entry.integer) {
            Report(textOffset,
                   "<integer> of the key \"" + entry.key + "\" holds no decimal number of 64 bits");
        }
    } else if (entry.kind == "data") {
        std::string problem;
        entry.data = ReadBase64(text, problem);
        if (!entry.data) {
            Report(textOffset, "<data> of the key \"" + entry.key + "\": " + problem);
        }
    }
}

bool Reader::Expect(Kind kind, std::string_view tag, const char* wanted)
{
    if (!Is(kind, tag)) {
        return Refuse(wanted);
    }
    Advance();
    return true;
}

bool Reader::Refuse(const std::string& wanted)
{
    if (mToken.kind == Kind::kError) {
        Report(mToken.offset, mToken.text);
    } else {
        Report(mToken.offset, wanted + " is expected, but " + Describe(mToken) + " is there");
    }
    return false;
}

} // namespace

const Entry* PropertyList::Find(std::string_view key) const
{
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [key](const Entry& entry) { return entry.key == key; });
    return found != entries.end() ? &*found : nullptr;
}

PropertyList ReadPropertyList(std::string_view document, std::vector<Finding>& findings)
{
    return Reader(document, findings).Read();
}

} // namespace Monitor
