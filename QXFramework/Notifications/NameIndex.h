// NameIndex.h - finds the table's copy of a notification name at a cost that does not grow.
//
// An open-addressed hash set of pointers to the characters of names. Readers take no lock: a slot
// only ever goes from empty to filled, and a full set is replaced by a larger one while readers may
// still be in the old one.
#pragma once

#include <QX/Types.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace QX {

class NameIndex
{
public:
    NameIndex();

    /// Returns the hash of `name`, which Find and Add take, so that it is computed once for both.
    static uint32 Hash(std::string_view name);

    /// Returns the entry equal to `name`, or null.
    ///
    /// Threads: any, beside one that adds. A name whose addition has not returned yet may or may
    /// not be found; look again under the adders' lock before adding.
    const char* Find(std::string_view name, uint32 hash) const;

    /// Makes room for one more name.
    ///
    /// Threads: one at a time. Throws: std::bad_alloc, with nothing changed.
    void ReserveOne();

    /// Adds a name that is not in the set, for which room was made; its characters outlive the set.
    ///
    /// Threads: as ReserveOne.
    void Add(const char* name, uint32 hash) noexcept;

    /// Returns whether `name` is the address of an entry, of those that NotePassedBack saw lately.
    /// Its characters are not read.
    ///
    /// Threads: any.
    bool IsPassedBack(const char* name) const
    {
        return mPassedBack[PlaceOf(name)].load(std::memory_order_relaxed) == name;
    }
    /// Remembers `entry`, a result of Find that is the address which was looked for. Threads: any.
    void NotePassedBack(const char* entry)
    {
        mPassedBack[PlaceOf(entry)].store(entry, std::memory_order_relaxed);
    }

private:
    struct Slot
    {
        std::atomic<const char*> name = nullptr;
        uint32 hash = 0; ///< written before the name is published
    };
    struct Slots
    {
        explicit Slots(uint32 count);

        uint32 mask; ///< the slot count less one; the count is a power of two
        std::unique_ptr<Slot[]> slots;
    };

    static constexpr std::size_t kPassedBackPlaces = 64;

    static std::size_t PlaceOf(const char* name)
    {
        // Blocks of the heap lie apart by multiples of 16 bytes.
        return reinterpret_cast<std::uintptr_t>(name) / 16 % kPassedBackPlaces;
    }
    static void Insert(Slots& slots, const char* name, uint32 hash);
    void Grow();

    std::atomic<const Slots*> mCurrent;
    std::vector<std::unique_ptr<Slots>>
        mGenerations; ///< the last is current; readers may be in any
    uint32 mCount = 0;
    /// Entries that were passed back, each at the place of its address, where the last one stays.
    std::array<std::atomic<const char*>, kPassedBackPlaces> mPassedBack{};
};

} // namespace QX
