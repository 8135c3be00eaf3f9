// FailingNew.cpp - the replaced operator new and operator delete.

#include "Support/FailingNew.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

thread_local int sCalls = 0;
thread_local int sFailingCall = 0;
std::atomic<long> gLiveBlocks{0};

void* Allocate(std::size_t size) noexcept
{
    if (++sCalls == sFailingCall) {
        return nullptr;
    }
    void* const block = std::malloc(size != 0 ? size : 1);
    if (block != nullptr) {
        gLiveBlocks.fetch_add(1, std::memory_order_relaxed);
    }
    return block;
}

void Release(void* block) noexcept
{
    if (block != nullptr) {
        gLiveBlocks.fetch_sub(1, std::memory_order_relaxed);
        std::free(block);
    }
}

} // namespace

void* operator new(std::size_t size)
{
    void* const block = Allocate(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}

void operator delete(void* block) noexcept
{
    Release(block);
}

void operator delete[](void* block) noexcept
{
    Release(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    Release(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    Release(block);
}

namespace TestSupport {

FailingNew::FailingNew(int call)
{
    sCalls = 0;
    sFailingCall = call;
}

FailingNew::~FailingNew()
{
    sFailingCall = 0;
}

int FailingNew::CountCalls() const
{
    return sCalls;
}

long CountLiveBlocks()
{
    return gLiveBlocks.load(std::memory_order_relaxed);
}

} // namespace TestSupport
