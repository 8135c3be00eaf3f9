// FailingPlatform.h - makes one chosen call of the framework to the platform fail.
//
// In a test program that links FailingPlatform, CompareAndSwap and the four functions of critical
// regions are replaced.
#pragma once

namespace TestSupport {

/// Refuses call number `call` of the thread that makes this object, counted from 1 (0 refuses
/// none). A refused region is not made or not entered; an exit or a deletion takes place but
/// returns an error; a swap does not take place. A thread may have only one such object at a time.
class FailingPlatform
{
public:
    explicit FailingPlatform(int call);
    ~FailingPlatform();
    FailingPlatform(const FailingPlatform&) = delete;
    FailingPlatform& operator=(const FailingPlatform&) = delete;

    /// Returns whether the call to be refused was made.
    bool HasRefused() const;

    /// Returns what the refused swap would have added to a count; 0 if another call was refused.
    static int GetMissedChange();
};

} // namespace TestSupport
