// LivePictureTest.cpp - the live view's picture and what the keys do to it, without a terminal.

#include "Tools/Monitor/Live/Picture.h"

#include "Protocol/ServerProtocol.h"
#include "Tests/Tools/Monitor/DecodedMessages.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

using Monitor::DecodedMessage;
using Monitor::Key;
using Monitor::Levels;
using Monitor::LiveState;
using Monitor::Order;
using Monitor::Picture;
using Monitor::Rate;
using Monitor::StateTable;
using Monitor::Style;
using Monitor::View;
using ToolsTests::MakeMessage;
using Lines = std::vector<std::string>;

DecodedMessage MakeState(UInt32 device)
{
    return MakeMessage(device, ToolsTests::kBigEndianState);
}

DecodedMessage MakeMalformed(UInt32 device)
{
    return MakeMessage(device, "0000001C 00000001 FFFFFF05 10000000 00000000 02000000 01000000");
}

DecodedMessage MakeLevels(UInt32 device, double first, double second, UInt32 channel)
{
    DecodedMessage message = MakeMessage(device, ToolsTests::kBigEndianLevel);
    message.value = Levels{first, second, channel - 1};
    return message;
}

/// A device with enable, state and two channels, and one of which only malformed messages came.
LiveState MakeLiveState()
{
    LiveState state;
    const Monitor::Sender host{4711, "qxhost"};
    state.Take(Monitor::DecodeRequest(kOpenDirectMonitorMessage, nullptr, 0), host, 100);
    state.Take(MakeState(258), host, 100);
    state.Take(MakeMessage(258, "0000001C 00000000 FFFFFF06 10000000 00000000 02000000 00000080"),
               host, 100);
    state.Take(MakeLevels(258, 0, -6.020599913279624, 1), host, 100);
    state.Take(MakeLevels(258, -999, -30, 0), host, 100);
    state.Take(MakeMalformed(7), {12, "b\x1B\xC3\xA9"}, 100);
    return state;
}

Lines GetTexts(const Picture& picture)
{
    Lines texts;
    for (const Monitor::Line& line : picture.lines) {
        texts.push_back(GetText(line));
    }
    return texts;
}

/// The lines of the devices alone.
Lines GetBody(const LiveState& state, View view, double now = 100)
{
    view.rows = 0;
    const Lines texts = GetTexts(MakePicture(state, view, now));
    return {texts.begin() + 3, texts.end()};
}

void Press(View& view, const std::string& characters)
{
    for (const char character : characters) {
        EXPECT_TRUE(view.Press({Key::Kind::kCharacter, character}));
    }
}

TEST(LivePicture, ShowsDevicesChannelsAndTotals)
{
    View view;
    view.rows = 12;
    view.port = "org.qxaudio.port";

    EXPECT_EQ(
        GetTexts(MakePicture(MakeLiveState(), view, 100)),
        (Lines{
            " qxmon  org.qxaudio.port",
            " 6 messages  6.0/s  1 malformed  'OpLM' 1  'ClLM' 0",
            " device          enable       state  rate/s malformed  sender",
            " 7                    -           -     1.0         1  12 b\\x1B\\xC3\\xA9",
            " 258        -2147483648           1     4.0         0  4711 qxhost",
            "   master            silent [                  ]  -30.00 dB [#########         ]",
            "   ch 1             0.00 dB [##################]   -6.02 dB [################  ]",
            "",
            "",
            "",
            "",
            " ? help  s sort: device  f freeze  / filter  q quit",
        }));
}

TEST(LivePicture, DrawsBarsAsWideAsTheScreenAllows)
{
    const double kInfinity = std::numeric_limits<double>::infinity();
    LiveState state;
    const std::pair<double, double> kLevels[] = {
        {0.01, 1e300}, {0, -60}, {-60.1, -58.4}, {-kInfinity, std::nan("")}, {-1.6, -1.7}};
    UInt32 channel = 1;
    for (const auto& [first, second] : kLevels) {
        state.Take(MakeLevels(1, first, second, channel++), {}, 100);
    }
    View view;

    EXPECT_EQ(
        GetBody(state, view),
        (Lines{
            " 1                    -           -     5.0         0  -",
            "   ch 1             0.01 dB [#################+]  1e+300 dB [#################+]",
            "   ch 2             0.00 dB [##################]  -60.00 dB [                  ]",
            "   ch 3           -60.10 dB [                  ]  -58.40 dB [                  ]",
            "   ch 4             -inf dB [                  ]     nan dB [?                 ]",
            "   ch 5            -1.60 dB [##################]   -1.70 dB [################# ]",
        }));
    view.columns = 60;
    EXPECT_EQ(GetBody(state, view)[5],
              "   ch 5            -1.60 dB [########]   -1.70 dB [########]");
    view.columns = 30;
    EXPECT_EQ(GetBody(state, view)[5], "   ch 5            -1.60 dB [#");
    view.columns = 132;
    EXPECT_EQ(GetBody(state, view)[2],
              "   ch 2             0.00 dB [############################################]"
              "  -60.00 dB [                                            ]");
}

TEST(LivePicture, FillsEveryScreenExactly)
{
    LiveState state = MakeLiveState();
    state.LeaveOut();
    View view;
    view.port = std::string(100, 'p');
    view.filter = "1";
    view.isFrozen = true;
    for (const bool isHelp : {false, true}) {
        view.isHelp = isHelp;
        for (view.rows = 1; view.rows < 30; ++view.rows) {
            for (view.columns = 1; view.columns < 140; ++view.columns) {
                const Picture picture = MakePicture(state, view, 100);
                ASSERT_EQ(picture.lines.size(), view.rows);
                for (const Monitor::Line& line : picture.lines) {
                    ASSERT_EQ(line.size(), view.columns) << view.rows;
                    for (const Monitor::Cell& cell : line) {
                        ASSERT_TRUE(cell.character >= ' ' && cell.character <= '~');
                    }
                }
            }
        }
    }
}

TEST(LivePicture, MarksWhatIsWrong)
{
    LiveState state = MakeLiveState();
    state.Take(MakeLevels(258, 1, -1, 1), {}, 100);
    const Picture picture = MakePicture(state, View(), 100);

    EXPECT_EQ(picture.lines[0][1].style, Style::kTitle);
    EXPECT_EQ(picture.lines[1][26].style, Style::kBad); // of "1 malformed"
    EXPECT_EQ(picture.lines[3][1].style, Style::kStrong);
    EXPECT_EQ(picture.lines[3][52].style, Style::kBad); // one malformed message
    EXPECT_EQ(picture.lines[4][52].style, Style::kPlain);
    EXPECT_EQ(picture.lines[6][30].style, Style::kWarning); // 1 dB
    EXPECT_EQ(picture.lines[6][65].style, Style::kGood);    // -1 dB
}

TEST(LivePicture, SaysWhenThereIsNoDevice)
{
    View view;
    EXPECT_EQ(GetBody(LiveState(), view), Lines{" No device has sent anything."});
    view.filter = "z";
    EXPECT_EQ(GetBody(MakeLiveState(), view), Lines{" No device matches the filter."});
    LiveState state;
    state.LeaveOut();
    EXPECT_EQ(GetText(MakePicture(state, view, 0).lines[1]),
              " 0 messages  0.0/s  0 malformed  'OpLM' 0  'ClLM' 0  1 left out");
}

TEST(LivePicture, SaysThatTheTableIsFull)
{
    LiveState state;
    for (UInt32 device = 0; device <= StateTable::kMostRows; ++device) {
        state.Take(MakeState(device), {}, 0);
    }

    EXPECT_EQ(GetText(MakePicture(state, View(), 100).lines[1]),
              " 4097 messages  0.0/s  0 malformed  'OpLM' 0  'ClLM' 0  1 not kept");
    EXPECT_EQ(state.GetTraffic().size(), StateTable::kMostRows);
}

TEST(LivePicture, ScrollsThroughWhatDoesNotFit)
{
    LiveState state;
    for (UInt32 device = 1; device <= 20; ++device) {
        state.Take(MakeState(device), {}, 0);
    }
    View view;
    view.rows = 10;
    const auto show = [&] {
        const Picture picture = MakePicture(state, view, 100);
        view.first = picture.first;
        const std::string first = GetText(picture.lines[3]);
        const std::string keys = GetText(picture.lines[9]);
        return first.substr(1, first.find(' ', 1) - 1) + ": " + keys.substr(keys.rfind("  ") + 2);
    };

    EXPECT_EQ(show(), "1: 1-6 of 20");
    view.Press({Key::Kind::kUp});
    EXPECT_EQ(show(), "1: 1-6 of 20");
    view.Press({Key::Kind::kDown});
    EXPECT_EQ(show(), "2: 2-7 of 20");
    view.Press({Key::Kind::kPageDown});
    EXPECT_EQ(show(), "6: 6-11 of 20");
    view.Press({Key::Kind::kUp});
    EXPECT_EQ(show(), "5: 5-10 of 20");
    for (int press = 0; press < 9; ++press) {
        view.Press({Key::Kind::kPageDown});
    }
    EXPECT_EQ(show(), "15: 15-20 of 20");
    view.Press({Key::Kind::kPageUp});
    EXPECT_EQ(show(), "11: 11-16 of 20");
    view.Press({Key::Kind::kCharacter, 's'});
    EXPECT_EQ(view.first, 0U);
    view.rows = 24;
    EXPECT_EQ(GetText(MakePicture(state, view, 100).lines[3]).substr(0, 3), " 1 ");
}

TEST(LiveView, SortsByTheOrderThatIsAskedFor)
{
    LiveState state;
    state.Take(MakeState(1), {}, 100);
    state.Take(MakeMalformed(2), {}, 100);
    state.Take(MakeState(3), {}, 100);
    state.Take(MakeState(3), {}, 100);
    View view;
    const auto getOrder = [&] {
        std::string order = GetName(view.order);
        for (const std::string& line : GetBody(state, view)) {
            order += line.substr(0, 2);
        }
        return order;
    };

    EXPECT_EQ(getOrder(), "device 1 2 3");
    Press(view, "s");
    EXPECT_EQ(getOrder(), "rate 3 1 2");
    Press(view, "s");
    EXPECT_EQ(getOrder(), "malformed 2 1 3");
    Press(view, "s");
    EXPECT_EQ(getOrder(), "device 1 2 3");
}

TEST(LiveView, ShowsOnlyWhatContainsTheFilter)
{
    const LiveState state = MakeLiveState();
    View view;
    const auto getKeys = [&] { return GetText(MakePicture(state, view, 100).lines.back()); };

    Press(view, "/qxh?q");
    view.Press({Key::Kind::kBackspace});
    view.Press({Key::Kind::kBackspace});
    EXPECT_EQ(getKeys(), " show only: qxh_");
    EXPECT_EQ(GetBody(state, view).size(), 4u);
    view.Press({Key::Kind::kEnter});
    EXPECT_EQ(getKeys(), " ? help  s sort: device  f freeze  / filter: qxh  q quit");
    EXPECT_EQ(GetBody(state, view).size(), 3u);

    Press(view, "/7");
    view.Press({Key::Kind::kEscape});
    EXPECT_EQ(view.filter, "qxh");
    Press(view, "/7");
    view.Press({Key::Kind::kEnter});
    EXPECT_EQ(GetBody(state, view).size(), 4u) << "device 7, and process 4711";
    Press(view, "/");
    view.Press({Key::Kind::kBackspace});
    view.Press({Key::Kind::kEnter});
    EXPECT_EQ(GetBody(state, view).size(), 4u);
    EXPECT_FALSE(view.isHelp || view.isFrozen) << "typed characters are no keys";
}

TEST(LiveView, HelpsFreezesAndEnds)
{
    View view;
    const auto show = [&] { return GetTexts(MakePicture(LiveState(), view, 0)); };

    Press(view, "h");
    EXPECT_EQ(show()[3], "Keys");
    EXPECT_EQ(show()[22], "") << "the help fits 24 rows";
    EXPECT_EQ(show()[17], "bars                  from -60 dB, empty, to 0 dB; above 0 dB they end "
                          "with +");
    Press(view, "?");
    EXPECT_FALSE(view.isHelp);
    Press(view, "?");
    view.Press({Key::Kind::kEscape});
    EXPECT_FALSE(view.isHelp);
    Press(view, "f");
    EXPECT_EQ(show()[0].substr(60), "             FROZEN");
    Press(view, "f");
    EXPECT_EQ(show()[0], " qxmon");
    EXPECT_FALSE(view.Press({Key::Kind::kCharacter, 'q'}));
}

TEST(LiveState, ForgetsAProgramWithItsProcess)
{
    LiveState state;
    const auto getProgram = [&] { return state.GetTraffic().at(1).sender.program; };

    state.Take(MakeState(1), {10, "one"}, 0);
    state.Take(MakeState(1), {10, ""}, 0);
    EXPECT_EQ(getProgram(), "one") << "it has ended; its last message still comes";
    state.Take(MakeState(1), {11, ""}, 0);
    EXPECT_EQ(getProgram(), "");
}

TEST(LiveState, IsIdleWhenNoRateIsShown)
{
    LiveState state;
    EXPECT_TRUE(state.IsIdle(0));
    state.Take(MakeState(1), {}, 0);

    EXPECT_FALSE(state.IsIdle(2.9));
    EXPECT_TRUE(state.IsIdle(3.1));
    EXPECT_NE(GetBody(state, View(), 2.9)[0].find(" 0.1 "), std::string::npos);
    EXPECT_NE(GetBody(state, View(), 3.1)[0].find(" 0.0 "), std::string::npos);
}

TEST(Rate, IsThatOfMessagesThatComeEvenly)
{
    Rate rate;
    for (int message = 0; message < 1000; ++message) {
        rate.AddMessage(message / 100.0);
    }

    EXPECT_NEAR(rate.Get(10), 100, 1);
    EXPECT_NEAR(rate.Get(11), 36.8, 0.5);
}

} // namespace
