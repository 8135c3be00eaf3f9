// MessagePortFolderTest.cpp - the folder of a user's ports: where it is, when it is refused, who
// holds a name in it, and that no other user gets in.

#include "Platform/Ports/OtherUser.h"
#include "Platform/Ports/PortServer.h"
#include "Ports/PortName.h"
#include "Support/BuildKind.h"
#include "Support/TemporaryFolder.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace {

using namespace Platform;
namespace fs = std::filesystem;

/// Sets XDG_RUNTIME_DIR to a folder of the test, so that no other folder is used.
class MessagePortFolder : public LedgerTest
{
protected:
    MessagePortFolder()
    {
        setenv("XDG_RUNTIME_DIR", mBase.c_str(), 1);
        setenv("HOME", "/proc", 1);
    }
    ~MessagePortFolder() override { setenv("XDG_RUNTIME_DIR", mUsual.c_str(), 1); }

    /// What is wrong with the folder of all ports, after its path.
    std::string FindFault() const
    {
        CFStringRef fault = StandinCopyPortFault();
        std::string text = "nothing";
        if (fault != nullptr) {
            text = TextOf(fault);
            CFRelease(fault);
        }
        const std::string path = GetFolder().string() + " ";
        return text.starts_with(path) ? text.substr(path.size()) : text;
    }
    fs::path GetFolder() const { return mBase / "qx-ports"; }

    static bool CanHold(const std::string& name)
    {
        CFStringRef string = MakeString(name.c_str());
        CFMessagePortRef port =
            CFMessagePortCreateLocal(nullptr, string, nullptr, nullptr, nullptr);
        CFRelease(string);
        if (port != nullptr) {
            CFRelease(port);
        }
        return port != nullptr;
    }

    const std::string mUsual = std::getenv("XDG_RUNTIME_DIR");
    const TestSupport::TemporaryFolder mFolder;
    const fs::path mBase = mFolder.GetPath();
};

TEST_F(MessagePortFolder, IsMadeForItsUserAloneAndEmptyOnceTheNamesAreGivenBack)
{
    EXPECT_EQ(FindFault(), "nothing");
    EXPECT_EQ(fs::status(GetFolder()).permissions(), fs::perms::owner_all);
    {
        ThreadServer server("held");
        EXPECT_TRUE(fs::is_socket(GetFolder() / "held" / "socket"));
    }
    EXPECT_TRUE(fs::is_empty(GetFolder()));
}

TEST_F(MessagePortFolder, IsRefusedIfAnyoneElseCouldEnterIt)
{
    fs::create_directory(GetFolder());
    fs::permissions(GetFolder(), fs::perms(0750));
    EXPECT_EQ(FindFault(), "is open to other users; its mode must be 700");
    EXPECT_FALSE(CanHold("name"));
    fs::permissions(GetFolder(), fs::perms(0701));
    EXPECT_EQ(FindFault(), "is open to other users; its mode must be 700");

    fs::permissions(GetFolder(), fs::perms(0700));
    EXPECT_EQ(FindFault(), "nothing");
    EXPECT_TRUE(CanHold("name"));
}

TEST_F(MessagePortFolder, IsRefusedIfItIsALinkOrNoFolder)
{
    fs::create_directory(mBase / "elsewhere");
    fs::permissions(mBase / "elsewhere", fs::perms(0700));
    fs::create_directory_symlink(mBase / "elsewhere", GetFolder());
    EXPECT_EQ(FindFault(), "is a link");
    EXPECT_FALSE(CanHold("name"));

    fs::remove(GetFolder());
    std::ofstream(GetFolder()) << "text";
    EXPECT_EQ(FindFault(), "is not a folder");
    EXPECT_FALSE(CanHold("name"));
}

TEST_F(MessagePortFolder, IsRefusedIfItIsAnotherUsers)
{
    if (!MayChangeUser()) {
        GTEST_SKIP() << "needs root";
    }
    fs::create_directory(GetFolder());
    fs::permissions(GetFolder(), fs::perms(0700));
    ASSERT_EQ(chown(GetFolder().c_str(), 65534, 65534), 0);

    EXPECT_EQ(FindFault(), "belongs to another user");
    EXPECT_FALSE(CanHold("name"));
}

TEST_F(MessagePortFolder, IsNotInAFolderOfAnotherUsers)
{
    if (!MayChangeUser()) {
        GTEST_SKIP() << "needs root";
    }
    const fs::path home = mBase / "home";
    const fs::path foreign = mBase / "foreign";
    fs::create_directory(home);
    fs::create_directory(foreign);
    ASSERT_EQ(chown(foreign.c_str(), 65534, 65534), 0);
    setenv("XDG_RUNTIME_DIR", foreign.c_str(), 1);
    setenv("HOME", home.c_str(), 1);

    EXPECT_EQ(FindFault(), "nothing");
    EXPECT_TRUE(CanHold("name"));

    EXPECT_TRUE(fs::is_empty(foreign));
}

TEST_F(MessagePortFolder, IsInTheCacheOfTheHomeIfTheSessionHasNone)
{
    const std::string expected = "none of $XDG_RUNTIME_DIR, /run/user/" +
                                 std::to_string(geteuid()) +
                                 " and .cache in the home folder is a folder of this user's";
    if (fs::exists("/run/user/" + std::to_string(geteuid()))) {
        GTEST_SKIP() << "this user has a session folder";
    }
    for (const char* const unusable : {"", "relative", "/nowhere", "/dev/null"}) {
        SCOPED_TRACE(unusable);
        setenv("XDG_RUNTIME_DIR", unusable, 1);
        setenv("HOME", "/nowhere", 1);
        EXPECT_EQ(FindFault(), expected);

        setenv("HOME", mBase.c_str(), 1);
        EXPECT_EQ(FindFault(), "nothing");
        EXPECT_TRUE(fs::is_directory(mBase / ".cache" / "qx-ports"));
    }
    unsetenv("XDG_RUNTIME_DIR");
    ThreadServer server("home");
    CFMessagePortRef port = Connect("home");
    EXPECT_EQ(SendRequest(port, 1), 0);
    CFRelease(port);
}

TEST_F(MessagePortFolder, MayHaveAPathThatIsTooLongForASocketsAddress)
{
    const fs::path base = mBase / std::string(200, 'b') / std::string(200, 'c');
    fs::create_directories(base);
    setenv("XDG_RUNTIME_DIR", base.c_str(), 1);
    ThreadServer server("long");

    CFMessagePortRef port = Connect("long");

    EXPECT_EQ(SendRequest(port, 1), 0);
    EXPECT_TRUE(fs::is_socket(base / "qx-ports" / "long" / "socket"));
    CFRelease(port);
}

TEST_F(MessagePortFolder, EveryNameHasAFileOfItsOwn)
{
    const std::string names[] = {"",    ".",    "..", "a",   "A",
                                 "a/b", "a~sb", "~",  "/",   "~.",
                                 "~~",  "~s",   "a.", ".a/", std::string(127, '/')};
    std::vector<CFMessagePortRef> ports;
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Connect(name), nullptr);
        CFStringRef string = MakeString(name.c_str());
        ports.push_back(CFMessagePortCreateLocal(nullptr, string, nullptr, nullptr, nullptr));
        CFRelease(string);
        EXPECT_NE(ports.back(), nullptr);
        EXPECT_NE(Standin::ConnectToHolder(name).Get(), -1);
    }
    for (CFMessagePortRef port : ports) {
        CFRelease(port);
    }
    EXPECT_TRUE(fs::is_empty(GetFolder()));
}

TEST_F(MessagePortFolder, AStoppedHolderKeepsItsNameWhateverItsQueueOfCallersHolds)
{
    ProcessServer server("stopped");
    CFMessagePortRef port = Connect("stopped");
    server.Stop();
    // A caller that goes stays in the queue until the holder looks at it: the queue gets full.
    while (Standin::ConnectToHolder("stopped")) {
    }

    EXPECT_FALSE(CanHold("stopped"));
    server.Continue();
    EXPECT_EQ(SendRequest(port, 1), 0);
    EXPECT_FALSE(CanHold("stopped"));
    CFRelease(port);
}

TEST_F(MessagePortFolder, TheNameOfADeadHolderIsTakenAtOnce)
{
    for (int round = 0; round < 20; ++round) {
        ProcessServer server("dead");
        EXPECT_FALSE(CanHold("dead"));
        CFMessagePortRef port = Connect("dead");
        EXPECT_EQ(SendRequest(port, round), 0);
        CFRelease(port);
        server.Kill();
        EXPECT_EQ(Connect("dead"), nullptr);
        EXPECT_TRUE(fs::exists(GetFolder() / "dead" / "socket"));
    }
    EXPECT_TRUE(CanHold("dead"));
    EXPECT_TRUE(fs::is_empty(GetFolder()));
}

TEST_F(MessagePortFolder, OnlyOneOfTheServersThatStartTogetherGetsTheName)
{
    constexpr int kServers = 8;
    int start[2];
    int results[2];
    ASSERT_EQ(pipe(start), 0);
    ASSERT_EQ(pipe(results), 0);
    std::vector<pid_t> servers;
    for (int server = 0; server < kServers; ++server) {
        servers.push_back(fork());
        if (servers.back() == 0) {
            close(start[1]);
            char byte = 0;
            [[maybe_unused]] ssize_t size = read(start[0], &byte, 1);
            CFMessagePortRef port =
                CFMessagePortCreateLocal(nullptr, CFSTR("race"), nullptr, nullptr, nullptr);
            const char mark = port != nullptr ? '+' : '-';
            size = write(results[1], &mark, 1);
            pause();
        }
    }
    close(start[0]);
    close(start[1]);
    std::string marks(kServers, '?');
    for (char& mark : marks) {
        EXPECT_EQ(read(results[0], &mark, 1), 1);
    }
    EXPECT_EQ(std::count(marks.begin(), marks.end(), '+'), 1) << marks;
    EXPECT_EQ(std::count(marks.begin(), marks.end(), '-'), kServers - 1) << marks;
    for (const pid_t server : servers) {
        kill(server, SIGKILL);
        waitpid(server, nullptr, 0);
    }
    close(results[0]);
    close(results[1]);
}

// While names are given back and taken, two must never hold one, and one must always get it.
TEST_F(MessagePortFolder, ANameThatManyTakeAndGiveBackHasOneHolderAtATime)
{
    const fs::path witness = mBase / "witness";
    std::vector<pid_t> children;
    for (int process = 0; process < 4; ++process) {
        children.push_back(fork());
        if (children.back() == 0) {
            int held = 0;
            for (int round = 0; held < 50 && round < 1000000; ++round) {
                CFMessagePortRef port =
                    CFMessagePortCreateLocal(nullptr, CFSTR("turns"), nullptr, nullptr, nullptr);
                if (port == nullptr) {
                    continue;
                }
                const int alone = open(witness.c_str(), O_CREAT | O_EXCL | O_CLOEXEC, 0600);
                if (alone < 0 || Connect("turns") == nullptr || !fs::remove(witness)) {
                    _exit(1);
                }
                close(alone);
                CFRelease(port);
                ++held;
            }
            _exit(held == 50 ? 0 : 2);
        }
    }
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
}

/// A server of the user 65533 in a folder that everyone can get to; `become` makes its process
/// that user's. It ends with this object.
class ForeignServer
{
public:
    ForeignServer(const fs::path& base, bool (*become)(uid_t))
    {
        fs::permissions(base, fs::perms(0755));
        EXPECT_EQ(chown(base.c_str(), 65533, 65533), 0);
        int ready[2];
        EXPECT_EQ(pipe(ready), 0);
        mProcess = fork();
        if (mProcess == 0) {
            const bool isHeld =
                become(65533) &&
                CFMessagePortCreateLocal(nullptr, CFSTR("foreign"), nullptr, nullptr, nullptr);
            const char mark = isHeld ? '+' : '-';
            [[maybe_unused]] const ssize_t written = write(ready[1], &mark, 1);
            pause();
        }
        char mark = 0;
        EXPECT_EQ(read(ready[0], &mark, 1), 1);
        EXPECT_EQ(mark, '+');
        close(ready[0]);
        close(ready[1]);
    }
    ForeignServer(const ForeignServer&) = delete;
    ForeignServer& operator=(const ForeignServer&) = delete;
    ~ForeignServer()
    {
        kill(mProcess, SIGKILL);
        waitpid(mProcess, nullptr, 0);
    }

private:
    pid_t mProcess = -1;
};

TEST_F(MessagePortFolder, KeepsEveryOtherUserOut)
{
    if (!MayChangeUser()) {
        GTEST_SKIP() << "needs root";
    }
    ForeignServer server(mBase, BecomeUser);
    const fs::path folder = GetFolder() / "foreign";

    EXPECT_TRUE(HoldsInChild([&] { return BecomeUser(65533) && Connect("foreign") != nullptr; }));
    EXPECT_TRUE(HoldsInChild([&] {
        struct stat info = {};
        return BecomeUser(65532) && Connect("foreign") == nullptr && !CanHold("foreign") &&
               stat((folder / "socket").c_str(), &info) != 0 && errno == EACCES &&
               open((folder / "lock").c_str(), O_RDWR) < 0 && errno == EACCES;
    }));
}

/// Listens as the user 65532 in the namespace that all users share, at names that a port of the
/// user 65533 could have there: one with the port's name, and 25 with a hash of it.
std::vector<Standin::FileDescriptor> MakeDecoys()
{
    std::vector<std::string> names = {"qx-port:65533:foreign"};
    for (int number = 10; number < 35; ++number) {
        names.push_back("qx-spare:65533:466b58a030dfb213854a6635d3ba219b:" + std::string(30, '0') +
                        std::to_string(number));
    }
    std::vector<Standin::FileDescriptor> decoys;
    EXPECT_EQ(seteuid(65532), 0);
    for (const std::string& name : names) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        // The first byte stays 0: the name is not a file's.
        name.copy(address.sun_path + 1, name.size());
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
        decoys.emplace_back(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        EXPECT_EQ(bind(decoys.back().Get(), reinterpret_cast<const sockaddr*>(&address), size), 0);
        EXPECT_EQ(listen(decoys.back().Get(), SOMAXCONN), 0);
    }
    EXPECT_EQ(seteuid(0), 0);
    return decoys;
}

TEST_F(MessagePortFolder, AsksNoSocketThatAnotherUserHasMade)
{
    if (!HoldsInChild([] { return MayChangeUser() && unshare(CLONE_NEWNET) == 0; })) {
        GTEST_SKIP() << "needs root, and a system that makes network namespaces";
    }
    EXPECT_TRUE(HoldsInChild([&] {
        // Or the names of another run of this test would be taken.
        EXPECT_EQ(unshare(CLONE_NEWNET), 0);
        const std::vector<Standin::FileDescriptor> decoys = MakeDecoys();
        const ForeignServer server(mBase, BecomeUser);

        EXPECT_TRUE(HoldsInChild([] {
            CFMessagePortRef port = BecomeUser(65533) ? Connect("foreign") : nullptr;
            return port != nullptr && SendOneWay(port, 1) == 0;
        }));

        for (const Standin::FileDescriptor& decoy : decoys) {
            EXPECT_EQ(accept(decoy.Get(), nullptr, nullptr), -1);
        }
        return !HasFailure();
    }));
}

// The thread sanitizer and the emulator have threads of their own, and only a process of one thread
// may enter a namespace.
#if !QX_HAS_THREAD_SANITIZER && !defined(__powerpc__)
TEST_F(MessagePortFolder, KeepsOtherUsersOutWhereAllUsersHaveTheSameNumber)
{
    if (!HoldsInChild([] { return BecomeUserWithoutNumber(65533); })) {
        GTEST_SKIP()
            << "needs root, and a system that makes user namespaces: none does in a changed root";
    }
    ForeignServer server(mBase, BecomeUserWithoutNumber);

    EXPECT_TRUE(HoldsInChild(
        [&] { return BecomeUserWithoutNumber(65533) && Connect("foreign") != nullptr; }));
    EXPECT_TRUE(HoldsInChild([&] {
        return BecomeUserWithoutNumber(65532) && Connect("foreign") == nullptr &&
               !CanHold("foreign") && !CanHold("another");
    }));
}
#endif

} // namespace
