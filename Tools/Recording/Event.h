// Event.h - one call of an entry point, or one message that arrived at the server.
#pragma once

#include "Tools/Recording/EntryPoint.h"

#include <CoreServices/CoreServices.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Recording {

/// The version of the form of recordings.
inline constexpr int kSchemaVersion = 1;

/// What is known of an event but its texts and its data. Plain memory, which processes can share.
struct EventFacts
{
    bool isMessage;
    bool isDone;        ///< the call has returned
    UInt64 nanoseconds; ///< when it began, by the real-time clock

    // Of a call.
    Action action;
    UInt32 device;
    UInt32 channel;
    UInt32 selector;
    UInt32 size;
    Boolean isInput;
    bool isSizeNull;
    bool isWritableNull;
    bool isDataNull;
    bool isThrown; ///< the call threw an exception
    SInt32 status;
    UInt32 outSize;
    Boolean outWritable;
    UInt64 duration; ///< nanoseconds

    // Of a message.
    SInt32 id;
    SInt32 sender; ///< its process, or 0 if that is unknown

    /// The bytes that a call handed over, or that came with a message; not all need be kept.
    UInt32 dataSize;
};

/// An event as it stands in a recording.
struct Event : EventFacts
{
    std::string thrown;              ///< the text of the exception
    std::string senderName;          ///< the sender's program, or ""
    std::vector<unsigned char> data; ///< dataSize bytes, or the first ones of them

    /// Tells whether some of the data is missing.
    bool IsCut() const { return data.size() < dataSize; }
};

using Events = std::vector<Event>;

/// The calls of a recording, or its messages.
Events SelectEvents(const Events& events, bool areMessages);

/// "5 calls and 3 messages".
std::string CountEvents(const Events& events);

/// "'DGme'", or "0x00000001" if not all four characters are printable.
std::string DescribeSelector(UInt32 selector);

/// "AudioDriverPlugInClose(device 258)", "AudioDriverPlugInDeviceSetProperty(device 258, channel 0,
/// input, 'DGme', 4 bytes: 01 00 00 00)". Of the call's data `kept` bytes are there.
std::string DescribeCall(const EventFacts& call, const unsigned char* data, std::size_t kept);

} // namespace Recording
