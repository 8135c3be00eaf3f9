// Connection.cpp - the sending end of message ports.

#include "Ports/Connection.h"

#include "Ports/PortName.h"

#include <CoreFoundation/CFMessagePort.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <sched.h>

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

// A running server makes room within a few microseconds; that is less than a sleep costs.
constexpr int kMostYields = 30;

// How many packets of the server a send reads before it looks at the clock.
constexpr int kMostReads = 64;

constexpr std::string_view kDefaultMode = "kCFRunLoopDefaultMode";

} // namespace

/// Lets a loop notice that the server is gone. Reads nothing.
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
    , mTally(Tally::Make(mFile))
{}

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
    // Declared before the lock: the destructor of a connection takes the lock too.
    std::shared_ptr<Connection> known;
    std::shared_ptr<Connection> made;
    Registry& registry = GetRegistry();
    const std::lock_guard lock(registry.mMutex);
    const auto found = registry.mConnections.find(name);
    if (found != registry.mConnections.end()) {
        known = found->second.lock();
    }
    if (known != nullptr && known->IsAlive()) {
        return known;
    }
    FileDescriptor socket = ConnectToHolder(name);
    if (!socket) {
        return nullptr;
    }
    made = std::make_shared<Connection>(std::move(socket));
    made->mEndSource = std::make_shared<EndSource>(*made);
    registry.mAll.push_back(made.get());
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
    // Replies may still be unread. Only after the last one is it certain that the server is gone.
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

bool Connection::HasRoom() const
{
    UInt32 taken = mTally ? mTally.GetTaken() : mTaken;
    if (static_cast<SInt32>(mTaken - taken) > 0) {
        taken = mTaken;
    }
    return mSent - taken < kQueueLimit;
}

/// Lets the server run for a moment if there is no room. Only a tally shows new room without a
/// packet.
void Connection::YieldForRoom() const
{
    for (int yields = 0; mTally && yields < kMostYields && !HasRoom(); ++yields) {
        sched_yield();
    }
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
    // No one waits for this reply any more: it came too late.
    if (found == mWaiters.end()) {
        return;
    }
    Waiter& waiter = **found;
    waiter.mReply =
        Held<CFDataRef>(CFDataCreate(nullptr, data, static_cast<CFIndex>(frame.mLength)));
    mWaiters.erase(found);
    waiter.mIsDone.store(true, std::memory_order_release);
    waiter.mIsOver.store(true, std::memory_order_release);
    // The waiter still exists: its thread takes this connection's mutex before it destroys it.
    if (waiter.mLoop != CFRunLoopGetCurrent()) {
        waiter.mLoop->WakeUp();
    }
}

/// Reads one frame; false if there is none.
bool Connection::ReadOne()
{
    Frame frame{};
    switch (ReceiveFrame(mSocket.Get(), frame, mBuffer.data(), mBuffer.size())) {
    case ReceiveResult::kReceived:
        break;
    case ReceiveResult::kNothing:
        return false;
    case ReceiveResult::kClosed:
        mIsBroken.store(true, std::memory_order_release);
        return false;
    }
    if (frame.mKind == FrameKind::kAcknowledgement) {
        mTaken = frame.mNumber;
    } else if (frame.mKind == FrameKind::kReply && frame.mLength <= mBuffer.size()) {
        // A reply that does not fit is dropped.
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

SInt32 Connection::Send(SInt32 messageID, CFDataRef data, Nanoseconds timeout, Waiter* waiter)
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
        mBuffer.resize(kLargestData);
        frame.mKind = FrameKind::kRequest;
        frame.mNumber = waiter->mConversation = ++mLastConversation;
    }
    // The clock is read only if the send has to wait.
    Nanoseconds deadline = 0;
    for (bool isLast = timeout <= 0;; isLast = Now() >= deadline) {
        if (!isLast) {
            YieldForRoom();
        }
        short awaited = POLLIN;
        if (const auto status = SendIfRoom(frame, bytes, waiter, awaited)) {
            return *status;
        }
        if (isLast) {
            return kCFMessagePortSendTimeout;
        }
        if (deadline == 0) {
            deadline = Now() + timeout;
        }
        if (awaited == POLLIN && mTally) {
            mTally.AskForAcknowledgement();
            if (HasRoom()) {
                continue;
            }
        }
        lock.unlock();
        WaitFor(awaited, deadline);
        lock.lock();
    }
}

std::optional<SInt32> Connection::SendIfRoom(const Frame& frame, const void* bytes, Waiter* waiter,
                                             short& awaited)
{
    // A server that never stops writing must not keep the sender from its deadline.
    int left = kMostReads;
    while (left-- > 0 && !HasRoom() && !mIsBroken.load(std::memory_order_relaxed) && ReadOne()) {
    }
    if (mIsBroken.load(std::memory_order_relaxed)) {
        return kCFMessagePortTransportError;
    }
    if (!HasRoom()) {
        return std::nullopt;
    }
    if (waiter != nullptr) {
        // Before the message is sent: if memory ran out after that, no one would get its reply.
        mWaiters.reserve(mWaiters.size() + 1);
    }
    switch (TrySend(frame, bytes)) {
    case SendResult::kSent:
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
    return std::nullopt;
}

SendResult Connection::TrySend(const Frame& frame, const void* data)
{
    SendResult result = SendFrame(mSocket.Get(), frame, data, mFile.Get());
    if (result == SendResult::kRefused && mFile) {
        // The system does not pass the file. The server then acknowledges with packets.
        mFile.Close();
        mTally = Tally();
        result = SendFrame(mSocket.Get(), frame, data);
    }
    if (result == SendResult::kSent) {
        mFile.Close();
        ++mSent;
        if (mTally) {
            mTally.SetSent(mSent);
        }
    }
    return result;
}

void Connection::Forget(const Waiter& waiter)
{
    const std::lock_guard lock(mMutex);
    std::erase(mWaiters, &waiter);
}

void Connection::LockAll()
{
    GetRegistry().mMutex.lock();
    for (Connection* connection : GetRegistry().mAll) {
        connection->mMutex.lock();
    }
}

void Connection::UnlockAll()
{
    for (Connection* connection : GetRegistry().mAll) {
        connection->mMutex.unlock();
    }
    GetRegistry().mMutex.unlock();
}

void Connection::CloseAllInChild()
{
    for (Connection* connection : GetRegistry().mAll) {
        connection->mIsBroken.store(true, std::memory_order_relaxed);
        connection->mIsEndNoticed.store(true, std::memory_order_relaxed);
        connection->mSocket.Close();
        connection->mFile.Close();
    }
    GetRegistry().mConnections.clear();
}

} // namespace Standin
