// PlugInFixture.cpp - opening, setting and closing devices for tests.

#include "DriverPlugIn/Support/PlugInFixture.h"

#include <Standin/LiveObjects.h>

#include <algorithm>

void PlugInFixture::SetUp()
{
    PlatformCalls::Reset();
    mLiveBefore = StandinGetTotalLiveObjectCount();
}

void PlugInFixture::TearDown()
{
    while (!mOpen.empty()) {
        Close(mOpen.back());
    }
    EXPECT_THAT(PlatformCalls::ReleaseLeftBehind(),
                testing::UnorderedElementsAreArray(mLeftBehind));
    PlatformCalls::Reset();
    EXPECT_EQ(StandinGetTotalLiveObjectCount(), mLiveBefore);
}

void PlugInFixture::Open(AudioDeviceID device)
{
    AudioDriverPlugInHostInfo hostInfo = {device, 0, 0, nullptr, nullptr};
    ASSERT_EQ(AudioDriverPlugInOpen(&hostInfo), 0);
    mOpen.push_back(device);
}

void PlugInFixture::Close(AudioDeviceID device)
{
    mOpen.erase(std::remove(mOpen.begin(), mOpen.end(), device), mOpen.end());
    EXPECT_EQ(AudioDriverPlugInClose(device), 0);
}

OSStatus PlugInFixture::SetInteger(AudioDeviceID device, UInt32 property, UInt32 value)
{
    return AudioDriverPlugInDeviceSetProperty(device, nullptr, 0, 1, property, 4, &value);
}

OSStatus PlugInFixture::SetLevel(AudioDeviceID device, UInt32 channel, Float32 first,
                                 Float32 second)
{
    const Float32 gains[2] = {first, second};
    return AudioDriverPlugInDeviceSetProperty(device, nullptr, channel, 1, kLevel, 8, gains);
}

_PlugInInfo MakeInfo(AudioDeviceID device)
{
    return {device, 0, 0, nullptr, nullptr, nullptr};
}
