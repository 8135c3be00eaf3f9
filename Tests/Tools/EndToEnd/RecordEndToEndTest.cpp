// RecordEndToEndTest.cpp - qxhost record, replay and diff as processes.

#include "Tests/Tools/EndToEnd/Validation.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using ToolsTests::ChildProcess;
using ToolsTests::GetWrongBundle;
using ToolsTests::kHostProgram;
using ToolsTests::kMonitorProgram;
using ToolsTests::TemporaryFolder;
using JSON = nlohmann::json;
using Lines = std::vector<std::string>;

constexpr const char* kScript = "open 7\n"
                                "set enable on\n"
                                "set state 0\n"
                                "get enable\n"
                                "close\n";

/// How a run ended, and the last line that it has written.
struct Ending
{
    int exitCode;
    std::string text;
};

Ending RunHost(const Lines& arguments, const std::string& input = "")
{
    ChildProcess host(kHostProgram, arguments, input);
    const Lines lines = host.ReadLines();
    const int exitCode = host.Wait();
    const std::string errors = host.GetErrors();
    return {exitCode, lines.empty() ? errors.substr(0, errors.find('\n')) : lines.back()};
}

/// A file with the calls of kScript to a bundle that is right.
class Recording : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const Ending run =
            RunHost({"record", mFile, "-", "--plugin", GetWrongBundle("none")}, kScript);
        ASSERT_EQ(run.exitCode, 0) << run.text;
        ASSERT_EQ(run.text, "qxhost: recorded 5 calls and 3 messages");
    }

    const TemporaryFolder mFolder;
    const std::string mFile = mFolder / "calls.jsonl";
};

TEST_F(Recording, HasEachCallBeforeTheMessagesThatItSent)
{
    std::ifstream stream(mFile);
    Lines events;
    for (std::string line; std::getline(stream, line);) {
        const JSON object = JSON::parse(line);
        events.push_back(
            object.value("code", object.value("entryPoint", object.value("event", ""))));
    }

    EXPECT_EQ(events,
              (Lines{"recording", "AudioDriverPlugInOpen", "AudioDriverPlugInDeviceSetProperty",
                     "SLLM", "AudioDriverPlugInDeviceSetProperty", "SLLM", "ClLM",
                     "AudioDriverPlugInDeviceGetProperty", "AudioDriverPlugInClose"}));
}

TEST_F(Recording, IsPlayedAgainWithoutADifference)
{
    const Ending run = RunHost({"replay", mFile, "--against", GetWrongBundle("none")});

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.text, "qxhost: no difference in 5 calls and 3 messages");
}

TEST_F(Recording, TellsTheFirstDifferenceOfAnotherBundle)
{
    const Ending order = RunHost({"replay", mFile, "--against", GetWrongBundle("only-sets-send")});
    const Ending crash = RunHost({"replay", mFile, "--against", GetWrongBundle("loads")});

    EXPECT_EQ(order.exitCode, 1);
    EXPECT_EQ(order.text, "qxhost: there are 3 and 4 messages");
    EXPECT_EQ(crash.exitCode, 3);
}

TEST_F(Recording, IsComparedFieldByField)
{
    std::ifstream input(mFile);
    std::ofstream output(mFolder / "other.jsonl");
    for (std::string line; std::getline(input, line);) {
        JSON object = JSON::parse(line);
        if (object["number"] == 3) {
            object["data"].get_ref<std::string&>()[1] = 'D';
        }
        output << object << "\n";
    }
    output.close();

    const Ending same = RunHost({"diff", mFile, mFile});
    const Ending other = RunHost({"diff", mFile, mFolder / "other.jsonl"});

    EXPECT_EQ(same.exitCode, 0);
    EXPECT_EQ(other.exitCode, 1);
    EXPECT_EQ(other.text, "qxhost: message 1: byte 0 is 3C and 3D");
}

TEST_F(Recording, SendsItsMessagesToAServer)
{
    const Ending alone = RunHost({"replay", mFile, "--against", "server"});
    ChildProcess monitor(kMonitorProgram, {"--json", "--count", "3"});
    monitor.ReadLine();

    const Ending run = RunHost({"replay", mFile, "--against", "server"});

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.text, "qxhost: 3 messages, 0 refused");
    EXPECT_EQ(alone.exitCode, 3);
    EXPECT_EQ(alone.text, "qxhost: no server holds the port");
    Lines codes;
    while (const std::optional<std::string> line = monitor.ReadLine()) {
        const JSON object = JSON::parse(*line);
        if (object["event"] == "message") {
            codes.push_back(object["code"].get<std::string>());
            EXPECT_EQ(object["wellFormed"], true);
        }
    }
    EXPECT_EQ(codes, (Lines{"SLLM", "SLLM", "ClLM"}));
    EXPECT_EQ(RunHost({"replay", mFile, "--against", "server", "--time-limit", "5"}).text,
              "qxhost replay: --time-limit has no effect with --against server");
}

TEST_F(Recording, TellsHowThePlugInEndedItsProcessAndTheCommandThatShowsIt)
{
    const struct
    {
        const char* bundle;
        const char* finding;
    } kCases[] = {
        {"crashes-when-unloaded", "the plug-in crashed while it was unloaded: SIGABRT, it gave up"},
        {"crashes-at-the-end",
         "the plug-in crashed at the end of the process: SIGABRT, it gave up"},
        {"exits-at-the-end", "the plug-in ended the process with the exit code 0 at its end"},
    };
    for (const auto& entry : kCases) {
        const std::string bundle = GetWrongBundle(entry.bundle);
        ChildProcess host(kHostProgram, {"record", mFile, "-", "--plugin", bundle},
                          "open 7\nclose\n");

        EXPECT_EQ(host.Wait(), 1);
        EXPECT_EQ(host.GetErrors(),
                  std::string("qxhost: ") + entry.finding +
                      "\n        last call: AudioDriverPlugInClose(device 7)\n"
                      "        to debug:  gdb -ex 'set detach-on-fork off' -ex 'set "
                      "schedule-multiple on' --args " +
                      kHostProgram + " record " + mFile + " - --plugin " + bundle +
                      " --time-limit 86400\n");
    }
}

std::string ReadText(const std::string& file)
{
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST_F(Recording, HasWhatWasCalledBeforeASignal)
{
    const std::string bundle = GetWrongBundle("stops-its-host");
    std::filesystem::create_directory(mFolder / "temporary");
    ChildProcess host("sh",
                      {"-c", "TMPDIR=\"$1\" " QX_EMULATOR " \"$0\" record \"$2\" - --plugin \"$3\"",
                       kHostProgram, mFolder / "temporary", mFolder / "cut.jsonl", bundle},
                      kScript);

    EXPECT_EQ(host.ReadLines(), Lines{"qxhost: stopped; recorded 3 calls and 1 message"});
    EXPECT_EQ(host.Wait(), 128 + SIGTERM);
    EXPECT_EQ(RunHost({"diff", mFolder / "cut.jsonl", mFolder / "cut.jsonl"}).text,
              "qxhost: no difference in 3 calls and 1 message");
    EXPECT_TRUE(std::filesystem::is_empty(mFolder / "temporary"));
    const Ending replay = RunHost({"replay", mFile, "--against", bundle});
    EXPECT_EQ(replay.exitCode, 128 + SIGTERM);
    EXPECT_EQ(replay.text, "qxhost: stopped; 3 calls and 1 message were not compared");
}

/// Runs the host with redirections of its streams, in the words of the shell.
std::pair<int, std::string> RunRedirected(const std::string& words, const std::string& file,
                                          const std::string& redirections)
{
    ChildProcess host(
        "sh", {"-c", QX_EMULATOR " \"$0\" " + words + " " + redirections, kHostProgram, file});
    const int exitCode = host.Wait();
    return {exitCode, host.GetErrors()};
}

TEST_F(Recording, TakesThePlaceOfNoFileThatItIsMadeFrom)
{
    const std::string script = mFolder / "script.qxs";
    std::ofstream(script) << kScript;
    std::filesystem::create_symlink("script.qxs", mFolder / "link");

    const Ending run = RunHost({"record", mFolder / "link", script});

    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.text, "qxhost record: the recording would take the place of " + script);
    EXPECT_EQ(
        RunRedirected("record \"$1\" -", script, "<\"$1\""),
        std::make_pair(2, std::string("qxhost record: the recording would take the place of "
                                      "the standard input\nqxhost record --help tells more.\n")));
    EXPECT_EQ(ReadText(script), kScript);
}

TEST_F(Recording, StaysAsItIsWhenTheOutputIsClosed)
{
    const std::string before = ReadText(mFile);
    const std::pair<int, std::string> refusal = {
        4, "qxhost: the standard output could not be written\n"};

    EXPECT_EQ(RunRedirected("record \"$1\" -", mFile, ">&-"), refusal);
    EXPECT_EQ(RunRedirected("validate --only open --junit \"$1\"", mFile, ">&-"), refusal);

    EXPECT_EQ(ReadText(mFile), before);
}

TEST_F(Recording, NeedsATemporaryFolder)
{
    ChildProcess host("sh", {"-c", "TMPDIR=/nonexistent " QX_EMULATOR " \"$0\" replay \"$1\"",
                             kHostProgram, mFile});

    EXPECT_EQ(host.Wait(), 4);
    EXPECT_EQ(host.GetErrors(), "qxhost: cannot make a temporary folder in /nonexistent: No such "
                                "file or directory; TMPDIR can name another place\n");
}

TEST(ClosedStreams, TakeNoPartOfAFileThatIsWritten)
{
    const TemporaryFolder folder;
    const std::string words = "validate " + GetWrongBundle("open-twice") +
                              " --only open-twice --recordings /dev/null/none --junit \"$1\"";

    const auto [exitCode, errors] = RunRedirected(words, folder / "junit.xml", "2>&-");

    EXPECT_EQ(exitCode, 4);
    EXPECT_TRUE(ReadText(folder / "junit.xml").starts_with("<?xml"));
}

TEST_F(Recording, IsRefusedWithTheLineThatIsWrong)
{
    const std::string wrong = mFolder / "wrong.jsonl";
    const auto refuse = [&](const std::string& text) {
        std::ofstream(wrong) << text;
        const Ending run = RunHost({"diff", wrong, mFile});
        const std::string start = "qxhost diff: " + wrong;
        return run.exitCode == 2 ? run.text.substr(std::min(run.text.size(), start.size())) : "";
    };

    EXPECT_EQ(refuse(""), " is empty; a recording has at least one line");
    EXPECT_EQ(refuse("open 7\n"), ":1: this is no JSON object");
    EXPECT_EQ(refuse("{\"schemaVersion\": 2, \"event\": \"call\"}\n"),
              ":1: its \"schemaVersion\" is not 1");
    EXPECT_EQ(refuse("{\"schemaVersion\": 1, \"event\": \"call\", \"entryPoint\": \"Open\"}\n"),
              ":1: there is no entry point \"Open\"");
}

} // namespace
