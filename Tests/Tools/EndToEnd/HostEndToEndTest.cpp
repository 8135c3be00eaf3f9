// HostEndToEndTest.cpp - qxhost as a process: the bundle's answers, and what reaches a real server.

#include "Protocol/ServerProtocol.h"
#include "Tests/Tools/EndToEnd/Validation.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using ToolsTests::ChildProcess;
using ToolsTests::GetWrongBundle;
using ToolsTests::kHostProgram;
using ToolsTests::kMonitorProgram;
using JSON = nlohmann::json;

/// What a run has printed with --json, and how it ended.
struct HostRun
{
    std::vector<JSON> calls;
    JSON server;
    JSON summary;
    int exitCode = 0;
};

HostRun RunAsJSON(std::vector<std::string> arguments, const std::string& input = "")
{
    arguments.push_back("--json");
    ChildProcess host(kHostProgram, arguments, input);
    HostRun run;
    while (const std::optional<std::string> line = host.ReadLine()) {
        JSON object = JSON::parse(*line);
        if (object["event"] == "call") {
            run.calls.push_back(std::move(object));
        } else if (object["event"] == "server") {
            run.server = std::move(object);
        } else if (object["event"] == "summary") {
            run.summary = std::move(object);
        }
    }
    run.exitCode = host.Wait();
    return run;
}

/// The statuses of all calls, in order.
std::vector<int> GetStatuses(const HostRun& run)
{
    std::vector<int> statuses;
    for (const JSON& call : run.calls) {
        statuses.push_back(call["status"].get<int>());
    }
    return statuses;
}

/// Ends a monitor and returns its messages as "device name value" and its summary.
std::vector<std::string> CollectMessages(ChildProcess& monitor)
{
    std::vector<std::string> messages;
    while (const std::optional<std::string> line = monitor.ReadLine()) {
        const JSON object = JSON::parse(*line);
        if (object["event"] != "message") {
            continue;
        }
        if (object["code"] != "SLLM") {
            messages.push_back(object["code"].get<std::string>());
        } else if (object["name"] == "level") {
            messages.push_back(object["device"].dump() + " level " + object["channelIndex"].dump() +
                               " " + object["first"].dump() + " " + object["second"].dump());
        } else {
            messages.push_back(object["device"].dump() + " " + object["name"].get<std::string>() +
                               " " + object["value"].dump());
        }
    }
    return messages;
}

constexpr int kUnknownProperty = 0x77686F3F;
constexpr int kUnsupported = 0x756E6F70;
constexpr int kUnspecified = 0x77686174;
constexpr int kBadSize = 0x2173697A;

TEST(Host, SendsWhatAScriptSetsToARealServer)
{
    ChildProcess monitor(kMonitorProgram, {"--json", "--count", "7"});
    monitor.ReadLine();

    const HostRun run = RunAsJSON({"run", "-"}, "open 258\n"
                                                "open 0xFFFFFFFE\n"
                                                "set enable 0xFFFFFFFF device=258\n"
                                                "set state 2\n"
                                                "set level 1.0 10.0 channel=2\n"
                                                "set level 0 -1 channel=0\n"
                                                "set state off\n"
                                                "close 258\n"
                                                "close\n");

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.server["running"], true);
    EXPECT_EQ(GetStatuses(run), std::vector<int>(9, 0));
    EXPECT_EQ(CollectMessages(monitor),
              (std::vector<std::string>{
                  "258 enable -1", "OpLM", "4294967294 state 2", "4294967294 level 1 0.0 20.0",
                  "4294967294 level 4294967295 -999.0 -999.0", "4294967294 state 0", "ClLM"}));
}

TEST(Host, ShowsNoControlCharacterOfAPathOrAnArgument)
{
    const struct
    {
        std::vector<std::string> arguments;
        std::string errors;
    } kCases[] = {
        {{"--plugin", "/a\x1B[31m", "info"},
         "qxhost: cannot load the plug-in /a\\x1B[31m: /a\\x1B[31m: cannot open shared object "
         "file: "},
        {{"run", "/a\x1B[31m"}, "qxhost: cannot read the script /a\\x1B[31m: "},
        {{"--\x1B[31m", "info"}, "qxhost: there is no option --\\x1B[31m; see --help\n"}};
    for (const auto& entry : kCases) {
        ChildProcess host(kHostProgram, entry.arguments);

        EXPECT_NE(host.Wait(), 0);
        EXPECT_EQ(host.GetErrors().substr(0, entry.errors.size()), entry.errors);
        EXPECT_EQ(host.GetErrors().find('\x1B'), std::string::npos);
    }
}

TEST(Host, SaysPlainlyThatNoServerRuns)
{
    const HostRun run = RunAsJSON({"run", "-"}, "open 258\n"
                                                "set enable on\nexpect -3\n"
                                                "set state on\nexpect -3\n"
                                                "set level 1 1\nexpect 0\n"
                                                "close\n");
    ChildProcess text(kHostProgram, {"set", "enable", "on"});
    const std::vector<std::string> lines = text.ReadLines();

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.server["port"], kServerPortName);
    EXPECT_EQ(run.server["running"], false);
    EXPECT_EQ(GetStatuses(run), (std::vector<int>{0, -3, -3, 0, 0}));
    EXPECT_EQ(text.Wait(), 1);
    EXPECT_EQ(lines.at(1), "qxhost: no server is running: no process holds the port " +
                               std::string(kServerPortName));
    EXPECT_NE(std::find(lines.begin(), lines.end(), "       !! expected 0"), lines.end());
}

TEST(Host, ReachesAServerThatStartsBetweenTwoRunsOfTheSameDevice)
{
    EXPECT_EQ(RunAsJSON({"set", "state", "1"}).exitCode, 1);

    ChildProcess monitor(kMonitorProgram, {"--json", "--count", "2"});
    monitor.ReadLine();

    EXPECT_EQ(RunAsJSON({"set", "state", "1"}).exitCode, 0);
    EXPECT_EQ(CollectMessages(monitor), (std::vector<std::string>{"OpLM", "258 state 1"}));
}

TEST(Host, ShowsEveryRefusalOfThePlugIn)
{
    const HostRun run = RunAsJSON({"run", "-"}, "get enable\nexpect what\n"
                                                "open 1\n"
                                                "open 1\nexpect what\n"
                                                "get enable\n"
                                                "get enable channel=1\nexpect what\n"
                                                "get enable size=8\nexpect !siz\n"
                                                "get level side=output\nexpect what\n"
                                                "set enable 1 channel=2\nexpect unop\n"
                                                "set enable 1 side=output\nexpect what\n"
                                                "set level 1 1 size=7\nexpect !siz\n"
                                                "set 'VoLu' 1\nexpect who?\n"
                                                "stream info enable\n"
                                                "close\nclose\nexpect what\n");

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.summary["unexpected"], 0);
    EXPECT_EQ(GetStatuses(run),
              (std::vector<int>{kUnspecified, 0, kUnspecified, kUnsupported, kUnspecified, kBadSize,
                                kUnspecified, kUnsupported, kUnspecified, kBadSize,
                                kUnknownProperty, kUnknownProperty, 0, kUnspecified}));
}

TEST(Host, DescribesACallFieldByField)
{
    HostRun run = RunAsJSON({"info", "level", "--device", "7"});

    ASSERT_EQ(run.calls.size(), 3u);
    JSON& call = run.calls[1];
    EXPECT_GE(call["microseconds"].get<double>(), 0);
    call.erase("microseconds");
    EXPECT_EQ(call, JSON::parse(R"({
        "schemaVersion": 1, "event": "call", "number": 2, "entryPoint": "AudioDriverPlugInDeviceGetPropertyInfo",
        "device": 7, "channel": 1, "input": true, "selector": 1145531756, "property": "DGml",
        "name": "level", "size": 8, "status": 0, "code": "", "explanation": "success",
        "outSize": 8, "outWritable": true, "expected": 0, "asExpected": true})"));
}

TEST(Host, DrivesSeveralDevicesInOneProcess)
{
    const HostRun run =
        RunAsJSON({"get", "state", "--device", "1", "--device", "2", "--repeat", "2"});

    std::vector<std::string> calls;
    for (const JSON& call : run.calls) {
        calls.push_back(call["entryPoint"].get<std::string>().substr(17) + " " +
                        call["device"].dump());
    }
    EXPECT_EQ(calls, (std::vector<std::string>{"Open 1", "Open 2", "DeviceGetProperty 1",
                                               "DeviceGetProperty 2", "DeviceGetProperty 1",
                                               "DeviceGetProperty 2", "Close 1", "Close 2"}));
    EXPECT_EQ(run.exitCode, 0);
}

TEST(Host, CallsTheThreeStreamEntryPoints)
{
    const HostRun run = RunAsJSON({"stream"});

    EXPECT_EQ(GetStatuses(run),
              (std::vector<int>{0, kUnknownProperty, kUnknownProperty, kUnknownProperty, 0}));
    EXPECT_EQ(run.exitCode, 0);
}

TEST(Host, ShowsOnlyWhatDiffersWhenQuiet)
{
    const HostRun asExpected = RunAsJSON({"get", "--quiet", "--repeat", "100"});
    const HostRun differing = RunAsJSON({"get", "enable", "--quiet", "--expect", "ok"});

    EXPECT_TRUE(asExpected.calls.empty());
    EXPECT_EQ(asExpected.summary["calls"], 302);
    EXPECT_EQ(asExpected.exitCode, 0);
    ASSERT_EQ(differing.calls.size(), 1u);
    EXPECT_EQ(differing.calls[0]["status"], kUnsupported);
    EXPECT_EQ(differing.calls[0]["asExpected"], false);
    EXPECT_EQ(differing.exitCode, 1);
}

TEST(Host, PrintsNothingWhenQuietAndAllIsAsExpected)
{
    ChildProcess host(kHostProgram, {"get", "--quiet"});

    EXPECT_EQ(host.ReadLines(), std::vector<std::string>{});
    EXPECT_EQ(host.Wait(), 0);
}

/// The first line of what a command line that is refused says; "" if it ends in another way.
std::string GetRefusal(const std::vector<std::string>& arguments, const std::string& input = "")
{
    ChildProcess host(kHostProgram, arguments, input);
    host.ReadLines();
    const bool isRefused = host.Wait() == 2;
    return isRefused ? host.GetErrors().substr(0, host.GetErrors().find('\n')) : "";
}

TEST(Host, TellsWhichWordIsWrongAndTheNearestRightOne)
{
    const std::string commands =
        "there are info, get, set, stream, run, validate, record, replay and diff";
    EXPECT_EQ(GetRefusal({"inof"}),
              "qxhost: there is no command \"inof\"; did you mean info? " + commands);
    EXPECT_EQ(GetRefusal({"teleport"}), "qxhost: there is no command \"teleport\"; " + commands);
    EXPECT_EQ(GetRefusal({}), "qxhost: a command is needed: info, get, set, stream, run, validate, "
                              "record, replay or diff");
    EXPECT_EQ(GetRefusal({"get", "--devcie", "7"}),
              "qxhost: there is no option --devcie; did you mean --device? see --help");
    EXPECT_EQ(GetRefusal({"set", "leve", "1"}),
              "qxhost: \"leve\" is not a property; did you mean level? there are enable, level, "
              "state and four-character codes");
    EXPECT_EQ(GetRefusal({"run", "-"}, "opne 258\n"),
              "qxhost: -:1: unknown statement \"opne\"; did you mean open? there are open, close, "
              "set, get, info, stream, sleep and expect");
    EXPECT_EQ(GetRefusal({"run", "-"}, "set stat 1\n"),
              "qxhost: -:1: \"stat\" is not a property; did you mean state?");
}

TEST(Host, RefusesWhatCannotBeMeant)
{
    EXPECT_EQ(GetRefusal({"run", "-"}, "# nothing\n"),
              "qxhost: the script - says nothing: it has no statement");
    EXPECT_EQ(GetRefusal({"info", "--repeat", "0"}),
              "qxhost: --repeat: \"0\" is not a whole number from 1 to 1000000000");
    EXPECT_EQ(GetRefusal({"info", "--repeat", "often"}),
              "qxhost: --repeat: \"often\" is not a whole number from 1 to 1000000000");
    EXPECT_EQ(GetRefusal({"info", "--channel", "x"}),
              "qxhost: --channel: \"x\" is not a number of 32 bits without a sign");
    EXPECT_EQ(GetRefusal({"info", "--channel", "-1"}),
              "qxhost: --channel: \"-1\" is not a number of 32 bits without a sign");
    EXPECT_EQ(GetRefusal({"info", "--device", "-1"}),
              "qxhost: --device: \"-1\" is not a number of 32 bits without a sign");
    EXPECT_EQ(GetRefusal({"info", "--device", "7", "--device", "0x7"}),
              "qxhost: device 0x7 is there twice");
    EXPECT_EQ(GetRefusal({"run", "-", "--device", "7"}),
              "qxhost: --device has no effect on run: the script says it");
    EXPECT_EQ(GetRefusal({"--expect", "ok", "run", "-"}),
              "qxhost: --expect has no effect on run: the script says it");
    EXPECT_EQ(GetRefusal({"info", "--in-process", "--time-limit", "5"}),
              "qxhost: --time-limit has no effect with --in-process");
    EXPECT_EQ(GetRefusal({"stream", "--output"}),
              "qxhost: --output has no effect on stream: a stream has one side");
    EXPECT_EQ(GetRefusal({"--quiet", "validate", "--only", "open"}),
              "qxhost: validate has to be the first word: qxhost validate ...");
    EXPECT_EQ(GetRefusal({"--json", "diff", "--help"}),
              "qxhost: diff has to be the first word: qxhost diff ...");
    EXPECT_EQ(GetRefusal({"info", "--plugin", ""}), "qxhost: --plugin: the name is empty");
    EXPECT_EQ(GetRefusal({"run", ""}), "qxhost: SCRIPT: the name is empty");
    EXPECT_EQ(GetRefusal({"record", "-", "a.qxs"}),
              "qxhost record: FILE: the standard output is for other text; name a file");
    EXPECT_EQ(GetRefusal({"record", "a", "b", "--repeat", "2"}),
              "qxhost record: there is no option --repeat; see --help");
    EXPECT_EQ(GetRefusal({"diff", "a", "b", "c"}), "qxhost diff: \"c\" is unexpected");
    EXPECT_EQ(GetRefusal({"run", "-"}, "open 7\nset level 1 1 channel=1 channel=2\n"),
              "qxhost: -:2: \"channel=2\": channel= is there twice");
    EXPECT_EQ(GetRefusal({"run", "-"}, "stream get enable side=output\n"),
              "qxhost: -:1: side has no effect on stream: a stream has one side");
    EXPECT_EQ(GetRefusal({"validate", "--list", "--json"}),
              "qxhost validate: --json has no effect with --list");
}

TEST(Host, TellsItsVersionAfterACommandToo)
{
    const std::vector<std::string> kCases[] = {
        {"--version"},        {"info", "--version"},     {"set", "--version"},
        {"run", "--version"}, {"validate", "--version"}, {"replay", "--version"},
    };
    for (const auto& arguments : kCases) {
        SCOPED_TRACE(arguments.front());
        ChildProcess host(kHostProgram, arguments);

        EXPECT_EQ(host.ReadLine(), "qxhost " QX_VERSION);
        EXPECT_EQ(host.Wait(), 0);
    }
}

TEST(Host, ShowsTheOptionsOfACommandInItsHelp)
{
    ChildProcess host(kHostProgram, {"set", "--help"});
    const std::vector<std::string> lines = host.ReadLines();

    for (const char* const option : {"--plugin", "--device", "--channel", "--output", "--expect",
                                     "--repeat", "--json", "--quiet"}) {
        EXPECT_TRUE(std::ranges::any_of(lines, [&](const std::string& line) {
            return line.starts_with(std::string("  ") + option);
        })) << option;
    }
}

TEST(Host, NoticesAGetThatWritesBeyondItsRoom)
{
    ChildProcess host(kHostProgram,
                      {"--plugin", GetWrongBundle("get-size-state"), "--json", "run", "-"},
                      "open 258\nget state size=3\nexpect any\nclose\n");
    std::vector<JSON> calls;
    for (const std::string& line : host.ReadLines()) {
        calls.push_back(JSON::parse(line));
    }

    EXPECT_EQ(host.Wait(), 1);
    ASSERT_EQ(calls.size(), 6U);
    EXPECT_EQ(calls[3]["overrun"], 1);
    EXPECT_EQ(calls[3]["asExpected"], false);
}

TEST(Host, GivesNoAdviceOnThisProductForAnothersBundle)
{
    ChildProcess host(kHostProgram, {"--plugin", QX_ANSWERING_PLUGIN, "info", "enable", "--device",
                                     std::to_string(kUnspecified)});
    const std::vector<std::string> lines = host.ReadLines();

    ASSERT_GT(lines.size(), 4U);
    EXPECT_TRUE(lines[2].starts_with("    1  AudioDriverPlugInOpen")) << lines[2];
    EXPECT_TRUE(lines[3].starts_with("       -> 2003329396 'what'  unspecified error  ["))
        << lines[3];
}

TEST(Host, ShowsWhatThePlugInPrintsApartFromItsOwnOutput)
{
    ChildProcess host(kHostProgram,
                      {"--plugin", GetWrongBundle("prints-nothing"), "--json", "info", "enable"});

    const std::vector<std::string> lines = host.ReadLines();

    EXPECT_EQ(host.Wait(), 0);
    EXPECT_EQ(lines.size(), 6U);
    EXPECT_EQ(JSON::parse(lines.back())["event"], "summary");
    EXPECT_EQ(host.GetErrors(), "plug-in: device opened\n");
}

TEST(Host, LoadsThePlugInIntoItselfForADebugger)
{
    ChildProcess host(kHostProgram, {"--plugin", GetWrongBundle("prints-nothing"), "--in-process",
                                     "info", "enable"});

    const std::vector<std::string> lines = host.ReadLines();

    EXPECT_EQ(host.Wait(), 0);
    EXPECT_TRUE(std::ranges::find(lines, "device opened") != lines.end());
    EXPECT_EQ(host.GetErrors(), "");
}

TEST(Host, TakesNegativeNumbersAndOptionsAnywhere)
{
    const HostRun run = RunAsJSON({"--expect", "-3", "set", "enable", "-1", "--channel", "0"});

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.calls.at(1)["data"], "FFFFFFFF");
}

TEST(Host, DrivesABundleThatIsNotOurs)
{
    const HostRun run =
        RunAsJSON({"--plugin", QX_ANSWERING_PLUGIN, "get", "enable", "--device", "5"});

    EXPECT_EQ(GetStatuses(run), (std::vector<int>{5, 5, 5}));
    EXPECT_EQ(run.exitCode, 1);
}

TEST(Host, SaysWhyABundleCannotBeLoaded)
{
    ChildProcess missing(kHostProgram, {"info", "--plugin", "/nonexistent/bundle.so"});
    ChildProcess lacking(kHostProgram, {"info", "--plugin", QX_LACKING_PLUGIN});

    EXPECT_EQ(missing.Wait(), 3);
    EXPECT_NE(missing.GetErrors().find("cannot load the plug-in /nonexistent/bundle.so"),
              std::string::npos);
    EXPECT_EQ(lacking.Wait(), 3);
    EXPECT_NE(lacking.GetErrors().find("lacks the entry points AudioDriverPlugInClose and "),
              std::string::npos);
}

TEST(Host, RefusesACommandLineOrScriptThatItDoesNotKnow)
{
    const std::vector<std::string> kCases[] = {
        {},
        {"play"},
        {"set"},
        {"set", "volume", "1"},
        {"set", "level", "1"},
        {"set", "enable", "loud"},
        {"get", "enable", "--device", "x"},
        {"get", "enable", "--expect", "never"},
        {"get", "enable", "--repeat", "0"},
        {"run", "/nonexistent.qxs"},
        {"run", "/"},
        {"run", "/dev/zero"},
        {"run", "-"},
    };
    for (const auto& arguments : kCases) {
        SCOPED_TRACE(arguments.empty() ? "nothing" : arguments.back());
        ChildProcess host(kHostProgram, arguments, "open 1\njump\n");

        EXPECT_EQ(host.Wait(), 2);
        EXPECT_NE(host.GetErrors(), "");
    }
    ChildProcess script(kHostProgram, {"run", "-"}, "open 1\njump\n");
    script.Wait();
    EXPECT_TRUE(script.GetErrors().starts_with("qxhost: -:2: unknown statement"))
        << script.GetErrors();
}

} // namespace
