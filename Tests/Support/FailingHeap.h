// FailingHeap.h - makes the process heap refuse memory, and counts what it was asked.
//
//     {
//         const FailingHeap heap(2);    // refuses the second request
//         EXPECT_THROW(text.Insert(0, other), std::bad_alloc);
//         heap.GetJournal();            // "malloc 16, realloc 32"
//     }
//
// A test program that links FailingHeap has its calls of malloc, calloc, realloc, free and operator
// new replaced; each `new` is one request to malloc. Calls from shared libraries are not seen.
#pragma once

#include <cstddef>
#include <string>

namespace TestSupport {

/// Counts the requests of the thread that makes it, and refuses the one number `refused`, counted
/// from 1 (0 refuses none). Releases, to which a reallocation to 0 bytes belongs, are not counted.
/// One at a time on each thread.
class FailingHeap
{
public:
    explicit FailingHeap(int refused)
        : FailingHeap(refused, refused, kAnySize)
    {}
    ~FailingHeap();
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;

    /// Returns for example "malloc 16, realloc 32, free"; calls after 255 characters are left out.
    std::string GetJournal() const;

    /// Returns how many requests were made.
    int CountRequests() const;

    /// Tells whether a request was refused.
    bool HasRefused() const;

protected:
    static constexpr std::size_t kAnySize = static_cast<std::size_t>(-1);

    /// Refuses the requests number `first` to `last`, and all of more than `largest` bytes.
    FailingHeap(int first, int last, std::size_t largest);
};

/// Refuses the request number `refused` and all after it.
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

/// Returns how many blocks of the whole process are alive, made while a FailingHeap lived or not.
long CountLiveBlocks();

} // namespace TestSupport
