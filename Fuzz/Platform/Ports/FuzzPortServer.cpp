// FuzzPortServer.cpp - packets of a hostile client for a local port, beside an honest client.
//
// Every packet that is a message reaches the port once, with its ID and its data, is acknowledged
// and, if it is a request, answered. The first packet that is none closes its connection, and what
// comes after it is never seen. An honest client is served before and after.
//
// With its first packet the client may send a tally, or a file that is none, and then write
// whatever it likes into its words. The port stores the true count there and believes nothing that
// it reads.

#include "FuzzCheck.h"
#include "HostilePeer.h"

#include "Ports/PortName.h"

#include <CoreFoundation/CoreFoundation.h>
#include <Standin/LiveObjects.h>

#include <atomic>
#include <cstring>
#include <deque>
#include <endian.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using HostilePeer::Packet;
using Standin::FrameKind;

constexpr SInt32 kHonestMessage = 0x600D;

/// The port, its loop's source and the honest client live as long as the process.
struct Server
{
    Server();

    CFMessagePortRef local;
    CFMessagePortRef honest;
    std::string name = HostilePeer::MakeName("server");
    /// The messages that the hostile client has sent and the port has not handed out.
    std::deque<Packet> expected;
};

CFStringRef MakeString(const std::string& text)
{
    return CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%s"), text.c_str());
}

/// Answers with the data that came.
CFDataRef Handle(CFMessagePortRef, SInt32 id, CFDataRef data, void* info)
{
    auto& server = *static_cast<Server*>(info);
    const UInt8* const bytes = CFDataGetBytePtr(data);
    const auto size = static_cast<std::size_t>(CFDataGetLength(data));
    if (id != kHonestMessage) {
        FUZZ_CHECK(!server.expected.empty());
        const Packet packet = server.expected.front();
        server.expected.pop_front();
        FUZZ_CHECK(id == packet.frame.mMessageID);
        FUZZ_CHECK(size == packet.frame.mLength);
        FUZZ_CHECK(size == 0 ||
                   std::memcmp(bytes, packet.bytes.data() + Standin::kHeaderSize, size) == 0);
    }
    return CFDataCreate(nullptr, bytes, static_cast<CFIndex>(size));
}

Server::Server()
{
    const CFStringRef text = MakeString(name);
    CFMessagePortContext context = {0, this, nullptr, nullptr, nullptr};
    local = CFMessagePortCreateLocal(nullptr, text, &Handle, &context, nullptr);
    FUZZ_CHECK(local != nullptr);
    const CFRunLoopSourceRef source = CFMessagePortCreateRunLoopSource(nullptr, local, 0);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopDefaultMode);
    CFRelease(source);
    honest = CFMessagePortCreateRemote(nullptr, text);
    FUZZ_CHECK(honest != nullptr);
    CFRelease(text);
}

Server& GetServer()
{
    static auto* sServer = new Server;
    return *sServer;
}

/// Lets the port take what has arrived.
void RunLoop()
{
    while (CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true) == kCFRunLoopRunHandledSource) {
    }
}

void CheckHonestService(const Server& server, uint8_t byte)
{
    const CFDataRef data = CFDataCreate(nullptr, &byte, 1);
    CFDataRef reply = nullptr;
    FUZZ_CHECK(CFMessagePortSendRequest(server.honest, kHonestMessage, data, 10.0, 10.0,
                                        kCFRunLoopDefaultMode, &reply) == 0);
    FUZZ_CHECK(reply != nullptr && CFDataGetLength(reply) == 1);
    FUZZ_CHECK(*CFDataGetBytePtr(reply) == byte);
    CFRelease(reply);
    CFRelease(data);
}

/// The memory that a client shares with the port, and its file.
class SharedWords
{
public:
    /// What a port looks at: the file's size, and whether it can be made shorter.
    enum Shape
    {
        kNone,
        kRight,
        kShort,
        kNotSealed
    };

    explicit SharedWords(Shape shape)
        : mShape(shape)
    {
        if (shape == kNone) {
            return;
        }
        mFile = Standin::FileDescriptor(memfd_create("fuzz", MFD_CLOEXEC | MFD_ALLOW_SEALING));
        FUZZ_CHECK(ftruncate(mFile.Get(), kSize) == 0);
        void* const memory =
            mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED, mFile.Get(), 0);
        FUZZ_CHECK(memory != MAP_FAILED);
        mWords = static_cast<std::atomic<UInt32>*>(memory);
        if (shape == kShort) {
            FUZZ_CHECK(ftruncate(mFile.Get(), kSize - 1) == 0);
        }
        if (shape != kNotSealed) {
            FUZZ_CHECK(fcntl(mFile.Get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_SEAL) == 0);
        }
    }
    SharedWords(const SharedWords&) = delete;
    SharedWords& operator=(const SharedWords&) = delete;
    ~SharedWords()
    {
        if (mWords != nullptr) {
            munmap(mWords, kSize);
        }
    }

    int GetFile() const { return mFile.Get(); }
    bool IsTally() const { return mShape == kRight; }
    UInt32 GetTaken() const { return be32toh(mWords[1].load()); }

    /// Claims what the input says: how much was sent, how much was taken, and whether an
    /// acknowledgement is asked for.
    void Lie(FuzzInput& input)
    {
        if (mWords != nullptr) {
            for (const int word : {0, 1, 2}) {
                mWords[word].store(input.TakeByte() % 2 == 0 ? input.TakeByte() : input.TakeWord());
            }
        }
    }

private:
    static constexpr std::size_t kSize = 4096;

    const Shape mShape;
    Standin::FileDescriptor mFile;
    std::atomic<UInt32>* mWords = nullptr;
};

/// One connection of the hostile client.
class Client
{
public:
    Client(Server& server, SharedWords::Shape shape)
        : mServer(server)
        , mWords(shape)
        , mSocket(Standin::ConnectToHolder(server.name))
    {
        FUZZ_CHECK(static_cast<bool>(mSocket));
    }

    void Send(const Packet& packet)
    {
        if (mIsRefused ||
            !HostilePeer::Send(mSocket.Get(), packet, mSent == 0 ? mWords.GetFile() : -1)) {
            return;
        }
        const bool isMessage =
            packet.isFrame && packet.frame.mLength <= Standin::kLargestData &&
            (packet.frame.mKind == FrameKind::kOneWay || packet.frame.mKind == FrameKind::kRequest);
        if (!isMessage) {
            mIsRefused = true;
            return;
        }
        ++mSent;
        if (packet.frame.mMessageID != kHonestMessage) {
            mServer.expected.push_back(packet);
        }
        mUnanswered.push_back(packet);
    }

    /// Lets the port take everything, and looks at what it sends back.
    void Settle()
    {
        RunLoop();
        FUZZ_CHECK(mServer.expected.empty());
        FUZZ_CHECK(!mWords.IsTally() || mSent == mSettled || mWords.GetTaken() == mSent);
        mSettled = mSent;
        Packet packet;
        while (HostilePeer::Receive(mSocket.Get(), packet)) {
            FUZZ_CHECK(packet.isFrame);
            if (packet.frame.mKind == FrameKind::kAcknowledgement) {
                CheckAcknowledgement(packet.frame.mNumber);
                continue;
            }
            SkipOneWays();
            FUZZ_CHECK(packet.frame.mKind == FrameKind::kReply && !mUnanswered.empty());
            const Packet& request = mUnanswered.front();
            FUZZ_CHECK(packet.frame.mNumber == request.frame.mNumber);
            FUZZ_CHECK(packet.frame.mMessageID == request.frame.mMessageID);
            FUZZ_CHECK(packet.frame.mLength == request.frame.mLength);
            mUnanswered.pop_front();
        }
        SkipOneWays();
        FUZZ_CHECK(mUnanswered.empty());
        FUZZ_CHECK(HostilePeer::IsClosed(mSocket.Get()) == mIsRefused);
    }

    void Lie(FuzzInput& input) { mWords.Lie(input); }

private:
    /// Without a tally each message is acknowledged; with one, only some are.
    void CheckAcknowledgement(UInt32 number)
    {
        FUZZ_CHECK(number > mAcknowledged && number <= mSent);
        FUZZ_CHECK(mWords.IsTally() || number == mAcknowledged + 1);
        mAcknowledged = number;
    }

    void SkipOneWays()
    {
        while (!mUnanswered.empty() && mUnanswered.front().frame.mKind == FrameKind::kOneWay) {
            mUnanswered.pop_front();
        }
    }

    Server& mServer;
    SharedWords mWords;
    Standin::FileDescriptor mSocket;
    bool mIsRefused = false;
    /// The messages that were sent, and how many of them when the port last took all.
    UInt32 mSent = 0;
    UInt32 mSettled = 0;
    UInt32 mAcknowledged = 0;
    std::deque<Packet> mUnanswered;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr std::size_t kMostPackets = 24;
    constexpr std::size_t kLargestUnsettled = 512;
    Server& server = GetServer();
    RunLoop();
    const SInt32 liveBefore = StandinGetTotalLiveObjectCount();
    FuzzInput input(data, size);
    const uint8_t choice = input.TakeByte();

    Client client(server, static_cast<SharedWords::Shape>(choice >> 2 & 3));
    for (std::size_t count = 0; count < kMostPackets && !input.IsEmpty(); ++count) {
        const Packet packet = HostilePeer::TakePacket(input);
        // The client reads no replies in between, and loses those that its socket has no room for.
        const bool isLarge = packet.bytes.size() > kLargestUnsettled;
        if (isLarge) {
            client.Settle();
        }
        client.Send(packet);
        client.Lie(input);
        if (isLarge || (choice & 1) != 0) {
            client.Settle();
        }
    }
    if ((choice & 2) != 0) {
        CheckHonestService(server, choice);
    }
    client.Settle();
    CheckHonestService(server, choice);

    FUZZ_CHECK(StandinGetTotalLiveObjectCount() == liveBefore);
    return 0;
}
