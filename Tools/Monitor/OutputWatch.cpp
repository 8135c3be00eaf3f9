// OutputWatch.cpp - the thread that waits for the end of the reader.

#include "Tools/Monitor/OutputWatch.h"

#include "Tools/Common/Terminal.h"
#include "Tools/Monitor/Signals.h"

#include <thread>

namespace Monitor {
namespace {

void WaitForReader(CFRunLoopRef loop)
{
    if (Tools::AwaitReaderGone(-1)) {
        Interrupt(loop);
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

} // namespace Monitor
