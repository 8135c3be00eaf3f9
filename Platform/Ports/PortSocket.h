// PortSocket.h - the sockets behind message ports: addresses, owners and packets.
//
// Addresses are texts in the abstract namespace. Anybody can bind or connect to any of them, so
// each end asks the kernel who the other one is and has nothing to do with another user's process.
#pragma once

#include "Ports/FileDescriptor.h"
#include "Ports/Frame.h"

#include <string_view>
#include <sys/types.h>

namespace Standin {

/// The longest address, in bytes.
inline constexpr std::size_t kLongestAddress = 107;

/// Returns a socket that listens at an address, or none if it is taken or there is no descriptor.
FileDescriptor ListenAt(std::string_view address);

/// Connects to an address, without waiting; none if nobody of this user listens there.
FileDescriptor ConnectTo(std::string_view address);

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
