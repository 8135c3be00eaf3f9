// BufferGrowthTest.cpp - growing a buffer without losing its bytes when the heap refuses.

#include "Support/FailingHeap.h"

#include <QX/Buffer.h>

#include <gtest/gtest.h>

#include <cstring>

namespace {

using TestSupport::LimitedHeap;

using Bytes = QX::BufferT<4, 16, 8>;

TEST(BufferTryResize, AllocatesRoundsAndKeepsAsResizeDoes)
{
    struct Row
    {
        const char* what;
        QX::uint32 from;
        QX::uint32 to;
        QX::uint32 allocated;
    };
    const Row rows[] = {
        {"from nothing", 0, 5, 8},      {"nothing of nothing", 0, 0, 0},
        {"inside the block", 5, 8, 8},  {"within the slack", 24, 8, 24},
        {"beyond the slack", 24, 7, 8}, {"beyond the block", 8, 9, 12},
        {"to nothing", 24, 0, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Bytes tried(row.from, 0, true);
        Bytes resized(row.from, 0, true);

        EXPECT_TRUE(tried.TryResizeBytes(row.to));
        resized.ResizeBytes(row.to);

        EXPECT_EQ(tried.GetSizeBytes(), row.to);
        EXPECT_EQ(tried.GetAllocatedSize(), row.allocated);
        EXPECT_EQ(resized.GetAllocatedSize(), row.allocated);
        EXPECT_EQ(tried.GetRawPtr() == nullptr, row.allocated == 0);
    }
}

TEST(BufferTryResize, KeepsTheCommonPrefix)
{
    Bytes bytes(4, 0, true);
    std::memcpy(bytes.GetRawPtr(), "abcd", 4);

    EXPECT_TRUE(bytes.TryResizeBytes(4000));

    EXPECT_EQ(std::memcmp(bytes.GetRawPtr(), "abcd", 4), 0);
    EXPECT_EQ(bytes.GetData(), bytes.GetRawPtr());
}

TEST(BufferTryResize, ChangesNothingWhenGrowthIsRefused)
{
    Bytes bytes(4, 0, true);
    std::memcpy(bytes.GetRawPtr(), "abcd", 4);
    void* const block = bytes.GetRawPtr();
    const LimitedHeap heap(100);

    EXPECT_FALSE(bytes.TryResizeBytes(101));

    EXPECT_EQ(bytes.GetSizeBytes(), 4u);
    EXPECT_EQ(bytes.GetAllocatedSize(), 4u);
    EXPECT_EQ(bytes.GetRawPtr(), block);
    EXPECT_EQ(std::memcmp(bytes.GetRawPtr(), "abcd", 4), 0);
}

TEST(BufferTryResize, ChangesNothingWhenTheFirstBlockIsRefused)
{
    Bytes bytes(0, 0, false);
    const LimitedHeap heap(0);

    EXPECT_FALSE(bytes.TryResizeBytes(1));

    EXPECT_EQ(bytes.GetSizeBytes(), 0u);
    EXPECT_EQ(bytes.GetRawPtr(), nullptr);
}

TEST(BufferTryResize, KeepsABlockThatCannotBeMadeSmaller)
{
    Bytes bytes(100, 0, true);
    std::memcpy(bytes.GetRawPtr(), "abcd", 4);
    const LimitedHeap heap(0);

    EXPECT_TRUE(bytes.TryResizeBytes(4));

    EXPECT_EQ(bytes.GetSizeBytes(), 4u);
    EXPECT_EQ(bytes.GetAllocatedSize(), 100u);
    EXPECT_EQ(std::memcmp(bytes.GetRawPtr(), "abcd", 4), 0);
}

} // namespace
