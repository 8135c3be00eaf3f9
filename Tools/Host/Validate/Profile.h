// Profile.h - the rules of one product: its properties, and the messages that a set sends.
//
// What holds for every driver plug-in is not here. Docs/Tools.md describes the file.
#pragma once

#include <CoreServices/CoreServices.h>

#include <string>
#include <vector>

namespace Validate {

/// One message that a set sends.
struct MessageRule
{
    enum class When
    {
        kAlways,
        kNonZero, ///< only if the value that is set is not 0
        kZero
    };

    SInt32 id = 0;
    When when = When::kAlways;
    bool hasParameter = false; ///< carries the value, as a set-parameter message
    SInt32 parameter = 0;
};

struct PropertyRules
{
    enum class Value
    {
        kWord, ///< one 32-bit word, sent as it is
        kGains ///< two linear gains, sent as decibels with the channel's index
    };

    std::string name;
    UInt32 selector = 0;
    Value value = Value::kWord;
    bool isWritable = true;
    bool isMasterOnly = true; ///< channel 0 only

    // Statuses.
    SInt32 get = 0;
    SInt32 getOnOtherChannel = 0; ///< if it is channel 0's only
    SInt32 setOnOtherChannel = 0;
    SInt32 getOnOutput = 0;
    SInt32 setOnOutput = 0;
    SInt32 setWithoutServer = 0;

    std::vector<MessageRule> messages; ///< in the order of sending

    /// The size of its data in bytes.
    UInt32 GetSize() const { return value == Value::kWord ? 4 : 8; }
};

struct Profile
{
    std::string name;
    std::string file; ///< where it was read, or "" for the built-in one
    std::string port;
    std::string deviceKey; ///< of the device ID in the property list
    std::string dataKey;   ///< of the set-parameter message in it

    // Statuses.
    SInt32 openAgain = 0;
    SInt32 notOpen = 0; ///< close, get and set of a device that is not open
    SInt32 nullSize = 0;
    SInt32 nullData = 0;
    SInt32 wrongSize = 0;
    SInt32 unknownProperty = 0;
    SInt32 stream = 0;

    /// Whether an open device finds a server that took the place of one that died.
    bool findsRestartedServer = false;
    UInt32 unknownSelector = 0; ///< a property that the plug-in does not know
    std::vector<PropertyRules> properties;
};

/// The profile of the direct-monitor plug-in.
Profile MakeBuiltInProfile();

} // namespace Validate
