// EntryPointModel.h - what the plug-in's entry points answer and send, by a map of open devices.
#pragma once

#include "WrappedPlatform.h"

#include <CoreServices/CoreServices.h>

#include <map>
#include <vector>

class EntryPointModel
{
public:
    static constexpr OSStatus kUnspecified = 0x77686174;     // 'what'
    static constexpr OSStatus kUnknownProperty = 0x77686F3F; // 'who?'
    static constexpr OSStatus kBadSize = 0x2173697A;         // '!siz'
    static constexpr OSStatus kUnsupported = 0x756E6F70;     // 'unop'

    struct Message
    {
        SInt32 id = 0;
        UInt32 device = 0;
        SInt32 parameter = 0;
        SInt32 integer = 0;      ///< of enable and state
        double levels[2] = {};   ///< of a level
        UInt32 channelIndex = 0; ///< of a level
    };

    struct Outcome
    {
        OSStatus status;
        bool throws;
        std::vector<Message> messages;
    };

    /// The size of a property's data, 0 for a foreign property.
    static UInt32 GetSize(UInt32 selector);

    OSStatus Open(UInt32 device);
    OSStatus Close(UInt32 device);
    OSStatus Get(UInt32 device, UInt32 selector, UInt32 size, UInt32 channel, bool isInput) const;
    /// `value` holds the property's data.
    Outcome Set(UInt32 device, UInt32 selector, UInt32 size, UInt32 channel, bool isInput,
                const unsigned char* value);

    std::vector<UInt32> GetOpenDevices() const;
    /// The ports that were opened since the start, by devices that are closed as well.
    SInt32 CountPorts() const { return mPorts; }
    /// The ports, and the registry while it has a device.
    SInt32 CountLive() const { return mPorts + (mHasPort.empty() ? 0 : 1); }

private:
    bool OpenPort(UInt32 device);
    void SendSimple(UInt32 device, SInt32 id, Outcome& outcome);
    void SendParameter(UInt32 device, Message message, Outcome& outcome);
    void SetLevel(UInt32 device, UInt32 channel, const unsigned char* value, Outcome& outcome);

    /// By the ID of an open device: whether its record has a port.
    std::map<UInt32, bool> mHasPort;
    SInt32 mPorts = 0;
};

/// Ends the process unless the messages that were sent are the expected ones.
void CheckSent(const std::vector<WrappedPlatform::Sent>& sent,
               const std::vector<EntryPointModel::Message>& expected);
