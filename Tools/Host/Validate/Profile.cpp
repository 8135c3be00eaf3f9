// Profile.cpp - the rules of the direct-monitor plug-in.

#include "Tools/Host/Validate/Profile.h"

#include "Protocol/ServerProtocol.h"

#include <CoreAudio/AudioDriverPlugIn.h>
#include <CoreFoundation/CoreFoundation.h>

namespace Validate {
namespace {

using When = MessageRule::When;

MessageRule MakeParameterRule(UInt32 parameter)
{
    return {kSetParameterMessage, When::kAlways, true, static_cast<SInt32>(parameter)};
}

PropertyRules MakeRules(const char* name, UInt32 selector)
{
    PropertyRules rules;
    rules.name = name;
    rules.selector = selector;
    rules.get = kAudioHardwareUnsupportedOperationError;
    rules.getOnOtherChannel = kAudioHardwareUnspecifiedError;
    rules.setOnOtherChannel = kAudioHardwareUnsupportedOperationError;
    rules.getOnOutput = kAudioHardwareUnspecifiedError;
    rules.setOnOutput = kAudioHardwareUnspecifiedError;
    rules.setWithoutServer = kCFMessagePortIsInvalid;
    return rules;
}

} // namespace

Profile MakeBuiltInProfile()
{
    Profile profile;
    profile.name = "direct monitor";
    profile.port = kServerPortName;
    profile.deviceKey = kCoreAudioDeviceIDKey;
    profile.dataKey = kParameterDataKey;
    profile.openAgain = kAudioHardwareUnspecifiedError;
    profile.notOpen = kAudioHardwareUnspecifiedError;
    profile.nullSize = kAudioHardwareBadPropertySizeError;
    profile.nullData = kAudioHardwareUnspecifiedError;
    profile.wrongSize = kAudioHardwareBadPropertySizeError;
    profile.unknownProperty = kAudioHardwareUnknownPropertyError;
    profile.stream = kAudioHardwareUnknownPropertyError;
    profile.unknownSelector = MakeFourCharCode("VoLu");

    PropertyRules enable = MakeRules("enable", kDirectMonitorEnableProperty);
    enable.messages = {MakeParameterRule(kDirectMonitorEnableParameter)};

    PropertyRules level = MakeRules("level", kDirectMonitorLevelProperty);
    level.value = PropertyRules::Value::kGains;
    level.isMasterOnly = false;
    level.setWithoutServer = kAudioHardwareNoError;
    level.messages = {MakeParameterRule(kDirectMonitorLevelParameter)};

    PropertyRules state = MakeRules("state", kDirectMonitorStateProperty);
    state.messages = {{kOpenDirectMonitorMessage, When::kNonZero, false, 0},
                      MakeParameterRule(kDirectMonitorStateParameter),
                      {kCloseDirectMonitorMessage, When::kZero, false, 0}};

    profile.properties = {enable, level, state};
    return profile;
}

} // namespace Validate
