// Frame.h - what goes over the socket between a remote and a local port.
//
// One packet is one frame: five big-endian words, then the data of a message or a reply. The two
// ends may be processes of different word size and byte order.
//
//   offset  word          one-way   request       acknowledgement     reply
//   0       kMagic        'QXP1'    'QXP1'        'QXP1'              'QXP1'
//   4       kind          1         2             3                   4
//   8       number        0         conversation  messages taken      conversation
//   12      message ID    any       any           0                   any
//   16      data length   any       any           0                   any
//
// With the first packet of a connection comes a file: the memory of its Tally.
#pragma once

#include "Ports/FileDescriptor.h"

#include <CoreFoundation/CFBase.h>

#include <cstddef>
#include <sys/types.h>
#include <sys/uio.h>

namespace Standin {

enum class FrameKind : UInt32
{
    kOneWay = 1,
    kRequest = 2,
    kAcknowledgement = 3,
    kReply = 4
};

struct Frame
{
    FrameKind mKind;
    /// The conversation of a request and its reply; in an acknowledgement, how many messages the
    /// server has taken from this connection, modulo 2^32.
    UInt32 mNumber;
    SInt32 mMessageID;
    UInt32 mLength;
};

inline constexpr std::size_t kHeaderSize = 20;
/// The most data that a message or a reply carries: with its header it fits a socket's buffer.
inline constexpr std::size_t kLargestData = 131072;
/// How many messages of one process may wait for the server to take them.
inline constexpr UInt32 kQueueLimit = 5;

/// Writes a header of kHeaderSize bytes.
void WriteHeader(const Frame& frame, unsigned char* bytes);

/// Reads the header of a packet of `size` bytes; false if the packet is no frame.
bool ReadHeader(const unsigned char* bytes, std::size_t size, Frame& frame);

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

/// Sends the parts as one packet, without waiting and without a signal, and a file with it unless
/// that is -1. Returns the bytes that were sent, or -1 with errno set.
ssize_t SendParts(int socket, iovec* parts, std::size_t count, int file);

/// Sends a frame as one packet, as SendParts does.
SendResult SendFrame(int socket, const Frame& frame, const void* data, int file = -1);

enum class ReceiveResult
{
    kReceived,
    /// No packet is there.
    kNothing,
    /// The other end is gone, or has sent an invalid frame.
    kClosed
};

/// Receives one packet without waiting. Stores at most `room` bytes of its data; the length in the
/// frame is the whole one. A file that comes with the packet is stored in `file`, or dropped if
/// `file` is null.
ReceiveResult ReceiveFrame(int socket, Frame& frame, void* data, std::size_t room,
                           FileDescriptor* file = nullptr);

} // namespace Standin
