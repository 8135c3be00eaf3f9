// StreamSet.cpp - an entry point by itself, so that a bundle can be built without it.

#include <CoreAudio/AudioDriverPlugIn.h>

extern "C" __attribute__((visibility("default"))) OSStatus
AudioDriverPlugInStreamSetProperty(AudioDeviceID, io_object_t, const AudioTimeStamp*, UInt32,
                                   AudioDevicePropertyID, UInt32, const void*)
{
    return kAudioHardwareUnknownPropertyError;
}
