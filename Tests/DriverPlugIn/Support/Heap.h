// Heap.h - how much of the heap is in use, under sanitizers too.
#pragma once

#include <cstddef>

/// The number of bytes that are allocated and not freed.
std::size_t CountHeapBytes();

/// The leak checker does not report what is allocated while such an object lives: the test expects
/// it to stay allocated.
class LeaksAreMeant
{
public:
    LeaksAreMeant();
    LeaksAreMeant(const LeaksAreMeant&) = delete;
    LeaksAreMeant& operator=(const LeaksAreMeant&) = delete;
    ~LeaksAreMeant();
};
