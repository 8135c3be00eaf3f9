// JSONReport.cpp - the monitor's output for a program: one JSON object a line.

#include "Tools/Common/JSONLine.h"
#include "Tools/Common/Terminal.h"
#include "Tools/Common/Text.h"
#include "Tools/Common/Time.h"
#include "Tools/Monitor/Report.h"

#include <algorithm>
#include <unistd.h>

namespace Monitor {
namespace {

using JSON = nlohmann::ordered_json;

constexpr int kVersion = 1;

void PrintHex(const char* name, const Bytes& bytes)
{
    constexpr std::size_t kBytesInPiece = 4096;
    Tools::Print(Tools::FormatText(",\"%s\":\"", name));
    for (std::size_t done = 0; done < bytes.size(); done += kBytesInPiece) {
        const std::size_t count = std::min(kBytesInPiece, bytes.size() - done);
        Tools::Print(Tools::FormatHex(bytes.data() + done, count));
    }
    Tools::Print("\"");
}

void Print(const JSON& object)
{
    Tools::PrintLine(Tools::WriteJSON(object));
}

/// Prints `object` with two more members: the hexadecimal digits of a message's bytes, which may be
/// megabytes, are written piece by piece.
void Print(const JSON& object, const DecodedMessage& message)
{
    std::string line = Tools::WriteJSON(object);
    line.pop_back(); // the brace
    Tools::Print(line);
    PrintHex("bytes", message.bytes);
    if (const Bytes* const value = std::get_if<Bytes>(&message.value)) {
        PrintHex("valueBytes", *value);
    }
    Tools::PrintLine("}");
}

/// The number, or null if there is none.
template <class T>
JSON ToJSON(const std::optional<T>& number)
{
    return number ? JSON(*number) : JSON();
}

JSON ToJSON(const char* name)
{
    return name != nullptr ? JSON(name) : JSON();
}

struct ValueWriter
{
    JSON& object;

    void operator()(std::monostate) const {}
    void operator()(SInt64 number) const { object["value"] = number; }
    void operator()(double number) const { object["value"] = number; }
    void operator()(const std::string& text) const { object["value"] = text; }
    void operator()(const Bytes&) const {} // Print writes them
    void operator()(const Levels& levels) const
    {
        object["channel"] = static_cast<UInt32>(levels.channelIndex + 1);
        object["channelIndex"] = levels.channelIndex;
        object["first"] = levels.first;
        object["second"] = levels.second;
    }
};

void AddParameter(JSON& object, const DecodedMessage& message)
{
    object["device"] = ToJSON(message.device);
    object["byteOrder"] = ToJSON(message.byteOrder ? GetName(*message.byteOrder) : nullptr);
    object["parameter"] = ToJSON(message.parameter);
    object["name"] = ToJSON(message.parameter ? GetParameterName(*message.parameter) : nullptr);
    object["type"] = ToJSON(message.type);
    object["typeName"] = ToJSON(message.type ? GetTypeName(*message.type) : nullptr);
    std::visit(ValueWriter{object}, message.value);
}

JSON ListFields(const std::vector<Field>& fields)
{
    JSON list = JSON::array();
    for (const Field& field : fields) {
        list.push_back({{"offset", field.offset},
                        {"size", field.size},
                        {"name", field.name},
                        {"meaning", field.meaning}});
    }
    return list;
}

class JSONReport final : public IReport
{
public:
    explicit JSONReport(bool hasBytes)
        : mHasBytes(hasBytes)
    {}

    void ShowReady(const std::string& portName) override;
    void ShowMessage(const Arrival& arrival) override;
    void ShowSummary(const StateTable& table) override;

private:
    const bool mHasBytes;
};

void JSONReport::ShowReady(const std::string& portName)
{
    Print({{"schemaVersion", kVersion},
           {"event", "ready"},
           {"port", portName},
           {"process", static_cast<int>(getpid())}});
}

void JSONReport::ShowMessage(const Arrival& arrival)
{
    const DecodedMessage& message = arrival.message;
    JSON object = {{"schemaVersion", kVersion}, {"event", "message"}, {"number", arrival.number}};
    if (arrival.time != 0) {
        object["time"] = Tools::FormatUTC(arrival.time);
    }
    object["messageID"] = message.id;
    object["code"] = Tools::FormatFourCharCode(static_cast<UInt32>(message.id));
    object["dataSize"] = message.dataSize;
    object["wellFormed"] = message.IsWellFormed();
    if (message.dataSize > 0) {
        AddParameter(object, message);
    }
    if (mHasBytes) {
        object["elements"] = ListFields(message.elements);
        object["fields"] = ListFields(message.fields);
    }
    JSON findings = JSON::array();
    for (const Finding& finding : message.findings) {
        findings.push_back({{"place", GetName(finding.place)},
                            {"offset", finding.offset},
                            {"text", finding.text}});
    }
    object["findings"] = std::move(findings);
    if (message.dataSize > 0) {
        Print(object, message);
    } else {
        Print(object);
    }
}

void JSONReport::ShowSummary(const StateTable& table)
{
    JSON devices = JSON::array();
    for (const auto& [id, device] : table.GetDevices()) {
        JSON channels = JSON::array();
        for (const auto& [channel, levels] : device.levels) {
            channels.push_back(
                {{"channel", channel}, {"first", levels.first}, {"second", levels.second}});
        }
        devices.push_back({{"device", id},
                           {"messages", device.messages},
                           {"enable", ToJSON(device.enable)},
                           {"state", ToJSON(device.state)},
                           {"channels", std::move(channels)}});
    }
    JSON object = {{"schemaVersion", kVersion},       {"event", "summary"},
                   {"received", table.GetReceived()}, {"malformed", table.GetMalformed()},
                   {"opens", table.GetOpens()},       {"closes", table.GetCloses()},
                   {"devices", std::move(devices)}};
    if (table.GetUnkept() > 0) {
        object["unkept"] = table.GetUnkept();
    }
    if (table.GetLeftOut() > 0) {
        object["leftOut"] = table.GetLeftOut();
    }
    if (table.GetLost() > 0) {
        object["lost"] = table.GetLost();
    }
    Print(object);
}

} // namespace

std::unique_ptr<IReport> MakeJSONReport(bool hasBytes)
{
    return std::make_unique<JSONReport>(hasBytes);
}

} // namespace Monitor
