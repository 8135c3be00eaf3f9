// ExpressionTest.cpp - which messages an expression and a filter pick, and what they refuse.

#include "Tools/Monitor/Expression.h"

#include "Protocol/ServerProtocol.h"
#include "Tests/Tools/Monitor/DecodedMessages.h"
#include "Tools/Monitor/Filter.h"

#include <gtest/gtest.h>

namespace {

using Monitor::DecodedMessage;
using Monitor::Expression;
using Monitor::Filter;
using Monitor::Subject;
using ToolsTests::kBigEndianLevel;
using ToolsTests::kBigEndianState;
using ToolsTests::MakeMessage;

constexpr const char* kEnable0 = "0000001C 00000000 FFFFFF06 10000000 00000000 02000000 00000000";
/// The reserved word is not 0.
constexpr const char* kMalformedState =
    "0000001C 00000001 FFFFFF05 10000000 00000000 02000000 01000000";
/// 20.004 dB and no number, on the master channel.
constexpr const char* kOddLevel = "0000002C 00000000 FFFFFF07 20000000 00000000 08000000 "
                                  "40340106 24DD2F1B 7FF80000 00000000 FFFFFFFF";

bool Holds(const std::string& text, const DecodedMessage& message)
{
    std::string error;
    const std::optional<Expression> expression = Expression::Parse(text, error);
    EXPECT_EQ(error, "");
    return expression && expression->Holds(message);
}

TEST(Expression, HoldsForTheMessagesThatItDescribes)
{
    const DecodedMessage level = MakeMessage(258, kBigEndianLevel); // 0.00 and -6.02 dB, channel 1
    const DecodedMessage odd = MakeMessage(258, kOddLevel);
    const DecodedMessage state = MakeMessage(258, kBigEndianState); // 1
    const DecodedMessage enable = MakeMessage(4294967295, kEnable0);
    const DecodedMessage malformed = MakeMessage(258, kMalformedState);
    const DecodedMessage open = Monitor::DecodeRequest(kOpenDirectMonitorMessage, nullptr, 0);
    const struct
    {
        const char* text;
        const DecodedMessage& message;
        bool holds;
    } kCases[] = {
        {"device=258", level, true},
        {"device=0x102", level, true},
        {"device=259", level, false},
        {"device!=259", level, true},
        {"device!=259", open, false},
        {"device=4294967295", enable, true},
        {"device>258", level, false},
        {"device>=258", level, true},
        {"device<258", level, false},
        {"device<=258", level, true},
        {"device<259", level, true},
        {"device>257", level, true},
        {"channel=1", level, true},
        {"channel=0", odd, true},
        {"channel=0", state, false},
        {"parameter=level", level, true},
        {"parameter=enable", level, false},
        {"parameter!=enable", level, true},
        {"parameter=-250", enable, true},
        {"parameter=0xFFFFFF06", enable, true},
        {"parameter=state", malformed, true},
        {"message=OpLM", open, true},
        {"message='OpLM'", open, true},
        {"message=1332759629", open, true},
        {"message=SLLM", open, false},
        {"enable=0", enable, true},
        {"enable=0", state, false},
        {"state=1", state, true},
        {"state=1", malformed, false},
        {"state>1", state, false},
        {"level=0", level, true},
        {"level=-6.02", level, true},
        {"level<-6.02", level, false},
        {"level<-6", level, true},
        {"level>0", level, false},
        {"level=20", odd, true},
        {"level<20", odd, false},
        {"level!=20", odd, true},
        {"level=0", state, false},
        {"malformed", malformed, true},
        {"malformed", state, false},
        {"device=258,state=1", state, true},
        {"device = 258 and state = 1", state, true},
        {"device=258 , state=2", state, false},
        {"device=1 and state=1", state, false},
        {"device=258,parameter=state and malformed", malformed, true},
    };
    for (const auto& entry : kCases) {
        EXPECT_EQ(Holds(entry.text, entry.message), entry.holds) << entry.text;
    }
}

TEST(Expression, TellsWhatIsWrongWithIt)
{
    const std::string kSubjects =
        "there are device, channel, parameter, message, enable, state, level and malformed";
    const std::pair<const char*, std::string> kCases[] = {
        {"", "a term is missing"},
        {"device=1,", "a term is missing"},
        {",device=1", "a term is missing"},
        {"device=1 and", "a term is missing"},
        {"levle<3", "there is no \"levle\"; did you mean level? " + kSubjects},
        {"=3", "there is no \"\"; " + kSubjects},
        {"level", "level is to be followed by = != < <= > or >="},
        {"level!3", "level is to be followed by = != < <= > or >="},
        {"level<", "a value is missing after level<"},
        {"level<loud", "\"loud\" is not a number of decibels"},
        {"level<nan", "\"nan\" is not a number of decibels"},
        {"level<-20 dB", "\"-20 dB\" is not a number of decibels"},
        {"malformed=1", "malformed stands alone"},
        {"state=1 state=2", "\"1 state=2\" is not a number of 32 bits"},
        {"state=on", "\"on\" is not a number of 32 bits"},
        {"state=4294967296", "\"4294967296\" is not a number of 32 bits"},
        {"state=-2147483649", "\"-2147483649\" is not a number of 32 bits"},
        {"device=-1", "\"-1\" is not a number of 32 bits without a sign"},
        {"channel=x", "\"x\" is not a number of 32 bits without a sign"},
        {"parameter<level", "parameter can be compared with = and != only"},
        {"message>=SLLM", "message can be compared with = and != only"},
        {"parameter=stat",
         "\"stat\" is not a parameter; did you mean state? there are enable, level, state and "
         "numbers"},
        {"message=SL", "\"SL\" is not a message ID: four characters, such as SLLM, or a number"},
    };
    for (const auto& [text, wrong] : kCases) {
        std::string error;
        EXPECT_FALSE(Expression::Parse(text, error)) << text;
        EXPECT_EQ(error, wrong) << text;
    }
}

TEST(Filter, LetsEveryMessageThroughUntilItIsAskedForSome)
{
    EXPECT_TRUE(Filter().LetsThrough(MakeMessage(258, kBigEndianLevel)));
    EXPECT_TRUE(Filter().LetsThrough(Monitor::DecodeRequest(7, nullptr, 0)));
}

TEST(Filter, LetsThroughWhatIsRightInEveryRespect)
{
    Filter filter;
    EXPECT_EQ(filter.Add(Subject::kDevice, "1"), "");
    EXPECT_EQ(filter.Add(Subject::kDevice, "0x2"), "");
    EXPECT_EQ(filter.Add(Subject::kParameter, "level"), "");

    EXPECT_TRUE(filter.LetsThrough(MakeMessage(1, kBigEndianLevel)));
    EXPECT_TRUE(filter.LetsThrough(MakeMessage(2, kBigEndianLevel)));
    EXPECT_FALSE(filter.LetsThrough(MakeMessage(3, kBigEndianLevel)));
    EXPECT_FALSE(filter.LetsThrough(MakeMessage(1, kBigEndianState)));
    EXPECT_FALSE(filter.LetsThrough(Monitor::DecodeRequest(kOpenDirectMonitorMessage, nullptr, 0)));

    EXPECT_EQ(filter.Add(Subject::kMessage, "OpLM"), "");
    EXPECT_FALSE(filter.LetsThrough(MakeMessage(1, kBigEndianLevel)));
}

} // namespace
