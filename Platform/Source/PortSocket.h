// PortSocket.h - the sockets behind message ports: names, owners and packets.
//
// A port's name is an address in the abstract namespace that contains the user's number. Anybody
// can bind or connect to any abstract address, so each end asks the kernel who the other one is
// and has nothing to do with another user's process.
#pragma once

#include "FileDescriptor.h"
#include "Frame.h"

#include <string_view>
#include <sys/types.h>

namespace Standin {

/// The longest name of a port, in bytes.
inline constexpr std::size_t kLongestName = 127;

/// Takes a name: a listening socket, or none if the name is held or there is no descriptor.
FileDescriptor ListenAt(std::string_view name);

/// Connects to the holder of a name, without waiting; none if nobody of this user holds it.
FileDescriptor ConnectTo(std::string_view name);

/// Stores the process at the other end, or 0 if it has no number here, and returns true if it
/// belongs to the calling process's user.
bool HasOwnPeer(int socket, pid_t& process);

/// True if a process with these credentials may be at the other end of a port of this process.
bool IsOwnUser(uid_t peer);

enum class SendResult
{
    kSent,
    /// The socket's buffer is full.
    kFull,
    /// The packet is too large for the system, or the system has no memory.
    kRefused,
    /// The other end is gone.
    kClosed
};

/// Sends one packet without waiting and without a signal.
SendResult SendFrame(int socket, const Frame& frame, const void* data);

} // namespace Standin
