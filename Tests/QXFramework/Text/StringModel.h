// StringModel.h - strings edited beside std::string, step by step, from a sequence of bytes.
//
// Each step edits one of a few strings, which share buffers, and the same text in the model. After
// it all of them have the model's text, lock state and buffer size.
#pragma once

#include <QX/String.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <sstream>
#include <string>

namespace QX {

class StringModel
{
public:
    explicit StringModel(std::span<const unsigned char> bytes)
        : mBytes(bytes)
    {}

    /// Runs all steps and returns "", or what was wrong after which step.
    std::string Run()
    {
        for (int step = 0; !mBytes.empty(); ++step) {
            const unsigned operation = Next() % 17;
            Entry& entry = mEntries[Next() % mEntries.size()];
            Entry& other = mEntries[Next() % mEntries.size()];
            Apply(operation, entry, other);
            if (entry.text.size() > kLongestText) {
                entry.string = String();
                entry.Set("");
            }
            const std::string difference = FindDifference();
            if (!difference.empty()) {
                std::ostringstream message;
                message << "step " << step << ", operation " << operation << ": " << difference;
                return message.str();
            }
        }
        return "";
    }

private:
    /// A text that got longer is emptied: appended to itself, it would double with each step.
    static constexpr std::size_t kLongestText = 4096;

    struct Entry
    {
        String string;
        std::string text;
        std::size_t capacity = 0; ///< of a locked string, else 0

        void Set(const std::string& newText)
        {
            text = capacity != 0 ? newText.substr(0, capacity - 1) : newText;
        }
    };

    unsigned Next()
    {
        if (mBytes.empty()) {
            return 0;
        }
        const unsigned byte = mBytes.front();
        mBytes = mBytes.subspan(1);
        return byte;
    }

    std::string NextText()
    {
        std::string text(Next() % 16, ' ');
        for (char& character : text) {
            character = static_cast<char>(Next() % 255 + 1);
        }
        return text;
    }

    // Mostly a position of the text, sometimes one after it.
    uint32 NextPosition(const Entry& entry)
    {
        return static_cast<uint32>(Next() % (entry.text.size() + 3));
    }

    void Apply(unsigned operation, Entry& entry, Entry& other)
    {
        switch (operation) {
        case 0:
            return Assign(entry);
        case 1:
            entry.string = other.string;
            return &entry == &other ? void() : entry.Set(other.text);
        case 2:
        case 3:
            return Lock(entry);
        case 4:
            entry.string.Release();
            entry.capacity = 0;
            return;
        case 5:
            entry.string += other.string;
            return Append(entry, std::string(other.text));
        case 6:
            return AppendCharacter(entry);
        case 7:
            return Insert(entry, std::string(other.text), &other.string);
        case 8:
            return Insert(entry, NextText(), nullptr);
        case 9:
            return InsertOwnCharacters(entry);
        case 10:
            return Cut(entry, other);
        case 11:
            return Split(entry, other);
        case 12:
            return Replace(entry);
        case 13:
            entry.string = other.string + entry.string;
            return entry.Set(other.text + entry.text);
        case 14:
            return WriteField(entry);
        case 15:
            return AssignOwnCharacters(entry);
        default:
            entry.string = String(other.string);
            return entry.Set(other.text);
        }
    }

    void Assign(Entry& entry)
    {
        const std::string text = NextText();
        const uint32 count = Next() % 20;
        entry.string.Assign(text.c_str(), count);
        entry.Set(entry.capacity != 0 ? text : text.substr(0, count));
    }

    void Lock(Entry& entry)
    {
        const uint32 size = Next() % 40;
        const bool locked = entry.string.Lock(size) != nullptr;
        if (locked) {
            entry.capacity = size != 0 ? size : entry.text.size() + 1;
            entry.Set(entry.text);
        }
    }

    void Append(Entry& entry, const std::string& text)
    {
        if (!text.empty() && entry.capacity != 0) {
            entry.capacity = entry.text.size() + text.size() + 1;
        }
        entry.text += text;
    }

    void AppendCharacter(Entry& entry)
    {
        const char character = static_cast<char>(Next());
        entry.string += character;
        Append(entry, std::string(character != '\0' ? 1 : 0, character));
    }

    void Insert(Entry& entry, const std::string& text, const String* string)
    {
        const uint32 position = NextPosition(entry);
        const uint32 count = Next() % 20;
        const bool refused = position > entry.text.size();
        const int32 result = string != nullptr ? entry.string.Insert(position, *string)
                                               : entry.string.Insert(position, text.c_str(), count);
        mResultDiffers = result != (refused ? kResultOutOfRange : kResultSuccess);
        InsertIntoModel(entry, position, string != nullptr ? text : text.substr(0, count));
    }

    void InsertOwnCharacters(Entry& entry)
    {
        const uint32 position = NextPosition(entry);
        const auto offset = static_cast<std::size_t>(Next() % (entry.text.size() + 1));
        const auto count = static_cast<uint32>(Next() % (entry.text.size() - offset + 1));
        const std::string text = entry.text.substr(offset, count);
        entry.string.Insert(position, entry.string.CStr() + offset, count);
        InsertIntoModel(entry, position, text);
    }

    void InsertIntoModel(Entry& entry, uint32 position, const std::string& text)
    {
        if (position == entry.text.size()) {
            Append(entry, text);
        } else if (position < entry.text.size()) {
            entry.Set(std::string(entry.text).insert(position, text));
        }
    }

    void Cut(Entry& entry, Entry& other)
    {
        const int start = static_cast<int>(Next()) - 128;
        const uint32 count = Next();
        entry.string = other.string.GetSubString(start, count);

        const auto length = static_cast<long>(other.text.size());
        const long first = start < 0 ? start + length : start;
        const long end = std::clamp(first + static_cast<long>(count), 0L, length);
        const long begin = std::clamp(first, 0L, length);
        entry.Set(other.text.substr(static_cast<std::size_t>(begin),
                                    static_cast<std::size_t>(std::max(end - begin, 0L))));
    }

    void Split(Entry& entry, Entry& other)
    {
        const std::string delimiters = NextText();
        const String rest = entry.string.SplitToken(delimiters.c_str());

        // The oracle is the C library's own tokenizer.
        std::string scratch = entry.text + '\0';
        const std::size_t length = entry.text.size();
        char* state = nullptr;
        const char* const token = strtok_r(scratch.data(), delimiters.c_str(), &state);
        const std::size_t used = std::strlen(scratch.c_str());
        const std::string expectedRest = length > used ? scratch.c_str() + used + 1 : "";
        entry.Set(token != nullptr ? token : "");
        other.string = rest;
        other.Set(expectedRest);
    }

    void Replace(Entry& entry)
    {
        const std::string characters = NextText();
        const char with = static_cast<char>(Next());
        entry.string.Replace(characters.c_str(), with);
        std::string text = entry.text;
        for (char& character : text) {
            if (with != '\0' && characters.find(character) != std::string::npos) {
                character = with;
            }
        }
        if (with != '\0') {
            entry.Set(text);
        }
    }

    // The owner of a locked string writes into it, the last element included.
    void WriteField(Entry& entry)
    {
        if (entry.capacity == 0) {
            return;
        }
        const std::string text = NextText().substr(0, entry.capacity);
        char* const field = static_cast<char*>(entry.string.GetBuffer()->GetRawPtr());
        std::memset(field, 0, entry.capacity);
        std::memcpy(field, text.data(), text.size());
        entry.text = text;
    }

    void AssignOwnCharacters(Entry& entry)
    {
        if (entry.text.empty()) {
            return;
        }
        const std::size_t offset = Next() % entry.text.size();
        const uint32 count = Next() % 20;
        entry.string.Assign(entry.string.CStr() + offset, count);
        entry.Set(entry.capacity != 0 ? entry.text.substr(offset)
                                      : entry.text.substr(offset, count));
    }

    std::string FindDifference() const
    {
        if (mResultDiffers) {
            return "the result code differs";
        }
        for (const Entry& entry : mEntries) {
            const std::size_t size = entry.string.GetBuffer()->GetSizeBytes();
            const bool locked = entry.capacity != 0;
            if (entry.string.GetLength() != entry.text.size() || entry.string != entry.text) {
                return "text \"" + std::string(entry.string) + "\", not \"" + entry.text + '"';
            }
            if (entry.string.IsLocked() != locked) {
                return "the lock state differs";
            }
            if (size != (locked ? entry.capacity : entry.text.size() + 1)) {
                return "the buffer has " + std::to_string(size) + " bytes";
            }
        }
        return "";
    }

    std::span<const unsigned char> mBytes;
    std::array<Entry, 4> mEntries;
    bool mResultDiffers = false;
};

} // namespace QX
