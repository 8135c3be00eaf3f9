// HostileSendersTest.cpp - the real qxmon among senders that flood it, send garbage, or come and
// go.

#include "Ports/PortName.h"
#include "Protocol/ServerProtocol.h"
#include "Tests/Tools/EndToEnd/ChildProcess.h"
#include "Tests/Tools/Monitor/Messages.h"

#include <CoreFoundation/CoreFoundation.h>

#include <csignal>
#include <deque>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using ToolsTests::ChildProcess;
using ToolsTests::kBigEndianLevelText;
using ToolsTests::kBigEndianStateText;
using ToolsTests::kMonitorProgram;
using ToolsTests::MakeDocument;
using JSON = nlohmann::json;

constexpr double kPatienceSeconds = 60;

/// A process that does one thing again and again until the end of this object.
class Flood
{
public:
    template <class Step>
    explicit Flood(Step step)
    {
        int report[2];
        if (pipe(report) != 0) {
            throw std::runtime_error("no pipe");
        }
        mProcess = fork();
        if (mProcess == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            for (unsigned long round = 0;; ++round) {
                step(round);
                if (round == kBusyRounds && write(report[1], "b", 1) != 1) {
                    _exit(1);
                }
            }
        }
        close(report[1]);
        mReport = report[0];
    }
    Flood(const Flood&) = delete;
    Flood& operator=(const Flood&) = delete;
    ~Flood()
    {
        kill(mProcess, SIGKILL);
        waitpid(mProcess, nullptr, 0);
        close(mReport);
    }

    /// Waits until it is well under way.
    bool WaitUntilBusy() const
    {
        char mark = 0;
        return read(mReport, &mark, 1) == 1;
    }

private:
    static constexpr unsigned long kBusyRounds = 300;

    pid_t mProcess = -1;
    int mReport = -1;
};

CFMessagePortRef Connect()
{
    return CFMessagePortCreateRemote(nullptr, CFSTR(kServerPortName));
}

/// Sends a document through a port that is made at the first call.
void SendDocument(const std::string& document)
{
    static const CFMessagePortRef sPort = Connect();
    const CFDataRef data = CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(document.data()),
                                        static_cast<CFIndex>(document.size()));
    CFMessagePortSendRequest(sPort, kSetParameterMessage, data, 1, 0, nullptr, nullptr);
    CFRelease(data);
}

/// Connects to the monitor's socket by hand and sends bytes that are no frame, in one packet or
/// two.
void SendGarbage(unsigned long round)
{
    const Standin::FileDescriptor socket = Standin::ConnectToHolder(kServerPortName);
    // Nothing at all, half a header, a header that announces more, and far too much.
    const std::size_t sizes[] = {0, 7, 20, 100000};
    std::string packet(sizes[round % 4], '\xFF');
    packet.replace(0, std::min<std::size_t>(packet.size(), 8), "QXP1\0\0\0\1",
                   std::min<std::size_t>(packet.size(), 8));
    send(socket.Get(), packet.data(), packet.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    send(socket.Get(), packet.data(), packet.size() / 2, MSG_NOSIGNAL | MSG_DONTWAIT);
}

/// The memory that a process has in use, in kilobytes.
long ReadMemory(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/statm");
    long size = 0;
    long resident = 0;
    file >> size >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

/// Asks the monitor for a reply, as a sender that keeps to the rules.
SInt32 AskHonestly(CFMessagePortRef port)
{
    return CFMessagePortSendRequest(port, kOpenDirectMonitorMessage, nullptr, kPatienceSeconds,
                                    kPatienceSeconds, kCFRunLoopDefaultMode, nullptr);
}

/// Starts four processes that do what no honest sender does.
std::deque<Flood> StartFloods()
{
    std::deque<Flood> floods;
    floods.emplace_back([](unsigned long round) {
        SendDocument(MakeDocument(std::to_string(round % 0x7FFFFFFF), kBigEndianStateText));
    });
    floods.emplace_back([](unsigned long round) {
        SendDocument(MakeDocument("-" + std::to_string(round % 5), kBigEndianLevelText));
    });
    floods.emplace_back([](unsigned long round) {
        SendDocument(std::string(round * 37 % 5000, static_cast<char>(round)));
    });
    floods.emplace_back([](unsigned long round) { SendGarbage(round); });
    return floods;
}

TEST(HostileSenders, NeitherStopTheMonitorNorStarveOthersNorGrowItsMemory)
{
    constexpr int kExchanges = 40;
    ChildProcess monitor(kMonitorProgram, {"--json"});
    ASSERT_TRUE(monitor.ReadLine());
    const CFMessagePortRef honest = Connect();
    ASSERT_NE(honest, nullptr);
    std::deque<Flood> floods = StartFloods();
    std::future<std::vector<std::string>> output =
        std::async(std::launch::async, [&monitor] { return monitor.ReadLines(); });

    for (const Flood& flood : floods) {
        EXPECT_TRUE(flood.WaitUntilBusy());
    }

    long memoryBefore = 0;
    for (int exchange = 0; exchange < kExchanges; ++exchange) {
        EXPECT_EQ(AskHonestly(honest), 0);
        memoryBefore = exchange == kExchanges / 4 ? ReadMemory(monitor.GetID()) : memoryBefore;
    }
    const long memoryAfter = ReadMemory(monitor.GetID());
    floods.clear();
    EXPECT_EQ(AskHonestly(honest), 0);
    monitor.Signal(SIGTERM);
    const std::vector<std::string> lines = output.get();

    EXPECT_LT(memoryAfter, memoryBefore + 16384);
    const JSON summary = JSON::parse(lines.back());
    EXPECT_EQ(summary["event"], "summary");
    EXPECT_EQ(summary["opens"], kExchanges + 1);
    EXPECT_LE(summary["devices"].size(), 4096u);
    EXPECT_EQ(monitor.Wait(), 1);
    CFRelease(honest);
}

} // namespace
