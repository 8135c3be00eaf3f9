// StateTableTest.cpp - what the monitor keeps of the messages it has seen.

#include "Tools/Monitor/StateTable.h"

#include "Protocol/ServerProtocol.h"
#include "Tests/Tools/Monitor/DecodedMessages.h"

#include <gtest/gtest.h>

namespace {

using Monitor::DecodedMessage;
using Monitor::StateTable;
using ToolsTests::MakeMessage;

TEST(StateTable, KeepsTheLastValueOfEachDevice)
{
    StateTable table;

    table.Take(MakeMessage(1, "0000001C 00000000 FFFFFF06 10000000 00000000 02000000 01000000"));
    table.Take(MakeMessage(1, "0000001C 00000000 FFFFFF06 10000000 00000000 02000000 02000000"));
    table.Take(MakeMessage(2, ToolsTests::kBigEndianState));

    ASSERT_EQ(table.GetDevices().size(), 2u);
    EXPECT_EQ(table.GetDevices().at(1).enable, 2);
    EXPECT_EQ(table.GetDevices().at(1).state, std::nullopt);
    EXPECT_EQ(table.GetDevices().at(1).messages, 2u);
    EXPECT_EQ(table.GetDevices().at(2).enable, std::nullopt);
    EXPECT_EQ(table.GetDevices().at(2).state, 1);
}

TEST(StateTable, KeepsTheLevelsOfEachChannel)
{
    StateTable table;

    table.Take(MakeMessage(1, ToolsTests::kBigEndianLevel));
    table.Take(MakeMessage(1, "0000002C 00000000 FFFFFF07 20000000 00000000 08000000 "
                              "4034000000000000 4034000000000000 FFFFFFFF"));

    const auto& levels = table.GetDevices().at(1).levels;
    ASSERT_EQ(levels.size(), 2u);
    EXPECT_EQ(levels.at(0).first, 20.0);
    EXPECT_EQ(levels.at(1).second, -6.020599913279624);
}

TEST(StateTable, CountsMalformedMessagesAndTakesNothingOfThem)
{
    StateTable table;

    table.Take(MakeMessage(1, "0000001C 00000001 FFFFFF06 10000000 00000000 02000000 01000000"));

    EXPECT_EQ(table.GetReceived(), 1u);
    EXPECT_EQ(table.GetMalformed(), 1u);
    EXPECT_TRUE(table.GetDevices().empty());
}

TEST(StateTable, CountsOpensAndCloses)
{
    StateTable table;

    table.Take(Monitor::DecodeRequest(kOpenDirectMonitorMessage, nullptr, 0));
    table.Take(Monitor::DecodeRequest(kOpenDirectMonitorMessage, nullptr, 0));
    table.Take(Monitor::DecodeRequest(kCloseDirectMonitorMessage, nullptr, 0));

    EXPECT_EQ(table.GetReceived(), 3u);
    EXPECT_EQ(table.GetMalformed(), 0u);
    EXPECT_EQ(table.GetOpens(), 2u);
    EXPECT_EQ(table.GetCloses(), 1u);
}

TEST(StateTable, KeepsNoMoreRowsThanItHas)
{
    StateTable table;
    DecodedMessage message = MakeMessage(0, ToolsTests::kBigEndianState);
    for (UInt32 device = 0; device < StateTable::kMostRows + 3; ++device) {
        message.device = device;
        table.Take(message);
    }

    message.device = 5;
    table.Take(message);
    table.Take(MakeMessage(5, ToolsTests::kBigEndianLevel));

    EXPECT_EQ(table.GetDevices().size(), 4096u);
    EXPECT_EQ(table.GetDevices().at(5).messages, 2u);
    EXPECT_TRUE(table.GetDevices().at(5).levels.empty());
    EXPECT_EQ(table.GetUnkept(), 4u);
    EXPECT_EQ(table.GetReceived(), 4101u);
    EXPECT_EQ(table.GetMalformed(), 0u);
}

TEST(StateTable, CountsARowForEachFurtherChannel)
{
    StateTable table;
    DecodedMessage message = MakeMessage(1, ToolsTests::kBigEndianLevel);
    for (UInt32 index = 0; index < StateTable::kMostRows + 2; ++index) {
        message.value = Monitor::Levels{0, 0, index};
        table.Take(message);
    }

    message.value = Monitor::Levels{-1, -2, 7};
    table.Take(message);

    EXPECT_EQ(table.GetDevices().at(1).levels.size(), 4096u);
    EXPECT_EQ(table.GetDevices().at(1).levels.at(8).second, -2.0);
    EXPECT_EQ(table.GetUnkept(), 2u);
}

} // namespace
