// MessagePortHostileTest.cpp - clients that do not keep to the frames, the window or the limits.

#include "Platform/Ports/PortServer.h"
#include "Ports/LocalPort.h"

#include <atomic>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

namespace {

using namespace Platform;
using MessagePortHostile = LedgerTest;

/// A socket that is connected to a port by hand.
class RawClient
{
public:
    explicit RawClient(const std::string& name)
    {
        const std::string path = "qx-port:" + std::to_string(geteuid()) + ":" + name;
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path + 1, path.data(), path.size());
        mSocket = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        EXPECT_EQ(
            connect(mSocket, reinterpret_cast<const sockaddr*>(&address),
                    static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + path.size())),
            0);
    }
    RawClient(RawClient&& other) noexcept
        : mSocket(std::exchange(other.mSocket, -1))
    {}
    ~RawClient()
    {
        if (mSocket >= 0) {
            close(mSocket);
        }
    }

    bool Send(std::string_view packet, int flags = 0) const
    {
        return send(mSocket, packet.data(), packet.size(), MSG_NOSIGNAL | flags) ==
               static_cast<ssize_t>(packet.size());
    }
    /// The next packet; empty at the end of the connection.
    std::string Receive() const
    {
        char packet[256];
        const ssize_t size = recv(mSocket, packet, sizeof packet, 0);
        return size > 0 ? std::string(packet, static_cast<std::size_t>(size)) : std::string();
    }

private:
    int mSocket = -1;
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

TEST_F(MessagePortHostile, OneProcessHasABoundedNumberOfConnections)
{
    HostileServer server("crowd");
    server.ExpectService();
    std::vector<RawClient> clients;

    for (std::size_t index = 1; index < Standin::kMostClientsOfProcess; ++index) {
        clients.emplace_back(server.mName);
    }
    const RawClient tooMany(server.mName);

    EXPECT_EQ(tooMany.Receive(), "");
    for (const RawClient& client : clients) {
        EXPECT_TRUE(client.Send(Bytes("QXP1\0\0\0\2\0\0\0\1\0\0\0\1\0\0\0\0", 20)));
        EXPECT_EQ(client.Receive().size(), 20u);
        EXPECT_EQ(client.Receive().size(), 22u);
    }
    server.ExpectService();
    clients.clear();
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
