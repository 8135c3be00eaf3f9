// ServerDouble.h - a server in a process of its own, which writes down every message that arrives.
//
// It holds the port through the platform's calls, as a real server does, and can be slow, silent or
// dead at will. Make it before any thread is started.
#pragma once

#include "Tools/Host/Validate/Journal.h"

#include <string>
#include <sys/types.h>

namespace Validate {

class ServerDouble
{
public:
    enum class Manner
    {
        kReading, ///< takes every message and replies at once
        kSilent,  ///< takes none until it is asked what has arrived
        kSlow,    ///< takes messages, but does not reply before it is asked what has arrived
        kDying    ///< ends while the first message that it takes waits for its reply
    };

    /// Starts the process and waits until it holds the port. Throws std::runtime_error if it
    /// cannot hold it.
    ServerDouble(const std::string& portName, Manner manner, Journal& journal);
    /// Kills the process and waits for its end.
    ~ServerDouble();
    ServerDouble(const ServerDouble&) = delete;
    ServerDouble& operator=(const ServerDouble&) = delete;

    /// Returns when every message that has been sent before is in the journal.
    void Collect();

    /// Ends the process as a crash would, and waits for its end.
    void Kill();

private:
    pid_t mProcess = -1;
    int mControl = -1;
};

} // namespace Validate
