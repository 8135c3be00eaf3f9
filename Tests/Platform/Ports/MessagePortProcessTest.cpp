// MessagePortProcessTest.cpp - message ports between two processes, and what a client sees when the
// server ends, is stopped or starts again.

#include "Platform/Ports/OtherUser.h"
#include "Platform/Ports/PortServer.h"

#include <algorithm>
#include <atomic>
#include <barrier>
#include <chrono>
#include <ctime>
#include <fcntl.h>
#include <filesystem>

namespace {

using namespace Platform;
using MessagePortProcess = LedgerTest;
using Clock = std::chrono::steady_clock;

TEST_F(MessagePortProcess, MessagesAndRepliesPassBetweenProcesses)
{
    const std::string name = UniqueName("process");
    ProcessServer server(name);
    CFMessagePortRef port = Connect(name);
    std::string reply;

    EXPECT_EQ(SendOneWay(port, 0x534C4C4D, "document"), 0);
    EXPECT_EQ(SendRequest(port, 0x436C4C4D, 10.0, &reply), 0);

    EXPECT_EQ(server.NextID(), 0x534C4C4D);
    EXPECT_EQ(server.NextID(), 0x436C4C4D);
    EXPECT_EQ(reply.size(), 4u);
    CFRelease(port);
}

TEST_F(MessagePortProcess, AServerThatAppearsLaterIsReachedByTheNextCreation)
{
    const std::string name = UniqueName("later");
    EXPECT_EQ(Connect(name), nullptr);

    ProcessServer server(name);

    CFMessagePortRef port = Connect(name);
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(SendRequest(port, 1), 0);
    CFRelease(port);
}

TEST_F(MessagePortProcess, ASecondHolderOfANameIsRefusedAndToldWhoHoldsIt)
{
    const std::string name = UniqueName("second");
    ProcessServer server(name);
    CFStringRef string = MakeString(name.c_str());

    EXPECT_EQ(CFMessagePortCreateLocal(nullptr, string, nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(StandinGetPortHolder(string), server.GetProcess());

    server.Kill();
    EXPECT_EQ(StandinGetPortHolder(string), 0);
    CFMessagePortRef port = CFMessagePortCreateLocal(nullptr, string, nullptr, nullptr, nullptr);
    EXPECT_NE(port, nullptr);
    CFRelease(port);
    CFRelease(string);
}

TEST_F(MessagePortProcess, AnEndedServerGivesATransportErrorUntilALoopNotices)
{
    const std::string name = UniqueName("ended");
    ProcessServer server(name);
    CFMessagePortRef port = Connect(name);
    EXPECT_EQ(SendRequest(port, 1), 0);

    server.Kill();

    EXPECT_EQ(SendOneWay(port, 2), kCFMessagePortTransportError);
    EXPECT_EQ(SendRequest(port, 3), kCFMessagePortTransportError);
    EXPECT_EQ(SendOneWay(port, 4), kCFMessagePortTransportError);
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 10.0, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(SendOneWay(port, 5), kCFMessagePortIsInvalid);
    EXPECT_EQ(SendRequest(port, 6), kCFMessagePortIsInvalid);
    CFRelease(port);
}

TEST_F(MessagePortProcess, AnEndThatIsNoticedFirstGivesAnInvalidPortAtOnce)
{
    const std::string name = UniqueName("noticed");
    ProcessServer server(name);
    CFMessagePortRef port = Connect(name);
    EXPECT_EQ(SendOneWay(port, 1), 0);

    server.Kill();
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 10.0, true), kCFRunLoopRunHandledSource);

    EXPECT_EQ(SendOneWay(port, 2), kCFMessagePortIsInvalid);
    CFRelease(port);
}

// The wait runs the thread's run loop, and with it a port of the thread's own. That port's callback
// ends the server after the request has certainly been sent.
TEST_F(MessagePortProcess, AServerThatEndsDuringAReplyWaitMakesThePortInvalid)
{
    const std::string name = UniqueName("during");
    const std::string ownName = UniqueName("during-own");
    ProcessServer server(name);
    CFMessagePortRef port = Connect(name);
    server.Stop();
    CFMessagePortContext context{0, &server, nullptr, nullptr, nullptr};
    CFStringRef ownText = MakeString(ownName.c_str());
    CFMessagePortRef own = CFMessagePortCreateLocal(
        nullptr, ownText,
        [](CFMessagePortRef, SInt32, CFDataRef, void* info) -> CFDataRef {
            static_cast<ProcessServer*>(info)->Kill();
            return nullptr;
        },
        &context, nullptr);
    CFRunLoopSourceRef source = CFMessagePortCreateRunLoopSource(nullptr, own, 0);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopDefaultMode);
    CFMessagePortRef toOwn = Connect(ownName);
    EXPECT_EQ(SendOneWay(toOwn, 7), 0);

    EXPECT_EQ(SendRequest(port, 1, 60.0), -5);

    EXPECT_EQ(SendOneWay(port, 2), kCFMessagePortIsInvalid);
    CFMessagePortInvalidate(own);
    CFRelease(toOwn);
    CFRelease(source);
    CFRelease(own);
    CFRelease(ownText);
    CFRelease(port);
}

TEST_F(MessagePortProcess, AStalePortNeverReachesARestartedServerAndANewOneDoes)
{
    const std::string name = UniqueName("restart");
    CFMessagePortRef stale = nullptr;
    {
        ProcessServer first(name);
        stale = Connect(name);
        EXPECT_EQ(SendRequest(stale, 1), 0);
    }
    ProcessServer second(name);

    EXPECT_EQ(SendOneWay(stale, 2), kCFMessagePortTransportError);
    CFMessagePortRef fresh = Connect(name);
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 10.0, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(SendOneWay(stale, 2), kCFMessagePortIsInvalid);
    EXPECT_EQ(SendRequest(fresh, 3), kCFMessagePortSuccess);

    EXPECT_EQ(second.NextID(), 3);
    CFRelease(stale);
    CFRelease(fresh);
}

TEST_F(MessagePortProcess, AStoppedServerTakesFiveMessagesThenSendsTimeOutUntilItGoesOn)
{
    const std::string name = UniqueName("stopped");
    ProcessServer server(name);
    CFMessagePortRef port = Connect(name);
    EXPECT_EQ(SendRequest(port, 1), 0);
    server.Stop();

    for (SInt32 id = 2; id <= 6; ++id) {
        EXPECT_EQ(SendOneWay(port, id), kCFMessagePortSuccess);
    }
    const auto start = Clock::now();
    EXPECT_EQ(SendOneWay(port, 7, {}, 0.05), kCFMessagePortSendTimeout);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(50));
    EXPECT_EQ(SendOneWay(port, 8, {}, 0.0), kCFMessagePortSendTimeout);

    server.Continue();
    EXPECT_EQ(SendRequest(port, 9), kCFMessagePortSuccess);
    for (const SInt32 id : {1, 2, 3, 4, 5, 6, 9}) {
        EXPECT_EQ(server.NextID(), id);
    }
    CFRelease(port);
}

TEST_F(MessagePortProcess, AConnectionToAStoppedServerIsMadeAtOnceAndItsMessagesArriveLater)
{
    const std::string name = UniqueName("asleep");
    ProcessServer server(name);
    server.Stop();

    CFMessagePortRef port = Connect(name);
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(SendOneWay(port, 1), 0);
    EXPECT_EQ(SendRequest(port, 2, 0.001), kCFMessagePortReceiveTimeout);
    std::string reply;
    server.Continue();

    EXPECT_EQ(SendRequest(port, 3, 10.0, &reply), 0);
    SInt32 answered = 0;
    ASSERT_EQ(reply.size(), sizeof answered);
    reply.copy(reinterpret_cast<char*>(&answered), sizeof answered);
    EXPECT_EQ(answered, 3);
    for (const SInt32 id : {1, 2, 3}) {
        EXPECT_EQ(server.NextID(), id);
    }
    CFRelease(port);
}

TEST_F(MessagePortProcess, AServerServesManyClientsOfOneName)
{
    const std::string name = UniqueName("many");
    ThreadServer server(name);
    constexpr int kClients = 6;
    constexpr int kMessages = 40;

    for (int client = 0; client < kClients; ++client) {
        if (fork() == 0) {
            CFMessagePortRef port = Connect(name);
            for (int message = 0; message < kMessages; ++message) {
                SendOneWay(port, client * 1000 + message, {}, 60.0);
            }
            _exit(0);
        }
    }
    const std::vector<Received> received = server.WaitFor(kClients * kMessages);
    while (wait(nullptr) > 0) {
    }

    std::vector<SInt32> next(kClients, 0);
    for (const Received& message : received) {
        SInt32& expected = next.at(static_cast<std::size_t>(message.mID / 1000));
        EXPECT_EQ(message.mID % 1000, expected);
        ++expected;
    }
    EXPECT_EQ(next, std::vector<SInt32>(kClients, kMessages));
}

TEST_F(MessagePortProcess, AForkedChildHasNoneOfItsParentsPorts)
{
    const std::string name = UniqueName("fork");
    CFMessagePortRef port = nullptr;
    {
        ThreadServer server(name);
        port = Connect(name);
        EXPECT_EQ(SendRequest(port, 1), 0);

        const pid_t child = fork();
        if (child == 0) {
            const bool isCutOff = SendOneWay(port, 2) == kCFMessagePortIsInvalid;
            CFMessagePortRef own = Connect(name);
            _exit(isCutOff && own != nullptr && SendRequest(own, 3, 30.0) == 0 ? 0 : 1);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(SendRequest(port, 4), 0);
        EXPECT_EQ(server.WaitFor(3), (std::vector<Received>{{1, ""}, {3, ""}, {4, ""}}));
    }
    CFRelease(port);
}

TEST_F(MessagePortProcess, AForkedChildDoesNotHoldItsParentsName)
{
    const std::string name = UniqueName("inherit");
    CFStringRef string = MakeString(name.c_str());
    CFMessagePortRef local = CFMessagePortCreateLocal(nullptr, string, nullptr, nullptr, nullptr);
    int hold[2];
    ASSERT_EQ(pipe(hold), 0);
    const pid_t child = fork();
    if (child == 0) {
        close(hold[1]);
        char mark = 0;
        _exit(static_cast<int>(read(hold[0], &mark, 1)));
    }

    CFRelease(local);
    // The child closes its copies before fork returns in it. That may be later than this line.
    while (StandinGetPortHolder(string) != 0) {
        std::this_thread::yield();
    }
    EXPECT_EQ(Connect(name), nullptr);

    close(hold[0]);
    close(hold[1]);
    waitpid(child, nullptr, 0);
    CFRelease(string);
}

int CountSockets()
{
    int sockets = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        const std::string target = std::filesystem::read_symlink(entry.path(), ignored).string();
        sockets += target.starts_with("socket:") ? 1 : 0;
    }
    return sockets;
}

TEST_F(MessagePortProcess, ThreadsThatAskAtOnceShareOneConnection)
{
    const std::string name = UniqueName("at-once");
    ProcessServer server(name);
    const int before = CountSockets();

    for (int round = 0; round < 200; ++round) {
        std::barrier together(3);
        CFMessagePortRef ports[3] = {};
        std::thread threads[3];
        for (int index = 0; index < 3; ++index) {
            threads[index] = std::thread([&, index] {
                together.arrive_and_wait();
                ports[index] = Connect(name);
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(CountSockets() - before, 1) << round;
        for (CFMessagePortRef port : ports) {
            CFRelease(port);
        }
    }
}

// A child finds no lock locked, whatever another thread was doing during the fork.
TEST_F(MessagePortProcess, ForksWhileThreadsConnectAndSendHaveNothingLocked)
{
    const std::string name = UniqueName("forks");
    CFStringRef own = MakeString(UniqueName("forks-own").c_str());
    {
        ThreadServer server(name);
        CFMessagePortRef port = Connect(name);
        std::atomic<bool> isOver{false};
        std::vector<std::thread> threads;
        for (int index = 0; index < 3; ++index) {
            threads.emplace_back([&, index] {
                while (!isOver) {
                    CFMessagePortRef mine = Connect(name);
                    if (index == 0) {
                        SendRequest(mine, 1);
                    } else {
                        SendOneWay(port, 2);
                    }
                    CFRelease(mine);
                }
            });
        }
        for (int round = 0; round < 40; ++round) {
            const pid_t child = fork();
            if (child == 0) {
                alarm(60);
                const bool isCutOff = SendOneWay(port, 3) == kCFMessagePortIsInvalid;
                CFMessagePortRef fresh = Connect(name);
                CFMessagePortRef local =
                    CFMessagePortCreateLocal(nullptr, own, nullptr, nullptr, nullptr);
                const bool isServed = fresh != nullptr && SendRequest(fresh, 4, 50.0) == 0;
                CFRelease(port);
                _exit(isCutOff && isServed && local != nullptr ? 0 : 1);
            }
            int status = -1;
            waitpid(child, &status, 0);
            EXPECT_EQ(status, 0);
        }
        isOver = true;
        for (std::thread& thread : threads) {
            thread.join();
        }
        CFRelease(port);
    }
    CFRelease(own);
}

TEST_F(MessagePortProcess, ALocalPortIsInvalidInAForkedChildAndNeverReady)
{
    const std::string name = UniqueName("child-local");
    CFStringRef string = MakeString(name.c_str());
    CFMessagePortRef local = CFMessagePortCreateLocal(nullptr, string, nullptr, nullptr, nullptr);
    CFRunLoopSourceRef source = CFMessagePortCreateRunLoopSource(nullptr, local, 0);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopDefaultMode);

    const pid_t child = fork();
    if (child == 0) {
        // These get the numbers of the closed descriptors.
        for (int file = 0; file < 20; ++file) {
            open("/dev/null", O_RDONLY);
        }
        const bool isInvalid = CFMessagePortCreateRunLoopSource(nullptr, local, 0) == nullptr;
        const auto start = std::clock();
        const SInt32 result = CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.2, true);
        const bool isIdle = std::clock() - start < CLOCKS_PER_SEC / 10;
        _exit(isInvalid && isIdle && result == kCFRunLoopRunTimedOut ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    CFRunLoopSourceRef same = CFMessagePortCreateRunLoopSource(nullptr, local, 0);
    EXPECT_EQ(same, source);
    CFMessagePortInvalidate(local);
    for (CFTypeRef object :
         {CFTypeRef(same), CFTypeRef(source), CFTypeRef(local), CFTypeRef(string)}) {
        CFRelease(object);
    }
}

TEST_F(MessagePortProcess, APortTellsWhichProcessSentAMessage)
{
    CFStringRef name = MakeString(UniqueName("sender").c_str());
    std::vector<SInt32> senders;
    CFMessagePortContext context = {0, &senders, nullptr, nullptr, nullptr};
    CFMessagePortRef local = CFMessagePortCreateLocal(
        nullptr, name,
        [](CFMessagePortRef port, SInt32, CFDataRef, void* info) -> CFDataRef {
            static_cast<std::vector<SInt32>*>(info)->push_back(StandinGetSender(port));
            return nullptr;
        },
        &context, nullptr);
    CFRunLoopSourceRef source = CFMessagePortCreateRunLoopSource(nullptr, local, 0);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopDefaultMode);
    EXPECT_EQ(StandinGetSender(local), 0);

    const pid_t child = fork();
    if (child == 0) {
        CFMessagePortRef port = CFMessagePortCreateRemote(nullptr, name);
        _exit(SendOneWay(port, 1) == 0 ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    while (CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true) == kCFRunLoopRunHandledSource) {
    }
    CFMessagePortRef port = CFMessagePortCreateRemote(nullptr, name);
    EXPECT_EQ(SendOneWay(port, 2), 0);
    while (CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true) == kCFRunLoopRunHandledSource) {
    }

    EXPECT_EQ(senders, (std::vector<SInt32>{child, getpid()}));
    CFMessagePortInvalidate(local);
    for (CFTypeRef object :
         {CFTypeRef(port), CFTypeRef(source), CFTypeRef(local), CFTypeRef(name)}) {
        CFRelease(object);
    }
}

TEST_F(MessagePortProcess, APortThatRefusesSendersDeliversWhatWasSentBefore)
{
    CFStringRef name = MakeString(UniqueName("refuses").c_str());
    std::vector<SInt32> received;
    CFMessagePortContext context = {0, &received, nullptr, nullptr, nullptr};
    CFMessagePortRef local = CFMessagePortCreateLocal(
        nullptr, name,
        [](CFMessagePortRef, SInt32 id, CFDataRef, void* info) -> CFDataRef {
            static_cast<std::vector<SInt32>*>(info)->push_back(id);
            return nullptr;
        },
        &context, nullptr);
    CFRunLoopSourceRef source = CFMessagePortCreateRunLoopSource(nullptr, local, 0);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopDefaultMode);
    CFMessagePortRef port = CFMessagePortCreateRemote(nullptr, name);
    EXPECT_EQ(SendOneWay(port, 1), 0);
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true);
    EXPECT_EQ(SendOneWay(port, 2), 0);
    EXPECT_TRUE(HoldsInChild([&] {
        CFMessagePortRef other = CFMessagePortCreateRemote(nullptr, name);
        return SendOneWay(other, 3) == 0 && SendOneWay(other, 4) == 0;
    }));

    StandinRefuseSenders(local);

    EXPECT_EQ(SendOneWay(port, 5), kCFMessagePortTransportError);
    EXPECT_EQ(CFMessagePortCreateRemote(nullptr, name), nullptr);
    while (CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true) == kCFRunLoopRunHandledSource) {
    }
    std::sort(received.begin() + 1, received.end());
    EXPECT_EQ(received, (std::vector<SInt32>{1, 2, 3, 4}));
    EXPECT_TRUE(HoldsInChild([&] {
        return CFMessagePortCreateLocal(nullptr, name, nullptr, nullptr, nullptr) == nullptr;
    }));
    CFMessagePortInvalidate(local);
    for (CFTypeRef object :
         {CFTypeRef(port), CFTypeRef(source), CFTypeRef(local), CFTypeRef(name)}) {
        CFRelease(object);
    }
}

} // namespace
