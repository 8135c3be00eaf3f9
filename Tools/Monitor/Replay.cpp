// Replay.cpp - qxmon replay and diff: recordings shown, sent and compared.

#include "Tools/Common/Terminal.h"
#include "Tools/Common/Text.h"
#include "Tools/Monitor/Commands.h"
#include "Tools/Monitor/MessageDecoder.h"
#include "Tools/Recording/Difference.h"
#include "Tools/Recording/Reader.h"
#include "Tools/Recording/Sender.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace Monitor {
namespace {

using Recording::Event;
using Recording::Events;
using Tools::FormatText;

DecodedMessage DecodeEvent(const Event& event)
{
    DecodedMessage message = DecodeRequest(event.id, event.data.data(), event.data.size());
    if (event.IsCut()) {
        // What is wrong with a document without its end says nothing about the sender.
        message.findings = {{Place::kRequest, 0,
                             "the recording has only the first " +
                                 Tools::Count(event.data.size(), "byte") + " of " +
                                 std::to_string(event.dataSize)}};
        message.dataSize = event.dataSize;
    }
    return message;
}

int SendRecording(const Recording::Reader& reader)
{
    Events events;
    const std::string failure = reader.Read(events);
    if (!failure.empty()) {
        return ShowUnreadable(failure);
    }
    const Events messages = Recording::SelectEvents(events, true);
    if (std::ranges::any_of(messages, [](const Event& message) { return message.IsCut(); })) {
        return ShowUnreadable("a message of " + reader.GetName() +
                              " is cut: it cannot be sent again");
    }
    const auto refused = Recording::SendMessages(messages, Tools::PrintLine);
    if (!refused) {
        std::fputs("qxmon: no server holds the port\n", stderr);
        return kExitPortTaken;
    }
    Tools::PrintLine("qxmon: " + Tools::Count(messages.size(), "message") +
                     FormatText(", %zu refused", *refused));
    return Conclude(*refused == 0 ? kExitDone : kExitMalformed);
}

} // namespace

int ShowRecording(IReport& report, const Filter& filter, const Recording::Reader& reader)
{
    StateTable table;
    const std::string failure = reader.Read([&](const Event& event) {
        if (event.isMessage) {
            const Arrival arrival{table.GetReceived() + table.GetLeftOut() + 1, event.nanoseconds,
                                  DecodeEvent(event)};
            if (!filter.LetsThrough(arrival.message)) {
                table.LeaveOut();
                return;
            }
            table.Take(arrival.message);
            report.ShowMessage(arrival);
        }
    });
    return failure.empty() ? Finish(report, table) : ShowUnreadable(failure);
}

int Replay(const Arguments& arguments)
{
    const Recording::Reader reader(*arguments.replay);
    return arguments.isSent ? SendRecording(reader)
                            : ShowRecording(*MakeReport(arguments), arguments.filter, reader);
}

int Diff(const Arguments& arguments)
{
    Events first;
    Events second;
    std::string failure = Recording::Reader(*arguments.diff).Read(first);
    if (failure.empty()) {
        failure = Recording::Reader(arguments.other).Read(second);
    }
    if (!failure.empty()) {
        return ShowUnreadable(failure);
    }
    const std::string difference = Recording::FindDifference(first, second);
    Tools::PrintLine("qxmon: " + (difference.empty()
                                      ? "no difference in " + Recording::CountEvents(first)
                                      : Tools::EscapeControls(difference)));
    return Conclude(difference.empty() ? kExitDone : kExitMalformed);
}

} // namespace Monitor
