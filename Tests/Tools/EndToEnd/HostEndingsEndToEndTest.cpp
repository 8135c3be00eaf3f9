// HostEndingsEndToEndTest.cpp - qxhost as a process, ended by the plug-in, by a signal, or by an
// output that takes nothing.

#include "Tests/Tools/EndToEnd/Validation.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

using ToolsTests::ChildProcess;
using ToolsTests::GetWrongBundle;
using ToolsTests::kHostProgram;
using ToolsTests::kMonitorProgram;
using JSON = nlohmann::json;

TEST(Host, CountsCallsOnATerminalWhereTheyAreNotShown)
{
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    ChildProcess host("sh", {"-c",
                             std::string("exec ") + QX_EMULATOR +
                                 " \"$0\" get --quiet --repeat 1000000000 2>" + ptsname(terminal),
                             kHostProgram});
    std::string shown;
    char block[256];
    while (shown.find(" calls, 0 not as expected") == std::string::npos) {
        pollfd waiting = {terminal, POLLIN, 0};
        constexpr int kPatienceMilliseconds = 60000;
        ASSERT_EQ(poll(&waiting, 1, kPatienceMilliseconds), 1);
        const ssize_t size = read(terminal, block, sizeof block);
        ASSERT_GT(size, 0);
        shown.append(block, static_cast<std::size_t>(size));
    }

    host.Signal(SIGINT);

    EXPECT_EQ(host.ReadLines().size(), 1U) << "the summary";
    EXPECT_EQ(host.Wait(), 130);
    close(terminal);
}

TEST(Host, ClosesDevicesAndSumsUpWhenItIsInterrupted)
{
    ChildProcess host(kHostProgram, {"--json", "run", "-"},
                      "open 7\nopen 8\nclose 7\nopen 9\nsleep 3600\n");
    for (int line = 0; line < 6; ++line) {
        host.ReadLine();
    }

    host.Signal(SIGINT);

    std::vector<JSON> rest;
    for (const std::string& line : host.ReadLines()) {
        rest.push_back(JSON::parse(line));
    }
    EXPECT_EQ(host.Wait(), 130);
    ASSERT_EQ(rest.size(), 3U);
    EXPECT_EQ(rest[0]["entryPoint"], "AudioDriverPlugInClose");
    EXPECT_EQ(rest[0]["device"], 8);
    EXPECT_EQ(rest[1]["device"], 9);
    EXPECT_EQ(rest[2]["calls"], 6);
}

/// The last object that the host prints for a script with a wrong bundle, and its exit code.
std::pair<JSON, int> RunWrongBundle(const std::string& check, const std::string& script)
{
    ChildProcess host(
        kHostProgram,
        {"--plugin", GetWrongBundle(check), "--time-limit", "1", "--json", "run", "-"}, script);
    const std::vector<std::string> lines = host.ReadLines();
    const int exitCode = host.Wait();
    return {lines.empty() ? JSON() : JSON::parse(lines.back()), exitCode};
}

TEST(Host, NamesTheCallInWhichThePlugInEndsItsProcess)
{
    ChildProcess monitor(kMonitorProgram, {"--json"});
    monitor.ReadLine();
    // Its second passes while the others run.
    ChildProcess unloading(kHostProgram,
                           {"--plugin", GetWrongBundle("hangs-when-unloaded"), "--time-limit", "1",
                            "--json", "run", "-"},
                           "open 7\nclose\n");

    const auto [crash, crashCode] =
        RunWrongBundle("set-largest-positive-state", "open 7\nset state 0x7FFFFFFF\n");
    const auto [hang, hangCode] =
        RunWrongBundle("gain-infinite-level", "open 7\nset level inf 1\n");
    const auto [exit, exitCode] = RunWrongBundle("gain-huge-level", "open 7\nset level 1e38 1\n");

    EXPECT_EQ(crashCode, 6);
    EXPECT_EQ(crash["event"], "end");
    EXPECT_EQ(crash["text"], "the plug-in crashed: signal 11, Segmentation fault");
    EXPECT_EQ(crash["call"], "AudioDriverPlugInDeviceSetProperty(device 7, channel 0, input, "
                             "'DGdm' state, 4 bytes: 0x7FFFFFFF)");
    EXPECT_EQ(hangCode, 7);
    EXPECT_EQ(hang["text"], "the plug-in did not return within 1 s");
    EXPECT_EQ(hang["call"], "AudioDriverPlugInDeviceSetProperty(device 7, channel 1, input, "
                            "'DGml' level, 8 bytes: inf 1)");
    EXPECT_EQ(exitCode, 8);
    EXPECT_EQ(exit["text"], "the plug-in ended the process with the exit code 0");
    EXPECT_EQ(exit["inCall"], true);
    EXPECT_EQ(exit["debug"], "gdb --args " + std::string(kHostProgram) + " --plugin " +
                                 GetWrongBundle("gain-huge-level") + " --json run - --in-process");
    const JSON hangLater = JSON::parse(unloading.ReadLines().back());
    EXPECT_EQ(unloading.Wait(), 7);
    EXPECT_EQ(hangLater["text"], "the plug-in did not return within 1 s");
    EXPECT_EQ(hangLater["call"], "unloading the plug-in");
}

TEST(Host, TellsWhenThePlugInEndsItsProcessAfterAllCalls)
{
    const struct
    {
        const char* bundle;
        int exitCode;
        const char* text;
        const char* call;
    } kCases[] = {
        {"crashes-when-unloaded", 6, "the plug-in crashed: signal 6, Aborted",
         "unloading the plug-in"},
        {"exits-when-unloaded", 8, "the plug-in ended the process with the exit code 0",
         "unloading the plug-in"},
        {"crashes-at-the-end", 6, "the plug-in crashed: signal 6, Aborted",
         "the end of the process"},
        {"exits-at-the-end", 8, "the plug-in ended the process with the exit code 0",
         "the end of the process"},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.bundle);

        const auto [end, exitCode] = RunWrongBundle(entry.bundle, "open 7\nclose\n");

        EXPECT_EQ(exitCode, entry.exitCode);
        EXPECT_EQ(end["text"], entry.text);
        EXPECT_EQ(end["call"], entry.call);
        EXPECT_EQ(end["debug"], "gdb --args " + std::string(kHostProgram) + " --plugin " +
                                    GetWrongBundle(entry.bundle) + " --json run - --in-process");
    }
}

TEST(Host, EndsInSilenceWithACodeOfItsOwnWhenTheReaderOfItsOutputGoes)
{
    const std::vector<std::string> kCases[] = {
        {"info", "--repeat", "10000"},
        {"--in-process", "info", "--repeat", "10000"},
        {"validate", "--only", "registry", "--repeat", "1000"},
    };
    for (const auto& arguments : kCases) {
        SCOPED_TRACE(arguments.front());
        ChildProcess host(kHostProgram, arguments);
        host.ReadLine();

        host.CloseOutput();

        EXPECT_EQ(host.Wait(), 9);
        EXPECT_EQ(host.GetErrors(), "");
    }
}

TEST(Host, SaysThatItsOutputCannotBeWritten)
{
    for (const char* const command :
         {"info", "--help", "validate --list", "validate --only open", "record /dev/null -"}) {
        SCOPED_TRACE(command);
        ChildProcess host(
            "sh",
            {"-c", QX_EMULATOR " \"$0\" " + std::string(command) + " >/dev/full", kHostProgram},
            "open 7\n");

        EXPECT_EQ(host.Wait(), 4);
        EXPECT_EQ(host.GetErrors(), "qxhost: the standard output could not be written\n");
    }
}

} // namespace
