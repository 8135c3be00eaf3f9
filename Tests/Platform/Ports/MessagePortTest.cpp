// MessagePortTest.cpp - message ports within one process: names, messages, replies and queues.

#include "Platform/Ports/PortServer.h"
#include "Support/Threads.h"

#include <gmock/gmock.h>

#include <chrono>
#include <future>

namespace {

using namespace Platform;
using MessagePort = LedgerTest;
using MessagePortDeathTest = LedgerTest;
using Clock = std::chrono::steady_clock;

CFDataRef Ignore(CFMessagePortRef, SInt32, CFDataRef, void*)
{
    return nullptr;
}

/// A local port whose messages are not read.
class Unread
{
public:
    explicit Unread(const std::string& name)
    {
        CFStringRef string = MakeString(name.c_str());
        mPort = CFMessagePortCreateLocal(nullptr, string, &Ignore, nullptr, nullptr);
        CFRelease(string);
    }
    Unread(const Unread&) = delete;
    Unread& operator=(const Unread&) = delete;
    ~Unread() { CFRelease(mPort); }

    CFMessagePortRef Get() const { return mPort; }

private:
    CFMessagePortRef mPort = nullptr;
};

TEST_F(MessagePort, IsMadeAndReleasedByThreadsAtOnce)
{
    const std::string name = UniqueName("threads");
    CFStringRef string = MakeString(name.c_str());

    TestSupport::RunOnThreads(4, [string](std::size_t) {
        for (int round = 0; round < 10000; ++round) {
            // Null where another thread has just released the port and its name is still held.
            const CFMessagePortRef port =
                CFMessagePortCreateLocal(nullptr, string, &Ignore, nullptr, nullptr);
            if (port != nullptr) {
                CFRelease(port);
            }
        }
    });

    const CFMessagePortRef last =
        CFMessagePortCreateLocal(nullptr, string, &Ignore, nullptr, nullptr);
    EXPECT_NE(last, nullptr);
    CFRelease(last);
    CFRelease(string);
}

TEST_F(MessagePort, IsNullWhenNobodyHoldsTheName)
{
    EXPECT_EQ(Connect(UniqueName("nobody")), nullptr);
    EXPECT_EQ(Connect(std::string(200, 'n')), nullptr);
}

TEST_F(MessagePort, NamesAreComparedExactly)
{
    const std::string name = UniqueName("Exact.{Braces}");
    const Unread server(name);
    std::string other = name;
    other.replace(other.find("Exact"), 5, "exact");

    EXPECT_EQ(Connect(other), nullptr);
    EXPECT_EQ(Connect(name + "x"), nullptr);
    EXPECT_EQ(Connect(name.substr(0, name.size() - 1)), nullptr);
    CFMessagePortRef port = Connect(name);
    EXPECT_NE(port, nullptr);
    CFRelease(port);
}

TEST_F(MessagePort, NamesOf127BytesAreToldApart)
{
    std::string name = UniqueName("long");
    name.resize(127, 'a');
    std::string other = name;
    other[126] = 'b';
    const Unread server(name);

    EXPECT_EQ(Connect(other), nullptr);
    CFMessagePortRef port = Connect(name);
    EXPECT_NE(port, nullptr);
    CFRelease(port);
    CFStringRef tooLong = MakeString((name + "a").c_str());
    EXPECT_EQ(CFMessagePortCreateLocal(nullptr, tooLong, &Ignore, nullptr, nullptr), nullptr);
    CFRelease(tooLong);
}

TEST_F(MessagePort, EveryRemotePortIsAnObjectOfItsOwn)
{
    const std::string name = UniqueName("own");
    ThreadServer server(name);

    CFMessagePortRef one = Connect(name);
    CFMessagePortRef other = Connect(name);

    EXPECT_NE(one, other);
    CFMessagePortInvalidate(one);
    EXPECT_EQ(SendOneWay(one, 1), kCFMessagePortIsInvalid);
    EXPECT_EQ(SendOneWay(other, 2), kCFMessagePortSuccess);
    EXPECT_EQ(server.WaitFor(1)[0].mID, 2);
    CFRelease(one);
    CFRelease(other);
}

TEST_F(MessagePort, DeliversIdentifiersAndBytesUnchanged)
{
    const std::string name = UniqueName("bytes");
    ThreadServer server(name);
    CFMessagePortRef port = Connect(name);
    const std::string large(100000, 'x');

    EXPECT_EQ(SendOneWay(port, 0x4F704C4D, ""), 0);
    EXPECT_EQ(SendOneWay(port, -1, std::string_view("\0\xFF", 2)), 0);
    EXPECT_EQ(SendOneWay(port, -0x7FFFFFFF - 1, large), 0);

    const std::vector<Received> expected = {
        {0x4F704C4D, ""}, {-1, std::string("\0\xFF", 2)}, {-0x7FFFFFFF - 1, large}};
    EXPECT_EQ(server.WaitFor(3), expected);
    CFRelease(port);
}

TEST_F(MessagePort, NullDataArrivesAsEmptyData)
{
    const std::string name = UniqueName("null");
    ThreadServer server(name);
    CFMessagePortRef port = Connect(name);

    EXPECT_EQ(CFMessagePortSendRequest(port, 5, nullptr, 10.0, 0.0, nullptr, nullptr), 0);

    // A null object would have ended the program in the server's thread.
    EXPECT_EQ(server.WaitFor(1), (std::vector<Received>{{5, ""}}));
    CFRelease(port);
}

TEST_F(MessagePort, RefusesMoreDataThanAMessageCarries)
{
    const std::string name = UniqueName("large");
    ThreadServer server(name);
    CFMessagePortRef port = Connect(name);

    EXPECT_EQ(SendOneWay(port, 1, std::string(128 * 1024 + 1, 'x')), kCFMessagePortTransportError);
    EXPECT_EQ(SendOneWay(port, 2, std::string(128 * 1024, 'x')), kCFMessagePortSuccess);

    EXPECT_EQ(server.WaitFor(1)[0].mID, 2);
    CFRelease(port);
}

TEST_F(MessagePort, KeepsTheOrderAcrossPortsAndKindsOfMessage)
{
    const std::string name = UniqueName("order");
    ThreadServer server(name);
    CFMessagePortRef ports[2] = {Connect(name), Connect(name)};

    std::vector<Received> expected;
    for (SInt32 id = 0; id < 300; ++id) {
        CFMessagePortRef port = ports[id % 2];
        EXPECT_EQ(id % 3 == 0 ? SendRequest(port, id) : SendOneWay(port, id), 0);
        expected.push_back({id, ""});
    }

    EXPECT_EQ(server.WaitFor(300), expected);
    CFRelease(ports[0]);
    CFRelease(ports[1]);
}

TEST_F(MessagePort, RepliesAreAlwaysSent)
{
    const std::string name = UniqueName("replies");
    ThreadServer server(name, [](SInt32 id) { return id == 1 ? MakeData("reply") : nullptr; });
    CFMessagePortRef port = Connect(name);
    std::string reply;

    EXPECT_EQ(SendRequest(port, 1, 10.0, &reply), 0);
    EXPECT_EQ(reply, "reply");
    EXPECT_EQ(SendRequest(port, 2, 10.0, &reply), 0);
    EXPECT_EQ(reply, "");
    EXPECT_EQ(SendRequest(port, 1), 0);

    CFRelease(port);
}

TEST_F(MessagePort, ALateReplyIsDroppedAndNeverTakenForALaterOne)
{
    const std::string name = UniqueName("late");
    std::promise<void> late;
    ThreadServer server(name, [&](SInt32 id) {
        if (id == 1) {
            late.get_future().wait();
        }
        return MakeData(id == 1 ? "late" : "prompt");
    });
    CFMessagePortRef port = Connect(name);
    std::string reply;

    EXPECT_EQ(SendRequest(port, 1, 0.001, &reply), kCFMessagePortReceiveTimeout);
    EXPECT_EQ(reply, "<none>");
    late.set_value();
    EXPECT_EQ(SendRequest(port, 2, 10.0, &reply), kCFMessagePortSuccess);
    EXPECT_EQ(reply, "prompt");
    EXPECT_EQ(SendRequest(port, 2, 10.0), kCFMessagePortSuccess);

    CFRelease(port);
}

TEST_F(MessagePort, WaitsForAReplyNoLongerThanItsTimeout)
{
    const std::string name = UniqueName("wait");
    const Unread server(name);
    CFMessagePortRef port = Connect(name);

    const auto start = Clock::now();
    EXPECT_EQ(SendRequest(port, 1, 0.02), kCFMessagePortReceiveTimeout);
    const auto took = Clock::now() - start;

    EXPECT_GE(took, std::chrono::milliseconds(20));
    EXPECT_LT(took, std::chrono::seconds(5));
    EXPECT_EQ(SendOneWay(port, 2), kCFMessagePortSuccess);
    CFRelease(port);
}

TEST_F(MessagePort, AnUnreadPortTakesFiveMessagesAndThenTimesOut)
{
    const std::string name = UniqueName("five");
    const Unread server(name);
    CFMessagePortRef port = Connect(name);

    for (SInt32 id = 1; id <= 5; ++id) {
        EXPECT_EQ(SendOneWay(port, id), kCFMessagePortSuccess);
    }
    const auto start = Clock::now();
    EXPECT_EQ(SendOneWay(port, 6, {}, 0.02), kCFMessagePortSendTimeout);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(20));
    EXPECT_EQ(SendOneWay(port, 6, {}, 0.0), kCFMessagePortSendTimeout);
    EXPECT_EQ(SendOneWay(port, 6, {}, 0.0009), kCFMessagePortSendTimeout);
    EXPECT_EQ(CFMessagePortSendRequest(port, 6, nullptr, 0.0, 10.0, kCFRunLoopDefaultMode, nullptr),
              kCFMessagePortSendTimeout);

    CFRelease(port);
}

TEST_F(MessagePort, AFullQueueOfLargeMessagesTimesOutToo)
{
    const std::string name = UniqueName("bulk");
    const Unread server(name);
    CFMessagePortRef port = Connect(name);
    const std::string large(128 * 1024, 'x');

    SInt32 status = kCFMessagePortSuccess;
    int taken = 0;
    while ((status = SendOneWay(port, 1, large, 0.005)) == kCFMessagePortSuccess) {
        ++taken;
    }

    EXPECT_EQ(status, kCFMessagePortSendTimeout);
    EXPECT_GE(taken, 1);
    EXPECT_LE(taken, 5);
    CFRelease(port);
}

TEST_F(MessagePort, ASendWaitsForRoomAndThenSucceeds)
{
    const std::string name = UniqueName("room");
    std::promise<void> blocked;
    std::promise<void> free;
    ThreadServer server(name, [&](SInt32 id) {
        if (id == 0) {
            blocked.set_value();
            free.get_future().wait();
        }
        return nullptr;
    });
    CFMessagePortRef port = Connect(name);
    SendOneWay(port, 0);
    blocked.get_future().wait();
    for (SInt32 id = 1; id <= 5; ++id) {
        EXPECT_EQ(SendOneWay(port, id, {}, 0.0), kCFMessagePortSuccess);
    }
    EXPECT_EQ(SendOneWay(port, 6, {}, 0.0), kCFMessagePortSendTimeout);

    auto sent = std::async(std::launch::async, [&] { return SendOneWay(port, 7, {}, 60.0); });
    free.set_value();

    EXPECT_EQ(sent.get(), kCFMessagePortSuccess);
    EXPECT_EQ(server.WaitFor(7)[6].mID, 7);
    CFRelease(port);
}

/// A local port in the calling thread's loop that keeps the IDs it gets and answers with them.
class OwnPort
{
public:
    explicit OwnPort(const std::string& name)
    {
        CFStringRef string = MakeString(name.c_str());
        CFMessagePortContext context = {0, &mIDs, nullptr, nullptr, nullptr};
        mPort = CFMessagePortCreateLocal(
            nullptr, string,
            [](CFMessagePortRef, SInt32 id, CFDataRef, void* info) {
                static_cast<std::vector<SInt32>*>(info)->push_back(id);
                return MakeData(std::to_string(id));
            },
            &context, nullptr);
        CFRunLoopSourceRef source = CFMessagePortCreateRunLoopSource(nullptr, mPort, 0);
        CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopDefaultMode);
        CFRelease(source);
        CFRelease(string);
    }
    OwnPort(const OwnPort&) = delete;
    OwnPort& operator=(const OwnPort&) = delete;
    ~OwnPort()
    {
        CFMessagePortInvalidate(mPort);
        CFRelease(mPort);
    }

    const std::vector<SInt32>& GetIDs() const { return mIDs; }

private:
    CFMessagePortRef mPort = nullptr;
    std::vector<SInt32> mIDs;
};

TEST_F(MessagePort, ServesItsOwnThreadDuringAReplyWait)
{
    const std::string name = UniqueName("self");
    const OwnPort own(name);
    CFMessagePortRef port = Connect(name);
    std::string reply;

    EXPECT_EQ(SendRequest(port, 9, 10.0, &reply), 0);
    EXPECT_EQ(reply, "9");

    CFRelease(port);
}

// The server replies only after the waiting thread has handled a message of its own port.
TEST_F(MessagePort, EverySourceOfTheModeFiresWhileAReplyIsAwaited)
{
    const std::string name = UniqueName("awaited");
    const std::string ownName = UniqueName("awaited-own");
    const OwnPort own(ownName);
    ThreadServer server(name, [&](SInt32) {
        CFMessagePortRef back = Connect(ownName);
        std::string reply;
        EXPECT_EQ(SendRequest(back, 1, 10.0, &reply), 0);
        CFRelease(back);
        return MakeData("after " + reply);
    });
    CFMessagePortRef port = Connect(name);
    std::string reply;

    EXPECT_EQ(SendRequest(port, 7, 30.0, &reply), 0);

    EXPECT_EQ(reply, "after 1");
    EXPECT_EQ(own.GetIDs(), std::vector<SInt32>{1});
    CFRelease(port);
}

TEST_F(MessagePort, RequestsOfManyThreadsGetTheirOwnReplies)
{
    const std::string name = UniqueName("threads");
    ThreadServer server(name, [](SInt32 id) { return MakeData(std::to_string(id)); });
    CFMessagePortRef port = Connect(name);
    std::vector<std::thread> threads;

    for (SInt32 index = 0; index < 4; ++index) {
        threads.emplace_back([port, index] {
            for (SInt32 round = 0; round < 50; ++round) {
                std::string reply;
                const SInt32 id = index * 1000 + round;
                EXPECT_EQ(SendRequest(port, id, 60.0, &reply), 0);
                EXPECT_EQ(reply, std::to_string(id));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_EQ(server.WaitFor(200).size(), 200u);
    CFRelease(port);
}

TEST_F(MessagePort, TheSameProcessGetsItsExistingLocalPortAgain)
{
    CFStringRef name = MakeString(UniqueName("again").c_str());
    Boolean shouldFree = true;
    CFMessagePortRef one = CFMessagePortCreateLocal(nullptr, name, &Ignore, nullptr, &shouldFree);
    EXPECT_FALSE(shouldFree);

    CFMessagePortRef same = CFMessagePortCreateLocal(nullptr, name, nullptr, nullptr, &shouldFree);

    EXPECT_EQ(one, same);
    EXPECT_TRUE(shouldFree);
    CFRelease(same);
    CFRelease(one);
    CFRelease(name);
}

TEST_F(MessagePort, ALocalPortHasOneSourceAndNoneOnceInvalid)
{
    const Unread server(UniqueName("source"));

    CFRunLoopSourceRef one = CFMessagePortCreateRunLoopSource(nullptr, server.Get(), 0);
    CFRunLoopSourceRef same = CFMessagePortCreateRunLoopSource(nullptr, server.Get(), 7);

    EXPECT_EQ(one, same);
    CFMessagePortInvalidate(server.Get());
    EXPECT_EQ(CFMessagePortCreateRunLoopSource(nullptr, server.Get(), 0), nullptr);
    CFRelease(one);
    CFRelease(same);
}

TEST_F(MessagePort, AnInvalidLocalPortKeepsItsNameUntilItsLastReference)
{
    const std::string name = UniqueName("invalid");
    CFStringRef string = MakeString(name.c_str());
    CFMessagePortRef local = CFMessagePortCreateLocal(nullptr, string, &Ignore, nullptr, nullptr);
    CFMessagePortRef port = Connect(name);

    CFMessagePortInvalidate(local);
    EXPECT_EQ(SendOneWay(port, 1), kCFMessagePortSuccess);
    EXPECT_EQ(SendRequest(port, 2, 0.001), kCFMessagePortReceiveTimeout);
    EXPECT_EQ(CFMessagePortCreateLocal(nullptr, string, &Ignore, nullptr, nullptr), nullptr);

    CFRelease(local);
    EXPECT_EQ(SendOneWay(port, 3), kCFMessagePortTransportError);
    EXPECT_EQ(Connect(name), nullptr);
    CFRelease(port);
    CFRelease(string);
}

TEST_F(MessagePort, ALocalPortWithoutANameIsReachedByNobody)
{
    CFMessagePortRef port = CFMessagePortCreateLocal(nullptr, nullptr, &Ignore, nullptr, nullptr);

    ASSERT_NE(port, nullptr);
    CFRunLoopSourceRef source = CFMessagePortCreateRunLoopSource(nullptr, port, 0);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopDefaultMode);
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.001, true), kCFRunLoopRunTimedOut);
    CFMessagePortInvalidate(port);
    CFRelease(source);
    CFRelease(port);
}

TEST_F(MessagePort, RetainsAndReleasesTheInfoOfItsContext)
{
    static int sHolders = 0;
    CFStringRef name = MakeString(UniqueName("info").c_str());
    CFMessagePortContext context = {};
    context.info = &sHolders;
    context.retain = [](const void* info) {
        ++sHolders;
        return info;
    };
    context.release = [](const void*) { --sHolders; };

    CFMessagePortRef port = CFMessagePortCreateLocal(nullptr, name, &Ignore, &context, nullptr);
    EXPECT_EQ(sHolders, 1);
    CFMessagePortInvalidate(port);
    EXPECT_EQ(sHolders, 0);

    CFRelease(port);
    EXPECT_EQ(sHolders, 0);
    CFRelease(name);
}

TEST_F(MessagePort, InvalidatingAPortEndsItsReplyWaitWithTheUnnamedStatus)
{
    const std::string name = UniqueName("became");
    std::promise<void> arrived;
    ThreadServer server(name, [&](SInt32) {
        arrived.set_value();
        return nullptr;
    });
    const Unread unread(UniqueName("silent"));
    CFMessagePortRef silent = Connect(UniqueName("silent"));

    auto status = std::async(std::launch::async, [&] {
        CFMessagePortRef signal = Connect(name);
        SendOneWay(signal, 1);
        CFRelease(signal);
        return SendRequest(silent, 1, 0.1);
    });
    arrived.get_future().wait();
    CFMessagePortInvalidate(silent);

    EXPECT_THAT(status.get(), testing::AnyOf(-5, kCFMessagePortIsInvalid));
    CFRelease(silent);
}

TEST_F(MessagePortDeathTest, MisuseStopsTheProgramWithAMessage)
{
    EXPECT_EXIT(CFMessagePortCreateRemote(nullptr, nullptr), testing::KilledBySignal(SIGABRT),
                "Platform: CFMessagePortCreateRemote: the object is null");
    EXPECT_EXIT(CFMessagePortSendRequest(nullptr, 1, nullptr, 0, 0, nullptr, nullptr),
                testing::KilledBySignal(SIGABRT),
                "Platform: CFMessagePortSendRequest: the object is null");
    EXPECT_EXIT(SendOneWay(Unread(UniqueName("misuse")).Get(), 1), testing::KilledBySignal(SIGABRT),
                "Platform: CFMessagePortSendRequest: the port is a local one");
}

} // namespace
