// MessagePortFaultsTest.cpp - message ports in processes that lack descriptors, get signals or
// belong to another user.

#include "Platform/Ports/OtherUser.h"
#include "Platform/Ports/PortServer.h"
#include "Ports/PortSocket.h"

#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

namespace {

using namespace Platform;
using MessagePortFaults = LedgerTest;
using Clock = std::chrono::steady_clock;

/// The abstract address of a port's name for a user, as documented.
socklen_t AddressOf(const std::string& name, uid_t user, sockaddr_un& address)
{
    const std::string path = "qx-port:" + std::to_string(user) + ":" + name;
    address = sockaddr_un();
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, path.data(), path.size());
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + path.size());
}

TEST_F(MessagePortFaults, CreationFailsCleanlyWithoutDescriptors)
{
    const std::string name = UniqueName("limit");
    ProcessServer server(name);

    EXPECT_TRUE(HoldsInChild([&] {
        rlimit none = {3, 3};
        setrlimit(RLIMIT_NOFILE, &none);
        CFStringRef other = MakeString((name + ".local").c_str());
        return Connect(name) == nullptr &&
               CFMessagePortCreateLocal(nullptr, other, nullptr, nullptr, nullptr) == nullptr;
    }));
}

TEST_F(MessagePortFaults, PortsNeverTakeTheStandardStreams)
{
    const std::string name = UniqueName("streams");

    EXPECT_TRUE(HoldsInChild([&] {
        for (const int stream : {0, 1, 2}) {
            close(stream);
        }
        CFStringRef string = MakeString(name.c_str());
        CFMessagePortRef local =
            CFMessagePortCreateLocal(nullptr, string, nullptr, nullptr, nullptr);
        CFMessagePortRef remote = Connect(name);
        const bool areFree =
            fcntl(0, F_GETFD) < 0 && fcntl(1, F_GETFD) < 0 && fcntl(2, F_GETFD) < 0;
        return local != nullptr && remote != nullptr && areFree && SendOneWay(remote, 1) == 0;
    }));
}

TEST_F(MessagePortFaults, PortsAreClosedWhenAnotherProgramIsExecuted)
{
    const std::string name = UniqueName("exec");

    EXPECT_TRUE(HoldsInChild([&] {
        CFMessagePortCreateLocal(nullptr, MakeString(name.c_str()), nullptr, nullptr, nullptr);
        Connect(name);
        CFRunLoopGetCurrent();
        for (int descriptor = 3; descriptor < 200; ++descriptor) {
            const int flags = fcntl(descriptor, F_GETFD);
            sockaddr_storage address;
            socklen_t size = sizeof address;
            if (flags >= 0 && (flags & FD_CLOEXEC) == 0 &&
                getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) == 0) {
                return false;
            }
        }
        return true;
    }));
}

TEST_F(MessagePortFaults, AnEndedServerRaisesNoSignal)
{
    const std::string name = UniqueName("signal");
    ProcessServer server(name);

    EXPECT_TRUE(HoldsInChild([&] {
        signal(SIGPIPE, SIG_DFL);
        CFMessagePortRef port = Connect(name);
        SendRequest(port, 1);
        // The server is this process's sibling: only its silence tells when it is gone.
        kill(server.GetProcess(), SIGKILL);
        while (SendOneWay(port, 2) == kCFMessagePortSuccess) {
        }
        return SendOneWay(port, 2) == kCFMessagePortTransportError &&
               SendRequest(port, 3) == kCFMessagePortTransportError;
    }));
}

TEST_F(MessagePortFaults, SignalsDoNotCutAWaitShort)
{
    const std::string name = UniqueName("interrupt");
    ProcessServer server(name);
    CFMessagePortRef port = Connect(name);
    server.Stop();
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    struct sigaction before = {};
    sigaction(SIGALRM, &action, &before);
    const itimerval often = {{0, 2000}, {0, 2000}};
    setitimer(ITIMER_REAL, &often, nullptr);

    const auto start = Clock::now();
    EXPECT_EQ(SendRequest(port, 1, 0.05), kCFMessagePortReceiveTimeout);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(50));
    while (SendOneWay(port, 2, {}, 0.0) == kCFMessagePortSuccess) {
    }
    const auto full = Clock::now();
    EXPECT_EQ(SendOneWay(port, 3, {}, 0.05), kCFMessagePortSendTimeout);
    EXPECT_GE(Clock::now() - full, std::chrono::milliseconds(50));

    const itimerval never = {};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    server.Continue();
    EXPECT_EQ(SendRequest(port, 4), kCFMessagePortSuccess);
    CFRelease(port);
}

TEST_F(MessagePortFaults, OnlyTheOwnUserIsAPeer)
{
    EXPECT_TRUE(Standin::IsOwnUser(geteuid()));
    EXPECT_FALSE(Standin::IsOwnUser(geteuid() + 1));
    EXPECT_FALSE(Standin::IsOwnUser(geteuid() == 0 ? 65534 : 0));
}

TEST_F(MessagePortFaults, AnotherUserReachesNoPort)
{
    const std::string name = UniqueName("foreign");
    ThreadServer server(name);
    const uid_t owner = geteuid();

    EXPECT_TRUE(HoldsInChild([&] {
        if (!BecomeNobody()) {
            // Without the right to change, this process is the port's own user.
            return owner != 0 && Connect(name) != nullptr;
        }
        sockaddr_un address;
        const socklen_t size = AddressOf(name, owner, address);
        const int socket = ::socket(AF_UNIX, SOCK_SEQPACKET, 0);
        if (connect(socket, reinterpret_cast<const sockaddr*>(&address), size) != 0) {
            return false;
        }
        Standin::SendFrame(socket, {Standin::FrameKind::kOneWay, 0, 666, 0}, nullptr);
        char byte = 0;
        // The server ends the connection without a word, with or without the message unread.
        return recv(socket, &byte, 1, 0) <= 0 && Connect(name) == nullptr;
    }));

    CFMessagePortRef port = Connect(name);
    EXPECT_EQ(SendRequest(port, 1), 0);
    EXPECT_EQ(server.WaitFor(1)[0].mID, 1);
    CFRelease(port);
}

TEST_F(MessagePortFaults, AnotherUserCannotListenInOurPlace)
{
    const std::string name = UniqueName("squat");
    const uid_t owner = geteuid();
    int readiness[2];
    ASSERT_EQ(pipe(readiness), 0);
    const pid_t child = fork();
    if (child == 0) {
        const bool isForeign = BecomeNobody();
        sockaddr_un address;
        const socklen_t size = AddressOf(isForeign ? name : name + ".other", owner, address);
        const int socket = ::socket(AF_UNIX, SOCK_SEQPACKET, 0);
        const bool isBound = bind(socket, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
                             listen(socket, 8) == 0;
        const char mark = isBound ? '+' : '-';
        [[maybe_unused]] const ssize_t written = write(readiness[1], &mark, 1);
        pause();
    }
    char mark = 0;
    EXPECT_EQ(read(readiness[0], &mark, 1), 1);
    EXPECT_EQ(mark, '+');

    EXPECT_EQ(Connect(name), nullptr);

    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(readiness[0]);
    close(readiness[1]);
}

} // namespace
