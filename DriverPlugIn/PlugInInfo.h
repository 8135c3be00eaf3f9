// PlugInInfo.h - the record that the plug-in keeps for each open device.
#pragma once

#include <CoreAudio/AudioDriverPlugIn.h>
#include <CoreFoundation/CoreFoundation.h>

#include <cstddef>
#include <type_traits>

/// What the plug-in knows of one open device: the host info of the HAL's Open call, field by field,
/// and the port to the server.
///
/// A plain record, allocated with malloc by Open and freed by Close.
struct _PlugInInfo
{
    /// Must be the first field: SendMessageToServer passes the record's address as this field's.
    AudioDeviceID mDeviceID;
    // Stored as the HAL gave them; the plug-in reads none of the next four.
    io_object_t mIOAudioDevice;
    io_object_t mIOAudioEngine;
    AudioDriverPlugInDevicePropertyChangedProc mDevicePropertyChangedProc;
    AudioDriverPlugInStreamPropertyChangedProc mStreamPropertyChangedProc;
    /// Null until MessagePortValid finds the server. It is not released with the record: its
    /// reference is kept until the process exits.
    CFMessagePortRef mMessagePort;
};

static_assert(std::is_standard_layout_v<_PlugInInfo> && std::is_trivial_v<_PlugInInfo>);
static_assert(offsetof(_PlugInInfo, mDeviceID) == 0);
static_assert(sizeof(AudioDeviceID) == 4);
