// Server.h - what the wrong bundles send.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

/// A device that is open.
struct Device
{
    UInt32 id;
    bool isOpen;
    CFMessagePortRef port;
    bool hasSet;             ///< a set has reached the messages
    bool hasMissedServer;    ///< a set of a level has found none
    bool hasMissedWithState; ///< and one of a state
    int equalLevels;         ///< sets of the same level in a row
    Float32 lastLevel;
    int openingThread;
};

/// Each returns the status that the set answers.
SInt32 SendWord(Device& device, UInt32 parameter, UInt32 word);
SInt32 SendState(Device& device, UInt32 state, bool isFirst);
SInt32 SendLevel(Device& device, UInt32 channel, const void* gains);

/// A message without data; its status.
SInt32 SendSimple(Device& device, SInt32 id);
