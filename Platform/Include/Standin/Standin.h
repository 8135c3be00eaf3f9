// Standin.h - what the stand-in tells tools of message ports beyond the platform's own calls.
//
// The framework and the plug-in never include this header: their sources compile on the platform.
// A tool that does asks `__has_include(<Standin/Standin.h>)` first.
#pragma once

#include <CoreFoundation/CFMessagePort.h>

CF_EXTERN_C_BEGIN

/// The process that holds a message port's name for the calling user, or 0 if nobody does.
SInt32 StandinGetPortHolder(CFStringRef name);

/// Why this user can have no ports at all, to be released by the caller: the folder of all ports
/// cannot be made, or is one that others could enter. Null if nothing is wrong with it.
CFStringRef StandinCopyPortFault(void);

/// Refuses every later send to a local port: it answers -4. What was sent before can still be
/// received; once a poll of the run loop handles nothing, all of it has been. The port keeps its
/// name.
void StandinRefuseSenders(CFMessagePortRef local);

CF_EXTERN_C_END
