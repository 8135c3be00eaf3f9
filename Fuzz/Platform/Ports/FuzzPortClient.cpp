// FuzzPortClient.cpp - packets of a hostile server for a remote port.
//
// A reply is the first packet with the conversation's number that has not too much data, also if
// the server guessed the number; an acknowledgement moves the window, unless it takes back what was
// acknowledged by no packet at all; a packet that is no frame ends the connection. The server has
// never looked at the tally. Every send has the status that a model of these rules has, and none
// leaves an object behind.

#include "FuzzCheck.h"
#include "HostilePeer.h"

#include "Ports/PortName.h"

#include <CoreFoundation/CoreFoundation.h>
#include <Standin/LiveObjects.h>

#include <cstring>
#include <deque>
#include <sys/socket.h>
#include <utility>

namespace {

using HostilePeer::Packet;
using Standin::FileDescriptor;
using Standin::FrameKind;

constexpr SInt32 kBecameInvalid = -5;

/// The name is taken once and for all; nobody but the target's own ports connects to it.
struct Listener
{
    Listener()
    {
        FUZZ_CHECK(held.Take(name));
        text = CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%s"), name.c_str());
    }

    std::string name = HostilePeer::MakeName("client");
    Standin::HeldName held;
    CFStringRef text;
};

Listener& GetListener()
{
    static auto* sListener = new Listener;
    return *sListener;
}

class Session
{
public:
    explicit Session(const Listener& listener)
        : mPort(CFMessagePortCreateRemote(nullptr, listener.text))
        , mServer(accept4(listener.held.GetSocket(), nullptr, nullptr, SOCK_CLOEXEC))
    {
        FUZZ_CHECK(mPort != nullptr && mServer);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() { CFRelease(mPort); }

    /// Lets the server send a packet.
    void Receive(const Packet& packet)
    {
        if (!mIsClosed && HostilePeer::Send(mServer.Get(), packet)) {
            mArrived.push_back(packet);
        }
    }

    /// Closes the server's end.
    void Close()
    {
        mServer.Close();
        mIsClosed = true;
    }

    void Request(uint8_t id);
    void SendOneWay(uint8_t id);

private:
    bool HasRoom() const
    {
        // What lies before the tally's 0 is older.
        const UInt32 taken = static_cast<SInt32>(mTaken) > 0 ? mTaken : 0;
        return mSent - taken < Standin::kQueueLimit;
    }
    bool IsOver() const { return mIsClosed || mIsBroken; }

    /// Takes the next packet as the connection does. Returns true for the reply that is waited for.
    bool ReadOne(UInt32 conversation)
    {
        mLast = std::move(mArrived.front());
        mArrived.pop_front();
        mIsBroken = !mLast.isFrame;
        if (mIsBroken) {
            return false;
        }
        if (mLast.frame.mKind == FrameKind::kAcknowledgement) {
            mTaken = mLast.frame.mNumber;
        }
        return mLast.frame.mKind == FrameKind::kReply && mLast.frame.mNumber == conversation &&
               mLast.frame.mLength <= Standin::kLargestData;
    }

    /// Takes packets until there is room. Returns the status of a send without any wait.
    SInt32 MakeRoom()
    {
        while (!HasRoom() && !mIsBroken && !mArrived.empty()) {
            ReadOne(0);
        }
        return HasRoom() ? kCFMessagePortSuccess : kCFMessagePortSendTimeout;
    }

    void CheckMessageAtServer(FrameKind kind, uint8_t id)
    {
        ++mSent;
        Packet packet;
        FUZZ_CHECK(HostilePeer::Receive(mServer.Get(), packet));
        FUZZ_CHECK(packet.isFrame && packet.frame.mKind == kind);
        FUZZ_CHECK(packet.frame.mMessageID == id && packet.frame.mLength == 1);
        FUZZ_CHECK(packet.bytes.back() == id);
    }

    static bool IsFailure(SInt32 status)
    {
        return status >= kBecameInvalid && status <= kCFMessagePortSendTimeout;
    }

    CFMessagePortRef mPort;
    FileDescriptor mServer;
    bool mIsClosed = false;
    /// A packet that is no frame has been read.
    bool mIsBroken = false;
    UInt32 mSent = 0;
    UInt32 mTaken = 0;
    UInt32 mConversation = 0;
    /// The server's packets that the connection has not read.
    std::deque<Packet> mArrived;
    Packet mLast;
};

void Session::SendOneWay(uint8_t id)
{
    const CFDataRef data = CFDataCreate(nullptr, &id, 1);
    const SInt32 status = CFMessagePortSendRequest(mPort, id, data, 0.0, 0.0, nullptr, nullptr);
    CFRelease(data);

    const SInt32 expected = MakeRoom();
    if (IsOver()) {
        FUZZ_CHECK(IsFailure(status));
        return;
    }
    FUZZ_CHECK(status == expected);
    if (status == 0) {
        CheckMessageAtServer(FrameKind::kOneWay, id);
    }
}

void Session::Request(uint8_t id)
{
    const CFDataRef data = CFDataCreate(nullptr, &id, 1);
    CFDataRef reply = nullptr;
    const SInt32 status =
        CFMessagePortSendRequest(mPort, id, data, 0.0, 0.0, kCFRunLoopDefaultMode, &reply);
    CFRelease(data);

    FUZZ_CHECK((status == 0) == (reply != nullptr));
    const SInt32 expected = MakeRoom();
    ++mConversation;
    if (IsOver()) {
        FUZZ_CHECK(IsFailure(status));
        return;
    }
    if (expected != 0) {
        FUZZ_CHECK(status == expected);
        return;
    }
    CheckMessageAtServer(FrameKind::kRequest, id);
    Packet answer;
    bool hasReply = false;
    while (!mIsBroken && !mArrived.empty()) {
        if (ReadOne(mConversation) && !hasReply) {
            hasReply = true;
            answer = mLast;
        }
    }
    if (!hasReply) {
        FUZZ_CHECK(mIsBroken ? IsFailure(status) : status == kCFMessagePortReceiveTimeout);
        return;
    }
    FUZZ_CHECK(status == 0);
    FUZZ_CHECK(static_cast<UInt32>(CFDataGetLength(reply)) == answer.frame.mLength);
    FUZZ_CHECK(answer.frame.mLength == 0 ||
               std::memcmp(CFDataGetBytePtr(reply), answer.bytes.data() + Standin::kHeaderSize,
                           answer.frame.mLength) == 0);
    CFRelease(reply);
}

} // namespace

// A sender whose queue is full gives the processor away for a moment, so that its server can run.
// Here the server is the sender's own thread: without this, a busy machine makes 20 runs a second.
extern "C" [[gnu::visibility("default")]] int sched_yield() noexcept
{
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr std::size_t kMostSteps = 32;
    const Listener& listener = GetListener();
    CFRunLoopGetCurrent();
    const SInt32 liveBefore = StandinGetTotalLiveObjectCount();
    FuzzInput input(data, size);
    {
        Session session(listener);
        for (std::size_t step = 0; step < kMostSteps && !input.IsEmpty(); ++step) {
            switch (input.TakeByte() % 8) {
            case 0:
            case 1:
                session.Request(input.TakeByte());
                break;
            case 2:
                session.SendOneWay(input.TakeByte());
                break;
            case 3:
                if (input.TakeByte() == 0xFF) {
                    session.Close();
                }
                break;
            default:
                session.Receive(HostilePeer::TakePacket(input));
                break;
            }
        }
    }
    FUZZ_CHECK(StandinGetTotalLiveObjectCount() == liveBefore);
    return 0;
}
