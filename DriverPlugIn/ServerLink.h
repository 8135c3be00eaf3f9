// ServerLink.h - the way from a device's record to the server's port.
//
// The port is opened when there is first something to send for a device. As long as the server is
// not there, every send tries again; once the port is open it is kept for the record's life, also
// when the server has gone: later sends then give the platform's own status.
//
// Statuses are the message port's (0, -1 to -5); kCFMessagePortIsInvalid also stands for "there is
// no server" and "the message could not be built".
//
// Threads: the caller's; no lock is taken. A send blocks for at most the send timeout, a simple
// message also for the receive timeout, during which the thread's run loop runs.
#pragma once

#include "DriverPlugIn/PlugInInfo.h"

#include <QX/Variant.h>

/// Returns 1 if the record has a port, which is opened now if need be, and 0 otherwise.
///
/// A port that the record already has is not looked at again.
///
/// Threads: any. If two threads look for the server of one record at once, each stores what it has
/// found, and the later store stays: the other port is never released. A thread that has found no
/// server stores null, also over a port that the other has just stored; a send of the other thread
/// then gives kCFMessagePortIsInvalid, and the next look-up opens a port again.
int MessagePortValid(_PlugInInfo* info);

/// Sends a message without data, waits for its reply and discards that. Returns the send's status.
///
/// The wait runs the run loop, so no field of the record may be kept across this call.
SInt32 SendSimpleMessageToServer(_PlugInInfo* info, SInt32 messageID);

/// Sends one set-parameter message for the record's device, and returns the send's status.
///
/// Throws: what the framework and the platform throw while the message is made. The platform
/// objects made until then stay behind.
SInt32 SendMessageToServer(_PlugInInfo* info, UInt32 parameterID, QX::Variant& value);
