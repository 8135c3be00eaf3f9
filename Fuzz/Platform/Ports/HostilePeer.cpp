// HostilePeer.cpp - packets that need not be frames.

#include "HostilePeer.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace HostilePeer {
namespace {

// More than an acknowledgement and a short reply.
constexpr std::size_t kLargestPacket = 512;

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
    if ((shape & 1) != 0) {
        const uint8_t* const bytes = input.TakeBytes(size);
        packet.bytes.assign(bytes, bytes + size);
        Interpret(packet);
        return packet;
    }
    Standin::Frame frame{};
    frame.mKind =
        static_cast<Standin::FrameKind>((shape & 2) != 0 ? input.TakeWord() : 1 + (shape >> 4 & 3));
    frame.mNumber = (shape & 4) != 0 ? input.TakeWord() : shape >> 6;
    frame.mMessageID = static_cast<SInt32>(input.TakeByte());
    const uint32_t lie = (shape & 8) != 0 ? input.TakeWord() : 0;
    const uint8_t* const data = input.TakeBytes(size);
    frame.mLength = static_cast<UInt32>(size) + lie;
    packet.bytes.resize(Standin::kHeaderSize);
    Standin::WriteHeader(frame, packet.bytes.data());
    packet.bytes.insert(packet.bytes.end(), data, data + size);
    Interpret(packet);
    return packet;
}

bool Send(int socket, const Packet& packet)
{
    return send(socket, packet.bytes.data(), packet.bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) ==
           static_cast<ssize_t>(packet.bytes.size());
}

bool Receive(int socket, Packet& packet)
{
    packet.bytes.resize(kLargestPacket);
    const ssize_t size = recv(socket, packet.bytes.data(), packet.bytes.size(), MSG_DONTWAIT);
    packet.bytes.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
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
