// MessagePortSquattingTest.cpp - names whose address another user has occupied.

#include "Platform/Ports/OtherUser.h"
#include "Platform/Ports/PortServer.h"
#include "Ports/PortName.h"
#include "Ports/PortSocket.h"

#include <csignal>
#include <sys/mman.h>

namespace {

using namespace Platform;
using MessagePortSquatting = LedgerTest;
using Standin::FileDescriptor;

SInt32 HolderOf(const std::string& name)
{
    CFStringRef string = MakeString(name.c_str());
    const SInt32 holder = StandinGetPortHolder(string);
    CFRelease(string);
    return holder;
}

CFMessagePortRef CreateLocal(const std::string& name)
{
    CFStringRef string = MakeString(name.c_str());
    CFMessagePortRef port = CFMessagePortCreateLocal(nullptr, string, nullptr, nullptr, nullptr);
    CFRelease(string);
    return port;
}

/// A list of sockets for the search, in memory.
class SocketList
{
public:
    explicit SocketList(const std::string& text)
        : mFile(memfd_create("sockets", MFD_CLOEXEC))
        , mPath("/proc/self/fd/" + std::to_string(mFile.Get()))
    {
        EXPECT_EQ(write(mFile.Get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    const char* GetPath() const { return mPath.c_str(); }

private:
    const FileDescriptor mFile;
    const std::string mPath;
};

std::vector<std::string> SpareAddresses(const std::string& name, int count)
{
    std::vector<std::string> addresses;
    for (int index = 0; index < count; ++index) {
        addresses.push_back(Standin::SpareAddress(name));
    }
    return addresses;
}

TEST_F(MessagePortSquatting, ASquattedNameIsTakenAndServed)
{
    const std::string name = UniqueName("squatted");
    const Squatter squatter({Standin::WellKnownAddress(name)});

    ProcessServer server(name);

    CFMessagePortRef port = Connect(name);
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(SendOneWay(port, 1), 0);
    EXPECT_EQ(SendRequest(port, 2), 0);
    EXPECT_EQ(server.NextID(), 1);
    EXPECT_EQ(server.NextID(), 2);
    EXPECT_EQ(HolderOf(name), server.GetProcess());
    CFRelease(port);
}

TEST_F(MessagePortSquatting, ALongNameIsTakenAndServedToo)
{
    std::string name = UniqueName("long");
    name.resize(127, '\n');
    const Squatter squatter({Standin::WellKnownAddress(name)});

    ProcessServer server(name);

    CFMessagePortRef port = Connect(name);
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(SendRequest(port, 1), 0);
    name[126] = 'x';
    EXPECT_EQ(Connect(name), nullptr);
    CFRelease(port);
}

TEST_F(MessagePortSquatting, ASquatterIsSentNothing)
{
    const std::string name = UniqueName("nothing");
    Squatter squatter({Standin::WellKnownAddress(name)});

    EXPECT_EQ(Connect(name), nullptr);
    EXPECT_EQ(HolderOf(name), 0);
    {
        ProcessServer server(name);
        CFMessagePortRef port = Connect(name);
        ASSERT_NE(port, nullptr);
        EXPECT_EQ(SendOneWay(port, 1), 0);
        EXPECT_EQ(SendRequest(port, 2), 0);
        CFRelease(port);
    }
    EXPECT_EQ(Connect(name), nullptr);

    EXPECT_EQ(squatter.Leave(), 0);
}

TEST_F(MessagePortSquatting, DecoysArePassedOver)
{
    const std::string name = UniqueName("decoys");
    std::vector<std::string> addresses = SpareAddresses(name, 40);
    addresses.push_back(Standin::WellKnownAddress(name));
    Squatter before(addresses);

    EXPECT_EQ(Connect(name), nullptr);
    ProcessServer server(name);
    Squatter after(SpareAddresses(name, 40));

    CFMessagePortRef port = Connect(name);
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(SendRequest(port, 1), 0);
    EXPECT_EQ(HolderOf(name), server.GetProcess());
    EXPECT_EQ(CreateLocal(name), nullptr);
    EXPECT_EQ(before.Leave(), 0);
    EXPECT_EQ(after.Leave(), 0);
    CFRelease(port);
}

TEST_F(MessagePortSquatting, TheServerKeepsItsNameWhenTheSquatterLeaves)
{
    const std::string name = UniqueName("leaves");
    Squatter squatter({Standin::WellKnownAddress(name)});
    ProcessServer server(name);

    squatter.Leave();

    EXPECT_EQ(CreateLocal(name), nullptr);
    EXPECT_EQ(HolderOf(name), server.GetProcess());
    CFMessagePortRef port = Connect(name);
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(SendRequest(port, 1), 0);
    CFRelease(port);
}

TEST_F(MessagePortSquatting, NobodyHoldsTheNameOnceTheServerHasEnded)
{
    const std::string name = UniqueName("ended");
    const Squatter squatter({Standin::WellKnownAddress(name)});
    {
        ProcessServer server(name);
        EXPECT_EQ(HolderOf(name), server.GetProcess());
    }

    EXPECT_EQ(Connect(name), nullptr);
    EXPECT_EQ(HolderOf(name), 0);
    ProcessServer next(name);
    EXPECT_EQ(HolderOf(name), next.GetProcess());
}

TEST_F(MessagePortSquatting, AnAddressWhereNobodyCanBeAskedCountsAsOccupied)
{
    struct
    {
        const char* what;
        bool listens;
    } const cases[] = {{"bound alone", false}, {"full of callers", true}};

    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.what);
        const std::string name = UniqueName("mute");
        const std::string address = Standin::WellKnownAddress(name);
        const FileDescriptor socket(BindTo(address));
        std::vector<FileDescriptor> callers;
        if (entry.listens) {
            EXPECT_EQ(listen(socket.Get(), 0), 0);
            do {
                callers.push_back(Standin::ConnectTo(address));
            } while (callers.back());
        }

        EXPECT_EQ(Connect(name), nullptr);
        ProcessServer server(name);
        CFMessagePortRef port = Connect(name);
        ASSERT_NE(port, nullptr);
        EXPECT_EQ(SendRequest(port, 1), 0);
        EXPECT_EQ(HolderOf(name), server.GetProcess());
        CFRelease(port);
    }
}

/// Starts servers of one name at the same moment and returns how many of them got it.
int CountWinners(const std::string& name, int servers)
{
    int start[2];
    int results[2];
    EXPECT_EQ(pipe(start), 0);
    EXPECT_EQ(pipe(results), 0);
    std::vector<pid_t> children;
    for (int index = 0; index < servers; ++index) {
        children.push_back(fork());
        if (children.back() == 0) {
            close(start[1]);
            char mark = 0;
            [[maybe_unused]] ssize_t done = read(start[0], &mark, 1);
            mark = CreateLocal(name) != nullptr ? '+' : '-';
            done = write(results[1], &mark, 1);
            pause();
        }
    }
    close(start[0]);
    close(start[1]);
    int winners = 0;
    for (int index = 0; index < servers; ++index) {
        char mark = 0;
        EXPECT_EQ(read(results[0], &mark, 1), 1);
        winners += mark == '+' ? 1 : 0;
    }
    for (const pid_t child : children) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    close(results[0]);
    close(results[1]);
    return winners;
}

TEST_F(MessagePortSquatting, OfServersThatStartTogetherOneGetsTheName)
{
    const std::string name = UniqueName("together");

    for (int round = 0; round < 10; ++round) {
        EXPECT_EQ(CountWinners(name, 3), 1);
    }
    const Squatter squatter({Standin::WellKnownAddress(name)});
    for (int round = 0; round < 10; ++round) {
        EXPECT_EQ(CountWinners(name, 3), 1);
    }
}

TEST_F(MessagePortSquatting, WithoutAListOfSocketsThereAreNoSpareAddresses)
{
    const std::string name = UniqueName("unlisted");
    constexpr const char* kMissing = "/proc/net/none";

    {
        const FileDescriptor taken = Standin::TakeName(name, kMissing);
        EXPECT_TRUE(taken);
        EXPECT_TRUE(Standin::FindHolder(name, kMissing));
        EXPECT_FALSE(Standin::TakeName(name, kMissing));
    }
    const Squatter squatter({Standin::WellKnownAddress(name)});
    EXPECT_FALSE(Standin::FindHolder(name, kMissing));
    EXPECT_FALSE(Standin::TakeName(name, kMissing));
    EXPECT_TRUE(Standin::TakeName(name));
}

TEST_F(MessagePortSquatting, TheSearchFindsAnAddressAnywhereInTheList)
{
    const std::string name = UniqueName("list");
    const std::string address = Standin::SpareAddress(name);
    const FileDescriptor spare = Standin::ListenAt(address);
    const std::string decoy = "@" + Standin::SpareAddress(name);
    ASSERT_TRUE(spare);

    // The search reads pages of 4096 bytes.
    for (std::size_t before = 4096 - address.size() - 2; before <= 4096; ++before) {
        SCOPED_TRACE(before);
        const SocketList list(std::string(before, '@') + "@" + address);
        EXPECT_TRUE(Standin::FindHolder(name, list.GetPath()));
    }
    struct
    {
        const char* what;
        std::string text;
        bool isFound;
    } const cases[] = {
        {"nothing", "", false},
        {"a decoy alone", decoy + "\n", false},
        {"an address that is cut short", "@" + address.substr(0, address.size() - 1), false},
        {"no abstract address", address + "\n", false},
        {"behind a decoy", decoy + "\n@" + address + "\n", true},
        {"on a decoy's line", decoy + "@" + address, true},
        {"behind the beginning of one", decoy.substr(0, 20) + "@" + address, true},
        {"behind bytes of all kinds", std::string("\0\xFF\n\n\r", 5) + "@" + address, true}};
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.what);
        const SocketList list(entry.text);
        EXPECT_EQ(static_cast<bool>(Standin::FindHolder(name, list.GetPath())), entry.isFound);
    }
}

TEST_F(MessagePortSquatting, SpareAddressesAreNeverTheSameAndSortBehindTheWellKnownOne)
{
    const std::string name(127, 'n');

    EXPECT_NE(Standin::SpareAddress(name), Standin::SpareAddress(name));
    EXPECT_GT(Standin::SpareAddress(name), Standin::WellKnownAddress(name));
    EXPECT_LE(Standin::SpareAddress(name).size(), 107u);
    EXPECT_LE(Standin::WellKnownAddress(name).size(), 107u);
}

int CountDescriptors()
{
    int count = 0;
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        count += fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
    }
    return count;
}

TEST_F(MessagePortSquatting, NoDescriptorIsLeftBehindNorTakenFromTheStandardStreams)
{
    const std::string name = UniqueName("descriptors");
    std::vector<std::string> addresses = SpareAddresses(name, 5);
    addresses.push_back(Standin::WellKnownAddress(name));
    const Squatter squatter(addresses);

    EXPECT_TRUE(HoldsInChild([&] {
        for (const int stream : {0, 1, 2}) {
            close(stream);
        }
        CFRunLoopGetCurrent();
        const int before = CountDescriptors();
        CFMessagePortRef local = CreateLocal(name);
        CFMessagePortRef remote = Connect(name);
        const bool isServed = local != nullptr && remote != nullptr && SendOneWay(remote, 1) == 0 &&
                              HolderOf(name) == getpid();
        const bool areFree =
            fcntl(0, F_GETFD) < 0 && fcntl(1, F_GETFD) < 0 && fcntl(2, F_GETFD) < 0;
        CFRelease(remote);
        CFRelease(local);
        return isServed && areFree && CountDescriptors() == before && Connect(name) == nullptr;
    }));
}

} // namespace
