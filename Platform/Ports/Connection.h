// Connection.h - the sending end: what all remote ports of one name in a process share.
//
// The ports of a process share their way to the server, so that messages of different devices
// arrive in the order in which they were sent. The sender counts the messages that the server has
// not yet taken, and waits when they are kQueueLimit. The server tells how many it has taken
// through the tally or in acknowledgements.
#pragma once

#include "Ports/FileDescriptor.h"
#include "Ports/Frame.h"
#include "Ports/RunLoop.h"
#include "Ports/Tally.h"
#include "Threads/Clock.h"

#include <CoreFoundation/CFData.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace Standin {

class Connection : public std::enable_shared_from_this<Connection>
{
public:
    /// One reply that a thread waits for.
    struct Waiter
    {
        UInt32 mConversation = 0;
        __CFRunLoop* mLoop = nullptr;
        std::atomic<bool> mIsDone{false};
        /// The reply is there, or none will come.
        std::atomic<bool> mIsOver{false};
        Held<CFDataRef> mReply;
    };

    /// Finds or makes the connection to the holder of a name; null if no process holds it. Threads
    /// that ask at the same time get the same one.
    static std::shared_ptr<Connection> Open(std::string_view name);

    explicit Connection(FileDescriptor socket);
    ~Connection();

    /// Sends one message; waits for room for at most `timeout`. With a waiter, the message is a
    /// request, and the waiter gets its reply. Returns a message-port status.
    SInt32 Send(SInt32 messageID, CFDataRef data, Nanoseconds timeout, Waiter* waiter);
    void Forget(const Waiter& waiter);

    /// Reads what the server has sent. Returns false once the server is gone.
    bool ReadArrived();

    /// Makes the calling thread's loop notice when the server is gone.
    void WatchFromThisThread();
    /// Makes the ports of this connection invalid if the server is gone; true if it is.
    bool NoticeEnd();
    bool IsEndNoticed() const { return mIsEndNoticed.load(std::memory_order_acquire); }
    bool IsAlive() const;
    int GetSocket() const { return mSocket.Get(); }

    /// For a fork: the connections are locked during it, and the child closes its copies.
    static void LockAll();
    static void UnlockAll();
    static void CloseAllInChild();

private:
    class EndSource;

    bool ReadOne();
    void DeliverReply(const Frame& frame, const unsigned char* data);
    /// Returns the status of the send, or nothing if it has to wait for `awaited` (poll).
    std::optional<SInt32> SendIfRoom(const Frame& frame, const void* bytes, Waiter* waiter,
                                     short& awaited);
    SendResult TrySend(const Frame& frame, const void* data);
    bool HasRoom() const;
    void YieldForRoom() const;
    void WaitFor(short events, Nanoseconds deadline) const;

    FileDescriptor mSocket;
    /// Set once the server is known to be gone. The ports become invalid only with mIsEndNoticed.
    std::atomic<bool> mIsBroken{false};
    std::atomic<bool> mIsEndNoticed{false};
    std::shared_ptr<EndSource> mEndSource;

    /// Guards everything below.
    std::mutex mMutex;
    UInt32 mSent = 0;
    /// The number in the last acknowledgement.
    UInt32 mTaken = 0;
    /// The tally's file, until it has been sent with the first message.
    FileDescriptor mFile;
    Tally mTally;
    UInt32 mLastConversation = 0;
    std::vector<Waiter*> mWaiters;
    /// Room for a reply; empty until the first request.
    std::vector<unsigned char> mBuffer;
};

} // namespace Standin
