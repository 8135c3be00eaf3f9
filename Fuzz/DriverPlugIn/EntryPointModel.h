// EntryPointModel.h - what the plug-in's entry points answer and send, by a map of open devices.
#pragma once

#include "DriverPlugIn/Support/PlatformCalls.h"

#include <CoreServices/CoreServices.h>

#include <deque>
#include <map>
#include <vector>

class EntryPointModel
{
public:
    static constexpr OSStatus kUnspecified = 0x77686174;     // 'what'
    static constexpr OSStatus kUnknownProperty = 0x77686F3F; // 'who?'
    static constexpr OSStatus kBadSize = 0x2173697A;         // '!siz'
    static constexpr OSStatus kUnsupported = 0x756E6F70;     // 'unop'

    /// What the plug-in finds around it.
    struct Surroundings
    {
        bool isServerPresent = false;
        bool hasName = true;
        bool hasDictionary = true;
        bool hasNumber = true;
        bool hasData = true;
        bool hasDocument = true;
        bool dataThrows = false;
        std::deque<SInt32> answers; ///< of the next sends; those after them succeed
    };

    struct Message
    {
        int port = 0;
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

    Surroundings& GetSurroundings() { return mSurroundings; }
    std::vector<UInt32> GetOpenDevices() const;
    /// The ports that were opened since the start, by devices that are closed as well.
    int CountPorts() const { return mPorts; }
    /// The dictionaries and numbers that exceptions did not release.
    SInt32 CountLeftBehind() const { return mLeftBehind; }
    /// What was not released, and the registry while it has a device.
    SInt32 CountLive() const { return mLeftBehind + (mPortOf.empty() ? 0 : 1); }

private:
    /// Returns the port of the device, 0 if there is none.
    int OpenPort(UInt32 device);
    SInt32 TakeAnswer();
    void SendSimple(UInt32 device, SInt32 id, Outcome& outcome);
    void SendParameter(UInt32 device, Message message, Outcome& outcome);
    void SetLevel(UInt32 device, UInt32 channel, const unsigned char* value, Outcome& outcome);

    Surroundings mSurroundings;
    /// By the ID of an open device: the number of its record's port, 0 if it has none.
    std::map<UInt32, int> mPortOf;
    int mPorts = 0;
    SInt32 mLeftBehind = 0;
};

/// Ends the process unless the messages that were sent are the expected ones.
void CheckSent(const std::vector<SentMessage>& sent,
               const std::vector<EntryPointModel::Message>& expected);
