// FailingNew.h - makes operator new fail at a chosen call, and counts what it gave.
//
// A test program that uses it lists FailingNew.cpp among its sources. Only calls of the thread that
// made the FailingNew are counted and refused.
//
//     for (int call = 1;; ++call) {
//         FailingNew failing(call);
//         try {
//             MakeSomething();
//             break; // it needs fewer than `call` allocations
//         } catch (const std::bad_alloc&) {
//         }
//     }
#pragma once

namespace TestSupport {

class FailingNew
{
public:
    /// Lets the allocation number `call` fail, counted from 1, and all others succeed; 0 fails
    /// none.
    explicit FailingNew(int call);
    ~FailingNew();
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;

    /// Returns how many allocations this thread has asked for since the construction.
    int CountCalls() const;
};

/// Returns how many blocks of operator new are alive in the whole process.
long CountLiveBlocks();

} // namespace TestSupport
