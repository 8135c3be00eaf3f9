// BufferSizeTest.cpp - when a buffer keeps its block, when it asks for another, and for how much.

#include "Support/LoggingAllocator.h"

#include <QX/Buffer.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>

namespace {

using QX::BufferT;
using QX::int32;
using QX::uint32;
using TestSupport::EmptyRealloc;
using TestSupport::GetLoggingAllocator;
using TestSupport::LoggingAllocator;

class LNotification;

using Exact = BufferT<1, 0, 8, char*, &GetLoggingAllocator>;
using Text = BufferT<1, 128, 8, char*, &GetLoggingAllocator>;
using Pointers = BufferT<4, 0, 8, char**, &GetLoggingAllocator>;
using Ring = BufferT<1024, 1024, 8, LNotification**, &GetLoggingAllocator>;
using NativePointers = BufferT<sizeof(void*), 0, 8, LNotification**, &GetLoggingAllocator>;

static_assert(std::is_same_v<BufferT<1, 0, 8>, BufferT<1, 0, 8, char*>>);
static_assert(std::is_same_v<BufferT<1, 0, 8>, BufferT<1, 0, 8, char*, &QX::GetSystemAllocator>>);
static_assert(std::is_same_v<QX::LByteBuffer, QX::LBufferT<1, 0, 8>>);
static_assert(std::is_same_v<QX::LTextBuffer, QX::LBufferT<1, 128, 8, char*>>);
static_assert(!std::is_copy_constructible_v<Exact> && !std::is_copy_assignable_v<Exact>);
static_assert(!std::is_move_constructible_v<Exact> && !std::is_move_assignable_v<Exact>);

class BufferSize : public testing::Test
{
protected:
    BufferSize() { heap.Reset(); }
    ~BufferSize() override { EXPECT_EQ(heap.CountBlocks(), 0u) << "a block was lost"; }

    LoggingAllocator& heap = LoggingAllocator::Instance();
};

struct ResizeRow
{
    const char* what;
    uint32 allocated;
    uint32 request;
    uint32 expectedAllocated;
    const char* journal;
};

template <class Buffer, std::size_t kCount>
void CheckResizes(const ResizeRow (&rows)[kCount])
{
    for (const ResizeRow& row : rows) {
        SCOPED_TRACE(row.what);
        LoggingAllocator& heap = LoggingAllocator::Instance();
        Buffer buffer(row.allocated, 0, false);
        ASSERT_EQ(buffer.GetAllocatedSize(), row.allocated);
        heap.ClearJournal();

        EXPECT_EQ(buffer.ResizeBytes(row.request), static_cast<int32>(row.request));

        EXPECT_EQ(buffer.GetSizeBytes(), row.request);
        EXPECT_EQ(buffer.GetAllocatedSize(), row.expectedAllocated);
        EXPECT_EQ(heap.GetJournal(), row.journal);
    }
}

TEST_F(BufferSize, OnlyTheEqualSizeKeepsABlockWithoutSlack)
{
    const ResizeRow rows[] = {
        {"nothing to nothing", 0, 0, 0, ""},
        {"from nothing", 0, 5, 5, "Alloc 5"},
        {"equal", 200, 200, 200, ""},
        {"one less", 200, 199, 199, "Realloc 199"},
        {"one more", 200, 201, 201, "Realloc 201"},
        {"to nothing", 200, 0, 0, "Realloc 0"},
    };

    CheckResizes<Exact>(rows);
}

TEST_F(BufferSize, UpTo128SurplusBytesKeepABlockWithSlack)
{
    const ResizeRow rows[] = {
        {"from nothing", 0, 5, 5, "Alloc 5"},
        {"equal", 200, 200, 200, ""},
        {"half", 200, 100, 200, ""},
        {"the largest surplus", 200, 72, 200, ""},
        {"one beyond the surplus", 200, 71, 71, "Realloc 71"},
        {"far below", 200, 50, 50, "Realloc 50"},
        {"one more", 200, 201, 201, "Realloc 201"},
        {"to nothing within the surplus", 128, 0, 128, ""},
        {"to nothing beyond it", 129, 0, 0, "Realloc 0"},
    };

    CheckResizes<Text>(rows);
}

TEST_F(BufferSize, TheRoundedSizeDecidesWithGranulesOfFour)
{
    const ResizeRow rows[] = {
        {"from nothing", 0, 5, 8, "Alloc 8"},
        {"from nothing, whole granules", 0, 4, 4, "Alloc 4"},
        {"equal", 8, 8, 8, ""},
        {"the last granule in part", 8, 5, 8, ""},
        {"a granule less", 8, 4, 4, "Realloc 4"},
        {"one more", 8, 9, 12, "Realloc 12"},
        {"to nothing", 4, 0, 0, "Realloc 0"},
    };

    CheckResizes<Pointers>(rows);
}

TEST_F(BufferSize, AWholeGranuleMayBeSurplusWithGranulesAndSlackOf1024)
{
    const ResizeRow rows[] = {
        {"from nothing", 0, 1, 1024, "Alloc 1024"},
        {"equal", 1024, 1024, 1024, ""},
        {"to nothing", 1024, 0, 1024, ""},
        {"a granule less", 2048, 1024, 2048, ""},
        {"one beyond the surplus", 2048, 1023, 1024, "Realloc 1024"},
        {"one more", 1024, 1025, 2048, "Realloc 2048"},
    };

    CheckResizes<Ring>(rows);
}

TEST_F(BufferSize, APointerGranuleKeepsWholePointers)
{
    NativePointers buffer(3 * sizeof(void*), 0, false);
    heap.ClearJournal();

    buffer.ResizeBytes(2 * sizeof(void*) + 1);
    buffer.ResizeBytes(2 * sizeof(void*));

    EXPECT_EQ(heap.GetJournal(), "Realloc " + std::to_string(2 * sizeof(void*)));
}

// The rule in one sentence, beside the table that the buffers above are tried with.
template <class Buffer>
void CheckEveryPairOfSizes(uint32 granule, uint32 threshold, uint32 limit)
{
    for (uint32 from = 1; from <= limit; ++from) {
        for (uint32 to = 1; to <= limit; ++to) {
            Buffer buffer(from, 0, false);
            const uint32 before = buffer.GetAllocatedSize();
            for (uint32 index = 0; index < from; ++index) {
                static_cast<char*>(buffer.GetRawPtr())[index] = static_cast<char>(index * 7);
            }
            const std::string kept(static_cast<char*>(buffer.GetRawPtr()), std::min(from, to));

            buffer.ResizeBytes(to);

            const bool isKept = before >= to && before - to <= threshold;
            const uint32 rounded = (to + granule - 1) / granule * granule;
            ASSERT_EQ(buffer.GetSizeBytes(), to);
            ASSERT_EQ(buffer.GetAllocatedSize(), isKept ? before : rounded) << from << " " << to;
            ASSERT_EQ(std::string(static_cast<char*>(buffer.GetRawPtr()), kept.size()), kept);
            LoggingAllocator::Instance().ClearJournal();
        }
    }
}

TEST_F(BufferSize, ResizingKeepsTheCommonPrefixForEveryPairOfSizes)
{
    CheckEveryPairOfSizes<Exact>(1, 0, 40);
    CheckEveryPairOfSizes<Text>(1, 128, 150);
    CheckEveryPairOfSizes<Pointers>(4, 3, 40);
}

// Says how often the operation was reached through the table.
class Overriding : public Exact
{
public:
    using Exact::Exact;

    int32 SetSizeBytes(uint32 size) override
    {
        ++calls;
        return Exact::SetSizeBytes(size);
    }

    int calls = 0;
};

TEST_F(BufferSize, ResizingWithoutABlockIsTheVirtualSetSize)
{
    Overriding buffer(0, 0, false);

    EXPECT_EQ(buffer.ResizeBytes(5), 5);
    EXPECT_EQ(buffer.calls, 1);
    EXPECT_EQ(buffer.ResizeBytes(6), 6);
    EXPECT_EQ(buffer.calls, 1) << "with a block it is not";
}

TEST_F(BufferSize, BytesGainedAreNotCleared)
{
    Exact buffer(1, 0, true);

    buffer.ResizeBytes(3);

    EXPECT_EQ(static_cast<unsigned char*>(buffer.GetRawPtr())[2], 0xA5);
}

TEST_F(BufferSize, ConstructionGoesThroughResizing)
{
    const Exact empty(0, 0, true);
    EXPECT_EQ(heap.GetJournal(), "");

    const Exact exact(10, 0, true);
    EXPECT_EQ(heap.GetJournal(), "Alloc 10");

    EXPECT_EQ(empty.GetSizeBytes(), 0u);
    EXPECT_EQ(empty.GetAllocatedSize(), 0u);
    EXPECT_EQ(empty.GetData(), nullptr);
    EXPECT_EQ(exact.GetSizeBytes(), 10u);
}

struct ReserveRow
{
    const char* what;
    uint32 size;
    uint32 reserve;
    uint32 expectedAllocated;
    const char* journal;
};

template <class Buffer, std::size_t kCount>
void CheckReserves(const ReserveRow (&rows)[kCount])
{
    for (const ReserveRow& row : rows) {
        SCOPED_TRACE(row.what);
        LoggingAllocator& heap = LoggingAllocator::Instance();
        heap.ClearJournal();

        const Buffer buffer(row.size, row.reserve, true);

        EXPECT_EQ(buffer.GetSizeBytes(), row.size);
        EXPECT_EQ(buffer.GetAllocatedSize(), row.expectedAllocated);
        EXPECT_EQ(heap.GetJournal(), row.journal);
    }
}

TEST_F(BufferSize, AReserveStaysOnlyWithinTheSlack)
{
    const ReserveRow exact[] = {
        {"given back at once", 10, 100, 10, "Alloc 100, Realloc 10"},
        {"given back for nothing", 0, 100, 0, "Alloc 100, Realloc 0"},
        {"no larger than the size", 10, 10, 10, "Alloc 10"},
        {"smaller than the size", 10, 9, 10, "Alloc 10"},
    };
    const ReserveRow text[] = {
        {"kept", 10, 100, 100, "Alloc 100"},
        {"kept for nothing", 0, 128, 128, "Alloc 128"},
        {"beyond the slack", 10, 139, 10, "Alloc 139, Realloc 10"},
    };
    const ReserveRow ring[] = {
        {"not rounded", 10, 500, 500, "Alloc 500"},
        {"beyond the slack", 10, 1035, 1024, "Alloc 1035, Realloc 1024"},
    };

    CheckReserves<Exact>(exact);
    CheckReserves<Text>(text);
    CheckReserves<Ring>(ring);
}

TEST_F(BufferSize, ZeroingCoversTheSizeAndNotTheReserve)
{
    Text zeroed(3, 5, true);
    Text raw(3, 0, false);

    EXPECT_EQ(std::memcmp(zeroed.GetRawPtr(), "\0\0\0\xA5\xA5", 5), 0);
    EXPECT_EQ(std::memcmp(raw.GetRawPtr(), "\xA5\xA5\xA5", 3), 0);
}

struct SetSizeRow
{
    const char* what;
    uint32 size;
    uint32 request;
    uint32 expectedAllocated;
    const char* journal;
};

template <class Buffer, std::size_t kCount>
void CheckSetSizes(const SetSizeRow (&rows)[kCount])
{
    for (const SetSizeRow& row : rows) {
        SCOPED_TRACE(row.what);
        LoggingAllocator& heap = LoggingAllocator::Instance();
        Buffer buffer(row.size, 0, true);
        heap.ClearJournal();

        EXPECT_EQ(buffer.SetSizeBytes(row.request), static_cast<int32>(row.request));

        EXPECT_EQ(buffer.GetSizeBytes(), row.request);
        EXPECT_EQ(buffer.GetAllocatedSize(), row.expectedAllocated);
        EXPECT_EQ(buffer.GetRawPtr() != nullptr, row.request != 0);
        EXPECT_EQ(static_cast<const void*>(buffer.GetData()), buffer.GetRawPtr());
        EXPECT_EQ(heap.GetJournal(), row.journal);
    }
}

TEST_F(BufferSize, SetSizeTakesANewBlockUnlessTheRoundedSizeIsTheSame)
{
    const SetSizeRow text[] = {
        {"nothing to nothing", 0, 0, 0, ""},
        {"from nothing", 0, 5, 5, "Alloc 5"},
        {"equal", 200, 200, 200, ""},
        {"one less, in spite of the slack", 200, 199, 199, "Free 200, Alloc 199"},
        {"one more", 200, 201, 201, "Free 200, Alloc 201"},
        {"to nothing", 200, 0, 0, "Free 200"},
    };
    const SetSizeRow pointers[] = {
        {"from nothing", 0, 5, 8, "Alloc 8"},
        {"the same granules", 8, 5, 8, ""},
        {"a granule less", 8, 4, 4, "Free 8, Alloc 4"},
    };

    CheckSetSizes<Text>(text);
    CheckSetSizes<Pointers>(pointers);
}

/// The process heap, which notes what a buffer shows while its block is freed.
class Onlooker final : public QX::IAllocator
{
public:
    static QX::IAllocator* Get()
    {
        static Onlooker sOnlooker;
        return &sOnlooker;
    }

    void* Alloc(uint32 size) override { return heap.Alloc(size); }
    void* Calloc(uint32 count, uint32 size) override { return heap.Calloc(count, size); }
    void* Realloc(void* block, uint32 size) override { return heap.Realloc(block, size); }
    void Free(void* block) override
    {
        if (watched != nullptr) {
            seenSize = watched->GetSizeBytes();
            seenAllocated = watched->GetAllocatedSize();
            showsTheBlock = watched->GetRawPtr() == block;
        }
        heap.Free(block);
    }

    QX::SystemAllocator heap;
    inline static QX::IBuffer* watched = nullptr;
    inline static uint32 seenSize = 0;
    inline static uint32 seenAllocated = 0;
    inline static bool showsTheBlock = false;
};

TEST_F(BufferSize, SetSizeFreesTheBlockBeforeItForgetsIt)
{
    BufferT<1, 0, 8, char*, &Onlooker::Get> buffer(5, 0, false);
    Onlooker::watched = &buffer;

    buffer.SetSizeBytes(7);
    EXPECT_EQ(Onlooker::seenSize, 5u);
    EXPECT_EQ(Onlooker::seenAllocated, 5u);
    EXPECT_TRUE(Onlooker::showsTheBlock);

    buffer.SetSizeBytes(0);
    EXPECT_EQ(Onlooker::seenSize, 0u);
    EXPECT_EQ(Onlooker::seenAllocated, 7u);
    EXPECT_TRUE(Onlooker::showsTheBlock);
    Onlooker::watched = nullptr;
}

TEST_F(BufferSize, SetSizeDiscardsTheContents)
{
    Exact buffer(4, 0, true);

    buffer.SetSizeBytes(6);

    EXPECT_EQ(std::memcmp(buffer.GetRawPtr(), "\xA5\xA5\xA5\xA5\xA5\xA5", 6), 0);
}

TEST_F(BufferSize, TheDestructorFreesTheBlock)
{
    {
        const Text buffer(3, 100, false);
        heap.ClearJournal();
    }

    EXPECT_EQ(heap.GetJournal(), "Free 100");
}

template <class Buffer>
void EmptyAndFillAgain(EmptyRealloc kind)
{
    LoggingAllocator& heap = LoggingAllocator::Instance();
    heap.SetEmptyRealloc(kind);
    Buffer buffer(0, 0, false);

    buffer.ResizeBytes(10);
    buffer.ResizeBytes(0);
    EXPECT_EQ(buffer.GetSizeBytes(), 0u);
    EXPECT_EQ(buffer.GetAllocatedSize(), 0u);
    buffer.ResizeBytes(5);
    EXPECT_EQ(buffer.GetSizeBytes(), 5u);
    EXPECT_NE(buffer.GetRawPtr(), nullptr);
    buffer.ResizeBytes(0);
    buffer.SetSizeBytes(0);
    EXPECT_EQ(buffer.GetRawPtr(), nullptr);
}

TEST_F(BufferSize, SurvivesAHeapThatFreesTheBlockOfSizeZero)
{
    EmptyAndFillAgain<Exact>(EmptyRealloc::kFreesAndGivesNull);

    EXPECT_EQ(heap.GetJournal(), "Alloc 10, Realloc 0, Alloc 5, Realloc 0");
}

TEST_F(BufferSize, SurvivesAHeapThatGivesALiveBlockOfSizeZero)
{
    EmptyAndFillAgain<Exact>(EmptyRealloc::kGivesLiveBlock);

    EXPECT_EQ(heap.GetJournal(), "Alloc 10, Realloc 0, Realloc 5, Realloc 0, Free 0");
}

TEST_F(BufferSize, DestroysALiveBlockOfSizeZero)
{
    heap.SetEmptyRealloc(EmptyRealloc::kGivesLiveBlock);
    {
        Exact buffer(10, 0, false);
        buffer.ResizeBytes(0);
        heap.ClearJournal();
    }

    EXPECT_EQ(heap.GetJournal(), "Free 0");
}

TEST_F(BufferSize, SurvivesTheProcessHeapsBlockOfSizeZero)
{
    BufferT<1, 0, 8> buffer(10, 0, true);

    buffer.ResizeBytes(0);
    buffer.ResizeBytes(5);
    buffer.FillN('x', 0, -1);
    buffer.ResizeBytes(0);
    buffer.SetSizeBytes(0);

    EXPECT_EQ(buffer.GetRawPtr(), nullptr);
}

TEST_F(BufferSize, ResizeCountsElements)
{
    Exact buffer(0, 0, false);

    EXPECT_EQ(buffer.Resize<unsigned short>(7), 7);
    EXPECT_EQ(buffer.GetSizeBytes(), 14u);
    EXPECT_EQ(buffer.Resize<char>(3), 3);
    EXPECT_EQ(buffer.GetSizeBytes(), 3u);
    EXPECT_EQ(buffer.Resize<unsigned short>(0), 0);
}

TEST_F(BufferSize, ResizeRefusesACountThatNeedsMoreThan32Bits)
{
    Exact buffer(7, 0, false);
    heap.ClearJournal();

    EXPECT_EQ(buffer.Resize<unsigned short>(0x80000001u), 3) << "the present element count";

    EXPECT_EQ(buffer.GetSizeBytes(), 7u);
    EXPECT_EQ(heap.GetJournal(), "");
    EXPECT_EQ(buffer.Resize<unsigned short>(0x80000000u), 3) << "just 32 bits of zeroes";
    EXPECT_EQ(buffer.GetSizeBytes(), 7u);
    EXPECT_EQ(heap.GetJournal(), "");
}

TEST_F(BufferSize, ResizeAsksForAnyNumberOfBytesThatHas32Bits)
{
    Exact bytes(0, 0, false);
    Exact words(0, 0, false);
    heap.ClearJournal();

    bytes.Resize<char>(0xFFFFFFFFu);
    words.Resize<unsigned short>(0x7FFFFFFFu);

    EXPECT_EQ(heap.GetJournal(), "Alloc 4294967295, Alloc 4294967294");
}

TEST_F(BufferSize, ZeroingCoversASingleByte)
{
    Exact buffer(1, 0, true);

    EXPECT_EQ(*buffer.GetData(), '\0');
}

} // namespace
