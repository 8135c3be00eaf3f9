// FailingHeap.cpp - the wrapped heap functions.

#include "Support/FailingHeap.h"

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
thread_local char sJournal[256] = "";

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
    return ++sCalls == sFailingCall;
}

} // namespace

void* __wrap_malloc(size_t size)
{
    return Refuses("malloc", size) ? nullptr : __real_malloc(size);
}

void* __wrap_calloc(size_t count, size_t size)
{
    return Refuses("calloc", count * size) ? nullptr : __real_calloc(count, size);
}

void* __wrap_realloc(void* block, size_t size)
{
    return Refuses("realloc", size) ? nullptr : __real_realloc(block, size);
}

void __wrap_free(void* block)
{
    if (sIsWatching) {
        Write("free");
    }
    __real_free(block);
}

namespace TestSupport {

FailingHeap::FailingHeap(int call)
{
    sJournal[0] = '\0';
    sCalls = 0;
    sFailingCall = call;
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

} // namespace TestSupport
