// NameIndex.h - finds the table's copy of a notification name at a cost that does not grow.
//
// An open-addressed hash set of pointers to the characters of names. Readers take no lock: a slot
// only ever goes from empty to filled, and a full set is replaced by a larger one while readers may
// still be in the old one.
#pragma once

#include <QX/Types.h>

#include <atomic>
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

    static void Insert(Slots& slots, const char* name, uint32 hash);
    void Grow();

    std::atomic<const Slots*> mCurrent;
    std::vector<std::unique_ptr<Slots>>
        mGenerations; ///< the last is current; readers may be in any
    uint32 mCount = 0;
};

} // namespace QX
