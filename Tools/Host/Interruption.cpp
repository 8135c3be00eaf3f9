// Interruption.cpp - the handler of both signals, and what must not miss them.

#include "Tools/Host/Interruption.h"

#include <CoreFoundation/CoreFoundation.h>

#include <csignal>
#include <ctime>
#include <sys/select.h>

namespace Host {
namespace {

volatile std::sig_atomic_t gSignal = 0;
CFRunLoopRef gLoop = nullptr;

void Note(int number)
{
    gSignal = number;
    CFRunLoopStop(gLoop);
}

} // namespace

HeldSignals::HeldSignals()
{
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGINT);
    sigaddset(&ending, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ending, &mBefore);
}

void HeldSignals::Release() const
{
    pthread_sigmask(SIG_SETMASK, &mBefore, nullptr);
}

void NoteInterruptions()
{
    gLoop = CFRunLoopGetCurrent();
    struct sigaction action = {};
    action.sa_handler = Note;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

void ForgetInterruptions()
{
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

int GetInterruption()
{
    return gSignal;
}

void SleepUnlessInterrupted(double seconds)
{
    // A signal after the question and before the sleep would be missed, so the system lets them in
    // with the sleep.
    const HeldSignals signals;
    if (GetInterruption() == 0) {
        const auto whole = static_cast<std::time_t>(seconds);
        const timespec time = {whole, static_cast<decltype(timespec::tv_nsec)>(
                                          (seconds - static_cast<double>(whole)) * 1e9)};
        pselect(0, nullptr, nullptr, nullptr, &time, &signals.GetBefore());
    }
    signals.Release();
}

} // namespace Host
