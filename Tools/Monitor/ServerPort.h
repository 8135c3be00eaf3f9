// ServerPort.h - the server's end of the link: the named port, held through the platform's calls.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstddef>
#include <functional>
#include <memory>

namespace Monitor {

/// Holds the server's port and hands each request to a handler.
///
/// Threads: one; requests arrive on the thread that runs Run.
class ServerPort
{
public:
    using Handler = std::function<void(SInt32 id, const UInt8* data, std::size_t size)>;

    /// Returns null if the name is held by another process, or the port cannot be made.
    static std::unique_ptr<ServerPort> Create(Handler handler);

    ~ServerPort();
    ServerPort(const ServerPort&) = delete;
    ServerPort& operator=(const ServerPort&) = delete;

    /// Hands over the requests that come, until the time is over or the thread's run loop is
    /// stopped. Every request that asks for a reply gets an empty one.
    void Run(double seconds);

    /// Refuses what is sent from now on, and hands over what was sent before and `wantsMore` still
    /// wants.
    void Finish(const std::function<bool()>& wantsMore);

private:
    explicit ServerPort(Handler handler);
    static CFDataRef Receive(CFMessagePortRef port, SInt32 id, CFDataRef data, void* info);

    Handler mHandler;
    CFMessagePortRef mPort = nullptr;
    CFRunLoopSourceRef mSource = nullptr;
};

} // namespace Monitor
