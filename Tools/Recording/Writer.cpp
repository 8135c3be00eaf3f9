// Writer.cpp - events as JSON.

#include "Tools/Recording/Writer.h"

#include "Tools/Common/JSONLine.h"
#include "Tools/Common/Text.h"
#include "Tools/Common/Time.h"

#include <cerrno>
#include <cstring>

namespace Recording {
namespace {

using JSON = nlohmann::ordered_json;

std::string FormatData(const Event& event)
{
    return Tools::FormatHex(event.data.data(), event.data.size());
}

JSON MakeObject(const char* kind, UInt64 number, const Event& event)
{
    return {{"schemaVersion", kSchemaVersion},
            {"event", kind},
            {"number", number},
            {"time", Tools::FormatUTC(event.nanoseconds)}};
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

JSON MakeCall(UInt64 number, const Event& call)
{
    JSON object = MakeObject("call", number, call);
    object["entryPoint"] = GetEntryPointName(call.action);
    object["device"] = call.device;
    if (call.action != Action::kOpen && call.action != Action::kClose) {
        AddArguments(object, call);
    }
    AddAnswer(object, call);
    return object;
}

JSON MakeMessage(UInt64 number, const Event& message)
{
    JSON object = MakeObject("message", number, message);
    object["sender"] = message.sender;
    if (!message.senderName.empty()) {
        object["senderName"] = message.senderName;
    }
    object["messageID"] = message.id;
    object["code"] = Tools::FormatFourCharCode(static_cast<UInt32>(message.id));
    object["dataSize"] = message.dataSize;
    object["data"] = FormatData(message);
    return object;
}

} // namespace

Writer::Writer(const std::string& file, const Title& title)
    : mFile(std::fopen(file.c_str(), "wb"))
{
    if (mFile == nullptr) {
        mFailure = std::strerror(errno);
        return;
    }
    WriteLine(Tools::WriteJSON({{"schemaVersion", kSchemaVersion},
                                {"event", "recording"},
                                {"time", Tools::FormatUTC(Tools::GetTime())},
                                {"bundle", title.bundle},
                                {"check", title.check},
                                {"finding", title.finding},
                                {"firstNumber", title.firstNumber}}));
}

void Writer::Write(UInt64 number, const Event& event)
{
    WriteLine(
        Tools::WriteJSON(event.isMessage ? MakeMessage(number, event) : MakeCall(number, event)));
}

void Writer::WriteLine(std::string line)
{
    line += '\n';
    const bool isWritten = mFailure.empty() &&
                           std::fwrite(line.data(), 1, line.size(), mFile.get()) == line.size() &&
                           std::fflush(mFile.get()) == 0;
    if (!isWritten && mFailure.empty()) {
        mFailure = std::strerror(errno);
    }
}

std::string WriteRecording(const std::string& file, const Title& title, const Events& events)
{
    Writer writer(file, title);
    UInt64 number = title.firstNumber;
    for (const Event& event : events) {
        writer.Write(number++, event);
    }
    return writer.GetFailure();
}

} // namespace Recording
