// RecordingTest.cpp - recordings written, read, and compared.

#include "Tests/Tools/Monitor/Messages.h"
#include "Tools/Common/Text.h"
#include "Tools/Recording/Difference.h"
#include "Tools/Recording/Reader.h"
#include "Tools/Recording/Writer.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using Recording::Action;
using Recording::Event;
using Recording::Events;
using Recording::FindDifference;
using ToolsTests::MakeDocument;

constexpr UInt64 kNoon = 1'798'718'400'000'001'000;

Event MakeCall(Action action, UInt32 device)
{
    Event call = {};
    call.isDone = true;
    call.nanoseconds = kNoon;
    call.action = action;
    call.device = device;
    return call;
}

Event MakeSet(UInt32 channel, std::vector<unsigned char> data)
{
    Event call = MakeCall(Action::kSet, 7);
    call.channel = channel;
    call.isInput = 1;
    call.selector = 0x44476D65;
    call.size = static_cast<UInt32>(data.size());
    call.dataSize = call.size;
    call.data = std::move(data);
    return call;
}

Event MakeMessage(const std::string& document)
{
    Event message = {};
    message.isMessage = true;
    message.isDone = true;
    message.nanoseconds = kNoon;
    message.id = 0x534C4C4D;
    message.sender = 4711;
    message.senderName = "qxhost";
    message.data.assign(document.begin(), document.end());
    message.dataSize = static_cast<UInt32>(message.data.size());
    return message;
}

std::string Read(const std::string& text)
{
    Events events;
    return Recording::Reader("some.jsonl", text).Read(events);
}

TEST(Recording, IsReadAsItWasWritten)
{
    const std::string file = testing::TempDir() + "/qx-recording-" + std::to_string(getpid());
    Event info = MakeCall(Action::kInfo, 0xFFFFFFFF);
    info.isWritableNull = true;
    info.outSize = 8;
    info.status = -3;
    Event thrown = MakeCall(Action::kStreamGet, 8);
    thrown.isThrown = true;
    thrown.thrown = "out of \"order\"\n";
    Event hung = MakeSet(2, {1, 0, 0xFF, 4});
    hung.isDone = false;
    Event cut = MakeMessage("<plist>");
    cut.dataSize = 5000;
    const Events written = {info, thrown, hung, cut, MakeMessage(std::string("\0\xFF", 2))};

    ASSERT_EQ(Recording::WriteRecording(file, {"bundle", "check", "finding", 3}, written), "");
    Events events;
    ASSERT_EQ(Recording::Reader(file).Read(events), "");
    std::filesystem::remove(file);

    ASSERT_EQ(events.size(), 5U);
    EXPECT_EQ(FindDifference(written, events), "");
    EXPECT_TRUE(events[0].isWritableNull);
    EXPECT_FALSE(events[0].isSizeNull);
    EXPECT_EQ(events[0].nanoseconds, kNoon);
    EXPECT_EQ(events[1].thrown, "out of \"order\"\n");
    EXPECT_EQ(events[2].data, (std::vector<unsigned char>{1, 0, 0xFF, 4}));
    EXPECT_EQ(events[3].dataSize, 5000U);
    EXPECT_TRUE(events[3].IsCut());
    EXPECT_EQ(events[4].sender, 4711);
    EXPECT_EQ(events[4].senderName, "qxhost");
    EXPECT_EQ(events[4].data, (std::vector<unsigned char>{0, 0xFF}));
    EXPECT_FALSE(events[4].IsCut());
}

TEST(Recording, NamesTheFileThatCannotBeWrittenOrRead)
{
    Events events;

    EXPECT_EQ(Recording::WriteRecording("/nonexistent/a", {}, {}), "No such file or directory");
    EXPECT_EQ(Recording::WriteRecording("/dev/full", {}, {}), "No space left on device");
    EXPECT_EQ(Recording::Reader("/nonexistent/a").Read(events),
              "cannot read /nonexistent/a: No such file or directory");
    EXPECT_EQ(Recording::Reader("/").Read(events), "cannot read /: Is a directory");
    EXPECT_EQ(Recording::Reader("/dev/null").Read(events),
              "/dev/null is empty; a recording has at least one line");
    EXPECT_EQ(Recording::Reader("/dev/zero").Read(events),
              "/dev/zero:1: this line is longer than any of a recording");
}

TEST(Recording, NamesTheLineThatIsDamaged)
{
    const std::string title = R"({"schemaVersion":1,"event":"recording"})"
                              "\n";
    const std::string message =
        R"({"schemaVersion":1,"event":"message","time":"2026-12-31T12:00:00.000001Z",)"
        R"("sender":1,"messageID":7,"dataSize":2,"data":"0A0B")";
    const std::string call =
        R"({"schemaVersion":1,"event":"call","time":"2026-12-31T12:00:00.000001Z",)"
        R"("entryPoint":"AudioDriverPlugInClose")";
    const struct
    {
        std::string line;
        const char* failure;
    } kCases[] = {
        {message + "}", ""},
        {message, "this is no JSON object"},
        {"", "this is no JSON object"},
        {"[1]", "this is no JSON object"},
        {"{}", "there is no \"schemaVersion\""},
        {R"({"schemaVersion":2})", "its \"schemaVersion\" is not 1"},
        {R"({"schemaVersion":1,"event":7})", "\"event\" is not a text"},
        {R"({"schemaVersion":1,"event":"summary"})", "a recording has no event \"summary\""},
        {R"({"schemaVersion":1,"event":"call","entryPoint":"Open"})",
         "there is no entry point \"Open\""},
        {call + "}", "there is no \"device\""},
        {call + R"(,"device":-1})", "\"device\" is not a whole number from 0 to 4294967295"},
        {call + R"(,"device":1.5})", "\"device\" is not a whole number from 0 to 4294967295"},
        {call + R"(,"device":4294967296})",
         "\"device\" is not a whole number from 0 to 4294967295"},
        {call + R"(,"device":1,"returned":1})", "\"returned\" is neither true nor false"},
        {call + R"(,"device":1,"returned":true,"status":2147483648})",
         "\"status\" is not a whole number from -2147483648 to 2147483647"},
        {message + R"(,"data":"0A0"})", "\"data\" ends with half a byte"},
        {message + R"(,"data":"0a0B"})", "\"data\" has a character that is no hexadecimal digit"},
        {message + R"(,"dataSize":1})", "\"dataSize\" is 1, but \"data\" has 2 bytes"},
        {message + R"(,"time":"noon"})",
         "\"time\" is not a time such as 2026-01-31T23:59:59.000000Z"},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.line);
        const std::string failure = entry.failure;

        EXPECT_EQ(Read(title + entry.line + "\n"),
                  failure.empty() ? "" : "some.jsonl:2: " + failure);
    }
}

TEST(Recording, HandsOverWhatComesBeforeTheDamage)
{
    const std::string file = testing::TempDir() + "/qx-damaged-" + std::to_string(getpid());
    Recording::WriteRecording(file, {}, {MakeMessage("a"), MakeMessage("b"), MakeMessage("c")});
    // The last line has lost its end, as after a crash.
    std::filesystem::resize_file(file, std::filesystem::file_size(file) - 5);
    Events events;

    EXPECT_EQ(Recording::Reader(file).Read(events), file + ":4: this is no JSON object");

    EXPECT_EQ(events.size(), 2U);
    std::filesystem::remove(file);
}

TEST(Recording, TellsTheFirstDifferenceOfTwoMessagesByTheirFields)
{
    const std::string state = MakeDocument("258", ToolsTests::kBigEndianStateText);
    const std::string level = MakeDocument("258", ToolsTests::kBigEndianLevelText);
    Event closing = MakeMessage("");
    closing.id = 0x436C4C4D;
    const struct
    {
        const char* what;
        Events second;
        std::string difference;
    } kCases[] = {
        {"the same", {MakeMessage(state)}, ""},
        {"the ID", {closing}, "message 1: its ID is 1397509197 'SLLM' and 1131170893 'ClLM'"},
        {"the device",
         {MakeMessage(MakeDocument("7", ToolsTests::kBigEndianStateText))},
         "message 1: its device is 258 and 7"},
        {"the parameter",
         {MakeMessage(level)},
         "message 1: its parameter is -251, state and -249, level"},
        {"the value",
         {MakeMessage(MakeDocument("258", "AAAAHAAAAAD///8FEAAAAAAAAAACAAAAAgAAAA=="))},
         "message 1: its value is 1 and 2"},
        {"the blanks of the document",
         {MakeMessage(state + "\n")},
         "message 1: it has 333 and 334 bytes"},
        {"the document", {MakeMessage("<!" + state.substr(2))}, "message 1: byte 1 is 3F and 21"},
        {"the number of messages", {}, "there are 1 and 0 messages"},
        {"a call as well",
         {MakeMessage(level), MakeCall(Action::kOpen, 7)},
         "there are 0 and 1 calls"},
    };
    for (const auto& entry : kCases) {
        EXPECT_EQ(FindDifference({MakeMessage(state)}, entry.second), entry.difference)
            << entry.what;
    }
}

TEST(Recording, TellsTheFirstDifferenceOfTwoCalls)
{
    const Event call = MakeSet(0, {1, 2, 3, 4});
    const auto compare = [&](const std::function<void(Event&)>& change) {
        Event other = call;
        change(other);
        return FindDifference({MakeCall(Action::kOpen, 7), call},
                              {MakeCall(Action::kOpen, 7), other});
    };
    const std::string start = "call 2: AudioDriverPlugInDeviceSetProperty(device 7, channel 0, "
                              "input, 'DGme', 4 bytes: 01 02 03 04): ";

    EXPECT_EQ(compare([](Event& other) { other.nanoseconds = 0; }), "");
    EXPECT_EQ(compare([](Event& other) { other.channel = 3; }),
              "call 2: it is AudioDriverPlugInDeviceSetProperty(device 7, channel 0, input, "
              "'DGme', 4 bytes: 01 02 03 04) and AudioDriverPlugInDeviceSetProperty(device 7, "
              "channel 3, input, 'DGme', 4 bytes: 01 02 03 04)");
    EXPECT_EQ(compare([](Event& other) { other.status = -3; }), start + "the status is 0 and -3");
    EXPECT_EQ(compare([](Event& other) { other.isDone = false; }),
              start + "it returned in the first and not in the second");
    EXPECT_EQ(compare([](Event& other) {
                  other.isThrown = true;
                  other.thrown = "full";
              }),
              start + "the exception is \"\" and \"full\"");
    EXPECT_EQ(compare([](Event& other) { other.outSize = 2; }),
              start + "the size that it stored is 0 and 2");
    EXPECT_EQ(compare([](Event& other) { other.outWritable = 1; }),
              start + "the writable flag is 0 and 1");
    std::vector<unsigned char> data(20, 1);
    const Event longCall = MakeSet(0, data);
    data.back() = 2;
    EXPECT_EQ(FindDifference({longCall}, {MakeSet(0, data)}),
              "call 1: AudioDriverPlugInDeviceSetProperty(device 7, channel 0, input, 'DGme', 20 "
              "bytes: 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 ...): byte 19 is 01 and 02");
}

} // namespace
