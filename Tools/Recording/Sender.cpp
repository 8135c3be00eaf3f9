// Sender.cpp - messages through the platform's calls.

#include "Tools/Recording/Sender.h"

#include "Protocol/ServerProtocol.h"

#include <CoreFoundation/CoreFoundation.h>

namespace Recording {

std::optional<std::size_t>
SendMessages(const Events& messages,
             const std::function<void(const Event& message, SInt32 status)>& show)
{
    const CFMessagePortRef port = CFMessagePortCreateRemote(nullptr, CFSTR(kServerPortName));
    if (port == nullptr) {
        return std::nullopt;
    }
    std::size_t refused = 0;
    for (const Event& message : messages) {
        const CFDataRef data =
            CFDataCreate(nullptr, message.data.data(), static_cast<CFIndex>(message.data.size()));
        const SInt32 status =
            CFMessagePortSendRequest(port, message.id, message.data.empty() ? nullptr : data,
                                     kSendTimeoutSeconds, 0, nullptr, nullptr);
        CFRelease(data);
        refused += status != 0 ? 1 : 0;
        show(message, status);
    }
    CFRelease(port);
    return refused;
}

} // namespace Recording
