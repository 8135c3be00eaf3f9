// PropertyListHeapTest.cpp - what the writer of documents asks of the heap, and without memory.

#include "Platform/PlatformTesting.h"
#include "Support/FailingHeap.h"

#include <memory_resource>

namespace {

using TestSupport::FailingHeap;

/// A dictionary with a device's number and so many bytes, as a message has them.
class PropertyListHeap : public testing::Test
{
protected:
    ~PropertyListHeap() override
    {
        if (mDocument != nullptr) {
            CFRelease(mDocument);
        }
        CFRelease(mDictionary);
        CFRelease(mNumber);
        CFRelease(mData);
    }

    void Fill(std::size_t bytes)
    {
        const SInt32 device = 258;
        mDictionary = CFDictionaryCreateMutable(nullptr, 2, nullptr, nullptr);
        mNumber = CFNumberCreate(nullptr, kCFNumberSInt32Type, &device);
        mData = Platform::MakeData(std::string(bytes, '\xA5'));
        CFDictionaryAddValue(mDictionary, CFSTR("Device"), mNumber);
        CFDictionaryAddValue(mDictionary, CFSTR("Data"), mData);
    }

    CFMutableDictionaryRef mDictionary = nullptr;
    CFNumberRef mNumber = nullptr;
    CFDataRef mData = nullptr;
    CFDataRef mDocument = nullptr;
};

TEST_F(PropertyListHeap, AsksForOneBlockForADocumentThatGoesOverAPort)
{
    Fill(44);
    const FailingHeap heap(0);

    mDocument = CFPropertyListCreateXMLData(nullptr, mDictionary);

    EXPECT_EQ(heap.CountRequests(), 1) << heap.GetJournal();
    EXPECT_NE(mDocument, nullptr);
}

TEST_F(PropertyListHeap, GivesNullWhicheverRequestOfALargeDocumentIsRefused)
{
    Fill(2000);
    int requests = 0;
    bool isRefused = true;
    while (isRefused) {
        SCOPED_TRACE(++requests);
        const FailingHeap heap(requests);

        mDocument = CFPropertyListCreateXMLData(nullptr, mDictionary);

        isRefused = heap.HasRefused();
        EXPECT_EQ(mDocument == nullptr, isRefused);
    }

    EXPECT_GT(requests, 2);
}

TEST_F(PropertyListHeap, DoesNotDependOnTheDefaultResourceOfItsHost)
{
    Fill(2000);
    auto* const before = std::pmr::set_default_resource(std::pmr::null_memory_resource());

    mDocument = CFPropertyListCreateXMLData(nullptr, mDictionary);

    std::pmr::set_default_resource(before);
    EXPECT_NE(mDocument, nullptr);
}

} // namespace
