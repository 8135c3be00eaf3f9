// PortName.h - who holds a port's name, and how to take it.
//
// A name has one well-known address. Anybody can bind that, so whoever finds it occupied by another
// user listens at a spare address instead: one that nobody can guess, and so occupy, beforehand.
// Clients find it in the kernel's list of sockets, where other users may have put decoys; only the
// credentials of the peer tell. Where that list cannot be read there are no spare addresses.
#pragma once

#include "Ports/FileDescriptor.h"

#include <string>
#include <string_view>

namespace Standin {

/// The longest name of a port, in bytes.
inline constexpr std::size_t kLongestName = 127;

inline constexpr const char* kSocketList = "/proc/net/unix";

/// The address of a name for the calling process's user; clients try it first.
std::string WellKnownAddress(std::string_view name);

/// A fresh address for a name whose well-known one is occupied; empty if the system has no random
/// bytes. It sorts behind the well-known one.
std::string SpareAddress(std::string_view name);

/// Connects to the holder of a name without waiting for it; none if nobody of this user holds it.
FileDescriptor FindHolder(std::string_view name, const char* socketList = kSocketList);

/// Takes a name: a listening socket, or none if this user holds it already or descriptors are
/// lacking. Of two processes that try at the same moment one gets it, and the other may learn only
/// after half a second that it has not.
FileDescriptor TakeName(std::string_view name, const char* socketList = kSocketList);

} // namespace Standin
