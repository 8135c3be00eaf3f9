// FailingHeap.cpp - the replaced heap functions.

#include "Support/FailingHeap.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

// The linker replaces the calls of f by calls of __wrap_f, and __real_f is f.
extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);

void* __wrap_malloc(size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __wrap_realloc(void* block, size_t size);
void __wrap_free(void* block);
}

namespace {

struct Watch
{
    bool isOn;
    bool hasRefused;
    int requests;
    int firstRefused;
    int lastRefused;
    std::size_t largest;
    void (*look)();    ///< called at each request; null if there is none to call
    char journal[256]; ///< an array: the journal must not use the heap that it watches
};

thread_local Watch sWatch;
std::atomic<long> gLiveBlocks{0};

// Counts a block that the heap has given.
void* Given(void* block)
{
    if (block != nullptr) {
        gLiveBlocks.fetch_add(1, std::memory_order_relaxed);
    }
    return block;
}

void CountTakenBack()
{
    gLiveBlocks.fetch_sub(1, std::memory_order_relaxed);
}

void Write(const char* text)
{
    char* const journal = sWatch.journal;
    const std::size_t length = std::strlen(journal);
    std::snprintf(journal + length, sizeof(sWatch.journal) - length, "%s%s",
                  length != 0 ? ", " : "", text);
}

bool Refuses(const char* function, std::size_t size)
{
    if (!sWatch.isOn) {
        return false;
    }
    char text[48];
    std::snprintf(text, sizeof(text), "%s %zu", function, size);
    Write(text);
    ++sWatch.requests;
    if (sWatch.look != nullptr) {
        sWatch.look();
    }
    const bool isRefused = size > sWatch.largest || (sWatch.requests >= sWatch.firstRefused &&
                                                     sWatch.requests <= sWatch.lastRefused);
    sWatch.hasRefused = sWatch.hasRefused || isRefused;
    return isRefused;
}

} // namespace

void* __wrap_malloc(size_t size)
{
    return Refuses("malloc", size) ? nullptr : Given(__real_malloc(size));
}

void* __wrap_calloc(size_t count, size_t size)
{
    return Refuses("calloc", count * size) ? nullptr : Given(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, size_t size)
{
    if (block != nullptr && size == 0) {
        if (sWatch.isOn) {
            Write("realloc 0");
        }
        void* const left = __real_realloc(block, 0);
        if (left == nullptr) {
            CountTakenBack();
        }
        return left;
    }
    if (Refuses("realloc", size)) {
        return nullptr;
    }
    void* const moved = __real_realloc(block, size);
    return block == nullptr ? Given(moved) : moved;
}

void __wrap_free(void* block)
{
    if (sWatch.isOn) {
        Write("free");
    }
    if (block != nullptr) {
        CountTakenBack();
    }
    __real_free(block);
}

// The C++ library's own operators call the heap from inside a shared library, where the calls are
// not seen. All operators are defined here, because a sanitizer replaces each that is not.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return std::malloc(size != 0 ? size : 1);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return std::malloc(size != 0 ? size : 1);
}

void* operator new(std::size_t size)
{
    void* const block = std::malloc(size != 0 ? size : 1);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

// The heap's own alignment is all that anyone here asks for.
void* operator new(std::size_t size, std::align_val_t)
{
    return operator new(size);
}

void operator delete(void* block) noexcept
{
    if (block != nullptr) {
        std::free(block);
    }
}

void operator delete[](void* block) noexcept
{
    operator delete(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    operator delete(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    operator delete(block);
}

void operator delete(void* block, std::align_val_t) noexcept
{
    operator delete(block);
}

void operator delete(void* block, std::size_t, std::align_val_t) noexcept
{
    operator delete(block);
}

namespace TestSupport {

FailingHeap::FailingHeap(int first, int last, std::size_t largest)
{
    sWatch = {true, false, 0, first, last, largest, nullptr, ""};
}

FailingHeap::FailingHeap(void (*look)())
    : FailingHeap(0)
{
    sWatch.look = look;
}

FailingHeap::~FailingHeap()
{
    sWatch.isOn = false;
}

std::string FailingHeap::GetJournal() const
{
    return sWatch.journal;
}

int FailingHeap::CountRequests() const
{
    return sWatch.requests;
}

bool FailingHeap::HasRefused() const
{
    return sWatch.hasRefused;
}

ExhaustedHeap::ExhaustedHeap(int refused)
    : FailingHeap(refused, std::numeric_limits<int>::max(), kAnySize)
{}

long CountLiveBlocks()
{
    return gLiveBlocks.load(std::memory_order_relaxed);
}

} // namespace TestSupport
