// DispatchTest.cpp - the status of each property request.

#include "DriverPlugIn/Support/PlugInFixture.h"
#include "Support/GuardedBytes.h"

#include <cstring>
#include <string>

namespace {

using testing::IsEmpty;
using testing::SizeIs;

constexpr UInt32 kUnknown = 0x6E6F6E65; // 'none'
constexpr AudioDeviceID kDevice = 258;
constexpr AudioDeviceID kStranger = 259;
/// What a send answers, so that a status that is passed on differs from a success.
constexpr SInt32 kSent = 0x5E27;

constexpr UInt32 kChannels[] = {0, 1, 0xFFFFFFFF};
constexpr Boolean kInputs[] = {0, 1, 0x80};
constexpr UInt32 kSizes[] = {0, 3, 4, 5, 8, 0xFFFFFFFF};

/// The statuses of a property as letters: of data of its size a group for each of the channels, a
/// letter in it for each of the inputs; of data of any other size always the same.
struct Expectation
{
    const char* what;
    UInt32 property;
    UInt32 size;
    const char* statuses;
    char statusOfOtherSizes;
};

constexpr Expectation kGets[] = {
    {"enable", kEnable, 4, "wuu www www", 'z'},
    {"level", kLevel, 8, "wuu wuu wuu", 'z'},
    {"state", kState, 4, "wuu www www", 'z'},
    {"unknown", kUnknown, 4, "??? ??? ???", '?'},
};

constexpr Expectation kSets[] = {
    {"enable", kEnable, 4, "wss uuu uuu", 'z'},
    {"level", kLevel, 8, "wss wss wss", 'z'},
    {"state", kState, 4, "wss uuu uuu", 'z'},
    {"unknown", kUnknown, 4, "??? ??? ???", '?'},
};

OSStatus GetStatus(char letter)
{
    switch (letter) {
    case 'w':
        return kWhat;
    case '?':
        return kWho;
    case 'z':
        return kBadSize;
    case 'u':
        return kUnop;
    default:
        return kSent;
    }
}

/// Calls `act(property, size, channel, input, expected)` for every request of a table.
template <class Action>
void ForEachRequest(const Expectation (&table)[4], Action act)
{
    for (const Expectation& row : table) {
        for (const UInt32 size : kSizes) {
            for (std::size_t channel = 0; channel < 3; ++channel) {
                for (std::size_t input = 0; input < 3; ++input) {
                    SCOPED_TRACE(std::string(row.what) + ", " + std::to_string(size) +
                                 " bytes, channel " + std::to_string(kChannels[channel]) +
                                 ", input " + std::to_string(kInputs[input]));
                    const char letter = size == row.size ? row.statuses[4 * channel + input]
                                                         : row.statusOfOtherSizes;
                    act(row.property, size, kChannels[channel], kInputs[input], GetStatus(letter));
                }
            }
        }
    }
}

class Dispatch : public PlugInFixture
{
protected:
    void SetUp() override
    {
        PlugInFixture::SetUp();
        PlatformCalls::SetServerPresent(true);
        Open(kDevice);
    }

    UInt32 mData[2] = {0, 0};
};

TEST_F(Dispatch, GetAnswersByPropertySizeChannelAndInput)
{
    ForEachRequest(
        kGets, [&](UInt32 property, UInt32 size, UInt32 channel, Boolean input, OSStatus status) {
            UInt32 inOutSize = size;
            mData[0] = mData[1] = 0xC0FFEE;

            EXPECT_EQ(AudioDriverPlugInDeviceGetProperty(kDevice, channel, input, property,
                                                         &inOutSize, mData),
                      status);

            EXPECT_EQ(inOutSize, size);
            EXPECT_EQ(mData[0], 0xC0FFEEu);
            EXPECT_EQ(mData[1], 0xC0FFEEu);
        });
    EXPECT_THAT(PlatformCalls::GetSent(), IsEmpty());
}

TEST_F(Dispatch, SetAnswersByPropertySizeChannelAndInput)
{
    ForEachRequest(
        kSets, [&](UInt32 property, UInt32 size, UInt32 channel, Boolean input, OSStatus status) {
            PlatformCalls::ClearSent();
            PlatformCalls::AnswerSends({kSent, kSent});

            EXPECT_EQ(AudioDriverPlugInDeviceSetProperty(kDevice, nullptr, channel, input, property,
                                                         size, mData),
                      status);

            EXPECT_EQ(PlatformCalls::GetSent().empty(), status != kSent);
        });
}

TEST_F(Dispatch, GetChecksItsPointersAndThenTheDeviceBeforeAllElse)
{
    ForEachRequest(kGets,
                   [&](UInt32 property, UInt32 size, UInt32 channel, Boolean input, OSStatus) {
                       for (const AudioDeviceID device : {kDevice, kStranger}) {
                           for (UInt32* const data : {mData, static_cast<UInt32*>(nullptr)}) {
                               EXPECT_EQ(AudioDriverPlugInDeviceGetProperty(
                                             device, channel, input, property, nullptr, data),
                                         kBadSize);
                           }
                           EXPECT_EQ(AudioDriverPlugInDeviceGetProperty(device, channel, input,
                                                                        property, &size, nullptr),
                                     kWhat);
                       }
                       EXPECT_EQ(AudioDriverPlugInDeviceGetProperty(kStranger, channel, input,
                                                                    property, &size, mData),
                                 kWhat);
                   });
}

TEST_F(Dispatch, SetChecksItsPointerAndThenTheDeviceBeforeAllElse)
{
    ForEachRequest(kSets,
                   [&](UInt32 property, UInt32 size, UInt32 channel, Boolean input, OSStatus) {
                       EXPECT_EQ(AudioDriverPlugInDeviceSetProperty(kDevice, nullptr, channel,
                                                                    input, property, size, nullptr),
                                 kWhat);
                       EXPECT_EQ(AudioDriverPlugInDeviceSetProperty(kStranger, nullptr, channel,
                                                                    input, property, size, mData),
                                 kWhat);
                   });
    EXPECT_THAT(PlatformCalls::GetSent(), IsEmpty());
}

TEST_F(Dispatch, PropertyInfoLooksOnlyAtTheSelector)
{
    const struct
    {
        const char* what;
        UInt32 property;
        OSStatus status;
        UInt32 size;
        Boolean writable;
    } cases[] = {
        {"enable", kEnable, 0, 4, 1},      {"level", kLevel, 0, 8, 1}, {"state", kState, 0, 4, 1},
        {"unknown", kUnknown, kWho, 0, 0}, {"zero", 0, kWho, 0, 0},
    };
    for (const auto& [what, property, status, expectedSize, expectedWritable] : cases) {
        for (const AudioDeviceID device : {kDevice, kStranger}) {
            for (const UInt32 channel : kChannels) {
                for (const Boolean input : kInputs) {
                    SCOPED_TRACE(what);
                    UInt32 size = 99;
                    Boolean writable = 99;

                    EXPECT_EQ(AudioDriverPlugInDeviceGetPropertyInfo(device, channel, input,
                                                                     property, &size, &writable),
                              status);

                    EXPECT_EQ(size, expectedSize);
                    EXPECT_EQ(writable, expectedWritable);
                }
            }
        }
    }
}

TEST_F(Dispatch, PropertyInfoStoresNothingThroughNullPointers)
{
    UInt32 size = 99;
    Boolean writable = 99;

    EXPECT_EQ(AudioDriverPlugInDeviceGetPropertyInfo(kStranger, 0, 1, kLevel, &size, nullptr), 0);
    EXPECT_EQ(AudioDriverPlugInDeviceGetPropertyInfo(kStranger, 0, 1, kUnknown, nullptr, &writable),
              kWho);
    EXPECT_EQ(AudioDriverPlugInDeviceGetPropertyInfo(kStranger, 0, 1, kEnable, nullptr, nullptr),
              0);
    EXPECT_EQ(AudioDriverPlugInDeviceGetPropertyInfo(kStranger, 0, 1, kUnknown, nullptr, nullptr),
              kWho);

    EXPECT_EQ(size, 8u);
    EXPECT_EQ(writable, 0);
}

TEST_F(Dispatch, WritableFlagIsOneByte)
{
    Boolean guarded[3] = {0xEE, 0xEE, 0xEE};

    AudioDriverPlugInDeviceGetPropertyInfo(kDevice, 0, 1, kEnable, nullptr, &guarded[1]);

    EXPECT_EQ(guarded[0], 0xEE);
    EXPECT_EQ(guarded[1], 1);
    EXPECT_EQ(guarded[2], 0xEE);
}

TEST_F(Dispatch, StreamEntryPointsKnowNoProperty)
{
    OSStatus (*const getInfo)(AudioDeviceID, io_object_t, UInt32, AudioDevicePropertyID, UInt32*,
                              Boolean*) = &AudioDriverPlugInStreamGetPropertyInfo;
    OSStatus (*const get)(AudioDeviceID, io_object_t, UInt32, AudioDevicePropertyID, UInt32*,
                          void*) = &AudioDriverPlugInStreamGetProperty;
    OSStatus (*const set)(AudioDeviceID, io_object_t, const AudioTimeStamp*, UInt32,
                          AudioDevicePropertyID, UInt32, const void*) =
        &AudioDriverPlugInStreamSetProperty;
    UInt32 size = 4;
    Boolean writable = 99;

    EXPECT_EQ(getInfo(kDevice, 0, 0, kEnable, &size, &writable), kWho);
    EXPECT_EQ(get(kDevice, 0, 0, kEnable, &size, mData), kWho);
    EXPECT_EQ(set(kDevice, 0, nullptr, 0, kEnable, 4, mData), kWho);
    EXPECT_EQ(getInfo(0, 0, 0, 0, nullptr, nullptr), kWho);
    EXPECT_EQ(get(0, 0, 0, 0, nullptr, nullptr), kWho);
    EXPECT_EQ(set(0, 0, nullptr, 0, 0, 0, nullptr), kWho);

    EXPECT_EQ(size, 4u);
    EXPECT_EQ(writable, 99);
    EXPECT_THAT(PlatformCalls::GetSent(), IsEmpty());
}

TEST_F(Dispatch, SetReadsExactlyTheDataAtAnyAlignment)
{
    const UInt32 integer = 0x12345678;
    const Float32 gains[2] = {1.0F, 0.5F};
    const struct
    {
        const char* what;
        UInt32 property;
        UInt32 size;
        const void* data;
    } cases[] = {
        {"enable", kEnable, 4, &integer},
        {"level", kLevel, 8, gains},
        {"state", kState, 4, &integer},
    };
    for (const auto& [what, property, size, aligned] : cases) {
        SCOPED_TRACE(what);
        AudioDriverPlugInDeviceSetProperty(kDevice, nullptr, 0, 1, property, size, aligned);
        const std::string expected = PlatformCalls::GetSent().back().data;
        for (UInt32 distance = size; distance < size + 4; ++distance) {
            const TestSupport::GuardedBytes data{TestSupport::Bytes(distance)};
            std::memcpy(data.Get(), aligned, size);

            EXPECT_EQ(AudioDriverPlugInDeviceSetProperty(kDevice, nullptr, 0, 1, property, size,
                                                         data.Get()),
                      0);

            EXPECT_EQ(PlatformCalls::GetSent().back().data, expected);
        }
    }
}

TEST_F(Dispatch, TimeStampIsNeverRead)
{
    const auto* const nowhere = reinterpret_cast<const AudioTimeStamp*>(1);
    const UInt32 value = 1;

    EXPECT_EQ(AudioDriverPlugInDeviceSetProperty(kDevice, nowhere, 0, 1, kEnable, 4, &value), 0);

    EXPECT_THAT(PlatformCalls::GetSent(), SizeIs(1));
}

} // namespace
