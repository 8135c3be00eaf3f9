// LocalPort.h - the receiving end: a name, and the clients that are connected to it.
//
// A client's packet is taken off its socket only when its turn comes; until that moment it lies in
// the kernel, in memory that is charged to its sender. What one client does therefore costs another
// nothing but its turn. There are as many clients as the process has descriptors; when those are
// used up, the next ones wait in the listening socket, and so do the messages that they send.
#pragma once

#include "Objects/Object.h"
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
    /// One end of a connection, until the client or the port is gone.
    struct Client : std::enable_shared_from_this<Client>
    {
        FileDescriptor mSocket;
        Tally mTally;
        UInt32 mTaken = 0;
    };

    /// One message, and whom to answer.
    struct Message
    {
        Frame mFrame{};
        Held<CFDataRef> mData{};
        std::shared_ptr<Client> mClient;
    };

    /// Takes a name; null if it is held or descriptors or memory are lacking.
    static std::unique_ptr<LocalPort> Listen(std::string_view name);

    /// Takes the next message; false if none is there, or no memory for it: it then stays and is
    /// the next one. Clients that come, go or send what is no frame are dealt with on the way.
    bool Take(Message& message);
    /// Sends a reply if its client is still there and has room for it; null stands for no bytes.
    void Reply(const Message& message, CFDataRef reply);

    /// Ready when Take has something to do.
    int GetReadiness() const { return mReadiness.Get(); }
    /// True if a message is there for certain: no need to wait.
    bool HasMore();
    /// Lets no client send any more; what has been sent can still be taken.
    void RefuseSenders();
    /// Closes the inherited descriptors of a forked child.
    void CloseInChild();

    /// Held over a fork.
    std::mutex& GetMutex() { return mMutex; }

private:
    void Accept();
    void Pause();
    void Resume();
    void Drop(const Client& client);
    bool TakeFrom(Client& client);
    void CountTaken(Client& client);
    bool HandOver(Message& message);
    bool Watch(int operation, int descriptor, void* what);

    /// Guards everything; not held while a message is handled.
    std::mutex mMutex;
    HeldName mName;
    FileDescriptor mReadiness;
    /// Rings when it is time to look for a free descriptor again.
    FileDescriptor mAlarm;
    bool mIsPaused = false;
    bool mIsRefusing = false;
    std::vector<std::shared_ptr<Client>> mClients;
    /// The client whose turn it is, and the messages that it may send before the others' turn.
    Client* mCurrent = nullptr;
    UInt32 mLeft = 0;
    /// The packet that was received last. Its message is handed over unless its client is null.
    Frame mFrame{};
    std::shared_ptr<Client> mSender;
    std::vector<unsigned char> mBuffer;
};

} // namespace Standin
