// PortExtras.h - what the tools ask of message ports beyond the platform's own calls.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstddef>
#include <string>

namespace Tools {

/// Returns the process that holds the name, such as "process 4711 (qxmon)", or "" if the platform
/// does not tell.
std::string DescribePortHolder(CFStringRef name);

/// Returns why this user can have no ports at all, or "" if nothing is known to be wrong.
std::string DescribePortFault();

/// Lets nobody send to a port any more, where the platform can. Returns the number of messages that
/// may have been sent before and are still to be received.
std::size_t RefuseSenders(CFMessagePortRef port);

/// Returns the process that sent the message which a port handed over last, or 0 if the platform
/// does not tell.
SInt32 GetSender(CFMessagePortRef port);

/// Returns the name of a process's program, such as "qxhost", or "" if it is not known.
std::string GetProgramName(SInt32 process);

} // namespace Tools
