// DriverSynchronization.h - the atomic operations of CoreServices.
//
// Every operation is sequentially consistent. Increment and decrement are inline, because every
// copy of a smart pointer calls them.
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

/// Stores `newValue` at `address` if the word there is `oldValue`. Returns true if it stored. One
/// attempt is enough: it fails only if the word differs.
Boolean CompareAndSwap(UInt32 oldValue, UInt32 newValue, UInt32* address);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop
