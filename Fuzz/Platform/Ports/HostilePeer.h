// HostilePeer.h - one end of a port's socket in the hands of somebody who keeps to no rule.
#pragma once

#include "FuzzInput.h"

#include "Ports/FileDescriptor.h"
#include "Ports/Frame.h"

#include <string>
#include <vector>

namespace HostilePeer {

/// A packet, and what the receiving end reads it as.
struct Packet
{
    std::vector<unsigned char> bytes;
    bool isFrame = false;
    Standin::Frame frame{};
};

/// A name of a port that no other process uses.
std::string MakeName(const char* purpose);

/// Takes a packet off the input: arbitrary bytes, or a frame of arbitrary words. It may have more
/// data than a message can carry.
Packet TakePacket(FuzzInput& input);

/// Sends a packet, and a file with it if there is one; false if the other end is gone or reads
/// nothing.
bool Send(int socket, const Packet& packet, int file = -1);

/// Reads the next packet without waiting; none if there is none or the other end is gone.
bool Receive(int socket, Packet& packet);

/// True if the other end has gone.
bool IsClosed(int socket);

} // namespace HostilePeer
