// MessagePortFaultsTest.cpp - message ports in processes that lack descriptors or get signals.

#include "Platform/Ports/OtherUser.h"
#include "Platform/Ports/PortServer.h"
#include "Ports/Frame.h"
#include "Ports/PortName.h"

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace {

using namespace Platform;
using MessagePortFaults = LedgerTest;
using Clock = std::chrono::steady_clock;

/// The number of the next descriptor that a process will get.
rlim_t FindNextDescriptor(pid_t process)
{
    rlim_t next = 0;
    while (std::filesystem::is_symlink("/proc/" + std::to_string(process) + "/fd/" +
                                       std::to_string(next))) {
        ++next;
    }
    return next;
}

void SetDescriptorLimit(pid_t process, rlim_t descriptors)
{
    rlimit limit = {};
    EXPECT_EQ(prlimit(process, RLIMIT_NOFILE, nullptr, &limit), 0);
    limit.rlim_cur = descriptors;
    EXPECT_EQ(prlimit(process, RLIMIT_NOFILE, &limit, nullptr), 0);
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
        // The server is no child of this process, so only a failing send shows that it is gone.
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

/// Sends one message from each of many processes, one after the other. Each must get the status 0.
void SendFromProcesses(const std::string& name, int processes)
{
    for (int process = 0; process < processes; ++process) {
        ASSERT_TRUE(HoldsInChild([&] {
            CFMessagePortRef port = Connect(name);
            return port != nullptr && SendOneWay(port, process, {}, 0.0) == 0;
        }));
    }
}

TEST_F(MessagePortFaults, AnyNumberOfClientsIsServed)
{
    const std::string name = UniqueName("clients");
    ThreadServer server(name);
    std::vector<Standin::FileDescriptor> clients;

    for (int client = 0; client < 300; ++client) {
        clients.push_back(Standin::ConnectToHolder(name));
        fcntl(clients.back().Get(), F_SETFL, 0);
        ASSERT_EQ(Standin::SendFrame(clients.back().Get(),
                                     {Standin::FrameKind::kOneWay, 0, client, 0}, nullptr),
                  Standin::SendResult::kSent);
    }

    for (const Standin::FileDescriptor& client : clients) {
        // The server acknowledges each message; the connection of a refused client has ended.
        unsigned char packet[Standin::kHeaderSize];
        ASSERT_EQ(recv(client.Get(), packet, sizeof packet, 0), 20);
    }
    EXPECT_EQ(server.WaitFor(300).size(), 300u);
}

TEST_F(MessagePortFaults, ClientsThatAServerHasNoDescriptorForWaitAndLoseNothing)
{
    const std::string name = UniqueName("exhausted");
    ProcessServer server(name);
    CFMessagePortRef first = Connect(name);
    EXPECT_EQ(SendRequest(first, 1000), 0);
    EXPECT_EQ(server.NextID(), 1000);
    const rlim_t next = FindNextDescriptor(server.GetProcess());
    SetDescriptorLimit(server.GetProcess(), next);

    ASSERT_NO_FATAL_FAILURE(SendFromProcesses(name, 20));
    EXPECT_EQ(SendRequest(first, 1001), 0);
    EXPECT_EQ(server.NextID(), 1001);
    SetDescriptorLimit(server.GetProcess(), next + 1);

    std::vector<bool> hasArrived(20);
    for (int message = 0; message < 20; ++message) {
        hasArrived.at(static_cast<std::size_t>(server.NextID())) = true;
    }
    EXPECT_EQ(hasArrived, std::vector<bool>(20, true));
    CFRelease(first);
}

} // namespace
