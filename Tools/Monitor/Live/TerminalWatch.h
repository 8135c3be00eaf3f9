// TerminalWatch.h - notices keys and a new size of the terminal while the run loop waits.
#pragma once

namespace Monitor {

/// From now on a key on the standard input, and a new size of the terminal, stop the calling
/// thread's run loop. A thread waits for them, and is woken by nothing else. To be called once,
/// after StopRunLoopOnSignals and after the screen is open, which has a handler for sizes itself.
void StopRunLoopOnTerminal();

/// Tells whether the size has changed since the last call.
bool WasResized();

/// Tells whether there are keys to read. Once they have been read, ResumeKeys lets the next ones
/// stop the loop.
bool HasKeys();
void ResumeKeys();

} // namespace Monitor
