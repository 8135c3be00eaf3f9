// AudioDriverPlugIn.h - the routines that the audio hardware layer finds by name in a driver's
// plug-in bundle, and the record that it passes to AudioDriverPlugInOpen.
#pragma once

#include <CoreAudio/AudioHardware.h>
#include <IOKit/IOTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef OSStatus (*AudioDriverPlugInDevicePropertyChangedProc)(AudioDeviceID inDevice,
                                                               UInt32 inChannel, Boolean isInput,
                                                               AudioDevicePropertyID inPropertyID);

typedef OSStatus (*AudioDriverPlugInStreamPropertyChangedProc)(AudioDeviceID inDevice,
                                                               io_object_t inIOAudioStream,
                                                               UInt32 inChannel,
                                                               AudioDevicePropertyID inPropertyID);

struct AudioDriverPlugInHostInfo
{
    AudioDeviceID mDeviceID;
    io_object_t mIOAudioDevice;
    io_object_t mIOAudioEngine;
    AudioDriverPlugInDevicePropertyChangedProc mDevicePropertyChangedProc;
    AudioDriverPlugInStreamPropertyChangedProc mStreamPropertyChangedProc;
};
typedef struct AudioDriverPlugInHostInfo AudioDriverPlugInHostInfo;

OSStatus AudioDriverPlugInOpen(AudioDriverPlugInHostInfo* inHostInfo);
OSStatus AudioDriverPlugInClose(AudioDeviceID inDevice);

/// Channel 0 is the master channel; outSize and outWritable may be null.
OSStatus AudioDriverPlugInDeviceGetPropertyInfo(AudioDeviceID inDevice, UInt32 inChannel,
                                                Boolean isInput, AudioDevicePropertyID inPropertyID,
                                                UInt32* outSize, Boolean* outWritable);
OSStatus AudioDriverPlugInDeviceGetProperty(AudioDeviceID inDevice, UInt32 inChannel,
                                            Boolean isInput, AudioDevicePropertyID inPropertyID,
                                            UInt32* ioPropertyDataSize, void* outPropertyData);
/// A null inWhen means now.
OSStatus AudioDriverPlugInDeviceSetProperty(AudioDeviceID inDevice, const AudioTimeStamp* inWhen,
                                            UInt32 inChannel, Boolean isInput,
                                            AudioDevicePropertyID inPropertyID,
                                            UInt32 inPropertyDataSize, const void* inPropertyData);

OSStatus AudioDriverPlugInStreamGetPropertyInfo(AudioDeviceID inDevice, io_object_t inIOAudioStream,
                                                UInt32 inChannel,
                                                AudioDevicePropertyID inPropertyID, UInt32* outSize,
                                                Boolean* outWritable);
OSStatus AudioDriverPlugInStreamGetProperty(AudioDeviceID inDevice, io_object_t inIOAudioStream,
                                            UInt32 inChannel, AudioDevicePropertyID inPropertyID,
                                            UInt32* ioPropertyDataSize, void* outPropertyData);
OSStatus AudioDriverPlugInStreamSetProperty(AudioDeviceID inDevice, io_object_t inIOAudioStream,
                                            const AudioTimeStamp* inWhen, UInt32 inChannel,
                                            AudioDevicePropertyID inPropertyID,
                                            UInt32 inPropertyDataSize, const void* inPropertyData);

#ifdef __cplusplus
}
#endif
