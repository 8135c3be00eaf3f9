// DirectMonitorTest.cpp - what each operation sends, in which order, with which status.

#include "DriverPlugIn/DirectMonitor.h"
#include "DriverPlugIn/Support/Bytes.h"
#include "DriverPlugIn/Support/PlugInFixture.h"

#include <QX/Exception.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr SInt32 kOpLM = 0x4F704C4D;
constexpr SInt32 kClLM = 0x436C4C4D;
constexpr SInt32 kSLLM = 0x534C4C4D;
constexpr SInt32 kIOError = static_cast<SInt32>(0xE00002BC);

std::vector<SInt32> GetSentIDs()
{
    std::vector<SInt32> ids;
    for (const SentMessage& message : PlatformCalls::GetSent()) {
        ids.push_back(message.id);
    }
    return ids;
}

/// Returns the set-parameter message among those sent.
std::string GetMessage()
{
    for (const SentMessage& message : PlatformCalls::GetSent()) {
        if (message.id == kSLLM) {
            return TakeApart(message.data).message;
        }
    }
    return std::string();
}

struct Levels
{
    double first;
    double second;
    UInt32 channelIndex;
};

Levels GetLevels()
{
    const std::string record = TakeMessageApart(GetMessage()).data;
    EXPECT_EQ(record.size(), 20u);
    Levels levels = {};
    std::memcpy(&levels.first, record.data(), 8);
    std::memcpy(&levels.second, record.data() + 8, 8);
    std::memcpy(&levels.channelIndex, record.data() + 16, 4);
    return levels;
}

class DirectMonitor : public PlugInFixture
{
protected:
    void SetUp() override
    {
        PlugInFixture::SetUp();
        PlatformCalls::SetServerPresent(true);
    }

    SInt32 SetLevels(UInt32 channel, Float32 first, Float32 second)
    {
        const Float32 gains[2] = {first, second};
        return SetDirectMonitorLevel(&mInfo, channel, gains);
    }

    _PlugInInfo mInfo = MakeInfo(258);
};

TEST_F(DirectMonitor, EnableSendsItsBitsAsASignedInteger)
{
    const struct
    {
        UInt32 value;
        const char* data;
    } cases[] = {{0, "00000000"},          {1, "01000000"},          {2, "02000000"},
                 {0x12345678, "78563412"}, {0x80000000, "00000080"}, {0xFFFFFFFF, "FFFFFFFF"}};
    for (const auto& [value, data] : cases) {
        SCOPED_TRACE(value);
        PlatformCalls::ClearSent();

        EXPECT_EQ(SetDirectMonitorEnable(&mInfo, value), 0);

        EXPECT_THAT(GetSentIDs(), ElementsAre(kSLLM));
        const Message message = TakeMessageApart(GetMessage());
        EXPECT_EQ(message.length, 28u);
        EXPECT_EQ(message.reserved, 0u);
        EXPECT_EQ(message.parameter, 0xFFFFFF06u);
        EXPECT_EQ(message.valueLength, 16u);
        EXPECT_EQ(message.valueReserved, 0u);
        EXPECT_EQ(message.type, 2u);
        EXPECT_EQ(ToHex(message.data), data);
    }
}

TEST_F(DirectMonitor, NonZeroStateIsAnnounced)
{
    EXPECT_EQ(SetDirectMonitorState(&mInfo, 2), 0);

    EXPECT_THAT(GetSentIDs(), ElementsAre(kOpLM, kSLLM));
    const Message message = TakeMessageApart(GetMessage());
    EXPECT_EQ(message.parameter, 0xFFFFFF05u);
    EXPECT_EQ(message.type, 2u);
    EXPECT_EQ(ToHex(message.data), "02000000");
}

TEST_F(DirectMonitor, StateZeroIsClosedAfterItsMessage)
{
    EXPECT_EQ(SetDirectMonitorState(&mInfo, 0), 0);

    EXPECT_THAT(GetSentIDs(), ElementsAre(kSLLM, kClLM));
    EXPECT_EQ(ToHex(TakeMessageApart(GetMessage()).data), "00000000");
}

TEST_F(DirectMonitor, StatusOfAStateIsThatOfItsParameterMessage)
{
    const struct
    {
        const char* what;
        UInt32 state;
        std::deque<SInt32> answers;
        SInt32 status;
    } cases[] = {
        {"announcement not answered", 1, {-2, 0}, 0},
        {"announcement not sent", 1, {-1, 0}, 0},
        {"message not sent", 1, {0, -4}, -4},
        {"both not sent", 1, {-1, -4}, -4},
        {"closing not answered", 0, {0, -2}, 0},
        {"message not sent, then closed", 0, {-4, 0}, -4},
        {"nothing sent", 0, {-3, -4}, -3},
    };
    for (const auto& [what, state, answers, status] : cases) {
        SCOPED_TRACE(what);
        PlatformCalls::ClearSent();
        PlatformCalls::AnswerSends(answers);

        EXPECT_EQ(SetDirectMonitorState(&mInfo, state), status);

        EXPECT_THAT(PlatformCalls::GetSent(), SizeIs(2));
    }
}

TEST_F(DirectMonitor, SetFromASourceOfTheRunLoopArrivesDuringTheWaitForAReply)
{
    Open(1);
    Open(2);
    PlatformCalls::RunDuring(Call::kSend, [] {
        EXPECT_EQ(SetInteger(1, kEnable, 3), 0);
        EXPECT_EQ(SetInteger(2, kEnable, 4), 0);
    });

    EXPECT_EQ(SetInteger(1, kState, 5), 0);

    ASSERT_THAT(PlatformCalls::GetSent(), SizeIs(4));
    const struct
    {
        SInt32 id;
        const char* device;
        const char* data;
    } expected[] = {{kSLLM, "1", "03000000"},
                    {kSLLM, "2", "04000000"},
                    {kOpLM, "", ""},
                    {kSLLM, "1", "05000000"}};
    for (std::size_t index = 0; index < 4; ++index) {
        SCOPED_TRACE(index);
        const SentMessage& sent = PlatformCalls::GetSent()[index];
        EXPECT_EQ(sent.id, expected[index].id);
        if (sent.hasData) {
            const Document document = TakeApart(sent.data);
            EXPECT_EQ(document.deviceID, expected[index].device);
            EXPECT_EQ(ToHex(TakeMessageApart(document.message).data), expected[index].data);
        }
    }
}

TEST_F(DirectMonitor, LevelThatCannotBeMadeStillOpensThePort)
{
    PlatformCalls::Fail(Call::kDataCreate);

    EXPECT_EQ(SetLevels(1, 1.0F, 1.0F), -3);

    EXPECT_NE(mInfo.mMessagePort, nullptr);
}

TEST_F(DirectMonitor, StateZeroIsClosedThoughItsMessageCannotBeMade)
{
    PlatformCalls::Fail(Call::kDocumentCreate);

    EXPECT_EQ(SetDirectMonitorState(&mInfo, 0), -3);

    EXPECT_THAT(GetSentIDs(), ElementsAre(kClLM));
}

TEST_F(DirectMonitor, StateThatThrowsIsAnnouncedButNotClosed)
{
    PlatformCalls::Throw(Call::kDictionaryCreate);

    EXPECT_THROW(SetDirectMonitorState(&mInfo, 0), QX::ExceptionBase);
    EXPECT_THAT(PlatformCalls::GetSent(), IsEmpty());

    EXPECT_THROW(SetDirectMonitorState(&mInfo, 1), QX::ExceptionBase);
    EXPECT_THAT(GetSentIDs(), ElementsAre(kOpLM));
}

TEST_F(DirectMonitor, LevelOfOneAndAHalfOnChannelOneIsExactlyThis)
{
    EXPECT_EQ(SetLevels(1, 1.0F, 0.5F), 0);

    EXPECT_THAT(GetSentIDs(), ElementsAre(kSLLM));
    EXPECT_EQ(ToHex(GetMessage()), kIsBigEndian
                                       ? "0000002C 00000000 FFFFFF07 20000000 00000000 08000000 "
                                         "00000000 00000000 C0181518 24C7587F 00000000"
                                       : "2C000000 00000000 07FFFFFF 20000000 00000000 08000000 "
                                         "00000000 00000000 7F58C724 181518C0 00000000");
    EXPECT_EQ(GetLevels().second, -6.020599913279624);
}

TEST_F(DirectMonitor, LevelsOfExactGainsAreExact)
{
    const struct
    {
        const char* what;
        Float32 gain;
        double level;
    } cases[] = {
        {"one", 1.0F, 0.0},
        {"a half", 0.5F, -6.020599913279624},
        {"ten", 10.0F, 20.0},
        {"zero", 0.0F, -999.0},
        {"negative zero", -0.0F, -999.0},
        {"negative", -1.0F, -999.0},
        {"smallest negative", -1e-45F, -999.0},
        {"lowest", -FLT_MAX, -999.0},
        {"negative infinity", -std::numeric_limits<Float32>::infinity(), -999.0},
        {"infinity", std::numeric_limits<Float32>::infinity(),
         std::numeric_limits<double>::infinity()},
    };
    for (const auto& [what, gain, level] : cases) {
        SCOPED_TRACE(what);
        PlatformCalls::ClearSent();
        SetLevels(1, gain, 1.0F);
        EXPECT_EQ(GetLevels().first, level);
        EXPECT_EQ(GetLevels().second, 0.0);

        PlatformCalls::ClearSent();
        SetLevels(1, 1.0F, gain);
        EXPECT_EQ(GetLevels().first, 0.0);
        EXPECT_EQ(GetLevels().second, level);
    }
}

TEST_F(DirectMonitor, OtherGainsAreNotLimitedAndANaNStaysANaN)
{
    const struct
    {
        const char* what;
        Float32 gain;
        double level;
    } cases[] = {
        {"smallest denormal", 1e-45F, -897.069387078664},
        {"smallest normal", FLT_MIN, -758.5955890732326},
        {"three tenths", 0.3F, -10.457574560460515},
        {"two", 2.0F, 6.020599913279624},
        {"a thousand", 1000.0F, 60.0},
        {"largest", FLT_MAX, 770.6367883820725},
    };
    for (const auto& [what, gain, level] : cases) {
        SCOPED_TRACE(what);
        PlatformCalls::ClearSent();

        SetLevels(1, gain, gain);

        EXPECT_NEAR(GetLevels().first, level, std::fabs(level) * 1e-12);
        EXPECT_NEAR(GetLevels().second, level, std::fabs(level) * 1e-12);
    }
    PlatformCalls::ClearSent();
    const Float32 nan = std::numeric_limits<Float32>::quiet_NaN();

    SetLevels(1, nan, -nan);

    EXPECT_TRUE(std::isnan(GetLevels().first));
    EXPECT_TRUE(std::isnan(GetLevels().second));
}

TEST_F(DirectMonitor, LevelCarriesItsChannelMinusOne)
{
    const struct
    {
        UInt32 channel;
        UInt32 index;
    } cases[] = {
        {0, 0xFFFFFFFF}, {1, 0}, {2, 1}, {0x80000000, 0x7FFFFFFF}, {0xFFFFFFFF, 0xFFFFFFFE}};
    for (const auto& [channel, index] : cases) {
        SCOPED_TRACE(channel);
        PlatformCalls::ClearSent();

        SetLevels(channel, 1.0F, 1.0F);

        EXPECT_EQ(GetLevels().channelIndex, index);
        EXPECT_EQ(TakeMessageApart(GetMessage()).parameter, 0xFFFFFF07u);
    }
}

TEST_F(DirectMonitor, StatusOfALevelPasses)
{
    PlatformCalls::AnswerSends({-1, -4, 77});

    EXPECT_EQ(SetLevels(1, 1.0F, 1.0F), -1);
    EXPECT_EQ(SetLevels(1, 1.0F, 1.0F), -4);
    EXPECT_EQ(SetLevels(1, 1.0F, 1.0F), 77);
}

TEST_F(DirectMonitor, LevelIsDroppedWithoutAServerAndTheOthersFail)
{
    PlatformCalls::SetServerPresent(false);

    EXPECT_EQ(SetLevels(1, 1.0F, 1.0F), 0);
    EXPECT_THAT(PlatformCalls::GetJournal(),
                ElementsAre("create name null null " QX_VENDOR_PREFIX ".device.%s",
                            "open port null", "release name"));

    EXPECT_EQ(SetDirectMonitorEnable(&mInfo, 1), -3);
    EXPECT_EQ(SetDirectMonitorState(&mInfo, 1), -3);
    EXPECT_EQ(SetDirectMonitorState(&mInfo, 0), -3);
    EXPECT_THAT(PlatformCalls::GetSent(), IsEmpty());
}

TEST_F(DirectMonitor, NullRecordAndNullGainsAreRefusedBeforeTheServerIsLookedFor)
{
    const Float32 gains[2] = {1.0F, 1.0F};

    EXPECT_EQ(SetDirectMonitorEnable(nullptr, 1), kIOError);
    EXPECT_EQ(SetDirectMonitorState(nullptr, 1), kIOError);
    EXPECT_EQ(SetDirectMonitorState(nullptr, 0), kIOError);
    EXPECT_EQ(SetDirectMonitorLevel(nullptr, 1, gains), kIOError);
    EXPECT_EQ(SetDirectMonitorLevel(&mInfo, 1, nullptr), kIOError);
    EXPECT_EQ(SetDirectMonitorLevel(nullptr, 1, nullptr), kIOError);

    EXPECT_THAT(PlatformCalls::GetJournal(), IsEmpty());
}

TEST_F(DirectMonitor, GetsAreUnsupportedAndTouchNothing)
{
    UInt32 integer = 99;
    Float32 gains[2] = {99.0F, 99.0F};

    EXPECT_EQ(GetDirectMonitorEnable(&mInfo, &integer), kUnop);
    EXPECT_EQ(GetDirectMonitorState(&mInfo, &integer), kUnop);
    EXPECT_EQ(GetDirectMonitorLevel(&mInfo, 1, gains), kUnop);
    EXPECT_EQ(GetDirectMonitorEnable(nullptr, nullptr), kUnop);
    EXPECT_EQ(GetDirectMonitorState(nullptr, nullptr), kUnop);
    EXPECT_EQ(GetDirectMonitorLevel(nullptr, 0, nullptr), kUnop);

    EXPECT_EQ(integer, 99u);
    EXPECT_EQ(gains[0], 99.0F);
    EXPECT_EQ(gains[1], 99.0F);
    EXPECT_THAT(PlatformCalls::GetJournal(), IsEmpty());
}

} // namespace
