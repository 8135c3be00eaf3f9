// DriverSynchronization.h - the atomic operations of CoreServices.
//
// Every operation is sequentially consistent. Increment and decrement are inline here because they
// are the cost of copying a smart pointer; the platform calls them through its own fast path.
#pragma once

#include <CoreServices/MacTypes.h>

/// Adds 1 to the word at `address`, modulo 2^32, and returns the value before.
static inline SInt32 IncrementAtomic(SInt32* address)
{
    return __atomic_fetch_add(address, 1, __ATOMIC_SEQ_CST);
}

/// Subtracts 1 from the word at `address`, modulo 2^32, and returns the value before.
static inline SInt32 DecrementAtomic(SInt32* address)
{
    return __atomic_fetch_sub(address, 1, __ATOMIC_SEQ_CST);
}

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/// Stores `newValue` at `address` if the word there is `oldValue`. One attempt that never fails
/// spuriously; returns true exactly when it stored.
Boolean CompareAndSwap(UInt32 oldValue, UInt32 newValue, UInt32* address);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop
