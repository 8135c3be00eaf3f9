// FailingPlatform.h - makes the framework's calls of the platform fail at a chosen one.
//
// A test program that links FailingPlatform has its calls of CompareAndSwap and of the four
// functions of critical regions replaced.
#pragma once

namespace TestSupport {

/// Refuses the call number `call` of the thread that makes it, counted from 1 (0 refuses none): a
/// region is not made, not entered, and not what the platform says of its exit or its end; a swap
/// does not take place. One at a time on each thread.
class FailingPlatform
{
public:
    explicit FailingPlatform(int call);
    ~FailingPlatform();
    FailingPlatform(const FailingPlatform&) = delete;
    FailingPlatform& operator=(const FailingPlatform&) = delete;

    /// Tells whether the call to be refused has come.
    bool HasRefused() const;

    /// Returns what the refused swap would have added to a count; 0 if another call was refused.
    static int GetMissedChange();
};

} // namespace TestSupport
