// ServerPort.cpp - the named port and its run loop source.

#include "Tools/Monitor/ServerPort.h"

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/PortExtras.h"

#include <utility>

namespace Monitor {

std::unique_ptr<ServerPort> ServerPort::Create(Handler handler)
{
    std::unique_ptr<ServerPort> port(new ServerPort(std::move(handler)));
    return port->mSource != nullptr ? std::move(port) : nullptr;
}

ServerPort::ServerPort(Handler handler)
    : mHandler(std::move(handler))
{
    CFMessagePortContext context = {0, this, nullptr, nullptr, nullptr};
    mPort = CFMessagePortCreateLocal(nullptr, CFSTR(kServerPortName), Receive, &context, nullptr);
    if (mPort == nullptr) {
        return;
    }
    mSource = CFMessagePortCreateRunLoopSource(nullptr, mPort, 0);
    if (mSource != nullptr) {
        CFRunLoopAddSource(CFRunLoopGetCurrent(), mSource, kCFRunLoopDefaultMode);
    }
}

ServerPort::~ServerPort()
{
    if (mPort != nullptr) {
        // Takes the source out of its run loop too.
        CFMessagePortInvalidate(mPort);
        if (mSource != nullptr) {
            CFRelease(mSource);
        }
        CFRelease(mPort);
    }
}

void ServerPort::Run(double seconds)
{
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds, false);
}

void ServerPort::Finish(const std::function<bool()>& wantsMore)
{
    std::size_t left = Tools::RefuseSenders(mPort);
    while (left > 0 && wantsMore()) {
        // A stop may have come late; it is no answer.
        const SInt32 result = CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true);
        if (result != kCFRunLoopRunHandledSource && result != kCFRunLoopRunStopped) {
            return;
        }
        left -= result == kCFRunLoopRunHandledSource ? 1 : 0;
    }
}

CFDataRef ServerPort::Receive(CFMessagePortRef, SInt32 id, CFDataRef data, void* info)
{
    // Some releases of the platform hand over null for a request without data.
    const UInt8* const bytes = data != nullptr ? CFDataGetBytePtr(data) : nullptr;
    const CFIndex size = data != nullptr ? CFDataGetLength(data) : 0;
    static_cast<ServerPort*>(info)->mHandler(id, bytes, static_cast<std::size_t>(size));
    return nullptr;
}

} // namespace Monitor
