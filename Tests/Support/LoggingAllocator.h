// LoggingAllocator.h - an allocator that writes a journal, fails on demand and knows every block.
//
//     using LLoggedBuffer = QX::LBufferT<1, 128, 8, char*, &TestSupport::GetLoggingAllocator>;
//
//     auto& heap = LoggingAllocator::Instance();
//     heap.Reset();
//     LLoggedBuffer::Create(10, 100, true);
//     heap.GetJournal(); // "Alloc 100, Free 100"
//     heap.CountBlocks(); // 0
//
// It is stricter than the process heap: a reallocation always moves the block, new bytes are 0xA5,
// and a block that is not its own ends the test program.
#pragma once

#include <QX/Allocator.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

namespace TestSupport {

/// What a reallocation to 0 bytes does; heaps of both kinds exist.
enum class EmptyRealloc
{
    kFreesAndGivesNull,
    kGivesLiveBlock
};

class LoggingAllocator final : public QX::IAllocator
{
public:
    /// Requests above this size are journalled and refused.
    static constexpr QX::uint32 kLargestBlock = 1u << 20;

    static LoggingAllocator& Instance()
    {
        static LoggingAllocator sInstance;
        return sInstance;
    }

    /// Clears the journal and the failure switches. Blocks stay known.
    void Reset()
    {
        mJournal.clear();
        mFailures = 0;
        mEmptyRealloc = EmptyRealloc::kFreesAndGivesNull;
    }
    void ClearJournal() { mJournal.clear(); }
    const std::string& GetJournal() const { return mJournal; }
    std::size_t CountBlocks() const { return mBlocks.size(); }
    /// Makes the next `count` requests fail; those for 0 bytes are not counted.
    void FailNext(int count = 1) { mFailures = count; }
    void SetEmptyRealloc(EmptyRealloc kind) { mEmptyRealloc = kind; }

    void* Alloc(QX::uint32 size) override
    {
        Write("Alloc", size);
        return Refuses(size) ? nullptr : MakeBlock(size);
    }
    void* Calloc(QX::uint32 count, QX::uint32 size) override
    {
        Write("Calloc", count * size);
        void* const block = Refuses(count * size) ? nullptr : MakeBlock(count * size);
        if (block != nullptr) {
            std::memset(block, 0, count * size);
        }
        return block;
    }
    void* Realloc(void* block, QX::uint32 size) override
    {
        Write("Realloc", size);
        if (size == 0 && mEmptyRealloc == EmptyRealloc::kFreesAndGivesNull) {
            Forget(block);
            return nullptr;
        }
        if (Refuses(size)) {
            return nullptr;
        }
        void* const moved = MakeBlock(size);
        if (block != nullptr) {
            std::memcpy(moved, block, std::min(mBlocks.at(block), size));
            Forget(block);
        }
        return moved;
    }
    void Free(void* block) override
    {
        const auto found = mBlocks.find(block);
        Write("Free", found != mBlocks.end() ? found->second : 0);
        if (block != nullptr) {
            Forget(block);
        }
    }

private:
    bool Refuses(QX::uint32 size)
    {
        if (size > kLargestBlock) {
            return true;
        }
        if (size == 0 || mFailures == 0) {
            return false;
        }
        --mFailures;
        return true;
    }

    void* MakeBlock(QX::uint32 size)
    {
        void* const block = std::malloc(size != 0 ? size : 1);
        std::memset(block, 0xA5, size != 0 ? size : 1);
        mBlocks[block] = size;
        return block;
    }

    void Forget(void* block)
    {
        if (mBlocks.erase(block) != 1) {
            std::abort(); // a double free, or a block of another heap
        }
        std::free(block);
    }

    void Write(const char* operation, QX::uint32 size)
    {
        mJournal.append(mJournal.empty() ? "" : ", ").append(operation).append(" ");
        mJournal.append(std::to_string(size));
    }

    std::map<void*, QX::uint32> mBlocks;
    std::string mJournal;
    int mFailures = 0;
    EmptyRealloc mEmptyRealloc = EmptyRealloc::kFreesAndGivesNull;
};

/// The allocator for buffers under test.
inline QX::IAllocator* GetLoggingAllocator()
{
    return &LoggingAllocator::Instance();
}

} // namespace TestSupport
