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
