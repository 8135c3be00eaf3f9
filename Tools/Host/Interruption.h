// Interruption.h - SIGINT and SIGTERM ask the host to come to an end by itself.
#pragma once

#include <csignal>

namespace Host {

/// Lets SIGINT and SIGTERM wait, from its making until it releases them.
class HeldSignals
{
public:
    HeldSignals();
    void Release() const;

    /// The signals that this thread held back before.
    const sigset_t& GetBefore() const { return mBefore; }

private:
    sigset_t mBefore;
};

/// From now on the first SIGINT or SIGTERM is noted, and ends a run of this thread's run loop. The
/// second one ends the process.
void NoteInterruptions();

/// From now on the first SIGINT or SIGTERM ends the process, as if nothing had been noted before.
void ForgetInterruptions();

/// The signal that has come, or 0.
int GetInterruption();

/// Waits that long, or until a signal that is noted comes or has come.
void SleepUnlessInterrupted(double seconds);

} // namespace Host
