// FailingHeap.h - makes the process heap under SystemAllocator fail, and counts what it was asked.
//
// A test program that uses it lists FailingHeap.cpp among its sources and malloc, calloc, realloc
// and free behind WRAP. Calls from shared libraries are not seen; those of operator new are seen
// only if FailingNew.cpp is in the program too.
#pragma once

#include <string>

namespace TestSupport {

/// Journals the heap calls of the thread that makes it, and refuses the one number `call`, counted
/// from 1 (0 refuses none). Releases, to which a reallocation to 0 bytes belongs, are not counted.
/// One at a time on each thread.
class FailingHeap
{
public:
    explicit FailingHeap(int call)
        : FailingHeap(call, false)
    {}
    ~FailingHeap();
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;

    /// Returns for example "malloc 16, realloc 32, free"; calls beyond 255 letters are left out.
    std::string GetJournal() const;

    /// Tells whether the call to be refused has come.
    bool HasRefused() const;

    /// Returns how many blocks of the whole process are alive, made while anybody watched or not.
    static long CountLiveBlocks();

protected:
    FailingHeap(int call, bool isExhausted);
};

/// As FailingHeap, but once it has refused a call it refuses all that follow.
class ExhaustedHeap : public FailingHeap
{
public:
    explicit ExhaustedHeap(int call)
        : FailingHeap(call, true)
    {}
};

} // namespace TestSupport
