// OtherUser.h - child processes for the tests of message ports, some of them another user's.
#pragma once

#include "Platform/PlatformTesting.h"

#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace Platform {

/// Runs a check in a child process and returns true if it says true there.
template <class Check>
bool HoldsInChild(Check check)
{
    const pid_t child = fork();
    if (child == 0) {
        _exit(check() ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Becomes another user if the process may; then the kernel says so to every peer.
inline bool BecomeNobody()
{
    return setgid(65534) == 0 && setuid(65534) == 0;
}

/// Returns a socket that is bound to an address in the abstract namespace, or -1.
inline int BindTo(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, path.data(), path.size());
    const int made = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + path.size());
    return bind(made, reinterpret_cast<const sockaddr*>(&address), size) == 0 ? made : -1;
}

/// Another user's process that listens at addresses, accepts whoever comes and counts what is
/// sent. A process that cannot become another user only binds them: nobody is served there either.
class Squatter
{
public:
    explicit Squatter(const std::vector<std::string>& addresses)
    {
        int readiness[2];
        EXPECT_EQ(pipe(readiness), 0);
        EXPECT_EQ(pipe(mOrders), 0);
        EXPECT_EQ(pipe(mCount), 0);
        mProcess = fork();
        if (mProcess == 0) {
            Squat(addresses, readiness[1]);
        }
        close(readiness[1]);
        close(mOrders[0]);
        close(mCount[1]);
        char mark = 0;
        EXPECT_EQ(read(readiness[0], &mark, 1), 1);
        EXPECT_EQ(mark, '+');
        close(readiness[0]);
    }
    Squatter(const Squatter&) = delete;
    Squatter& operator=(const Squatter&) = delete;
    ~Squatter() { Leave(); }

    /// Ends the process and returns how many packets it was sent.
    int Leave()
    {
        if (mProcess <= 0) {
            return 0;
        }
        int packets = -1;
        // Not the pipe's end: processes that were forked since have it too.
        EXPECT_EQ(write(mOrders[1], "", 1), 1);
        close(mOrders[1]);
        EXPECT_EQ(read(mCount[0], &packets, sizeof packets), static_cast<ssize_t>(sizeof packets));
        close(mCount[0]);
        waitpid(std::exchange(mProcess, -1), nullptr, 0);
        return packets;
    }

private:
    [[noreturn]] void Squat(const std::vector<std::string>& addresses, int readiness)
    {
        const bool isForeign = BecomeNobody();
        std::vector<pollfd> sockets = {{mOrders[0], POLLIN, 0}};
        bool isSquatting = true;
        for (const std::string& address : addresses) {
            sockets.push_back({BindTo(address), POLLIN, 0});
            isSquatting = isSquatting && sockets.back().fd >= 0 &&
                          (!isForeign || listen(sockets.back().fd, 64) == 0);
        }
        if (!isForeign) {
            sockets.resize(1);
        }
        const char mark = isSquatting ? '+' : '-';
        [[maybe_unused]] ssize_t written = write(readiness, &mark, 1);
        const int packets = CountUntilOrdered(std::move(sockets));
        written = write(mCount[1], &packets, sizeof packets);
        _exit(0);
    }

    /// The first entry is the pipe that tells when to stop; then all that came is counted.
    static int CountUntilOrdered(std::vector<pollfd> sockets)
    {
        const std::size_t listening = sockets.size();
        int packets = 0;
        for (bool isLast = false;;) {
            const int ready = poll(sockets.data(), sockets.size(), isLast ? 0 : -1);
            isLast = isLast || sockets[0].revents != 0;
            if (ready == (sockets[0].revents != 0 ? 1 : 0) && isLast) {
                return packets;
            }
            for (std::size_t index = 1; index < sockets.size(); ++index) {
                if (sockets[index].revents == 0) {
                    continue;
                }
                if (index < listening) {
                    sockets.push_back({accept(sockets[index].fd, nullptr, nullptr), POLLIN, 0});
                } else {
                    char byte = 0;
                    const bool isPacket = recv(sockets[index].fd, &byte, 1, 0) > 0;
                    packets += isPacket ? 1 : 0;
                    sockets[index].fd = isPacket ? sockets[index].fd : -1;
                }
            }
        }
    }

    pid_t mProcess = -1;
    int mOrders[2] = {-1, -1};
    int mCount[2] = {-1, -1};
};

} // namespace Platform
