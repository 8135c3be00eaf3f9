// MessagePortHeapTest.cpp - a server whose heap refuses each of its requests in turn.

#include "Support/FailingHeap.h"

#include <CoreFoundation/CoreFoundation.h>

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <vector>

// The platform's object files are in this program and in the shared library that other libraries
// need. The address sanitizer would report that.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    return "detect_odr_violation=0";
}

namespace {

using TestSupport::FailingHeap;

/// The IDs of the messages that have arrived. It has room, so that adding one needs no memory.
std::vector<SInt32> gArrived;

CFDataRef Enter(CFMessagePortRef, SInt32 messageID, CFDataRef, void*)
{
    gArrived.push_back(messageID);
    return nullptr;
}

struct Released
{
    void operator()(const void* object) const { CFRelease(object); }
};
template <class Reference>
using Owned = std::unique_ptr<std::remove_pointer_t<Reference>, Released>;

void TakeAll()
{
    while (CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true) == kCFRunLoopRunHandledSource) {
    }
}

TEST(MessagePortHeap, AServerWithoutMemoryForAClientOrAMessageTakesItLater)
{
    gArrived.reserve(10);
    const Owned<CFMessagePortRef> local(
        CFMessagePortCreateLocal(nullptr, CFSTR("port.heap"), &Enter, nullptr, nullptr));
    ASSERT_NE(local, nullptr);
    const Owned<CFRunLoopSourceRef> source(
        CFMessagePortCreateRunLoopSource(nullptr, local.get(), 0));
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source.get(), kCFRunLoopDefaultMode);
    int refusals = 0;
    for (bool hasRefused = true; hasRefused; refusals += hasRefused ? 1 : 0) {
        SCOPED_TRACE(refusals);
        gArrived.clear();
        // A new connection each time: the last one has ended with its port.
        const Owned<CFMessagePortRef> remote(
            CFMessagePortCreateRemote(nullptr, CFSTR("port.heap")));
        ASSERT_NE(remote, nullptr);
        for (SInt32 messageID = 1; messageID <= 4; ++messageID) {
            ASSERT_EQ(
                CFMessagePortSendRequest(remote.get(), messageID, nullptr, 1, 0, nullptr, nullptr),
                kCFMessagePortSuccess);
        }

        {
            const FailingHeap heap(refusals + 1);
            try {
                TakeAll();
            } catch (const std::bad_alloc&) {
                // The loop had no memory for its own lists.
            }
            hasRefused = heap.HasRefused();
        }
        // A server that has no memory for a client tries again after 20 ms.
        for (int look = 0; look < 100 && gArrived.size() < 4; ++look) {
            CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.1, true);
        }

        EXPECT_EQ(gArrived, (std::vector<SInt32>{1, 2, 3, 4}));
    }
    EXPECT_GT(refusals, 4);
    CFMessagePortInvalidate(local.get());
}

} // namespace
