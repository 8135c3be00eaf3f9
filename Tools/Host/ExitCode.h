// ExitCode.h - what the host's exit codes mean, for all of its commands.
#pragma once

namespace Host {

enum ExitCode : int
{
    kExitAsExpected = 0,
    kExitUnexpected = 1,
    kExitUsage = 2,
    kExitNotLoaded = 3, ///< or no server holds the port that messages are to be sent to
    kExitUnwritten = 4, ///< the standard output or a file; or no process could be started
    kExitNoMemory = 5,
    kExitCrashed = 6,
    kExitHung = 7,
    kExitEnded = 8,     ///< the plug-in ended the process
    kExitReaderGone = 9 ///< of the standard output
};

/// Returns the exit code, or another one if the standard output could not be written. That is told,
/// unless it is because no one reads it any more.
int Conclude(int exitCode);

/// From now on this process ends with kExitReaderGone when it writes to a standard output that
/// no one reads any more.
void EndWithoutReader();

} // namespace Host
