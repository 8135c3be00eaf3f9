// Atomics.cpp - the compare-and-swap of CoreServices.

#include <CoreServices/DriverSynchronization.h>

Boolean CompareAndSwap(UInt32 oldValue, UInt32 newValue, UInt32* address)
{
    return __atomic_compare_exchange_n(address, &oldValue, newValue, false, __ATOMIC_SEQ_CST,
                                       __ATOMIC_SEQ_CST);
}
