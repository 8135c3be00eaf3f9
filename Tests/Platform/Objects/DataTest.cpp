// DataTest.cpp - byte strings.

#include "Platform/PlatformTesting.h"

#include <csignal>

namespace {

using Data = Platform::LedgerTest;
using DataDeathTest = Platform::LedgerTest;

TEST_F(Data, CopiesItsBytes)
{
    std::string bytes("a\0b", 3);
    CFDataRef data = Platform::MakeData(bytes);

    bytes[0] = 'x';

    EXPECT_EQ(CFDataGetLength(data), 3);
    EXPECT_EQ(Platform::BytesOf(data), std::string("a\0b", 3));
    CFRelease(data);
}

TEST_F(Data, MayHaveNoBytes)
{
    CFDataRef data = CFDataCreate(nullptr, nullptr, 0);

    ASSERT_NE(data, nullptr);
    EXPECT_EQ(CFDataGetLength(data), 0);
    EXPECT_NE(CFDataGetBytePtr(data), nullptr);
    CFRelease(data);
}

TEST_F(DataDeathTest, MisuseStopsTheProgramWithAMessage)
{
    EXPECT_EXIT(CFDataCreate(nullptr, nullptr, 1), testing::KilledBySignal(SIGABRT),
                "Platform: CFDataCreate: the bytes are null and the length is not 0");
    EXPECT_EXIT(CFDataCreate(nullptr, nullptr, -1), testing::KilledBySignal(SIGABRT),
                "Platform: CFDataCreate: the length is negative");
}

} // namespace
