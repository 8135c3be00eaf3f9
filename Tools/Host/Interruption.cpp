// Interruption.cpp - the handler of both signals.

#include "Tools/Host/Interruption.h"

#include <CoreFoundation/CoreFoundation.h>

#include <csignal>

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

void NoteInterruptions()
{
    gLoop = CFRunLoopGetCurrent();
    struct sigaction action = {};
    action.sa_handler = Note;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

int GetInterruption()
{
    return gSignal;
}

} // namespace Host
