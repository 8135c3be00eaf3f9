// MonitorEndToEndTest.cpp - qxmon as a process: what it shows of real messages, and how it ends.

#include "Protocol/ServerProtocol.h"
#include "Tests/Support/BuildKind.h"
#include "Tests/Tools/EndToEnd/ChildProcess.h"
#include "Tests/Tools/EndToEnd/Sender.h"
#include "Tests/Tools/Monitor/Messages.h"

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using ToolsTests::ChildProcess;
using ToolsTests::kBigEndianLevelText;
using ToolsTests::kBigEndianStateText;
using ToolsTests::kHostProgram;
using ToolsTests::kMonitorProgram;
using ToolsTests::MakeDocument;
using ToolsTests::ReadObject;
using ToolsTests::Sender;
using JSON = nlohmann::json;

TEST(Monitor, SaysThatItIsReadyAndHoldsThePort)
{
    ChildProcess monitor(kMonitorProgram, {"--json"});

    const JSON ready = ReadObject(monitor);

    EXPECT_EQ(ready["event"], "ready");
    EXPECT_EQ(ready["port"], kServerPortName);
    EXPECT_EQ(ready["process"], monitor.GetID());
    EXPECT_TRUE(Sender().HasPort());
}

TEST(Monitor, GivesThePortBackWhenItEnds)
{
    {
        ChildProcess monitor(kMonitorProgram, {"--json"});
        ReadObject(monitor);
        monitor.Signal(SIGTERM);
        EXPECT_EQ(monitor.Wait(), 0);
    }

    EXPECT_FALSE(Sender().HasPort());
}

TEST(Monitor, ShowsAMessageFieldByField)
{
    ChildProcess monitor(kMonitorProgram, {"--json", "--count", "1"});
    ReadObject(monitor);

    EXPECT_EQ(Sender().Send(kSetParameterMessage, MakeDocument("258", kBigEndianLevelText)), 0);

    JSON message = ReadObject(monitor);
    EXPECT_EQ(message["time"].get<std::string>().size(), 27u);
    message.erase("time");
    EXPECT_EQ(message, JSON::parse(R"({
        "schemaVersion": 1, "event": "message", "number": 1, "messageID": 1397509197, "code": "SLLM",
        "dataSize": 353, "wellFormed": true, "device": 258, "byteOrder": "big-endian",
        "parameter": -249, "name": "level", "type": 8, "typeName": "kBuffer",
        "channel": 1, "channelIndex": 0, "first": 0.0, "second": -6.020599913279624,
        "bytes":
"0000002C00000000FFFFFF072000000000000000080000000000000000000000C018151824C7587F00000000",
        "findings": []})"));
    EXPECT_EQ(ReadObject(monitor), JSON::parse(R"({
        "schemaVersion": 1, "event": "summary", "received": 1, "malformed": 0, "opens": 0, "closes": 0,
        "devices": [{"device": 258, "messages": 1, "enable": null, "state": null,
                     "channels": [{"channel": 1, "first": 0.0, "second": -6.020599913279624}]}]})"));
    EXPECT_EQ(monitor.Wait(), 0);
}

TEST(Monitor, RepliesToMessagesThatAskForIt)
{
    ChildProcess monitor(kMonitorProgram, {"--json", "--count", "2"});
    ReadObject(monitor);
    const Sender sender;
    CFIndex replySize = -1;

    EXPECT_EQ(sender.Ask(kOpenDirectMonitorMessage, replySize), 0);
    EXPECT_EQ(replySize, 0);
    EXPECT_EQ(sender.Ask(kCloseDirectMonitorMessage, replySize), 0);

    EXPECT_EQ(ReadObject(monitor)["code"], "OpLM");
    EXPECT_EQ(ReadObject(monitor)["code"], "ClLM");
    const JSON summary = ReadObject(monitor);
    EXPECT_EQ(summary["opens"], 1);
    EXPECT_EQ(summary["closes"], 1);
}

TEST(Monitor, ReportsMalformedMessagesAndGoesOn)
{
    const struct
    {
        const char* what;
        SInt32 id;
        std::string data;
        JSON finding;
    } kCases[] = {
        {"unknown ID",
         7,
         "",
         {{"place", "request"}, {"offset", 0}, {"text", "unknown message ID"}}},
        {"data with a simple message",
         kOpenDirectMonitorMessage,
         "abc",
         {{"place", "document"},
          {"offset", 0},
          {"text", "3 bytes came with a message that has none"}}},
        {"no property list",
         kSetParameterMessage,
         std::string("\xFF\x00\xFE", 3),
         {{"place", "document"},
          {"offset", 0},
          {"text", "a byte that is not UTF-8, or a character that XML does not allow"}}},
        {"no device",
         kSetParameterMessage,
         "<plist><dict><key>ParameterDataKey</key><data>" + std::string(kBigEndianStateText) +
             "</data></dict></plist>",
         {{"place", "document"},
          {"offset", 7},
          {"text", "missing key: the dictionary has no \"CoreAudioDeviceIDKey\""}}},
        {"truncated",
         kSetParameterMessage,
         MakeDocument("258", "AAAACgAAAAD//w=="),
         {{"place", "message"},
          {"offset", 8},
          {"text", "truncated: the parameter needs 4 bytes, 2 are left"}}},
    };
    ChildProcess monitor(kMonitorProgram, {"--json", "--count", "6"});
    ReadObject(monitor);
    const Sender sender;

    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.what);
        EXPECT_EQ(sender.Send(entry.id, entry.data), 0);

        const JSON message = ReadObject(monitor);

        EXPECT_EQ(message["wellFormed"], false);
        EXPECT_EQ(message["findings"], JSON::array({entry.finding}));
    }
    EXPECT_EQ(sender.Send(kSetParameterMessage, MakeDocument("-2", kBigEndianStateText)), 0);

    EXPECT_EQ(ReadObject(monitor)["device"], 4294967294u);
    const JSON summary = ReadObject(monitor);
    EXPECT_EQ(summary["received"], 6);
    EXPECT_EQ(summary["malformed"], 5);
    EXPECT_EQ(summary["devices"].size(), 1u);
    EXPECT_EQ(monitor.Wait(), 1);
}

TEST(Monitor, EndsOnASignalWithTheLastStates)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        ChildProcess monitor(kMonitorProgram, {});
        monitor.ReadLine();
        Sender().Send(kSetParameterMessage, MakeDocument("258", kBigEndianStateText));

        monitor.Signal(signal);

        const std::vector<std::string> lines = monitor.ReadLines();
        EXPECT_EQ(monitor.Wait(), 0);
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back(), "  258                1           -           1  -");
    }
}

TEST(Monitor, ShowsMessagesThatWereSentBeforeItsEnd)
{
    ChildProcess monitor(kMonitorProgram, {"--json"});
    ReadObject(monitor);
    const Sender sender;
    monitor.Signal(SIGSTOP);
    for (int count = 0; count < 3; ++count) {
        EXPECT_EQ(sender.Send(kSetParameterMessage, MakeDocument("1", kBigEndianStateText)), 0);
    }

    monitor.Signal(SIGTERM);
    monitor.Signal(SIGCONT);

    EXPECT_EQ(monitor.ReadLines().size(), 4u);
    EXPECT_EQ(monitor.Wait(), 0);
}

// Each process may have five messages in the queue: this takes many, as none of them is read yet.
TEST(Monitor, ShowsEveryMessageThatWasAnsweredBeforeASignalHoweverManySendersThereAre)
{
    constexpr int kSenders = 60;
    constexpr int kMessagesOfEach = 5;
    ChildProcess monitor(kMonitorProgram, {"--json"});
    ReadObject(monitor);
    monitor.Signal(SIGSTOP);
    for (int process = 0; process < kSenders; ++process) {
        const pid_t child = fork();
        if (child == 0) {
            const Sender sender;
            int answered = 0;
            while (answered < kMessagesOfEach &&
                   sender.Send(kSetParameterMessage, MakeDocument("1", kBigEndianStateText)) == 0) {
                ++answered;
            }
            _exit(answered);
        }
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_EQ(WEXITSTATUS(status), kMessagesOfEach);
    }

    monitor.Signal(SIGTERM);
    monitor.Signal(SIGCONT);

    const std::vector<std::string> lines = monitor.ReadLines();
    EXPECT_EQ(lines.size(), 301u);
    EXPECT_EQ(JSON::parse(lines.back())["received"], 300);
    EXPECT_EQ(monitor.Wait(), 0);
}

TEST(Monitor, ShowsEverySetOfSeveralHostsInOrder)
{
    constexpr int kHosts = 3;
    constexpr int kSets = kIsSlow ? 2000 : 20000;
    ChildProcess monitor(kMonitorProgram, {"--count", std::to_string(kHosts * kSets)});
    monitor.ReadLine();
    monitor.ReadLine();
    std::vector<std::future<int>> hosts;
    for (int host = 0; host < kHosts; ++host) {
        // Two devices each, in turn.
        std::string script;
        for (const int device : {2 * host, 2 * host + 1}) {
            script += "open " + std::to_string(device) + "\n";
        }
        for (int set = 0; set < kSets; ++set) {
            script += "set enable " + std::to_string(set) +
                      " device=" + std::to_string(2 * host + set % 2) + "\n";
        }
        for (const int device : {2 * host, 2 * host + 1}) {
            script += "close " + std::to_string(device) + "\n";
        }
        hosts.push_back(std::async(std::launch::async, [script] {
            return ChildProcess(kHostProgram, {"--quiet", "run", "-"}, script).Wait();
        }));
    }

    std::vector<int> next(kHosts, 0);
    int outOfOrder = 0;
    for (int message = 0; message < kHosts * kSets; ++message) {
        int device = -1;
        int value = -1;
        std::sscanf(monitor.ReadLine().value_or("").c_str(), "%*d %*s 'SLLM' device %d enable %d",
                    &device, &value);
        int& expected = next.at(static_cast<std::size_t>(device) / 2);
        outOfOrder += value != expected || device % 2 != expected % 2 ? 1 : 0;
        ++expected;
    }

    EXPECT_EQ(outOfOrder, 0);
    EXPECT_EQ(next, std::vector<int>(kHosts, kSets));
    for (std::future<int>& host : hosts) {
        EXPECT_EQ(host.get(), 0);
    }
    // The summary has a table with a row for each device.
    EXPECT_EQ(monitor.ReadLines().size(), 2u * kHosts + 5);
    EXPECT_EQ(monitor.Wait(), 0);
}

// A sender that never stops does not keep the monitor from its end; it sees a server that is gone.
TEST(Monitor, EndsOnASignalWhileASenderGoesOn)
{
    ChildProcess monitor(kMonitorProgram, {"--json"});
    ReadObject(monitor);
    int report[2];
    ASSERT_EQ(pipe(report), 0);
    const pid_t child = fork();
    if (child == 0) {
        const Sender sender;
        SInt32 status = 0;
        std::uint32_t answered = 0;
        while ((status = sender.Send(kOpenDirectMonitorMessage, "")) == 0) {
            if (++answered == 100) {
                const char mark = 'b';
                [[maybe_unused]] const ssize_t size = write(report[1], &mark, 1);
            }
        }
        [[maybe_unused]] const ssize_t size = write(report[1], &answered, sizeof answered);
        _exit(status == kCFMessagePortTransportError ? 0 : 1);
    }
    auto output = std::async(std::launch::async, [&monitor] { return monitor.ReadLines(); });
    char mark = 0;
    ASSERT_EQ(read(report[0], &mark, 1), 1);

    monitor.Signal(SIGTERM);

    std::uint32_t answered = 0;
    ASSERT_EQ(read(report[0], &answered, sizeof answered), static_cast<ssize_t>(sizeof answered));
    const std::vector<std::string> lines = output.get();
    EXPECT_EQ(JSON::parse(lines.back())["received"], answered);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(monitor.Wait(), 0);
    close(report[0]);
    close(report[1]);
}

/// How often the first thread of a process has stopped to wait for something, so far.
long CountWaits(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/status");
    for (std::string word; file >> word;) {
        if (word == "voluntary_ctxt_switches:") {
            long count = 0;
            file >> count;
            return count;
        }
    }
    return -1;
}

TEST(Monitor, IsNotWokenWhileNothingArrives)
{
    ChildProcess monitor(kMonitorProgram, {"--json", "--for", "0.6"});
    ReadObject(monitor);
    const long before = CountWaits(monitor.GetID());

    // Its output ends with it; its counts are there until someone waits for it.
    EXPECT_EQ(monitor.ReadLines().size(), 1u);

    const long after = CountWaits(monitor.GetID());
    EXPECT_GT(after, 0);
    EXPECT_LT(after - before, 10);
}

TEST(Monitor, SaysWhatIsWrongWithAFolderThatItRefuses)
{
    const std::string folder = std::string(std::getenv("XDG_RUNTIME_DIR")) + "/qx-ports";
    std::filesystem::create_directory(folder);
    std::filesystem::permissions(folder, std::filesystem::perms(0755));
    ChildProcess monitor(kMonitorProgram, {});
    ChildProcess host("sh", {"-c", QX_EMULATOR " \"$0\" set enable on 2>&1", kHostProgram});
    ChildProcess quiet(kHostProgram, {"--quiet", "set", "enable", "on"});
    const std::string reason = "qxhost: no server can be reached: " + folder +
                               " is open to other users; its mode must be 700";

    EXPECT_EQ(monitor.Wait(), 3);
    EXPECT_EQ(monitor.GetErrors(), "qxmon: cannot hold the port " + std::string(kServerPortName) +
                                       ": " + folder +
                                       " is open to other users; its mode must be 700\n");
    const std::vector<std::string> lines = host.ReadLines();
    EXPECT_EQ(host.Wait(), 1);
    EXPECT_EQ(lines.front(), reason);
    EXPECT_EQ(std::ranges::count_if(
                  lines, [](const auto& line) { return line.find("Start qxmon") != line.npos; }),
              0);
    EXPECT_EQ(quiet.Wait(), 1);
    EXPECT_EQ(quiet.GetErrors(), reason + "\n");
    std::filesystem::permissions(folder, std::filesystem::perms(0700));
}

TEST(Monitor, EndsAfterTheTimeThatItIsGiven)
{
    ChildProcess monitor(kMonitorProgram, {"--json", "--for", "0.05"});

    const std::vector<std::string> lines = monitor.ReadLines();

    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(JSON::parse(lines[1])["received"], 0);
    EXPECT_EQ(monitor.Wait(), 0);
}

TEST(Monitor, NamesTheHolderOfAPortThatIsTaken)
{
    ChildProcess first(kMonitorProgram, {"--json"});
    ReadObject(first);
    ChildProcess second(kMonitorProgram, {"--json"});

    EXPECT_TRUE(second.ReadLines().empty());
    EXPECT_EQ(second.Wait(), 3);
    const std::string holder = "process " + std::to_string(first.GetID());
    EXPECT_NE(second.GetErrors().find(holder), std::string::npos) << second.GetErrors();
}

TEST(Monitor, ShowsTheBytesBesideTheFieldNames)
{
    ChildProcess monitor(kMonitorProgram, {"--hex", "--count", "1"});
    monitor.ReadLine();
    monitor.ReadLine();

    Sender().Send(kSetParameterMessage, MakeDocument("258", kBigEndianLevelText));

    const std::vector<std::string> lines = monitor.ReadLines();
    ASSERT_GT(lines.size(), 10u);
    EXPECT_EQ(lines[0].substr(21), "'SLLM'  device 258  level  ch 1      0.00 dB  -6.02 dB  BE");
    EXPECT_EQ(lines[1], "          164     179 bytes  <dict>      2 keys");
    EXPECT_EQ(lines[2], "          172      31 bytes  <key>       CoreAudioDeviceIDKey");
    EXPECT_EQ(lines[3], "          205      22 bytes  <integer>   258");
    EXPECT_EQ(lines[4], "          229      27 bytes  <key>       ParameterDataKey");
    EXPECT_EQ(lines[5], "          258      77 bytes  <data>      44 bytes");
    EXPECT_EQ(lines[6], "            0  00 00 00 2C              message length    44, big-endian");
    EXPECT_EQ(lines[13], "           32  C0 18 15 18 24 C7 58 7F  second level      -6.02 dB");
    EXPECT_EQ(lines[14], "           40  00 00 00 00              channel index     0, channel 1");
    for (const std::string& line : lines) {
        EXPECT_EQ(line.find('\x1B'), std::string::npos) << "a colour in a pipe";
    }
}

TEST(Monitor, DecodesACapturedDocument)
{
    const std::filesystem::path file =
        std::filesystem::path(::testing::TempDir()) / "qxmon-test-captured.xml";
    std::ofstream(file) << MakeDocument("258", kBigEndianStateText);
    ChildProcess ofFile(kMonitorProgram, {"decode", file.string(), "--json"});
    ChildProcess ofInput(kMonitorProgram, {"decode", "-", "--json"},
                         MakeDocument("258", kBigEndianLevelText));

    const JSON state = ReadObject(ofFile);
    const JSON level = ReadObject(ofInput);

    EXPECT_EQ(state["device"], 258);
    EXPECT_EQ(state["name"], "state");
    EXPECT_EQ(state["value"], 1);
    EXPECT_FALSE(state.contains("time"));
    EXPECT_EQ(level["second"], -6.020599913279624);
    EXPECT_EQ(ofFile.Wait(), 0);
    EXPECT_EQ(ofInput.Wait(), 0);
    std::filesystem::remove(file);
}

TEST(Monitor, ListsTheFieldsAsJSONWhenAskedForBytes)
{
    ChildProcess monitor(kMonitorProgram, {"decode", "-", "--json", "--hex"},
                         MakeDocument("258", kBigEndianStateText));

    const JSON fields = ReadObject(monitor)["fields"];

    ASSERT_EQ(fields.size(), 7u);
    EXPECT_EQ(fields[2], JSON::parse(R"({"offset": 8, "size": 4, "name": "parameter",
                                         "meaning": "-251, state"})"));
}

TEST(Monitor, ShowsNoControlCharacterOfAPathOrADocument)
{
    const std::string document = "<plist><dict><key>\xC2\x9B"
                                 "1m\x7F</key>";
    ChildProcess text(kMonitorProgram, {"decode", "-"}, document);
    ChildProcess json(kMonitorProgram, {"decode", "--json", "-"}, document);
    ChildProcess unreadable(kMonitorProgram, {"decode", "/a\x1B[31m"});

    const std::vector<std::string> lines = text.ReadLines();
    EXPECT_EQ(lines.at(1),
              "       ! document offset 29: a value for the key \"\xC2\\x9B1m\\x7F\" is "
              "expected, but");
    EXPECT_EQ(lines.at(2), "         the end is there");
    EXPECT_NE(json.ReadLine()->find("\"\\u009b1m\\u007f\\\""), std::string::npos);
    EXPECT_EQ(unreadable.Wait(), 4);
    EXPECT_EQ(unreadable.GetErrors(),
              "qxmon: cannot read /a\\x1B[31m: No such file or directory\n");
}

TEST(Monitor, SaysInItsExitCodeWhetherADocumentIsWellFormed)
{
    ChildProcess malformed(kMonitorProgram, {"decode", "-"}, "<plist>");
    ChildProcess unreadable(kMonitorProgram, {"decode", "/nonexistent.xml"});
    ChildProcess folder(kMonitorProgram, {"decode", "/"});

    EXPECT_EQ(malformed.Wait(), 1);
    EXPECT_EQ(malformed.ReadLines().at(1),
              "       ! document offset 7: a <dict> is expected, but the end is there");
    EXPECT_EQ(unreadable.Wait(), 4);
    EXPECT_EQ(folder.Wait(), 4);
}

TEST(Monitor, RefusesACommandLineThatItDoesNotKnow)
{
    const std::string seconds = "\" is not a number of seconds from 0.001 to 1000000000";
    const std::string count = "\" is not a whole number from 1 to 1000000000";
    const struct
    {
        std::vector<std::string> arguments;
        std::string error;
    } kCases[] = {
        {{"--joson"}, "there is no option --joson; did you mean --json? see --help"},
        {{"--count", "0"}, "--count: \"0" + count},
        {{"--count", "x"}, "--count: \"x" + count},
        {{"--for", "-1"}, "--for: \"-1" + seconds},
        {{"--for", "nan"}, "--for: \"nan" + seconds},
        {{"decode"}, "FILE is required"},
        {{"decode", ""}, "FILE: the name is empty"},
        {{"replay", ""}, "FILE: the name is empty"},
        {{"diff", "a", ""}, "OTHER: the name is empty"},
        {{"record", "-"}, "FILE: the standard output is for other text; name a file"},
        {{"decdoe", "a.xml"},
         "there is no command \"decdoe\"; did you mean decode? there are decode, record, replay, "
         "diff and serve"},
        {{"decode", "a.xml", "b.xml"}, "\"b.xml\" is unexpected"},
        {{"replay", "a", "--sned"}, "there is no option --sned; did you mean --send? see --help"},
        {{"decode", "a", "--count", "1"}, "--count has no effect on decode"},
        {{"--for", "1", "replay", "a"}, "--for has no effect on replay"},
        {{"replay", "a", "--send", "--json"}, "--json has no effect on replay --send"},
        {{"diff", "a", "b", "--hex"}, "--hex has no effect on diff"},
    };
    for (const auto& entry : kCases) {
        ChildProcess monitor(kMonitorProgram, entry.arguments);

        EXPECT_EQ(monitor.Wait(), 2);
        EXPECT_EQ(monitor.GetErrors(), "qxmon: " + entry.error + "\nqxmon --help tells more.\n");
    }
    ChildProcess version(kMonitorProgram, {"--version"});
    EXPECT_EQ(version.ReadLine(), "qxmon " QX_VERSION);
    EXPECT_EQ(version.Wait(), 0);
    ChildProcess help(kMonitorProgram, {"--help"});
    const std::vector<std::string> lines = help.ReadLines();
    EXPECT_EQ(help.Wait(), 0);
    EXPECT_NE(std::find(lines.begin(), lines.end(), "Exit codes:"), lines.end());
    ChildProcess ofReplay(kMonitorProgram, {"replay", "--help"});
    const std::vector<std::string> words = ofReplay.ReadLines();
    EXPECT_NE(std::find(words.begin(), words.end(),
                        "These work here too: --hex, --json, --device, --parameter and --message."),
              words.end());
    ChildProcess ofDiff(kMonitorProgram, {"diff", "--help"});
    const std::vector<std::string> last = ofDiff.ReadLines();
    EXPECT_EQ(last.at(last.size() - 2), "qxmon --help tells of exit codes.");
}

TEST(Monitor, SaysThatItsOutputCannotBeWritten)
{
    for (const char* const command : {"decode /dev/null", "--help", "decode --version"}) {
        ChildProcess monitor(
            "sh",
            {"-c", QX_EMULATOR " \"$0\" " + std::string(command) + " >/dev/full", kMonitorProgram});

        EXPECT_EQ(monitor.Wait(), 5) << command;
        EXPECT_EQ(monitor.GetErrors(), "qxmon: the standard output could not be written\n");
    }
}

} // namespace
