// ServerProcess.h - a server of the plug-in's in a process of its own, for end-to-end tests.
//
//     ServerProcess server(ServerProcess::kServes);
//     ...                                       // the plug-in sends something
//     EXPECT_EQ(server.Receive().id, 0x4F704C4D);
//
// Tests/Support/PrivatePorts.cpp keeps it apart from other tests and from a server that anyone
// runs.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <string>
#include <vector>

#include <sys/types.h>

struct ReceivedMessage
{
    SInt32 id;
    std::string data;
};

class ServerProcess
{
public:
    enum Behaviour
    {
        kServes,       ///< receives and replies
        kSwallows,     ///< receives and replies, but does not tell what
        kNeverRuns,    ///< holds the port and does nothing more
        kWaitsToReply, ///< replies to each message only when the test says LetReply
    };

    /// Starts the process and waits until it holds the port.
    explicit ServerProcess(Behaviour behaviour);
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    /// Kills the process if it still runs.
    ~ServerProcess();

    /// Waits for the next message that the server receives. Throws after half a minute.
    ReceivedMessage Receive();
    /// Lets a server that waits reply to one message, and waits until it has.
    void LetReply();

    /// Ends the process, and waits for its end.
    void Kill();
    /// Ends the process at some moment from now on.
    void KillSoon();
    /// Keeps the process from running, and waits until it stands.
    void Stop();
    void Continue();

private:
    [[noreturn]] void Serve(Behaviour behaviour, int output, int control);

    pid_t mProcess = -1;
    int mOutput = -1;  ///< what the server tells, read here
    int mControl = -1; ///< the permissions to reply, written here
};

/// The number of ports that the plug-in has opened.
int CountOpenedPorts();
/// Releases the ports that the plug-in has opened and keeps for good.
void ReleaseOpenedPorts();
