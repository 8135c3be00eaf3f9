// Frame.cpp - frames to bytes and back, and over a socket.

#include "Ports/Frame.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>

namespace Standin {

namespace {

constexpr UInt32 kMagic = 0x51585031;

void WriteWord(unsigned char* bytes, UInt32 word)
{
    bytes[0] = static_cast<unsigned char>(word >> 24);
    bytes[1] = static_cast<unsigned char>(word >> 16 & 0xFF);
    bytes[2] = static_cast<unsigned char>(word >> 8 & 0xFF);
    bytes[3] = static_cast<unsigned char>(word & 0xFF);
}

UInt32 ReadWord(const unsigned char* bytes)
{
    return static_cast<UInt32>(bytes[0]) << 24 | static_cast<UInt32>(bytes[1]) << 16 |
           static_cast<UInt32>(bytes[2]) << 8 | static_cast<UInt32>(bytes[3]);
}

} // namespace

void WriteHeader(const Frame& frame, unsigned char* bytes)
{
    WriteWord(bytes, kMagic);
    WriteWord(bytes + 4, static_cast<UInt32>(frame.mKind));
    WriteWord(bytes + 8, frame.mNumber);
    WriteWord(bytes + 12, static_cast<UInt32>(frame.mMessageID));
    WriteWord(bytes + 16, frame.mLength);
}

bool ReadHeader(const unsigned char* bytes, std::size_t size, Frame& frame)
{
    if (size < kHeaderSize || ReadWord(bytes) != kMagic) {
        return false;
    }
    const UInt32 kind = ReadWord(bytes + 4);
    if (kind < static_cast<UInt32>(FrameKind::kOneWay) ||
        kind > static_cast<UInt32>(FrameKind::kReply)) {
        return false;
    }
    frame.mKind = static_cast<FrameKind>(kind);
    frame.mNumber = ReadWord(bytes + 8);
    frame.mMessageID = static_cast<SInt32>(ReadWord(bytes + 12));
    frame.mLength = ReadWord(bytes + 16);
    return frame.mLength == size - kHeaderSize;
}

ssize_t SendParts(int socket, iovec* parts, std::size_t count, int file)
{
    msghdr packet{};
    packet.msg_iov = parts;
    packet.msg_iovlen = count;
    alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof file)] = {};
    if (file >= 0) {
        packet.msg_control = control;
        packet.msg_controllen = sizeof control;
        cmsghdr* const entry = CMSG_FIRSTHDR(&packet);
        entry->cmsg_level = SOL_SOCKET;
        entry->cmsg_type = SCM_RIGHTS;
        entry->cmsg_len = CMSG_LEN(sizeof file);
        std::memcpy(CMSG_DATA(entry), &file, sizeof file);
    }
    ssize_t size = -1;
    do {
        size = sendmsg(socket, &packet, MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (size < 0 && errno == EINTR);
    return size;
}

SendResult SendFrame(int socket, const Frame& frame, const void* data, int file)
{
    unsigned char header[kHeaderSize];
    WriteHeader(frame, header);
    iovec parts[2] = {{header, sizeof header}, {const_cast<void*>(data), frame.mLength}};
    if (SendParts(socket, parts, frame.mLength > 0 ? 2 : 1, file) >= 0) {
        return SendResult::kSent;
    }
    switch (errno) {
    case EAGAIN:
        return SendResult::kFull;
    case EMSGSIZE:
    case ENOBUFS:
    case ENOMEM:
    case ETOOMANYREFS:
        return SendResult::kRefused;
    default:
        return SendResult::kClosed;
    }
}

ReceiveResult ReceiveFrame(int socket, Frame& frame, void* data, std::size_t room,
                           FileDescriptor* file)
{
    unsigned char header[kHeaderSize];
    iovec parts[2] = {{header, sizeof header}, {data, room}};
    msghdr packet{};
    packet.msg_iov = parts;
    packet.msg_iovlen = 2;
    // Room for one file: the system closes all others.
    alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof(int))];
    if (file != nullptr) {
        packet.msg_control = control;
        packet.msg_controllen = sizeof control;
    }
    ssize_t size = -1;
    do {
        // If the other end has closed with packets unread, the first call gives ECONNRESET, and the
        // next calls give the packets that it had sent.
        size = recvmsg(socket, &packet, MSG_DONTWAIT | MSG_TRUNC | MSG_CMSG_CLOEXEC);
    } while (size < 0 && (errno == EINTR || errno == ECONNRESET));
    if (size < 0 && errno == EAGAIN) {
        return ReceiveResult::kNothing;
    }
    const cmsghdr* const entry = file != nullptr && size >= 0 ? CMSG_FIRSTHDR(&packet) : nullptr;
    if (entry != nullptr && entry->cmsg_level == SOL_SOCKET && entry->cmsg_type == SCM_RIGHTS &&
        entry->cmsg_len == CMSG_LEN(sizeof(int))) {
        int passed = -1;
        std::memcpy(&passed, CMSG_DATA(entry), sizeof passed);
        *file = FileDescriptor(passed);
    }
    return size > 0 && ReadHeader(header, static_cast<std::size_t>(size), frame)
               ? ReceiveResult::kReceived
               : ReceiveResult::kClosed;
}

} // namespace Standin
