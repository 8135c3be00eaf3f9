// MessagePort.cpp - the objects and the calls of message ports.

#include "Ports/MessagePort.h"

#include "Objects/String.h"
#include "Ports/PortFolder.h"
#include "Ports/PortName.h"

#include <Standin/Standin.h>

#include <algorithm>
#include <map>
#include <pthread.h>
#include <sys/socket.h>
#include <vector>

namespace Standin {

namespace {

/// The valid local ports with a name, and every port that a forked child must close.
struct Ports
{
    /// Also guards the source of each port and the port of each source.
    std::mutex mMutex;
    std::map<std::string, __CFMessagePort*, std::less<>> mByName;
    std::vector<__CFMessagePort*> mLocal;
};

// Never destroyed: ports may be released by the last static destructor.
Ports& GetPorts()
{
    static auto* sPorts = new Ports;
    return *sPorts;
}

} // namespace

/// Calls a port's callback when a message is there. Keeps the port alive until it is invalidated.
class LocalPortSource : public LoopSource
{
public:
    explicit LocalPortSource(CFMessagePortRef port)
        : mPort(Retained(port))
        , mReceiver(port->mReceiver.get())
    {}
    ~LocalPortSource() override { const Held<CFMessagePortRef> port(Detach()); }

    pollfd GetPollEntry() const override
    {
        const std::lock_guard lock(GetPorts().mMutex);
        pollfd entry{};
        entry.fd = mReceiver != nullptr ? mReceiver->GetReadiness() : -1;
        entry.events = POLLIN;
        return entry;
    }

    bool HasMore() override
    {
        const std::lock_guard lock(GetPorts().mMutex);
        return mReceiver != nullptr && mReceiver->HasMore();
    }

    bool Perform() override
    {
        Held<CFMessagePortRef> port;
        {
            const std::lock_guard lock(GetPorts().mMutex);
            if (mPort == nullptr) {
                return false;
            }
            port = Held<CFMessagePortRef>(Retained(mPort));
        }
        return port.Get()->HandleOne();
    }

    /// Gives the reference to the port to the caller, who releases it.
    CFMessagePortRef Detach()
    {
        const std::lock_guard lock(GetPorts().mMutex);
        mReceiver = nullptr;
        return std::exchange(mPort, nullptr);
    }

private:
    CFMessagePortRef mPort;
    /// The receiver of mPort; null when mPort is.
    LocalPort* mReceiver;
};

namespace {

// Locks everything of the ports during a fork. Another thread could hold a lock otherwise, and no
// thread of the child would unlock it.
void LockForFork()
{
    GetPorts().mMutex.lock();
    for (const __CFMessagePort* port : GetPorts().mLocal) {
        if (port->mReceiver != nullptr) {
            port->mReceiver->GetMutex().lock();
        }
    }
    Connection::LockAll();
    LockLoops();
}

void UnlockInParent()
{
    UnlockLoops();
    Connection::UnlockAll();
    for (const __CFMessagePort* port : GetPorts().mLocal) {
        if (port->mReceiver != nullptr) {
            port->mReceiver->GetMutex().unlock();
        }
    }
    GetPorts().mMutex.unlock();
}

// A child closes its copies of its parent's ports. With them open, no one would notice that the
// parent is gone, and the child could take the parent's messages.
void CloseInChild()
{
    for (__CFMessagePort* port : GetPorts().mLocal) {
        port->CloseInChild();
    }
    GetPorts().mByName.clear();
    Connection::CloseAllInChild();
    RenewLoopsInChild();
    UnlockInParent();
}

[[maybe_unused]] const int gForkHandlers =
    pthread_atfork(&LockForFork, &UnlockInParent, &CloseInChild);

/// Rounds a send timeout down to milliseconds, as the platform does.
Nanoseconds SendTimeout(CFTimeInterval seconds)
{
    constexpr CFTimeInterval kTenDays = 864000;
    if (seconds >= kTenDays) {
        return DeadlineAfter(1e9, 0);
    }
    const auto milliseconds = seconds > 0 ? static_cast<SInt64>(seconds * 1000) : 0;
    return milliseconds * 1000000;
}

/// A wait for a reply: reads the connection in the thread's loop. Its destructor takes the waiter
/// out of the connection.
class ReplyWait : public LoopSource
{
public:
    explicit ReplyWait(std::shared_ptr<Connection> connection)
        : mConnection(std::move(connection))
    {
        mWaiter.mLoop = CFRunLoopGetCurrent();
    }
    ~ReplyWait() override { mConnection->Forget(mWaiter); }

    Connection::Waiter& GetWaiter() { return mWaiter; }
    bool IsDone() const { return mWaiter.mIsDone.load(std::memory_order_acquire); }

    /// Runs the loop until the reply is there, the time is over or the port has become invalid.
    void Run(const __CFMessagePort& port, std::string_view mode, CFTimeInterval seconds)
    {
        const Nanoseconds deadline = DeadlineAfter(seconds, Now());
        CFTimeInterval left = seconds;
        do {
            mWaiter.mLoop->Run(mode, left, true, this, &mWaiter.mIsOver);
            if (IsDone()) {
                return;
            }
            left = static_cast<CFTimeInterval>(deadline - Now()) * 1e-9;
        } while (left > 0 && port.IsValid());
    }

    pollfd GetPollEntry() const override
    {
        pollfd entry{};
        entry.fd = mConnection->GetSocket();
        entry.events = POLLIN;
        return entry;
    }

    bool Perform() override
    {
        if (!mConnection->ReadArrived()) {
            mConnection->NoticeEnd();
            return true;
        }
        return IsDone();
    }

private:
    const std::shared_ptr<Connection> mConnection;
    Connection::Waiter mWaiter;
};

// The platform returns this status but has no name for it.
constexpr SInt32 kBecameInvalid = -5;

/// Sends a message and waits for its reply. Without memory to send, the status is a transport
/// error; without memory to wait, it is a receive timeout.
SInt32 Request(__CFMessagePort& port, SInt32 messageID, CFDataRef data, Nanoseconds sendTimeout,
               CFTimeInterval receiveTimeout, std::string_view mode, CFDataRef* returnData)
{
    const Held<CFMessagePortRef> kept(Retained(&port));
    SInt32 status = kCFMessagePortTransportError;
    try {
        ReplyWait wait(port.mConnection);
        status = port.mConnection->Send(messageID, data, sendTimeout, &wait.GetWaiter());
        if (status != kCFMessagePortSuccess) {
            return status;
        }
        status = kCFMessagePortReceiveTimeout;
        wait.Run(port, mode, receiveTimeout);
        if (!wait.IsDone()) {
            return port.IsValid() ? status : kBecameInvalid;
        }
        if (returnData != nullptr) {
            *returnData = wait.GetWaiter().mReply.Detach();
        }
        return kCFMessagePortSuccess;
    } catch (const std::bad_alloc&) {
        return status;
    }
}

} // namespace

} // namespace Standin

const Standin::Type __CFMessagePort::kType = {Standin::kMessagePortType, "CFMessagePort",
                                              &Standin::Destroy<__CFMessagePort>};

__CFMessagePort::__CFMessagePort(std::shared_ptr<Standin::Connection> connection)
    : Object(kType)
    , mConnection(std::move(connection))
{}

__CFMessagePort::__CFMessagePort(std::string_view name,
                                 std::unique_ptr<Standin::LocalPort> receiver,
                                 CFMessagePortCallBack callout, const CFMessagePortContext* context)
    : Object(kType)
    , mName(name)
    , mReceiver(std::move(receiver))
    , mCallout(callout)
    , mContext(context != nullptr ? *context : CFMessagePortContext())
{}

__CFMessagePort::~__CFMessagePort()
{
    Invalidate();
    Standin::Ports& ports = Standin::GetPorts();
    const std::lock_guard lock(ports.mMutex);
    std::erase(ports.mLocal, this);
}

bool __CFMessagePort::IsValid() const
{
    return !mIsInvalidated.load(std::memory_order_acquire) &&
           !(IsRemote() && mConnection->IsEndNoticed());
}

void __CFMessagePort::RetainInfo()
{
    if (mContext.retain != nullptr && mContext.info != nullptr) {
        mContext.info = const_cast<void*>(mContext.retain(mContext.info));
    }
}

void __CFMessagePort::Invalidate()
{
    if (mIsInvalidated.exchange(true) || IsRemote()) {
        return;
    }
    Standin::Held<CFRunLoopSourceRef> source;
    {
        Standin::Ports& ports = Standin::GetPorts();
        const std::lock_guard lock(ports.mMutex);
        const auto found = ports.mByName.find(mName);
        if (found != ports.mByName.end() && found->second == this) {
            ports.mByName.erase(found);
        }
        source = Standin::Held<CFRunLoopSourceRef>(std::exchange(mSource, nullptr));
    }
    if (source.Get() != nullptr) {
        Standin::RemoveFromEveryLoop(source.Get()->mSource.get());
        const Standin::Held<CFMessagePortRef> ofSource(
            static_cast<Standin::LocalPortSource&>(*source.Get()->mSource).Detach());
    }
    if (mContext.release != nullptr && mContext.info != nullptr) {
        mContext.release(mContext.info);
    }
}

CFRunLoopSourceRef __CFMessagePort::CopySource()
{
    // Released only after the lock: the destructor of a source takes it too.
    std::shared_ptr<Standin::LocalPortSource> made;
    try {
        made = std::make_shared<Standin::LocalPortSource>(this);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    const std::lock_guard lock(Standin::GetPorts().mMutex);
    if (!IsValid()) {
        return nullptr;
    }
    if (mSource == nullptr) {
        mSource = Standin::Make<__CFRunLoopSource>(made);
    }
    return mSource != nullptr ? Standin::Retained(mSource) : nullptr;
}

void __CFMessagePort::CloseInChild()
{
    mIsInvalidated.store(true);
    if (mReceiver != nullptr) {
        mReceiver->CloseInChild();
    }
}

bool __CFMessagePort::HandleOne()
{
    Standin::LocalPort::Message message;
    if (mReceiver == nullptr || !IsValid() || !mReceiver->Take(message)) {
        return false;
    }
    mSender.store(message.mClient->mProcess, std::memory_order_relaxed);
    const Standin::Held<CFDataRef> reply(
        mCallout != nullptr
            ? mCallout(this, message.mFrame.mMessageID, message.mData.Get(), mContext.info)
            : nullptr);
    if (message.mFrame.mKind == Standin::FrameKind::kRequest) {
        mReceiver->Reply(message, reply.Get());
    }
    return true;
}

CFMessagePortRef CFMessagePortCreateLocal(CFAllocatorRef, CFStringRef name,
                                          CFMessagePortCallBack callout,
                                          CFMessagePortContext* context, Boolean* shouldFreeInfo)
{
    using namespace Standin;
    if (shouldFreeInfo != nullptr) {
        *shouldFreeInfo = false;
    }
    Ports& ports = GetPorts();
    const std::string_view text =
        name != nullptr ? Text(name, "CFMessagePortCreateLocal") : std::string_view();
    std::unique_lock lock(ports.mMutex);
    const auto known = name != nullptr ? ports.mByName.find(text) : ports.mByName.end();
    if (known != ports.mByName.end() && known->second->TryRetain()) {
        if (shouldFreeInfo != nullptr) {
            *shouldFreeInfo = true;
        }
        return known->second;
    }
    std::unique_ptr<LocalPort> receiver;
    if (name != nullptr) {
        receiver = text.size() <= kLongestName ? LocalPort::Listen(text) : nullptr;
        if (receiver == nullptr) {
            return nullptr;
        }
    }
    // Released only after the lock: the destructor of a port takes it too.
    Held<CFMessagePortRef> made;
    try {
        made = Held<CFMessagePortRef>(
            Make<__CFMessagePort>(text, std::move(receiver), callout, context));
        if (made.Get() == nullptr) {
            return nullptr;
        }
        ports.mLocal.push_back(made.Get());
        if (name != nullptr) {
            ports.mByName.insert_or_assign(made.Get()->mName, made.Get());
        }
    } catch (const std::bad_alloc&) {
        lock.unlock();
        if (made.Get() != nullptr) {
            // The destructor must not release the info: it has not been retained.
            made.Get()->mContext = CFMessagePortContext();
        }
        return nullptr;
    }
    lock.unlock();
    made.Get()->RetainInfo();
    return made.Detach();
}

CFMessagePortRef CFMessagePortCreateRemote(CFAllocatorRef, CFStringRef name)
{
    using namespace Standin;
    const std::string_view text = Text(name, "CFMessagePortCreateRemote");
    if (text.size() > kLongestName) {
        return nullptr;
    }
    try {
        std::shared_ptr<Connection> connection = Connection::Open(text);
        if (connection == nullptr) {
            return nullptr;
        }
        connection->WatchFromThisThread();
        return Make<__CFMessagePort>(std::move(connection));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

SInt32 CFMessagePortSendRequest(CFMessagePortRef remote, SInt32 msgid, CFDataRef data,
                                CFTimeInterval sendTimeout, CFTimeInterval rcvTimeout,
                                CFStringRef replyMode, CFDataRef* returnData)
{
    using namespace Standin;
    auto& port = As<__CFMessagePort>(remote, "CFMessagePortSendRequest");
    if (!port.IsRemote()) {
        Misuse("CFMessagePortSendRequest", "the port is a local one");
    }
    if (!port.IsValid()) {
        return kCFMessagePortIsInvalid;
    }
    const Nanoseconds timeout = SendTimeout(sendTimeout);
    if (replyMode == nullptr) {
        return port.mConnection->Send(msgid, data, timeout, nullptr);
    }
    return Request(port, msgid, data, timeout, rcvTimeout,
                   Text(replyMode, "CFMessagePortSendRequest"), returnData);
}

CFRunLoopSourceRef CFMessagePortCreateRunLoopSource(CFAllocatorRef, CFMessagePortRef local, CFIndex)
{
    auto& port = Standin::As<__CFMessagePort>(local, "CFMessagePortCreateRunLoopSource");
    return port.IsRemote() ? nullptr : port.CopySource();
}

void CFMessagePortInvalidate(CFMessagePortRef ms)
{
    Standin::As<__CFMessagePort>(ms, "CFMessagePortInvalidate").Invalidate();
}

SInt32 StandinGetPortHolder(CFStringRef name)
{
    const Standin::FileDescriptor connected =
        Standin::ConnectToHolder(Standin::Text(name, "StandinGetPortHolder"));
    ucred holder{};
    socklen_t size = sizeof holder;
    return getsockopt(connected.Get(), SOL_SOCKET, SO_PEERCRED, &holder, &size) == 0
               ? static_cast<SInt32>(holder.pid)
               : 0;
}

CFStringRef StandinCopyPortFault(void)
{
    std::string fault;
    return Standin::OpenPortFolder(fault) ? nullptr : Standin::MakeString(fault);
}

SInt32 StandinGetSender(CFMessagePortRef local)
{
    return Standin::As<__CFMessagePort>(local, "StandinGetSender")
        .mSender.load(std::memory_order_relaxed);
}

void StandinRefuseSenders(CFMessagePortRef local)
{
    const auto& port = Standin::As<__CFMessagePort>(local, "StandinRefuseSenders");
    if (port.mReceiver != nullptr) {
        port.mReceiver->RefuseSenders();
    }
}
