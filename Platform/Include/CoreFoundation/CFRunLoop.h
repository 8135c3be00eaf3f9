// CFRunLoop.h - the event loop that each thread has, and its sources.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <CoreFoundation/CFDate.h>

typedef struct __CFRunLoop* CFRunLoopRef;
typedef struct __CFRunLoopSource* CFRunLoopSourceRef;

enum
{
    kCFRunLoopRunFinished = 1,
    kCFRunLoopRunStopped = 2,
    kCFRunLoopRunTimedOut = 3,
    kCFRunLoopRunHandledSource = 4
};

CF_EXTERN_C_BEGIN

extern const CFStringRef kCFRunLoopDefaultMode;

/// Returns the calling thread's loop, which is made on first use and ends with the thread. Adds no
/// reference.
CFRunLoopRef CFRunLoopGetCurrent(void);

/// Runs the calling thread's loop in one mode for at most `seconds` (0 or less: one poll) and
/// returns why it ended: nothing to wait for, stopped, timed out, or, with
/// `returnAfterSourceHandled`, a source was handled. Runs may be nested.
SInt32 CFRunLoopRunInMode(CFStringRef mode, CFTimeInterval seconds,
                          Boolean returnAfterSourceHandled);

/// Ends the innermost run of the loop, or the next one if the loop is not running.
///
/// Threads: any, and here, unlike on the Mac, also from a signal handler. Another thread than the
/// loop's must retain the loop first: the loop's thread may end during the call, and its loop with
/// it.
void CFRunLoopStop(CFRunLoopRef rl);

/// Makes every run of the loop in `mode` wait for the source too. It is removed from its loops when
/// its port is invalidated.
void CFRunLoopAddSource(CFRunLoopRef rl, CFRunLoopSourceRef source, CFStringRef mode);

CF_EXTERN_C_END
