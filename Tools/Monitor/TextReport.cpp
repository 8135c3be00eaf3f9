// TextReport.cpp - the monitor's output for a person.

#include "Tools/Common/Terminal.h"
#include "Tools/Common/Text.h"
#include "Tools/Common/Time.h"
#include "Tools/Monitor/Columns.h"
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

/// Prints a line, or the lines that a long one becomes.
void PrintWrapped(const std::string& line, std::size_t indent = 9)
{
    for (const std::string& part : WrapToColumns(line, kTerminalColumns, indent)) {
        PrintLine(part);
    }
}

/// A document may hold a text of 128 KiB; no more than a line of it is shown.
std::string CutText(const std::string& text)
{
    constexpr std::size_t kMostColumns = 60;
    return CutToColumns(text, kMostColumns);
}

/// The document that came with a message: where each of its elements begins, and how long it is.
void ShowElements(const DecodedMessage& message)
{
    for (const Field& element : message.elements) {
        std::string row = FormatText("       %6zu  %6zu bytes  %-10s  ", element.offset,
                                     element.size, element.name.c_str()) +
                          CutText(Tools::EscapeControls(element.meaning));
        row.erase(row.find_last_not_of(' ') + 1);
        PrintWrapped(row);
    }
}

/// What the message says, in one line.
std::string Summarize(const DecodedMessage& message)
{
    std::string text;
    if (message.device) {
        text += FormatText("%-12s", ("device " + std::to_string(*message.device) + " ").c_str());
    }
    if (!message.parameter) {
        const char* const meaning = GetMessageMeaning(message.id);
        return text.empty() && meaning != nullptr ? meaning : text;
    }
    const char* const name = GetParameterName(*message.parameter);
    text += name != nullptr ? FormatText("%-7s", name)
                            : FormatText("parameter %d  ", static_cast<int>(*message.parameter));
    if (const Levels* const levels = std::get_if<Levels>(&message.value)) {
        return text + FormatText("%-8s%9s %9s",
                                 (FormatShortChannel(levels->channelIndex) + " ").c_str(),
                                 FormatShortDecibels(levels->first).c_str(),
                                 FormatShortDecibels(levels->second).c_str());
    }
    if (std::holds_alternative<std::monostate>(message.value)) {
        return text;
    }
    return text + CutText(FormatValue(message.value));
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
    PrintWrapped(FormatText("qxmon: ready, process %d; Ctrl-C ends it and shows the last states",
                            static_cast<int>(getpid())));
    PrintWrapped("qxmon: port " + portName);
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
        line += "  " + Paint(*message.byteOrder == ByteOrder::kBig ? "BE" : "LE", Colour::kFaint);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    PrintWrapped(line);
    for (const Finding& finding : message.findings) {
        PrintWrapped(FormatText("       ! %s offset %zu: %s", GetName(finding.place),
                                finding.offset, Tools::EscapeControls(finding.text).c_str()));
    }
    if (mHasBytes) {
        ShowElements(message);
        ShowFields(message);
    }
}

void TextReport::ShowFields(const DecodedMessage& message)
{
    constexpr std::size_t kBytesInRow = 8;
    constexpr std::size_t kMeaningColumn = 58;
    for (const Field& field : message.fields) {
        for (std::size_t done = 0; done < field.size; done += kBytesInRow) {
            const std::size_t offset = field.offset + done;
            const std::size_t count = std::min(kBytesInRow, field.size - done);
            std::string row =
                FormatText("       %6zu  %-23s", offset,
                           Tools::FormatHex(message.bytes.data() + offset, count, " ").c_str());
            if (done == 0) {
                row += FormatText("  %-16s", field.name.c_str());
                row += field.meaning.empty() ? "" : "  " + CutText(field.meaning);
            }
            row.erase(row.find_last_not_of(' ') + 1);
            PrintWrapped(row, kMeaningColumn);
        }
    }
}

void TextReport::ShowSummary(const StateTable& table)
{
    PrintWrapped("");
    PrintWrapped(Tools::Count(table.GetReceived(), "message") +
                 FormatText(": %zu well formed, %zu malformed; 'OpLM' %zu, 'ClLM' %zu",
                            table.GetReceived() - table.GetMalformed(), table.GetMalformed(),
                            table.GetOpens(), table.GetCloses()));
    if (table.GetLeftOut() > 0) {
        PrintWrapped(Tools::Count(table.GetLeftOut(), "other message") +
                     " came that the filters leave out.");
    }
    if (table.GetLost() > 0) {
        PrintWrapped(
            "Never taken, although answered 0: " + Tools::Count(table.GetLost(), "message") + ".");
    }
    if (table.GetUnkept() > 0) {
        PrintWrapped("The table is full. It lacks " + Tools::Count(table.GetUnkept(), "message") +
                     " of further devices or channels.");
    }
    if (table.GetDevices().empty()) {
        PrintWrapped("No device has set anything.");
        return;
    }
    PrintWrapped("Last state of each device, as its messages have set it:");
    PrintWrapped("");
    PrintWrapped(Paint("  device      messages      enable       state  channel        first"
                       "      second",
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
        PrintWrapped(start + "-");
        return;
    }
    for (const auto& [channel, levels] : device.levels) {
        PrintWrapped(start + FormatText("%-8s  %10s  %10s",
                                        FormatShortChannel(levels.channelIndex).c_str(),
                                        FormatShortDecibels(levels.first).c_str(),
                                        FormatShortDecibels(levels.second).c_str()));
        start.assign(start.size(), ' ');
    }
}

} // namespace

std::unique_ptr<IReport> MakeTextReport(bool hasBytes, bool isColoured)
{
    return std::make_unique<TextReport>(hasBytes, isColoured);
}

} // namespace Monitor
