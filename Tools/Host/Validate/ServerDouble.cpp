// ServerDouble.cpp - the server's process and how it is asked.

#include "Tools/Host/Validate/ServerDouble.h"

#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Validate {
namespace {

using Manner = ServerDouble::Manner;

constexpr char kReady = 'r';
constexpr char kCollect = 'c';

/// What the server's process does.
class Server
{
public:
    Server(Manner manner, Journal& journal, int control)
        : mManner(manner)
        , mJournal(journal)
        , mControl(control)
    {}

    bool Listen(const std::string& portName);
    [[noreturn]] void Run();

private:
    static CFDataRef Receive(CFMessagePortRef, SInt32 id, CFDataRef data, void* server);
    void Drain() const;

    const Manner mManner;
    Journal& mJournal;
    const int mControl;
};

bool Server::Listen(const std::string& portName)
{
    const CFStringRef name =
        CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%s"), portName.c_str());
    CFMessagePortContext context = {0, this, nullptr, nullptr, nullptr};
    const CFMessagePortRef port =
        CFMessagePortCreateLocal(nullptr, name, Receive, &context, nullptr);
    CFRelease(name);
    const CFRunLoopSourceRef source =
        port != nullptr ? CFMessagePortCreateRunLoopSource(nullptr, port, 0) : nullptr;
    if (source == nullptr) {
        return false;
    }
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopDefaultMode);
    return true;
}

CFDataRef Server::Receive(CFMessagePortRef, SInt32 id, CFDataRef data, void* info)
{
    auto* const server = static_cast<Server*>(info);
    Event& event = server->mJournal.Add();
    event.isMessage = true;
    event.id = id;
    event.sender = static_cast<SInt32>(getppid());
    if (data != nullptr) {
        event.dataSize = static_cast<UInt32>(CFDataGetLength(data));
        std::copy_n(CFDataGetBytePtr(data), std::min(std::size_t{event.dataSize}, Event::kMostData),
                    event.data);
    }
    event.isDone = true;
    if (server->mManner == Manner::kDying) {
        kill(getpid(), SIGKILL);
    }
    if (server->mManner == Manner::kSlow) {
        pollfd waiting = {server->mControl, POLLIN, 0};
        while (poll(&waiting, 1, -1) < 0) {
        }
    }
    return nullptr;
}

void Server::Drain() const
{
    while (CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true) == kCFRunLoopRunHandledSource) {
    }
}

void Server::Run()
{
    for (;;) {
        pollfd control = {mControl, POLLIN, 0};
        if (mManner == Manner::kSilent) {
            poll(&control, 1, -1);
        } else {
            constexpr double kTurnSeconds = 0.001;
            CFRunLoopRunInMode(kCFRunLoopDefaultMode, kTurnSeconds, true);
            poll(&control, 1, 0);
        }
        char request = 0;
        if (control.revents == 0) {
            continue;
        }
        // Looked at first and taken last: a slow server waits for it in Receive.
        if (recv(mControl, &request, 1, MSG_PEEK) <= 0) {
            _exit(0);
        }
        Drain();
        recv(mControl, &request, 1, 0);
        send(mControl, &request, 1, MSG_NOSIGNAL);
    }
}

} // namespace

ServerDouble::ServerDouble(const std::string& portName, Manner manner, Journal& journal)
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) {
        throw std::runtime_error("no socket for the server");
    }
    mProcess = fork();
    if (mProcess == 0) {
        close(ends[0]);
        Server server(manner, journal, ends[1]);
        if (!server.Listen(portName)) {
            _exit(EXIT_FAILURE);
        }
        send(ends[1], &kReady, 1, MSG_NOSIGNAL);
        server.Run();
    }
    close(ends[1]);
    mControl = ends[0];
    char answer = 0;
    if (mProcess < 0 || recv(mControl, &answer, 1, 0) != 1) {
        Kill();
        close(mControl);
        throw std::runtime_error("the server of the check cannot hold the port " + portName);
    }
}

ServerDouble::~ServerDouble()
{
    Kill();
    close(mControl);
}

void ServerDouble::Collect()
{
    char answer = kCollect;
    if (mProcess < 0 || send(mControl, &answer, 1, MSG_NOSIGNAL) != 1) {
        return;
    }
    while (recv(mControl, &answer, 1, 0) < 0 && errno == EINTR) {
    }
}

void ServerDouble::Kill()
{
    if (mProcess > 0) {
        kill(mProcess, SIGKILL);
        while (waitpid(mProcess, nullptr, 0) < 0 && errno == EINTR) {
        }
        mProcess = -1;
    }
}

} // namespace Validate
