// PortSocket.cpp - the sockets behind message ports.

#include "Ports/PortSocket.h"

#include <cerrno>
#include <cstddef>
#include <sys/socket.h>
#include <sys/un.h>

namespace Standin {

namespace {

socklen_t ToSocketAddress(std::string_view text, sockaddr_un& address)
{
    static_assert(kLongestAddress == sizeof address.sun_path - 1);
    address = sockaddr_un();
    address.sun_family = AF_UNIX;
    const std::size_t length = text.copy(address.sun_path + 1, kLongestAddress);
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
}

FileDescriptor MakeSocket()
{
    return FileDescriptor(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

} // namespace

FileDescriptor ListenAt(std::string_view address)
{
    FileDescriptor made = MakeSocket();
    sockaddr_un bound;
    const socklen_t size = ToSocketAddress(address, bound);
    if (!made || bind(made.Get(), reinterpret_cast<const sockaddr*>(&bound), size) != 0 ||
        listen(made.Get(), SOMAXCONN) != 0) {
        return FileDescriptor();
    }
    return made;
}

FileDescriptor ConnectTo(std::string_view address)
{
    FileDescriptor made = MakeSocket();
    sockaddr_un target;
    const socklen_t size = ToSocketAddress(address, target);
    int result = -1;
    do {
        result = made ? connect(made.Get(), reinterpret_cast<const sockaddr*>(&target), size) : -1;
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
