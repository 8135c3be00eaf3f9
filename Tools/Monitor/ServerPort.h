// ServerPort.h - the server's end of the link: the named port, held through the platform's calls.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace Monitor {

/// Holds the server's port and hands each request to a handler.
///
/// Threads: one; requests arrive on the thread that runs Run.
class ServerPort
{
public:
    using Handler = std::function<void(SInt32 id, const UInt8* data, std::size_t size)>;
    using Reply = std::vector<UInt8>;

    /// Returns null if the name is held by another process, or the port cannot be made.
    /// Every request that asks for a reply gets `reply`.
    static std::unique_ptr<ServerPort> Create(Handler handler, Reply reply = {});

    ~ServerPort();
    ServerPort(const ServerPort&) = delete;
    ServerPort& operator=(const ServerPort&) = delete;

    /// Hands over the requests that come, until the time is over or the thread's run loop is
    /// stopped.
    void Run(double seconds);

    /// The same, but hands over one request at most.
    void RunOnce(double seconds);

    /// Refuses what is sent from now on, as long as the port is held.
    void Refuse();

    /// The process that sent the request which was handed over last, or 0 if that is unknown.
    SInt32 GetSender() const;

    /// Refuses what is sent from now on, and hands over what was sent before and `wantsMore` still
    /// wants.
    void Finish(const std::function<bool()>& wantsMore);

private:
    ServerPort(Handler handler, Reply reply);
    static CFDataRef Receive(CFMessagePortRef port, SInt32 id, CFDataRef data, void* info);

    Handler mHandler;
    const Reply mReply;
    CFMessagePortRef mPort = nullptr;
    CFRunLoopSourceRef mSource = nullptr;
};

} // namespace Monitor
