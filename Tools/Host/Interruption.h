// Interruption.h - SIGINT and SIGTERM ask the host to come to an end by itself.
#pragma once

namespace Host {

/// From now on the first SIGINT or SIGTERM is noted, and ends a run of this thread's run loop. The
/// second one ends the process.
void NoteInterruptions();

/// The signal that has come, or 0.
int GetInterruption();

} // namespace Host
