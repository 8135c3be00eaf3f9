// Frame.h - what goes over the socket between a remote and a local port.
//
// One packet is one frame: five big-endian words, then the data of a message or a reply. The two
// ends may be processes of different word size and byte order.
//
//   offset  word          one-way   request       acknowledgement     reply
//   0       kMagic        'QXP1'    'QXP1'        'QXP1'              'QXP1'
//   4       kind          1         2             3                   4
//   8       number        0         conversation  messages taken      conversation
//   12      message ID    any       any           0                   0
//   16      data length   any       any           0                   any
#pragma once

#include <CoreFoundation/CFBase.h>

#include <cstddef>

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
/// The messages of one process that a server has not taken yet.
inline constexpr UInt32 kQueueLimit = 5;

/// Lays a header out in kHeaderSize bytes.
void WriteHeader(const Frame& frame, unsigned char* bytes);

/// Reads the header of a packet of `size` bytes; false if the packet is no frame.
bool ReadHeader(const unsigned char* bytes, std::size_t size, Frame& frame);

} // namespace Standin
