// AllocatorTest.cpp - the process heap as an allocator.

#include "Support/FailingHeap.h"
#include "Support/VirtualSlots.h"

#include <QX/Allocator.h>
#include <QX/Buffer.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace {

using QX::GetSystemAllocator;
using QX::IAllocator;
using QX::SystemAllocator;
using TestSupport::FailingHeap;
using TestSupport::SlotOf;

static_assert(sizeof(SystemAllocator) == sizeof(void*));
static_assert(!std::has_virtual_destructor_v<IAllocator>);
static_assert(!std::is_destructible_v<IAllocator>);
static_assert(std::is_trivially_destructible_v<SystemAllocator>);

TEST(SystemAllocator, IsOneForTheProcess)
{
    EXPECT_NE(GetSystemAllocator(), nullptr);
    EXPECT_EQ(GetSystemAllocator(), SystemAllocator::GetAllocator());
    EXPECT_EQ(GetSystemAllocator(), GetSystemAllocator());
}

TEST(SystemAllocator, HandsEveryCallToTheProcessHeapUnchanged)
{
    IAllocator* const allocator = GetSystemAllocator();
    const FailingHeap heap(0);

    void* const plain = allocator->Alloc(10);
    void* const zeroed = allocator->Calloc(3, 4);
    void* const moved = allocator->Realloc(plain, 100);
    allocator->Free(moved);
    allocator->Free(zeroed);
    allocator->Free(nullptr);

    EXPECT_EQ(heap.GetJournal(), "malloc 10, calloc 12, realloc 100, free, free, free");
}

TEST(SystemAllocator, GivesZeroesOnlyFromCalloc)
{
    auto* const bytes = static_cast<char*>(GetSystemAllocator()->Calloc(5, 2));
    const char zeroes[10] = {};

    EXPECT_EQ(std::memcmp(bytes, zeroes, sizeof(zeroes)), 0);
    GetSystemAllocator()->Free(bytes);
}

TEST(SystemAllocator, AnswersAFailedRequestWithNull)
{
    void* alloc = nullptr;
    void* calloc = nullptr;
    {
        const FailingHeap heap(1);
        alloc = GetSystemAllocator()->Alloc(8);
    }
    {
        const FailingHeap heap(1);
        calloc = GetSystemAllocator()->Calloc(2, 8);
    }

    EXPECT_EQ(alloc, nullptr);
    EXPECT_EQ(calloc, nullptr);
}

TEST(SystemAllocator, KeepsTheBlockThatItCannotMove)
{
    auto* const block = static_cast<char*>(GetSystemAllocator()->Alloc(4));
    std::memcpy(block, "abc", 4);
    void* moved = block;
    {
        const FailingHeap heap(1);
        moved = GetSystemAllocator()->Realloc(block, 4000);
    }

    EXPECT_EQ(moved, nullptr);
    EXPECT_STREQ(block, "abc");
    GetSystemAllocator()->Free(block);
}

class AppendedAllocator : public IAllocator
{
public:
    virtual void Appended() {}

protected:
    ~AppendedAllocator() = default;
};

TEST(Allocator, KeepsItsOperationsInTheirSlots)
{
    EXPECT_EQ(SlotOf(&IAllocator::Alloc), 0u);
    EXPECT_EQ(SlotOf(&IAllocator::Calloc), 1u);
    EXPECT_EQ(SlotOf(&IAllocator::Realloc), 2u);
    EXPECT_EQ(SlotOf(&IAllocator::Free), 3u);
    EXPECT_EQ(SlotOf(&AppendedAllocator::Appended), 4u);
}

QX::RCPtr<QX::LIBuffer>* gLastBuffer = nullptr;

void FreeLastBuffer()
{
    delete gLastBuffer;
    std::fputs("freed", stderr);
}

TEST(SystemAllocator, OutlivesAHandlerThatRunsAfterAllStaticDestructors)
{
    EXPECT_EXIT(
        {
            std::atexit(&FreeLastBuffer);
            gLastBuffer = new QX::RCPtr<QX::LIBuffer>(QX::LByteBuffer::Create(10, 0, true));
            std::exit(0);
        },
        testing::ExitedWithCode(0), "freed");
}

} // namespace
