// SharedBufferTest.cpp - counted buffers: creation, copies and copy-on-write.

#include "Support/LoggingAllocator.h"

#include <QX/Buffer.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using QX::LByteBuffer;
using QX::LIBuffer;
using QX::LRefCountedObject;
using QX::LTextBuffer;
using QX::RCPtr;
using QX::uint32;
using TestSupport::GetLoggingAllocator;
using TestSupport::LoggingAllocator;

std::string TextOf(const RCPtr<LIBuffer>& buffer)
{
    const auto* const bytes = static_cast<const char*>(buffer->GetRawPtr());
    return bytes != nullptr ? std::string(bytes, buffer->GetSizeBytes()) : "";
}

RCPtr<LIBuffer> MakeText(const std::string& text)
{
    const auto size = static_cast<uint32>(text.size());
    RCPtr<LIBuffer> buffer = LTextBuffer::Create(size, 0, false);
    for (uint32 index = 0; index < size; ++index) {
        buffer->FillN(text[index], index, 1);
    }
    return buffer;
}

TEST(SharedBuffer, IsMadeWithOneHolder)
{
    const RCPtr<LIBuffer> buffer = LByteBuffer::Create(10, 0, true);

    EXPECT_EQ(buffer->GetReferenceCount(), 1);
    EXPECT_TRUE(buffer->IsShareable());
    EXPECT_EQ(TextOf(buffer), std::string(10, '\0'));
}

TEST(SharedBuffer, FreesItsBlockWithTheLastHolder)
{
    using LLogged = QX::LBufferT<1, 128, 8, char*, &GetLoggingAllocator>;
    LoggingAllocator& heap = LoggingAllocator::Instance();
    heap.Reset();

    LLogged::Create(10, 100, true);

    EXPECT_EQ(heap.GetJournal(), "Alloc 100, Free 100");
    EXPECT_EQ(heap.CountBlocks(), 0u);
}

struct CopyRow
{
    const char* what;
    uint32 length;
    uint32 offset;
    std::string expected;
};

TEST(SharedBuffer, CreateCopyTakesLengthFirstAndFillsWithZeroes)
{
    const CopyRow rows[] = {
        {"the whole", 6, 0, "abcdef"},
        {"a part", 2, 3, "de"},
        {"a single byte", 1, 2, "c"},
        {"a tail", 3, 3, "def"},
        {"beyond the end", 5, 4, std::string("ef\0\0\0", 5)},
        {"longer than all", 8, 0, std::string("abcdef\0\0", 8)},
        {"from the end", 3, 6, std::string(3, '\0')},
        {"from after the end", 3, 7, std::string(3, '\0')},
        {"from the largest offset", 2, 0xFFFFFFFF, std::string(2, '\0')},
        {"nothing", 0, 2, ""},
        {"nothing from after the end", 0, 9, ""},
    };
    const RCPtr<LIBuffer> original = MakeText("abcdefgh");
    original->ResizeBytes(6); // the block keeps the rest

    for (const CopyRow& row : rows) {
        SCOPED_TRACE(row.what);

        const RCPtr<LIBuffer> copy = original->CreateCopy(row.length, row.offset);

        EXPECT_EQ(TextOf(copy), row.expected);
        EXPECT_EQ(copy->GetSizeBytes(), row.length);
        EXPECT_EQ(copy->GetReferenceCount(), 1);
        EXPECT_EQ(TextOf(original), "abcdef");
    }
}

TEST(SharedBuffer, CreateCopyOfAllBytesIsReachedThroughTheBase)
{
    const RCPtr<LIBuffer> original = MakeText("abc");
    const RCPtr<LRefCountedObject> base = original;

    const RCPtr<LIBuffer> copy = RCPtr<LIBuffer>::Downcast(base->CreateCopy());

    EXPECT_EQ(TextOf(copy), "abc");
    EXPECT_NE(copy->GetRawPtr(), original->GetRawPtr());
    EXPECT_EQ(TextOf(RCPtr<LIBuffer>::Downcast(original->CreateCopy())), "abc");
}

TEST(SharedBuffer, CreateCopyKeepsTheSizeAndNotTheReserve)
{
    const RCPtr<LIBuffer> original = LTextBuffer::Create(3, 100, true);

    const RCPtr<LIBuffer> copy = RCPtr<LIBuffer>::Downcast(original->CreateCopy());

    EXPECT_EQ(copy->GetSizeBytes(), 3u);
    EXPECT_EQ(copy->GetAllocatedSize(), 3u);
}

TEST(SharedBuffer, ACopyKeepsTheKindOfItsOriginal)
{
    RCPtr<LIBuffer> copy = RCPtr<LIBuffer>::Downcast(MakeText("abc")->CreateCopy());

    copy->ResizeBytes(1);

    EXPECT_EQ(copy->GetAllocatedSize(), 3u) << "the slack of text";
}

TEST(SharedBuffer, UnshareOfAnEmptyBufferGivesAnEmptyBuffer)
{
    const RCPtr<LIBuffer> original = LByteBuffer::Create(0, 0, true);
    RCPtr<LIBuffer> writer = original;

    writer.Unshare();

    EXPECT_NE(writer, original);
    EXPECT_EQ(writer->GetSizeBytes(), 0u);
    EXPECT_EQ(writer->GetRawPtr(), nullptr);
}

TEST(SharedBuffer, ACopyOfABufferWithoutBytesIsZero)
{
    using LLogged = QX::LBufferT<1, 0, 8, char*, &GetLoggingAllocator>;
    LoggingAllocator::Instance().FailNext();
    const RCPtr<LIBuffer> original = LLogged::Create(2, 0, true);

    EXPECT_EQ(TextOf(original), "");
    EXPECT_EQ(TextOf(original->CreateCopy(2, 0)), std::string(2, '\0'));
}

} // namespace
