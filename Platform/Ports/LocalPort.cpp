// LocalPort.cpp - the receiving end of message ports.

#include "Ports/LocalPort.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/timerfd.h>

namespace Standin {

namespace {

// How many events Take handles before it lets the loop look at its other sources.
constexpr int kMostSteps = 64;
// How many messages of the only client are taken before the port looks for other clients.
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
            !port->Watch(EPOLL_CTL_ADD, port->mAlarm.Get(), &port->mAlarm) ||
            !port->Watch(EPOLL_CTL_ADD, port->mName.GetSocket(), &port->mName)) {
            return nullptr;
        }
        return port;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool LocalPort::Watch(int operation, int descriptor, void* what)
{
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.ptr = what;
    return epoll_ctl(mReadiness.Get(), operation, descriptor, &event) == 0;
}

bool LocalPort::Take(Message& message)
{
    const std::lock_guard lock(mMutex);
    if (mSender != nullptr) {
        return HandOver(message);
    }
    if (mLeft > 0) {
        --mLeft;
        if (TakeFrom(*mCurrent)) {
            return HandOver(message);
        }
    }
    // A port that refuses senders handles all that is there: nothing new can be sent.
    for (int step = 0; step < kMostSteps || mIsRefusing; ++step) {
        // One event at a time: the kernel then returns the ready clients in turn.
        epoll_event event{};
        if (epoll_wait(mReadiness.Get(), &event, 1, 0) <= 0) {
            return false;
        }
        if (event.data.ptr == &mName) {
            Accept();
        } else if (event.data.ptr == &mAlarm) {
            Resume();
        } else if (auto& client = *static_cast<Client*>(event.data.ptr); TakeFrom(client)) {
            mCurrent = &client;
            mLeft = (mClients.size() > 1 ? kQueueLimit : kLoneTurn) - 1;
            return HandOver(message);
        }
    }
    return false;
}

bool LocalPort::HasMore()
{
    const std::lock_guard lock(mMutex);
    return mSender != nullptr ||
           (mLeft > 0 && mCurrent->mTally &&
            static_cast<SInt32>(mCurrent->mTally.GetSent() - mCurrent->mTaken) > 0);
}

/// Accepts the next client; false if there is none, or it has to wait.
bool LocalPort::AcceptNext()
{
    // Allocates first: a client that cannot be stored must not be accepted.
    std::shared_ptr<Client> client;
    try {
        client = std::make_shared<Client>();
        mClients.reserve(mClients.size() + 1);
    } catch (const std::bad_alloc&) {
        Pause();
        return false;
    }
    client->mSocket =
        FileDescriptor(accept4(mName.GetSocket(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!client->mSocket) {
        if (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS) {
            Pause();
        } else if (mIsRefusing) {
            Watch(EPOLL_CTL_DEL, mName.GetSocket(), nullptr);
        }
        return false;
    }
    if (mIsRefusing) {
        shutdown(client->mSocket.Get(), SHUT_RD);
    }
    ucred sender{};
    socklen_t size = sizeof sender;
    if (getsockopt(client->mSocket.Get(), SOL_SOCKET, SO_PEERCRED, &sender, &size) == 0) {
        client->mProcess = static_cast<SInt32>(sender.pid);
    }
    mAccepted = std::move(client);
    return true;
}

void LocalPort::Accept()
{
    if (mAccepted == nullptr && !AcceptNext()) {
        return;
    }
    if (!Watch(EPOLL_CTL_ADD, mAccepted->mSocket.Get(), mAccepted.get())) {
        // It may have sent already, so it must not be dropped.
        Pause();
        return;
    }
    mClients.push_back(std::move(mAccepted));
}

/// Accepts no client for a moment, because no descriptor or memory is free. A client that cannot be
/// accepted would otherwise keep the loop busy.
void LocalPort::Pause()
{
    Watch(EPOLL_CTL_DEL, mName.GetSocket(), nullptr);
    mIsPaused = true;
    const itimerspec once = {{0, 0}, {0, kPauseNanoseconds}};
    timerfd_settime(mAlarm.Get(), 0, &once, nullptr);
}

void LocalPort::Resume()
{
    if (!mIsPaused) {
        return;
    }
    if (!Watch(EPOLL_CTL_ADD, mName.GetSocket(), &mName)) {
        Pause();
        return;
    }
    const itimerspec never = {};
    timerfd_settime(mAlarm.Get(), 0, &never, nullptr);
    mIsPaused = false;
    if (mAccepted != nullptr) {
        Accept();
    }
}

void LocalPort::Drop(const Client& client)
{
    // A forked child that has not yet closed its copy would keep the socket in the epoll set.
    Watch(EPOLL_CTL_DEL, client.mSocket.Get(), nullptr);
    if (mCurrent == &client) {
        mLeft = 0;
    }
    const auto found = std::find_if(mClients.begin(), mClients.end(),
                                    [&](const auto& known) { return known.get() == &client; });
    (*found)->mSocket.Close();
    std::swap(*found, mClients.back());
    mClients.pop_back();
    Resume();
}

/// Receives the next packet of a client; false if none is there.
bool LocalPort::TakeFrom(Client& client)
{
    FileDescriptor file;
    const ReceiveResult result = ReceiveFrame(client.mSocket.Get(), mFrame, mBuffer.data(),
                                              mBuffer.size(), client.mTaken == 0 ? &file : nullptr);
    if (result == ReceiveResult::kNothing) {
        return false;
    }
    if (result == ReceiveResult::kClosed || mFrame.mLength > kLargestData ||
        (mFrame.mKind != FrameKind::kOneWay && mFrame.mKind != FrameKind::kRequest)) {
        Drop(client);
        return false;
    }
    if (file) {
        client.mTally = Tally::Map(file);
    }
    mSender = client.shared_from_this();
    CountTaken(client);
    return true;
}

/// Makes the message of the packet that was received last.
bool LocalPort::HandOver(Message& message)
{
    message.mData = Held<CFDataRef>(
        CFDataCreate(nullptr, mBuffer.data(), static_cast<CFIndex>(mFrame.mLength)));
    if (message.mData.Get() == nullptr) {
        // The message waits for memory. A program that wants to hear of it has set a handler.
        if (const std::new_handler handler = std::get_new_handler(); handler != nullptr) {
            handler();
        }
        return false;
    }
    message.mFrame = mFrame;
    message.mClient = std::move(mSender);
    return true;
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
    if (message.mClient->mSocket) {
        // A client that does not read its replies loses them; the server does not wait for it.
        SendFrame(message.mClient->mSocket.Get(), frame,
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
    for (const auto& client : mClients) {
        shutdown(client->mSocket.Get(), SHUT_RD);
    }
    if (mAccepted != nullptr) {
        shutdown(mAccepted->mSocket.Get(), SHUT_RD);
    }
}

void LocalPort::CloseInChild()
{
    mName.CloseInChild();
    mReadiness.Close();
    mAlarm.Close();
    for (const auto& client : mClients) {
        client->mSocket.Close();
    }
    if (mAccepted != nullptr) {
        mAccepted->mSocket.Close();
    }
}

} // namespace Standin
