// RunLoop.h - the object that a CFRunLoopRef points to, and what a loop waits for.
#pragma once

#include "Objects/Object.h"
#include "Ports/FileDescriptor.h"

#include <CoreFoundation/CFRunLoop.h>

#include <atomic>
#include <memory>
#include <poll.h>
#include <string>
#include <string_view>
#include <vector>

namespace Standin {

/// Something a loop waits for: a descriptor, and what to do when it is ready.
class LoopSource
{
public:
    LoopSource() = default;
    LoopSource(const LoopSource&) = delete;
    LoopSource& operator=(const LoopSource&) = delete;
    virtual ~LoopSource() = default;

    /// The descriptor and its events; a descriptor of -1 is never ready.
    virtual pollfd GetPollEntry() const = 0;
    /// True if it is certainly ready, so that the loop need not ask the system.
    virtual bool HasMore() { return false; }
    /// Does one piece of work, on the thread of the loop and under no lock. Returns true if that
    /// counts as a handled source.
    virtual bool Perform() = 0;
};

} // namespace Standin

struct __CFRunLoop : Standin::Object
{
    static const Standin::Type kType;

    __CFRunLoop();

    /// Runs like CFRunLoopRunInMode. `awaited` is one more source for this run only. The run also
    /// ends, as after a handled source, once `isOver` is true: another thread sets it and then
    /// wakes the loop.
    SInt32 Run(std::string_view mode, CFTimeInterval seconds, bool returnAfterSourceHandled,
               Standin::LoopSource* awaited = nullptr, const std::atomic<bool>* isOver = nullptr);
    void Add(std::shared_ptr<Standin::LoopSource> source, std::string_view mode);
    void RemoveFromEveryMode(const Standin::LoopSource* source);

    /// Makes a waiting run look at its sources again. Threads: any; also from a signal handler.
    void WakeUp();
    void Stop();
    /// Gives the loop of a forked child a wake-up descriptor of its own.
    void RenewWakeUp();

private:
    using Sources = std::vector<std::shared_ptr<Standin::LoopSource>>;

    struct Entry
    {
        std::shared_ptr<Standin::LoopSource> mSource;
        std::string mMode;
    };

    Sources SourcesOf(std::string_view mode) const;
    bool Wait(const Sources& sources, std::vector<pollfd>& entries, SInt64 left);
    bool PerformReady(const Sources& sources, const std::vector<pollfd>& entries, UInt32 seen);

    /// Guarded by the mutex of all loops.
    std::vector<Entry> mEntries;
    /// Counts the changes of the entries.
    std::atomic<UInt32> mChanges{0};
    Standin::FileDescriptor mWakeUp;
    std::atomic<bool> mStopped{false};
    /// Where the search for a ready source begins, so that each gets its turn. Only the loop's
    /// thread uses it.
    std::size_t mTurn = 0;
};

struct __CFRunLoopSource : Standin::Object
{
    static const Standin::Type kType;

    explicit __CFRunLoopSource(std::shared_ptr<Standin::LoopSource> source)
        : Object(kType)
        , mSource(std::move(source))
    {}

    const std::shared_ptr<Standin::LoopSource> mSource;
};

namespace Standin {

/// Removes a source from every loop of the process. A loop may still be performing it. Requires
/// that the caller holds a reference to the source.
void RemoveFromEveryLoop(const LoopSource* source);

/// For a fork: the loops are locked during it, and the child gets wake-up descriptors of its own.
void LockLoops();
void UnlockLoops();
void RenewLoopsInChild();

} // namespace Standin
