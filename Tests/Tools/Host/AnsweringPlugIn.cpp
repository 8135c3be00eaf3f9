// AnsweringPlugIn.cpp - a bundle that is not ours: each entry point answers with the device ID.
//
// QX_LACKS_ENTRY_POINTS leaves two of them out.

#include <CoreAudio/AudioDriverPlugIn.h>

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED OSStatus AudioDriverPlugInOpen(AudioDriverPlugInHostInfo* info)
{
    return static_cast<OSStatus>(info->mDeviceID);
}

EXPORTED OSStatus AudioDriverPlugInDeviceGetPropertyInfo(AudioDeviceID device, UInt32, Boolean,
                                                         AudioDevicePropertyID, UInt32*, Boolean*)
{
    return static_cast<OSStatus>(device);
}

EXPORTED OSStatus AudioDriverPlugInDeviceGetProperty(AudioDeviceID device, UInt32, Boolean,
                                                     AudioDevicePropertyID, UInt32*, void*)
{
    return static_cast<OSStatus>(device);
}

EXPORTED OSStatus AudioDriverPlugInDeviceSetProperty(AudioDeviceID device, const AudioTimeStamp*,
                                                     UInt32, Boolean, AudioDevicePropertyID, UInt32,
                                                     const void*)
{
    return static_cast<OSStatus>(device);
}

EXPORTED OSStatus AudioDriverPlugInStreamGetPropertyInfo(AudioDeviceID device, io_object_t, UInt32,
                                                         AudioDevicePropertyID, UInt32*, Boolean*)
{
    return static_cast<OSStatus>(device);
}

EXPORTED OSStatus AudioDriverPlugInStreamGetProperty(AudioDeviceID device, io_object_t, UInt32,
                                                     AudioDevicePropertyID, UInt32*, void*)
{
    return static_cast<OSStatus>(device);
}

#ifndef QX_LACKS_ENTRY_POINTS

EXPORTED OSStatus AudioDriverPlugInClose(AudioDeviceID device)
{
    return static_cast<OSStatus>(device);
}

EXPORTED OSStatus AudioDriverPlugInStreamSetProperty(AudioDeviceID device, io_object_t,
                                                     const AudioTimeStamp*, UInt32,
                                                     AudioDevicePropertyID, UInt32, const void*)
{
    return static_cast<OSStatus>(device);
}

#endif
