// EventFile.cpp - one JSON object a line, back into an event.

#include "Tools/Host/Record/EventFile.h"

#include "Tools/Common/Text.h"
#include "Tools/Host/Session.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace Record {
namespace {

using Host::Action;
using JSON = nlohmann::json;
using Validate::Event;

constexpr int kVersion = 1;

unsigned char ReadDigit(char digit)
{
    if (digit >= '0' && digit <= '9') {
        return static_cast<unsigned char>(digit - '0');
    }
    if (digit >= 'A' && digit <= 'F') {
        return static_cast<unsigned char>(digit - 'A' + 10);
    }
    throw std::runtime_error("\"data\" is not hexadecimal");
}

void ReadData(const JSON& object, Event& event)
{
    const std::string text = object.value("data", "");
    if (text.size() % 2 != 0 || text.size() / 2 > Event::kMostData) {
        throw std::runtime_error("\"data\" has half a byte, or more than 2048");
    }
    for (std::size_t index = 0; index < text.size() / 2; ++index) {
        event.data[index] = static_cast<unsigned char>(ReadDigit(text[2 * index]) << 4 |
                                                       ReadDigit(text[2 * index + 1]));
    }
    event.dataSize = static_cast<UInt32>(text.size() / 2);
}

Action FindAction(const std::string& entryPoint)
{
    for (const Action action :
         {Action::kOpen, Action::kClose, Action::kInfo, Action::kGet, Action::kSet,
          Action::kStreamInfo, Action::kStreamGet, Action::kStreamSet}) {
        if (entryPoint == Host::GetEntryPointName(action)) {
            return action;
        }
    }
    throw std::runtime_error("there is no entry point \"" + entryPoint + "\"");
}

void ReadCall(const JSON& object, Event& event)
{
    event.action = FindAction(object.at("entryPoint").get<std::string>());
    event.device = object.at("device").get<UInt32>();
    event.channel = object.value("channel", UInt32{0});
    event.isInput = object.value("input", true) ? 1 : 0;
    event.selector = object.value("selector", UInt32{0});
    event.size = object.value("size", UInt32{0});
    event.isSizeNull = !object.value("sizePointer", true);
    event.isWritableNull = !object.value("writablePointer", true);
    event.isDataNull = !object.value("dataPointer", true);
    event.isDone = object.at("returned").get<bool>();
    event.isThrown = object.contains("exception");
    Validate::CopyText(event.thrown, object.value("exception", ""));
    event.status = object.value("status", SInt32{0});
    event.outSize = object.value("outSize", UInt32{0});
    event.outWritable = static_cast<Boolean>(object.value("outWritable", 0));
    ReadData(object, event);
}

void ReadMessage(const JSON& object, Event& event)
{
    event.isMessage = true;
    event.isDone = true;
    event.id = object.at("messageID").get<SInt32>();
    event.sender = object.at("sender").get<SInt32>();
    ReadData(object, event);
    event.dataSize = object.at("dataSize").get<UInt32>();
}

void ReadLine(const std::string& line, Events& events)
{
    const JSON object = JSON::parse(line);
    if (object.at("schemaVersion") != kVersion) {
        throw std::runtime_error("its schemaVersion is not 1");
    }
    const auto kind = object.at("event").get<std::string>();
    Event event = {};
    if (kind == "call") {
        ReadCall(object, event);
    } else if (kind == "message") {
        ReadMessage(object, event);
    } else if (kind == "recording") {
        return;
    } else {
        throw std::runtime_error("there is no event \"" + kind + "\" in a recording");
    }
    events.push_back(event);
}

} // namespace

std::string ReadEvents(const std::string& text, Events& events)
{
    std::istringstream stream(text);
    int number = 0;
    for (std::string line; std::getline(stream, line);) {
        ++number;
        try {
            ReadLine(line, events);
        } catch (const JSON::parse_error&) {
            return Tools::FormatText("line %d is no JSON", number);
        } catch (const JSON::exception& error) {
            // "[json.exception.out_of_range.403] key 'device' not found"
            const std::string reason = error.what();
            return Tools::FormatText("line %d: ", number) +
                   reason.substr(std::min(reason.size(), reason.find("] ") + 2));
        } catch (const std::exception& error) {
            return Tools::FormatText("line %d: ", number) + error.what();
        }
    }
    return events.empty() ? "it has no calls and no messages" : "";
}

} // namespace Record
