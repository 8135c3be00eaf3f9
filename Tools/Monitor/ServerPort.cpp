// ServerPort.cpp - the named port and its run loop source.

#include "Tools/Monitor/ServerPort.h"

#include "Protocol/ServerProtocol.h"
#include "Tools/Common/PortExtras.h"

#include <utility>

namespace Monitor {

std::unique_ptr<ServerPort> ServerPort::Create(Handler handler, Reply reply)
{
    std::unique_ptr<ServerPort> port(new ServerPort(std::move(handler), std::move(reply)));
    return port->mSource != nullptr ? std::move(port) : nullptr;
}

ServerPort::ServerPort(Handler handler, Reply reply)
    : mHandler(std::move(handler))
    , mReply(std::move(reply))
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

void ServerPort::RunOnce(double seconds)
{
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds, true);
}

void ServerPort::Refuse()
{
    Tools::RefuseSenders(mPort);
}

SInt32 ServerPort::GetSender() const
{
    return Tools::GetSender(mPort);
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
    const auto& server = *static_cast<ServerPort*>(info);
    server.mHandler(id, bytes, static_cast<std::size_t>(size));
    return server.mReply.empty() ? nullptr
                                 : CFDataCreate(nullptr, server.mReply.data(),
                                                static_cast<CFIndex>(server.mReply.size()));
}

} // namespace Monitor
