// DirectMonitor.h - the operations behind the three direct-monitor properties.
//
// The interface can route its inputs to its outputs in hardware. The server does it; a set
// operation translates a property's value into messages to the server and returns the status of the
// set-parameter message, a get operation refuses, since nothing is kept here.
//
// Without a server, enable and state return kCFMessagePortIsInvalid. Unlike them, a level that
// finds no server counts as done.
//
// A set operation throws what sending throws.
#pragma once

#include "DriverPlugIn/PlugInInfo.h"

/// Sends all 32 bits of `enable` as a signed integer.
///
/// Fails: kIOReturnError for a null record.
SInt32 SetDirectMonitorEnable(_PlugInInfo* info, UInt32 enable);

/// Sends `state`, announced by 'OpLM' in front of it if it is not 0 and followed by 'ClLM' if it
/// is. What becomes of those two has no influence on the status.
///
/// Fails: kIOReturnError for a null record.
SInt32 SetDirectMonitorState(_PlugInInfo* info, UInt32 state);

/// Sends the two linear Float32 gains at `gains`, which need not be aligned, as decibels, with the
/// index that belongs to `channel`: the channel minus 1, so 0xFFFFFFFF for the master channel 0.
///
/// Fails: kIOReturnError for a null record or null gains.
SInt32 SetDirectMonitorLevel(_PlugInInfo* info, UInt32 channel, const void* gains);

// Each returns kAudioHardwareUnsupportedOperationError, reads no argument and writes nothing.

SInt32 GetDirectMonitorEnable(_PlugInInfo* info, UInt32* outEnable);
SInt32 GetDirectMonitorState(_PlugInInfo* info, UInt32* outState);
SInt32 GetDirectMonitorLevel(_PlugInInfo* info, UInt32 channel, Float32* outGains);
