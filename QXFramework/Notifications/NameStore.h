// NameStore.h - the characters of the notification names, each at an address that stays.
//
// They stand one behind the other in chunks of memory, in the order of their addition: a name then
// costs its characters and no block of its own.
#pragma once

#include <QX/Buffer.h>
#include <QX/RCPtr.h>
#include <QX/Types.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace QX {

/// Threads: one at a time.
class NameStore
{
public:
    /// How far a walk over the names has come; at first it stands in front of the oldest.
    struct Place
    {
        std::size_t chunk = 0;
        uint32 offset = 0; ///< in the chunk, in bytes
    };

    /// Copies a name and returns the copy, terminated. It stays as long as the store, or longer if
    /// somebody holds its chunk.
    ///
    /// Throws: std::bad_alloc, with nothing changed.
    const char* Add(std::string_view name);

    /// Returns the next name in the order of their addition and moves `place` behind it; null if
    /// there is none yet, and then a later call goes on from there.
    const char* Next(Place& place) const;

    /// Returns the memory of the name that Next has just returned.
    const RCPtr<LIBuffer>& GetChunk(const Place& place) const
    {
        return mChunks[place.chunk].memory;
    }

private:
    struct Chunk
    {
        RCPtr<LIBuffer> memory;
        uint32 used = 0; ///< in bytes

        uint32 GetRoom() const { return memory->GetSizeBytes() - used; }
        char* At(uint32 offset) const { return static_cast<char*>(memory->GetRawPtr()) + offset; }
    };

    void AddChunk(uint32 size);

    std::vector<Chunk> mChunks; ///< none is empty; names are added to the last
};

} // namespace QX
