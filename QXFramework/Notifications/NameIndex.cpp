// NameIndex.cpp - the hash set of the notification names.

#include "NameIndex.h"

#include <functional>

namespace QX {
namespace {

constexpr uint32 kInitialSlots = 256;

} // namespace

NameIndex::Slots::Slots(uint32 count)
    : mask(count - 1)
    , slots(std::make_unique<Slot[]>(count))
{}

NameIndex::NameIndex()
{
    mGenerations.push_back(std::make_unique<Slots>(kInitialSlots));
    mCurrent.store(mGenerations.back().get(), std::memory_order_release);
}

const char* NameIndex::Find(std::string_view name, uint32 hash) const
{
    const Slots& slots = *mCurrent.load(std::memory_order_acquire);
    for (uint32 position = hash & slots.mask;; position = (position + 1) & slots.mask) {
        const Slot& slot = slots.slots[position];
        const char* const candidate = slot.name.load(std::memory_order_acquire);
        if (candidate == nullptr) {
            return nullptr;
        }
        if (slot.hash == hash && name == candidate) {
            return candidate;
        }
    }
}

void NameIndex::ReserveOne()
{
    // At most three quarters full, so that every search ends at an empty slot soon. A lower limit
    // saves steps, but a new page of memory costs as much as many of them.
    const uint32 slots = mGenerations.back()->mask + 1;
    if (mCount + 1 > slots / 4 * 3) {
        Grow();
    }
}

void NameIndex::Add(const char* name, uint32 hash) noexcept
{
    Insert(*mGenerations.back(), name, hash);
    ++mCount;
}

uint32 NameIndex::Hash(std::string_view name)
{
    return static_cast<uint32>(std::hash<std::string_view>{}(name));
}

void NameIndex::Insert(Slots& slots, const char* name, uint32 hash)
{
    uint32 position = hash & slots.mask;
    while (slots.slots[position].name.load(std::memory_order_relaxed) != nullptr) {
        position = (position + 1) & slots.mask;
    }
    slots.slots[position].hash = hash;
    slots.slots[position].name.store(name, std::memory_order_release);
}

void NameIndex::Grow()
{
    const Slots& old = *mGenerations.back();
    auto larger = std::make_unique<Slots>(2 * (old.mask + 1));
    for (uint32 position = 0; position <= old.mask; ++position) {
        const Slot& slot = old.slots[position];
        if (const char* const name = slot.name.load(std::memory_order_relaxed)) {
            Insert(*larger, name, slot.hash);
        }
    }
    mGenerations.push_back(std::move(larger));
    mCurrent.store(mGenerations.back().get(), std::memory_order_release);
}

} // namespace QX
