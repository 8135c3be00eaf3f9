// NameStore.cpp - the chunks of the notification names.

#include "NameStore.h"

#include "ByteCount.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace QX {
namespace {

/// Large enough that the heap is seldom asked, small enough for a process with a few names.
constexpr uint32 kChunkSize = 16 * 1024;

} // namespace

const char* NameStore::Add(std::string_view name)
{
    const uint32 size = CheckedByteCount(uint64{name.size()} + 1, sizeof(char));
    if (mChunks.empty() || mChunks.back().GetRoom() < size) {
        AddChunk(std::max(size, kChunkSize));
    }
    Chunk& chunk = mChunks.back();
    char* const copy = chunk.At(chunk.used);
    copy[name.copy(copy, name.size())] = '\0';
    chunk.used += size;
    return copy;
}

const char* NameStore::Next(Place& place) const
{
    if (place.chunk + 1 < mChunks.size() && place.offset == mChunks[place.chunk].used) {
        place = {.chunk = place.chunk + 1, .offset = 0};
    }
    if (mChunks.empty() || place.offset == mChunks[place.chunk].used) {
        return nullptr;
    }
    const char* const name = mChunks[place.chunk].At(place.offset);
    place.offset += static_cast<uint32>(std::strlen(name)) + 1;
    return name;
}

void NameStore::AddChunk(uint32 size)
{
    RCPtr<LIBuffer> memory = LTextBuffer::Create(size, 0, false);
    if (memory->GetRawPtr() == nullptr) {
        throw std::bad_alloc();
    }
    mChunks.push_back({.memory = std::move(memory)});
}

} // namespace QX
