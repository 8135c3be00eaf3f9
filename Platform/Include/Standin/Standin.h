// Standin.h - calls about message ports that the platform does not have, for the tools.
//
// The framework and the plug-in never include this header: the Mac does not have it. A tool asks
// `__has_include(<Standin/Standin.h>)` before it includes it.
#pragma once

#include <CoreFoundation/CFMessagePort.h>

CF_EXTERN_C_BEGIN

/// Returns the ID of the process that holds a port's name for the calling user, or 0 if none does.
SInt32 StandinGetPortHolder(CFStringRef name);

/// Returns why this user cannot have ports: the folder of all ports cannot be made, or others could
/// enter it. Null if nothing is wrong with it. The caller releases the string.
CFStringRef StandinCopyPortFault(void);

/// Makes every later send to a local port fail with -4. Messages that were sent before can still be
/// received; all have been once a poll of the run loop handles nothing. The port keeps its name.
void StandinRefuseSenders(CFMessagePortRef local);

/// Returns the process that sent the message which a local port handed over last, or 0 before the
/// first one.
SInt32 StandinGetSender(CFMessagePortRef local);

CF_EXTERN_C_END
