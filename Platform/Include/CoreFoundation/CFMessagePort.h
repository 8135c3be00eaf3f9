// CFMessagePort.h - named ports. One process holds a name; any process of its user can send
// messages to it.
//
//     CFMessagePortRef port = CFMessagePortCreateRemote(nullptr, CFSTR("org.server"));
//     SInt32 status = CFMessagePortSendRequest(port, 'OpLM', nullptr, 1.0, 0.001,
//                                              kCFRunLoopDefaultMode, nullptr);
//
// Each sending process may have five messages that the server has not yet read. A sixth send waits
// until there is room or its send timeout is over. Messages arrive in the order of sending.
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

/// Handles one message, on the thread whose loop has the port's source. `data` is never null and
/// lives as long as the call. The result is the reply, which the port releases; null stands for an
/// empty reply. If the sender waits for no reply, none is sent.
typedef CFDataRef (*CFMessagePortCallBack)(CFMessagePortRef local, SInt32 msgid, CFDataRef data,
                                           void* info);

CF_EXTERN_C_BEGIN

/// Takes a name and makes the port that receives its messages. A port with a null name receives
/// nothing. If this process holds the name already, returns the existing port, retained, and stores
/// true in `*shouldFreeInfo`: `callout` and `context` are then not used.
///
/// Fails: null when another process holds the name, it is longer than 127 bytes, the folder of the
/// user's ports is refused, or there are no more file descriptors or memory.
CFMessagePortRef CFMessagePortCreateLocal(CFAllocatorRef allocator, CFStringRef name,
                                          CFMessagePortCallBack callout,
                                          CFMessagePortContext* context, Boolean* shouldFreeInfo);

/// Makes a port that sends to the holder of a name. Never waits.
///
/// Fails: null when no process holds the name, or there are no more file descriptors or memory.
CFMessagePortRef CFMessagePortCreateRemote(CFAllocatorRef allocator, CFStringRef name);

/// Sends one message and, with a `replyMode`, runs the calling thread's loop in that mode until
/// the reply is there. Returns 0, or
///   -1  the queue stayed full for `sendTimeout` seconds; nothing was sent
///   -2  no reply within `rcvTimeout` seconds; a later one is dropped
///   -3  the port is invalid: it was invalidated, or a run loop has noticed that the server is gone
///   -4  the message cannot be sent: the server has ended, or the data is longer than
///       128 KiB
///   -5  the port became invalid while the reply was awaited; these headers have no name for it
/// Null `data` arrives as empty data. The reply is stored in `*returnData`, unless that pointer is
/// null; the caller releases it. Without a `replyMode`, `rcvTimeout` and `returnData` are not used.
SInt32 CFMessagePortSendRequest(CFMessagePortRef remote, SInt32 msgid, CFDataRef data,
                                CFTimeInterval sendTimeout, CFTimeInterval rcvTimeout,
                                CFStringRef replyMode, CFDataRef* returnData);

/// Returns the one source of a local port, which the caller releases; null if the port is invalid.
CFRunLoopSourceRef CFMessagePortCreateRunLoopSource(CFAllocatorRef allocator,
                                                    CFMessagePortRef local, CFIndex order);

/// Ends the port for good: it sends and receives nothing more. A local port still holds its name
/// until its last reference is released.
void CFMessagePortInvalidate(CFMessagePortRef ms);

CF_EXTERN_C_END
