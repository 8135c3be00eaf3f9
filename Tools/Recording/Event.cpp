// Event.cpp - events selected, counted and described.

#include "Tools/Recording/Event.h"

#include "Tools/Common/Text.h"

#include <algorithm>
#include <iterator>

namespace Recording {
namespace {

using Tools::FormatText;

std::string DescribeData(const EventFacts& call, const unsigned char* data, std::size_t kept)
{
    switch (call.action) {
    case Action::kInfo:
    case Action::kStreamInfo:
        return std::string(call.isSizeNull ? ", null size pointer" : "") +
               (call.isWritableNull ? ", null writable pointer" : "");
    case Action::kGet:
    case Action::kStreamGet:
        return (call.isSizeNull ? std::string(", null size pointer")
                                : ", room for " + Tools::Count(call.size, "byte")) +
               (call.isDataNull ? ", null data pointer" : "");
    default:
        break;
    }
    constexpr std::size_t kMostShown = 16;
    const std::size_t shown = std::min(kept, kMostShown);
    std::string text = ", " + Tools::Count(call.size, "byte");
    if (call.isDataNull) {
        return text + ", null data pointer";
    }
    return text + (shown > 0 ? ": " + Tools::FormatHex(data, shown, " ") : "") +
           (shown < call.dataSize ? " ..." : "");
}

} // namespace

std::string DescribeSelector(UInt32 selector)
{
    const std::string code = Tools::FormatFourCharCode(selector);
    return code.empty() ? FormatText("0x%08llX", UInt64{selector}) : "'" + code + "'";
}

Events SelectEvents(const Events& events, bool areMessages)
{
    Events selected;
    std::ranges::copy_if(events, std::back_inserter(selected),
                         [&](const Event& event) { return event.isMessage == areMessages; });
    return selected;
}

std::string CountEvents(const Events& events)
{
    const auto messages = static_cast<std::size_t>(
        std::ranges::count_if(events, [](const Event& event) { return event.isMessage; }));
    return Tools::Count(events.size() - messages, "call") + " and " +
           Tools::Count(messages, "message");
}

std::string DescribeCall(const EventFacts& call, const unsigned char* data, std::size_t kept)
{
    std::string text = GetEntryPointName(call.action);
    text += FormatText("(device %llu", UInt64{call.device});
    if (call.action != Action::kOpen && call.action != Action::kClose) {
        text += FormatText(", channel %llu, ", UInt64{call.channel});
        if (!IsStream(call.action)) {
            text += call.isInput != 0 ? "input, " : "output, ";
        }
        text += DescribeSelector(call.selector) + DescribeData(call, data, kept);
    }
    return text + ")";
}

} // namespace Recording
