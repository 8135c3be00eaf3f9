// Tally.h - the counts of the two ends of a connection, in memory that they share.
//
// The client makes the memory and sends its file along with the first message. From then on the
// client sees how much the server has taken, and the server how much has been sent, without a
// packet and without a system call. A server that has not received the file, because it had no free
// descriptor, acknowledges each message with a packet instead.
#pragma once

#include "Ports/FileDescriptor.h"

#include <CoreFoundation/CFBase.h>

#include <atomic>
#include <endian.h>

namespace Standin {

class Tally
{
public:
    Tally() = default;
    Tally(Tally&& other) noexcept
        : mWords(std::exchange(other.mWords, nullptr))
    {}
    Tally& operator=(Tally&& other) noexcept
    {
        std::swap(mWords, other.mWords);
        return *this;
    }
    ~Tally();

    /// Makes the memory and stores its file; an empty tally if the system has none.
    static Tally Make(FileDescriptor& file);
    /// Maps the memory of a file that a client has sent; an empty tally if it is not such a file,
    /// or one that the client could still make shorter.
    static Tally Map(const FileDescriptor& file);

    explicit operator bool() const { return mWords != nullptr; }

    /// The messages that the client has sent, modulo 2^32. A hint: it comes after the message.
    UInt32 GetSent() const { return be32toh(mWords->mSent.load(std::memory_order_relaxed)); }
    void SetSent(UInt32 sent) { mWords->mSent.store(htobe32(sent), std::memory_order_relaxed); }

    // Sequentially consistent. The client asks and then looks at the count; the server counts and
    // then looks whether it is asked. So at least one of them sees what the other has done.

    /// The messages that the server has taken, modulo 2^32.
    UInt32 GetTaken() const { return be32toh(mWords->mTaken.load()); }
    void SetTaken(UInt32 taken) { mWords->mTaken.store(htobe32(taken)); }
    /// Asks the server for an acknowledgement of the next message that it takes. After this the
    /// client must look at GetTaken once more, or it could miss a message.
    void AskForAcknowledgement() { mWords->mIsAsked.store(1); }
    /// True once after each time that the client has asked.
    bool IsAcknowledgementAskedFor()
    {
        return mWords->mIsAsked.load() != 0 && mWords->mIsAsked.exchange(0) != 0;
    }

private:
    /// Big-endian: the two ends may be processes of different byte order.
    struct Words
    {
        std::atomic<UInt32> mSent;
        std::atomic<UInt32> mTaken;
        std::atomic<UInt32> mIsAsked;
    };

    static Tally MapAt(int file);

    Words* mWords = nullptr;
};

} // namespace Standin
