// OtherUser.h - child processes for the tests of message ports, some of them another user's.
#pragma once

#include "Platform/PlatformTesting.h"

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Platform {

/// Runs a check in a child process and returns its result.
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

/// True if this process may become another user. Tests with two users need it.
inline bool MayChangeUser()
{
    return geteuid() == 0;
}

/// Becomes another user, with another number for the kernel.
inline bool BecomeUser(uid_t user)
{
    return setgid(user) == 0 && setuid(user) == 0;
}

/// Becomes the user `user` in a namespace of its own without a list of users: all users have the
/// same number there.
inline bool BecomeUserWithoutNumber(uid_t user)
{
    return BecomeUser(user) && unshare(CLONE_NEWUSER) == 0;
}

} // namespace Platform
