// Sender.h - what the tests of the monitor send to it and read from it.
#pragma once

#include "Protocol/ServerProtocol.h"
#include "Tests/Tools/EndToEnd/ChildProcess.h"

#include <CoreFoundation/CoreFoundation.h>

#include <nlohmann/json.hpp>
#include <string>

namespace ToolsTests {

/// A sender of any bytes to the monitor's port.
class Sender
{
public:
    Sender()
        : mPort(CFMessagePortCreateRemote(nullptr, CFSTR(kServerPortName)))
    {}
    ~Sender()
    {
        if (mPort != nullptr) {
            CFRelease(mPort);
        }
    }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    bool HasPort() const { return mPort != nullptr; }

    SInt32 Send(SInt32 id, const std::string& bytes) const
    {
        constexpr double kPatienceSeconds = 30;
        const CFDataRef data = CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                                            static_cast<CFIndex>(bytes.size()));
        const SInt32 status =
            CFMessagePortSendRequest(mPort, id, data, kPatienceSeconds, 0, nullptr, nullptr);
        CFRelease(data);
        return status;
    }

    /// Sends without data and waits for the reply, whose length is returned in `replySize`.
    SInt32 Ask(SInt32 id, CFIndex& replySize) const
    {
        constexpr double kPatienceSeconds = 30;
        CFDataRef reply = nullptr;
        const SInt32 status = CFMessagePortSendRequest(
            mPort, id, nullptr, kPatienceSeconds, kPatienceSeconds, kCFRunLoopDefaultMode, &reply);
        if (reply != nullptr) {
            replySize = CFDataGetLength(reply);
            CFRelease(reply);
        }
        return status;
    }

private:
    const CFMessagePortRef mPort;
};

/// The next line, as JSON; null at the end of the output.
inline nlohmann::json ReadObject(ChildProcess& process)
{
    const std::optional<std::string> line = process.ReadLine();
    return line ? nlohmann::json::parse(*line) : nlohmann::json();
}

} // namespace ToolsTests
