// Reader.cpp - one JSON object a line, back into an event.

#include "Tools/Recording/Reader.h"

#include "Tools/Common/Text.h"
#include "Tools/Common/Time.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

namespace Recording {
namespace {

using JSON = nlohmann::ordered_json;
using Tools::FormatText;

/// A message of the most bytes takes a quarter of this.
constexpr std::size_t kLongestLine = std::size_t{1} << 20;

[[noreturn]] void Refuse(const std::string& text)
{
    throw std::runtime_error(text);
}

const JSON& Get(const JSON& object, const char* key)
{
    const auto found = object.find(key);
    if (found == object.end()) {
        Refuse(std::string("there is no \"") + key + "\"");
    }
    return *found;
}

template <class Number>
Number GetNumber(const JSON& object, const char* key)
{
    using Limits = std::numeric_limits<Number>;
    const JSON& value = Get(object, key);
    const bool isTooLarge =
        value.is_number_unsigned() && value.get<UInt64>() > static_cast<UInt64>(Limits::max());
    if (!value.is_number_integer() || isTooLarge ||
        (!value.is_number_unsigned() && value.get<SInt64>() < SInt64{Limits::min()})) {
        Refuse(FormatText("\"%s\" is not a whole number from %lld to %lld", key,
                          static_cast<SInt64>(Limits::min()), static_cast<SInt64>(Limits::max())));
    }
    return static_cast<Number>(value.get<SInt64>());
}

template <class Number>
Number GetNumber(const JSON& object, const char* key, Number otherwise)
{
    return object.contains(key) ? GetNumber<Number>(object, key) : otherwise;
}

bool GetTruth(const JSON& object, const char* key)
{
    const JSON& value = Get(object, key);
    if (!value.is_boolean()) {
        Refuse(std::string("\"") + key + "\" is neither true nor false");
    }
    return value.get<bool>();
}

bool GetTruth(const JSON& object, const char* key, bool otherwise)
{
    return object.contains(key) ? GetTruth(object, key) : otherwise;
}

std::string GetText(const JSON& object, const char* key)
{
    const JSON& value = Get(object, key);
    if (!value.is_string()) {
        Refuse(std::string("\"") + key + "\" is not a text");
    }
    return value.get<std::string>();
}

std::string GetText(const JSON& object, const char* key, const std::string& otherwise)
{
    return object.contains(key) ? GetText(object, key) : otherwise;
}

unsigned char ReadDigit(char digit)
{
    if (digit >= '0' && digit <= '9') {
        return static_cast<unsigned char>(digit - '0');
    }
    if (digit >= 'A' && digit <= 'F') {
        return static_cast<unsigned char>(digit - 'A' + 10);
    }
    Refuse("\"data\" has a character that is no hexadecimal digit");
}

void ReadData(const std::string& text, Event& event)
{
    if (text.size() % 2 != 0) {
        Refuse("\"data\" ends with half a byte");
    }
    event.data.reserve(text.size() / 2);
    for (std::size_t index = 0; index < text.size(); index += 2) {
        event.data.push_back(
            static_cast<unsigned char>(ReadDigit(text[index]) << 4 | ReadDigit(text[index + 1])));
    }
    event.dataSize = static_cast<UInt32>(event.data.size());
}

Action FindAction(const std::string& entryPoint)
{
    for (const Action action :
         {Action::kOpen, Action::kClose, Action::kInfo, Action::kGet, Action::kSet,
          Action::kStreamInfo, Action::kStreamGet, Action::kStreamSet}) {
        if (entryPoint == GetEntryPointName(action)) {
            return action;
        }
    }
    Refuse("there is no entry point \"" + Tools::Shorten(entryPoint) + "\"");
}

void ReadCall(const JSON& object, Event& event)
{
    event.action = FindAction(GetText(object, "entryPoint"));
    event.device = GetNumber<UInt32>(object, "device");
    event.channel = GetNumber<UInt32>(object, "channel", 0);
    event.isInput = GetTruth(object, "input", true) ? 1 : 0;
    event.selector = GetNumber<UInt32>(object, "selector", 0);
    event.size = GetNumber<UInt32>(object, "size", 0);
    event.isSizeNull = !GetTruth(object, "sizePointer", true);
    event.isWritableNull = !GetTruth(object, "writablePointer", true);
    event.isDataNull = !GetTruth(object, "dataPointer", true);
    event.isDone = GetTruth(object, "returned");
    event.isThrown = object.contains("exception");
    event.thrown = GetText(object, "exception", "");
    event.status = GetNumber<SInt32>(object, "status", 0);
    event.outSize = GetNumber<UInt32>(object, "outSize", 0);
    event.outWritable = GetNumber<Boolean>(object, "outWritable", 0);
    ReadData(GetText(object, "data", ""), event);
}

void ReadMessage(const JSON& object, Event& event)
{
    event.isMessage = true;
    event.isDone = true;
    event.id = GetNumber<SInt32>(object, "messageID");
    event.sender = GetNumber<SInt32>(object, "sender");
    event.senderName = GetText(object, "senderName", "");
    ReadData(GetText(object, "data"), event);
    const auto size = GetNumber<UInt32>(object, "dataSize");
    if (size < event.data.size()) {
        Refuse(FormatText("\"dataSize\" is %llu, but \"data\" has ", UInt64{size}) +
               Tools::Count(event.data.size(), "byte"));
    }
    event.dataSize = size;
}

/// Returns the event of a line, or nothing for the line that begins a recording. Throws
/// std::runtime_error with what is wrong.
std::optional<Event> ReadLine(const std::string& line)
{
    const JSON object = JSON::parse(line, nullptr, false);
    if (!object.is_object()) {
        Refuse("this is no JSON object");
    }
    if (GetNumber<SInt32>(object, "schemaVersion") != kSchemaVersion) {
        Refuse("its \"schemaVersion\" is not 1");
    }
    const std::string kind = GetText(object, "event");
    Event event = {};
    if (kind == "call") {
        ReadCall(object, event);
    } else if (kind == "message") {
        ReadMessage(object, event);
    } else if (kind == "recording") {
        return std::nullopt;
    } else {
        Refuse("a recording has no event \"" + Tools::Shorten(kind) + "\"");
    }
    const std::optional<UInt64> time = Tools::ParseUTC(GetText(object, "time"));
    if (!time) {
        Refuse("\"time\" is not a time such as 2026-01-31T23:59:59.000000Z");
    }
    event.nanoseconds = *time;
    return event;
}

struct Closer
{
    void operator()(std::FILE* file) const
    {
        if (file != stdin) {
            std::fclose(file);
        }
    }
};
using Stream = std::unique_ptr<std::FILE, Closer>;

/// Stores the next line without its end. Returns false at the end of the file. A line may be longer
/// than any of a recording, or have no end: no more than one byte too many is stored.
bool TakeLine(std::FILE* file, std::string& line)
{
    line.clear();
    int character = 0;
    while (line.size() <= kLongestLine && (character = std::getc(file)) != EOF) {
        if (character == '\n') {
            return true;
        }
        line.push_back(static_cast<char>(character));
    }
    return !line.empty();
}

} // namespace

Reader::Reader(std::string name)
    : mName(std::move(name))
{}

Reader::Reader(std::string name, std::string text)
    : mName(std::move(name))
    , mText(std::move(text))
{}

std::string Reader::Read(const std::function<void(const Event& event)>& take) const
{
    // The stream does not write to the text.
    const Stream stream(mText ? fmemopen(const_cast<char*>(mText->data()), mText->size(), "rb")
                        : mName == "-" ? stdin
                                       : std::fopen(mName.c_str(), "rb"));
    if (stream == nullptr) {
        return "cannot read " + mName + ": " + std::strerror(errno);
    }
    int number = 0;
    for (std::string line; TakeLine(stream.get(), line);) {
        ++number;
        try {
            if (line.size() > kLongestLine) {
                Refuse("this line is longer than any of a recording");
            }
            if (const std::optional<Event> event = ReadLine(line)) {
                take(*event);
            }
        } catch (const std::runtime_error& error) {
            return FormatText("%s:%d: ", mName.c_str(), number) + error.what();
        }
    }
    if (std::ferror(stream.get()) != 0) {
        return "cannot read " + mName + ": " + std::strerror(errno);
    }
    return number == 0 ? mName + " is empty; a recording has at least one line" : "";
}

std::string Reader::Read(Events& events) const
{
    return Read([&](const Event& event) { events.push_back(event); });
}

} // namespace Recording
