// Heap.cpp - asking the C library, or the sanitizer that replaces its heap.

#include "DriverPlugIn/Support/Heap.h"

#include <malloc.h>

extern "C" {
std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));
void __lsan_disable() __attribute__((weak));
void __lsan_enable() __attribute__((weak));
}

std::size_t CountHeapBytes()
{
    if (__sanitizer_get_current_allocated_bytes != nullptr) {
        return __sanitizer_get_current_allocated_bytes();
    }
    return mallinfo2().uordblks;
}

LeaksAreMeant::LeaksAreMeant()
{
    if (__lsan_disable != nullptr) {
        __lsan_disable();
    }
}

LeaksAreMeant::~LeaksAreMeant()
{
    if (__lsan_enable != nullptr) {
        __lsan_enable();
    }
}
