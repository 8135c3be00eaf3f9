// LocalPort.cpp - the receiving end of message ports.

#include "Ports/LocalPort.h"

#include <cerrno>
#include <new>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/timerfd.h>

namespace Standin {

namespace {

// What Take deals with before it gives the loop a chance to look at its other sources.
constexpr int kMostSteps = 64;
// The messages that a client may send before the port looks for others, if there is no other yet.
constexpr UInt32 kLoneTurn = 64;
// How long a port without a free descriptor waits before it looks for one again.
constexpr long kPauseNanoseconds = 20000000;

} // namespace

std::unique_ptr<LocalPort> LocalPort::Listen(std::string_view name)
{
    try {
        auto port = std::make_unique<LocalPort>();
        port->mReadiness = FileDescriptor(epoll_create1(EPOLL_CLOEXEC));
        port->mAlarm = FileDescriptor(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
        port->mBuffer.resize(kLargestData);
        if (!port->mReadiness || !port->mAlarm || !port->mName.Take(name) ||
            !port->Watch(EPOLL_CTL_ADD, port->mAlarm.Get(), EPOLLIN) ||
            !port->Watch(EPOLL_CTL_ADD, port->mName.GetSocket(), EPOLLIN)) {
            return nullptr;
        }
        return port;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool LocalPort::Watch(int operation, int descriptor, UInt32 events)
{
    epoll_event event{};
    event.events = events;
    event.data.fd = descriptor;
    return epoll_ctl(mReadiness.Get(), operation, descriptor, &event) == 0;
}

bool LocalPort::Take(Message& message)
{
    const std::lock_guard lock(mMutex);
    if (mLeft > 0) {
        --mLeft;
        if (TakeFrom(mClients[static_cast<std::size_t>(mCurrent)], message)) {
            return true;
        }
    }
    // A port that refuses senders comes to its end, however many there are to deal with.
    for (int step = 0; step < kMostSteps || mIsRefusing; ++step) {
        // One event at a time: the kernel then hands the ready clients out in turn.
        epoll_event event{};
        if (epoll_wait(mReadiness.Get(), &event, 1, 0) <= 0) {
            return false;
        }
        const int ready = event.data.fd;
        if (ready == mName.GetSocket()) {
            Accept();
            continue;
        }
        if (ready == mAlarm.Get()) {
            Resume();
            continue;
        }
        if (TakeFrom(mClients[static_cast<std::size_t>(ready)], message)) {
            mCurrent = ready;
            mLeft = (mConnected > 1 ? kQueueLimit : kLoneTurn) - 1;
            return true;
        }
    }
    return false;
}

bool LocalPort::HasMore()
{
    const std::lock_guard lock(mMutex);
    if (mLeft == 0) {
        return false;
    }
    const Client& client = mClients[static_cast<std::size_t>(mCurrent)];
    return client.mTally && static_cast<SInt32>(client.mTally.GetSent() - client.mTaken) > 0;
}

void LocalPort::Accept()
{
    const int fresh = accept4(mName.GetSocket(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fresh < 0) {
        if (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS) {
            Pause();
        } else if (mIsRefusing) {
            Watch(EPOLL_CTL_DEL, mName.GetSocket(), 0);
        }
        return;
    }
    FileDescriptor socket(fresh);
    const auto index = static_cast<std::size_t>(socket.Get());
    if (!socket || !Watch(EPOLL_CTL_ADD, socket.Get(), EPOLLIN)) {
        return;
    }
    if (mIsRefusing) {
        shutdown(socket.Get(), SHUT_RD);
    }
    if (mClients.size() <= index) {
        mClients.resize(index + 1);
    }
    mClients[index].mSocket = std::move(socket);
    ++mConnected;
}

/// Leaves the clients that come where they are until a descriptor is free. Without this a client
/// that cannot be accepted would keep the loop busy.
void LocalPort::Pause()
{
    Watch(EPOLL_CTL_DEL, mName.GetSocket(), 0);
    mIsPaused = true;
    const itimerspec once = {{0, 0}, {0, kPauseNanoseconds}};
    timerfd_settime(mAlarm.Get(), 0, &once, nullptr);
}

void LocalPort::Resume()
{
    if (mIsPaused) {
        const itimerspec never = {};
        timerfd_settime(mAlarm.Get(), 0, &never, nullptr);
        mIsPaused = false;
        Watch(EPOLL_CTL_ADD, mName.GetSocket(), EPOLLIN);
    }
}

void LocalPort::Drop(Client& client)
{
    // A forked child that has not yet closed its copy would keep the socket in the watch.
    Watch(EPOLL_CTL_DEL, client.mSocket.Get(), 0);
    const UInt32 generation = client.mGeneration + 1;
    client = Client();
    client.mGeneration = generation;
    --mConnected;
    Resume();
}

bool LocalPort::TakeFrom(Client& client, Message& message)
{
    if (!client.mSocket) {
        return false;
    }
    Frame frame{};
    FileDescriptor file;
    const ReceiveResult result = ReceiveFrame(client.mSocket.Get(), frame, mBuffer.data(),
                                              mBuffer.size(), client.mTaken == 0 ? &file : nullptr);
    if (result == ReceiveResult::kNothing) {
        return false;
    }
    if (result == ReceiveResult::kClosed || frame.mLength > kLargestData ||
        (frame.mKind != FrameKind::kOneWay && frame.mKind != FrameKind::kRequest)) {
        Drop(client);
        return false;
    }
    if (file) {
        client.mTally = Tally::Map(file);
    }
    message = {frame, nullptr, client.mSocket.Get(), client.mGeneration};
    message.mData = CFDataCreate(nullptr, mBuffer.data(), static_cast<CFIndex>(frame.mLength));
    CountTaken(client);
    return message.mData != nullptr;
}

void LocalPort::CountTaken(Client& client)
{
    ++client.mTaken;
    if (client.mTally) {
        client.mTally.SetTaken(client.mTaken);
    }
    if (!client.mTally || client.mTally.IsAcknowledgementAskedFor()) {
        SendFrame(client.mSocket.Get(), {FrameKind::kAcknowledgement, client.mTaken, 0, 0},
                  nullptr);
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
    const Client& client = mClients[static_cast<std::size_t>(message.mClient)];
    if (client.mSocket && client.mGeneration == message.mGeneration) {
        // A client that does not read its replies loses them; the server does not wait for it.
        SendFrame(client.mSocket.Get(), frame,
                  reply != nullptr ? CFDataGetBytePtr(reply) : nullptr);
    }
}

void LocalPort::RefuseSenders()
{
    const std::lock_guard lock(mMutex);
    mIsRefusing = true;
    Resume();
    // What is in a socket's queue stays there; a later send fails.
    shutdown(mName.GetSocket(), SHUT_RD);
    for (const Client& client : mClients) {
        if (client.mSocket) {
            shutdown(client.mSocket.Get(), SHUT_RD);
        }
    }
}

void LocalPort::CloseInChild()
{
    mName.CloseInChild();
    mReadiness.Close();
    mAlarm.Close();
    for (Client& client : mClients) {
        client.mSocket.Close();
    }
}

} // namespace Standin
