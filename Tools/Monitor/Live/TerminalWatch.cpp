// TerminalWatch.cpp - the thread that waits for the terminal.

#include "Tools/Monitor/Live/TerminalWatch.h"

#include <CoreFoundation/CoreFoundation.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace Monitor {
namespace {

constexpr char kResized = 'r';
constexpr char kResumed = 'k';

std::atomic<bool> gWasResized{false};
std::atomic<bool> gHasKeys{false};
// Wakes the thread: a handler of signals may write to a pipe.
int gWakeUps[2] = {-1, -1};

void WakeThread(char reason)
{
    const int saved = errno;
    // A full pipe wakes the thread just as well.
    [[maybe_unused]] const ssize_t written = write(gWakeUps[1], &reason, 1);
    errno = saved;
}

void NoteResize(int)
{
    gWasResized.store(true);
    WakeThread(kResized);
}

[[noreturn]] void WaitForTerminal(CFRunLoopRef loop)
{
    bool awaitsKeys = true;
    for (;;) {
        pollfd entries[] = {{gWakeUps[0], POLLIN, 0}, {awaitsKeys ? STDIN_FILENO : -1, POLLIN, 0}};
        if (poll(entries, 2, -1) < 0) {
            continue;
        }
        char reason = '\0';
        if (entries[0].revents != 0 && read(gWakeUps[0], &reason, 1) == 1) {
            awaitsKeys = awaitsKeys || reason == kResumed;
        }
        if (entries[1].revents != 0) {
            awaitsKeys = false;
            gHasKeys.store(true);
        }
        if (reason == kResized || entries[1].revents != 0) {
            CFRunLoopStop(loop);
        }
    }
}

} // namespace

void StopRunLoopOnTerminal()
{
    if (pipe(gWakeUps) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
    for (const int end : gWakeUps) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    // The loop outlives its thread: the other one never lets go.
    const CFRunLoopRef loop = CFRunLoopGetCurrent();
    CFRetain(loop);
    std::thread(WaitForTerminal, loop).detach();
    struct sigaction action = {};
    action.sa_handler = NoteResize;
    action.sa_flags = SA_RESTART;
    sigaction(SIGWINCH, &action, nullptr);
}

bool WasResized()
{
    return gWasResized.exchange(false);
}

bool HasKeys()
{
    return gHasKeys.load();
}

void ResumeKeys()
{
    gHasKeys.store(false);
    WakeThread(kResumed);
}

} // namespace Monitor
