// PlugInFixture.h - a clean plug-in for each test, and a check of what each test leaves.
#pragma once

#include "DriverPlugIn/Support/PlatformCalls.h"

#include "DriverPlugIn/PlugInInfo.h"

#include <CoreAudio/AudioDriverPlugIn.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

inline constexpr OSStatus kWhat = 0x77686174;
inline constexpr OSStatus kWho = 0x77686F3F;
inline constexpr OSStatus kBadSize = 0x2173697A;
inline constexpr OSStatus kUnop = 0x756E6F70;

inline constexpr UInt32 kEnable = 0x44476D65;
inline constexpr UInt32 kLevel = 0x44476D6C;
inline constexpr UInt32 kState = 0x4447646D;

/// Resets the recorder. At the end it closes what the test has opened, and then expects that no
/// platform objects are left except those that the test names.
class PlugInFixture : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    /// Opens a device and expects success.
    void Open(AudioDeviceID device);
    /// Closes a device of Open and expects success.
    void Close(AudioDeviceID device);

    /// Sets an integer property on the master input channel.
    static OSStatus SetInteger(AudioDeviceID device, UInt32 property, UInt32 value);
    /// Sets the level of an input channel.
    static OSStatus SetLevel(AudioDeviceID device, UInt32 channel, Float32 first, Float32 second);

    /// Names the platform objects that the test leaves on purpose.
    void ExpectLeftBehind(std::vector<std::string> names) { mLeftBehind = std::move(names); }

private:
    SInt32 mLiveBefore = 0;
    std::vector<std::string> mLeftBehind;
    std::vector<AudioDeviceID> mOpen;
};

/// Returns a record as Open makes it.
_PlugInInfo MakeInfo(AudioDeviceID device);
