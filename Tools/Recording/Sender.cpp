// Sender.cpp - messages through the platform's calls.

#include "Tools/Recording/Sender.h"

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/Text.h"
#include "Tools/Monitor/MessageDecoder.h"

#include <CoreFoundation/CoreFoundation.h>

namespace Recording {
namespace {

using Tools::FormatText;

std::string DescribeSent(std::size_t number, const Event& message, SInt32 status)
{
    const std::string code = Tools::FormatFourCharCode(static_cast<UInt32>(message.id));
    std::string line = FormatText("%5zu  ", number);
    line += code.empty() ? std::to_string(message.id) : "'" + code + "'";
    const std::optional<UInt32> device =
        Monitor::DecodeRequest(message.id, message.data.data(), message.data.size()).device;
    line += device ? FormatText("  device %llu", UInt64{*device}) : "";
    return line + "  -> " + Tools::FormatStatus(status);
}

} // namespace

std::optional<std::size_t> SendMessages(const Events& messages,
                                        const std::function<void(const std::string& line)>& show)
{
    const CFMessagePortRef port = CFMessagePortCreateRemote(nullptr, CFSTR(kServerPortName));
    if (port == nullptr) {
        return std::nullopt;
    }
    std::size_t number = 0;
    std::size_t refused = 0;
    for (const Event& message : messages) {
        const CFDataRef data =
            CFDataCreate(nullptr, message.data.data(), static_cast<CFIndex>(message.data.size()));
        const SInt32 status =
            CFMessagePortSendRequest(port, message.id, message.data.empty() ? nullptr : data,
                                     kSendTimeoutSeconds, 0, nullptr, nullptr);
        CFRelease(data);
        refused += status != 0 ? 1 : 0;
        show(DescribeSent(++number, message, status));
    }
    CFRelease(port);
    return refused;
}

} // namespace Recording
