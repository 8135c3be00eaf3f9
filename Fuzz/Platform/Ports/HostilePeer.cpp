// HostilePeer.cpp - packets that need not be frames.

#include "HostilePeer.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace HostilePeer {
namespace {

// A packet of this size byte is filled with zeros to about as much data as a message carries, or a
// little more, so that a few bytes of input make it too large.
constexpr std::size_t kNearlyFull = 0xFF;

void Fill(std::vector<unsigned char>& data, FuzzInput& input)
{
    data.resize(Standin::kLargestData - 128 + input.TakeByte());
}

void Interpret(Packet& packet)
{
    packet.isFrame = Standin::ReadHeader(packet.bytes.data(), packet.bytes.size(), packet.frame);
}

} // namespace

std::string MakeName(const char* purpose)
{
    return "fuzz." + std::string(purpose) + "." + std::to_string(getpid());
}

Packet TakePacket(FuzzInput& input)
{
    const uint8_t shape = input.TakeByte();
    std::size_t size = input.TakeByte();
    Packet packet;
    const bool isFilled = size == kNearlyFull;
    if ((shape & 1) != 0) {
        const uint8_t* const bytes = input.TakeBytes(size);
        packet.bytes.assign(bytes, bytes + size);
        if (isFilled) {
            Fill(packet.bytes, input);
        }
        Interpret(packet);
        return packet;
    }
    Standin::Frame frame{};
    frame.mKind =
        static_cast<Standin::FrameKind>((shape & 2) != 0 ? input.TakeWord() : 1 + (shape >> 4 & 3));
    frame.mNumber = (shape & 4) != 0 ? input.TakeWord() : shape >> 6;
    frame.mMessageID = static_cast<SInt32>(input.TakeByte());
    const uint32_t lie = (shape & 8) != 0 ? input.TakeWord() : 0;
    const uint8_t* const bytes = input.TakeBytes(size);
    std::vector<unsigned char> data(bytes, bytes + size);
    if (isFilled) {
        Fill(data, input);
    }
    frame.mLength = static_cast<UInt32>(data.size()) + lie;
    packet.bytes.resize(Standin::kHeaderSize);
    Standin::WriteHeader(frame, packet.bytes.data());
    packet.bytes.insert(packet.bytes.end(), data.begin(), data.end());
    Interpret(packet);
    return packet;
}

bool Send(int socket, const Packet& packet, int file)
{
    iovec part = {const_cast<unsigned char*>(packet.bytes.data()), packet.bytes.size()};
    return Standin::SendParts(socket, &part, 1, file) == static_cast<ssize_t>(packet.bytes.size());
}

bool Receive(int socket, Packet& packet)
{
    static unsigned char sBytes[Standin::kHeaderSize + Standin::kLargestData];
    const ssize_t size = recv(socket, sBytes, sizeof sBytes, MSG_DONTWAIT);
    packet.bytes.assign(sBytes, sBytes + (size > 0 ? size : 0));
    Interpret(packet);
    return size > 0;
}

bool IsClosed(int socket)
{
    pollfd entry{};
    entry.fd = socket;
    entry.events = POLLRDHUP;
    return poll(&entry, 1, 0) == 1;
}

} // namespace HostilePeer
