// Allocator.h - where the framework's byte and pointer storage comes from.
#pragma once

#include <QX/Types.h>

#include <type_traits>

namespace QX {

/// A source of memory blocks. Sizes are in bytes; a block goes back to the allocator that gave it.
class QX_API IAllocator
{
public:
    // Slot order is fixed; append only.
    virtual void* Alloc(uint32 size) = 0;
    virtual void* Calloc(uint32 count, uint32 size) = 0;
    virtual void* Realloc(void* block, uint32 size) = 0;
    virtual void Free(void* block) = 0;

protected:
    ~IAllocator() = default;
};

/// The process heap, unchanged: a failed allocation is a null pointer, and nothing is recorded.
///
/// Threads: any.
class QX_API SystemAllocator final : public IAllocator
{
public:
    /// Returns the one instance. It outlives every static object, so that blocks can be freed by
    /// static destructors.
    static IAllocator* GetAllocator();

    void* Alloc(uint32 size) override;
    void* Calloc(uint32 count, uint32 size) override;
    void* Realloc(void* block, uint32 size) override;
    void Free(void* block) override;
};

static_assert(std::is_trivially_destructible_v<SystemAllocator>);

/// Returns SystemAllocator's instance; the allocator argument of every buffer of the framework.
QX_API IAllocator* GetSystemAllocator();

} // namespace QX
