// AllocationFailureTest.cpp - names that find no memory, and a constructor that throws.
//
// The program wraps the process heap, so that both operator new and the framework's buffers meet
// the refusal.

#include "NotificationFixture.h"

#include "Support/FailingHeap.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace NotificationTests {
namespace {

using TestSupport::FailingHeap;

class AllocationFailure : public NotificationFixture
{};

// The queue is built by the time that the derived class refuses to be.
class LThrowsAtItsEnd : public LNotificationCenter
{
public:
    LThrowsAtItsEnd()
        : LNotificationCenter("center")
    {
        throw 1;
    }
};

TEST_F(AllocationFailure, DestroysTheQueueOnceIfADerivedConstructorThrows)
{
    const long before = TestSupport::CountLiveBlocks();

    EXPECT_THROW(new LThrowsAtItsEnd, int);

    EXPECT_EQ(TestSupport::CountLiveBlocks(), before);
}

TEST_F(AllocationFailure, EntersNoName)
{
    // So many that the table and its index grow among them.
    for (int number = 0; number < 300; ++number) {
        const std::string name = "refused." + std::to_string(number);
        const uint32 before = LNotification::GetNotificationIDs().GetCount();
        const long blocks = TestSupport::CountLiveBlocks();
        const char* id = nullptr;
        int refused = 0;

        while (id == nullptr) {
            {
                const FailingHeap failing(refused + 1);
                try {
                    id = LNotification::GetNotificationID(name.c_str());
                } catch (const std::bad_alloc&) {
                    ++refused;
                }
            }
            ASSERT_EQ(LNotification::GetNotificationIDs().GetCount(),
                      id == nullptr ? before : before + 1);
            // The index may have grown already: an object and a block.
            ASSERT_TRUE(id != nullptr || TestSupport::CountLiveBlocks() <= blocks + 2);
        }

        ASSERT_GE(refused, 2);
        ASSERT_EQ(id, name);
    }
}

} // namespace
} // namespace NotificationTests
