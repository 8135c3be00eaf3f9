// LentBuffer.cpp - pages and their guards.

#include "Tools/Host/Validate/LentBuffer.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

namespace Validate {
namespace {

constexpr unsigned char kFilling = 0xA5;

/// What a signal handler may read of the living buffers, without locks or memory.
struct Slot
{
    std::atomic<bool> isTaken;
    std::atomic<std::uintptr_t> begin; ///< of the bytes; 0 while the slot is filled in
    std::size_t size;
    std::uintptr_t whole; ///< the first guard
    std::uintptr_t end;   ///< where the last one ends
    const char* name;
};

constexpr int kSlots = 256;
Slot gSlots[kSlots];
std::atomic<unsigned> gTurn;

int TakeSlot()
{
    for (int index = 0; index < kSlots; ++index) {
        bool isFree = false;
        if (gSlots[index].isTaken.compare_exchange_strong(isFree, true)) {
            return index;
        }
    }
    return -1;
}

/// Of the plural of "byte". Tools::Count takes memory, which a signal handler must not.
const char* GetEnding(unsigned number)
{
    return number == 1 ? "" : "s";
}

std::size_t GetPageSize()
{
    static const std::size_t size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

} // namespace

LentBuffer::LentBuffer(const char* name, const void* bytes, std::size_t size, Access access)
    : mName(name)
    , mSize(size)
{
    const std::size_t page = GetPageSize();
    mInnerSize = (size / page + 1) * page;
    void* const memory =
        mmap(nullptr, mInnerSize + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    mWhole = static_cast<unsigned char*>(memory);
    unsigned char* const inner = mWhole + page;
    mprotect(inner, mInnerSize, PROT_READ | PROT_WRITE);
    std::memset(inner, kFilling, mInnerSize);
    const bool isAtEnd = gTurn.fetch_add(1) % 2 == 0;
    mBytes = isAtEnd ? inner + mInnerSize - size : inner;
    if (size > 0) {
        std::memcpy(mBytes, bytes, size);
    }
    if (access != Access::kWritable) {
        mprotect(inner, mInnerSize, access == Access::kReadOnly ? PROT_READ : PROT_NONE);
    }
    mSlot = TakeSlot();
    if (mSlot >= 0) {
        Slot& slot = gSlots[mSlot];
        slot.size = size;
        slot.whole = reinterpret_cast<std::uintptr_t>(mWhole);
        slot.end = slot.whole + mInnerSize + 2 * page;
        slot.name = mName;
        slot.begin = reinterpret_cast<std::uintptr_t>(mBytes);
    }
}

LentBuffer::~LentBuffer()
{
    if (mSlot >= 0) {
        gSlots[mSlot].begin = 0;
        gSlots[mSlot].isTaken = false;
    }
    munmap(mWhole, mInnerSize + 2 * GetPageSize());
}

bool LentBuffer::IsDamaged() const
{
    const unsigned char* const inner = mWhole + GetPageSize();
    mprotect(mWhole + GetPageSize(), mInnerSize, PROT_READ);
    for (std::size_t index = 0; index < mInnerSize; ++index) {
        const bool isLent = inner + index >= mBytes && inner + index < mBytes + mSize;
        if (!isLent && inner[index] != kFilling) {
            return true;
        }
    }
    return false;
}

void LentBuffer::DescribeAddress(const void* address, char* text, std::size_t size)
{
    const auto place = reinterpret_cast<std::uintptr_t>(address);
    text[0] = '\0';
    for (const Slot& slot : gSlots) {
        const std::uintptr_t begin = slot.begin;
        const std::uintptr_t end = begin + slot.size;
        if (begin == 0 || place < slot.whole || place >= slot.end) {
            continue;
        }
        const auto lent = static_cast<unsigned>(slot.size);
        if (place >= end) {
            const auto distance = static_cast<unsigned>(place - end + 1);
            std::snprintf(text, size, "%u byte%s after the end of the %s (%u byte%s)", distance,
                          GetEnding(distance), slot.name, lent, GetEnding(lent));
        } else if (place < begin) {
            const auto distance = static_cast<unsigned>(begin - place);
            std::snprintf(text, size, "%u byte%s before the %s (%u byte%s)", distance,
                          GetEnding(distance), slot.name, lent, GetEnding(lent));
        } else {
            std::snprintf(text, size,
                          "inside the %s (%u byte%s), which is not the plug-in's to use so",
                          slot.name, lent, GetEnding(lent));
        }
        return;
    }
}

} // namespace Validate
