// FailingHeap.h - makes the process heap refuse memory, and counts the requests.
//
//     {
//         const FailingHeap heap(2);    // refuses the second request
//         EXPECT_THROW(text.Insert(0, other), std::bad_alloc);
//         heap.GetJournal();            // "malloc 16, realloc 32"
//     }
//
// In a test program that links FailingHeap, malloc, calloc, realloc, free and operator new are
// replaced; each `new` is one request to malloc. Calls from shared libraries are not seen.
#pragma once

#include <cstddef>
#include <string>

namespace TestSupport {

/// Counts the requests of the thread that makes this object, and refuses request number `refused`,
/// counted from 1 (0 refuses none). Releases are not counted, and neither are reallocations to 0
/// bytes. A thread may have only one such object at a time.
class FailingHeap
{
public:
    explicit FailingHeap(int refused)
        : FailingHeap(refused, refused, kAnySize)
    {}
    /// Refuses none, and calls `look` at each request, which must not make any itself.
    explicit FailingHeap(void (*look)());
    ~FailingHeap();
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;

    /// Returns for example "malloc 16, realloc 32, free"; calls after 255 characters are left out.
    std::string GetJournal() const;

    /// Returns how many requests were made.
    int CountRequests() const;

    /// Returns whether a request was refused.
    bool HasRefused() const;

protected:
    static constexpr std::size_t kAnySize = static_cast<std::size_t>(-1);

    /// Refuses requests number `first` to `last`, and all requests of more than `largest` bytes.
    FailingHeap(int first, int last, std::size_t largest);
};

/// Refuses request number `refused` and all after it.
class ExhaustedHeap : public FailingHeap
{
public:
    explicit ExhaustedHeap(int refused);
};

/// Refuses every request of more than `largest` bytes.
class LimitedHeap : public FailingHeap
{
public:
    explicit LimitedHeap(std::size_t largest)
        : FailingHeap(0, 0, largest)
    {}
};

/// Returns how many blocks of the whole process are alive, also those made without a FailingHeap.
long CountLiveBlocks();

} // namespace TestSupport
