// RunLoop.cpp - the loops of all threads.

#include "Ports/RunLoop.h"

#include "Objects/String.h"
#include "Threads/Clock.h"

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <sys/eventfd.h>

namespace {

// Guards the list of loops and the entries of each. One mutex for all, so that a source leaves
// every loop in one step. It is held only for a look at a list.
std::mutex gLoopsMutex;
std::vector<__CFRunLoop*>& Loops()
{
    static auto* sLoops = new std::vector<__CFRunLoop*>;
    return *sLoops;
}

constinit __CFString gDefaultMode("kCFRunLoopDefaultMode");

/// Owns the loop of a thread.
struct ThreadLoop
{
    ThreadLoop() = default;
    ThreadLoop(const ThreadLoop&) = delete;
    ThreadLoop& operator=(const ThreadLoop&) = delete;
    ~ThreadLoop()
    {
        if (mLoop != nullptr) {
            CFRelease(mLoop);
        }
    }

    CFRunLoopRef mLoop = nullptr;
};

void DestroyLoop(Standin::Object* object)
{
    auto* const loop = static_cast<__CFRunLoop*>(object);
    {
        const std::lock_guard lock(gLoopsMutex);
        std::erase(Loops(), loop);
    }
    // The sources are destroyed without the lock: their destructors may take it.
    loop->~__CFRunLoop();
}

Standin::FileDescriptor MakeWakeUp()
{
    return Standin::FileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
}

// A loop without a wake-up descriptor, because the process had none left, looks this often.
constexpr Standin::Nanoseconds kSliceWithoutWakeUp = 10000000;

} // namespace

const CFStringRef kCFRunLoopDefaultMode = &gDefaultMode;

const Standin::Type __CFRunLoop::kType = {Standin::kRunLoopType, "CFRunLoop", &DestroyLoop};
const Standin::Type __CFRunLoopSource::kType = {Standin::kRunLoopSourceType, "CFRunLoopSource",
                                                &Standin::Destroy<__CFRunLoopSource>};

__CFRunLoop::__CFRunLoop()
    : Object(kType)
    , mWakeUp(MakeWakeUp())
{
    const std::lock_guard lock(gLoopsMutex);
    Loops().push_back(this);
}

void __CFRunLoop::WakeUp()
{
    const std::uint64_t one = 1;
    const int saved = errno;
    // If the counter is full, the write fails, and the loop wakes up all the same.
    [[maybe_unused]] const ssize_t written = write(mWakeUp.Get(), &one, sizeof one);
    errno = saved;
}

void __CFRunLoop::Stop()
{
    mStopped.store(true);
    WakeUp();
}

void __CFRunLoop::RenewWakeUp()
{
    mWakeUp.Close();
    mWakeUp = MakeWakeUp();
}

void __CFRunLoop::Add(std::shared_ptr<Standin::LoopSource> source, std::string_view mode)
{
    {
        const std::lock_guard lock(gLoopsMutex);
        for (const Entry& entry : mEntries) {
            if (entry.mSource == source && entry.mMode == mode) {
                return;
            }
        }
        mEntries.push_back({std::move(source), std::string(mode)});
        mChanges.fetch_add(1, std::memory_order_release);
    }
    WakeUp();
}

void __CFRunLoop::RemoveFromEveryMode(const Standin::LoopSource* source)
{
    if (std::erase_if(mEntries, [&](const Entry& entry) { return entry.mSource.get() == source; }) >
        0) {
        mChanges.fetch_add(1, std::memory_order_release);
    }
}

__CFRunLoop::Sources __CFRunLoop::SourcesOf(std::string_view mode) const
{
    Sources sources;
    const std::lock_guard lock(gLoopsMutex);
    for (const Entry& entry : mEntries) {
        if (entry.mMode == mode) {
            sources.push_back(entry.mSource);
        }
    }
    return sources;
}

/// Waits until a source is ready, the loop is woken or the time is over; true if a source is ready.
bool __CFRunLoop::Wait(const Sources& sources, std::vector<pollfd>& entries, SInt64 left)
{
    entries.clear();
    bool isReady = false;
    for (const auto& source : sources) {
        entries.push_back(source->GetPollEntry());
        if (source->HasMore()) {
            entries.back().revents = POLLIN;
            isReady = true;
        }
    }
    if (isReady) {
        return true;
    }
    pollfd wakeUp{};
    wakeUp.fd = mWakeUp.Get();
    wakeUp.events = POLLIN;
    entries.push_back(wakeUp);

    left = std::max<Standin::Nanoseconds>(left, 0);
    if (!mWakeUp) {
        left = std::min(left, kSliceWithoutWakeUp);
    }
    // Without a deadline there is no timeout: the kernel would set and cancel a timer at each wait.
    const timespec timeout = Standin::ToTimespec(left);
    const int ready = ppoll(entries.data(), static_cast<nfds_t>(entries.size()),
                            left < Standin::kNever ? &timeout : nullptr, nullptr);
    if (ready <= 0) {
        return false;
    }
    if (entries.back().revents != 0) {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t taken = read(mWakeUp.Get(), &count, sizeof count);
    }
    return ready > 1 || entries.back().revents == 0;
}

/// Performs the ready sources, beginning with the one whose turn it is. Stops after one that counts
/// as handled, or when the loop's sources have changed since the count of changes was `seen`.
bool __CFRunLoop::PerformReady(const Sources& sources, const std::vector<pollfd>& entries,
                               UInt32 seen)
{
    const std::size_t first = mTurn++;
    for (std::size_t index = 0; index < sources.size(); ++index) {
        const std::size_t place = (first + index) % sources.size();
        if (entries[place].revents != 0 && mChanges.load(std::memory_order_acquire) == seen &&
            sources[place]->Perform()) {
            return true;
        }
    }
    return false;
}

SInt32 __CFRunLoop::Run(std::string_view mode, CFTimeInterval seconds,
                        bool returnAfterSourceHandled, Standin::LoopSource* awaited,
                        const std::atomic<bool>* isOver)
{
    const bool isForever = seconds >= Standin::kForeverSeconds;
    Standin::Nanoseconds now = Standin::Now();
    const Standin::Nanoseconds deadline = Standin::DeadlineAfter(seconds, now);
    Sources sources;
    std::vector<pollfd> entries;
    UInt32 seen = 0;
    for (bool first = true;; first = false) {
        const UInt32 changes = mChanges.load(std::memory_order_acquire);
        if (first || changes != seen) {
            seen = changes;
            sources = SourcesOf(mode);
            if (awaited != nullptr) {
                // This pointer owns nothing: the caller owns the source.
                sources.emplace_back(std::shared_ptr<void>(), awaited);
            }
        }
        if (sources.empty()) {
            return kCFRunLoopRunFinished;
        }
        if (isOver != nullptr && isOver->load(std::memory_order_acquire)) {
            return kCFRunLoopRunHandledSource;
        }
        if (mStopped.load() && mStopped.exchange(false)) {
            return kCFRunLoopRunStopped;
        }
        if (!first && !isForever) {
            now = Standin::Now();
            if (now >= deadline) {
                return kCFRunLoopRunTimedOut;
            }
        }
        if (Wait(sources, entries, isForever ? Standin::kNever : deadline - now) &&
            PerformReady(sources, entries, seen) && returnAfterSourceHandled) {
            return kCFRunLoopRunHandledSource;
        }
    }
}

namespace Standin {

void RemoveFromEveryLoop(const LoopSource* source)
{
    const std::lock_guard lock(gLoopsMutex);
    for (__CFRunLoop* loop : Loops()) {
        loop->RemoveFromEveryMode(source);
    }
}

void LockLoops()
{
    gLoopsMutex.lock();
}

void UnlockLoops()
{
    gLoopsMutex.unlock();
}

void RenewLoopsInChild()
{
    for (__CFRunLoop* loop : Loops()) {
        loop->RenewWakeUp();
    }
}

} // namespace Standin

CFRunLoopRef CFRunLoopGetCurrent(void)
{
    static thread_local ThreadLoop sLoop;
    if (sLoop.mLoop == nullptr) {
        sLoop.mLoop = Standin::Make<__CFRunLoop>();
        if (sLoop.mLoop == nullptr) {
            Standin::Misuse("CFRunLoopGetCurrent", "there is no memory for the thread's loop");
        }
    }
    return sLoop.mLoop;
}

SInt32 CFRunLoopRunInMode(CFStringRef mode, CFTimeInterval seconds,
                          Boolean returnAfterSourceHandled)
{
    return CFRunLoopGetCurrent()->Run(Standin::Text(mode, "CFRunLoopRunInMode"), seconds,
                                      returnAfterSourceHandled != 0);
}

void CFRunLoopStop(CFRunLoopRef rl)
{
    Standin::As<__CFRunLoop>(rl, "CFRunLoopStop").Stop();
}

void CFRunLoopAddSource(CFRunLoopRef rl, CFRunLoopSourceRef source, CFStringRef mode)
{
    auto& added = Standin::As<__CFRunLoopSource>(source, "CFRunLoopAddSource");
    Standin::As<__CFRunLoop>(rl, "CFRunLoopAddSource")
        .Add(added.mSource, Standin::Text(mode, "CFRunLoopAddSource"));
}
