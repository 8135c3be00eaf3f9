// MonitorOptionsEndToEndTest.cpp - qxmon as a process: what its filters pick, what ends it, and how
// wide its lines are.

#include "Tests/Tools/EndToEnd/ChildProcess.h"
#include "Tests/Tools/EndToEnd/Sender.h"
#include "Tests/Tools/Monitor/Messages.h"
#include "Tools/Monitor/Columns.h"

#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>

namespace {

using ToolsTests::ChildProcess;
using ToolsTests::kBigEndianLevelText;
using ToolsTests::kBigEndianStateText;
using ToolsTests::kMonitorProgram;
using ToolsTests::MakeDocument;
using ToolsTests::ReadObject;
using ToolsTests::Sender;
using JSON = nlohmann::json;
using Words = std::vector<std::string>;

/// One message of each kind for the devices 1 and 2, and an announcement.
void SendAll()
{
    const Sender sender;
    for (const char* const device : {"1", "2"}) {
        sender.Send(kSetParameterMessage, MakeDocument(device, kBigEndianStateText));
        sender.Send(kSetParameterMessage, MakeDocument(device, kBigEndianLevelText));
    }
    sender.Send(kOpenDirectMonitorMessage, "");
}

TEST(MonitorOptions, PickMessages)
{
    const struct
    {
        Words options;
        std::vector<int> numbers; ///< of the messages that are shown
    } kCases[] = {
        {{}, {1, 2, 3, 4, 5}},
        {{"--device", "2"}, {3, 4}},
        {{"--device", "2", "--device", "0x1"}, {1, 2, 3, 4}},
        {{"--parameter", "level"}, {2, 4}},
        {{"--parameter", "level", "--device", "1"}, {2}},
        {{"--message", "OpLM"}, {5}},
        {{"--message", "OpLM", "--message", "SLLM", "--parameter", "state"}, {1, 3}},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(testing::PrintToString(entry.options));
        Words options = {"--json"};
        options.insert(options.end(), entry.options.begin(), entry.options.end());
        ChildProcess monitor(kMonitorProgram, options);
        ReadObject(monitor);

        SendAll();
        monitor.Signal(SIGTERM);

        std::vector<int> numbers;
        JSON object = ReadObject(monitor);
        for (; object["event"] == "message"; object = ReadObject(monitor)) {
            numbers.push_back(object["number"]);
        }
        EXPECT_EQ(numbers, entry.numbers);
        EXPECT_EQ(object["received"], entry.numbers.size());
        EXPECT_EQ(object.value("leftOut", 0u), 5 - entry.numbers.size());
        EXPECT_EQ(monitor.Wait(), 0);
    }
}

TEST(MonitorOptions, CountTheMessagesThatFiltersLetThrough)
{
    ChildProcess monitor(kMonitorProgram, {"--parameter", "level", "--count", "2"});
    monitor.ReadLine();
    monitor.ReadLine();

    SendAll();

    const Words lines = monitor.ReadLines();
    ASSERT_EQ(lines.size(), 10u);
    EXPECT_EQ(lines[0].substr(0, 6), "    2 ");
    EXPECT_EQ(lines[1].substr(0, 6), "    4 ");
    EXPECT_EQ(lines[3], "2 messages: 2 well formed, 0 malformed; 'OpLM' 0, 'ClLM' 0");
    EXPECT_EQ(lines[4], "2 other messages came that the filters leave out.");
    EXPECT_EQ(monitor.Wait(), 0);
}

TEST(MonitorOptions, PickWhatIsDecoded)
{
    const std::string document = MakeDocument("258", "AAAAHAAAAAAAAAAAEAAAAAAAAAACAAAAAQAAAA==");
    ChildProcess taken(kMonitorProgram, {"decode", "--device", "258", "-"}, document);
    ChildProcess leftOut(kMonitorProgram, {"--device", "1", "decode", "-"}, document);

    EXPECT_EQ(taken.Wait(), 1);
    EXPECT_EQ(taken.ReadLine()->substr(0, 29), "'SLLM'  MALFORMED  device 258");
    EXPECT_EQ(leftOut.Wait(), 0);
    const Words lines = leftOut.ReadLines();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[2], "1 other message came that the filters leave out.");
}

TEST(MonitorOptions, EndItAfterTheMessageThatItWaitsFor)
{
    ChildProcess monitor(kMonitorProgram, {"--json", "--until", "device=2,state=1"});
    ReadObject(monitor);

    SendAll();

    const Words lines = monitor.ReadLines();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(JSON::parse(lines[2])["number"], 3);
    EXPECT_EQ(JSON::parse(lines[3])["received"], 3);
    EXPECT_EQ(monitor.Wait(), 0);
}

TEST(MonitorOptions, SayThatTheMessageItWaitsForHasNotCome)
{
    ChildProcess filtered(kMonitorProgram,
                          {"--json", "--device", "1", "--count", "2", "--until", "device=2"});
    ReadObject(filtered);

    SendAll();

    EXPECT_EQ(filtered.ReadLines().size(), 3u);
    EXPECT_EQ(filtered.Wait(), 8);
}

TEST(MonitorOptions, AreRefusedWhereTheyAreWrongOrHaveNoEffect)
{
    const struct
    {
        Words options;
        const char* wrong;
    } kCases[] = {
        {{"--device", "-1"}, "--device: \"-1\" is not a number of 32 bits without a sign"},
        {{"--parameter", "volume"},
         "--parameter: \"volume\" is not a parameter; there are enable, level, state and numbers"},
        {{"--message", "?"},
         "--message: \"?\" is not a message ID: four characters, such as SLLM, or a number"},
        {{"--until", "level<"}, "--until \"level<\": a value is missing after level<"},
        {{"decode", "-", "--count", "1"}, "--count has no effect on decode"},
        {{"decode", "-", "--for", "1"}, "--for has no effect on decode"},
        {{"--until", "state=1", "decode", "-"}, "--until has no effect on decode"},
    };
    for (const auto& entry : kCases) {
        ChildProcess monitor(kMonitorProgram, entry.options);

        EXPECT_EQ(monitor.Wait(), 2) << entry.wrong;
        EXPECT_EQ(monitor.GetErrors(),
                  "qxmon: " + std::string(entry.wrong) + "\nqxmon --help tells more.\n");
    }
}

TEST(Monitor, EndsWhenItsReaderGoesAlthoughNothingArrives)
{
    ChildProcess monitor(kMonitorProgram, {});
    monitor.ReadLine();
    monitor.ReadLine();

    monitor.CloseOutput();

    EXPECT_EQ(monitor.Wait(), 7);
    EXPECT_EQ(monitor.GetErrors(), "");
}

TEST(Monitor, EndsAtTheFirstLineThatCannotBeWritten)
{
    ChildProcess monitor("sh", {"-c", QX_EMULATOR " \"$0\" >/dev/full", kMonitorProgram});

    EXPECT_EQ(monitor.Wait(), 5);
    EXPECT_EQ(monitor.GetErrors(), "qxmon: the standard output could not be written\n");
}

/// The lines that do not fit.
Words FindWideLines(const Words& lines)
{
    Words wide;
    for (const std::string& line : lines) {
        if (Monitor::CountColumns(line) > 80) {
            wide.push_back(line);
        }
    }
    return wide;
}

TEST(Monitor, WritesNoLineThatDoesNotFitATerminal)
{
    // A level of -1e300 dB and infinity on the channel with the largest number, of the last device.
    const std::string huge = "AAAALAAAAAD///8HIAAAAAAAAAAIAAAA/jfkPIgAdZx/8AAAAAAAAP////4=";
    ChildProcess monitor(kMonitorProgram, {"--hex"});
    Words lines = {*monitor.ReadLine(), *monitor.ReadLine()};
    const Sender sender;
    sender.Send(kSetParameterMessage, MakeDocument("-1", huge));
    sender.Send(kSetParameterMessage, MakeDocument("258", kBigEndianLevelText));
    sender.Send(kSetParameterMessage, MakeDocument("258", std::string(4000, 'A')));
    sender.Send(kSetParameterMessage, "<plist><dict><key>" + std::string(300, 'k') + "</key>");
    sender.Send(-5, "");

    monitor.Signal(SIGTERM);

    const Words rest = monitor.ReadLines();
    lines.insert(lines.end(), rest.begin(), rest.end());
    EXPECT_GT(lines.size(), 300u);
    EXPECT_EQ(FindWideLines(lines), Words());
}

TEST(Monitor, CutsATextThatIsTooLongForALine)
{
    // A message for the parameter enable that carries a kString of 100 characters, each two columns
    // wide, instead of a number.
    std::string base64 = "AAABRQAAAAD///8GOQEAAAAAAAAJAAAA";
    std::string shown;
    for (int count = 0; count < 100; ++count) {
        base64 += "5ryi";
        shown += count < 28 ? "\xE6\xBC\xA2" : "";
    }
    ChildProcess monitor(kMonitorProgram, {"decode", "--hex", "-"},
                         MakeDocument("258", base64 + "AA=="));

    const Words lines = monitor.ReadLines();
    EXPECT_EQ(lines.at(0) + lines.at(1).substr(8),
              "'SLLM'  MALFORMED  device 258  enable \"" + shown + "...  BE");
    EXPECT_EQ(FindWideLines(lines), Words());
}

TEST(Monitor, HelpsInLinesThatFitATerminal)
{
    ChildProcess help(kMonitorProgram, {"--help"});
    ChildProcess ofDecode(kMonitorProgram, {"decode", "--help"});

    const Words lines = help.ReadLines();
    EXPECT_GT(lines.size(), 40u);
    EXPECT_EQ(FindWideLines(lines), Words());
    EXPECT_EQ(FindWideLines(ofDecode.ReadLines()), Words());
}

} // namespace
