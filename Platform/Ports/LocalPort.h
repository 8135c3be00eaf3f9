// LocalPort.h - the receiving end: a name, and the clients that are connected to it.
//
// A client's packet is taken off its socket only when its turn comes; until that moment it lies in
// the kernel, in memory that is charged to its sender. What one client does therefore costs another
// nothing but its turn. There are as many clients as the process has descriptors; when those are
// used up, the next ones wait in the listening socket, and so do the messages that they send.
#pragma once

#include "Ports/Frame.h"
#include "Ports/PortName.h"
#include "Ports/Tally.h"

#include <CoreFoundation/CFData.h>

#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace Standin {

class LocalPort
{
public:
    /// One message, and whom to answer.
    struct Message
    {
        Frame mFrame;
        CFDataRef mData;
        int mClient;
        UInt32 mGeneration;
    };

    /// Takes a name; null if it is held or descriptors or memory are lacking.
    static std::unique_ptr<LocalPort> Listen(std::string_view name);

    /// Takes the next message, whose data is the caller's to release; false if none is there.
    /// Clients that come, go or send what is no frame are dealt with on the way.
    bool Take(Message& message);
    /// Sends a reply if its client is still there and has room for it; null stands for no bytes.
    void Reply(const Message& message, CFDataRef reply);

    /// Ready when Take has something to do.
    int GetReadiness() const { return mReadiness.Get(); }
    /// True if the client whose turn it is has sent another message: no need to wait.
    bool HasMore();
    /// Lets no client send any more; what has been sent can still be taken.
    void RefuseSenders();
    /// Closes the inherited descriptors of a forked child.
    void CloseInChild();

    /// Held over a fork.
    std::mutex& GetMutex() { return mMutex; }

private:
    struct Client
    {
        FileDescriptor mSocket;
        Tally mTally;
        /// Tells the clients of one descriptor apart.
        UInt32 mGeneration = 0;
        UInt32 mTaken = 0;
    };

    void Accept();
    void Pause();
    void Resume();
    void Drop(Client& client);
    bool TakeFrom(Client& client, Message& message);
    void CountTaken(Client& client);
    bool Watch(int operation, int descriptor, UInt32 events);

    /// Guards everything; not held while a message is handled.
    std::mutex mMutex;
    HeldName mName;
    FileDescriptor mReadiness;
    /// Rings when it is time to look for a free descriptor again.
    FileDescriptor mAlarm;
    bool mIsPaused = false;
    bool mIsRefusing = false;
    /// By their descriptors.
    std::vector<Client> mClients;
    UInt32 mConnected = 0;
    /// The client whose turn it is, and the messages that it may send before the others' turn.
    int mCurrent = 0;
    UInt32 mLeft = 0;
    std::vector<unsigned char> mBuffer;
};

} // namespace Standin
