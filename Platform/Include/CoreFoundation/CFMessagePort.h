// CFMessagePort.h - named ports: messages from any process of a user to the one that holds a name.
//
//     CFMessagePortRef port = CFMessagePortCreateRemote(nullptr, CFSTR("org.server"));
//     SInt32 status = CFMessagePortSendRequest(port, 'OpLM', nullptr, 1.0, 0.001,
//                                              kCFRunLoopDefaultMode, nullptr);
//
// A port's queue takes five messages of a process that the server has not yet read. A sixth waits
// for its send timeout; messages arrive in the order of sending.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <CoreFoundation/CFData.h>
#include <CoreFoundation/CFDate.h>
#include <CoreFoundation/CFRunLoop.h>

typedef struct __CFMessagePort* CFMessagePortRef;

enum
{
    kCFMessagePortSuccess = 0,
    kCFMessagePortSendTimeout = -1,
    kCFMessagePortReceiveTimeout = -2,
    kCFMessagePortIsInvalid = -3,
    kCFMessagePortTransportError = -4
};

typedef struct
{
    CFIndex version;
    void* info;
    const void* (*retain)(const void* info);
    void (*release)(const void* info);
    CFStringRef (*copyDescription)(const void* info);
} CFMessagePortContext;

/// Handles one message on the thread whose loop has the port's source. `data` is never null and
/// lives as long as the call. The data returned, or empty data for null, is the reply if the
/// sender asked for one; the port releases it.
typedef CFDataRef (*CFMessagePortCallBack)(CFMessagePortRef local, SInt32 msgid, CFDataRef data,
                                           void* info);

CF_EXTERN_C_BEGIN

/// Takes a name and makes the port that receives its messages. A null name makes a port that
/// nobody reaches. If this process holds the name already, returns the existing port, retained,
/// and stores true in `*shouldFreeInfo`: `callout` and `context` are then not used.
///
/// Fails: null when another process holds the name, it is longer than 127 bytes, the folder of the
/// user's ports is refused, or there are no more file descriptors or memory.
CFMessagePortRef CFMessagePortCreateLocal(CFAllocatorRef allocator, CFStringRef name,
                                          CFMessagePortCallBack callout,
                                          CFMessagePortContext* context, Boolean* shouldFreeInfo);

/// Makes a port that sends to the holder of a name. Never waits.
///
/// Fails: null when nobody holds the name, or as CFMessagePortCreateLocal.
CFMessagePortRef CFMessagePortCreateRemote(CFAllocatorRef allocator, CFStringRef name);

/// Sends one message and, with a `replyMode`, runs the calling thread's loop in that mode until
/// the reply is there. Returns 0, or
///   -1  the queue stayed full for `sendTimeout` seconds; nothing was sent
///   -2  no reply within `rcvTimeout` seconds; a later one is dropped
///   -3  the port is invalid: invalidated, or the server's end was noticed by a run loop
///   -4  the message cannot be handed over: the server has ended, or the data is longer than
///       128 KiB
///   -5  the port became invalid while the reply was awaited
/// Null `data` arrives as empty data. `*returnData`, unless the pointer is null, is the reply, to
/// be released by the caller. Without a `replyMode`, `rcvTimeout` and `returnData` are not used.
SInt32 CFMessagePortSendRequest(CFMessagePortRef remote, SInt32 msgid, CFDataRef data,
                                CFTimeInterval sendTimeout, CFTimeInterval rcvTimeout,
                                CFStringRef replyMode, CFDataRef* returnData);

/// The one source of a local port, retained; null if the port is invalid.
CFRunLoopSourceRef CFMessagePortCreateRunLoopSource(CFAllocatorRef allocator,
                                                    CFMessagePortRef local, CFIndex order);

/// Ends the port's work for good. A local port keeps its name until its last reference goes.
void CFMessagePortInvalidate(CFMessagePortRef ms);

CF_EXTERN_C_END
