// TextReport.cpp - the monitor's output for a person.

#include "Tools/Common/Terminal.h"
#include "Tools/Common/Text.h"
#include "Tools/Common/Time.h"
#include "Tools/Monitor/Report.h"
#include "Tools/Monitor/ValueText.h"

#include <algorithm>
#include <unistd.h>

namespace Monitor {
namespace {

using Tools::Colour;
using Tools::FormatText;
using Tools::PrintLine;

std::string FormatMessageID(SInt32 id)
{
    const std::string code = Tools::FormatFourCharCode(static_cast<UInt32>(id));
    return code.empty() ? FormatText("%d", static_cast<int>(id)) : "'" + code + "'";
}

/// The document that came with a message: where each of its elements begins, and how long it is.
void ShowElements(const DecodedMessage& message)
{
    for (const Field& element : message.elements) {
        std::string row = FormatText("       %6zu  %6zu bytes  %-10s  ", element.offset,
                                     element.size, element.name.c_str()) +
                          Tools::EscapeControls(element.meaning);
        row.erase(row.find_last_not_of(' ') + 1);
        PrintLine(row);
    }
}

/// What the message says, in one line.
std::string Summarize(const DecodedMessage& message)
{
    std::string text;
    if (message.device) {
        text += FormatText("%-18s", ("device " + std::to_string(*message.device)).c_str());
    }
    if (!message.parameter) {
        const char* const meaning = GetMessageMeaning(message.id);
        return text.empty() && meaning != nullptr ? meaning : text;
    }
    const char* const name = GetParameterName(*message.parameter);
    text += name != nullptr ? FormatText("%-8s", name)
                            : FormatText("parameter %d  ", static_cast<int>(*message.parameter));
    if (const Levels* const levels = std::get_if<Levels>(&message.value)) {
        return text + FormatText("%-15s %10s %10s", FormatChannel(levels->channelIndex).c_str(),
                                 FormatDecibels(levels->first).c_str(),
                                 FormatDecibels(levels->second).c_str());
    }
    if (std::holds_alternative<std::monostate>(message.value)) {
        return text;
    }
    return text + FormatValue(message.value);
}

class TextReport final : public IReport
{
public:
    TextReport(bool hasBytes, bool isColoured)
        : mHasBytes(hasBytes)
        , mIsColoured(isColoured)
    {}

    void ShowReady(const std::string& portName) override;
    void ShowMessage(const Arrival& arrival) override;
    void ShowSummary(const StateTable& table) override;

private:
    void ShowFields(const DecodedMessage& message);
    void ShowDevice(UInt32 id, const DeviceState& device);
    std::string Paint(const std::string& text, Colour colour) const
    {
        return Tools::Paint(text, colour, mIsColoured);
    }

    const bool mHasBytes;
    const bool mIsColoured;
};

void TextReport::ShowReady(const std::string& portName)
{
    PrintLine(FormatText("qxmon: ready, process %d holds the port %s", static_cast<int>(getpid()),
                         portName.c_str()));
    PrintLine("qxmon: waiting for messages; Ctrl-C ends it and shows the last states");
}

void TextReport::ShowMessage(const Arrival& arrival)
{
    const DecodedMessage& message = arrival.message;
    std::string line = arrival.time == 0 ? ""
                                         : FormatText("%5zu  %s  ", arrival.number,
                                                      Tools::FormatTimeOfDay(arrival.time).c_str());
    line += FormatMessageID(message.id) + "  ";
    if (!message.IsWellFormed()) {
        line += Paint("MALFORMED", Colour::kBad) + "  ";
    }
    line += Summarize(message);
    if (message.byteOrder) {
        line += "  " + Paint(std::string("[") + GetName(*message.byteOrder) + "]", Colour::kFaint);
    }
    PrintLine(line);
    for (const Finding& finding : message.findings) {
        PrintLine(FormatText("       ! %s offset %zu: %s", GetName(finding.place), finding.offset,
                             Tools::EscapeControls(finding.text).c_str()));
    }
    if (mHasBytes) {
        ShowElements(message);
        ShowFields(message);
    }
}

void TextReport::ShowFields(const DecodedMessage& message)
{
    constexpr std::size_t kBytesInRow = 8;
    for (const Field& field : message.fields) {
        for (std::size_t done = 0; done < field.size; done += kBytesInRow) {
            const std::size_t offset = field.offset + done;
            const std::size_t count = std::min(kBytesInRow, field.size - done);
            std::string row =
                FormatText("       %6zu  %-23s", offset,
                           Tools::FormatHex(message.bytes.data() + offset, count, " ").c_str());
            if (done == 0) {
                row += FormatText("  %-16s", field.name.c_str());
                row += field.meaning.empty() ? "" : "  " + field.meaning;
            }
            row.erase(row.find_last_not_of(' ') + 1);
            PrintLine(row);
        }
    }
}

void TextReport::ShowSummary(const StateTable& table)
{
    PrintLine("");
    PrintLine(FormatText("%zu message%s: %zu well formed, %zu malformed; 'OpLM' %zu, 'ClLM' %zu",
                         table.GetReceived(), table.GetReceived() == 1 ? "" : "s",
                         table.GetReceived() - table.GetMalformed(), table.GetMalformed(),
                         table.GetOpens(), table.GetCloses()));
    if (table.GetUnkept() > 0) {
        PrintLine(
            FormatText("The table is full: %zu messages of further devices or channels are not "
                       "in it.",
                       table.GetUnkept()));
    }
    if (table.GetDevices().empty()) {
        PrintLine("No device has set anything.");
        return;
    }
    PrintLine("Last state of each device, as its messages have set it:");
    PrintLine("");
    PrintLine(Paint("  device      messages      enable       state  channel          first level"
                    "  second level",
                    Colour::kStrong));
    for (const auto& [id, device] : table.GetDevices()) {
        ShowDevice(id, device);
    }
}

void TextReport::ShowDevice(UInt32 id, const DeviceState& device)
{
    const auto formatSwitch = [](const std::optional<SInt64>& value) {
        return value ? std::to_string(*value) : std::string("-");
    };
    std::string start =
        FormatText("  %-10s  %8zu  %10s  %10s  ", std::to_string(id).c_str(), device.messages,
                   formatSwitch(device.enable).c_str(), formatSwitch(device.state).c_str());
    if (device.levels.empty()) {
        PrintLine(start + "-");
        return;
    }
    for (const auto& [channel, levels] : device.levels) {
        PrintLine(start + FormatText("%-15s  %11s  %12s",
                                     FormatChannel(levels.channelIndex).c_str(),
                                     FormatText("%.2f dB", levels.first).c_str(),
                                     FormatText("%.2f dB", levels.second).c_str()));
        start.assign(start.size(), ' ');
    }
}

} // namespace

std::unique_ptr<IReport> MakeTextReport(bool hasBytes, bool isColoured)
{
    return std::make_unique<TextReport>(hasBytes, isColoured);
}

} // namespace Monitor
