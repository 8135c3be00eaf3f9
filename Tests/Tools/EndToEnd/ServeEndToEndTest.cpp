// ServeEndToEndTest.cpp - what a driver sees of qxmon serve and its faults.

#include "Protocol/ServerProtocol.h"
#include "Tests/Tools/EndToEnd/ChildProcess.h"

#include <CoreFoundation/CoreFoundation.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>

namespace {

using ToolsTests::ChildProcess;
using ToolsTests::kHostProgram;
using ToolsTests::kMonitorProgram;
using JSON = nlohmann::json;
using Lines = std::vector<std::string>;

/// Drives the plug-in through an open device and some sets, and returns the sets' statuses.
std::vector<int> Drive(const std::string& sets)
{
    ChildProcess host(kHostProgram, {"--json", "run", "-"}, "open 7\n" + sets + "close\n");
    std::vector<int> statuses;
    for (const std::string& line : host.ReadLines()) {
        const JSON object = JSON::parse(line);
        if (object.value("entryPoint", "") == "AudioDriverPlugInDeviceSetProperty") {
            statuses.push_back(object["status"].get<int>());
        }
    }
    return statuses;
}

std::string Repeat(int times, const std::string& line)
{
    std::string text;
    for (int index = 0; index < times; ++index) {
        text += line;
    }
    return text;
}

/// A server that is ready.
class Server
{
public:
    explicit Server(Lines words)
        : mMonitor(kMonitorProgram, MakeArguments(std::move(words)))
    {
        const std::optional<std::string> ready = mMonitor.ReadLine();
        EXPECT_EQ(JSON::parse(ready.value_or("{}")).value("event", ""), "ready")
            << mMonitor.GetErrors();
    }

    JSON ReadMessage() { return JSON::parse(mMonitor.ReadLine().value_or("{}")); }

    /// Ends it, if it still runs, and returns its exit code.
    int End()
    {
        mMonitor.Signal(SIGTERM);
        while (const std::optional<std::string> line = mMonitor.ReadLine()) {
            mLast = JSON::parse(*line);
        }
        return mMonitor.Wait();
    }

    /// The last line that it wrote before its end.
    const JSON& GetLast() const { return mLast; }

private:
    static Lines MakeArguments(Lines words)
    {
        words.insert(words.begin(), {"serve", "--json", "--profile"});
        return words;
    }

    ChildProcess mMonitor;
    JSON mLast;
};

/// A sender that stays connected.
class Sender
{
public:
    Sender()
        : mPort(CFMessagePortCreateRemote(nullptr, CFSTR(kServerPortName)))
    {}
    ~Sender() { CFRelease(mPort); }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    SInt32 Send() const
    {
        return CFMessagePortSendRequest(mPort, kOpenDirectMonitorMessage, nullptr, 30, 0, nullptr,
                                        nullptr);
    }

    /// Sends, and returns the reply.
    std::string Ask() const
    {
        CFDataRef reply = nullptr;
        CFMessagePortSendRequest(mPort, kOpenDirectMonitorMessage, nullptr, 30, 30,
                                 kCFRunLoopDefaultMode, &reply);
        if (reply == nullptr) {
            return "no reply";
        }
        std::string text(reinterpret_cast<const char*>(CFDataGetBytePtr(reply)),
                         static_cast<std::size_t>(CFDataGetLength(reply)));
        CFRelease(reply);
        return text;
    }

private:
    const CFMessagePortRef mPort;
};

TEST(Serve, LetsSendersWaitForRoomWhenItIsSlow)
{
    Server server({"slow", "0.01"});

    // Five messages fill the queue; each of the others waits until one has been taken.
    EXPECT_EQ(Drive(Repeat(9, "set enable 1\n")), std::vector<int>(9, 0));

    EXPECT_EQ(server.End(), 0);
    EXPECT_EQ(server.GetLast()["received"], 9);
}

TEST(Serve, ShowsAtItsEndWhatItAnsweredBeforeItsPause)
{
    Server server({"slow", "60"});

    EXPECT_EQ(Drive(Repeat(6, "set enable 1\n")),
              (std::vector<int>{0, 0, 0, 0, 0, kCFMessagePortSendTimeout}));

    EXPECT_EQ(server.End(), 0);
    EXPECT_EQ(server.GetLast()["received"], 5);
}

TEST(Serve, CountsWhatIsLostWhenItIsSilent)
{
    Server server({"silent"});

    EXPECT_EQ(Drive(Repeat(6, "set enable 1\n")),
              (std::vector<int>{0, 0, 0, 0, 0, kCFMessagePortSendTimeout}));

    EXPECT_EQ(server.End(), 0);
    EXPECT_EQ(server.GetLast()["received"], 0);
    EXPECT_EQ(server.GetLast().value("lost", 0), 5);
}

TEST(Serve, EndsWhenItsReaderGoesAlthoughNothingArrives)
{
    for (const Lines& profile : {Lines{"silent"}, Lines{"slow", "3600"}, Lines{"refuse"}}) {
        Lines words = {"serve", "--profile"};
        words.insert(words.end(), profile.begin(), profile.end());
        ChildProcess monitor(kMonitorProgram, words);
        monitor.ReadLine();
        monitor.ReadLine();

        monitor.CloseOutput();

        EXPECT_EQ(monitor.Wait(), 7) << profile.front();
        EXPECT_EQ(monitor.GetErrors(), "");
    }
}

TEST(Serve, RefusesSendersAfterItsFirstMessage)
{
    Server server({"refuse"});
    const Sender sender;

    EXPECT_EQ(sender.Send(), 0);
    EXPECT_EQ(server.ReadMessage()["number"], 1);

    EXPECT_EQ(sender.Send(), kCFMessagePortTransportError);
    // The port is still held, but not for anyone.
    EXPECT_EQ(Drive("set enable 1\n"), std::vector<int>{kCFMessagePortIsInvalid});
    EXPECT_EQ(ChildProcess(kMonitorProgram, {}).Wait(), 3);
    EXPECT_EQ(server.End(), 0);
    EXPECT_EQ(server.GetLast()["received"], 1);
}

TEST(Serve, RefusesSendersFromTheStartIfItIsToldSo)
{
    Server server({"refuse", "0"});

    EXPECT_EQ(Drive("set enable 1\nset level 1 1\n"),
              (std::vector<int>{kCFMessagePortIsInvalid, 0}));
    EXPECT_EQ(server.End(), 0);
}

TEST(Serve, DiesAtAMessage)
{
    Server server({"die-after", "2"});
    const Sender sender;

    EXPECT_EQ(sender.Send(), 0);
    EXPECT_EQ(sender.Send(), 0);
    EXPECT_EQ(server.ReadMessage()["number"], 1);
    EXPECT_EQ(server.ReadMessage()["number"], 2);

    EXPECT_EQ(server.End(), -SIGKILL);
    EXPECT_EQ(server.GetLast(), JSON()) << "no summary";
    EXPECT_EQ(sender.Send(), kCFMessagePortTransportError);
    EXPECT_EQ(Drive("set enable 1\n"), std::vector<int>{kCFMessagePortIsInvalid});
}

TEST(Serve, RepliesWithBytesThatMeanNothing)
{
    Server server({"garbage-reply", "--count", "1"});

    EXPECT_EQ(Sender().Ask(), "\x7F no document \xFF");

    EXPECT_EQ(server.End(), 0);
}

TEST(Serve, ShowsADriverNoDifferenceByItsGarbage)
{
    Server server({"garbage-reply"});

    EXPECT_EQ(Drive("set state 1\nset enable 1\nset state 0\n"), std::vector<int>(3, 0));

    EXPECT_EQ(server.End(), 0);
    EXPECT_EQ(server.GetLast()["received"], 5);
}

TEST(Serve, RefusesAProfileThatItDoesNotHave)
{
    const struct
    {
        Lines words;
        const char* error;
    } kCases[] = {
        {{"serve"}, "--profile is required"},
        {{"serve", "--profile", "slwo"},
         "there is no profile \"slwo\"; did you mean slow? there are slow, silent, refuse, "
         "die-after and garbage-reply"},
        {{"serve", "--profile", "slow", "0"},
         "\"0\" is not a number of seconds from 0.001 to 3600"},
        {{"serve", "--profile", "slow", "nan"},
         "\"nan\" is not a number of seconds from 0.001 to 3600"},
        {{"serve", "--profile", "silent", "3"}, "silent takes no number"},
        {{"serve", "--profile", "refuse", "-1"},
         "\"-1\" is not a number of messages from 0 to 1000000"},
        {{"serve", "--profile", "die-after"},
         "die-after needs a number of messages from 1 to 1000000"},
        {{"serve", "--profile", "die-after", "0"},
         "\"0\" is not a number of messages from 1 to 1000000"},
        {{"serve", "--profile", "die-after", "1.5"},
         "\"1.5\" is not a number of messages from 1 to 1000000"},
        {{"serve", "--profile", "silent", "--count", "3"},
         "--count has no effect on serve --profile silent"},
    };
    for (const auto& entry : kCases) {
        ChildProcess monitor(kMonitorProgram, entry.words);

        EXPECT_EQ(monitor.Wait(), 2);
        EXPECT_EQ(monitor.GetErrors(),
                  std::string("qxmon: ") + entry.error + "\nqxmon --help tells more.\n");
    }
}

} // namespace
