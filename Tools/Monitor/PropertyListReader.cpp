// PropertyListReader.cpp - the grammar of property lists over the tokens of XMLScanner.

#include "Tools/Monitor/PropertyListReader.h"

#include "Tools/Common/Text.h"
#include "Tools/Monitor/XMLScanner.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace Monitor {
namespace {

using Kind = Token::Kind;

/// The tags of a property list, containers first.
constexpr std::string_view kTags[] = {"dict",   "array", "key",  "integer", "data",
                                      "string", "real",  "date", "true",    "false"};

bool IsContainer(std::string_view tag)
{
    return tag == "dict" || tag == "array";
}

/// Returns the tag's place in kTags, or nothing.
std::optional<unsigned char> FindTag(std::string_view tag)
{
    const auto found = std::find(std::begin(kTags), std::end(kTags), tag);
    if (found == std::end(kTags)) {
        return std::nullopt;
    }
    return static_cast<unsigned char>(found - std::begin(kTags));
}

bool IsValueTag(std::string_view tag)
{
    return tag != "key" && FindTag(tag).has_value();
}

/// Quotes a key in a finding, without the rest of a long one.
std::string Quote(std::string_view key)
{
    return '"' + Tools::Shorten(key) + '"';
}

std::string Describe(const Token& token)
{
    const std::string text(token.text);
    switch (token.kind) {
    case Kind::kOpen:
        return "<" + text + ">";
    case Kind::kEmpty:
        return "<" + text + "/>";
    case Kind::kClose:
        return "</" + text + ">";
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
    if (character >= 'A' && character <= 'Z') {
        return character - 'A';
    }
    if (character >= 'a' && character <= 'z') {
        return character - 'a' + 26;
    }
    if (character >= '0' && character <= '9') {
        return character - '0' + 52;
    }
    return character == '+' ? 62 : character == '/' ? 63 : -1;
}

/// Decodes base64 with white space anywhere. Returns nothing, and the reason, if it is not that.
std::optional<Bytes> ReadBase64(std::string_view text, std::string& problem)
{
    Bytes bytes;
    bytes.reserve(text.size() / 4 * 3);
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
            problem = "there is base64 after its padding";
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
        problem = "its length is not a multiple of four base64 characters";
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
    bool ReadKey(std::string& key);
    bool SkipContainer();
    void InterpretScalar(Entry& entry, std::string_view text, std::size_t textOffset);

    void Advance()
    {
        mEnd = mScanner.GetPosition();
        mToken = mScanner.Next();
    }
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
    std::size_t mEnd = 0; ///< of the token before
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
            Report(mToken.offset, "wrong type: the top value is <" + std::string(mToken.text) +
                                      ">, not a dictionary");
        } else {
            Refuse("a <dict>");
        }
        return list;
    }
    Advance();
    if (!isEmptyDictionary && !ReadEntries(list)) {
        return list;
    }
    list.size = mEnd - list.offset;
    if (!Expect(Kind::kClose, "plist", "</plist> after the dictionary")) {
        return list;
    }
    list.isDictionary = true;
    if (mToken.kind != Kind::kEnd) {
        if (mToken.kind == Kind::kError) {
            Refuse("");
        } else {
            Report(mToken.offset, "unexpected " + Describe(mToken) + " after </plist>");
        }
    }
    return list;
}

bool Reader::ReadEntries(PropertyList& list)
{
    while (!Is(Kind::kClose, "dict")) {
        Entry entry;
        entry.keyOffset = mToken.offset;
        if (Is(Kind::kEmpty, "key")) {
            Advance();
        } else if (!Expect(Kind::kOpen, "key", "a <key> or </dict>") || !ReadKey(entry.key)) {
            return false;
        }
        entry.keySize = mEnd - entry.keyOffset;
        if (!ReadValue(entry)) {
            return false;
        }
        entry.valueSize = mEnd - entry.valueOffset;
        if (list.entries.size() == PropertyList::kMostEntries) {
            Report(entry.keyOffset, "the dictionary has more than 64 keys");
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
        return Refuse("a value for the key " + Quote(entry.key));
    }
    entry.kind = mToken.text;
    entry.valueOffset = mToken.offset;
    if (isOpen && IsContainer(entry.kind)) {
        return SkipContainer();
    }
    Advance();
    const std::size_t textOffset = mToken.offset;
    std::string_view text;
    if (isOpen) {
        if (mToken.kind == Kind::kText) {
            text = mToken.text;
            Advance();
        }
        if (!Is(Kind::kClose, entry.kind)) {
            return Refuse("</" + entry.kind + ">");
        }
    }
    InterpretScalar(entry, text, textOffset);
    if (isOpen) {
        Advance();
    }
    return true;
}

bool Reader::ReadKey(std::string& key)
{
    if (mToken.kind == Kind::kText) {
        key = mToken.text;
        Advance();
    }
    return Expect(Kind::kClose, "key", "</key>");
}

bool Reader::SkipContainer()
{
    // One byte for each open tag: a document may be nothing but open tags.
    std::vector<unsigned char> open;
    do {
        if (mToken.kind == Kind::kOpen) {
            const std::optional<unsigned char> tag = FindTag(mToken.text);
            if (!tag) {
                return Refuse("a value");
            }
            open.push_back(*tag);
        } else if (mToken.kind == Kind::kClose || mToken.kind == Kind::kEnd ||
                   mToken.kind == Kind::kError) {
            const std::string_view name = kTags[open.back()];
            if (!Is(Kind::kClose, name)) {
                return Refuse("</" + std::string(name) + ">");
            }
            open.pop_back();
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
            Report(textOffset, "<integer> of the key " + Quote(entry.key) +
                                   " holds no decimal number of 64 bits");
        }
    } else if (entry.kind == "data") {
        std::string problem;
        entry.data = ReadBase64(text, problem);
        if (!entry.data) {
            Report(textOffset, "<data> of the key " + Quote(entry.key) + ": " + problem);
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
        Report(mToken.offset, std::string(mToken.text));
    } else {
        Report(mToken.offset, wanted + " is expected, but " + Describe(mToken) + " is there");
    }
    return false;
}

} // namespace

Entry* PropertyList::Find(std::string_view key)
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
