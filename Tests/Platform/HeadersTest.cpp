// HeadersTest.cpp - sizes, layouts and constants of the platform's headers.

#include <CoreAudio/AudioDriverPlugIn.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>
#include <IOKit/IOReturn.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

namespace {

static_assert(sizeof(UInt32) == 4 && sizeof(SInt32) == 4 && sizeof(Boolean) == 1);
static_assert(sizeof(CFIndex) == 4 && std::is_signed_v<CFIndex>);
static_assert(sizeof(CFTypeID) == 4 && std::is_unsigned_v<CFTypeID>);
static_assert(sizeof(OSStatus) == 4 && std::is_signed_v<OSStatus>);
static_assert(sizeof(Float64) == 8 && sizeof(CFTimeInterval) == 8);
static_assert(
    std::is_same_v<UInt32, std::conditional_t<sizeof(long) == 4, unsigned long, unsigned int>>);

static_assert(sizeof(AudioTimeStamp) == 64);
static_assert(offsetof(AudioTimeStamp, mHostTime) == 8);
static_assert(offsetof(AudioTimeStamp, mRateScalar) == 16);
static_assert(offsetof(AudioTimeStamp, mWordClockTime) == 24);
static_assert(offsetof(AudioTimeStamp, mSMPTETime) == 32 && sizeof(SMPTETime) == 24);
static_assert(offsetof(AudioTimeStamp, mFlags) == 56);

static_assert(offsetof(AudioDriverPlugInHostInfo, mDeviceID) == 0);
static_assert(offsetof(AudioDriverPlugInHostInfo, mIOAudioDevice) == 4);
static_assert(offsetof(AudioDriverPlugInHostInfo, mIOAudioEngine) == 8);
static_assert(sizeof(AudioDriverPlugInHostInfo) == (sizeof(void*) == 4 ? 20 : 32));

static_assert(
    std::is_same_v<decltype(&AudioDriverPlugInOpen), OSStatus (*)(AudioDriverPlugInHostInfo*)>);
static_assert(std::is_same_v<decltype(&AudioDriverPlugInDeviceSetProperty),
                             OSStatus (*)(AudioDeviceID, const AudioTimeStamp*, UInt32, Boolean,
                                          AudioDevicePropertyID, UInt32, const void*)>);
static_assert(std::is_same_v<decltype(&AudioDriverPlugInStreamSetProperty),
                             OSStatus (*)(AudioDeviceID, io_object_t, const AudioTimeStamp*, UInt32,
                                          AudioDevicePropertyID, UInt32, const void*)>);

TEST(Headers, ErrorCodesHaveTheirFirstCharacterInTheHighByte)
{
    const auto code = [](const char(&text)[5]) {
        OSStatus packed = 0;
        for (int index = 0; index < 4; ++index) {
            packed = packed << 8 | text[index];
        }
        return packed;
    };

    EXPECT_EQ(kAudioHardwareUnspecifiedError, code("what"));
    EXPECT_EQ(kAudioHardwareUnknownPropertyError, code("who?"));
    EXPECT_EQ(kAudioHardwareBadPropertySizeError, code("!siz"));
    EXPECT_EQ(kAudioHardwareUnsupportedOperationError, code("unop"));
    EXPECT_EQ(kAudioHardwareNotRunningError, code("stop"));
    EXPECT_EQ(kAudioHardwareIllegalOperationError, code("nope"));
    EXPECT_EQ(kAudioHardwareBadObjectError, code("!obj"));
    EXPECT_EQ(kAudioHardwareBadDeviceError, code("!dev"));
    EXPECT_EQ(kAudioHardwareBadStreamError, code("!str"));
    EXPECT_EQ(kAudioDeviceUnsupportedFormatError, code("!dat"));
    EXPECT_EQ(kAudioDevicePermissionsError, code("!hog"));
}

TEST(Headers, ConstantsHaveThePlatformsValues)
{
    EXPECT_EQ(static_cast<UInt32>(kIOReturnError), 0xE00002BCu);
    EXPECT_EQ(kCFMessagePortSuccess, 0);
    EXPECT_EQ(kCFMessagePortSendTimeout, -1);
    EXPECT_EQ(kCFMessagePortReceiveTimeout, -2);
    EXPECT_EQ(kCFMessagePortIsInvalid, -3);
    EXPECT_EQ(kCFMessagePortTransportError, -4);
    EXPECT_EQ(kCFNumberSInt32Type, 3);
    EXPECT_EQ(kCFRunLoopRunFinished, 1);
    EXPECT_EQ(kCFRunLoopRunStopped, 2);
    EXPECT_EQ(kCFRunLoopRunTimedOut, 3);
    EXPECT_EQ(kCFRunLoopRunHandledSource, 4);
    EXPECT_EQ(kMPTimeoutErr, -29296);
    EXPECT_EQ(kMPInsufficientResourcesErr, -29298);
    EXPECT_EQ(kMPInvalidIDErr, -29299);
    EXPECT_EQ(kMPDeletedErr, -29295);
    EXPECT_EQ(kDurationForever, 0x7FFFFFFF);
}

} // namespace
