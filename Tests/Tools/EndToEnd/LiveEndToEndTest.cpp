// LiveEndToEndTest.cpp - qxmon --live: on a terminal, and as text.

#include "Tests/Tools/EndToEnd/ChildProcess.h"
#include "Tests/Tools/EndToEnd/Sender.h"
#include "Tests/Tools/Monitor/Messages.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <unistd.h>

#if QX_HAVE_CURSES
#include "Tests/Tools/EndToEnd/Terminal.h"
#endif

namespace {

using ToolsTests::ChildProcess;
using ToolsTests::kBigEndianLevelText;
using ToolsTests::kBigEndianStateText;
using ToolsTests::kMonitorProgram;
using ToolsTests::MakeDocument;
using ToolsTests::Sender;
using Lines = std::vector<std::string>;

/// A line of a device with what differs from run to run replaced: the rate, and this process.
std::string MaskDevice(const std::string& line)
{
    const std::string process = std::to_string(getpid()) + " ";
    const std::size_t sender = line.find(process);
    if (line.size() < 43 || sender == std::string::npos) {
        return line;
    }
    return line.substr(0, 36) + "RATE" + line.substr(43, sender - 43) + "PID";
}

Lines MaskTimes(Lines lines)
{
    for (std::string& line : lines) {
        line = MaskDevice(line);
        const std::size_t rate = line.find("/s  ");
        if (rate != std::string::npos) {
            line = line.substr(0, line.find("  ") + 2) + "RATE" + line.substr(rate);
        }
    }
    return lines;
}

const Lines kPicture = {
    " qxmon  org.qxaudio.device.{D4625471-DE74-400f-93D2-5E71BB706A64}",
    " 4 messages  RATE/s  1 malformed  'OpLM' 1  'ClLM' 0",
    " device          enable       state  rate/s malformed  sender",
    " 258                  -           1 RATE         1  PID",
    "   ch 1             0.00 dB [##################]   -6.02 dB [################  ]",
};

void SendSome(const Sender& sender)
{
    sender.Send(kOpenDirectMonitorMessage, "");
    sender.Send(kSetParameterMessage, MakeDocument("258", kBigEndianStateText));
    sender.Send(kSetParameterMessage, MakeDocument("258", kBigEndianLevelText));
    sender.Send(kSetParameterMessage, MakeDocument("258", "AAAACgAAAAD//w=="));
}

/// Waits until a monitor that says nothing holds the port.
void AwaitPort()
{
    while (!Sender().HasPort()) {
    }
}

TEST(LiveMonitor, PrintsItsPictureOnceAsText)
{
    ChildProcess monitor(kMonitorProgram, {"--live", "--once", "--count", "4"});
    AwaitPort();

    SendSome(Sender());

    EXPECT_EQ(MaskTimes(monitor.ReadLines()), kPicture);
    EXPECT_EQ(monitor.Wait(), 1);
}

TEST(LiveMonitor, IsRefusedWithoutATerminalAndBesideOptionsWithoutEffect)
{
    const std::pair<Lines, std::string> kCases[] = {
        {{"--once"}, "--once has an effect with --live only\nqxmon --help tells more."},
        {{"--live", "--json"}, "--json has no effect on --live\nqxmon --help tells more."},
        {{"--live", "--hex"}, "--hex has no effect on --live\nqxmon --help tells more."},
        {{"--live", "decode", "-"}, "--live has no effect on decode\nqxmon --help tells more."},
#if QX_HAVE_CURSES
        {{"--live"}, "--live needs a terminal; with --once it prints its picture as text"},
#else
        {{"--live"}, "this qxmon was built without ncurses: --live works with --once only"},
#endif
    };
    for (const auto& [options, wrong] : kCases) {
        ChildProcess monitor(kMonitorProgram, options);

        EXPECT_EQ(monitor.Wait(), 2) << wrong;
        EXPECT_EQ(monitor.GetErrors(), "qxmon: " + wrong + "\n");
    }
}

#if QX_HAVE_CURSES

using ToolsTests::Terminal;

const std::string kLive = std::string("exec ") + kMonitorProgram + " --live";

/// Waits until no monitor holds the port any more.
void AwaitNoPort()
{
    while (Sender().HasPort()) {
    }
}

TEST(LiveMonitor, ShowsOnATerminalWhatArrivesAndObeysItsKeys)
{
    Terminal terminal(std::string(kMonitorProgram) + " --live; echo ended with $?; read end");
    terminal.Await(" q quit");
    const Sender sender;
    SendSome(sender);

    Lines picture = kPicture;
    picture.resize(23);
    picture.push_back(" ? help  s sort: device  f freeze  / filter  q quit");
    // The screen may be captured while it is painted, from the top to the bottom.
    const Lines shown = terminal.Await("################  ]");
    EXPECT_EQ(MaskTimes(shown), picture);
    // Nothing arrives, and the rates fall.
    while (terminal.Capture().at(1) == shown.at(1)) {
    }

    terminal.Resize(100, 10);
    terminal.Await("\n   ch 1             0.00 dB [############################]"
                   "   -6.02 dB [#########################   ]\n\n\n\n\n" +
                   picture[23] + "\n");

    terminal.Type("?");
    EXPECT_EQ(terminal.Await(" 1-6 of 15")[3], "Keys");
    terminal.Type("Down");
    terminal.Await(" 2-7 of 15");
    terminal.Type("h");
    terminal.Await(" 258 ");
    terminal.Type("s");
    terminal.Await("sort: rate");
    terminal.Type("f");
    terminal.Await("FROZEN");
    sender.Send(kSetParameterMessage, MakeDocument("7", kBigEndianStateText));
    terminal.Type("/");
    terminal.Type("25");
    EXPECT_EQ(terminal.Await("show only: 25_")[1].substr(0, 12), " 4 messages ");
    terminal.Type("Enter");
    terminal.Await("/ filter: 25 ");
    terminal.Type("f");
    EXPECT_EQ(terminal.Await(" 5 messages ")[3].substr(0, 5), " 258 ");
    terminal.Type("/");
    terminal.Type("Escape");
    terminal.Await("/ filter: 25 ");

    terminal.Type("q");
    const Lines end = terminal.Await("ended with 1");
    EXPECT_NE(std::find(end.begin(), end.end(),
                        "5 messages: 4 well formed, 1 malformed; 'OpLM' 1, 'ClLM' 0"),
              end.end());
}

TEST(LiveMonitor, HasColoursOnlyWhereTheyAreWanted)
{
    const std::pair<const char*, bool> kCases[] = {{"TERM=screen NO_COLOR= ", true},
                                                   {"TERM=screen NO_COLOR=1 ", false},
                                                   {"TERM=vt100 ", false}};
    for (const auto& [environment, isColoured] : kCases) {
        SCOPED_TRACE(environment);
        Terminal terminal(environment + kLive);
        terminal.Await(" q quit");
        SendSome(Sender());

        terminal.Await("################  ]");

        const std::string screen = terminal.CaptureCodes();
        EXPECT_EQ(screen.find("[32m####") != std::string::npos, isColoured) << "a bar is green";
        EXPECT_EQ(screen.find("[31m") != std::string::npos, isColoured) << "an error is red";
        terminal.Type("q");
        AwaitNoPort();
    }
}

#endif

} // namespace
