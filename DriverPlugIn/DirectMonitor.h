// DirectMonitor.h - what a get or a set of the three direct-monitor properties does.
//
// The interface can route its inputs to its outputs in hardware; the server controls that. A set
// operation turns a property's value into messages to the server and returns the status of the
// set-parameter message. A get operation fails: the plug-in keeps no values.
//
// Without a server, enable and state return kCFMessagePortIsInvalid. Unlike them, a level counts as
// done and returns 0.
//
// Throws: what sending throws; a level also std::bad_alloc.
// Threads: the caller's; no lock is taken. The messages of two calls on two threads may mix. How
// long a call blocks is in ServerLink.h.
#pragma once

#include "DriverPlugIn/PlugInInfo.h"

/// Sends all 32 bits of `enable` as a signed integer.
///
/// Fails: kIOReturnError for a null record.
SInt32 SetDirectMonitorEnable(_PlugInInfo* info, UInt32 enable);

/// Sends all 32 bits of `state` as a signed integer. Sends 'OpLM' first if `state` is not 0, and
/// 'ClLM' last if it is 0; their statuses are ignored.
///
/// Each of the two waits for a reply and meanwhile runs the run loop: see
/// SendSimpleMessageToServer.
///
/// Fails: kIOReturnError for a null record.
SInt32 SetDirectMonitorState(_PlugInInfo* info, UInt32 state);

/// Sends the two linear Float32 gains at `gains`, which need not be aligned, as decibels, with the
/// channel's index: `channel` minus 1, so 0xFFFFFFFF for the master channel 0. A gain of 0 or less
/// is sent as kSilenceDecibels.
///
/// Fails: kIOReturnError for a null record or null gains.
SInt32 SetDirectMonitorLevel(_PlugInInfo* info, UInt32 channel, const void* gains);

// Each returns kAudioHardwareUnsupportedOperationError, reads no argument and writes nothing.

SInt32 GetDirectMonitorEnable(_PlugInInfo* info, UInt32* outEnable);
SInt32 GetDirectMonitorState(_PlugInInfo* info, UInt32* outState);
SInt32 GetDirectMonitorLevel(_PlugInInfo* info, UInt32 channel, Float32* outGains);
