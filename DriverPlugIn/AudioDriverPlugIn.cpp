// AudioDriverPlugIn.cpp - the eight entry points that the HAL calls, and the registry of devices.
//
// The HAL opens each device once, sets and gets properties by device ID, and closes it. The
// registry is one array of records in the order of opening; it exists while at least one device is
// open.
//
// Nothing here takes a lock: the HAL does not overlap Open and Close with other calls. Nothing here
// catches exceptions: one that is thrown while a property is set leaves the entry point.

#include "DriverPlugIn/DirectMonitor.h"
#include "DriverPlugIn/PlugInInfo.h"
#include "Protocol/ServerProtocol.h"

#include <QX/Types.h>

#include <cstdlib>
#include <cstring>

// Zero-initialised storage, no constructor: the registry is empty as soon as the bundle is loaded.
static CFMutableArrayRef gHostInfoArray;

static _PlugInInfo* GetElement(CFIndex index)
{
    return static_cast<_PlugInInfo*>(
        const_cast<void*>(CFArrayGetValueAtIndex(gHostInfoArray, index)));
}

static CFIndex CountElements()
{
    return gHostInfoArray != nullptr ? CFArrayGetCount(gHostInfoArray) : 0;
}

static _PlugInInfo* FetchPlugInInfoElementByID(UInt32 deviceID)
{
    const CFIndex count = CountElements();
    for (CFIndex index = 0; index < count; ++index) {
        _PlugInInfo* const info = GetElement(index);
        if (info->mDeviceID == deviceID) {
            return info;
        }
    }
    return nullptr;
}

// Returns 1 if a record was removed, 0 if there is none of that ID.
static int RemovePlugInInfoElementByID(UInt32 deviceID)
{
    const CFIndex count = CountElements();
    for (CFIndex index = 0; index < count; ++index) {
        _PlugInInfo* const info = GetElement(index);
        if (info->mDeviceID != deviceID) {
            continue;
        }
        CFArrayRemoveValueAtIndex(gHostInfoArray, index);
        // The record's port is not released: its reference is kept until the process exits.
        std::free(info);
        if (count == 1) {
            CFRelease(gHostInfoArray);
            gHostInfoArray = nullptr;
        }
        return 1;
    }
    return 0;
}

// Returns the size of a property's data, 0 for an unknown property.
static UInt32 GetPropertySize(AudioDevicePropertyID propertyID)
{
    switch (propertyID) {
    case kDirectMonitorEnableProperty:
        return kDirectMonitorEnableSize;
    case kDirectMonitorLevelProperty:
        return kDirectMonitorLevelSize;
    case kDirectMonitorStateProperty:
        return kDirectMonitorStateSize;
    default:
        return 0;
    }
}

// Enable and state belong to the whole device: channel 0 only. Every channel has a level.
static bool IsChannelAllowed(AudioDevicePropertyID propertyID, UInt32 channel)
{
    return channel == 0 || propertyID == kDirectMonitorLevelProperty;
}

// The HAL's data pointer need not be aligned.
static UInt32 ReadUInt32(const void* data)
{
    UInt32 value = 0;
    std::memcpy(&value, data, sizeof(value));
    return value;
}

QX_API OSStatus AudioDriverPlugInOpen(AudioDriverPlugInHostInfo* inHostInfo)
{
    if (gHostInfoArray == nullptr) {
        // The array grows, but not up to Mac OS X 10.4: there a capacity makes its size fixed, and
        // its block has room for four devices. With null callbacks it neither retains nor compares
        // its values.
        gHostInfoArray = CFArrayCreateMutable(nullptr, 1, nullptr);
    }
    if (FetchPlugInInfoElementByID(inHostInfo->mDeviceID) != nullptr) {
        return kAudioHardwareUnspecifiedError;
    }
    // The test of the allocation comes after the append: a return before it would leave a new array
    // without a record, which no Close releases. It is reached only where the first page of memory
    // is mapped; elsewhere the stores fault. Without volatile a compiler would conclude from the
    // stores that the pointer is not null, and drop the test.
    _PlugInInfo* volatile info = static_cast<_PlugInInfo*>(std::malloc(sizeof(_PlugInInfo)));
    info->mDeviceID = inHostInfo->mDeviceID;
    info->mIOAudioDevice = inHostInfo->mIOAudioDevice;
    info->mIOAudioEngine = inHostInfo->mIOAudioEngine;
    info->mDevicePropertyChangedProc = inHostInfo->mDevicePropertyChangedProc;
    info->mStreamPropertyChangedProc = inHostInfo->mStreamPropertyChangedProc;
    CFArrayAppendValue(gHostInfoArray, info);
    if (info == nullptr) {
        return kAudioHardwareUnspecifiedError;
    }
    info->mMessagePort = nullptr;
    return kAudioHardwareNoError;
}

QX_API OSStatus AudioDriverPlugInClose(AudioDeviceID inDevice)
{
    if (FetchPlugInInfoElementByID(inDevice) == nullptr) {
        return kAudioHardwareUnspecifiedError;
    }
    RemovePlugInInfoElementByID(inDevice);
    return kAudioHardwareNoError;
}

QX_API OSStatus AudioDriverPlugInDeviceGetPropertyInfo(AudioDeviceID /*inDevice*/,
                                                       UInt32 /*inChannel*/, Boolean /*isInput*/,
                                                       AudioDevicePropertyID inPropertyID,
                                                       UInt32* outSize, Boolean* outWritable)
{
    const UInt32 size = GetPropertySize(inPropertyID);
    if (outSize != nullptr) {
        *outSize = size;
    }
    if (outWritable != nullptr) {
        *outWritable = size != 0 ? 1 : 0;
    }
    return size != 0 ? kAudioHardwareNoError : kAudioHardwareUnknownPropertyError;
}

QX_API OSStatus AudioDriverPlugInDeviceGetProperty(AudioDeviceID inDevice, UInt32 inChannel,
                                                   Boolean isInput,
                                                   AudioDevicePropertyID inPropertyID,
                                                   UInt32* ioPropertyDataSize,
                                                   void* outPropertyData)
{
    if (ioPropertyDataSize == nullptr) {
        return kAudioHardwareBadPropertySizeError;
    }
    if (outPropertyData == nullptr) {
        return kAudioHardwareUnspecifiedError;
    }
    _PlugInInfo* const info = FetchPlugInInfoElementByID(inDevice);
    if (info == nullptr) {
        return kAudioHardwareUnspecifiedError;
    }
    const UInt32 size = GetPropertySize(inPropertyID);
    if (size == 0) {
        return kAudioHardwareUnknownPropertyError;
    }
    if (*ioPropertyDataSize != size) {
        return kAudioHardwareBadPropertySizeError;
    }
    if (!IsChannelAllowed(inPropertyID, inChannel) || isInput == 0) {
        return kAudioHardwareUnspecifiedError;
    }
    switch (inPropertyID) {
    case kDirectMonitorEnableProperty:
        return GetDirectMonitorEnable(info, static_cast<UInt32*>(outPropertyData));
    case kDirectMonitorLevelProperty:
        return GetDirectMonitorLevel(info, inChannel, static_cast<Float32*>(outPropertyData));
    default:
        return GetDirectMonitorState(info, static_cast<UInt32*>(outPropertyData));
    }
}

// Unlike a get, a set on a channel that the property does not have returns
// kAudioHardwareUnsupportedOperationError.
QX_API OSStatus AudioDriverPlugInDeviceSetProperty(
    AudioDeviceID inDevice, const AudioTimeStamp* /*inWhen*/, UInt32 inChannel, Boolean isInput,
    AudioDevicePropertyID inPropertyID, UInt32 inPropertyDataSize, const void* inPropertyData)
{
    if (inPropertyData == nullptr) {
        return kAudioHardwareUnspecifiedError;
    }
    _PlugInInfo* const info = FetchPlugInInfoElementByID(inDevice);
    if (info == nullptr) {
        return kAudioHardwareUnspecifiedError;
    }
    const UInt32 size = GetPropertySize(inPropertyID);
    if (size == 0) {
        return kAudioHardwareUnknownPropertyError;
    }
    if (inPropertyDataSize != size) {
        return kAudioHardwareBadPropertySizeError;
    }
    if (!IsChannelAllowed(inPropertyID, inChannel)) {
        return kAudioHardwareUnsupportedOperationError;
    }
    if (isInput == 0) {
        return kAudioHardwareUnspecifiedError;
    }
    switch (inPropertyID) {
    case kDirectMonitorEnableProperty:
        return SetDirectMonitorEnable(info, ReadUInt32(inPropertyData));
    case kDirectMonitorLevelProperty:
        return SetDirectMonitorLevel(info, inChannel, inPropertyData);
    default:
        return SetDirectMonitorState(info, ReadUInt32(inPropertyData));
    }
}

QX_API OSStatus AudioDriverPlugInStreamGetPropertyInfo(
    AudioDeviceID /*inDevice*/, io_object_t /*inIOAudioStream*/, UInt32 /*inChannel*/,
    AudioDevicePropertyID /*inPropertyID*/, UInt32* /*outSize*/, Boolean* /*outWritable*/)
{
    return kAudioHardwareUnknownPropertyError;
}

QX_API OSStatus AudioDriverPlugInStreamGetProperty(AudioDeviceID /*inDevice*/,
                                                   io_object_t /*inIOAudioStream*/,
                                                   UInt32 /*inChannel*/,
                                                   AudioDevicePropertyID /*inPropertyID*/,
                                                   UInt32* /*ioPropertyDataSize*/,
                                                   void* /*outPropertyData*/)
{
    return kAudioHardwareUnknownPropertyError;
}

QX_API OSStatus AudioDriverPlugInStreamSetProperty(
    AudioDeviceID /*inDevice*/, io_object_t /*inIOAudioStream*/, const AudioTimeStamp* /*inWhen*/,
    UInt32 /*inChannel*/, AudioDevicePropertyID /*inPropertyID*/, UInt32 /*inPropertyDataSize*/,
    const void* /*inPropertyData*/)
{
    return kAudioHardwareUnknownPropertyError;
}
