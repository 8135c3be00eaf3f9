// RefusingAllocator.h - an allocator over the process heap that can be told to refuse.
#pragma once

#include <QX/Allocator.h>

#include <cstdlib>

/// Counts what passes through it and refuses every request above a limit.
class RefusingAllocator final : public QX::IAllocator
{
public:
    void* Alloc(QX::uint32 size) override { return Granted(size) ? std::malloc(size) : nullptr; }
    void* Calloc(QX::uint32 count, QX::uint32 size) override
    {
        return Granted(size) ? std::calloc(count, size) : nullptr;
    }
    void* Realloc(void* block, QX::uint32 size) override
    {
        if (!Granted(size)) {
            return nullptr;
        }
        if (size == 0) {
            std::free(block);
            return nullptr;
        }
        return std::realloc(block, size);
    }
    void Free(void* block) override { std::free(block); }

    QX::uint32 mLargest = 0xFFFFFFFF; ///< the largest request that is granted
    QX::uint32 mRequests = 0;

private:
    bool Granted(QX::uint32 size)
    {
        ++mRequests;
        return size <= mLargest;
    }
};
