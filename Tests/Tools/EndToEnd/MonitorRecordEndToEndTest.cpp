// MonitorRecordEndToEndTest.cpp - qxmon record, replay, diff and decode of recordings, as
// processes.

#include "Tests/Tools/EndToEnd/Validation.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <regex>

namespace {

using ToolsTests::ChildProcess;
using ToolsTests::GetWrongBundle;
using ToolsTests::kHostProgram;
using ToolsTests::kMonitorProgram;
using ToolsTests::TemporaryFolder;
using JSON = nlohmann::json;
using Lines = std::vector<std::string>;

constexpr const char* kTime = "^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{6}Z$";

struct MonitorRun
{
    Lines lines;
    std::string errors;
    int exitCode;
};

MonitorRun RunMonitor(const Lines& arguments, const std::string& input = "")
{
    ChildProcess monitor(kMonitorProgram, arguments, input);
    Lines lines = monitor.ReadLines();
    const int exitCode = monitor.Wait();
    return {std::move(lines), monitor.GetErrors(), exitCode};
}

/// The messages among the lines of --json, without what differs from run to run.
std::vector<JSON> SelectMessages(const Lines& lines)
{
    std::vector<JSON> messages;
    for (const std::string& line : lines) {
        JSON object = JSON::parse(line);
        if (object["event"] == "message") {
            EXPECT_TRUE(std::regex_match(object["time"].get<std::string>(), std::regex(kTime)));
            messages.push_back(std::move(object));
        }
    }
    return messages;
}

/// A recording of one level, one state and the message that tells of the state.
class MonitorRecording : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ChildProcess monitor(kMonitorProgram, {"record", mFile, "--json", "--count", "3"});
        monitor.ReadLine();
        ChildProcess host(kHostProgram,
                          {"--plugin", GetWrongBundle("none"), "--in-process", "run", "-"},
                          "open 258\nset level 1.0 0.5\nset state 1\nsleep 60\n");
        mHostID = host.GetID();
        // The sender's program has a name only while it runs.
        mShown = monitor.ReadLines();
        ASSERT_EQ(monitor.Wait(), 0);
        host.Signal(SIGTERM);
        ASSERT_EQ(host.Wait(), 143);
    }

    /// The lines of the recording.
    std::vector<JSON> ReadFile() const
    {
        std::ifstream stream(mFile);
        std::vector<JSON> objects;
        for (std::string line; std::getline(stream, line);) {
            objects.push_back(JSON::parse(line));
        }
        return objects;
    }

    const TemporaryFolder mFolder;
    const std::string mFile = mFolder / "messages.jsonl";
    pid_t mHostID = 0;
    Lines mShown;
};

TEST_F(MonitorRecording, StaysAsItIsIfAnotherHoldsThePort)
{
    ChildProcess holder(kMonitorProgram, {"--json"});
    holder.ReadLine();

    const MonitorRun second = RunMonitor({"record", mFile});

    EXPECT_EQ(second.exitCode, 3);
    EXPECT_EQ(ReadFile().size(), 4U);
}

TEST_F(MonitorRecording, HasTimeSenderAndBytesOfEachMessage)
{
    const std::vector<JSON> objects = ReadFile();

    ASSERT_EQ(objects.size(), 4U);
    EXPECT_EQ(objects[0]["event"], "recording");
    JSON level = objects[1];
    EXPECT_TRUE(std::regex_match(level["time"].get<std::string>(), std::regex(kTime)));
    EXPECT_EQ(level["sender"], mHostID);
    EXPECT_NE(level.value("senderName", ""), ""); // "qxhost", or the emulator's
    for (const char* const key : {"time", "sender", "senderName", "data"}) {
        level.erase(key);
    }
    EXPECT_EQ(level, JSON::parse(R"({"schemaVersion": 1, "event": "message", "number": 1,
                                     "messageID": 1397509197, "code": "SLLM",
                                     "dataSize": 353})"));
    EXPECT_EQ(objects[1]["data"].get<std::string>().substr(0, 10), "3C3F786D6C"); // <?xml
    EXPECT_EQ(objects[1]["data"].get<std::string>().size(), 706U);
    EXPECT_EQ(objects[2]["code"], "OpLM");
    EXPECT_EQ(objects[2]["data"], "");
}

TEST_F(MonitorRecording, IsShownAsTheMessagesWereWhenTheyArrived)
{
    std::vector<JSON> shown = SelectMessages(mShown);
    std::vector<JSON> replayed = SelectMessages(RunMonitor({"replay", mFile, "--json"}).lines);
    std::ifstream stream(mFile);
    const std::string text((std::istreambuf_iterator<char>(stream)), {});
    const MonitorRun decoded = RunMonitor({"--json", "decode", "-"}, text);

    ASSERT_EQ(shown.size(), 3U);
    EXPECT_EQ(SelectMessages(decoded.lines), replayed);
    EXPECT_EQ(decoded.exitCode, 0);
    EXPECT_EQ(JSON::parse(decoded.lines.back())["received"], 3);
    EXPECT_EQ(replayed[1]["time"], ReadFile()[2]["time"]);
    for (std::vector<JSON>* const messages : {&shown, &replayed}) {
        for (JSON& message : *messages) {
            message.erase("time");
        }
    }
    EXPECT_EQ(replayed, shown);
}

TEST_F(MonitorRecording, IsSentToTheServerThatIsThere)
{
    const MonitorRun alone = RunMonitor({"replay", mFile, "--send"});
    const std::string again = mFolder / "again.jsonl";
    ChildProcess server(kMonitorProgram, {"record", again, "--json", "--count", "3"});
    server.ReadLine();

    const MonitorRun sent = RunMonitor({"replay", "--send", mFile});

    EXPECT_EQ(alone.exitCode, 3);
    EXPECT_EQ(alone.errors, "qxmon: no server holds the port\n");
    EXPECT_EQ(sent.exitCode, 0);
    EXPECT_EQ(sent.lines,
              (Lines{"    1  'SLLM'  device 258  -> 0", "    2  'OpLM'  -> 0",
                     "    3  'SLLM'  device 258  -> 0", "qxmon: 3 messages, 0 refused"}));
    server.ReadLines();
    const MonitorRun same = RunMonitor({"diff", mFile, again});
    EXPECT_EQ(same.exitCode, 0);
    EXPECT_EQ(same.lines, Lines{"qxmon: no difference in 0 calls and 3 messages"});
}

TEST_F(MonitorRecording, IsComparedWithARecordingOfTheHost)
{
    const std::string other = mFolder / "host.jsonl";
    ChildProcess host(kHostProgram, {"record", other, "-", "--plugin", GetWrongBundle("none")},
                      "open 258\nset level 1.0 1.0\nset state 1\nclose\n");
    host.Wait();

    const MonitorRun calls = RunMonitor({"diff", mFile, other});
    // Of the host's recording the calls are left out.
    std::ifstream input(other);
    std::ofstream output(mFolder / "messages-only.jsonl");
    for (std::string line; std::getline(input, line);) {
        if (JSON::parse(line)["event"] == "message") {
            output << line << "\n";
        }
    }
    output.close();
    const MonitorRun messages = RunMonitor({"diff", mFile, mFolder / "messages-only.jsonl"});

    EXPECT_EQ(calls.exitCode, 1);
    EXPECT_EQ(calls.lines, Lines{"qxmon: there are 0 and 4 calls"});
    EXPECT_EQ(messages.exitCode, 1);
    EXPECT_EQ(messages.lines, Lines{"qxmon: message 1: its second level is -6.02 dB and 0.00 dB"});
}

TEST_F(MonitorRecording, HasNoCallsForTheHostToMake)
{
    ChildProcess host(kHostProgram, {"replay", mFile});

    EXPECT_EQ(host.Wait(), 2);
    EXPECT_TRUE(host.GetErrors().starts_with("qxhost replay: the recording has no calls; --against "
                                             "server sends its messages\n"))
        << host.GetErrors();
}

TEST_F(MonitorRecording, SaysWhichLineIsDamaged)
{
    std::filesystem::resize_file(mFile, std::filesystem::file_size(mFile) - 9);
    const std::string error = "qxmon: " + mFile + ":4: this is no JSON object\n";

    for (const Lines& arguments : {Lines{"replay", mFile, "--json"},
                                   {"replay", "--send", mFile},
                                   {"diff", mFile, mFile},
                                   {"decode", mFile}}) {
        const MonitorRun run = RunMonitor(arguments);

        EXPECT_EQ(run.exitCode, 4) << arguments[0];
        EXPECT_EQ(run.errors, error);
    }
    EXPECT_EQ(RunMonitor({"replay", mFile, "--json"}).lines.size(), 2U);
}

TEST(MonitorRecords, NothingIfTheFileCannotBeWritten)
{
    const MonitorRun folder = RunMonitor({"record", "/nonexistent/a"});
    const MonitorRun full = RunMonitor({"record", "/dev/full"});

    EXPECT_EQ(folder.exitCode, 5);
    EXPECT_EQ(folder.errors, "qxmon: cannot write /nonexistent/a: No such file or directory\n");
    EXPECT_EQ(folder.lines, Lines{});
    EXPECT_EQ(full.exitCode, 5);
    EXPECT_EQ(full.errors, "qxmon: cannot write /dev/full: No space left on device\n");
}

TEST(MonitorRecords, NothingIfItsOutputIsClosed)
{
    const TemporaryFolder folder;
    std::ofstream(folder / "kept") << "as it was";
    ChildProcess monitor(
        "sh", {"-c", QX_EMULATOR " \"$0\" record \"$1\" >&-", kMonitorProgram, folder / "kept"});

    EXPECT_EQ(monitor.Wait(), 5);
    EXPECT_EQ(monitor.GetErrors(), "qxmon: the standard output could not be written\n");
    std::ifstream kept(folder / "kept");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), "as it was");
}

TEST(MonitorReplays, AMessageThatTheRecordingHasNotInFull)
{
    const std::string cut =
        R"({"schemaVersion":1,"event":"message","time":"2026-12-31T12:00:00.000000Z",)"
        R"("sender":1,"messageID":1397509197,"dataSize":353,"data":"3C3F"})"
        "\n";

    const MonitorRun shown = RunMonitor({"replay", "-", "--json"}, cut);
    const MonitorRun sent = RunMonitor({"replay", "-", "--send"}, cut);

    EXPECT_EQ(shown.exitCode, 1);
    const JSON message = JSON::parse(shown.lines.at(0));
    EXPECT_EQ(message["dataSize"], 353);
    EXPECT_EQ(message["findings"], JSON::parse(R"([{"place": "request", "offset": 0,
                               "text": "the recording has only the first 2 bytes of 353"}])"));
    EXPECT_EQ(sent.exitCode, 4);
    EXPECT_EQ(sent.errors, "qxmon: a message of - is cut: it cannot be sent again\n");
}

} // namespace
