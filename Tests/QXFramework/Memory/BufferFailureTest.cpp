// BufferFailureTest.cpp - buffers whose allocator refuses: the block is null, the sizes are not.

#include "Support/FailingHeap.h"
#include "Support/LoggingAllocator.h"

#include <QX/Buffer.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using QX::kResultOutOfRange;
using QX::kResultSuccess;
using QX::LIBuffer;
using QX::RCPtr;
using QX::uint32;
using TestSupport::FailingHeap;
using TestSupport::GetLoggingAllocator;
using TestSupport::LoggingAllocator;

using Exact = QX::BufferT<1, 0, 8, char*, &GetLoggingAllocator>;
using Text = QX::BufferT<1, 128, 8, char*, &GetLoggingAllocator>;
using Ring = QX::BufferT<1024, 1024, 8, char**, &GetLoggingAllocator>;
using LExact = QX::LBufferT<1, 0, 8, char*, &GetLoggingAllocator>;

class BufferFailure : public testing::Test
{
protected:
    BufferFailure() { heap.Reset(); }
    ~BufferFailure() override { EXPECT_EQ(heap.CountBlocks(), 0u) << "a block was lost"; }

    LoggingAllocator& heap = LoggingAllocator::Instance();
};

TEST_F(BufferFailure, StoresTheNullBlockWithTheSizesAskedFor)
{
    heap.FailNext();

    Ring buffer(10, 0, true);

    EXPECT_EQ(buffer.GetSizeBytes(), 10u);
    EXPECT_EQ(buffer.GetAllocatedSize(), 1024u);
    EXPECT_EQ(buffer.GetRawPtr(), nullptr);
    EXPECT_EQ(buffer.GetData(), nullptr);
}

TEST_F(BufferFailure, ANullBlockTakesAndGivesNoBytes)
{
    heap.FailNext();

    Exact buffer(10, 0, true);

    EXPECT_EQ(buffer.FillN('x', 0, 1), kResultOutOfRange);
    EXPECT_EQ(buffer.FillN('x', 0, -1), kResultOutOfRange);
    EXPECT_EQ(buffer.FillN('x', 10, -1), kResultSuccess);
    EXPECT_EQ(buffer.FillN('x', 3, 0), kResultSuccess);
    EXPECT_EQ(buffer.FillW(1, 0, 1), kResultOutOfRange);
    EXPECT_EQ(buffer.FillW(1, 0, -1), kResultOutOfRange);
    EXPECT_EQ(buffer.FillW(1, 9, -1), kResultSuccess);
    EXPECT_EQ(buffer.GetPtr<char>(0), nullptr);
    EXPECT_EQ(buffer.GetPtr<uint32>(4), nullptr);
}

TEST_F(BufferFailure, TheNextSizeIsAllocatedAgainEvenIfItIsTheSame)
{
    heap.FailNext();
    Exact buffer(10, 0, true);

    EXPECT_EQ(buffer.SetSizeBytes(10), 10);

    EXPECT_NE(buffer.GetRawPtr(), nullptr);
    EXPECT_EQ(heap.GetJournal(), "Alloc 10, Alloc 10");
}

TEST_F(BufferFailure, ResizingAllocatesAgainToo)
{
    heap.FailNext();
    Text buffer(10, 0, true);

    EXPECT_EQ(buffer.ResizeBytes(10), 10);

    EXPECT_NE(buffer.GetRawPtr(), nullptr);
    EXPECT_EQ(heap.GetJournal(), "Alloc 10, Alloc 10");
}

TEST_F(BufferFailure, TheSizeZeroClearsANullBlocksSizes)
{
    heap.FailNext();
    Exact buffer(10, 0, true);

    EXPECT_EQ(buffer.SetSizeBytes(0), 0);

    EXPECT_EQ(buffer.GetSizeBytes(), 0u);
    EXPECT_EQ(buffer.GetAllocatedSize(), 0u);
    EXPECT_EQ(heap.GetJournal(), "Alloc 10");
}

TEST_F(BufferFailure, ATriedSizeOfZeroClearsANullBlocksSizes)
{
    heap.FailNext();
    Exact buffer(10, 0, true);

    EXPECT_TRUE(buffer.TryResizeBytes(0));

    EXPECT_EQ(buffer.GetSizeBytes(), 0u);
    EXPECT_EQ(buffer.GetAllocatedSize(), 0u);
    EXPECT_EQ(heap.GetJournal(), "Alloc 10");
}

TEST_F(BufferFailure, ATriedSizeIsAllocatedForANullBlock)
{
    heap.FailNext();
    Text buffer(10, 0, true);

    EXPECT_TRUE(buffer.TryResizeBytes(4));

    EXPECT_NE(buffer.GetRawPtr(), nullptr);
    EXPECT_EQ(buffer.GetSizeBytes(), 4u);
    EXPECT_EQ(heap.GetJournal(), "Alloc 10, Alloc 4");
}

TEST_F(BufferFailure, ARefusedSetSizeLosesTheOldBlockOnce)
{
    Exact buffer(10, 0, true);
    heap.Reset();
    heap.FailNext();

    EXPECT_EQ(buffer.SetSizeBytes(20), 20);

    EXPECT_EQ(buffer.GetRawPtr(), nullptr);
    EXPECT_EQ(buffer.GetSizeBytes(), 20u);
    EXPECT_EQ(heap.GetJournal(), "Free 10, Alloc 20");
}

TEST_F(BufferFailure, ARefusedReallocationStoresNullAndFreesTheOldBlock)
{
    Exact buffer(10, 0, true);
    heap.Reset();
    heap.FailNext();

    EXPECT_EQ(buffer.ResizeBytes(20), 20);

    EXPECT_EQ(buffer.GetRawPtr(), nullptr);
    EXPECT_EQ(buffer.GetSizeBytes(), 20u);
    EXPECT_EQ(buffer.GetAllocatedSize(), 20u);
    EXPECT_EQ(heap.GetJournal(), "Realloc 20, Free 10");
}

TEST_F(BufferFailure, ARefusedReserveLeavesTheSizeToBeAllocated)
{
    heap.FailNext();

    Text buffer(10, 100, true);

    EXPECT_NE(buffer.GetRawPtr(), nullptr);
    EXPECT_EQ(buffer.GetAllocatedSize(), 10u);
    EXPECT_EQ(heap.GetJournal(), "Alloc 100, Alloc 10");
}

TEST_F(BufferFailure, ARefusedReserveForNothingLeavesAnEmptyBuffer)
{
    heap.FailNext();

    Text buffer(0, 100, true);

    EXPECT_EQ(buffer.GetRawPtr(), nullptr);
    EXPECT_EQ(buffer.GetSizeBytes(), 0u);
    EXPECT_EQ(buffer.GetAllocatedSize(), 0u);
}

TEST_F(BufferFailure, RoundingNeverTurnsAHugeSizeIntoASmallOne)
{
    Ring buffer(1, 0, true);
    heap.ClearJournal();

    EXPECT_EQ(buffer.ResizeBytes(0xFFFFFC01u), -1023);
    EXPECT_EQ(buffer.SetSizeBytes(0xFFFFFFFFu), -1);

    EXPECT_EQ(heap.GetJournal(), "Realloc 4294966273, Free 1024, Alloc 4294967295");
    EXPECT_EQ(buffer.GetSizeBytes(), 0xFFFFFFFFu);
    EXPECT_EQ(buffer.GetRawPtr(), nullptr);
}

TEST_F(BufferFailure, TheLargestWholeGranuleIsStillRoundedTo)
{
    Ring buffer(0, 0, false);

    buffer.SetSizeBytes(0xFFFFF801u);

    EXPECT_EQ(heap.GetJournal(), "Alloc 4294966272");
}

TEST_F(BufferFailure, CreateGivesABufferWithoutBytes)
{
    heap.FailNext();

    const RCPtr<LIBuffer> buffer = LExact::Create(10, 0, true);

    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->GetSizeBytes(), 10u);
    EXPECT_EQ(buffer->GetRawPtr(), nullptr);
}

TEST_F(BufferFailure, ACopyThatGetsNoBlockHasNoBytes)
{
    const RCPtr<LIBuffer> original = LExact::Create(10, 0, true);
    heap.FailNext();

    const RCPtr<LIBuffer> copy = original->CreateCopy(10, 0);

    EXPECT_EQ(copy->GetSizeBytes(), 10u);
    EXPECT_EQ(copy->GetRawPtr(), nullptr);
}

TEST_F(BufferFailure, ACopyOfABufferWithoutBytesIsZero)
{
    heap.FailNext();
    RCPtr<LIBuffer> original = LExact::Create(2, 0, true);
    const RCPtr<LIBuffer> alias = original;

    original.Unshare();

    ASSERT_NE(original->GetRawPtr(), nullptr);
    EXPECT_EQ(std::string(static_cast<const char*>(original->GetRawPtr()), 2),
              std::string(2, '\0'));
}

TEST_F(BufferFailure, TheProcessHeapsRefusalIsSurvivedToo)
{
    RCPtr<LIBuffer> buffer;
    {
        const FailingHeap processHeap(2); // the block; the object is the first
        buffer = QX::LByteBuffer::Create(10, 0, true);
    }

    EXPECT_EQ(buffer->GetRawPtr(), nullptr);
    EXPECT_EQ(buffer->FillN('x', 0, -1), kResultOutOfRange);
    EXPECT_EQ(buffer->ResizeBytes(10), 10);
    EXPECT_EQ(buffer->FillN('x', 0, -1), kResultSuccess);
}

} // namespace
