// Allocator.cpp - the process heap as an allocator.

#include <QX/Allocator.h>

#include <cstdlib>

namespace QX {

IAllocator* SystemAllocator::GetAllocator()
{
    static SystemAllocator sAllocator;
    return &sAllocator;
}

void* SystemAllocator::Alloc(uint32 size)
{
    return std::malloc(size);
}

void* SystemAllocator::Calloc(uint32 count, uint32 size)
{
    return std::calloc(count, size);
}

void* SystemAllocator::Realloc(void* block, uint32 size)
{
    return std::realloc(block, size);
}

void SystemAllocator::Free(void* block)
{
    std::free(block);
}

IAllocator* GetSystemAllocator()
{
    return SystemAllocator::GetAllocator();
}

} // namespace QX
