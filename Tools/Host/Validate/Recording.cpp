// Recording.cpp - events as JSON.

#include "Tools/Host/Validate/Recording.h"

#include "Tools/Common/Text.h"
#include "Tools/Host/Session.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fstream>

namespace Validate {
namespace {

using Host::Action;
using JSON = nlohmann::ordered_json;

constexpr int kVersion = 1;

/// "2026-11-22T04:37:29.123456Z"
std::string FormatTime(UInt64 nanoseconds)
{
    const std::time_t seconds = static_cast<std::time_t>(nanoseconds / 1'000'000'000);
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    return text + Tools::FormatText(".%06lluZ", nanoseconds / 1000 % 1'000'000);
}

std::string FormatData(const Event& event)
{
    return Tools::FormatHex(event.data, std::min(std::size_t{event.dataSize}, Event::kMostData));
}

JSON MakeObject(const char* kind, UInt32 number, const Event& event)
{
    return {{"schemaVersion", kVersion},
            {"event", kind},
            {"number", number},
            {"time", FormatTime(event.nanoseconds)}};
}

void AddArguments(JSON& object, const Event& call)
{
    object["channel"] = call.channel;
    object["input"] = call.isInput != 0;
    object["selector"] = call.selector;
    object["property"] = Tools::FormatFourCharCode(call.selector);
    const bool isInfo = call.action == Action::kInfo || call.action == Action::kStreamInfo;
    const bool isSet = call.action == Action::kSet || call.action == Action::kStreamSet;
    if (!isSet) {
        object["sizePointer"] = !call.isSizeNull;
    }
    if (isInfo) {
        object["writablePointer"] = !call.isWritableNull;
        return;
    }
    object["size"] = call.size;
    object["dataPointer"] = !call.isDataNull;
    if (isSet) {
        object["data"] = FormatData(call);
    }
}

void AddAnswer(JSON& object, const Event& call)
{
    object["returned"] = call.isDone;
    if (!call.isDone) {
        return;
    }
    if (call.isThrown) {
        object["exception"] = call.thrown;
        return;
    }
    object["status"] = call.status;
    const bool isInfo = call.action == Action::kInfo || call.action == Action::kStreamInfo;
    if (isInfo || call.action == Action::kGet || call.action == Action::kStreamGet) {
        object["outSize"] = call.outSize;
    }
    if (isInfo) {
        object["outWritable"] = call.outWritable;
    }
    object["microseconds"] = static_cast<double>(call.duration) / 1000;
}

JSON MakeCall(UInt32 number, const Event& call)
{
    JSON object = MakeObject("call", number, call);
    object["entryPoint"] = Host::GetEntryPointName(call.action);
    object["device"] = call.device;
    if (call.action != Action::kOpen && call.action != Action::kClose) {
        AddArguments(object, call);
    }
    AddAnswer(object, call);
    return object;
}

JSON MakeMessage(UInt32 number, const Event& message)
{
    JSON object = MakeObject("message", number, message);
    object["sender"] = message.sender;
    object["messageID"] = message.id;
    object["code"] = Tools::FormatFourCharCode(static_cast<UInt32>(message.id));
    object["dataSize"] = message.dataSize;
    object["data"] = FormatData(message);
    return object;
}

} // namespace

std::string WriteRecording(const std::string& file, const RecordingTitle& title,
                           const Journal& journal)
{
    std::ofstream stream(file);
    const auto write = [&](const JSON& object) {
        stream << object.dump(-1, ' ', false, JSON::error_handler_t::replace) << '\n';
    };
    write({{"schemaVersion", kVersion},
           {"event", "recording"},
           {"time", FormatTime(GetTime())},
           {"bundle", title.bundle},
           {"check", title.check},
           {"finding", title.finding},
           {"firstNumber", journal.GetFirst() + 1}});
    for (UInt32 index = journal.GetFirst(); index < journal.GetCount(); ++index) {
        const Event& event = journal.Get(index);
        write(event.isMessage ? MakeMessage(index + 1, event) : MakeCall(index + 1, event));
    }
    stream.close();
    return stream ? "" : std::strerror(errno);
}

} // namespace Validate
