// LocalPort.h - the receiving end: a name, and the clients that are connected to it.
//
// A client's packet is read from its socket only when the client's turn comes. Until then it stays
// in the kernel, in memory that counts as the sender's. So a client can make others wait for its
// turn, but can take nothing else from them. There are as many clients as the process has
// descriptors; when those are used up, the next ones wait in the listening socket, and so do the
// messages that they send.
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
    /// The server's end of a connection, until the client or the port is gone.
    struct Client : std::enable_shared_from_this<Client>
    {
        FileDescriptor mSocket;
        SInt32 mProcess = 0;
        Tally mTally;
        UInt32 mTaken = 0;
    };

    /// One message, and the client that gets the reply.
    struct Message
    {
        Frame mFrame{};
        Held<CFDataRef> mData{};
        std::shared_ptr<Client> mClient;
    };

    /// Takes a name; null if it is held already, or there are no more descriptors or memory.
    static std::unique_ptr<LocalPort> Listen(std::string_view name);

    /// Takes the next message. Returns false if there is none, or no memory for it: it then stays
    /// the next one. Also accepts new clients, and drops those that are gone or send an invalid
    /// frame.
    bool Take(Message& message);
    /// Sends a reply if its client is still there and has room for it; null stands for no bytes.
    void Reply(const Message& message, CFDataRef reply);

    /// A descriptor that is ready when Take has something to do.
    int GetReadiness() const { return mReadiness.Get(); }
    /// True if a message is certainly there, so that no wait is needed.
    bool HasMore();
    /// Makes every later send fail. What has been sent can still be taken.
    void RefuseSenders();
    /// Closes the inherited descriptors of a forked child.
    void CloseInChild();

    /// Locked during a fork.
    std::mutex& GetMutex() { return mMutex; }

private:
    void Accept();
    bool AcceptNext();
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
    /// A timer, ready when it is time to look for a free descriptor again.
    FileDescriptor mAlarm;
    bool mIsPaused = false;
    bool mIsRefusing = false;
    std::vector<std::shared_ptr<Client>> mClients;
    /// A client that is accepted but not yet watched: the system had no memory for that.
    std::shared_ptr<Client> mAccepted;
    /// The client whose turn it is, and the messages that it may send before the others' turn.
    Client* mCurrent = nullptr;
    UInt32 mLeft = 0;
    /// The packet that was received last, and its client: null once HandOver has made the message.
    Frame mFrame{};
    std::shared_ptr<Client> mSender;
    std::vector<unsigned char> mBuffer;
};

} // namespace Standin
