// FloorRows.cpp - the steps that an operation of the product cannot do without, measured alone.
//
// A counted object takes a block of the heap and one atomic addition and subtraction for each
// holder. A string has such an object and a block for its text. Its text grows by exactly what is
// appended, so each append reallocates; so do an array <1, 0> and each change of its size. A free
// lock takes one atomic exchange to enter and one to leave.

#include "Rows.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <string>

namespace rows {
namespace {

std::atomic<int> gWord;

/// As many additions and subtractions, in turn.
void Count(int operations)
{
    for (int count = 0; count < operations; count += 2) {
        gWord.fetch_add(1);
        gWord.fetch_sub(1);
    }
}

void* Block(std::size_t size)
{
    void* block = std::malloc(size);
    benchmark::DoNotOptimize(block);
    return block;
}

void* Resize(void* block, std::size_t size)
{
    block = std::realloc(block, size);
    benchmark::DoNotOptimize(block);
    return block;
}

void AddBlocks(const std::string& row, std::size_t object, std::size_t text, int atomics)
{
    AddRow(row, "floor", 1, [=] {
        return [=] {
            void* const first = object != 0 ? Block(object) : nullptr;
            void* const second = text != 0 ? Block(text) : nullptr;
            if (text != 0) {
                std::memset(second, 'x', text);
                benchmark::ClobberMemory();
            }
            Count(atomics);
            std::free(second);
            std::free(first);
        };
    });
}

void AddGrowth(const std::string& row, std::size_t step, int count)
{
    AddRow(row, "floor", count, [=] {
        return [=] {
            void* block = Block(step + 1);
            for (std::size_t size = 2 * step; size <= step * static_cast<std::size_t>(count);
                 size += step) {
                block = Resize(block, size + 1);
            }
            std::free(block);
        };
    });
}

void AddShrinking(const std::string& row, bool isFront)
{
    benchmark::RegisterBenchmark((row + "/floor").c_str(), [isFront](benchmark::State& state) {
        constexpr std::size_t kCount = 1000;
        for (auto _ : state) {
            auto* block = static_cast<char*>(Block(kCount * sizeof(void*)));
            const double start = ThreadSeconds();
            for (std::size_t left = (kCount - 1) * sizeof(void*); left != 0;
                 left -= sizeof(void*)) {
                if (isFront) {
                    std::memmove(block, block + sizeof(void*), left);
                }
                gWord.fetch_sub(1);
                block = static_cast<char*>(Resize(block, left));
            }
            state.SetIterationTime(ThreadSeconds() - start);
            std::free(block);
        }
        state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * 1000);
    })->UseManualTime();
}

/// One client more in an array of 64 that has room for no other, and one less. The array lives
/// until the process ends.
void AddRegistration(std::size_t record, int atomics)
{
    AddRow("register", "floor", 1, [=] {
        constexpr std::size_t kClients = 64 * sizeof(void*);
        return [=, clients = Block(kClients)]() mutable {
            void* const added = Block(record);
            clients = Resize(clients, kClients + sizeof(void*));
            Count(atomics);
            clients = Resize(clients, kClients);
            std::free(added);
        };
    });
}

} // namespace

void AddFloorRows()
{
    constexpr std::size_t kObject = 80;
    AddBlocks("pointer.make", 40, 0, 2);
    AddBlocks("string.copy", 0, 0, 2);
    for (const std::size_t length : {16u, 64u, 1024u}) {
        AddBlocks("string.make." + std::to_string(length), kObject, length + 1, 2);
    }
    AddBlocks("string.substring", kObject, 65, 2);
    AddBlocks("number.int", kObject, 8, 2);
    AddBlocks("string.copy-and-append", kObject, 81, 4);
    AddGrowth("string.append-1", 1, 256);
    AddGrowth("string.append-16", 16, 64);
    AddShrinking("array<1,0>.remove-back", false);
    AddShrinking("array<1,0>.remove-front", true);
    // Enter and leave for the post and for taking it out; references to the notification, the
    // distributor, the client and its record.
    AddBlocks("post.new", kObject, 0, 14);
    AddBlocks("post.one", kObject, 0, 18);
    AddBlocks("post.ready", 0, 0, 18);
    // Enter and leave twice; a reference to the record, two to the client, and three to the
    // distributor, one of which is counted as contained too.
    AddRegistration(kObject, 18);
    AddBlocks("broadcast.1", 0, 0, 8);
    AddBlocks("broadcast.8", 0, 0, 4);
    AddBlocks("broadcast.64", 0, 0, 4);
}

} // namespace rows
