// Signals.h - the end that SIGINT, SIGTERM or the reader of the output ask for.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

namespace Monitor {

/// From now on SIGINT or SIGTERM stops the calling thread's run loop, and WasInterrupted is true
/// before that. A second one ends the process at once.
///
/// A signal handler may not stop a loop on the platform, so a thread waits for the signals and does
/// it. To be called before any other thread is made, once.
void StopRunLoopOnSignals();

/// Asks for the end as a signal does: from now on WasInterrupted is true, and the run loop stops.
void Interrupt(CFRunLoopRef loop);

bool WasInterrupted();

/// Waits until the end is asked for, or the time is over.
void WaitForInterruption(double seconds);

} // namespace Monitor
