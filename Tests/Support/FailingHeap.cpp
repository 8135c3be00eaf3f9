// FailingHeap.cpp - the wrapped heap functions.

#include "Support/FailingHeap.h"

#include <atomic>
#include <cstdio>
#include <cstring>

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

thread_local bool sIsWatching = false;
thread_local int sCalls = 0;
thread_local int sFailingCall = 0;
thread_local bool sIsExhausted = false; ///< all calls behind the failing one fail too
thread_local char sJournal[256] = "";
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

// A fixed field: the journal must not ask the heap that it watches.
void Write(const char* text)
{
    const std::size_t length = std::strlen(sJournal);
    std::snprintf(sJournal + length, sizeof(sJournal) - length, "%s%s", length != 0 ? ", " : "",
                  text);
}

bool Refuses(const char* function, std::size_t size)
{
    if (!sIsWatching) {
        return false;
    }
    char text[48];
    std::snprintf(text, sizeof(text), "%s %zu", function, size);
    Write(text);
    ++sCalls;
    return sCalls == sFailingCall || (sIsExhausted && sFailingCall > 0 && sCalls > sFailingCall);
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
        if (sIsWatching) {
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
    if (sIsWatching) {
        Write("free");
    }
    if (block != nullptr) {
        CountTakenBack();
    }
    __real_free(block);
}

namespace TestSupport {

FailingHeap::FailingHeap(int call, bool isExhausted)
{
    sJournal[0] = '\0';
    sCalls = 0;
    sFailingCall = call;
    sIsExhausted = isExhausted;
    sIsWatching = true;
}

FailingHeap::~FailingHeap()
{
    sIsWatching = false;
}

std::string FailingHeap::GetJournal() const
{
    return sJournal;
}

bool FailingHeap::HasRefused() const
{
    return sFailingCall > 0 && sCalls >= sFailingCall;
}

long FailingHeap::CountLiveBlocks()
{
    return gLiveBlocks.load(std::memory_order_relaxed);
}

} // namespace TestSupport
