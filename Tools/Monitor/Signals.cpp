// Signals.cpp - the thread that waits for signals.

#include "Tools/Monitor/Signals.h"

#include <CoreFoundation/CoreFoundation.h>

#include <atomic>
#include <csignal>
#include <thread>
#include <unistd.h>

namespace Monitor {
namespace {

std::atomic<bool> gWasInterrupted{false};

[[noreturn]] void WaitForSignals(sigset_t signals, CFRunLoopRef loop)
{
    int signal = 0;
    sigwait(&signals, &signal);
    gWasInterrupted.store(true);
    CFRunLoopStop(loop);
    CFRelease(loop);
    // This thread takes the next one, which then does what signals do.
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    for (;;) {
        pause();
    }
}

} // namespace

void StopRunLoopOnSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    // Threads inherit this.
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    // The loop outlives its thread until the other one has let go.
    const CFRunLoopRef loop = CFRunLoopGetCurrent();
    CFRetain(loop);
    std::thread(WaitForSignals, signals, loop).detach();
}

bool WasInterrupted()
{
    return gWasInterrupted.load();
}

} // namespace Monitor
