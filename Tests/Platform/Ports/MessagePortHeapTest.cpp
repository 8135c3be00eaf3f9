// MessagePortHeapTest.cpp - a server whose heap refuses each of its requests in turn.

#include "Support/FailingHeap.h"

#include <CoreFoundation/CoreFoundation.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <new>
#include <sys/epoll.h>
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

/// Refuses one of the next descriptors that are to be watched, as a system without memory for it
/// does. Zero refuses none.
int gWatchesUntilRefusal = 0;

} // namespace

extern "C" int __real_epoll_ctl(int set, int operation, int descriptor, epoll_event* event);
extern "C" int __wrap_epoll_ctl(int set, int operation, int descriptor, epoll_event* event);
extern "C" int __wrap_epoll_ctl(int set, int operation, int descriptor, epoll_event* event)
{
    if (operation == EPOLL_CTL_ADD && gWatchesUntilRefusal > 0 && --gWatchesUntilRefusal == 0) {
        errno = ENOSPC;
        return -1;
    }
    return __real_epoll_ctl(set, operation, descriptor, event);
}

namespace {

/// A server, and the messages of one client after another.
class MessagePortHeap : public testing::Test
{
protected:
    MessagePortHeap()
    {
        gArrived.reserve(10);
        CFRunLoopAddSource(CFRunLoopGetCurrent(), mSource.get(), kCFRunLoopDefaultMode);
    }
    ~MessagePortHeap() override { CFMessagePortInvalidate(mLocal.get()); }

    /// Connects and sends four messages. A new connection each time: the last one has ended with
    /// its port.
    void SendFour()
    {
        gArrived.clear();
        mRemote.reset(CFMessagePortCreateRemote(nullptr, CFSTR("port.heap")));
        ASSERT_NE(mRemote, nullptr);
        for (SInt32 messageID = 1; messageID <= 4; ++messageID) {
            ASSERT_EQ(
                CFMessagePortSendRequest(mRemote.get(), messageID, nullptr, 1, 0, nullptr, nullptr),
                kCFMessagePortSuccess);
        }
    }

    /// Returns what has arrived once the server has had time to try again, which it does after 20
    /// ms.
    static const std::vector<SInt32>& WaitForFour()
    {
        for (int look = 0; look < 100 && gArrived.size() < 4; ++look) {
            CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.1, true);
        }
        return gArrived;
    }

private:
    const Owned<CFMessagePortRef> mLocal{
        CFMessagePortCreateLocal(nullptr, CFSTR("port.heap"), &Enter, nullptr, nullptr)};
    const Owned<CFRunLoopSourceRef> mSource{
        CFMessagePortCreateRunLoopSource(nullptr, mLocal.get(), 0)};
    Owned<CFMessagePortRef> mRemote;
};

TEST_F(MessagePortHeap, AServerWithoutMemoryForAClientOrAMessageTakesItLater)
{
    int refusals = 0;
    for (bool hasRefused = true; hasRefused; refusals += hasRefused ? 1 : 0) {
        SCOPED_TRACE(refusals);
        SendFour();

        {
            const FailingHeap heap(refusals + 1);
            try {
                TakeAll();
            } catch (const std::bad_alloc&) {
                // The loop had no memory for its own lists.
            }
            hasRefused = heap.HasRefused();
        }

        EXPECT_EQ(WaitForFour(), (std::vector<SInt32>{1, 2, 3, 4}));
    }
    EXPECT_GT(refusals, 4);
}

TEST_F(MessagePortHeap, AClientThatTheSystemCannotWatchIsServedLater)
{
    SendFour();
    gWatchesUntilRefusal = 1;

    TakeAll();

    EXPECT_EQ(gWatchesUntilRefusal, 0);
    EXPECT_EQ(WaitForFour(), (std::vector<SInt32>{1, 2, 3, 4}));
}

TEST_F(MessagePortHeap, AServerThatTheSystemCannotWatchServesLater)
{
    SendFour();
    // The client first, and then the port itself when it is tried again.
    gWatchesUntilRefusal = 1;
    TakeAll();
    gWatchesUntilRefusal = 1;

    EXPECT_EQ(WaitForFour(), (std::vector<SInt32>{1, 2, 3, 4}));
    EXPECT_EQ(gWatchesUntilRefusal, 0);
    SendFour();
    EXPECT_EQ(WaitForFour(), (std::vector<SInt32>{1, 2, 3, 4}));
}

} // namespace
