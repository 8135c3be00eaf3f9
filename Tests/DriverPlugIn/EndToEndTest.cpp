// EndToEndTest.cpp - the plug-in against a server in another process, over the real transport.

#include "DriverPlugIn/ServerLink.h"
#include "DriverPlugIn/Support/Bytes.h"
#include "DriverPlugIn/Support/Heap.h"
#include "DriverPlugIn/Support/ServerProcess.h"

#include "Protocol/ServerProtocol.h"

#include <CoreAudio/AudioDriverPlugIn.h>

#include <gtest/gtest.h>

#include <Standin/LiveObjects.h>

#include <chrono>
#include <future>
#include <random>
#include <stdexcept>
#include <thread>

namespace {

constexpr SInt32 kOpLM = 0x4F704C4D;
constexpr SInt32 kClLM = 0x436C4C4D;
constexpr SInt32 kSLLM = 0x534C4C4D;

/// After so many rounds the heap's own caches of free blocks are as full as they get.
constexpr int kWarmUps = 100;

class EndToEnd : public testing::Test
{
protected:
    void SetUp() override
    {
        // Opening a port makes the thread's run loop, which stays.
        CFRunLoopGetCurrent();
        mLiveBefore = StandinGetTotalLiveObjectCount();
    }

    void TearDown() override
    {
        for (const AudioDeviceID device : mOpen) {
            EXPECT_EQ(AudioDriverPlugInClose(device), 0);
        }
        // The plug-in keeps its ports for good; all else has to be gone.
        EXPECT_EQ(StandinGetTotalLiveObjectCount(), mLiveBefore + CountOpenedPorts());
        ReleaseOpenedPorts();
    }

    void Open(AudioDeviceID device)
    {
        AudioDriverPlugInHostInfo hostInfo = {device, 0, 0, nullptr, nullptr};
        ASSERT_EQ(AudioDriverPlugInOpen(&hostInfo), 0);
        mOpen.push_back(device);
    }

    static OSStatus SetInteger(AudioDeviceID device, UInt32 property, UInt32 value)
    {
        return AudioDriverPlugInDeviceSetProperty(device, nullptr, 0, 1, property, 4, &value);
    }
    static OSStatus SetEnable(AudioDeviceID device, UInt32 value)
    {
        return SetInteger(device, kDirectMonitorEnableProperty, value);
    }
    static OSStatus SetState(AudioDeviceID device, UInt32 value)
    {
        return SetInteger(device, kDirectMonitorStateProperty, value);
    }
    static OSStatus SetLevel(AudioDeviceID device, UInt32 channel)
    {
        const Float32 gains[2] = {1.0F, 0.5F};
        return AudioDriverPlugInDeviceSetProperty(device, nullptr, channel, 1,
                                                  kDirectMonitorLevelProperty, 8, gains);
    }

private:
    SInt32 mLiveBefore = 0;
    std::vector<AudioDeviceID> mOpen;
};

/// Expects the next message to set a parameter of a device to data given in hexadecimal digits.
void ExpectSet(ServerProcess& server, const char* device, UInt32 parameter, const char* data)
{
    const ReceivedMessage received = server.Receive();
    ASSERT_EQ(received.id, kSLLM);
    const Document document = TakeApart(received.data);
    EXPECT_EQ(document.deviceID, device);
    const Message message = TakeMessageApart(document.message);
    EXPECT_EQ(message.length, document.message.size());
    EXPECT_EQ(message.parameter, parameter);
    EXPECT_EQ(ToHex(message.data), data);
}

void ExpectSimple(ServerProcess& server, SInt32 id)
{
    const ReceivedMessage received = server.Receive();
    EXPECT_EQ(received.id, id);
    EXPECT_EQ(received.data, "");
}

/// What does not wait takes less than this, on a busy machine too: two of the timeouts that it
/// could have waited for.
constexpr double kAtOnceSeconds = 2 * kSendTimeoutSeconds;

/// The seconds since it was made.
class Stopwatch
{
public:
    double GetSeconds() const
    {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - mStart).count();
    }

private:
    std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};

bool IsOfADeadServer(SInt32 status)
{
    return status == kCFMessagePortIsInvalid || status == kCFMessagePortTransportError;
}

TEST_F(EndToEnd, EverySetArrivesInOrder)
{
    ServerProcess server(ServerProcess::kServes);
    Open(258);

    EXPECT_EQ(SetEnable(258, 0xFFFFFFFF), 0);
    EXPECT_EQ(SetState(258, 2), 0);
    EXPECT_EQ(SetLevel(258, 1), 0);
    EXPECT_EQ(SetLevel(258, 0), 0);
    EXPECT_EQ(SetState(258, 0), 0);

    ExpectSet(server, "258", 0xFFFFFF06, "FFFFFFFF");
    ExpectSimple(server, kOpLM);
    ExpectSet(server, "258", 0xFFFFFF05, "02000000");
    ExpectSet(server, "258", 0xFFFFFF07,
              kIsBigEndian ? "00000000 00000000 C0181518 24C7587F 00000000"
                           : "00000000 00000000 7F58C724 181518C0 00000000");
    ExpectSet(server, "258", 0xFFFFFF07,
              kIsBigEndian ? "00000000 00000000 C0181518 24C7587F FFFFFFFF"
                           : "00000000 00000000 7F58C724 181518C0 FFFFFFFF");
    ExpectSet(server, "258", 0xFFFFFF05, "00000000");
    ExpectSimple(server, kClLM);
}

TEST_F(EndToEnd, TwoDevicesReachOneServerOverAPortEach)
{
    ServerProcess server(ServerProcess::kServes);
    Open(1);
    Open(0xFFFFFFFE);

    EXPECT_EQ(SetEnable(1, 1), 0);
    EXPECT_EQ(SetEnable(0xFFFFFFFE, 1), 0);

    // Order is kept within a port; these are two.
    const std::string first = TakeApart(server.Receive().data).deviceID;
    const std::string second = TakeApart(server.Receive().data).deviceID;
    EXPECT_TRUE((first == "1" && second == "-2") || (first == "-2" && second == "1"));
    EXPECT_EQ(CountOpenedPorts(), 2);
}

TEST_F(EndToEnd, AbsentServerLeavesNothingOpenAndALevelCountsAsDone)
{
    Open(258);
    const Stopwatch watch;

    EXPECT_EQ(SetEnable(258, 1), -3);
    EXPECT_EQ(SetState(258, 1), -3);
    EXPECT_EQ(SetState(258, 0), -3);
    EXPECT_EQ(SetLevel(258, 1), 0);

    EXPECT_LT(watch.GetSeconds(), kAtOnceSeconds);
    EXPECT_EQ(CountOpenedPorts(), 0);
}

TEST_F(EndToEnd, ServerThatAppearsLaterIsReachedByTheNextSet)
{
    Open(258);
    EXPECT_EQ(SetEnable(258, 1), -3);

    ServerProcess server(ServerProcess::kServes);

    EXPECT_EQ(SetEnable(258, 2), 0);
    ExpectSet(server, "258", 0xFFFFFF06, "02000000");
    EXPECT_EQ(CountOpenedPorts(), 1);
}

TEST_F(EndToEnd, ServerThatIsKilledGivesTheSendsOwnStatus)
{
    ServerProcess server(ServerProcess::kServes);
    Open(258);
    EXPECT_EQ(SetEnable(258, 1), 0);

    server.Kill();
    const Stopwatch watch;

    for (int attempt = 0; attempt < 3; ++attempt) {
        SCOPED_TRACE(attempt);
        EXPECT_PRED1(IsOfADeadServer, SetEnable(258, 1));
        EXPECT_PRED1(IsOfADeadServer, SetLevel(258, 1));
        EXPECT_PRED1(IsOfADeadServer, SetState(258, 1));
        EXPECT_PRED1(IsOfADeadServer, SetState(258, 0));
    }
    EXPECT_LT(watch.GetSeconds(), kAtOnceSeconds);
    EXPECT_EQ(CountOpenedPorts(), 1);
}

TEST_F(EndToEnd, RestartedServerIsReachedByReopenedDevicesOnly)
{
    Open(1);
    {
        ServerProcess server(ServerProcess::kServes);
        EXPECT_EQ(SetEnable(1, 1), 0);
    }
    ServerProcess server(ServerProcess::kServes);

    EXPECT_PRED1(IsOfADeadServer, SetEnable(1, 2));
    EXPECT_PRED1(IsOfADeadServer, SetEnable(1, 3));
    EXPECT_EQ(AudioDriverPlugInClose(1), 0);
    AudioDriverPlugInHostInfo hostInfo = {1, 0, 0, nullptr, nullptr};
    EXPECT_EQ(AudioDriverPlugInOpen(&hostInfo), 0);
    EXPECT_EQ(SetEnable(1, 4), 0);

    ExpectSet(server, "1", 0xFFFFFF06, "04000000");
}

TEST_F(EndToEnd, StoppedServerTakesSomeMessagesAndThenSendsTimeOut)
{
    ServerProcess server(ServerProcess::kServes);
    Open(258);
    EXPECT_EQ(SetEnable(258, 0), 0);
    ExpectSet(server, "258", 0xFFFFFF06, "00000000");
    server.Stop();

    OSStatus status = 0;
    UInt32 accepted = 0;
    Stopwatch watch;
    while (status == 0 && accepted < 100) {
        watch = Stopwatch();
        status = SetEnable(258, accepted + 1);
        accepted += status == 0 ? 1 : 0;
    }
    const double seconds = watch.GetSeconds();

    EXPECT_EQ(status, -1);
    EXPECT_EQ(accepted, 5u);
    EXPECT_GE(seconds, 0.99);
    EXPECT_LT(seconds, 20.0);
    EXPECT_EQ(SetState(258, 1), -1);
    server.Continue();
    for (const char* const data : {"01000000", "02000000", "03000000", "04000000", "05000000"}) {
        ExpectSet(server, "258", 0xFFFFFF06, data);
    }
    EXPECT_EQ(SetEnable(258, 6), 0);
    ExpectSet(server, "258", 0xFFFFFF06, "06000000");
}

/// The values of the sets that a server tells of, until it ends.
std::vector<std::string> ReadValuesUntilItsEnd(ServerProcess& server)
{
    std::vector<std::string> values;
    try {
        for (;;) {
            const ReceivedMessage received = server.Receive();
            if (received.id == kSLLM) {
                const Document document = TakeApart(received.data);
                values.push_back(ToHex(TakeMessageApart(document.message).data));
            }
        }
    } catch (const std::runtime_error&) {
        return values;
    }
}

TEST_F(EndToEnd, ServersThatAreStoppedAndEndedAtRandomLoseNoSetThatWasAnsweredWhileTheyLived)
{
    std::mt19937 random(1);
    for (int round = 0; round < 4; ++round) {
        SCOPED_TRACE(round);
        ServerProcess server(ServerProcess::kServes);
        Open(static_cast<AudioDeviceID>(round));
        auto received =
            std::async(std::launch::async, [&server] { return ReadValuesUntilItsEnd(server); });
        std::vector<std::string> answered;
        const auto set = [&] {
            const auto value = static_cast<UInt32>(answered.size());
            if (SetEnable(static_cast<AudioDeviceID>(round), value) == 0) {
                const char bytes[] = {static_cast<char>(value), static_cast<char>(value >> 8),
                                      static_cast<char>(value >> 16), '\0'};
                answered.push_back(ToHex({bytes, sizeof bytes}));
            }
        };
        for (int stop = 0; stop < 4; ++stop) {
            for (auto sets = random() % 100; sets > 0; --sets) {
                set();
            }
            server.Stop();
            for (auto sets = random() % 6; sets > 0; --sets) {
                set();
            }
            server.Continue();
        }
        // The reply comes after everything before it.
        _PlugInInfo info = {1000, 0, 0, nullptr, nullptr, nullptr};
        while (SendSimpleMessageToServer(&info, kOpLM) == kCFMessagePortReceiveTimeout) {
        }
        server.KillSoon();

        EXPECT_EQ(received.get(), answered);
    }
}

TEST_F(EndToEnd, ServerThatNeverRepliesDelaysSimpleMessagesAndFailsNoSet)
{
    ServerProcess server(ServerProcess::kNeverRuns);
    _PlugInInfo info = {258, 0, 0, nullptr, nullptr, nullptr};
    Open(258);

    const Stopwatch watch;
    EXPECT_EQ(SendSimpleMessageToServer(&info, kOpLM), -2);
    EXPECT_GE(watch.GetSeconds(), 0.001);
    EXPECT_EQ(SetState(258, 1), 0);
    EXPECT_EQ(SetState(258, 0), 0);

    EXPECT_LT(watch.GetSeconds(), kAtOnceSeconds);
}

TEST_F(EndToEnd, ServerThatRepliesLateFailsNoSet)
{
    ServerProcess server(ServerProcess::kWaitsToReply);
    Open(258);

    EXPECT_EQ(SetState(258, 1), 0);
    EXPECT_EQ(SetState(258, 0), 0);

    ExpectSimple(server, kOpLM);
    server.LetReply();
    ExpectSet(server, "258", 0xFFFFFF05, "01000000");
    server.LetReply();
    ExpectSet(server, "258", 0xFFFFFF05, "00000000");
    server.LetReply();
    ExpectSimple(server, kClLM);
    server.LetReply();
}

TEST_F(EndToEnd, SimpleMessageThatIsAnsweredInTimeSucceeds)
{
    ServerProcess server(ServerProcess::kServes);
    _PlugInInfo info = {258, 0, 0, nullptr, nullptr, nullptr};

    // A busy machine may keep the server from answering within the millisecond; then again.
    SInt32 status = kCFMessagePortReceiveTimeout;
    for (int attempt = 0; attempt < 1000 && status == kCFMessagePortReceiveTimeout; ++attempt) {
        status = SendSimpleMessageToServer(&info, kOpLM);
        ExpectSimple(server, kOpLM);
    }

    EXPECT_EQ(status, 0);
}

TEST_F(EndToEnd, TwoThreadsMayOpenThePortOfOneRecordAtOnce)
{
    ServerProcess server(ServerProcess::kServes);
    _PlugInInfo info = {258, 0, 0, nullptr, nullptr, nullptr};
    const auto open = [&info] { EXPECT_EQ(MessagePortValid(&info), 1); };

    std::thread first(open);
    std::thread second(open);
    first.join();
    second.join();

    EXPECT_NE(info.mMessagePort, nullptr);
    EXPECT_GE(CountOpenedPorts(), 1);
    EXPECT_LE(CountOpenedPorts(), 2);
}

TEST_F(EndToEnd, SetsThatAreSentDoNotGrowTheHeap)
{
    ServerProcess server(ServerProcess::kServes);
    Open(258);
    const auto set = [&](UInt32 value) {
        ASSERT_EQ(SetEnable(258, value), 0);
        server.Receive();
    };
    for (UInt32 value = 0; value < kWarmUps; ++value) {
        set(value);
    }
    const std::size_t before = CountHeapBytes();

    for (UInt32 value = 1; value <= 2000; ++value) {
        set(value);
    }

    EXPECT_LE(CountHeapBytes(), before + 100);
}

} // namespace
