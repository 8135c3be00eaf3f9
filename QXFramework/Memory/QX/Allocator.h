// Allocator.h - where the framework's byte and pointer storage comes from.
#pragma once

#include <QX/Types.h>

#include <type_traits>

namespace QX {

/// A source of memory blocks. Sizes are in bytes; a block goes back to the allocator that gave it,
/// which lives longer than its blocks. No operation throws.
///
/// Threads: a buffer calls its allocator on the thread that uses the buffer; an allocator that
/// buffers of several threads share must be safe for that.
class QX_API IAllocator
{
public:
    // Slot order is fixed; append only.

    /// Returns a block of `size` bytes, which are not initialised, or null if there is no memory.
    virtual void* Alloc(uint32 size) = 0;
    /// Returns a block of `count` times `size` zero bytes, or null if there is no memory.
    virtual void* Calloc(uint32 count, uint32 size) = 0;
    /// Returns a block of `size` bytes that begins with the bytes of `block` that fit, and frees
    /// `block`. If there is no memory, returns null and leaves `block` as it is. For a size of 0 it
    /// may free `block` and return null, or return a block without bytes.
    virtual void* Realloc(void* block, uint32 size) = 0;
    /// Frees `block`, which may be null.
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
