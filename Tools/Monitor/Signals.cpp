// Signals.cpp - the thread that waits for signals.

#include "Tools/Monitor/Signals.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <thread>
#include <unistd.h>

namespace Monitor {
namespace {

std::atomic<bool> gWasInterrupted{false};
/// For the threads that wait for the change of it.
std::mutex gMutex;
std::condition_variable gChange;

[[noreturn]] void WaitForSignals(sigset_t signals, CFRunLoopRef loop)
{
    int signal = 0;
    sigwait(&signals, &signal);
    Interrupt(loop);
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

void Interrupt(CFRunLoopRef loop)
{
    {
        const std::lock_guard lock(gMutex);
        gWasInterrupted.store(true);
    }
    gChange.notify_all();
    CFRunLoopStop(loop);
}

bool WasInterrupted()
{
    return gWasInterrupted.load();
}

void WaitForInterruption(double seconds)
{
    std::unique_lock lock(gMutex);
    gChange.wait_for(lock, std::chrono::duration<double>(seconds), WasInterrupted);
}

} // namespace Monitor
