// ServerLink.h - opening the server's port and sending to it.
//
// The port is opened by the first send that finds the server; until then every send looks for it.
// An open port is kept for the record's life, even after the server has ended: later sends then
// give the platform's own status.
//
// Statuses are the message port's (0, -1 to -5); kCFMessagePortIsInvalid also means that there is
// no server, or that the message could not be made.
//
// No record passed here may be null.
//
// Threads: the caller's; no lock is taken. A send blocks for at most kSendTimeoutSeconds, a simple
// message also for kReceiveTimeoutSeconds, during which the thread's run loop runs.
#pragma once

#include "DriverPlugIn/PlugInInfo.h"

#include <QX/Variant.h>

/// Returns 1 if the record has a port, which is opened now if it has none, and 0 otherwise.
///
/// A port that the record already has is not checked again.
///
/// Throws: what the platform throws.
/// Threads: any. If two threads look for the server of one record at once, each stores what it has
/// found, and the later store stays: the other port is never released. A thread that has found no
/// server stores null, also over a port that the other has just stored; a send of the other thread
/// then gives kCFMessagePortIsInvalid, and the next look-up opens a port again.
int MessagePortValid(_PlugInInfo* info);

/// Sends a message without data, waits for its reply and discards it. Returns the send's status.
///
/// The wait runs the run loop, and any source of its default mode may call the plug-in again. A
/// field of the record may have changed after the call.
///
/// Requires: no such source closes this device.
/// Throws: what the platform and the run loop's sources throw.
SInt32 SendSimpleMessageToServer(_PlugInInfo* info, SInt32 messageID);

/// Sends one set-parameter message for the record's device, and returns the send's status.
///
/// Throws: what the framework and the platform throw while the message is made or sent. The
/// platform objects made by then are not released.
SInt32 SendMessageToServer(_PlugInInfo* info, UInt32 parameterID, QX::Variant& value);
