// Signals.h - the end that SIGINT and SIGTERM ask for.
#pragma once

namespace Monitor {

/// From now on SIGINT or SIGTERM stops the calling thread's run loop, and WasInterrupted is true
/// before that. A second one ends the process at once.
///
/// A signal handler may not stop a loop on the platform, so a thread waits for the signals and does
/// it. To be called before any other thread is made, once.
void StopRunLoopOnSignals();

bool WasInterrupted();

/// Waits until a signal has come, or the time is over.
void WaitForInterruption(double seconds);

} // namespace Monitor
