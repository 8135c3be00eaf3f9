// LocalPort.h - the receiving end: a name, and the clients that are connected to it.
//
// A client's packet is taken off its socket only when its turn comes, and acknowledged then; until
// that moment it lies in the kernel, in memory that is charged to its sender. What one client does
// therefore costs another nothing but its turn.
#pragma once

#include "Ports/FileDescriptor.h"
#include "Ports/Frame.h"

#include <CoreFoundation/CFData.h>

#include <memory>
#include <mutex>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace Standin {

/// The clients that a port serves at the same time, in all and of one process.
inline constexpr std::size_t kMostClients = 128;
inline constexpr std::size_t kMostClientsOfProcess = 8;

class LocalPort
{
public:
    /// One message, and whom to answer.
    struct Message
    {
        Frame mFrame;
        CFDataRef mData;
        UInt32 mSlot;
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
    /// Closes the inherited descriptors of a forked child.
    void CloseInChild();

private:
    struct Client
    {
        FileDescriptor mSocket;
        pid_t mProcess = 0;
        /// Tells the clients of one slot apart.
        UInt32 mGeneration = 0;
        UInt32 mTaken = 0;
        /// An acknowledgement found the client's buffer full.
        bool mOwesAcknowledgement = false;
    };

    void Accept();
    bool Admit(FileDescriptor socket);
    void RefuseOne();
    void Drop(UInt32 slot);
    bool TakeFrom(UInt32 slot, Message& message);
    void Acknowledge(UInt32 slot);
    bool Watch(int operation, int descriptor, UInt32 events, UInt32 slot);

    /// Guards everything; not held while a message is handled.
    std::mutex mMutex;
    FileDescriptor mListening;
    FileDescriptor mReadiness;
    /// Given up for a moment to accept, and so to refuse, a client when no descriptor is left.
    FileDescriptor mSpare;
    std::vector<Client> mClients;
    std::vector<unsigned char> mBuffer;
};

} // namespace Standin
