// Journal.h - what happens in a check, in memory that outlives the check's process.
//
// Every call of the plug-in is written down before it is made, and every message when it arrives at
// the server. After a crash the last call is therefore known, with its arguments.
#pragma once

#include "Tools/Recording/Event.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace Validate {

/// One call of an entry point, or one message that arrived. Plain memory, shared by processes.
struct Event : Recording::EventFacts
{
    static constexpr std::size_t kMostData = 2048;

    char thrown[128]; ///< the text of the exception
    /// The data, cut after kMostData bytes.
    unsigned char data[kMostData];
};

/// What a check's process is about.
enum class Phase
{
    kCalls,
    kUnloading,
    kEnding ///< the end of the process
};

/// How a check ended, as its own process saw it.
struct Verdict
{
    std::atomic<Phase> phase;
    std::atomic<int> isOver; ///< 1 as soon as the check has said how it ended
    char finding[1024];      ///< what is wrong, or ""
    bool isNotLoaded;        ///< the bundle could not be loaded

    // Of a signal that ended the process.
    int signal;
    char fault[256]; ///< where, if it was an invalid address
};

/// Threads: any, of any process that was forked after Create.
class Journal
{
public:
    /// Returns null if there is no memory for it.
    static std::unique_ptr<Journal> Create();
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    /// Returns a new event, all zeros but its time. Of more than kCapacity events the oldest are
    /// overwritten.
    Event& Add();

    /// The number of events so far, and one that is still kept.
    UInt32 GetCount() const { return mShared->count.load(std::memory_order_acquire); }
    const Event& Get(UInt32 index) const { return mShared->events[index % kCapacity]; }
    /// The first event that is still kept.
    UInt32 GetFirst() const { return GetCount() > kCapacity ? GetCount() - kCapacity : 0; }
    /// The call that began last, or null.
    const Event* FindLastCall() const;

    Verdict& GetVerdict() { return mShared->verdict; }
    const Verdict& GetVerdict() const { return mShared->verdict; }

    static constexpr UInt32 kCapacity = 4096;

private:
    struct Shared
    {
        Verdict verdict;
        std::atomic<UInt32> count;
        Event events[kCapacity];
    };

    explicit Journal(Shared* shared)
        : mShared(shared)
    {}

    Shared* const mShared;
};

/// Copies a text into a field of that size and ends it with a NUL.
void CopyText(char* field, std::size_t size, const std::string& text);
template <std::size_t size>
void CopyText(char (&field)[size], const std::string& text)
{
    CopyText(field, size, text);
}

/// Describes a call with its arguments, as Recording::DescribeCall does.
std::string DescribeCall(const Event& call);

/// The events that are still kept, as they stand in a recording.
Recording::Events TakeEvents(const Journal& journal);

} // namespace Validate
