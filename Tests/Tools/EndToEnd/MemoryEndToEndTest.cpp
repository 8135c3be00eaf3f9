// MemoryEndToEndTest.cpp - the memory of qxmon and qxhost as processes: how much they use, and how
// they end when they get none, or no descriptors.

#include "Protocol/ServerProtocol.h"
#include "Tests/Tools/EndToEnd/ChildProcess.h"
#include "Tests/Tools/Monitor/Messages.h"

#include <CoreFoundation/CoreFoundation.h>

#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace {

using ToolsTests::ChildProcess;
using ToolsTests::kBigEndianStateText;
using ToolsTests::kHostProgram;
using ToolsTests::kMonitorProgram;
using ToolsTests::MakeDocument;

constexpr double kPatienceSeconds = 60;

/// The memory of a process in kilobytes: all that it has mapped, or what of it is in use.
struct Memory
{
    explicit Memory(pid_t process)
    {
        std::ifstream file("/proc/" + std::to_string(process) + "/statm");
        file >> mapped >> used;
        mapped *= sysconf(_SC_PAGESIZE) / 1024;
        used *= sysconf(_SC_PAGESIZE) / 1024;
    }

    long mapped = 0;
    long used = 0;
};

/// Sends to the monitor.
class SteadySender
{
public:
    /// Waits until there is a monitor.
    SteadySender()
    {
        while ((mPort = CFMessagePortCreateRemote(nullptr, CFSTR(kServerPortName))) == nullptr) {
            std::this_thread::yield();
        }
    }
    SteadySender(const SteadySender&) = delete;
    SteadySender& operator=(const SteadySender&) = delete;
    ~SteadySender() { CFRelease(mPort); }

    SInt32 Set(int device) const
    {
        const std::string document = MakeDocument(std::to_string(device), kBigEndianStateText);
        const CFDataRef data =
            CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(document.data()),
                         static_cast<CFIndex>(document.size()));
        const SInt32 status = CFMessagePortSendRequest(mPort, kSetParameterMessage, data,
                                                       kPatienceSeconds, 0, nullptr, nullptr);
        CFRelease(data);
        return status;
    }
    SInt32 Open() const
    {
        return CFMessagePortSendRequest(mPort, kOpenDirectMonitorMessage, nullptr, kPatienceSeconds,
                                        0, nullptr, nullptr);
    }
    /// Returns once the monitor has taken all that was sent before.
    SInt32 Settle() const
    {
        return CFMessagePortSendRequest(mPort, kCloseDirectMonitorMessage, nullptr,
                                        kPatienceSeconds, kPatienceSeconds, kCFRunLoopDefaultMode,
                                        nullptr);
    }

private:
    CFMessagePortRef mPort = nullptr;
};

#ifdef QX_COUNTS_COVERAGE
constexpr int kMessages = 100000;
#else
constexpr int kMessages = 1000000;
#endif

TEST(Memory, StaysTheSameHoweverManyMessagesTheMonitorShows)
{
    // One message in ten sets something, each time of the next device. The table is soon full.
    constexpr int kDevices = kMessages / 200;
    ChildProcess monitor("sh", {"-c", "exec " QX_EMULATOR " \"$0\" >/dev/null", kMonitorProgram});
    const SteadySender sender;
    long early = 0;
    int refused = 0;

    for (int message = 1; message <= kMessages; ++message) {
        const SInt32 status =
            message % 10 == 0 ? sender.Set(message / 10 % kDevices) : sender.Open();
        refused += status == 0 ? 0 : 1;
        if (message == kMessages / 10) {
            EXPECT_EQ(sender.Settle(), 0);
            early = Memory(monitor.GetID()).used;
        }
    }
    EXPECT_EQ(sender.Settle(), 0);
    const long late = Memory(monitor.GetID()).used;

    EXPECT_EQ(refused, 0);
    EXPECT_GT(early, 0);
    EXPECT_LT(late, early + 256);
}

/// Starts a tool that may map so many kilobytes and no more.
ChildProcess Start(long kilobytes, const char* program, const std::string& arguments,
                   const std::string& input)
{
    return {
        "sh",
        {"-c", "ulimit -v " + std::to_string(kilobytes) + "; exec \"$0\" " + arguments, program},
        input};
}

// From a limit that the document does not fit to one that leaves enough for every step.
TEST(Memory, EndsTheMonitorWithAMessageWhereverADocumentUsesItUp)
{
    const std::string document = MakeDocument("258", std::string(4000000, 'A'));
    for (const char* const arguments : {"decode - >/dev/null", "decode --json - >/dev/null"}) {
        int ended = 0;
        int exitCode = 6;
        for (long limit = 10000; exitCode == 6; limit += 500) {
            SCOPED_TRACE(arguments + std::to_string(limit));
            ChildProcess monitor = Start(limit, kMonitorProgram, arguments, document);

            exitCode = monitor.Wait();

            EXPECT_EQ(monitor.GetErrors(),
                      exitCode == 6 ? "qxmon: there is not enough memory\n" : "");
            ended += exitCode == 6 ? 1 : 0;
        }
        EXPECT_EQ(exitCode, 1);
        EXPECT_GT(ended, 5);
    }
}

TEST(Memory, EndsAWaitingMonitorWithAMessageWhenMessagesUseItUp)
{
    // The heap of a second thread would be a reserve of 64 MB.
    ChildProcess monitor("sh", {"-c", "MALLOC_ARENA_MAX=1 exec \"$0\" --json", kMonitorProgram});
    monitor.ReadLine();
    const SteadySender sender;
    const auto mapped = static_cast<rlim_t>(Memory(monitor.GetID()).mapped) * 1024;
    const rlimit limit = {mapped, mapped};
    ASSERT_EQ(prlimit(monitor.GetID(), RLIMIT_AS, &limit, nullptr), 0);
    auto output = std::async(std::launch::async, [&monitor] { return monitor.ReadLines(); });

    int device = 0;
    while (device < 4096 && sender.Set(device) == 0) {
        ++device;
    }

    EXPECT_LT(device, 4096);
    output.get();
    EXPECT_EQ(monitor.Wait(), 6);
    EXPECT_EQ(monitor.GetErrors(), "qxmon: there is not enough memory\n");
}

TEST(Memory, EndsTheHostWithAMessageWhenAScriptUsesItUp)
{
    std::string script;
    for (int line = 0; line < 400000; ++line) {
        script += "set enable on\n";
    }
    ChildProcess host = Start(20000, kHostProgram, "run -", script);

    EXPECT_EQ(host.Wait(), 5);
    EXPECT_EQ(host.GetErrors(), "qxhost: there is not enough memory\n");
}

TEST(Descriptors, ThatAreTooFewAreNotTakenForAnotherHolderOfThePort)
{
    ChildProcess monitor("sh", {"-c", "ulimit -n 5; exec \"$0\"", kMonitorProgram});

    EXPECT_EQ(monitor.Wait(), 3);
    EXPECT_EQ(monitor.GetErrors(),
              "qxmon: cannot hold the port " + std::string(kServerPortName) +
                  ": another process holds it, or too few file descriptors are left\n");
}

} // namespace
