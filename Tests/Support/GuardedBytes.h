// GuardedBytes.h - bytes at the end of readable memory: a read or write after them ends the
// program.
#pragma once

#include "Support/Hex.h"

#include <algorithm>
#include <cstddef>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

namespace TestSupport {

/// A copy of some bytes that ends where readable memory ends.
class GuardedBytes
{
public:
    explicit GuardedBytes(const Bytes& bytes)
        : mPageSize(static_cast<std::size_t>(sysconf(_SC_PAGESIZE)))
        , mSize(bytes.size())
    {
        mPages = mmap(nullptr, 2 * mPageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS,
                      -1, 0);
        if (mPages == MAP_FAILED) {
            throw std::bad_alloc();
        }
        std::copy(bytes.begin(), bytes.end(), Get());
        mprotect(static_cast<unsigned char*>(mPages) + mPageSize, mPageSize, PROT_NONE);
    }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;
    ~GuardedBytes() { munmap(mPages, 2 * mPageSize); }

    unsigned char* Get() const { return static_cast<unsigned char*>(mPages) + mPageSize - mSize; }

private:
    std::size_t mPageSize;
    std::size_t mSize;
    void* mPages;
};

} // namespace TestSupport
