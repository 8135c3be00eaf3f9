// AudioHardware.h - the identifiers and error codes of the audio hardware layer.
//
// The codes are four characters, packed with the first in the high byte.
#pragma once

#include <CoreAudio/CoreAudioTypes.h>

typedef UInt32 AudioDeviceID;
typedef UInt32 AudioDevicePropertyID;

enum
{
    kAudioHardwareNoError = 0,
    kAudioHardwareNotRunningError = 0x73746F70,           // 'stop'
    kAudioHardwareUnspecifiedError = 0x77686174,          // 'what'
    kAudioHardwareUnknownPropertyError = 0x77686F3F,      // 'who?'
    kAudioHardwareBadPropertySizeError = 0x2173697A,      // '!siz'
    kAudioHardwareIllegalOperationError = 0x6E6F7065,     // 'nope'
    kAudioHardwareBadObjectError = 0x216F626A,            // '!obj'
    kAudioHardwareBadDeviceError = 0x21646576,            // '!dev'
    kAudioHardwareBadStreamError = 0x21737472,            // '!str'
    kAudioHardwareUnsupportedOperationError = 0x756E6F70, // 'unop'
    kAudioDeviceUnsupportedFormatError = 0x21646174,      // '!dat'
    kAudioDevicePermissionsError = 0x21686F67             // '!hog'
};
