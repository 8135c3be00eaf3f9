// FailingHeapTest.cpp - the requests that the heap refuses, and those that it counts.

#include "Support/FailingHeap.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>

namespace {

using TestSupport::CountLiveBlocks;
using TestSupport::ExhaustedHeap;
using TestSupport::FailingHeap;
using TestSupport::LimitedHeap;

void* volatile gNull = nullptr; // volatile: a reallocation of null may become malloc

const struct
{
    void* (*ask)();
    void (*release)(void* block);
} kWays[] = {
    {[] { return std::malloc(10); }, [](void* block) { std::free(block); }},
    {[] { return std::calloc(2, 10); }, [](void* block) { std::free(block); }},
    {[] { return std::realloc(gNull, 30); }, [](void* block) { std::free(block); }},
    {[] { return ::operator new(40, std::nothrow); },
     [](void* block) { ::operator delete(block); }},
    {[] { return ::operator new[](50, std::nothrow); },
     [](void* block) { ::operator delete[](block); }},
    {[] { return ::operator new[](60); }, [](void* block) { ::operator delete[](block); }},
};

// Makes a request in each way, and returns '+' for each that was granted and '-' for each refused.
std::string Ask()
{
    std::string answers; // short enough to need no memory
    for (const auto& way : kWays) {
        void* volatile block = nullptr; // volatile: a compiler may leave out unused blocks
        try {
            block = way.ask();
        } catch (const std::bad_alloc&) {
            // Stays null.
        }
        answers += block != nullptr ? '+' : '-';
        way.release(block);
    }
    return answers;
}

TEST(FailingHeap, LooksAtEachRequestAndRefusesNone)
{
    static int sLooks = 0;
    {
        const FailingHeap heap([] { ++sLooks; });

        EXPECT_EQ(Ask(), "++++++");
    }

    EXPECT_EQ(Ask(), "++++++");
    EXPECT_EQ(sLooks, 6);
}

TEST(FailingHeap, RefusesTheRequestOfItsNumber)
{
    const char* const answers[] = {"++++++", "-+++++", "+-++++", "++-+++",
                                   "+++-++", "++++-+", "+++++-", "++++++"};
    for (int refused = 0; refused < 8; ++refused) {
        SCOPED_TRACE(refused);
        const FailingHeap heap(refused);
        const std::string answer = Ask();
        const int requests = heap.CountRequests();
        const bool hasRefused = heap.HasRefused();

        EXPECT_EQ(answer, answers[refused]);
        EXPECT_EQ(requests, 6);
        EXPECT_EQ(hasRefused, refused >= 1 && refused <= 6);
    }
}

TEST(FailingHeap, WritesDownWhatItIsAsked)
{
    const FailingHeap heap(2);
    Ask();

    EXPECT_EQ(heap.GetJournal(), "malloc 10, free, calloc 20, free, realloc 30, free, "
                                 "malloc 40, free, malloc 50, free, malloc 60, free");
}

TEST(ExhaustedHeap, RefusesAllAfterTheRequestOfItsNumber)
{
    const ExhaustedHeap heap(4);

    EXPECT_EQ(Ask(), "+++---");
}

TEST(LimitedHeap, RefusesWhatIsLargerThanItsLimit)
{
    const LimitedHeap heap(30);

    EXPECT_EQ(Ask(), "+++---");
}

TEST(FailingHeap, CountsTheBlocksThatAreAlive)
{
    const long before = CountLiveBlocks();

    void* volatile block = std::malloc(1);
    EXPECT_EQ(CountLiveBlocks(), before + 1);
    char* volatile array = new char[1];
    EXPECT_EQ(CountLiveBlocks(), before + 2);
    std::free(block);
    delete[] array;

    EXPECT_EQ(CountLiveBlocks(), before);
}

} // namespace
