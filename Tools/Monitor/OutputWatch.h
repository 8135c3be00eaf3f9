// OutputWatch.h - notices that nobody reads the standard output any more.
#pragma once

namespace Monitor {

/// From now on the calling thread's run loop is stopped, as by a signal, when the reader of the
/// standard output goes, also while nothing is written. A thread waits for that, and is woken by
/// nothing else. To be called after StopRunLoopOnSignals, so that signals do not go to that thread.
void StopRunLoopWithoutReader();

} // namespace Monitor
