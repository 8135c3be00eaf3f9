// Connection.cpp - the sending end of message ports.

#include "Ports/Connection.h"

#include "Ports/PortName.h"
#include "Ports/PortSocket.h"

#include <CoreFoundation/CFMessagePort.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <sys/socket.h>

namespace Standin {

namespace {

struct Registry
{
    std::mutex mMutex;
    std::map<std::string, std::weak_ptr<Connection>, std::less<>> mConnections;
    std::vector<Connection*> mAll;
};

// Never destroyed: ports may be released by the last static destructor.
Registry& GetRegistry()
{
    static auto* sRegistry = new Registry;
    return *sRegistry;
}

// A thread that waits for room looks again this often, because another thread of the process may
// have read the acknowledgement that it waits for.
constexpr Nanoseconds kSlice = 10000000;

constexpr std::string_view kDefaultMode = "kCFRunLoopDefaultMode";

} // namespace

/// Lets a loop notice that the server's end is gone. Reads nothing.
class Connection::EndSource : public LoopSource
{
public:
    explicit EndSource(Connection& connection)
        : mConnection(connection.weak_from_this())
        , mSocket(connection.GetSocket())
    {}

    pollfd GetPollEntry() const override
    {
        pollfd entry{};
        entry.fd = mSocket;
        entry.events = POLLRDHUP;
        return entry;
    }

    bool Perform() override
    {
        const auto connection = mConnection.lock();
        return connection != nullptr && connection->NoticeEnd();
    }

private:
    const std::weak_ptr<Connection> mConnection;
    const int mSocket;
};

Connection::Connection(FileDescriptor socket)
    : mSocket(std::move(socket))
{
    Registry& registry = GetRegistry();
    const std::lock_guard lock(registry.mMutex);
    registry.mAll.push_back(this);
}

Connection::~Connection()
{
    if (mEndSource != nullptr) {
        RemoveFromEveryLoop(mEndSource.get());
    }
    Registry& registry = GetRegistry();
    const std::lock_guard lock(registry.mMutex);
    std::erase(registry.mAll, this);
    std::erase_if(registry.mConnections, [](const auto& entry) { return entry.second.expired(); });
}

std::shared_ptr<Connection> Connection::Open(std::string_view name)
{
    Registry& registry = GetRegistry();
    // Declared before the lock: a connection that ends here takes the lock itself.
    std::shared_ptr<Connection> known;
    {
        const std::lock_guard lock(registry.mMutex);
        const auto found = registry.mConnections.find(name);
        if (found != registry.mConnections.end()) {
            known = found->second.lock();
        }
    }
    if (known != nullptr && known->IsAlive()) {
        return known;
    }
    FileDescriptor socket = FindHolder(name);
    if (!socket) {
        return nullptr;
    }
    auto made = std::make_shared<Connection>(std::move(socket));
    made->mEndSource = std::make_shared<EndSource>(*made);
    const std::lock_guard lock(registry.mMutex);
    registry.mConnections.insert_or_assign(std::string(name), made);
    return made;
}

bool Connection::IsAlive() const
{
    if (mIsBroken.load(std::memory_order_acquire) || IsEndNoticed()) {
        return false;
    }
    pollfd entry{};
    entry.fd = mSocket.Get();
    entry.events = POLLRDHUP;
    return poll(&entry, 1, 0) == 0;
}

void Connection::WatchFromThisThread()
{
    CFRunLoopGetCurrent()->Add(mEndSource, kDefaultMode);
}

bool Connection::NoticeEnd()
{
    // The last reply may still be unread; only behind it is the end seen for certain.
    if (ReadArrived()) {
        return false;
    }
    mIsEndNoticed.store(true, std::memory_order_release);
    RemoveFromEveryLoop(mEndSource.get());
    const std::lock_guard lock(mMutex);
    for (Waiter* waiter : mWaiters) {
        waiter->mIsOver.store(true, std::memory_order_release);
        waiter->mLoop->WakeUp();
    }
    return true;
}

void Connection::WaitFor(short events, Nanoseconds deadline) const
{
    pollfd entry{};
    entry.fd = mSocket.Get();
    entry.events = events;
    const timespec timeout = ToTimespec(std::clamp<Nanoseconds>(deadline - Now(), 0, kSlice));
    ppoll(&entry, 1, &timeout, nullptr);
}

void Connection::DeliverReply(const Frame& frame, const unsigned char* data)
{
    const auto found = std::find_if(mWaiters.begin(), mWaiters.end(), [&](const Waiter* waiter) {
        return waiter->mConversation == frame.mNumber;
    });
    // A reply that nobody waits for any more came too late.
    if (found == mWaiters.end()) {
        return;
    }
    Waiter& waiter = **found;
    waiter.mReply =
        Held<CFDataRef>(CFDataCreate(nullptr, data, static_cast<CFIndex>(frame.mLength)));
    mWaiters.erase(found);
    waiter.mIsDone.store(true, std::memory_order_release);
    waiter.mIsOver.store(true, std::memory_order_release);
    // The waiting thread cannot leave before it has taken this connection's mutex once more.
    if (waiter.mLoop != CFRunLoopGetCurrent()) {
        waiter.mLoop->WakeUp();
    }
}

/// Reads one frame; false if there is none.
bool Connection::ReadOne()
{
    unsigned char header[kHeaderSize];
    iovec parts[2];
    parts[0].iov_base = header;
    parts[0].iov_len = sizeof header;
    parts[1].iov_base = mBuffer.data();
    parts[1].iov_len = mBuffer.size();
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = mBuffer.empty() ? 1 : 2;
    ssize_t size = -1;
    do {
        // The size of a packet that does not fit is its whole size; such a reply is one that
        // nobody waits for. A server that ends with messages unread leaves an error in front of
        // what it has sent, which the first look takes away.
        size = recvmsg(mSocket.Get(), &message, MSG_DONTWAIT | MSG_TRUNC);
    } while (size < 0 && (errno == EINTR || errno == ECONNRESET));
    if (size < 0 && errno == EAGAIN) {
        return false;
    }
    Frame frame{};
    if (size <= 0 || !ReadHeader(header, static_cast<std::size_t>(size), frame)) {
        mIsBroken.store(true, std::memory_order_release);
        return false;
    }
    if (frame.mKind == FrameKind::kAcknowledgement) {
        mTaken = frame.mNumber;
    } else if (frame.mKind == FrameKind::kReply && (message.msg_flags & MSG_TRUNC) == 0) {
        DeliverReply(frame, mBuffer.data());
    }
    return true;
}

bool Connection::ReadArrived()
{
    const std::lock_guard lock(mMutex);
    while (!mIsBroken.load(std::memory_order_relaxed) && ReadOne()) {
    }
    return !mIsBroken.load(std::memory_order_relaxed);
}

SInt32 Connection::Send(SInt32 messageID, CFDataRef data, Nanoseconds deadline, Waiter* waiter)
{
    Frame frame{FrameKind::kOneWay, 0, messageID, 0};
    const void* bytes = nullptr;
    if (data != nullptr) {
        frame.mLength = static_cast<UInt32>(CFDataGetLength(data));
        bytes = CFDataGetBytePtr(data);
    }
    if (frame.mLength > kLargestData) {
        return kCFMessagePortTransportError;
    }
    std::unique_lock lock(mMutex);
    if (waiter != nullptr) {
        // Whatever needs memory comes before the message is on its way.
        mBuffer.resize(kLargestData);
        mWaiters.reserve(mWaiters.size() + 1);
        frame.mKind = FrameKind::kRequest;
        frame.mNumber = waiter->mConversation = ++mLastConversation;
    }
    for (bool isLast = false;; isLast = Now() >= deadline) {
        while (!HasRoom() && !mIsBroken.load(std::memory_order_relaxed) && ReadOne()) {
        }
        if (mIsBroken.load(std::memory_order_relaxed)) {
            return kCFMessagePortTransportError;
        }
        short awaited = POLLIN;
        if (HasRoom()) {
            switch (SendFrame(mSocket.Get(), frame, bytes)) {
            case SendResult::kSent:
                ++mSent;
                if (waiter != nullptr) {
                    mWaiters.push_back(waiter);
                }
                return kCFMessagePortSuccess;
            case SendResult::kClosed:
                mIsBroken.store(true, std::memory_order_release);
                return kCFMessagePortTransportError;
            case SendResult::kRefused:
                return kCFMessagePortTransportError;
            case SendResult::kFull:
                awaited = POLLOUT;
            }
        }
        if (isLast) {
            return kCFMessagePortSendTimeout;
        }
        lock.unlock();
        WaitFor(awaited, deadline);
        lock.lock();
    }
}

void Connection::Forget(const Waiter& waiter)
{
    const std::lock_guard lock(mMutex);
    std::erase(mWaiters, &waiter);
}

void Connection::LockAll()
{
    GetRegistry().mMutex.lock();
}

void Connection::UnlockAll()
{
    GetRegistry().mMutex.unlock();
}

void Connection::CloseAllInChild()
{
    for (Connection* connection : GetRegistry().mAll) {
        connection->mIsBroken.store(true, std::memory_order_relaxed);
        connection->mIsEndNoticed.store(true, std::memory_order_relaxed);
        connection->mSocket.Close();
    }
    GetRegistry().mConnections.clear();
}

} // namespace Standin
