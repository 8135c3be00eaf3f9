// OutputWatch.cpp - the thread that waits for the end of the reader.

#include "Tools/Monitor/OutputWatch.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cerrno>
#include <poll.h>
#include <thread>
#include <unistd.h>

namespace Monitor {
namespace {

/// Waits that long for the reader to go; -1 is for ever. Returns true if it has gone.
bool AwaitReaderGone(int milliseconds)
{
    // A hang-up is told without being asked for; a file never has one.
    pollfd output = {STDOUT_FILENO, 0, 0};
    while (poll(&output, 1, milliseconds) < 0 && errno == EINTR) {
    }
    return (output.revents & (POLLERR | POLLHUP)) != 0;
}

void WaitForReader(CFRunLoopRef loop)
{
    if (AwaitReaderGone(-1)) {
        CFRunLoopStop(loop);
    }
    CFRelease(loop);
}

} // namespace

void StopRunLoopWithoutReader()
{
    // The loop outlives its thread until the other one has let go.
    const CFRunLoopRef loop = CFRunLoopGetCurrent();
    CFRetain(loop);
    std::thread(WaitForReader, loop).detach();
}

bool IsReaderGone()
{
    return AwaitReaderGone(0);
}

} // namespace Monitor
