// BufferFillTest.cpp - filling ranges and pointing into a buffer, up to the borders of 32 bits.

#include "Support/Hex.h"

#include <QX/Buffer.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <string>

namespace {

using QX::int32;
using QX::kResultOutOfRange;
using QX::kResultSuccess;
using QX::uint16;
using QX::uint32;
using TestSupport::ToHex;

using Buffer = QX::BufferT<1, 0, 8>;

// Room after the logical end, so that a write too far is seen.
class Canary
{
public:
    explicit Canary(uint32 size)
        : buffer(size + 4, 0, false)
    {
        buffer.FillN('.', 0, -1);
        buffer.ResizeBytes(size);
    }

    std::string GetAll()
    {
        return {static_cast<const char*>(buffer.GetRawPtr()), buffer.GetAllocatedSize()};
    }

    QX::BufferT<1, 128, 8> buffer;
};

struct FillRow
{
    const char* what;
    uint32 offset;
    int count;
    int32 result;
    const char* bytes;
};

TEST(BufferFillN, WritesTheRangeOrNothing)
{
    const FillRow rows[] = {
        {"everything", 0, -1, kResultSuccess, "xxxxxxxxxx...."},
        {"to the end", 3, -1, kResultSuccess, "...xxxxxxx...."},
        {"any negative count", 8, -2147483647 - 1, kResultSuccess, "........xx...."},
        {"to the end from the end", 10, -1, kResultSuccess, ".............."},
        {"to the end from after it", 11, -1, kResultOutOfRange, ".............."},
        {"some", 2, 3, kResultSuccess, "..xxx........."},
        {"up to the end", 8, 2, kResultSuccess, "........xx...."},
        {"one too many", 8, 3, kResultOutOfRange, ".............."},
        {"none", 5, 0, kResultSuccess, ".............."},
        {"none at the end", 10, 0, kResultSuccess, ".............."},
        {"none after the end", 11, 0, kResultOutOfRange, ".............."},
        {"one at the end", 10, 1, kResultOutOfRange, ".............."},
        {"a sum that wraps around to 0", 0xFFFFFFFF, 1, kResultOutOfRange, ".............."},
        {"a sum that wraps around to 1", 2, 0x7FFFFFFF, kResultOutOfRange, ".............."},
        {"to the end from the largest offset", 0xFFFFFFFF, -1, kResultOutOfRange, ".............."},
    };

    for (const FillRow& row : rows) {
        SCOPED_TRACE(row.what);
        Canary canary(10);

        EXPECT_EQ(canary.buffer.FillN('x', row.offset, row.count), row.result);

        EXPECT_EQ(canary.GetAll(), row.bytes);
    }
}

TEST(BufferFillW, WritesWholeUnitsOrNothing)
{
    const FillRow rows[] = {
        {"everything", 0, -1, kResultSuccess, "xxxxxxxxxx....."},
        {"to the end, the odd byte left", 2, -1, kResultSuccess, "..xxxxxxxx....."},
        {"to the end from an odd offset", 3, -1, kResultSuccess, "...xxxxxxxx...."},
        {"to the end with a single byte left", 10, -1, kResultSuccess, "..............."},
        {"to the end from the end", 11, -1, kResultSuccess, "..............."},
        {"to the end from after it", 12, -1, kResultOutOfRange, "..............."},
        {"some units", 1, 2, kResultSuccess, ".xxxx.........."},
        {"up to the end", 7, 2, kResultSuccess, ".......xxxx...."},
        {"one unit too many", 7, 3, kResultOutOfRange, "..............."},
        {"half a unit too many", 8, 2, kResultOutOfRange, "..............."},
        {"none", 11, 0, kResultSuccess, "..............."},
        {"none before the end", 3, 0, kResultSuccess, "..............."},
        {"none after the end", 12, 0, kResultOutOfRange, "..............."},
        {"a product that wraps around", 4, 0x7FFFFFFF, kResultOutOfRange, "..............."},
        {"a sum that wraps around", 0xFFFFFFFE, 1, kResultOutOfRange, "..............."},
    };

    for (const FillRow& row : rows) {
        SCOPED_TRACE(row.what);
        Canary canary(11);

        EXPECT_EQ(canary.buffer.FillW(0x7878, row.offset, row.count), row.result);

        EXPECT_EQ(canary.GetAll(), row.bytes);
    }
}

TEST(BufferFillW, WritesUnitsInTheMachinesOrder)
{
    Buffer buffer(6, 0, true);

    EXPECT_EQ(buffer.FillW(0x1234, 1, 2), kResultSuccess);

    const bool isBig = std::endian::native == std::endian::big;
    EXPECT_EQ(ToHex(buffer.GetRawPtr(), 6), isBig ? "00 12 34 12 34 00" : "00 34 12 34 12 00");
}

TEST(BufferFill, AnEmptyBufferTakesNothing)
{
    Buffer buffer(0, 0, false);

    EXPECT_EQ(buffer.FillN('x', 0, -1), kResultSuccess);
    EXPECT_EQ(buffer.FillN('x', 0, 0), kResultSuccess);
    EXPECT_EQ(buffer.FillN('x', 0, 1), kResultOutOfRange);
    EXPECT_EQ(buffer.FillW(1, 0, -1), kResultSuccess);
    EXPECT_EQ(buffer.FillW(1, 0, 1), kResultOutOfRange);
    EXPECT_EQ(static_cast<uint32>(buffer.FillN('x', 1, 0)), 0x80000003u);
}

TEST(BufferGetPtr, PointsIntoTheBlockWhereTheElementFits)
{
    Buffer buffer(8, 0, true);
    auto* const start = static_cast<char*>(buffer.GetRawPtr());

    EXPECT_EQ(reinterpret_cast<char*>(buffer.GetPtr<uint32>(4)), start + 4);
    EXPECT_EQ(buffer.GetPtr<uint32>(6), nullptr);
    EXPECT_EQ(buffer.GetPtr<uint32>(5), nullptr);
    EXPECT_EQ(reinterpret_cast<char*>(buffer.GetPtr<uint32>(0)), start);
    EXPECT_EQ(buffer.GetPtr<char>(7), start + 7);
    EXPECT_EQ(buffer.GetPtr<char>(8), nullptr);
    EXPECT_EQ(reinterpret_cast<char*>(buffer.GetPtr<unsigned char>(7)), start + 7);
    EXPECT_EQ(reinterpret_cast<char*>(buffer.GetPtr<uint16>(6)), start + 6);
    EXPECT_EQ(reinterpret_cast<char*>(buffer.GetPtr<uint16>(1)), start + 1);
    EXPECT_EQ(buffer.GetPtr<uint16>(7), nullptr);
    EXPECT_EQ(buffer.GetPtr<uint32>(0xFFFFFFFE), nullptr) << "the sum wraps around";
    EXPECT_EQ(buffer.GetPtr<char>(0xFFFFFFFF), nullptr) << "the sum wraps around";
    EXPECT_EQ(Buffer(0, 0, false).GetPtr<char>(0), nullptr);
#if __SIZEOF_LONG__ == 4
    EXPECT_NE(buffer.GetPtr<unsigned long>(4), nullptr);
    EXPECT_EQ(buffer.GetPtr<unsigned long>(6), nullptr);
#endif
}

TEST(BufferGetPtr, ReadsThroughAConstBuffer)
{
    Buffer buffer(4, 0, true);
    buffer.FillN('x', 3, 1);
    const QX::IBuffer& reader = buffer;

    const unsigned char* const last = reader.GetPtr<unsigned char>(3);

    ASSERT_NE(last, nullptr);
    EXPECT_EQ(*last, 'x');
    EXPECT_EQ(reader.GetPtr<unsigned char>(4), nullptr);
}

} // namespace
