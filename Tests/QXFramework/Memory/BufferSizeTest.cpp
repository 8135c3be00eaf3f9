// BufferSizeTest.cpp - when a buffer keeps its block, when it asks for another and for how much,
// and what it has when the allocator refuses.

#include "Support/LoggingAllocator.h"

#include <QX/Buffer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <numeric>
#include <string>
#include <type_traits>
#include <vector>

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

std::string Entry(const char* operation, uint32 size)
{
    return operation + std::to_string(size);
}

template <class Buffer>
std::string Contents(Buffer& buffer, uint32 count)
{
    return count != 0 ? std::string(static_cast<const char*>(buffer.GetRawPtr()), count) : "";
}

/// Changes the size from one to the other by `change`, which returns whether it answered rightly,
/// and checks the block; `count` bytes have to stay as they were.
template <class Buffer, class Change>
void CheckChange(uint32 from, uint32 to, uint32 count, Change change, uint32 allocated,
                 const std::string& journal)
{
    LoggingAllocator& heap = LoggingAllocator::Instance();
    Buffer buffer(from, 0, false);
    for (uint32 index = 0; index < from; ++index) {
        buffer.FillN(static_cast<char>(index * 7), index, 1);
    }
    const std::string contents = Contents(buffer, count);
    heap.ClearJournal();

    ASSERT_TRUE(change(buffer));

    ASSERT_EQ(heap.GetJournal(), journal) << from << " " << to;
    ASSERT_EQ(buffer.GetSizeBytes(), to);
    ASSERT_EQ(buffer.GetAllocatedSize(), allocated) << from << " " << to;
    ASSERT_EQ(buffer.GetRawPtr() != nullptr, allocated != 0);
    ASSERT_EQ(static_cast<const void*>(buffer.GetData()), buffer.GetRawPtr());
    ASSERT_EQ(Contents(buffer, count), contents) << from << " " << to;
}

/// Goes from each size to each size in each way.
template <class Buffer>
void CheckSizes(uint32 granule, uint32 threshold, const std::vector<uint32>& sizes)
{
    for (const uint32 from : sizes) {
        for (const uint32 to : sizes) {
            const uint32 before = (from + granule - 1) / granule * granule;
            const uint32 after = (to + granule - 1) / granule * granule;
            const bool isKept = before != 0 && before >= to && before - to <= threshold;
            std::string resized = isKept || (before == 0 && to == 0) ? "" : Entry("Alloc ", after);
            if (!isKept && before != 0) {
                resized = Entry("Realloc ", after);
            }
            std::string set = before != 0 ? Entry("Free ", before) : "";
            if (before == after) {
                set = "";
            } else if (to != 0) {
                set += (before != 0 ? ", " : "") + Entry("Alloc ", after);
            }

            CheckChange<Buffer>(
                from, to, std::min(from, to),
                [to](Buffer& buffer) { return buffer.ResizeBytes(to) == static_cast<int32>(to); },
                isKept ? before : after, resized);
            CheckChange<Buffer>(
                from, to, std::min(from, to),
                [to](Buffer& buffer) { return buffer.TryResizeBytes(to); }, isKept ? before : after,
                resized);
            CheckChange<Buffer>(
                from, to, 0,
                [to](Buffer& buffer) { return buffer.SetSizeBytes(to) == static_cast<int32>(to); },
                after, set);
        }
    }
}

std::vector<uint32> UpTo(uint32 limit)
{
    std::vector<uint32> sizes(limit + 1);
    std::iota(sizes.begin(), sizes.end(), 0u);
    return sizes;
}

TEST_F(BufferSize, EveryPairOfSizesFollowsTheRuleOfItsKind)
{
    CheckSizes<Exact>(1, 0, UpTo(12));
    CheckSizes<Text>(1, 128, {0, 1, 2, 50, 71, 72, 100, 127, 128, 129, 130, 199, 200, 201});
    CheckSizes<Pointers>(4, 3, UpTo(13));
    CheckSizes<Ring>(1024, 1024, {0, 1, 1023, 1024, 1025, 2047, 2048, 2049, 3073});
}

template <class Buffer>
struct Row
{
    const char* what;
    uint32 size;
    uint32 reserve;
    void (*run)(Buffer& buffer);
    uint32 newSize;
    uint32 allocated;
    bool hasBlock;
    const char* journal;
};

/// Makes a buffer for each row and uses it, while the allocator refuses the request `refused`.
template <class Buffer>
void CheckRows(int refused, std::initializer_list<Row<Buffer>> rows)
{
    for (const Row<Buffer>& row : rows) {
        SCOPED_TRACE(row.what);
        LoggingAllocator& heap = LoggingAllocator::Instance();
        heap.Reset();
        if (refused == 1) {
            heap.FailNext();
        }
        Buffer buffer(row.size, row.reserve, true);
        if (refused == 2) {
            heap.FailNext();
        }
        if (row.run != nullptr) {
            row.run(buffer);
        }

        EXPECT_EQ(buffer.GetSizeBytes(), row.newSize);
        EXPECT_EQ(buffer.GetAllocatedSize(), row.allocated);
        EXPECT_EQ(buffer.GetRawPtr() != nullptr, row.hasBlock);
        EXPECT_EQ(static_cast<const void*>(buffer.GetData()), buffer.GetRawPtr());
        EXPECT_EQ(heap.GetJournal(), row.journal);
    }
}

TEST_F(BufferSize, AReserveStaysOnlyWithinTheSlack)
{
    CheckRows<Exact>(
        0, {
               {"nothing", 0, 0, nullptr, 0, 0, false, ""},
               {"no reserve", 10, 0, nullptr, 10, 10, true, "Alloc 10"},
               {"given back at once", 10, 100, nullptr, 10, 10, true, "Alloc 100, Realloc 10"},
               {"given back for nothing", 0, 100, nullptr, 0, 0, false, "Alloc 100, Realloc 0"},
               {"no larger than the size", 10, 10, nullptr, 10, 10, true, "Alloc 10"},
               {"smaller than the size", 10, 9, nullptr, 10, 10, true, "Alloc 10"},
           });
    CheckRows<Text>(
        0, {
               {"kept", 10, 100, nullptr, 10, 100, true, "Alloc 100"},
               {"kept for nothing", 0, 128, nullptr, 0, 128, true, "Alloc 128"},
               {"beyond the slack", 10, 139, nullptr, 10, 10, true, "Alloc 139, Realloc 10"},
           });
    CheckRows<Ring>(
        0, {
               {"not rounded", 10, 500, nullptr, 10, 500, true, "Alloc 500"},
               {"beyond the slack", 10, 1035, nullptr, 10, 1024, true, "Alloc 1035, Realloc 1024"},
           });
}

TEST_F(BufferSize, ARefusedFirstBlockIsAskedForAgain)
{
    CheckRows<Ring>(1, {{"a size", 10, 0, nullptr, 10, 1024, false, "Alloc 1024"}});
    CheckRows<Text>(
        1,
        {
            {"a reserve", 10, 100, nullptr, 10, 10, true, "Alloc 100, Alloc 10"},
            {"a reserve for nothing", 0, 100, nullptr, 0, 0, false, "Alloc 100"},
            {"then the same size", 10, 0, [](Text& text) { text.SetSizeBytes(10); }, 10, 10, true,
             "Alloc 10, Alloc 10"},
            {"then a resize to the same", 10, 0, [](Text& text) { text.ResizeBytes(10); }, 10, 10,
             true, "Alloc 10, Alloc 10"},
            {"then a try of less", 10, 0, [](Text& text) { EXPECT_TRUE(text.TryResizeBytes(4)); },
             4, 4, true, "Alloc 10, Alloc 4"},
            {"then a try of less that is refused", 10, 0,
             [](Text& text) {
                 LoggingAllocator::Instance().FailNext();
                 EXPECT_FALSE(text.TryResizeBytes(4));
             },
             10, 10, false, "Alloc 10, Alloc 4"},
            {"then nothing", 10, 0, [](Text& text) { text.SetSizeBytes(0); }, 0, 0, false,
             "Alloc 10"},
            {"then a try of nothing", 10, 0,
             [](Text& text) { EXPECT_TRUE(text.TryResizeBytes(0)); }, 0, 0, false, "Alloc 10"},
        });
}

TEST_F(BufferSize, ARefusedLaterBlockLosesTheOldOneUnlessItIsOnlyTried)
{
    CheckRows<Pointers>(
        2, {{"a resize, rounded", 8, 0, [](Pointers& buffer) { buffer.ResizeBytes(9); }, 9, 12,
             false, "Alloc 8, Realloc 12, Free 8"}});
    CheckRows<Text>(
        2, {
               {"a size", 10, 0, [](Text& text) { EXPECT_EQ(text.SetSizeBytes(20), 20); }, 20, 20,
                false, "Alloc 10, Free 10, Alloc 20"},
               {"a resize", 10, 0, [](Text& text) { EXPECT_EQ(text.ResizeBytes(20), 20); }, 20, 20,
                false, "Alloc 10, Realloc 20, Free 10"},
               {"a try of more", 10, 0, [](Text& text) { EXPECT_FALSE(text.TryResizeBytes(20)); },
                10, 10, true, "Alloc 10, Realloc 20"},
               {"a try of less", 200, 0, [](Text& text) { EXPECT_TRUE(text.TryResizeBytes(4)); }, 4,
                200, true, "Alloc 200, Realloc 4"},
               {"a try without a block", 0, 0,
                [](Text& text) { EXPECT_FALSE(text.TryResizeBytes(1)); }, 0, 0, false, "Alloc 1"},
           });
}

TEST_F(BufferSize, RoundingNeverTurnsAHugeSizeIntoASmallOne)
{
    CheckRows<Ring>(
        0,
        {
            {"a resize", 1, 0, [](Ring& ring) { EXPECT_EQ(ring.ResizeBytes(0xFFFFFC01u), -1023); },
             0xFFFFFC01, 0xFFFFFC01, false, "Alloc 1024, Realloc 4294966273, Free 1024"},
            {"a size", 0, 0, [](Ring& ring) { EXPECT_EQ(ring.SetSizeBytes(0xFFFFFFFFu), -1); },
             0xFFFFFFFF, 0xFFFFFFFF, false, "Alloc 4294967295"},
            {"the largest whole granule", 0, 0, [](Ring& ring) { ring.SetSizeBytes(0xFFFFF801u); },
             0xFFFFF801, 0xFFFFFC00, false, "Alloc 4294966272"},
        });
}

TEST_F(BufferSize, ANullBlockTakesAndGivesNoBytes)
{
    heap.FailNext();

    Exact buffer(10, 0, true);

    EXPECT_EQ(buffer.FillN('x', 0, 1), QX::kResultOutOfRange);
    EXPECT_EQ(buffer.FillN('x', 0, -1), QX::kResultOutOfRange);
    EXPECT_EQ(buffer.FillN('x', 10, -1), QX::kResultSuccess);
    EXPECT_EQ(buffer.FillN('x', 3, 0), QX::kResultSuccess);
    EXPECT_EQ(buffer.FillW(1, 0, 1), QX::kResultOutOfRange);
    EXPECT_EQ(buffer.FillW(1, 0, -1), QX::kResultOutOfRange);
    EXPECT_EQ(buffer.FillW(1, 9, -1), QX::kResultSuccess);
    EXPECT_EQ(buffer.GetPtr<char>(0), nullptr);
    EXPECT_EQ(buffer.GetPtr<uint32>(4), nullptr);
}

// Counts the calls that come through the virtual table.
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

TEST_F(BufferSize, ZeroingCoversTheSizeAndNotTheReserve)
{
    Text zeroed(3, 5, true);
    Text raw(3, 0, false);
    Text single(1, 0, true);

    EXPECT_EQ(std::memcmp(zeroed.GetRawPtr(), "\0\0\0\xA5\xA5", 5), 0);
    EXPECT_EQ(std::memcmp(raw.GetRawPtr(), "\xA5\xA5\xA5", 3), 0);
    EXPECT_EQ(*single.GetData(), '\0');
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

TEST_F(BufferSize, AnEmptiedBufferIsFilledAgainWhateverAReallocationToNothingGives)
{
    const auto emptyAndFill = [](Exact& buffer) {
        buffer.ResizeBytes(0);
        buffer.ResizeBytes(5);
        EXPECT_EQ(buffer.FillN('x', 0, 5), QX::kResultSuccess);
        buffer.ResizeBytes(0);
        buffer.SetSizeBytes(0);
    };
    const auto emptyWithLiveBlocks = [](Exact& buffer) {
        LoggingAllocator::Instance().SetEmptyRealloc(EmptyRealloc::kGivesLiveBlock);
        buffer.ResizeBytes(0);
        buffer.ResizeBytes(5);
        EXPECT_EQ(buffer.FillN('x', 0, 5), QX::kResultSuccess);
        buffer.ResizeBytes(0);
        buffer.SetSizeBytes(0);
    };
    CheckRows<Exact>(
        0, {{"null", 10, 0, emptyAndFill, 0, 0, false, "Alloc 10, Realloc 0, Alloc 5, Realloc 0"},
            {"a live block", 10, 0, emptyWithLiveBlocks, 0, 0, false,
             "Alloc 10, Realloc 0, Realloc 5, Realloc 0, Free 0"}});
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

TEST_F(BufferSize, ResizeCountsElements)
{
    Exact buffer(0, 0, false);

    EXPECT_EQ(buffer.Resize<unsigned short>(7), 7);
    EXPECT_EQ(buffer.GetSizeBytes(), 14u);
    EXPECT_EQ(buffer.Resize<char>(3), 3);
    EXPECT_EQ(buffer.GetSizeBytes(), 3u);
    EXPECT_EQ(buffer.Resize<unsigned short>(0), 0);
}

TEST_F(BufferSize, ResizeReturnsTheElementsOfWhatResizeBytesReturns)
{
    class NineBytes : public Exact
    {
    public:
        using Exact::Exact;
        int32 ResizeBytes(uint32) override { return 9; }
    };
    NineBytes buffer(0, 0, false);

    EXPECT_EQ(buffer.Resize<unsigned short>(7), 4);
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

} // namespace
