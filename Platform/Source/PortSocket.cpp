// PortSocket.cpp - the sockets behind message ports.

#include "PortSocket.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

namespace Standin {

namespace {

/// The abstract address of a name. Names that do not fit are told apart by two hashes.
socklen_t MakeAddress(std::string_view name, sockaddr_un& address)
{
    address = sockaddr_un();
    address.sun_family = AF_UNIX;
    char* const path = address.sun_path + 1;
    constexpr std::size_t kRoom = sizeof address.sun_path - 1;
    int used = std::snprintf(path, kRoom, "qx-port:%lu:", static_cast<unsigned long>(geteuid()));
    auto length = static_cast<std::size_t>(used);
    if (name.size() <= kRoom - length) {
        std::memcpy(path + length, name.data(), name.size());
        length += name.size();
    } else {
        UInt64 forward = 0xCBF29CE484222325u;
        UInt64 backward = forward;
        for (std::size_t index = 0; index < name.size(); ++index) {
            forward = (forward ^ static_cast<unsigned char>(name[index])) * 0x100000001B3u;
            backward = (backward ^ static_cast<unsigned char>(name[name.size() - 1 - index])) *
                       0x100000001B3u;
        }
        used = std::snprintf(path + length, kRoom - length, "#%016llx%016llx", forward, backward);
        length += static_cast<std::size_t>(used);
    }
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
}

FileDescriptor MakeSocket()
{
    return FileDescriptor(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

} // namespace

FileDescriptor ListenAt(std::string_view name)
{
    FileDescriptor made = MakeSocket();
    sockaddr_un address;
    const socklen_t size = MakeAddress(name, address);
    if (!made || bind(made.Get(), reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
        listen(made.Get(), SOMAXCONN) != 0) {
        return FileDescriptor();
    }
    return made;
}

FileDescriptor ConnectTo(std::string_view name)
{
    FileDescriptor made = MakeSocket();
    sockaddr_un address;
    const socklen_t size = MakeAddress(name, address);
    int result = -1;
    do {
        result = made ? connect(made.Get(), reinterpret_cast<const sockaddr*>(&address), size) : -1;
    } while (made && result != 0 && errno == EINTR);
    pid_t holder = 0;
    if (result != 0 || !HasOwnPeer(made.Get(), holder)) {
        return FileDescriptor();
    }
    return made;
}

bool IsOwnUser(uid_t peer)
{
    return peer == geteuid();
}

bool HasOwnPeer(int socket, pid_t& process)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        return false;
    }
    process = peer.pid;
    return IsOwnUser(peer.uid);
}

SendResult SendFrame(int socket, const Frame& frame, const void* data)
{
    unsigned char header[kHeaderSize];
    WriteHeader(frame, header);
    iovec parts[2];
    parts[0].iov_base = header;
    parts[0].iov_len = sizeof header;
    parts[1].iov_base = const_cast<void*>(data);
    parts[1].iov_len = frame.mLength;
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = frame.mLength > 0 ? 2 : 1;
    for (;;) {
        if (sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT) >= 0) {
            return SendResult::kSent;
        }
        switch (errno) {
        case EINTR:
            break;
        case EAGAIN:
            return SendResult::kFull;
        case EMSGSIZE:
        case ENOBUFS:
        case ENOMEM:
            return SendResult::kRefused;
        default:
            return SendResult::kClosed;
        }
    }
}

} // namespace Standin
