// MessagePortHostileTest.cpp - clients that do not respect the frames, the five messages or the
// limits.

#include "Platform/Ports/PortServer.h"
#include "Ports/Frame.h"
#include "Ports/PortName.h"

#include <atomic>
#include <sys/mman.h>
#include <sys/socket.h>

namespace {

using namespace Platform;
using MessagePortHostile = LedgerTest;

/// A socket that is connected to a port without the port's own code.
class RawClient
{
public:
    explicit RawClient(const std::string& name)
        : mSocket(Standin::ConnectToHolder(name))
    {
        EXPECT_TRUE(static_cast<bool>(mSocket));
        fcntl(mSocket.Get(), F_SETFL, 0);
    }

    bool Send(std::string_view packet, int flags = 0) const
    {
        return send(mSocket.Get(), packet.data(), packet.size(), MSG_NOSIGNAL | flags) ==
               static_cast<ssize_t>(packet.size());
    }
    /// The next packet; empty at the end of the connection.
    std::string Receive() const
    {
        char packet[256];
        const ssize_t size = recv(mSocket.Get(), packet, sizeof packet, 0);
        return size > 0 ? std::string(packet, static_cast<std::size_t>(size)) : std::string();
    }
    int GetSocket() const { return mSocket.Get(); }

private:
    Standin::FileDescriptor mSocket;
};

/// A server that still serves an honest client.
class HostileServer
{
public:
    explicit HostileServer(const char* purpose)
        : mName(UniqueName(purpose))
        , mServer(mName, [](SInt32) { return MakeData("ok"); })
        , mHonest(Connect(mName))
    {}
    HostileServer(const HostileServer&) = delete;
    HostileServer& operator=(const HostileServer&) = delete;
    ~HostileServer() { CFRelease(mHonest); }

    void ExpectService()
    {
        std::string reply;
        EXPECT_EQ(SendRequest(mHonest, 1, 30.0, &reply), 0);
        EXPECT_EQ(reply, "ok");
    }

    const std::string mName;
    ThreadServer mServer;
    CFMessagePortRef mHonest;
};

std::string_view Bytes(const char* bytes, std::size_t size)
{
    return {bytes, size};
}

TEST_F(MessagePortHostile, FramesAreBigEndianOnEveryHost)
{
    HostileServer server("frames");
    const RawClient client(server.mName);

    EXPECT_TRUE(client.Send(Bytes("QXP1\0\0\0\2\0\0\0\7OpLM\0\0\0\3abc", 23)));

    EXPECT_EQ(server.mServer.WaitFor(1), (std::vector<Received>{{0x4F704C4D, "abc"}}));
    EXPECT_EQ(client.Receive(), Bytes("QXP1\0\0\0\3\0\0\0\1\0\0\0\0\0\0\0\0", 20));
    EXPECT_EQ(client.Receive(), Bytes("QXP1\0\0\0\4\0\0\0\7OpLM\0\0\0\2ok", 22));
}

TEST_F(MessagePortHostile, GarbageEndsItsOwnConnectionAlone)
{
    struct
    {
        const char* what;
        std::string_view packet;
    } const cases[] = {
        {"one byte", Bytes("Q", 1)},
        {"a short header", Bytes("QXP1\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0", 19)},
        {"another magic", Bytes("QXP2\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0\0", 20)},
        {"kind 0", Bytes("QXP1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 20)},
        {"kind 5", Bytes("QXP1\0\0\0\5\0\0\0\0\0\0\0\0\0\0\0\0", 20)},
        {"an acknowledgement", Bytes("QXP1\0\0\0\3\0\0\0\1\0\0\0\0\0\0\0\0", 20)},
        {"a reply", Bytes("QXP1\0\0\0\4\0\0\0\1\0\0\0\0\0\0\0\0", 20)},
        {"a length without data", Bytes("QXP1\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0\1", 20)},
        {"data without a length", Bytes("QXP1\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0\0x", 21)},
        {"a length near 2^32", Bytes("QXP1\0\0\0\1\0\0\0\0\0\0\0\0\xFF\xFF\xFF\xFFx", 21)}};
    HostileServer server("garbage");

    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.what);
        const RawClient client(server.mName);

        EXPECT_TRUE(client.Send(entry.packet));

        EXPECT_EQ(client.Receive(), "");
        server.ExpectService();
    }
}

TEST_F(MessagePortHostile, APacketBeyondTheLargestEndsItsConnection)
{
    HostileServer server("beyond");
    const RawClient client(server.mName);
    std::string packet(Bytes("QXP1\0\0\0\1\0\0\0\0\0\0\0\0\0\2\0\1", 20));
    packet.resize(20 + 128 * 1024 + 1);

    EXPECT_TRUE(client.Send(packet));

    EXPECT_EQ(client.Receive(), "");
    server.ExpectService();
}

TEST_F(MessagePortHostile, AFloodDoesNotStarveAnotherClient)
{
    HostileServer server("flood");
    const RawClient client(server.mName);
    std::atomic<bool> isOver{false};
    std::thread flood([&] {
        const std::string packet(Bytes("QXP1\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0\0", 20));
        while (!isOver) {
            client.Send(packet, MSG_DONTWAIT);
        }
    });

    for (int round = 0; round < 20; ++round) {
        server.ExpectService();
    }

    isOver = true;
    flood.join();
}

TEST_F(MessagePortHostile, AClientThatNeverReadsItsRepliesBlocksNobody)
{
    HostileServer server("deaf");
    const RawClient client(server.mName);
    const std::string packet(Bytes("QXP1\0\0\0\2\0\0\0\7\0\0\0\1\0\0\0\0", 20));

    for (int request = 0; request < 3000; ++request) {
        ASSERT_TRUE(client.Send(packet));
    }

    server.ExpectService();
}

// If the client could make its tally shorter, reading it would end the server with a signal.
TEST_F(MessagePortHostile, AFileThatIsNoTallyIsNotLookedAt)
{
    HostileServer server("file");
    Standin::FileDescriptor files[3];
    files[0] = Standin::FileDescriptor(memfd_create("short", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    files[1] = Standin::FileDescriptor(memfd_create("unsealed", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    files[2] = Standin::FileDescriptor(open("/dev/null", O_RDWR | O_CLOEXEC));
    EXPECT_EQ(fcntl(files[0].Get(), F_ADD_SEALS, F_SEAL_SHRINK), 0);
    EXPECT_EQ(ftruncate(files[1].Get(), 4096), 0);

    for (const Standin::FileDescriptor& file : files) {
        const RawClient client(server.mName);
        EXPECT_EQ(Standin::SendFrame(client.GetSocket(), {Standin::FrameKind::kOneWay, 0, 3, 0},
                                     nullptr, file.Get()),
                  Standin::SendResult::kSent);
        EXPECT_EQ(ftruncate(file.Get(), 0), file.Get() == files[2].Get() ? -1 : 0);

        EXPECT_EQ(client.Receive(), Bytes("QXP1\0\0\0\3\0\0\0\1\0\0\0\0\0\0\0\0", 20));
    }
    server.ExpectService();
}

TEST_F(MessagePortHostile, ASilentClientCostsNothing)
{
    HostileServer server("silent");
    const RawClient silent(server.mName);
    {
        const RawClient gone(server.mName);
    }

    server.ExpectService();
}

} // namespace
