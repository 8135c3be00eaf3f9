// LocalPort.cpp - the receiving end of message ports.

#include "Ports/LocalPort.h"

#include "Ports/PortName.h"
#include "Ports/PortSocket.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace Standin {

namespace {

constexpr UInt32 kListeningSlot = 0xFFFFFFFF;
// What Take deals with before it gives the loop a chance to look at its other sources.
constexpr int kMostSteps = 64;

FileDescriptor OpenSpare()
{
    return FileDescriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

} // namespace

std::unique_ptr<LocalPort> LocalPort::Listen(std::string_view name)
{
    try {
        auto port = std::make_unique<LocalPort>();
        port->mListening = TakeName(name);
        port->mReadiness = FileDescriptor(epoll_create1(EPOLL_CLOEXEC));
        port->mSpare = OpenSpare();
        if (!port->mListening || !port->mReadiness || !port->mSpare ||
            !port->Watch(EPOLL_CTL_ADD, port->mListening.Get(), EPOLLIN, kListeningSlot)) {
            return nullptr;
        }
        port->mClients.resize(kMostClients);
        port->mBuffer.resize(kLargestData);
        return port;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool LocalPort::Watch(int operation, int descriptor, UInt32 events, UInt32 slot)
{
    epoll_event event{};
    event.events = events;
    event.data.u32 = slot;
    return epoll_ctl(mReadiness.Get(), operation, descriptor, &event) == 0;
}

bool LocalPort::Take(Message& message)
{
    const std::lock_guard lock(mMutex);
    for (int step = 0; step < kMostSteps; ++step) {
        // One event at a time: the kernel then hands the ready clients out in turn.
        epoll_event event{};
        if (epoll_wait(mReadiness.Get(), &event, 1, 0) <= 0) {
            return false;
        }
        const UInt32 slot = event.data.u32;
        if (slot == kListeningSlot) {
            Accept();
            continue;
        }
        if ((event.events & EPOLLOUT) != 0) {
            Acknowledge(slot);
        }
        if ((event.events & ~static_cast<UInt32>(EPOLLOUT)) != 0 && TakeFrom(slot, message)) {
            return true;
        }
    }
    return false;
}

void LocalPort::Accept()
{
    const int fresh = accept4(mListening.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fresh >= 0) {
        Admit(FileDescriptor(fresh));
    } else if (errno == EMFILE || errno == ENFILE) {
        RefuseOne();
    }
}

/// Takes one client in; it is closed at once if it is another user's or one too many.
bool LocalPort::Admit(FileDescriptor socket)
{
    pid_t process = 0;
    if (!socket || !HasOwnPeer(socket.Get(), process)) {
        return false;
    }
    const auto ofProcess =
        std::count_if(mClients.begin(), mClients.end(), [&](const Client& client) {
            return client.mSocket && client.mProcess == process;
        });
    const auto vacant = std::find_if(mClients.begin(), mClients.end(),
                                     [](const Client& client) { return !client.mSocket; });
    if (static_cast<std::size_t>(ofProcess) >= kMostClientsOfProcess || vacant == mClients.end() ||
        !Watch(EPOLL_CTL_ADD, socket.Get(), EPOLLIN,
               static_cast<UInt32>(vacant - mClients.begin()))) {
        return false;
    }
    vacant->mSocket = std::move(socket);
    vacant->mProcess = process;
    vacant->mTaken = 0;
    vacant->mOwesAcknowledgement = false;
    return true;
}

/// Without this a waiting client that cannot be accepted would keep the loop busy for ever.
void LocalPort::RefuseOne()
{
    mSpare.Close();
    FileDescriptor(accept4(mListening.Get(), nullptr, nullptr, SOCK_CLOEXEC)).Close();
    mSpare = OpenSpare();
}

void LocalPort::Drop(UInt32 slot)
{
    Client& client = mClients[slot];
    client.mSocket.Close();
    ++client.mGeneration;
}

bool LocalPort::TakeFrom(UInt32 slot, Message& message)
{
    Client& client = mClients[slot];
    if (!client.mSocket) {
        return false;
    }
    unsigned char header[kHeaderSize];
    iovec parts[2];
    parts[0].iov_base = header;
    parts[0].iov_len = sizeof header;
    parts[1].iov_base = mBuffer.data();
    parts[1].iov_len = mBuffer.size();
    msghdr packet{};
    packet.msg_iov = parts;
    packet.msg_iovlen = 2;
    ssize_t size = -1;
    do {
        // A client that ends with acknowledgements unread leaves an error in front of its last
        // messages, which the first look takes away.
        size = recvmsg(client.mSocket.Get(), &packet, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    } while (size < 0 && (errno == EINTR || errno == ECONNRESET));
    if (size < 0 && errno == EAGAIN) {
        return false;
    }
    Frame frame{};
    if (size <= 0 || (packet.msg_flags & MSG_TRUNC) != 0 ||
        !ReadHeader(header, static_cast<std::size_t>(size), frame) ||
        (frame.mKind != FrameKind::kOneWay && frame.mKind != FrameKind::kRequest)) {
        Drop(slot);
        return false;
    }
    message = {frame, nullptr, slot, client.mGeneration};
    message.mData = CFDataCreate(nullptr, mBuffer.data(), static_cast<CFIndex>(frame.mLength));
    ++client.mTaken;
    Acknowledge(slot);
    return message.mData != nullptr;
}

void LocalPort::Acknowledge(UInt32 slot)
{
    Client& client = mClients[slot];
    if (!client.mSocket) {
        return;
    }
    const Frame frame{FrameKind::kAcknowledgement, client.mTaken, 0, 0};
    const SendResult result = SendFrame(client.mSocket.Get(), frame, nullptr);
    const bool owes = result == SendResult::kFull || result == SendResult::kRefused;
    if (owes != client.mOwesAcknowledgement) {
        client.mOwesAcknowledgement = owes;
        Watch(EPOLL_CTL_MOD, client.mSocket.Get(),
              static_cast<UInt32>(EPOLLIN) | (owes ? static_cast<UInt32>(EPOLLOUT) : 0u), slot);
    }
}

void LocalPort::Reply(const Message& message, CFDataRef reply)
{
    const CFIndex length = reply != nullptr ? CFDataGetLength(reply) : 0;
    const Frame frame{FrameKind::kReply, message.mFrame.mNumber, message.mFrame.mMessageID,
                      static_cast<UInt32>(length)};
    if (frame.mLength > kLargestData) {
        return;
    }
    const std::lock_guard lock(mMutex);
    const Client& client = mClients[message.mSlot];
    if (client.mSocket && client.mGeneration == message.mGeneration) {
        // A client that does not read its replies loses them, and nobody waits for it.
        SendFrame(client.mSocket.Get(), frame,
                  reply != nullptr ? CFDataGetBytePtr(reply) : nullptr);
    }
}

void LocalPort::CloseInChild()
{
    mListening.Close();
    mReadiness.Close();
    mSpare.Close();
    for (Client& client : mClients) {
        client.mSocket.Close();
    }
}

} // namespace Standin
